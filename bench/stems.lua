local kind, count = arg[1], tonumber(arg[2])
local fill = {}

function fill.numbers()
    local number = {}
    for i = 1, count do number[i] = 'v' .. i end
    return number
end

function fill.words()
    local word = {}
    for i = 1, count do word['key' .. i] = 'v' .. i end
    return word
end

function fill.pairs()
    local pair = {}
    for i = 1, count // 1000 do
        pair[i] = {}
        for j = 1, 1000 do pair[i][j] = 'v' .. i .. j end
    end
    return pair
end

function fill.dropped()
    for _ = 1, 3 do
        fill.numbers()
        fill.words()
        fill.pairs()
    end
end

local filled = fill[kind]()
print(kind .. ' ' .. count)
