"""The memory that variables take, beside Lua and Python."""

import sys

from measure import compare
from programs import commands
from table import Table

COUNT = 1_000_000
# How stems.vnd and its twins call it, and what it is.
KINDS = [
    ("numbers", "whole numbers as tails"),
    ("words", "words as tails"),
    ("pairs", "two whole numbers as tails"),
]
BYTES_LIMIT = 100  # for each variable with a short value
DROPPED_LIMIT = 1.5  # times the memory of the largest stem, when several are filled and dropped in turn
ONE_LINE_LIMIT = 8  # MiB

COLUMNS = [("memory", 50), ("vandra", 10), ("of", 6), ("lua5.4", 10), ("python3", 10)]


def peaks(options, name, *arguments):
    runs = compare(commands(options, name, *arguments), options.runs or 3)
    if not runs[0].peak:
        sys.exit("memory: the system doesn't let the processes be watched")
    return [each and each.peak for each in runs]


def row(table, title, figures, limit, form):
    ours, *others = (None if figure is None else form.format(figure) for figure in figures)
    table.row(title, ours, limit, *(other or "" for other in others), remark="misses" if figures[0] > limit else "")


def run_memory(options):
    table = Table(options.markdown, COLUMNS)
    row(table, "peak of a one-line script, MiB", peaks(options, "startup"), ONE_LINE_LIMIT, "{:.1f}")
    empty = peaks(options, "stems", "numbers", "0")

    def taken(kind):
        return [peak and peak - base for peak, base in zip(peaks(options, "stems", kind, str(COUNT)), empty)]

    filled = [taken(kind) for kind, _ in KINDS]
    for (_, title), figures in zip(KINDS, filled):
        each = [figure and figure * 1048576 / COUNT for figure in figures]
        row(table, f"bytes a variable, {title}", each, BYTES_LIMIT, "{:.0f}")
    ratios = [figure and figure / max(largest) for figure, largest in zip(taken("dropped"), zip(*filled))]
    row(table, "filling and dropping nine in turn, x the largest", ratios, DROPPED_LIMIT, "{:.2f}")
    table.end()
