local lines = tonumber(arg[1] or 200000)
for i = 1, lines do
    print(i .. ' bottles on the wall')
end
