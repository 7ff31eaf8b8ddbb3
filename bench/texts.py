import sys

NAMES = [
    "  lovelace, ada  countess of computing ",
    "hopper, grace  rear admiral ",
    " babbage, charles  gentleman and inventor",
    "   turing, alan  marathon runner  ",
]
VOWELS = str.maketrans("aeiou", "AEIOU")


def main(rounds=200_000):
    total = 0
    for i in range(1, rounds + 1):
        text = NAMES[i % 4].strip()
        comma = text.find(",")
        family = text[:comma]
        given, title = text[comma + 1:].split(None, 1)
        family = family[:1].upper() + family[1:]
        given = given[:1].upper() + given[1:]
        entry = f"{given} {family}"[:20].ljust(20, ".") + f"{i:8}"
        key = family[::-1].translate(VOWELS)
        short = title.replace("and", "+")
        if title.startswith("rear"):
            short += "*" * 3
        total += len(entry) + len(key) + short.rfind("e") + 1 + len(title.split()) + (key < short)
    print(total, entry, key, short)


main(*map(int, sys.argv[1:]))
