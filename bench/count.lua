local total = 0
for i = 1, 10000000 do
    total = total + i % 7 * 2 - 1
end
print(total)
