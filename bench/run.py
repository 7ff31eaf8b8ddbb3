#!/usr/bin/env python3
"""Runs the benchmarks beside this file and prints how long each takes, here and in Lua.

    run.py --vandra PROGRAM [--lua PROGRAM] [--runs N] [NAME...]

Each NAME.vnd has a twin NAME.lua that does the same work and must print the same. A time is the median over whole
processes, start-up included; `startup` shows how much that is. The benchmark `load` makes its scripts itself: straight
programs of 10,000, 100,000 and 1,000,000 lines that end at their first one, so that the time is that of reading and
parsing; the peak memory shown there is never less than that of this runner. `memory` is the peak memory of the
one-line script. `short` and `long` are the string functions, see functions.py. `external` makes 200 routines, each in a
file of its own and all in one, and calls them.
"""

import argparse
import fcntl
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import functions
# The file that `lines` and `execio` read, made when one of them runs and named by the environment.
LINES_FILE = "LINES_FILE"
FILE_LINES = 1_000_000

HERE = os.path.dirname(os.path.abspath(__file__))

# Name, what it measures, the ratio to Lua that we mean to keep, and how many runs make a median.
BENCHMARKS = [
    ("count", "counting loop with arithmetic", 4, 5),
    ("fib", "recursion with PROCEDURE, fib 28", 10, 5),
    ("fraction", "fractions at nine digits", 4, 5),
    ("sieve", "sieve on a stem", 4, 5),
    ("tails", "string tails", 4, 5),
    ("parse", "PARSE with words and a pattern", 1, 5),
    ("build", "string building by ||", 1, 5),
    ("calls", "nested calls with arguments", 4, 5),
    ("lines", "LINES and LINEIN, a million lines", 2, 5),
    ("execio", "EXECIO DISKR, a million lines", 3, 5),
    ("startup", "start-up of a one-line script", 1, 101),
]
# Name, what it measures, bytes that it goes through (0: its time counts), and the limit: seconds, or megabytes a second.
MEASURED = [
    ("regex", "a pattern over 100 MiB", 10 * 10 * 1048576, 500),
    ("capture", "100 MB of output into a stem", 100_000_000, 200),
    ("list", "a directory of 100,000 files", 0, 0.5),
]
SORT_LIMIT = 3  # times the time of Python
LOAD_LINES = [10_000, 100_000, 1_000_000]
EXTERNAL_ROUTINES = 200
MEMORY_LIMIT = 8 * 1024  # KiB

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


def seconds(command):
    """Runs a command once: its time, and its peak memory in KiB."""
    nothing = os.open(os.devnull, os.O_WRONLY)
    start = time.perf_counter()
    process = os.posix_spawn(command[0], command, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, nothing, 1)])
    _, status, usage = os.wait4(process, 0)
    taken = time.perf_counter() - start
    os.close(nothing)
    if status:
        sys.exit(f"{' '.join(command)}: status {status}")
    return taken, usage.ru_maxrss


def beside(program, name):
    return os.path.join(os.path.dirname(program), name)


def median(command, runs):
    return statistics.median(seconds(command)[0] for _ in range(runs))


def output(command):
    return subprocess.run(command, capture_output=True, check=True).stdout


def show_time(value):
    return f"{value * 1000:10.1f} ms"


def row(title, ours, theirs, limit):
    ratio = ours / theirs if theirs else None
    text = f"{title:36}{show_time(ours)}"
    if ratio is not None:
        text += f"{show_time(theirs)}   x {ratio:5.2f}   of {limit:2}{'   <-- too slow' if ratio > limit else ''}"
    print(text, flush=True)


def run_pair(options, name, title, limit, runs):
    script, twin = (os.path.join(HERE, name + ending) for ending in (".vnd", ".lua"))
    ours = [options.vandra, script]
    theirs = [options.lua, twin] if options.lua else None
    if theirs and output(ours) != output(theirs):
        sys.exit(f"{name}: the script and its twin print different things")
    runs = options.runs or runs
    row(title, median(ours, runs), median(theirs, runs) if theirs else None, limit)


def make_lines(path):
    with open(path, "w", encoding="ascii") as file:
        file.writelines(f"{i} of the lines of a file that isn't read for its contents\n" for i in range(FILE_LINES))


def run_load(options):
    with tempfile.TemporaryDirectory() as place:
        for lines in LOAD_LINES:
            paths = {}
            for ending, piece, stop in (("vnd", PIECE_VND, "exit"), ("lua", PIECE_LUA, "os.exit(0)")):
                paths[ending] = os.path.join(place, "load." + ending)
                with open(paths[ending], "w", encoding="ascii") as file:
                    file.write(stop + "\n")
                    file.writelines(piece.format(i) for i in range(lines // LINES_OF_PIECE))
            taken = [seconds([options.vandra, paths["vnd"]]) for _ in range(options.runs or 3)]
            ours = statistics.median(each[0] for each in taken)
            theirs = f"{show_time(median([options.lua, paths['lua']], options.runs or 3))}" if options.lua else ""
            title = f"loading {lines:,} lines"
            compiled = os.path.join(place, "load.vn")
            subprocess.run([beside(options.vandra, "vcmp"), "-o", compiled, paths["vnd"]], check=True)
            print(
                f"{title:36}{show_time(ours)}{theirs}"
                f"   {ours * 1000 * 100_000 / lines:7.1f} ms per 100,000 lines,"
                f" peak {max(each[1] for each in taken) / 1024:6.1f} MiB",
                flush=True,
            )
            print(f"{'  compiled':36}{show_time(median([options.vandra, compiled], options.runs or 3))}", flush=True)


def run_external(options):
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
        for title, calls in ((f"{EXTERNAL_ROUTINES} routines", first + "exit\n"), ("and 300,000 calls", many)):
            taken = []
            for name, text in (("outside.vnd", calls), ("inside.vnd", calls + inside)):
                with open(name, "w", encoding="ascii") as file:
                    file.write("total = 0\n" + text)
                taken.append(median([options.vandra, name], options.runs or 5))
            print(f"{title:36}{show_time(taken[0])} loaded{show_time(taken[1])} internal", flush=True)
        os.chdir(before)


def own_seconds(command, runs):
    """The median of what the command says of its time, and what else it says."""
    shown = [output(command).decode().split("\n", 1) for _ in range(runs)]
    return statistics.median(float(each[0]) for each in shown), shown[0][1]


def run_sort(options):
    runs = options.runs or 3
    ours, rest = own_seconds([options.vandra, os.path.join(HERE, "sort.vnd")], runs)
    theirs, other = own_seconds([sys.executable, os.path.join(HERE, "sort.py")], runs)
    if rest != other:
        sys.exit("sort: the script and its twin print different things")
    row("a million lines sorted (Python)", ours, theirs, SORT_LIMIT)


def run_measured(options, name, title, size, limit):
    command = [options.vandra, os.path.join(HERE, name + ".vnd")]
    with tempfile.TemporaryDirectory() as place:
        if name == "list":
            for i in range(100_000):
                os.close(os.open(os.path.join(place, f"file{i:06}.txt"), os.O_CREAT | os.O_WRONLY))
            command.append(place)
        taken = own_seconds(command, options.runs or 5)[0]
    speed = size / taken / 1e6
    bad = speed < limit if size else taken > limit
    what = f"{speed:10.0f} MB/s   of {limit}" if size else f"   of {limit * 1000:.0f} ms"
    print(f"{title:36}{show_time(taken)}{what}{'   <-- too slow' if bad else ''}", flush=True)


def peak_memory(command):
    """The peak memory of a process in KiB, read while it waits for somebody to take its output.

    The resource usage that the system reports at the end would count the time before exec, when the process was still
    a copy of this one. So its output is a pipe that is full already: the write blocks, and the record of the process
    can be read at leisure.
    """
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    os.write(writer, bytes(fcntl.fcntl(writer, fcntl.F_GETPIPE_SZ)))
    process = os.posix_spawn(command[0], command, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, writer, 1)])
    os.close(writer)
    time.sleep(0.2)
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        peak = next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))
    with os.fdopen(reader, "rb") as rest:
        rest.read()
    os.waitpid(process, 0)
    return peak


def run_memory(options):
    ours = peak_memory([options.vandra, os.path.join(HERE, "startup.vnd")])
    theirs = peak_memory([options.lua, os.path.join(HERE, "startup.lua")]) if options.lua else None
    other = f"{theirs:10} KiB" if theirs else ""
    print(f"{'peak memory of a one-line script':36}{ours:9} KiB{other}   of {MEMORY_LIMIT} KiB"
          f"{'   <-- too much' if ours > MEMORY_LIMIT else ''}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vandra", required=True)
    parser.add_argument("--lua", default=shutil.which("lua5.4"))
    parser.add_argument("--runs", type=int, default=0, help="runs per median (each benchmark has its own default)")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    names = [benchmark[0] for benchmark in BENCHMARKS] + ["sort"] + [benchmark[0] for benchmark in MEASURED]
    known = names + ["load", "external", "memory", "short", "long"]
    for name in options.names:
        if name not in known:
            parser.error(f"no benchmark {name}; there are {', '.join(known)}")
    wanted = options.names or known
    if set(wanted) - {"short", "long"}:
        print(f"{'':36}{'vandra':>13}{'lua5.4' if options.lua else '':>13}   ratio")
    with tempfile.TemporaryDirectory() as place:
        os.environ[LINES_FILE] = os.path.join(place, "lines.txt")
        if "lines" in wanted or "execio" in wanted:
            make_lines(os.environ[LINES_FILE])
        for name, title, limit, runs in BENCHMARKS:
            if name in wanted:
                run_pair(options, name, title, limit, runs)
    if "sort" in wanted:
        run_sort(options)
    for name, title, size, limit in MEASURED:
        if name in wanted:
            run_measured(options, name, title, size, limit)
    if "load" in wanted:
        run_load(options)
    if "external" in wanted:
        run_external(options)
    if "memory" in wanted:
        run_memory(options)
    if "short" in wanted:
        functions.run_short(options.vandra)
    if "long" in wanted:
        functions.run_long(options.vandra)


if __name__ == "__main__":
    main()
