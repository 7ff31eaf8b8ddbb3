import sys


def main(rounds=1_000_000):
    s = "alpha beta,gamma delta epsilon"
    n = 0
    for _ in range(rounds):
        left, right = s.split(",", 1)
        a, b = left.split(None, 1)
        c, d = right.split(None, 1)
        n += len(d)
    print(a, b, c, d, n)


main(*map(int, sys.argv[1:]))
