import os

count = 0
with open(os.environ["LINES_FILE"]) as file:
    for line in file:
        count += len(line) - 1
print(count)
