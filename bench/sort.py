import time

seed = 12345
lines = []
for _ in range(1000000):
    seed = seed * 16807 % 2147483647
    lines.append(f"{seed} line")
start = time.perf_counter()
lines.sort()
print(time.perf_counter() - start)
print(lines[0], lines[499999], lines[999999])
