import sys


def main(limit=1_000_000):
    prime = [True] * (limit + 1)
    count = 0
    for i in range(2, limit + 1):
        if prime[i]:
            count += 1
            for j in range(i * i, limit + 1, i):
                prime[j] = False
    print(count)


main(*map(int, sys.argv[1:]))
