local rounds = tonumber(arg[1] or 1000000)
local s = 'alpha beta,gamma delta epsilon'
local n = 0
local a, b, c, d
for _ = 1, rounds do
    a, b, c, d = s:match('^ *([^ ]+) ?([^,]*), *([^ ]+) ?(.*)$')
    n = n + #d
end
print(a .. ' ' .. b .. ' ' .. c .. ' ' .. d .. ' ' .. n)
