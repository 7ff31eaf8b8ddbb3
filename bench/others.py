"""Measures that have no twin in all three languages: loading, external routines, sorting, patterns, captures, lists."""

import os
import subprocess
import sys
import statistics
import tempfile

from measure import compare
from programs import HERE
from table import Table, milliseconds

COLUMNS = [("other work", 36), ("vandra", 12), ("beside", 24), ("", 26), ("of", 10)]

# Name, what it measures, bytes that it goes through (0: time counts), and the limit: seconds, or megabytes a second.
MEASURED = [
    ("regex", "a pattern over 100 MiB", 10 * 10 * 1048576, 500),
    ("capture", "100 MB of output into a stem", 100_000_000, 200),
    ("list", "a directory of 100,000 files", 0, 0.5),
]
SORT_LIMIT = 3  # times the time of Python
LOAD_LINES = [10_000, 100_000, 1_000_000]
EXTERNAL_ROUTINES = 200

PIECE_VND = """\
/* One step of many that all look alike. */
value{0} = {0} * 2 + length('line {0}')
if value{0} > 100 & symbol('TOTAL') = 'VAR' then do
    total = total + value{0}   /* sums up */
    table.{0}.size = max(value{0}, total - 17.5)
end
else say 'step' {0} "has value" value{0} || '.'
do i = 1 to 10 by 2 while total < 1e6
    name.i = substr('abcdefgh', i, 2) left(value{0}, 8)
end
"""
PIECE_LUA = """\
-- One step of many that all look alike.
value = {0} * 2 + #('line {0}')
if value > 100 and total ~= nil then
    total = total + value   -- sums up
    steps[{0}].size = math.max(value, total - 17.5)
else print('step', {0}, "has value", value .. '.') end
i = 1
while i <= 10 and total < 1e6 do
    name[i], i = string.sub('abcdefgh', i, i + 1) .. value, i + 2
end
"""
LINES_OF_PIECE = 10


def known():
    return ["sort"] + [name for name, *_ in MEASURED] + ["load", "external"]


def run_others(options, wanted):
    table = Table(options.markdown, COLUMNS)
    if "sort" in wanted:
        run_sort(options, table)
    for name, title, size, limit in MEASURED:
        if name in wanted:
            run_measured(options, table, name, title, size, limit)
    if "load" in wanted:
        run_load(options, table)
    if "external" in wanted:
        run_external(options, table)
    table.end()


def own_seconds(command, runs):
    """The median of what the command says of its time, and what else it says."""
    shown = [subprocess.run(command, capture_output=True, check=True).stdout.decode() for _ in range(runs)]
    shown = [each.split("\n", 1) for each in shown]
    return statistics.median(float(each[0]) for each in shown), shown[0][1]


def run_sort(options, table):
    runs = options.runs or 3
    ours, rest = own_seconds([options.vandra, os.path.join(HERE, "sort.vnd")], runs)
    theirs, other = own_seconds([options.python, os.path.join(HERE, "sort.py")], runs)
    if rest != other:
        sys.exit("sort: the script and its twin print different things")
    table.row("a million lines sorted", milliseconds(ours), f"{milliseconds(theirs)} Python", f"x {ours / theirs:.2f}",
              SORT_LIMIT, remark="misses" if ours / theirs > SORT_LIMIT else "")


def run_measured(options, table, name, title, size, limit):
    command = [options.vandra, os.path.join(HERE, name + ".vnd")]
    with tempfile.TemporaryDirectory() as place:
        if name == "list":
            for i in range(100_000):
                os.close(os.open(os.path.join(place, f"file{i:06}.txt"), os.O_CREAT | os.O_WRONLY))
            command.append(place)
        taken = own_seconds(command, options.runs or 5)[0]
    speed = size / taken / 1e6
    bad = speed < limit if size else taken > limit
    table.row(title, milliseconds(taken), "", f"{speed:,.0f} MB/s" if size else "",
              limit if size else f"{limit * 1000:.0f} ms", remark="misses" if bad else "")


def run_load(options, table):
    """Straight programs that end at their first line, so that the time is that of reading and parsing."""
    with tempfile.TemporaryDirectory() as place:
        for lines in LOAD_LINES:
            paths = {}
            for ending, piece, stop in (("vnd", PIECE_VND, "exit"), ("lua", PIECE_LUA, "os.exit(0)")):
                paths[ending] = os.path.join(place, "load." + ending)
                with open(paths[ending], "w", encoding="ascii") as file:
                    file.write(stop + "\n")
                    file.writelines(piece.format(i) for i in range(lines // LINES_OF_PIECE))
            compiled = os.path.join(place, "load.vn")
            compiler = os.path.join(os.path.dirname(options.vandra), "vcmp")
            subprocess.run([compiler, "-o", compiled, paths["vnd"]], check=True)
            ours, lua, quick = compare(
                [
                    [options.vandra, paths["vnd"]],
                    [options.lua, paths["lua"]] if options.lua else None,
                    [options.vandra, compiled],
                ],
                options.runs or 3,
            )
            table.row(f"loading {lines:,} lines", milliseconds(ours.seconds),
                      f"{milliseconds(lua.seconds)} Lua" if lua else "",
                      f"{ours.seconds * 1000 * 100_000 / lines:.1f} ms for 100,000", "")
            table.row("", "", f"{milliseconds(quick.seconds)} compiled", f"peak {ours.peak:.1f} MiB", "")


def run_external(options, table):
    """Routines in files of their own against the same ones in the main file: the first calls, and many of them."""
    body = "procedure expose total\narg step\ntotal = total + step\nreturn step\n"
    first = "".join(f"call r{i} {i}\n" for i in range(EXTERNAL_ROUTINES))
    many = first + "do i = 1 to 300000; call r7 i; end\nexit\n"
    inside = "".join(f"r{i}: {body}" for i in range(EXTERNAL_ROUTINES))
    with tempfile.TemporaryDirectory() as place:
        before = os.getcwd()
        os.chdir(place)
        for i in range(EXTERNAL_ROUTINES):
            with open(f"r{i}.vnd", "w", encoding="ascii") as file:
                file.write(body)
        for title, calls in ((f"{EXTERNAL_ROUTINES} external routines", first + "exit\n"), ("and 300,000 calls", many)):
            for name, text in (("outside.vnd", calls), ("inside.vnd", calls + inside)):
                with open(name, "w", encoding="ascii") as file:
                    file.write("total = 0\n" + text)
            made = [[options.vandra, name] for name in ("outside.vnd", "inside.vnd")]
            outside, within = compare(made, options.runs or 5)
            table.row(title, milliseconds(outside.seconds), f"{milliseconds(within.seconds)} internal", "", "")
        os.chdir(before)
