#!/usr/bin/env python3
"""Runs the benchmarks beside this file and prints how they compare with the same work in Lua and in Python.

    run.py --vandra PROGRAM [--lua PROGRAM] [--runs N] [--counts] [--markdown] [NAME...]

A time is the median of several runs, in processor time; what a one-line script takes is taken off. The three languages
take turns. The peak memory of each stands beside. Python is the one that runs this file.

With --counts the programs that stand in all three languages (programs.py) run with less work under valgrind, which
counts their instructions: slower, but the figures are the same each time.

`memory` is what variables take, see memory.py; `short` and `long` are the string functions, see functions.py; what is
measured alone or in some other way stands in others.py.
"""

import argparse
import os
import shutil
import sys

import beside
import functions
import memory
import others


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vandra", required=True)
    parser.add_argument("--lua", default=shutil.which("lua5.4"))
    parser.add_argument("--runs", type=int, default=0, help="runs per median (each benchmark has its own default)")
    parser.add_argument("--counts", action="store_true", help="count instructions instead")
    parser.add_argument("--markdown", action="store_true", help="print tables for docs/performance.md")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    options.vandra = os.path.abspath(options.vandra)
    options.python = sys.executable
    known = beside.known() + ["memory"] + others.known() + ["short", "long"]
    for name in options.names:
        if name not in known:
            parser.error(f"no benchmark {name}; there are {', '.join(known)}")
    wanted = options.names or known
    if options.counts:
        beside.run_counts(options, wanted)
        return
    if set(wanted) & set(beside.known()):
        beside.run_times(options, wanted)
    if "memory" in wanted:
        memory.run_memory(options)
    if set(wanted) & set(others.known()):
        others.run_others(options, wanted)
    if "short" in wanted:
        functions.run_short(options)
    if "long" in wanted:
        functions.run_long(options)


if __name__ == "__main__":
    main()
