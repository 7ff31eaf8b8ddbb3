#!/usr/bin/env python3
"""Checks what the compiler doesn't: the floors of the house, and a few manners of its files.

    check.py ROOT

- An #include of a project file points to the same folder or to one on a lower floor; folders on one floor are siblings
  and don't include each other. No file includes itself by way of others.
- Only platform/ includes headers of the operating system: everywhere else a header in angle brackets is one of the
  standard C++ or C library.
- Every header has #pragma once.
- No file leans on papers that aren't in the tree, or puts work off in a note.
"""

import os
import re
import sys

FLOORS = {
    "platform": 2,
    "base": 3,
    "values": 4,
    "front": 5,
    "engine": 6,
    "builtins": 7,
    "commands": 7,
    "compiled": 7,
    "debugger": 7,
    "panels": 7,
    "system": 7,
    "driver": 8,
}

STANDARD_HEADERS = set(
    """
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
    clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
    cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
    memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
    semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
    system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant
    vector version
    """.split()
)

GENERATED = {"grammar.h": "front", "execio_grammar.h": "commands"}  # made in the build tree, and the folder that may include it

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)

# Spelled in pieces, so that this file passes its own check.
FORBIDDEN = re.compile(
    "|".join(
        [
            r"(?i:\bPar" + r"ts?\s+\d+\.\d+)",
            r"(?i:\bspe" + r"c(ification)?s?\b)",
            r"(?i:\bas spe" + r"cified\b)",
            "TO" + "DO",
            "FIX" + "ME",
        ]
    )
)
TEXT_FILES = re.compile(r"\.(cpp|h|y|py|lua|vnd|md|txt|json|cmake|yml)$|^(CMakeLists\.txt|dev|run|LICENSE|\.[a-z-]+)$")
SKIPPED_FOLDERS = {"build", ".git", ".cache", "__pycache__", "corpus"}


def read(path):
    with open(path, encoding="latin-1") as file:
        return file.read()


def files_below(root):
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(set(folders) - SKIPPED_FOLDERS)
        for name in sorted(names):
            yield os.path.relpath(os.path.join(folder, name), root)


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def check_include(source, path, folder, quoted, angled):
    """The complaint about one #include, or None."""
    if angled is not None:
        if angled in STANDARD_HEADERS or folder == "platform":
            return None
        return f"<{angled}> is no standard header; only platform/ may include it"
    if GENERATED.get(quoted) == folder:
        return None
    if not os.path.isfile(os.path.join(source, quoted)):
        return f'"{quoted}" is no file of src/ (write folder/file.h)'
    target = quoted.split("/")[0]
    if target not in FLOORS:
        return f'"{quoted}" lies in no folder of the house'
    if target != folder and FLOORS[target] >= FLOORS[folder]:
        relation = "a sibling" if FLOORS[target] == FLOORS[folder] else "a higher floor"
        return f'"{quoted}" lies on {relation}: {folder}/ may not include it'
    return None


def find_loops(graph):
    """One complaint for each include that closes a loop."""
    state, path, complaints = {}, [], []

    def visit(file):
        state[file] = "open"
        path.append(file)
        for target in graph[file]:
            if state.get(target) == "open":
                complaints.append("include loop: " + " -> ".join(path[path.index(target) :] + [target]))
            elif target not in state:
                visit(target)
        path.pop()
        state[file] = "done"

    for file in graph:
        if file not in state:
            visit(file)
    return complaints


def check_sources(root):
    source = os.path.join(root, "src")
    complaints, graph = [], {}
    for path in files_below(source):
        if not path.endswith((".cpp", ".h", ".y")):
            complaints.append(f"src/{path}: what is this doing in src/?")
            continue
        folder = path.split("/")[0]
        if folder not in FLOORS:
            complaints.append(f"src/{path}: no folder of the house")
            continue
        text = read(os.path.join(source, path))
        graph[path] = []
        for match in INCLUDE.finditer(text):
            fault = check_include(source, path, folder, match[1], match[2])
            if fault:
                complaints.append(f"src/{path}:{line_of(text, match.start())}: {fault}")
            if match[1] and os.path.isfile(os.path.join(source, match[1])):
                graph[path].append(match[1])
        if path.endswith(".h") and not re.search(r"^#pragma once$", text, re.MULTILINE):
            complaints.append(f"src/{path}: no #pragma once")
    if not graph:
        complaints.append("src/ holds no sources")
    return complaints + find_loops({file: [t for t in targets if t in graph] for file, targets in graph.items()})


def check_words(root):
    complaints = []
    for path in files_below(root):
        if not TEXT_FILES.search(os.path.basename(path)):
            continue
        text = read(os.path.join(root, path))
        for match in FORBIDDEN.finditer(text):
            complaints.append(f'{path}:{line_of(text, match.start())}: "{match[0]}" has no place here')
    return complaints


def main(root):
    complaints = check_sources(root) + check_words(root)
    print("\n".join(complaints) if complaints else "the house is in order")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
