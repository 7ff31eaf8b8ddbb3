import sys


def main(rounds=1_000_000):
    text = ""
    for _ in range(rounds):
        text += "x"
    print(len(text))


main(*map(int, sys.argv[1:]))
