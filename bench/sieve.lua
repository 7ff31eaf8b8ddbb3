local limit = tonumber(arg[1] or 1000000)
local prime = {}
for i = 1, limit do prime[i] = true end
local count = 0
for i = 2, limit do
    if prime[i] then
        count = count + 1
        for j = i * i, limit, i do
            prime[j] = false
        end
    end
end
print(count)
