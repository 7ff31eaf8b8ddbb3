import os

with open(os.environ["LINES_FILE"]) as file:
    lines = file.read().splitlines()
print(len(lines), lines[-1])
