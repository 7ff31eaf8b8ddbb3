#!/usr/bin/env python3
"""Host commands and the standard input, seen from outside the process.

    processes.py VANDRA

What a script can't see of itself: zombies and open descriptors after thousands of commands, the interrupt of a
foreground command, what is left in a pipe or file that several processes read, a system that has run out of
descriptors.
"""

import os
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import time

VANDRA = os.path.abspath(sys.argv[1])
TIME_LIMIT = 120  # seconds; whatever needs more hangs

with open(VANDRA, "rb") as program:
    SANITIZED = b"__asan_init" in program.read()


def script(text):
    """The path of a script in the current (temporary) directory."""
    with open("case.vnd", "w", encoding="ascii") as file:
        file.write(text)
    return "case.vnd"


def start(text, **options):
    return subprocess.Popen([VANDRA, script(text)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)


def output(text, **options):
    process = start(text, **options)
    out, err = process.communicate(timeout=TIME_LIMIT)
    assert err == b"", err
    return out.decode()


def children(parent):
    """The states of the process's children, as /proc tells them."""
    states = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/stat", encoding="latin-1") as file:
                state, owner = file.read().rpartition(")")[2].split()[:2]
        except OSError:
            continue
        if int(owner) == parent:
            states.append(state)
    return states


def wait_for(condition):
    limit = time.monotonic() + 20
    while not condition():
        assert time.monotonic() < limit, "waited in vain"
        time.sleep(0.01)


def test_thousands_of_commands_leave_nothing_behind():
    process = start(
        """
        trace o
        bad = 0
        do 4000
          'true'
          if rc \\= 0 then bad = bad + 1
        end
        do 300
          'true &'
          if rc \\= 0 then bad = bad + 1
          'nosuch_program'
          if rc \\= 28 then bad = bad + 1
        end
        do 300
          if `'echo x'` \\= 'x' then bad = bad + 1
        end
        do 100
          x = `'true &'`
        end
        say bad
        parse pull line
        """,
        stdin=subprocess.PIPE,
    )
    assert process.stdout.readline() == b"0\n"
    wait_for(lambda: "".join(children(process.pid)).strip("RSD") == "")
    wait_for(lambda: children(process.pid) == [])
    open_files = os.listdir(f"/proc/{process.pid}/fd")
    process.communicate(timeout=TIME_LIMIT)
    # The three streams, and the pipe through which the input is looked at.
    assert len(open_files) <= 5, open_files


def test_interrupt_reaches_the_command_and_then_the_script():
    process = start(
        """trace o
        signal on halt
        'echo started; exec sleep 60'
        say 'not reached'
        halt: say 'halted' sigl rc
        'true'
        say rc
        """,
        start_new_session=True,
    )
    assert process.stdout.readline() == b"started\n"
    time.sleep(0.1)
    os.killpg(process.pid, signal.SIGINT)
    assert process.communicate(timeout=TIME_LIMIT)[0] == b"halted 3 -2\n0\n"


def test_interrupt_that_a_command_survives_stops_the_script_afterwards():
    process = start(
        """trace o
        "trap '' INT; echo started; sleep 0.5; echo ended"
        say 'not reached'
        """,
        start_new_session=True,
    )
    assert process.stdout.readline() == b"started\n"
    os.killpg(process.pid, signal.SIGINT)
    out, _ = process.communicate(timeout=TIME_LIMIT)
    assert out.startswith(b"ended\n") and b"Error 4 on line 2" in out, out
    assert process.returncode == 4


def test_interrupt_reaches_a_recursion_whose_clauses_all_return():
    process = start(
        """say 'started'
        x = f(80)
        f: procedure
        parse arg n
        if n < 2 then return n
        else return f(n - 1) + f(n - 2)
        """,
        start_new_session=True,
    )
    assert process.stdout.readline() == b"started\n"
    time.sleep(0.1)
    os.killpg(process.pid, signal.SIGINT)
    out, _ = process.communicate(timeout=TIME_LIMIT)
    assert b"Error 4" in out, out


def test_children_start_with_default_signals():
    assert output("trace o\n'kill -PIPE $$'\nsay rc\n") == "-13\n"


def test_children_that_the_parent_did_not_care_for():
    code = "trace o\n'exit 3'\nsay rc length(`'echo abc'`)\n'exit 4 &'\nsay rc\n"
    assert output(code, preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN)) == "3 3\n0\n"


def test_closed_streams_are_not_mistaken_for_files():
    text = "trace o\nparse pull a; 'echo lost'; say rc; 'echo code' rc '> kept; read x; echo $? >> kept'\n"
    done = subprocess.run(["sh", "-c", f"{VANDRA} {script(text)} <&- >&- 2>&-"], timeout=TIME_LIMIT)
    with open("kept", "rb") as file:
        assert (done.returncode, file.read()) == (0, b"code 0\n1\n")


def test_background_commands_are_cut_off_from_our_streams():
    process = start(
        """trace o
        'sh -c "cat >&2; echo not seen" &'
        say rc
        parse pull line
        say line
        """,
        stdin=subprocess.PIPE,
    )
    out, err = process.communicate(b"for the script\n", timeout=TIME_LIMIT)
    assert (out, err) == (b"0\nfor the script\n", b""), (out, err)


LINES = b"".join(b"line %d\n" % i for i in range(20000))
TAKE_SOME = """
parse pull a
do 4999; parse pull b; end
say a',' b
'read x; echo $x'
parse pull c
say c
"""
TAKEN = "line 0, line 4999\nline 5000\nline 5001\n"
REST = LINES[LINES.index(b"line 5002\n") :]


def test_a_pipe_keeps_what_nobody_asked_for():
    read_end, write_end = os.pipe()
    writer = subprocess.Popen(["cat", "lines"], stdout=write_end)
    os.close(write_end)
    assert output(TAKE_SOME, stdin=read_end) == TAKEN
    with os.fdopen(read_end, "rb") as rest:
        assert rest.read() == REST
    assert writer.wait(timeout=TIME_LIMIT) == 0


def test_a_file_is_left_where_the_script_ended():
    with open("lines", "rb", buffering=0) as file:
        assert output(TAKE_SOME, stdin=file) == TAKEN
        assert file.readall() == REST


def test_a_socket_keeps_what_nobody_asked_for():
    ours, theirs = socket.socketpair()
    ours.sendall(b"one\ntwo\nthree\nfour\nfive\n")
    out = output("parse pull a\n'read x; echo $x'\nparse pull b\nsay a b\n", stdin=theirs)
    assert out == "two\none three\n"
    ours.close()
    assert theirs.recv(100) == b"four\nfive\n"
    theirs.close()


def test_lines_that_come_in_pieces():
    process = start("do 3; parse pull a; say length(a) rc; end\n", stdin=subprocess.PIPE)
    for piece in (b"x" * 70000, b"y" * 70000, b"\n", b"ab", b"c\n", b"no line end"):
        process.stdin.write(piece)
        process.stdin.flush()
        time.sleep(0.02)
    out, _ = process.communicate(timeout=TIME_LIMIT)
    assert out == b"140000 0\n3 0\n11 EOF\n", out


def test_input_that_cannot_be_read():
    assert output("parse pull a\nsay '[' || a || ']' rc\n", stdin=subprocess.DEVNULL) == "[] EOF\n"
    with open(os.getcwd() + "/write_only", "wb") as file:
        assert output("parse pull a\nsay '[' || a || ']' rc\n", stdin=file) == "[] EOF\n"


def test_no_descriptors_left():
    if SANITIZED:  # it needs descriptors of its own
        return
    text = """trace o
        'true'; say rc
        parse pull a; say a
        signal on syntax
        x = `'echo x'`
        syntax: say rc
        """
    process = start(text, stdin=subprocess.PIPE, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (4, 4)))
    out, _ = process.communicate(b"line\nmore\n", timeout=TIME_LIMIT)
    assert out.split(b"\n")[:2] == [b"0", b"line"] and out.endswith(b"\n58\n"), out


def test_a_working_directory_that_is_gone():
    os.mkdir("gone")
    path = os.path.abspath(script("trace o\n'rmdir ../gone'; say rc\n'true'; say rc\n'./true'; say rc\n"))
    done = subprocess.run([VANDRA, path], cwd="gone", capture_output=True, timeout=TIME_LIMIT)
    assert done.stdout == b"0\n0\n28\n", done


def main():
    failures = count = 0
    for name, test in list(globals().items()):
        if not name.startswith("test_"):
            continue
        with tempfile.TemporaryDirectory(prefix="vandra-test-") as place:
            os.chdir(place)
            with open("lines", "wb") as file:
                file.write(LINES)
            try:
                test()
            except (AssertionError, subprocess.TimeoutExpired) as fault:
                failures += 1
                line = fault.__traceback__.tb_next.tb_lineno
                print(f"FAILED {name}, line {line}: {fault!r}")
            os.chdir("/")
            count += 1
    print(f"{count} tests, {failures} failures")
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
