#!/usr/bin/env python3
"""Runs the example of every built-in function and compares its result.

Usage: examples.py PROGRAM

The examples come from the comments beside the functions (see tools/function_docs.py); docs/functions.md must be
current, too. Each example is a script of its own.
"""

import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import function_docs  # noqa: E402


def main():
    program = sys.argv[1]
    failures = 0
    count = 0
    if function_docs.PAGE.read_text() != function_docs.make_page():
        print("docs/functions.md isn't current: run tools/function_docs.py")
        failures += 1
    with tempfile.TemporaryDirectory() as directory:
        script = pathlib.Path(directory) / "example.vnd"
        for _, functions in function_docs.read_functions():
            for names, comment in functions:
                example, expected = comment["Example"].rsplit(" -> ", 1)
                *clauses, expression = example.split("; ")
                script.write_text("".join(c + "\n" for c in clauses) + "say " + expression + "\n")
                run = subprocess.run([program, str(script)], stdin=subprocess.DEVNULL, capture_output=True, timeout=30)
                shown = run.stdout.decode("latin-1")
                count += 1
                if shown != expected + "\n" or run.returncode != 0:
                    print("%s: %s gives %r, not %r (exit code %d)" % (names[0], example, shown, expected, run.returncode))
                    failures += 1
    print("%d examples, %d failures" % (count, failures))
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
