local rounds = tonumber(arg[1] or 1000000)
local text = ''
for _ = 1, rounds do
    text = text .. 'x'
end
print(#text)
