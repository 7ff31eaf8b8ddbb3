#!/usr/bin/env python3
"""Makes docs/functions.md from the comments beside the built-in functions.

Usage: function_docs.py [--check]

The comment of a handler has this form:

    /// left(string, length, [pad])
    /// A description, in sentences.
    /// Result: string
    /// Errors: 40 for a wrong count, ...
    /// Example: left('abc', 5, '.') -> abc..

The first line may end in ", also NAME" for an alias. "Errors:" may be missing, all else is needed. An example is
clauses with ";" between them and an expression at the end; behind "->" stands what SAY shows of it. Families and their
order come from the table of functions. With --check nothing is written, and the exit code is 1 when the file isn't
current.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = ROOT / "src"
TABLE = SOURCES / "builtins" / "table.cpp"
PAGE = ROOT / "docs" / "functions.md"
FIELDS = ("Result", "Errors", "Example")

HEAD = """# Built-in functions

Made by `tools/function_docs.py` from the comments beside the functions; change those, not this page. Arguments in
brackets may be left out. Every example is run by the tests.
"""


def fail(message):
    sys.exit("function_docs: " + message)


def read_table():
    """The families as (title, [(name, handler), ...]), functions that this build doesn't have left out."""
    families = []
    for line in TABLE.read_text().splitlines():
        if row := re.match(r'\s*\{"(\w+)", (\w+)(?:, bu_quick_\w+)?\},', line):
            if row[2] != "bu_unavailable":
                families[-1][1].append((row[1], row[2]))
        elif title := re.match(r"    // ([A-Z][\w ]+)$", line):
            families.append((title[1], []))
    return [family for family in families if family[1]]


def read_comments():
    """The lines of the comment of each handler."""
    comments = {}
    for path in sorted(SOURCES.rglob("*.cpp")):
        lines = []
        for line in path.read_text(encoding="latin-1").splitlines():
            if line.startswith("///"):
                lines.append(line[3:].strip())
                continue
            handler = re.match(r"rx_value (bu_\w+)\(const rx_expr \*\w*\) \{", line)
            if handler and lines:
                comments[handler[1]] = lines
            lines = []
    return comments


def parse_comment(handler, lines):
    """A comment as a dictionary: signature, also, text, and the fields."""
    signature, *also = lines[0].split(", also ")
    entry = {"signature": signature, "also": also, "text": ""}
    field = "text"
    for line in lines[1:]:
        if start := re.match(r"(%s): (.*)" % "|".join(FIELDS), line):
            field, line = start[1], start[2]
        entry[field] = (entry.get(field, "") + " " + line).strip()
    for needed in ("text", "Result", "Example"):
        if not entry.get(needed):
            fail(handler + ": the comment lacks its " + needed)
    if " -> " not in entry["Example"]:
        fail(handler + ": the example has no result")
    return entry


def read_functions():
    """Families as (title, [(names, comment), ...]): the names of one handler together, in the table's order."""
    comments = read_comments()
    families = []
    for title, rows in read_table():
        functions = {}
        for name, handler in rows:
            if handler not in comments:
                fail(handler + ": no comment")
            functions.setdefault(handler, []).append(name)
        parsed = {handler: parse_comment(handler, comments[handler]) for handler in functions}
        for handler, names in functions.items():
            comment = parsed[handler]
            if names != [comment["signature"].split("(")[0]] + comment["also"]:
                fail("%s: the comment is of %s" % (handler, comment["signature"]))
        families.append((title, [(names, parsed[handler]) for handler, names in functions.items()]))
    return families


def make_page():
    lines = [HEAD]
    for title, functions in read_functions():
        lines.append("## %s\n" % title)
        for names, comment in functions:
            example, result = comment["Example"].rsplit(" -> ", 1)
            lines.append("### %s\n" % ", ".join(names))
            lines.append("`%s`\n" % comment["signature"])
            lines.append(comment["text"] + "\n")
            lines.append("- Result: " + comment["Result"])
            if "Errors" in comment:
                lines.append("- Errors: " + comment["Errors"])
            lines.append("- Example: `%s` gives `%s`\n" % (example, result))
    return "\n".join(lines)


def main():
    page = make_page()
    if "--check" in sys.argv[1:]:
        if not PAGE.exists() or PAGE.read_text() != page:
            fail("docs/functions.md isn't current: run tools/function_docs.py")
    else:
        PAGE.write_text(page)


if __name__ == "__main__":
    main()
