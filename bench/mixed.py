import re
import sys
from collections import defaultdict

ORDERS = [
    "1001 Adams, J.: 12 @ 19.99 deliver by noon",
    "1002 Baker, T.: 3 @ 4.50 call before delivery",
    "1003 Clark, M.: 40 @ 7.25 leave at door",
    "1004 Clark, R.: 1 @ 149.00 with gift wrapping",
    "1005 Zimmer, A.: 7 @ 33.40 not on mondays",
    "1006 Davis, R.: 25 @ 2.75 return old bottles",
    "1007 Adams, B.: 2 @ 61.80 ring the bell",
]
ORDER = re.compile(r"(\d+) ([^,]*), ([^:]*): (\d+) @ (\S+) (.*)")


def tax(net, rate):
    if net < 50:
        return 0
    return net * rate


def iso(number):
    month = number % 12 + 1
    day = number % 28 + 1
    return f"2024-{month:02}-{day:02}"


def main(rounds=210_000):
    total = defaultdict(int)
    again = defaultdict(int)
    each = [""] * 4
    count = 0
    last = entry = None
    area = letters = reviews = 0

    def add(customer, net, tax):
        nonlocal count
        total[customer] += net + tax
        count += 1

    for number in range(1, rounds + 1):
        line = ORDERS[number % 7]
        order, customer, initial, amount, price, note = ORDER.match(line).groups()
        amount, price = int(amount), float(price)
        value = amount * price
        if value >= 100:
            discount = value * 0.05
        else:
            discount = 0
        if customer == "Adams":
            rate = 0.07
        elif customer == "Baker":
            rate = 0.19
        elif amount > 20:
            rate = 0.16
        else:
            rate = 0.2
        net = value - discount
        add(customer, net, tax(net, rate))
        if customer == last:
            again[customer] += 1
        else:
            last = customer
        for x in (0, 0.25, 0.5, 0.75, 1):
            height = x * rate
            area += height * 0.25
        title = customer[:1] + initial[:1]
        words = note.split()
        second = words[1]
        if len(second) > 4:
            second = second[:4]
        else:
            second += "."
        for i in range(3):
            word = words[i]
            letters += len(word)
            each[i] = word
        year, month, day = iso(number).split("-")
        entry = f"{title:8}{net:10.2f} {second} {each[2]} {day}.{month}"
        if int(day) > 14 and customer != "Davis":
            reviews += 1

    print(rounds // 84 * 6636, "clauses")
    print(count, "orders,", f"{area:.0f}", letters, reviews)
    print(entry)
    for customer in ("Adams", "Baker", "Clark", "Davis", "Zimmer"):
        print(customer, f"{total[customer]:.0f}", again[customer])


main(*map(int, sys.argv[1:]))
