"""The programs of programs.py beside Lua and Python: time and memory, or instructions."""

import os
import shutil
import sys
import tempfile

from measure import compare, instructions, run, system_calls
from programs import FILE_LINES, LINES_FILE, PROGRAMS, READERS, commands, make_lines
from table import Table, milliseconds

COLUMNS = [
    ("work", 36),
    ("vandra", 12),
    ("lua5.4", 13),
    ("python3", 12),
    ("x Lua", 9),
    ("of", 6),
    ("x Python", 10),
    ("of", 6),
]
MEMORY_COLUMNS = [("MiB", 9), ("Lua", 8), ("Python", 8)]

RUNS = 5
STARTUP_RUNS = 51
STARTUP_LIMITS = (1.0, 0.1)  # of Lua's and Python's instructions

EMPTY_LOOP = "for i = 1, 1e9 do end"
EMPTY_ROUNDS = 1_000_000_000
CLAUSES_GOAL = 60  # millions a second where Lua's empty loop takes a nanosecond a round


def known():
    return [program.name for program in PROGRAMS] + ["startup"]


def show_instructions(count):
    return f"{count / 1e6:,.2f} M"


def ratio_cells(ours, others, limits):
    """The cells that compare with Lua and Python, and a remark on the limits that are missed."""
    cells, missed = [], []
    for language, other, limit in zip(("Lua", "Python"), others, limits):
        ratio = ours / other if other else None
        cells += ["" if ratio is None else f"{ratio:.2g}" if ratio < 0.1 else f"{ratio:.2f}", limit or ""]
        if ratio and limit and ratio > limit:
            missed.append(language)
    return cells, f"misses {' and '.join(missed)}" if missed else ""


def row(table, title, figures, limits, show, memory=()):
    cells, remark = ratio_cells(figures[0], figures[1:], limits)
    shown = ["" if figure is None else show(figure) for figure in figures]
    table.row(title, *shown, *cells, *memory, remark=remark)


def check_twins(name, outputs):
    if len(set(output for output in outputs if output is not None)) > 1:
        sys.exit(f"{name}: the script and its twins print different things")


def wanted_programs(wanted):
    return [program for program in PROGRAMS if program.name in wanted]


def with_lines_file(wanted, count, work):
    """Does the work while the file of the readers exists, if any of them is wanted."""
    with tempfile.TemporaryDirectory() as place:
        os.environ[LINES_FILE] = os.path.join(place, "lines.txt")
        if any(name in wanted for name in READERS):
            make_lines(os.environ[LINES_FILE], count)
        return work()


def run_times(options, wanted):
    """One table of times, start-up taken off, and of peak memory; the count of system calls and of clauses below it."""
    table = Table(options.markdown, COLUMNS + MEMORY_COLUMNS)
    starts = compare(commands(options, "startup"), options.runs or STARTUP_RUNS)
    clauses = with_lines_file(wanted, FILE_LINES, lambda: run_programs(options, wanted, table, starts))
    if "startup" in wanted:
        seconds = [start and start.seconds for start in starts]
        row(table, "start-up of a one-line script, time", seconds, (None, None), milliseconds, memory_cells(starts))
        if shutil.which("valgrind"):
            run_startup_instructions(options, table)
    table.end()
    if "say" in wanted and shutil.which("strace"):
        run_system_calls(options)
    if clauses and options.lua:
        show_clauses(options, clauses)


def run_programs(options, wanted, table, starts):
    """A row for each wanted program. Returns the millions of clauses a second of the mixed one, None without it."""
    clauses = None
    for program in wanted_programs(wanted):
        done = compare(commands(options, program.name, unbuffered=program.unbuffered), options.runs or RUNS)
        check_twins(program.name, [each and each.output for each in done])
        seconds = [each and max(each.seconds - start.seconds, 0) for each, start in zip(done, starts)]
        row(table, program.title, seconds, (program.lua, program.python), milliseconds, memory_cells(done))
        if program.name == "mixed":
            clauses = int(done[0].output.split()[0]) / seconds[0] / 1e6
    return clauses


def memory_cells(runs):
    return [f"{each.peak:.1f}" if each and each.peak else "" for each in runs]


def run_startup_instructions(options, table):
    counts = [command and instructions(command) for command in commands(options, "startup")]
    row(table, "start-up, in instructions", counts, STARTUP_LIMITS, show_instructions, ("", "", ""))


def run_system_calls(options):
    """What a line of SAY costs in system calls: the difference between many lines and few."""
    few, many = 1000, 3000
    table = Table(options.markdown, [("system calls for each line of SAY", 36), ("vandra", 12), ("python3 -u", 13),
                                     ("of", 6)])
    reader, writer = os.pipe()
    drain = os.fork()
    if not drain:
        os.close(writer)
        while os.read(reader, 65536):
            pass
        os._exit(0)
    os.close(reader)
    with tempfile.TemporaryFile() as file:
        for where, output in (("a file", file.fileno()), ("a pipe", writer)):
            ours, _, python = zip(*(commands(options, "say", str(lines), unbuffered=True) for lines in (few, many)))
            writes, others = zip(*(calls_a_line(pair, output, many - few) for pair in (ours, python)))
            for what, figures, limit in (("write", writes, 1), ("any other", others, 0)):
                table.row(f"  {what}, to {where}", *(f"{figure:.3f}" for figure in figures), limit,
                          remark="misses" if figures[0] > limit else "")
    os.close(writer)
    os.waitpid(drain, 0)
    table.end()


def calls_a_line(pair, output, lines):
    """The calls of write, and all others, that each of so many more lines takes."""
    few, many = (system_calls(command, output) for command in pair)
    more = {name: many.get(name, 0) - few.get(name, 0) for name in few | many}
    writes = sum(more.pop(name, 0) for name in ("write", "writev"))
    return writes / lines, sum(abs(count) for count in more.values()) / lines


def show_clauses(options, clauses):
    round_time = compare([[options.lua, "-e", EMPTY_LOOP]], 3)[0].seconds / EMPTY_ROUNDS * 1e9
    scaled = clauses * round_time
    print(f"mixed: {clauses:.1f} million clauses a second. Lua's empty loop takes {round_time:.2f} ns a round here; "
          f"where it takes 1 ns that makes {scaled:.1f} of {CLAUSES_GOAL}.\n")


def run_counts(options, wanted):
    """The same work in small, in instructions. The start-up is taken off except from its own row."""
    if not shutil.which("valgrind"):
        sys.exit("counting instructions needs valgrind")
    table = Table(options.markdown, COLUMNS)
    starts = [command and instructions(command) for command in commands(options, "startup")]
    small_lines = int(next(program.small for program in PROGRAMS if program.name == READERS[0]))

    def count_programs():
        for program in wanted_programs(wanted):
            size = [] if program.name in READERS else [program.small]
            made = commands(options, program.name, *size, unbuffered=program.unbuffered)
            check_twins(program.name, [command and run(command).output for command in made])
            counts = [command and instructions(command) - start for command, start in zip(made, starts)]
            title = f"{program.name} {program.small}"
            row(table, title, counts, (program.lua, program.python), show_instructions)

    with_lines_file(wanted, small_lines, count_programs)
    if "startup" in wanted:
        row(table, "startup", starts, STARTUP_LIMITS, show_instructions)
    table.end()
