#!/usr/bin/env python3
"""Streams under bad conditions, and what other processes see and do.

    files.py VANDRA

Full disks, files that can't be written, that others cut or lengthen, long lines, many streams, a writer that is killed.
Each time the result or the error must be the defined one, and no other line may have changed.
"""

import os
import pwd
import signal
import subprocess
import sys
import tempfile
import time

VANDRA = os.path.abspath(sys.argv[1])
TIME_LIMIT = 120  # seconds

# Reports failures instead of ending with them.
HEAD = "trace o; signal on syntax; x = fileconv('u'); "
TAIL = "\nexit\nsyntax: say 'error' rc\n"


def command(text):
    with open("case.vnd", "w", encoding="latin-1") as file:
        file.write(HEAD + text + TAIL)
    return [VANDRA, "case.vnd"]


def output(text, **options):
    done = subprocess.run(command(text), capture_output=True, timeout=TIME_LIMIT, **options)
    return done.stdout.decode("latin-1").split("\n")[:-1]


def write(name, data):
    with open(name, "wb") as file:
        file.write(data)


def read(name):
    with open(name, "rb") as file:
        return file.read()


def failure(text):
    return ["", "vandra: " + text, "error 40"]


def test_full_disk():
    os.mkdir("disk")
    mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", "disk"], capture_output=True)
    if mounted.returncode:
        print("full disk: skipped, nothing can be mounted here")
        return
    try:
        full = "No space left on device."
        lines = b"".join(b"line %d of the file %s\n" % (i, b"." * 100) for i in range(7000))[: 900 * 1024]
        lines = lines[: lines.rfind(b"\n") + 1]
        write("disk/f", lines)
        # A longer line, an insertion: there is no room, and nothing moves.
        assert output("call lineout 'disk/f', copies('x', 300000), 2") == failure(
            'LINEOUT(): unable to scroll file "disk/f": ' + full)
        assert read("disk/f") == lines
        assert output("v = copies('x', 300000); 'execio 1 diski disk/f . . 2 (var v notype'; say rc") == ["101"]
        assert read("disk/f") == lines
        # An append gets as far as it can; what was there stays. Then there is room again.
        assert output("call lineout 'disk/f', copies('x', 300000)") == failure(
            'LINEOUT(): unable to write in file "disk/f": ' + full)
        assert read("disk/f").startswith(lines)
        write("disk/f", lines)
        assert output("signal on notready; call lineout 'disk/f', copies('x', 300000), 2; notready:\n"
                      "call lineout 'disk/f', 'short', 2; say condition('D') linein('disk/f', 3)")[1] == (
                          "disk/f " + lines.split(b"\n")[2].decode())
        got = output("say charout('disk/f', copies('x', 300000)) > 0; say charout('disk/f', 'x')")
        assert got == ["1"] + failure('CHAROUT(): error while writing file "disk/f": ' + full), got
    finally:
        subprocess.run(["umount", "disk"], check=True)


def test_what_cannot_be_written():
    options = {}
    if os.getuid() == 0:  # for whom nothing is forbidden
        nobody = pwd.getpwnam("nobody")
        options = {"user": nobody.pw_uid, "group": nobody.pw_gid, "extra_groups": []}
    os.chmod(".", 0o755)
    write("fixed", b"one\ntwo\n")
    os.chmod("fixed", 0o444)
    got = output("say lines('fixed') linein('fixed') charin('fixed')\n"
                 "call lineout 'fixed', 'ONE', 1", **options)
    assert got == ["2 one t"] + failure('LINEOUT(): unable to write in file "fixed": Bad file descriptor.'), got
    refused = "Permission denied."
    assert output("call lineout 'fixed', 'x'", **options) == failure(
        'LINEOUT(): unable to open file "fixed": ' + refused)
    assert output("call charout 'fixed', 'x'", **options) == failure(
        'CHAROUT(): unable to open file "fixed": ' + refused)
    os.chmod(".", 0o555)
    assert output("call lineout 'new', 'x'", **options) == failure('LINEOUT(): unable to open file "new": ' + refused)
    assert output("x = lines('new')", **options) == failure(
        'LINES(): unable to open file "new": No such file or directory.')
    os.chmod(".", 0o755)
    assert read("fixed") == b"one\ntwo\n"


def test_others_cut_and_lengthen():
    write("f", b"one\ntwo\nthree\nfour\n")
    got = output("say linein('f', 2); 'printf cut > f'; say lines('f') linein('f')'.' linein('f', 1)'.' linein('f')'.'\n"
                 "call lineout 'f', 'four', 4; say chars('f')")
    assert got == ["two", "2 . cut. .", "0"], got
    # A line behind what was cut ends the file where it really ends, so that what grows there is found.
    got = output("'printf \"%099d\\n\" 0 > f'; x = linein('f'); ': > f'; call lineout 'f', 'one'\n"
                 "'echo two >> f'; say lines('f') chars('f') linein('f', 2)")
    assert got == ["0 0 two"], got
    # What others append is found, and the stream then stands at the end; a SAY to the same file counts as well.
    write("f", b"one\ntwo\n")
    got = output("say linein('f') lines('f'); 'echo three >> f'; say lines('f') linein('f', 3) lines('f')\n"
                 "call lineout 'f', 'four'; say linein('f', 4)")
    assert got == ["one 1", "0 three 0", "four"], got
    write("f", b"")
    with open("f", "ab") as file:
        subprocess.run(command("say lines('f'); say lines('f') linein('f', 1); say linein('f', 2)"),
                       stdout=file, timeout=TIME_LIMIT, check=True)
    assert read("f") == b"0\n0 0\n0 0\n", read("f")
    # The same file under another name: what one stream writes, the other sees.
    write("f", b"aaa\nbbb\n")
    os.link("f", "g")
    assert output("say linein('f') linein('g', 2); call lineout 'g', 'BBB', 2; say linein('f')") == ["aaa bbb", "BBB"]


def test_growth_is_noticed_within_a_millisecond():
    write("f", b"one\n")
    process = subprocess.Popen(command("say lines('f'); call lineout 'ready', 'x'\n"
                                       "x = linein('f'); do until linein('f', 1) = 'ONE'; end; say 'seen'\n"
                                       "do i = 1 until chars('f') > 0; end; say linein('f', 3)"),
                               stdout=subprocess.PIPE)
    limit = time.monotonic() + TIME_LIMIT
    while not os.path.exists("ready"):
        assert time.monotonic() < limit
        time.sleep(0.01)
    with open("f", "r+b", buffering=0) as file:
        file.write(b"ONE\n")
        time.sleep(0.05)
        file.write(b"two\nthree\n")
    assert process.communicate(timeout=TIME_LIMIT)[0] == b"1\nseen\nthree\n"


def test_a_line_is_seen_as_soon_as_it_is_written():
    got = output("do i = 1 to 50; call lineout 'f', i; 'tail -n 1 f > last'; say linein('last', 1) == i\n"
                 "call lineout 'last'; end")
    assert got == ["1"] * 50, got


def test_execio_writes_lines_together_but_none_late():
    got = output("do i = 1 to 20000; a.i = i copies('.', 40); queue i; end; a.0 = i - 1\n"
                 "'execio * diskw f . . (stem a.'; 'execio' queued() 'diskw f . .'; say rc lines('f') chars('f')\n"
                 "say (linein('f', 20000) == a.20000) linein('f') linein('f', 40000); call lineout 'f'; say lines('f')")
    assert got == ["0 0 0", "1 1 20000", "40000"], got
    os.remove("f")
    process = subprocess.Popen(command("queue 'queued'; 'execio 3 diskw f . .'"), stdin=subprocess.PIPE)
    limit = time.monotonic() + TIME_LIMIT
    for typed, expected in ((b"", b"queued\n"), (b"one\n", b"queued\none\n"), (b"two\n", b"queued\none\ntwo\n")):
        process.stdin.write(typed)
        process.stdin.flush()
        while not os.path.exists("f") or read("f") != expected:
            assert time.monotonic() < limit, (read("f"), expected)
            time.sleep(0.01)
    process.communicate(timeout=TIME_LIMIT)


def test_standard_input_that_cannot_be_read():
    directory = os.open(".", os.O_RDONLY)
    got = output("signal on notready; x = charin()\nnotready: say condition('D')", stdin=directory)
    os.close(directory)
    assert got == ['CHARIN(): error while reading file "stdin": Is a directory.', "stdin"], got


def test_long_lines_and_zero_bytes():
    size = 100 << 20
    with open("f", "wb") as file:
        file.write(b"first\n" + b"\0" * 1000 + b"\n" + b"x" * size + b"\nlast")
    got = output(f"l = linein('f', 3); say length(l) verify(l, 'x') linein('f'); drop l\n"
                 f"say c2x(right(linein('f', 2), 2)) length(linein('f', 2)); call lineout 'f', 'short', 3\n"
                 f"say linein('f', 4); call lineout 'f', copies('y', {size}), 2; say linein('f') linein('f')")
    assert got == [f"{size} 0 last", "0000 1000", "last", "short last"], got
    assert os.path.getsize("f") == 6 + size + 1 + 6 + 4


def test_many_streams():
    got = output("""
        do i = 1 to 10000; call lineout 'file', i; call lineout 'file'; end
        say lines('file') linein('file', 10000)
        'ls /proc/$PPID/fd | wc -l > count'; before = linein('count'); call lineout 'count'
        do i = 1 to 900; call lineout 'f' || i, 'line of' i; end
        do i = 900 to 1 by -1; if linein('f' || i, 1) \\== 'line of' i then say 'wrong' i; end
        do i = 1 to 900 by 2; call lineout 'f' || i; call charout 'f' || (i + 1); end
        'ls /proc/$PPID/fd | wc -l > count'; say linein('count') - before
        """)
    assert got == ["10000 10000", "0"], got
    got = output("""
        do i = 1 to 100; call lineout 'f' || i, 'x'; end""", preexec_fn=limit_descriptors)
    assert got[1].startswith("vandra: LINEOUT(): unable to open file") and got[2] == "error 40", got


def limit_descriptors():
    import resource

    resource.setrlimit(resource.RLIMIT_NOFILE, (50, 50))


def test_a_killed_writer_leaves_whole_lines():
    line = "line %d " + "." * 60
    process = subprocess.Popen(command("do i = 0 to 99999; call lineout 'f', 'line' i copies('.', 60); end"))
    limit = time.monotonic() + TIME_LIMIT
    while not os.path.exists("f") or os.path.getsize("f") < 100000:
        assert time.monotonic() < limit
    process.send_signal(signal.SIGKILL)
    process.wait()
    lines = read("f").decode().split("\n")
    for i, text in enumerate(lines[:-1]):
        assert text == line % i, (i, text)


def test_appends_of_two_processes_mix_by_lines():
    text = "do i = 1 to 20000; call lineout 'f', arg(1) i; end"
    writers = [subprocess.Popen(command(text) + [name]) for name in ("left", "right")]
    assert [writer.wait(timeout=TIME_LIMIT) for writer in writers] == [0, 0]
    lines = read("f").decode().split("\n")
    for name in ("left", "right"):
        assert [each for each in lines if each.startswith(name)] == [f"{name} {i}" for i in range(1, 20001)]
    assert len(lines) == 40001


def main():
    for name, test in list(globals().items()):
        if name.startswith("test_"):
            with tempfile.TemporaryDirectory(prefix="vandra-streams-") as place:
                os.chdir(place)
                test()
                os.chdir("/")


if __name__ == "__main__":
    main()
