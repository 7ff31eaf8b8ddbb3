local rounds = tonumber(arg[1] or 100)
local size = 8
local solutions = 0
local column, rising, falling

local function place(row)
    if row > size then
        solutions = solutions + 1
        return
    end
    for i = 1, size do
        local up, down = row + i, row - i + size
        if not (column[i] or rising[up] or falling[down]) then
            column[i], rising[up], falling[down] = true, true, true
            place(row + 1)
            column[i], rising[up], falling[down] = false, false, false
        end
    end
end

for _ = 1, rounds do
    column, rising, falling = {}, {}, {}
    place(1)
end
print(solutions)
