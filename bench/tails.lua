local seen = {}
for i = 1, 600000 do
    local key = 'word' .. i % 1000
    seen[key] = (seen[key] or 0) + 1
end
print(seen['word' .. 7])
