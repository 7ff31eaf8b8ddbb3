local rounds = tonumber(arg[1] or 10000000)
local total = 0
for i = 1, rounds do
    total = total + i % 7 * 2 - 1
    if total > 1000 then total = total - 1000 end
end
print(total)
