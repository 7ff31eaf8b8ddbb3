import sys


def main(rounds=10_000_000):
    total = 0
    for i in range(1, rounds + 1):
        total += i % 7 * 2 - 1
        if total > 1000:
            total -= 1000
    print(total)


main(*map(int, sys.argv[1:]))
