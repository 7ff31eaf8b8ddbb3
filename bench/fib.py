import sys


def fib(n):
    if n < 2:
        return n
    return fib(n - 1) + fib(n - 2)


def main(n=28):
    print(fib(n))


main(*map(int, sys.argv[1:]))
