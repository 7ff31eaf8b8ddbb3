import sys

sys.setrecursionlimit(10000)


def main(rounds=40):
    size = 60
    steps = 0

    def visit(x, y):
        nonlocal steps
        if x < 1 or y < 1 or x > size or y > size:
            return
        if seen[x][y]:
            return
        seen[x][y] = 1
        steps += 1
        visit(x + 1, y)
        visit(x, y + 1)
        visit(x - 1, y)
        visit(x, y - 1)

    for _ in range(rounds):
        seen = [[0] * (size + 1) for _ in range(size + 1)]
        visit(1, 1)
    print(steps, seen[1][1], seen[size][size])


main(*map(int, sys.argv[1:]))
