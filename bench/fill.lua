local rounds = tonumber(arg[1] or 40)
local size = 60
local steps = 0
local seen

local function visit(x, y)
    if x < 1 or y < 1 or x > size or y > size then return end
    if seen[x][y] then return end
    seen[x][y] = true
    steps = steps + 1
    visit(x + 1, y)
    visit(x, y + 1)
    visit(x - 1, y)
    visit(x, y - 1)
end

for round = 1, rounds do
    seen = {}
    for x = 1, size do seen[x] = {} end
    visit(1, 1)
end
print(steps .. ' ' .. (seen[1][1] and 1 or 0) .. ' ' .. (seen[size][size] and 1 or 0))
