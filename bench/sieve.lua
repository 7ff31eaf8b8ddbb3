local limit = 1000000
local composite = {}
local count = 0
for i = 2, limit do
    if not composite[i] then
        count = count + 1
        for j = i * i, limit, i do
            composite[j] = true
        end
    end
end
print(count)
