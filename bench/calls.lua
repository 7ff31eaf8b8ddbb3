local rounds = tonumber(arg[1] or 1000000)
local function inner(a, b) return b % 10 * 2 + a end
local function middle(a, b) return inner(b, a) + 1 end
local function outer(a, b) return middle(a, b + 1) - 1 end

local total = 0
for i = 1, rounds do
    total = total + outer(i, 3)
end
print(total)
