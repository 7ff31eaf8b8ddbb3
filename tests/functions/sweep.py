#!/usr/bin/env python3
"""Calls every built-in function with all kinds of arguments and sees that it ends well.

Usage: sweep.py PROGRAM [SECONDS]

Each function that this build has is called with 0 to 6 arguments, every place taken by each kind of argument: omitted,
empty, a number, a large and a huge one, a negative, a fractional one, a text with NUL bytes, 1 MiB of text, -infinity, no
number at all. Up to two arguments all
combinations are tried, for more a fixed random choice. Every call must end in a value or in the error 40, 41, 42 or 5;
anything else (another error, a crash, a hang, more than 6 GiB of address space) is a failure. Functions that wait,
end processes or change files by their nature are left out.
"""

import itertools
import pathlib
import random
import resource
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import function_docs  # noqa: E402

FAMILIES = {"String functions", "Word functions", "Conversion", "Numeric", "Interpreter state", "Sort and patterns"}
KINDS = ["", "''", "7", "1E15", "9999999", "-3", "2.5", "zeros", "large", "infinite", "nan"]
NAMES = {("parg", 2): "stem", ("sort", 0): "stem", ("trace", 0): "'O'"}  # places that take something else than any value
ALLOWED = {40, 41, 42, 5}
CHOICES = 40  # for each count of three arguments and more

SCRIPT_HEAD = """large = copies('ab c', 262144)
zeros = 'a' || '00'x || 'b' || '00'x
infinite = '-1E999'
nan = sin(infinite)
"""
SCRIPT_TAIL = """exit
try:
  signal on syntax name failed
  interpret 'x =' arg(1)
  if length(x) > 1073741824 then say arg(1) 'is too long'
  say 'value'
  return
failed:
  say 'error' rc
  return
"""


def calls_of(name):
    """The argument lists to try."""
    chosen = random.Random(name)
    for count in range(0, 3):
        yield from itertools.product(KINDS, repeat=count)
    for count in range(3, 7):
        for _ in range(CHOICES):
            yield tuple(chosen.choice(KINDS) for _ in range(count))


def script_for(name):
    lines = []
    for arguments in calls_of(name):
        places = [NAMES.get((name, i), argument) for i, argument in enumerate(arguments)]
        call = "%s(%s)" % (name, ", ".join(places))
        lines.append(('call try "%s"' % call, call))
    return SCRIPT_HEAD + "".join(line + "\n" for line, _ in lines) + SCRIPT_TAIL, [call for _, call in lines]


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (6 << 30, 6 << 30))


def sweep(program, name, directory, seconds):
    """The complaints about one function."""
    script, calls = script_for(name)
    path = pathlib.Path(directory) / (name + ".vnd")
    path.write_text(script)
    sanitized = "asan" in str(pathlib.Path(program).resolve())  # it reserves terabytes of address space
    try:
        run = subprocess.run(
            [program, str(path)], stdin=subprocess.DEVNULL, capture_output=True, timeout=seconds, cwd=directory,
            preexec_fn=None if sanitized else limit_memory)
    except subprocess.TimeoutExpired as late:
        done = len(outcomes((late.stdout or b"").decode("latin-1")))
        return ["hangs at %s" % calls[min(done, len(calls) - 1)]]
    results = outcomes(run.stdout.decode("latin-1"))
    complaints = []
    for call, result in zip(calls, results):
        if result != "value" and int(result.split()[1]) not in ALLOWED:
            complaints.append("%s ends in %s" % (call, result))
    if len(results) != len(calls) or run.returncode != 0:
        end = calls[len(results)] if len(results) < len(calls) else "its end"
        complaints.append("stops with code %d at %s\n%s" % (run.returncode, end, run.stderr.decode("latin-1")[-2000:]))
    return complaints


def outcomes(output):
    return [line for line in output.split("\n") if line == "value" or line.startswith("error ")]


def main():
    program = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 60
    begin = time.time()
    failures = 0
    names = [name for title, rows in function_docs.read_table() if title in FAMILIES for name, _ in rows]
    with tempfile.TemporaryDirectory() as directory:
        for name in names:
            for complaint in sweep(program, name, directory, seconds):
                print("%s: %s" % (name, complaint))
                failures += 1
    print("%d functions in %.1f seconds, %d failures" % (len(names), time.time() - begin, failures))
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
