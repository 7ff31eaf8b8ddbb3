local rounds = tonumber(arg[1] or 210000)
rounds = rounds - rounds % 84

local orders = {
    [0] = '1001 Adams, J.: 12 @ 19.99 deliver by noon',
    '1002 Baker, T.: 3 @ 4.50 call before delivery',
    '1003 Clark, M.: 40 @ 7.25 leave at door',
    '1004 Clark, R.: 1 @ 149.00 with gift wrapping',
    '1005 Zimmer, A.: 7 @ 33.40 not on mondays',
    '1006 Davis, R.: 25 @ 2.75 return old bottles',
    '1007 Adams, B.: 2 @ 61.80 ring the bell',
}
local total, again, each = {}, {}, {}
local count = 0
local last
local area, letters, reviews = 0, 0, 0

local function tax(net, rate)
    if net < 50 then return 0 end
    return net * rate
end

local function add(customer, net, tax)
    total[customer] = (total[customer] or 0) + net + tax
    count = count + 1
end

local function iso(number)
    local month = number % 12 + 1
    local day = number % 28 + 1
    return ('2024-%02d-%02d'):format(month, day)
end

local function word(text, n)
    for each in text:gmatch('%S+') do
        n = n - 1
        if n == 0 then return each end
    end
    return ''
end

local entry
for round = 1, rounds do
    local line = orders[round % 7]
    local number, customer, initial, amount, price, note =
        line:match('^(%d+) ([^,]*), ([^:]*): (%d+) @ (%S+) (.*)$')
    amount, price = tonumber(amount), tonumber(price)
    local sum = amount * price
    local discount
    if sum >= 100 then discount = sum * 0.05 else discount = 0 end
    local rate
    if customer == 'Adams' then rate = 0.07
    elseif customer == 'Baker' then rate = 0.19
    elseif amount > 20 then rate = 0.16
    else rate = 0.2 end
    local net = sum - discount
    add(customer, net, tax(net, rate))
    if customer == last then again[customer] = (again[customer] or 0) + 1 else last = customer end
    for x = 0, 1, 0.25 do
        local height = x * rate
        area = area + height * 0.25
    end
    local title = customer:sub(1, 1) .. initial:sub(1, 1)
    local second = word(note, 2)
    if #second > 4 then second = second:sub(1, 4) else second = second .. '.' end
    for i = 1, 3 do
        local part = word(note, i)
        letters = letters + #part
        each[i] = part
    end
    local year, month, day = iso(round):match('^(.-)-(.-)-(.*)$')
    entry = ('%-8s%10.2f %s %s %s.%s'):format(title, net, second, each[3], day, month)
    if tonumber(day) > 14 and customer ~= 'Davis' then reviews = reviews + 1 end
end

print(rounds // 84 * 6636 .. ' clauses')
print(count .. ' orders, ' .. ('%.0f'):format(area) .. ' ' .. letters .. ' ' .. reviews)
print(entry)
for _, customer in ipairs {'Adams', 'Baker', 'Clark', 'Davis', 'Zimmer'} do
    print(customer .. ' ' .. ('%.0f'):format(total[customer]) .. ' ' .. (again[customer] or 0))
end
