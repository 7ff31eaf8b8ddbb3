"""Runs a program and measures it: processor time, peak memory, instructions, system calls.

Times are those of the processor (user and system), which other processes on the machine disturb less than the clock on
the wall. Programs that shall be compared are run in turn, so that a machine that slows down slows all of them.
"""

import ctypes
import os
import re
import signal
import statistics
import subprocess
import sys
import tempfile
from typing import NamedTuple

LONG = 20  # a program that takes more seconds than this isn't run again

# From <sys/ptrace.h>.
PTRACE_CONT = 7
PTRACE_SEIZE = 0x4206
PTRACE_O_TRACEEXIT = 0x40
PTRACE_EVENT_EXIT = 6

_libc = ctypes.CDLL(None)
_libc.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]


class Run(NamedTuple):
    seconds: float
    peak: float  # MiB; 0 when it isn't known
    output: bytes


def run(command):
    """Runs a command once, with its output to a file.

    The peak memory that the system reports at the end would count the time before exec, when the process still shared
    the memory of this one. So the process is stopped on its way out, while its own record can be read.
    """
    with tempfile.TemporaryFile() as output:
        actions = [(os.POSIX_SPAWN_DUP2, output.fileno(), 1)]
        process = os.posix_spawn(command[0], command, os.environ, file_actions=actions)
        _libc.ptrace(PTRACE_SEIZE, process, None, PTRACE_O_TRACEEXIT)
        peak = 0
        while True:
            _, status, usage = os.wait4(process, 0)
            if not os.WIFSTOPPED(status):
                break
            passed_on = os.WSTOPSIG(status)
            if passed_on == signal.SIGTRAP and status >> 16 == PTRACE_EVENT_EXIT:
                peak = _peak_of(process)
                passed_on = 0
            _libc.ptrace(PTRACE_CONT, process, None, passed_on)
        if status:
            sys.exit(f"{' '.join(command)}: status {status}")
        output.seek(0)
        return Run(usage.ru_utime + usage.ru_stime, peak, output.read())


def _peak_of(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM")) / 1024


def compare(commands, runs):
    """Runs the commands in turn; a Run of medians for each. None in the place of a command stays None."""
    taken = [[] for _ in commands]
    for _ in range(runs):
        for command, so_far in zip(commands, taken):
            if command and not (so_far and so_far[-1].seconds > LONG):
                so_far.append(run(command))
    return [medians(each) if each else None for each in taken]


def medians(taken):
    peaks = [each.peak for each in taken if each.peak]
    return Run(
        statistics.median(each.seconds for each in taken),
        statistics.median(peaks) if peaks else 0,
        taken[0].output,
    )


def instructions(command):
    """How many instructions the command executes, as valgrind counts them."""
    counted = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command]
    done = subprocess.run(counted, capture_output=True, check=True, env={**os.environ, "PYTHONHASHSEED": "0"})
    return int(re.search(rb"Collected : (\d+)", done.stderr)[1])


def system_calls(command, output):
    """How many of each system call the command makes, by name."""
    with tempfile.NamedTemporaryFile() as summary:
        subprocess.run(["strace", "-f", "-c", "-o", summary.name, *command], stdout=output, check=True)
        rows = [line.split() for line in summary.read().decode().splitlines()]
    return {row[-1]: int(row[3]) for row in rows if len(row) >= 5 and row[3].isdigit() and row[-1] != "total"}
