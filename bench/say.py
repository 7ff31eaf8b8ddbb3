import sys


def main(lines=200_000):
    for i in range(1, lines + 1):
        print(f"{i} bottles on the wall")


main(*map(int, sys.argv[1:]))
