"""String functions on a short and on a long text, beside the same work in Python 3.

For a short text the figures are nanoseconds for each call, evaluation of the arguments and assignment included, those
of an empty loop taken off; for a long one GB/s of the text. Both sides read the clock around their loops, so that
start-up doesn't count.
"""

import re
import subprocess
import tempfile
import time

from table import Table

PIECE = "the quick brown fox jumps over a lazy dog "
LONG = 10 << 20
SETUP = "w = 'lazy cat'; t = s || ''; x = 12.345; y = "
NAMES = {"re": re, "w": b"lazy cat", "x": 12.345, "vowels": bytes.maketrans(b"aeiou", b"uoiea")}

# What it measures, the call here, the same in Python. `s` and `t` are the text; `w` and "#" don't occur in it.
CALLS = [
    ("POS", "pos(w, s)", "s.find(w) + 1"),
    ("POS, no case", "pos(w, s, 1, 1)", "s.upper().find(w.upper()) + 1"),
    ("INDEX of a byte", "index(s, '#')", "s.find(b'#') + 1"),
    ("LASTPOS", "lastpos('#', s)", "s.rfind(b'#') + 1"),
    ("CHANGE a byte", "change(s, 'x', 'y')", "s.replace(b'x', b'y')"),
    ("CHANGE a word", "change(s, 'fox', 'wolf')", "s.replace(b'fox', b'wolf')"),
    ("CHANGE, no case", "change(s, 'FOX', 'wolf', 1)", "re.sub(b'(?i)fox', b'wolf', s)"),
    ("COMPARE", "compare(s, t)", "s == t"),
    ("TRANSLATE", "translate(s, 'uoiea', 'aeiou')", "s.translate(vowels)"),
    ("VERIFY", "verify(s, xrange('a', 'z') || ' ')", "re.search(b'[^a-z ]', s)"),
    ("UPPER", "upper(s)", "s.upper()"),
    ("LOWER", "lower(s)", "s.lower()"),
    ("REVERSE", "reverse(s)", "s[::-1]"),
    ("SUBSTR", "substr(s, 5)", "s[4:]"),
    ("OVERLAY", "overlay(w, s, 5)", "s[:4] + w + s[4 + len(w):]"),
    ("STRIP", "strip(s)", "s.strip(b' ')"),
    ("SPACE", "space(s)", "b' '.join(s.split())"),
    ("WORDS", "words(s || 'x')", "len((s + b'x').split())"),
    ("WORDPOS", "wordpos('wolf', s)", "b' '.join([b'', *s.split(), b'']).find(b' wolf ')"),
    ("BITXOR", "bitxor(s, , ' ')", "bytes(c ^ 32 for c in s)"),
    ("C2X", "c2x(s)", "s.hex().upper()"),
]
SHORT_ONLY = [
    ("LENGTH", "length(s)", "len(s)"),
    ("LEFT", "left(s, 60)", "s.ljust(60)"),
    ("JUSTIFY", "justify(s, 60)", None),
    ("WORD", "word(s, 4)", "s.split()[3]"),
    ("FORMAT", "format(x, 5, 2)", "'%8.2f' % x"),
    ("TRUNC", "trunc(x, 2)", "int(x * 100) / 100"),
    ("DATATYPE", "datatype(x, 'W')", "x.is_integer()"),
]
LONG_ONLY = [("WORD by WORD", "s; do i = 1 to words(s); y = word(s, i); end", "[word for word in s.split()]")]


def ours(vandra, text, calls, repeats):
    """The seconds that all repeats of each call take here."""
    lines = [f"s = {text}; {SETUP}"]
    for _, call, _ in calls:
        lines.append(f"y = {call}; call time 'R'; do {repeats}; y = {call}; end; say time('E')")
    with tempfile.NamedTemporaryFile("w", suffix=".vnd") as script:
        script.write("\n".join(lines) + "\n")
        script.flush()
        output = subprocess.run([vandra, script.name], capture_output=True, check=True).stdout
    return [float(line) for line in output.split()]


def theirs(text, calls, repeats):
    """The same in Python, None where there is no such call."""
    names = dict(NAMES, s=text, t=bytes(bytearray(text)))
    times = []
    for _, _, call in calls:
        if call is None:
            times.append(None)
            continue
        exec(f"def run():\n for _ in range({repeats}): y = {call}", names)
        start = time.perf_counter()
        names["run"]()
        times.append(time.perf_counter() - start)
    return times


def start_table(options, title):
    return Table(options.markdown, [(title, 36), ("vandra", 13), ("python3", 13)])


def run_short(options, repeats=100_000):
    calls = [("", "s", "s")] + CALLS + SHORT_ONLY
    mine, python = ours(options.vandra, f"'{PIECE}'", calls, repeats), theirs(PIECE.encode(), calls, repeats)

    def figure(times, i):
        return "" if times[i] is None else f"{(times[i] - times[0]) * 1e9 / repeats:.0f} ns"

    table = start_table(options, f"calls on a text of {len(PIECE)} bytes")
    for i, (title, _, _) in list(enumerate(calls))[1:]:
        table.row(title, figure(mine, i), figure(python, i))
    table.end()


def run_long(options, repeats=3):
    copies = LONG // len(PIECE)
    calls = CALLS + LONG_ONLY
    mine = ours(options.vandra, f"copies('{PIECE}', {copies})", calls, repeats)
    python = theirs(PIECE.encode() * copies, calls, repeats)

    def figure(seconds):
        return f"{LONG * repeats / seconds / 1e9:.2f} GB/s"

    table = start_table(options, "calls on a text of 10 MiB")
    for (title, _, _), a, b in zip(calls, mine, python):
        table.row(title, figure(a), figure(b))
    table.end()
