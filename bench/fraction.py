import sys


def main(rounds=3_000_000):
    x = 0.5
    for i in range(1, rounds + 1):
        x = x * 1.0001 + 0.37 / i
        if x > 100:
            x /= 3.7
    print(int(x))


main(*map(int, sys.argv[1:]))
