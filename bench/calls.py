import sys


def inner(a, b):
    return b % 10 * 2 + a


def middle(a, b):
    return inner(b, a) + 1


def outer(a, b):
    return middle(a, b + 1) - 1


def main(rounds=1_000_000):
    total = 0
    for i in range(1, rounds + 1):
        total += outer(i, 3)
    print(total)


main(*map(int, sys.argv[1:]))
