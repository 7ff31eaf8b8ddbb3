local x = 0.5
for i = 1, 3000000 do
    x = x * 1.0001 + 0.37 / i
    if x > 100 then x = x / 3.7 end
end
print(math.floor(x))
