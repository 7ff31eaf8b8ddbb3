import sys


def main(disks=19):
    peg = {"left": list(range(disks, 0, -1)), "middle": [], "right": []}
    moves = 0

    def carry(disks, source, target, spare):
        nonlocal moves
        if disks == 0:
            return
        carry(disks - 1, source, spare, target)
        peg[target].append(peg[source].pop())
        moves += 1
        carry(disks - 1, spare, target, source)

    carry(disks, "left", "right", "middle")
    print(moves, *map(len, peg.values()), peg["right"][0], peg["right"][-1])


main(*map(int, sys.argv[1:]))
