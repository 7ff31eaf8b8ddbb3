local rounds = tonumber(arg[1] or 200)

local syllables = {}
for each in ('ba co di fe gu ha ki lo mu ne pa ri so tu we'):gmatch('%S+') do syllables[#syllables + 1] = each end
local seed = 1
local text = {}
for i = 1, 1000 do
    local line = {}
    for j = 1, 10 do
        seed = (seed * 421 + 1663) % 7875
        local third = seed // 225
        local word = syllables[seed % 15 + 1] .. syllables[seed // 15 % 15 + 1]
        if third < 15 then word = word .. syllables[third + 1] end
        line[j] = word
    end
    text[i] = table.concat(line, ' ')
end

local count = {}
for _ = 1, rounds do
    for _, line in ipairs(text) do
        for word in line:gmatch('%S+') do
            count[word] = (count[word] or 0) + 1
        end
    end
end

print(count.diba .. ' ' .. count.dibaco)
