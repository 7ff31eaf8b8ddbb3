"""The programs beside this file that stand in three languages: NAME.vnd, NAME.lua and NAME.py do the same work.

All three take the size of the work as their argument, and have a size of their own for when there is none. Those that
read a file take its name from the environment.
"""

import os
from typing import NamedTuple

HERE = os.path.dirname(os.path.abspath(__file__))
LINES_FILE = "LINES_FILE"
FILE_LINES = 1_000_000


class Program(NamedTuple):
    name: str
    title: str
    lua: float | None  # the limits: the multiple of the time of Lua and of Python that we mean to keep
    python: float | None
    small: str  # the size for counting instructions; lines of the file for those that read one
    unbuffered: bool = False  # Python shall write at once, too


PROGRAMS = [
    Program("count", "counting loop with a comparison", 1.5, 0.4, "100000"),
    Program("fib", "recursion with PROCEDURE, fib 28", 5, 1.0, "18"),
    Program("fraction", "fractions at nine digits", 4, 0.8, "50000"),
    Program("sieve", "sieve on a stem", 2, 0.5, "30000"),
    Program("words", "word counting, string tails", 1.2, 0.8, "30"),
    Program("texts", "string functions on short texts", 0.6, 0.6, "3000"),
    Program("parse", "PARSE VAR, words and a pattern", 0.3, 0.2, "20000"),
    Program("build", "1,000,000 appends by ||", 0.05, 0.5, "20000"),
    Program("queens", "eight queens", 2.5, 0.8, "4"),
    Program("hanoi", "tower of Hanoi on stems", 2.5, 0.8, "12"),
    Program("fill", "flood fill on a stem", 4, 0.8, "20"),
    Program("lines", "LINES and LINEIN, a million lines", 1.5, 1.0, "20000"),
    Program("say", "SAY of short lines to a file", None, 0.6, "5000", unbuffered=True),
    Program("calls", "nested calls with arguments", 4, None, "20000"),
    Program("execio", "EXECIO DISKR, a million lines", 3, None, "20000"),
    Program("mixed", "a mixed program", None, None, "3024"),
]
READERS = ("lines", "execio")  # of the file


def commands(options, name, *arguments, unbuffered=False):
    """The command for each language, None where the language isn't there."""
    script = os.path.join(HERE, name)
    python = [options.python, *(["-u"] if unbuffered else [])]
    return [
        [options.vandra, script + ".vnd", *arguments],
        [options.lua, script + ".lua", *arguments] if options.lua else None,
        [*python, script + ".py", *arguments],
    ]


def make_lines(path, count):
    with open(path, "w", encoding="ascii") as file:
        file.writelines(f"{i} of the lines of a file that isn't read for its contents\n" for i in range(count))
