import sys
from collections import defaultdict


def make_text():
    syllables = "ba co di fe gu ha ki lo mu ne pa ri so tu we".split()
    seed = 1
    text = []
    for _ in range(1000):
        line = []
        for _ in range(10):
            seed = (seed * 421 + 1663) % 7875
            third = seed // 225
            word = syllables[seed % 15] + syllables[seed // 15 % 15]
            if third < 15:
                word += syllables[third]
            line.append(word)
        text.append(" ".join(line))
    return text


def main(rounds=200):
    text = make_text()
    count = defaultdict(int)
    for _ in range(rounds):
        for line in text:
            for word in line.split():
                count[word] += 1
    print(count["diba"], count["dibaco"])


main(*map(int, sys.argv[1:]))
