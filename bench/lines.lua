local bytes = 0
for line in io.lines(os.getenv('LINES_FILE')) do
    bytes = bytes + #line
end
print(bytes)
