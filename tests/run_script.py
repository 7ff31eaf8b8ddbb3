#!/usr/bin/env python3
"""Runs one test script and compares what it does with what its comments say.

    run_script.py [--time-limit SECONDS] VANDRA SCRIPT...

A test is a script that carries its own expectations. What it shall print stands beside the line that prints it:

    say 1 + 1.50                 /* -> 2.5 */
    say left('ab', 4) || '.'     /* -> "ab  ." */     in quotes: blanks are kept; \\t \\n \\\\ \\xNN are understood
    do i = 1 to 2; say i; end    /* -> 1 */ /* -> 2 */
    say ''                       /* -> */

All of these, in the order of the file, are the lines of the output. Where the output doesn't follow the order of the
lines (loops, reports), a block holds it whole instead:

    /* output:
    exactly these lines
    */

The rest of the behaviour stands in comments too, each optional, `stderr` and `env` as often as needed:

    /* args: a "b c" */          arguments, split as a shell would
    /* stdin: one\\ntwo\\n */      what the script finds on its input, escapes as above
    /* exit: 41 */               the exit code of the process; 0 when nothing is said
    /* stderr: text */           a line of the error output, or a block like that of `output`
    /* env: NAME=value */        a variable of the environment
    /* file lib.vnd:             a file that lies beside the script when it runs; comments in it must nest
    say 'loaded'
    */

A script runs as `vandra NAME.vnd ...` in a fresh directory of its own, which is also its HOME. The files of a folder
NAME.d beside the script are copied there before. Output is compared byte for byte.
"""

import argparse
import difflib
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

# What AddressSanitizer says of itself when the interpreter throws from deep down on its own stack (which it cleans
# itself).
SANITIZER_NOTICE = re.compile(
    r"^==\d+==WARNING: ASan is ignoring requested __asan_handle_no_return: .*\nFalse positive .*\nFor details .*\n",
    re.MULTILINE)

DIRECTIVE = re.compile(r"/\*\s*(->|args:|stdin:|exit:|stderr:|env:|output:|file\s+\S+:)")
ESCAPE = re.compile(r"\\(x[0-9a-fA-F]{2}|.)", re.DOTALL)


class BadTest(Exception):
    """The script's own directives make no sense."""


class Expectation:
    def __init__(self):
        self.args = []
        self.stdin = b""
        self.exit = None
        self.stderr = ""
        self.env = {}
        self.files = {}
        self.lines = None  # from `->` comments
        self.block = None  # from `output:`

    def output(self):
        if self.block is not None:
            return self.block
        return "".join(line + "\n" for line in self.lines or [])


def unescape(text):
    def character(match):
        code = match[1]
        if code[0] == "x" and len(code) == 3:
            return chr(int(code[1:], 16))
        return {"n": "\n", "t": "\t", "r": "\r", "0": "\0"}.get(code, code)

    return ESCAPE.sub(character, text)


def one_line(body):
    """The text of a directive on one line: in quotes as it stands, else without blanks around it."""
    text = body.strip()
    if len(text) >= 2 and text[0] == text[-1] == '"':
        return unescape(text[1:-1])
    return text


def is_block(body):
    return body.lstrip(" \t").startswith("\n")


def block(body):
    """The lines of a directive between its first line feed and the line that closes it."""
    text = body.split("\n", 1)[1]
    last = text.rfind("\n") + 1
    return text[:last] if text[last:].strip() == "" else text


def end_of_comment(source, start):
    """The offset of the "*/" that closes a comment whose inside starts at `start`; comments nest."""
    depth = 1
    for match in re.compile(r"/\*|\*/").finditer(source, start):
        depth += 1 if match[0] == "/*" else -1
        if depth == 0:
            return match.start()
    raise BadTest("a directive's comment is never closed")


def read_expectation(source):
    expected = Expectation()
    position = 0
    while match := DIRECTIVE.search(source, position):
        end = end_of_comment(source, match.end())
        body = source[match.end() : end]
        position = end + 2
        kind = match[1].split()[0].rstrip(":")
        if kind == "->":
            expected.lines = (expected.lines or []) + [one_line(body)]
        elif kind == "args":
            expected.args += shlex.split(body)
        elif kind == "stdin":
            expected.stdin += unescape(body.strip()).encode("latin-1")
        elif kind == "exit":
            expected.exit = int(body)
        elif kind == "stderr":
            expected.stderr += block(body) if is_block(body) else one_line(body) + "\n"
        elif kind == "env":
            name, _, value = one_line(body).partition("=")
            expected.env[name] = value
        elif kind == "file":
            expected.files[match[1].split()[1].rstrip(":")] = block(body) if is_block(body) else one_line(body)
        elif expected.block is not None:
            raise BadTest("two output blocks")
        else:
            expected.block = block(body) if is_block(body) else one_line(body) + "\n"
    if expected.lines is not None and expected.block is not None:
        raise BadTest("both -> comments and an output block")
    if expected.lines is None and expected.block is None and not expected.exit and not expected.stderr:
        raise BadTest("expects nothing")
    return expected


def environment(home, extra):
    kept = {name: value for name, value in os.environ.items() if name == "PATH" or name.endswith("SAN_OPTIONS")}
    return {**kept, "HOME": home, "LC_ALL": "C", **extra}


def visible(text):
    """The lines of a text for a diff, with what can't be seen spelled out."""
    lines = [line.encode("unicode_escape").decode("ascii") for line in text.split("\n")]
    if lines[-1] == "":
        lines.pop()
    else:
        lines[-1] += "   (no line end)"
    return lines


def difference(what, expected, got):
    if expected == got:
        return []
    lines = difflib.unified_diff(visible(expected), visible(got), f"expected {what}", f"got {what}", lineterm="", n=3)
    return ["", *lines]


def run(program, script, time_limit=20):
    """Returns the complaints about one script; none when it does what it says."""
    with open(script, encoding="latin-1", newline="") as file:
        source = file.read()
    try:
        expected = read_expectation(source)
    except (BadTest, ValueError) as fault:
        return [f"bad test: {fault}"]
    with tempfile.TemporaryDirectory(prefix="vandra-test-") as place:
        place = os.path.realpath(place)
        companions = script.removesuffix(".vnd") + ".d"
        if os.path.isdir(companions):
            shutil.copytree(companions, place, dirs_exist_ok=True)
        for name, text in expected.files.items():
            path = os.path.join(place, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="latin-1", newline="") as file:
                file.write(text)
        name = os.path.basename(script)
        shutil.copy(script, os.path.join(place, name))
        try:
            done = subprocess.run(
                [os.path.abspath(program), name, *expected.args],
                cwd=place,
                env=environment(place, expected.env),
                input=expected.stdin,
                capture_output=True,
                timeout=time_limit,
            )
        except subprocess.TimeoutExpired as late:
            so_far = (late.stdout or b"").decode("latin-1")
            return [f"not finished after {time_limit} seconds; output so far:", *visible(so_far[-2000:])]
    complaints = []
    if done.returncode < 0:
        complaints.append(f"killed by signal {-done.returncode}")
    elif done.returncode != (expected.exit or 0) % 256:
        complaints.append(f"exit code {done.returncode}, expected {(expected.exit or 0) % 256}")
    complaints += difference("output", expected.output(), done.stdout.decode("latin-1"))
    errors = SANITIZER_NOTICE.sub("", done.stderr.decode("latin-1"))
    complaints += difference("error output", expected.stderr, errors)
    return complaints


def self_test():
    """The runner itself must see a difference: a stand-in program, and scripts that are right and wrong about it."""
    stand_in = "#!/bin/sh\nread line\necho \"$line\" \"$2\" \"$NAME\"; cat extra; echo ' b '; echo oops >&2; exit 3\n"
    right = (
        "/* args: 'x  y' */ /* stdin: in\\n */ /* exit: 3 */ /* stderr: oops */ /* env: NAME=n */\n"
        "/* file extra:\n/* nested */\n*/\nsay /* -> in x  y n */ say /* -> /* nested */ */ /* -> \" b \" */\n"
    )
    wrong = {
        "exit code": ("exit: 3", "exit: 4"),
        "missing exit code": ("/* exit: 3 */", ""),
        "output": ("-> in", "-> out"),
        "lost blanks": ('" b "', " b "),
        "missing line": ('/* -> " b " */', ""),
        "error output": ("oops", "none"),
        "environment": ("NAME=n", "NAME=m"),
        "argument": ("'x  y'", "'x y'"),
        "input": ("stdin: in", "stdin: on"),
        "two ways": ("say", "/* output: */ say"),
    }
    with tempfile.TemporaryDirectory() as place:
        program, script = os.path.join(place, "program"), os.path.join(place, "case.vnd")
        with open(program, "w", encoding="ascii") as file:
            file.write(stand_in)
        os.chmod(program, 0o755)

        def complaints(text):
            with open(script, "w", encoding="ascii") as file:
                file.write(text)
            return run(program, script)

        as_block = right[: right.index("say")] + '/* output:\nin x  y n\n/* nested */\n b \n*/\n'
        for text in (right, as_block):
            if found := complaints(text):
                return ["a right script fails:", *found]
        return [f"not noticed: {name}" for name, change in wrong.items() if not complaints(right.replace(*change))]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("--time-limit", type=int, default=20)
    parser.add_argument("program", nargs="?")
    parser.add_argument("scripts", nargs="*")
    options = parser.parse_args()
    if options.self_test:
        results = [("self-test", self_test())]
    elif options.scripts:
        results = [(script, run(options.program, script, options.time_limit)) for script in options.scripts]
    else:
        parser.error("which script?")
    for name, complaints in results:
        if complaints:
            print(f"FAILED {name}")
            print("\n".join(complaints))
    return 1 if any(complaints for _, complaints in results) else 0


if __name__ == "__main__":
    sys.exit(main())
