import sys


def numbers(count):
    return {i: f"v{i}" for i in range(1, count + 1)}


def words(count):
    return {f"key{i}": f"v{i}" for i in range(1, count + 1)}


def pairs(count):
    return {i: {j: f"v{i}{j}" for j in range(1, 1001)} for i in range(1, count // 1000 + 1)}


def dropped(count):
    for _ in range(3):
        numbers(count)
        words(count)
        pairs(count)


filled = globals()[sys.argv[1]](int(sys.argv[2]))
print(*sys.argv[1:])
