local rounds = tonumber(arg[1] or 3000000)
local x = 0.5
for i = 1, rounds do
    x = x * 1.0001 + 0.37 / i
    if x > 100 then x = x / 3.7 end
end
print(math.floor(x))
