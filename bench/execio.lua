local lines = {}
for line in io.lines(os.getenv('LINES_FILE')) do
    lines[#lines + 1] = line
end
print(#lines .. ' ' .. lines[#lines])
