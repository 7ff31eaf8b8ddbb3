#!/usr/bin/env python3
"""Checks the compile tool and the running of compiled files.

    check.py VANDRA SCRIPTS

VANDRA is the interpreter, beside which `vcmp` lies; SCRIPTS the folder of the test scripts, each of which must do the
same compiled and uncompiled. The folder of this file holds `greet`, compiled once and for all: files made long ago
must go on running.
"""

import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))
from run_script import SANITIZER_NOTICE

VANDRA = os.path.abspath(sys.argv[1])
VCMP = os.path.join(os.path.dirname(VANDRA), "vcmp")
SCRIPTS = os.path.abspath(sys.argv[2])
HEAD = b"#!/opt/vandra/vandra\n@vcmp\n"

failures = []


def check(what, got, expected):
    if got != expected:
        failures.append(f"{what}:\n  got      {got!r}\n  expected {expected!r}")


def run(*words, where, program=VANDRA):
    environment = {"PATH": f"{where}:/usr/bin:/bin", "HOME": where, "LC_ALL": "C"}
    done = subprocess.run([program, *words], cwd=where, env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                          timeout=60)
    return done.returncode, done.stdout, SANITIZER_NOTICE.sub("", done.stderr.decode("latin-1")).encode("latin-1")


def write(path, data, mode=0o644):
    with open(path, "wb") as file:
        file.write(data)
    os.chmod(path, mode)


class Reader:
    """The format read by the letter: doubles for the scrambler, byte by byte."""

    def __init__(self, data):
        self.data = data
        self.at = data.index(b"@vcmp\n") + 6
        self.seed = 13572468.0

    def byte(self):
        if self.data[self.at : self.at + 2] == b"\\\n":
            self.at += 1
        self.at += 1
        return self.data[self.at - 1]

    def number(self):
        return int.from_bytes(bytes(self.byte() for _ in range(4)), "big", signed=True)

    def next(self, limit):
        self.seed *= 16807
        self.seed -= self.seed // 2147483647 * 2147483647
        return int(1 + limit * (self.seed / 2147483648))

    def clear(self, data):
        run, text = self.next(20) + 10, bytearray()
        while len(text) < len(data):
            for byte in data[len(text) : len(text) + run]:
                text.append((byte - self.next(256)) % 256)
            self.seed = min(self.seed + 2468013, 2147483646.0)
        return bytes(text)

    def text(self, length):
        return self.clear(bytes(self.byte() for _ in range(length))) if length else b""

    def read(self):
        header = [self.number() for _ in range(7)]
        tokens = []
        for _ in range(header[6]):
            kind, length = self.number(), self.number()
            tokens.append((kind, self.text(length), self.number(), self.number(), self.number()))
        seam = self.data[self.at : self.at + 2]
        self.at += 2
        rest = bytearray()
        while self.at < len(self.data):
            rest.append(self.byte())
        return header, tokens, seam, self.clear(bytes(rest[:-1])), rest[-1:]


def check_format(place):
    source = b"option lower\nsay 'a\\' || '0a'x 'b\\'\nhere: x.Y = 1\n"
    write(place + "/s", source)
    check("vcmp", run("-o", "s.out", "s", where=place, program=VCMP), (0, b"", b""))
    check("mode of a new file", oct(os.stat(place + "/s.out").st_mode & 0o777), oct(0o755 & ~umask()))
    with open(place + "/s.out", "rb") as file:
        data = file.read()
    check("head", data[: data.index(b"@vcmp\n")], b"#!" + os.path.dirname(VANDRA).encode() + b"/vandra\n")
    header, tokens, seam, text, end = Reader(data).read()
    check("header", header, [2, 2, 2, 2, 2, 3, len(tokens)])
    check("seam and end", (seam, end), (b"\\\n", b"\\"))
    check("source", text, source)
    check("a line feed and a backslash in texts",
          [t for t in tokens if t[0] == 259][:3],
          [(259, b"a\\", 1, 4, 1), (259, b"\n", 1, 16, 1), (259, b"b\\", 1, 18, 1)])
    check("a symbol", [t for t in tokens if t[1] == b"x.y"], [(258, b"x.y", 2, 6, 0)])


def umask():
    mask = os.umask(0)
    os.umask(mask)
    return mask


def check_tool(place):
    usage = b"vcmp usage: vcmp {-o file-name} file-in\n"
    vcmp = lambda *words: run(*words, where=place, program=VCMP)
    write(place + "/good", b"say 'good' arg(1)\n")
    write(place + "/torn", b"say 1\nsay 'a\n")
    write(place + "/wrong", b"say 1\nsay (\n")
    check("no file", vcmp(), (1, b"", usage))
    check("no file behind -o", vcmp("-o", "x"), (1, b"", usage))
    check("unknown option", vcmp("-x", "good"), (0, b"", b"vcmp: invalid argument\n"))
    check("no such file", vcmp("none"), (2, b"", b"vcmp: unable to open file none\n"))
    check("a directory", vcmp(place), (3, b"", f"vcmp: unable to read file {place}\n".encode()))
    check("no such folder", vcmp("-o", "none/x", "good"),
          (5, b"", b'vcmp: unable to open file "none/x".\n   (No such file or directory.)\n'))
    os.symlink("/dev/full", place + "/full")
    check("full", vcmp("-o", "full", "good"),
          (5, b"", b'vcmp: unable to write in file "full".\n   (No space left on device.)\n'))
    check("what can't be written is deleted", os.path.lexists(place + "/full"), False)
    report = b"\n    2 +++ say 'a\n              ^\nError 1 on line 2 in file \"torn\": Unmatched Quote.\n"
    check("scan error", vcmp("torn"), (1, report, b""))
    check("no output of a scan error", os.path.exists(place + "/torn.vn"), False)
    write(place + "/wrong.vn", b"old")
    code, output, errors = vcmp("wrong")
    check("syntax error", (code > 0, output.startswith(b"\n    2 +++ say ("), errors), (True, True, b""))
    check("its output is deleted", os.path.exists(place + "/wrong.vn"), False)
    write(place + "/good.vn", b"old", 0o640)
    check("default name, quotes", vcmp('"good'), (0, b"", b""))
    check("mode of an old file", oct(os.stat(place + "/good.vn").st_mode & 0o777), "0o640")
    check("run", run("good.vn", "a  b", where=place), (0, b"good a  b\n", b""))
    code, output, errors = vcmp("good.vn")
    check("compiled again", (code, output.endswith(b'line 1 in file "good.vn": Invalid compiled file.\n'), errors),
          (76, True, b""))
    shutil.copy(place + "/good.vn", place + "/kept")
    check("called", run(caller(place, "kept 'x'"), where=place), (0, b"good x\ndone\n", b""))


def caller(place, call):
    write(place + "/caller.vnd", f"call {call}\nsay 'done'\n".encode())
    return "caller.vnd"


def check_versions(place):
    with open(HERE + "/greet", "rb") as file:
        greet = file.read()
    expected = (42, b"Hello, World, from compiled.\n2: say 'Hello,' name || ', from' place'.'\n", b"")
    write(place + "/greet", greet)
    check("greet", run("greet", "World", where=place), expected)
    head = greet.index(b"@vcmp\n") + 6
    check("greet's marks", greet[:head], HEAD)
    # The fields that are cut or changed hold no line feed.
    first = greet[:head] + b"\0\0\0\1" + greet[head + 4 : head + 16] + greet[head + 20 :]
    write(place + "/greet1", first)
    check("version 1", run("greet1", "World", where=place), expected)
    write(place + "/greet3", greet[:head] + b"\0\0\0\3" + greet[head + 4 :])
    code, output, errors = run("greet3", where=place)
    check("version 3", (code, errors),
          (254, b"vandra: compiled version number is 3; current release is 2.\n"))
    check("version 3 is invalid", b'Error 76 on line 1 in file "greet3": Invalid compiled file.' in output, True)
    write(place + "/cut", greet[: len(greet) // 3])
    code, output, errors = run(caller(place, "cut"), where=place)
    check("called when torn", (code, b'Error 76 on line 1 in file "./cut": Invalid compiled file.' in output, errors),
          (76, True, b""))
    write(place + "/plain", b"#!/usr/bin/vandra\nsay 'no mark'\n")
    check("a script line alone", run("plain", where=place), (0, b"no mark\n", b""))
    # A start-up file is compiled in, and doesn't come in front of a compiled file.
    write(place + "/.vandrarc", b"say 'start-up'\n")
    check("start-up", run("greet", "World", where=place), expected)
    write(place + "/late", b"say 'late' sourceline()\nsay 1 + 'a'\n")
    run("late", where=place, program=VCMP)
    os.remove(place + "/.vandrarc")
    report = (b"start-up\nlate 3\n\n    3 +++ say 1 + 'a'\n                    ^\n"
              b'Error 41 on line 3 in file "late.vn": Bad arithmetic conversion.\n\nString "a" is invalid.\n\n')
    check("compiled with start-up", run("late.vn", where=place), (41, report, b""))


def empty(place):
    """Takes away what a script has left in its directory."""
    for entry in os.scandir(place):
        if entry.is_dir(follow_symlinks=False):
            shutil.rmtree(entry.path)
        else:
            os.remove(entry.path)


def check_scripts(place):
    """Every test script without special wishes does the same when it is compiled."""
    compared = 0
    for folder, _, names in sorted(os.walk(SCRIPTS)):
        for name in sorted(names):
            with open(os.path.join(folder, name), "rb") as file:
                source = file.read()
            special = (b"/* stdin:", b"/* file", b"/* args:", b"/* env:", b"time(", b"date(", b"clock", b"random",
                       b"wide_numbers")
            if not name.endswith(".vnd") or folder.endswith(".d") or any(mark in source for mark in special):
                continue
            if os.path.basename(folder) == "clock" or os.path.exists(os.path.join(folder, name[:-4] + ".d")):
                continue
            empty(place)
            write(place + "/" + name, source)
            plain = run(name, where=place)
            if plain[0] == 254:
                continue  # it can't be scanned
            empty(place)
            write(place + "/" + name, source)
            code, output, errors = run("-o", "new", name, where=place, program=VCMP)
            if code == 0:
                os.replace(place + "/new", place + "/" + name)
                output = run(name, where=place)
                check(f"{folder}/{name} compiled", output, plain)
            else:
                check(f"{folder}/{name}, which can't be parsed", (code, output, errors), plain)
            compared += 1
    check("enough scripts compared", compared > 50, True)


def main():
    for part in (check_format, check_tool, check_versions, check_scripts):
        with tempfile.TemporaryDirectory(prefix="vandra-compiled-") as place:
            part(os.path.realpath(place))
    print("\n".join(failures) or "compiled files are as they should be")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
