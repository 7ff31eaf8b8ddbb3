local rounds = tonumber(arg[1] or 200000)
local names = {
    [0] = '  lovelace, ada  countess of computing ',
    'hopper, grace  rear admiral ',
    ' babbage, charles  gentleman and inventor',
    '   turing, alan  marathon runner  ',
}
local vowels = {a = 'A', e = 'E', i = 'I', o = 'O', u = 'U'}

local function words(text)
    local count = 0
    for _ in text:gmatch('%S+') do count = count + 1 end
    return count
end

local sum = 0
local entry, key, short
for i = 1, rounds do
    local text = names[i % 4]:match('^%s*(.-)%s*$')
    local comma = text:find(',', 1, true)
    local family = text:sub(1, comma - 1)
    local given, title = text:sub(comma + 1):match('^%s*(%S+)%s*(.*)$')
    family = family:sub(1, 1):upper() .. family:sub(2)
    given = given:sub(1, 1):upper() .. given:sub(2)
    local name = given .. ' ' .. family
    entry = (name .. ('.'):rep(20 - #name)):sub(1, 20) .. ('%8d'):format(i)
    key = family:reverse():gsub('[aeiou]', vowels)
    short = title:gsub('and', '+')
    if title:sub(1, 4) == 'rear' then short = short .. ('*'):rep(3) end
    local last = short:find('e[^e]*$') or 0
    sum = sum + #entry + #key + last + words(title) + (key < short and 1 or 0)
end
print(sum .. ' ' .. entry .. ' ' .. key .. ' ' .. short)
