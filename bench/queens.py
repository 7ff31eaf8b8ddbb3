import sys


def solve(size):
    solutions = 0
    column, rising, falling = [False] * (size + 1), [False] * (2 * size + 1), [False] * (2 * size + 1)

    def place(row):
        nonlocal solutions
        if row > size:
            solutions += 1
            return
        for i in range(1, size + 1):
            up, down = row + i, row - i + size
            if column[i] or rising[up] or falling[down]:
                continue
            column[i] = rising[up] = falling[down] = True
            place(row + 1)
            column[i] = rising[up] = falling[down] = False

    place(1)
    return solutions


def main(rounds=100):
    print(sum(solve(8) for _ in range(rounds)))


main(*map(int, sys.argv[1:]))
