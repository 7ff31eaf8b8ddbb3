#!/usr/bin/env python3
"""The functions for files and processes under circumstances that a script can't make for itself.

    reliability.py VANDRA

Names that a shell would act on, trees deeper than a path can say, links that lead in circles, directories without
permission, a disk that is full, files that others lock, a trash on another disk, a log of all output.
"""

import fcntl
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse

VANDRA = os.path.abspath(sys.argv[1])
TIME_LIMIT = 120

NAMES = [b"plain", b"two  blanks ", b" lead", b"it's", b'say "no"', b"line\nfeed", b"caf\xc3\xa9\xe9\xff", b"; rm -rf x $(touch y)",
         b"`touch y`", b"-rf", b"$HOME", b"*", b"a&", b"#x", b"x" * 255, b"%41", b"~"]


def run(text, cwd=None, **options):
    """The output of a script, line by line."""
    path = os.path.abspath("case.vnd")
    with open(path, "wb") as file:
        file.write(text if isinstance(text, bytes) else text.encode("latin-1"))
    done = subprocess.run([VANDRA, path], cwd=cwd, capture_output=True, timeout=TIME_LIMIT,
                          stdin=subprocess.DEVNULL, **options)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout.decode("latin-1").splitlines()


def literal(name):
    """A name as a REXX literal: in hexadecimal, so that any byte can stand in it."""
    return "'%s'x" % name.hex()


def quoted(name):
    """An expression for the name as a quoted word."""
    return literal(b'"' + name.replace(b"\\", b"\\\\").replace(b'"', b'\\"') + b'"')


def as_nobody(command):
    """Runs a function as a user without rights; says so and doesn't when that can't be."""
    if os.geteuid() != 0:
        return run(command)
    os.chmod(".", 0o777)

    def drop():
        os.setgroups([])
        os.setgid(65534)
        os.setuid(65534)

    return run(command, preexec_fn=drop)


def write(path, data=b"data"):
    with open(path, "wb") as file:
        file.write(data)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def test_odd_names_survive_every_function():
    for name in NAMES:
        os.mkdir("work")
        write(b"work/" + name, b"12345")
        before = set(os.listdir(b"."))
        lines = run(f"""
            call chdir 'work'
            n = './' || {literal(name)}
            q = '"./' || substr({quoted(name)}, 2)
            say state(q) state(q, 'S') lstate(q, 'F') state(q, 'R') state(q, 'W') fileislocked(n)
            call mkdir n'.d'
            say cp(q '"./' || substr({quoted(name + b'.d')}, 2)) rc
            say ln(n, n'.l') ln(n, n'.h', 'h') (follow(n'.l') = cwd() || substr(n, 2)) (readlink(n'.l') = cwd() || substr(n, 2))
            say concat(n, n) || '.' rc state(q, 's')
            say mv(n, n'.m') || '.' rc state(q) mv(n'.m', n) || '.'
            call ls '*', a
            ok = 0
            do i = 1 to a.0; if a.i == {literal(name)} then ok = 1; end
            say a.0 ok
            call ls './' || {quoted(name)[:-1]}, b
            call subdirs '.', s; say s.0 (s.1 == n'.d')
            call ls '"' || translate(n, '?', '"\\') || '"', c; say c.0 > 0
            say wipe('"./' || substr({quoted(name + b'.h')}, 2)) || '.' state(q)
            say rm(q '"./' || substr({quoted(name + b'.l')}, 2)) || '.' rc
            say rmdir(n'.d') rmdir(n'.d', 'r')
            """ if len(name) < 250 else f"""
            call chdir 'work'
            n = {literal(name)}
            say state(n) state(n, 'S') cp(n 'copy') rename(n, 'x') || rename('x', n) || '.' concat('copy', n) || '.'
            say wipe('copy') || rm(n) || '.' rc
            """)
        if len(name) < 250:
            assert lines[:6] == ["1 5 1 1 1 0", "1 file copied 0", "0 0 1 1", ". 0 10", ". 0 0 .", "4 1"], (name, lines)
            assert lines[6] == "1 1" and lines[-3:] == [". 1", ". 0", "-1 0"], (name, lines)
        else:
            assert lines == ["1 5 1 file copied . .", ". 0"], lines
        assert os.listdir("work") == [] and set(os.listdir(b".")) | {b"case.vnd"} == before | {b"case.vnd"}, name
        os.rmdir("work")


def test_commands_get_names_untouched():
    for name in NAMES:
        lines = run(f"""
            call setenv 'NAME=' || {literal(name)}
            call unix 'printf "%s" "$NAME" | od -An -v -tx1 | tr -d " \\n"', a
            say a.1
            call exec "printf %s. x '" || {literal(name.replace(b"'", b""))} || "'", b
            say b.0 > 0
            """)
        assert lines == [name.hex(), "1"], (name, lines)
    assert "y" not in os.listdir(".")


DEEP_NAME = "directory_with_a_long_name"


def make_deep(levels):
    here = os.open(".", os.O_RDONLY)
    os.mkdir("deep")
    os.chdir("deep")
    for _ in range(levels):
        os.mkdir(DEEP_NAME)
        os.chdir(DEEP_NAME)
    write("bottom", b"found")
    os.fchdir(here)
    os.close(here)


def test_a_tree_of_500_levels():
    make_deep(500)
    lines = run(f"""
        say cp('deep copy') rc
        call subdirs 'copy', a, 'r'
        n = a.0
        say n length(a.n)
        say state(a.n) state(a.n'/bottom', 'S') state(a.n'/new', 'W')
        say mv(a.n'/bottom', a.n'/b') || concat(a.n'/b', a.n'/b') || '.' state(a.n'/b', 's')
        say mkdir(a.n'/x/y/z') ln('/', a.n'/l') || readlink(a.n'/l')
        call ls a.n'/*', b; say b.0 (b.1 = a.n'/b')
        call mklistfiles 'copy', 100, m; say m.0 (m.1.1.1 = cwd()'/'a.n'/b')
        here = cwd(); say chdir(a.n) (cwd() = here'/'a.n) state('b', 's') chdir(here)
        say rm(a.n'/b') || '.' rmdir('copy') rmdir('copy', 'R') state('copy') rmdir('deep', 'r')
        """)
    assert lines == ["1 file copied 0", "500 %d" % (4 + 27 * 500), "1 5 1", ". 10", "0 0/", "3 1", "1 1",
                     "0 1 10 0", ". -1 0 0 0"], lines


def test_links_in_circles_are_not_followed():
    os.makedirs("d/e")
    os.symlink("../..", "d/e/up")
    os.symlink("loop", "d/loop")
    lines = run("""
        call subdirs 'd', a, 'r'; say a.0 a.1
        say cp('d c') state('c/e/up', 'D') lstate('c/e/up', 'L') readlink('c/e/up') readlink('c/loop')
        call mklistfiles 'd', 100, m
        say state('d/loop') lstate('d/loop') follow('d/loop') || '.' rc
        say rmdir('c', 'r') state('d/e')
        """)
    warning = f'Warning: Unable to state file "{os.getcwd()}/d/loop", skipping it.'
    assert lines == ["1 d/e", "2 files copied 1 1 ../.. loop", warning, "", "0 1 . -1", "0 1"], lines


def test_a_tree_that_changes_while_it_is_walked():
    stop = threading.Event()

    def shake():
        i = 0
        while not stop.is_set():
            i += 1
            os.makedirs(f"d/{i % 50}/x", exist_ok=True)
            write(f"d/{i % 50}/f")
            shutil.rmtree(f"d/{(i + 25) % 50}", ignore_errors=True)

    os.mkdir("d")
    shaker = threading.Thread(target=shake)
    shaker.start()
    try:
        lines = run("""
            bad = 0
            do i = 1 to 25
              call subdirs 'd', a, 'r'
              call ls 'd/*', a
              call cp 'd c'
              if rc > 0 & pos('No such file', result) = 0 then say result
              call rmdir 'c', 'r'
            end
            say state('c')
            """)
    finally:
        stop.set()
        shaker.join()
    assert lines == ["0"], lines


def test_permission_denied_is_told():
    os.makedirs("locked/inner")
    write("locked/file")
    write("secret")
    os.mkdir("open")
    os.chmod("open", 0o777)
    write("open/readable")
    os.mkdir("open/closed")
    os.chmod("locked", 0o755)
    os.chmod("secret", 0o000)
    os.chmod("open/closed", 0o000)
    lines = as_nobody("""
        say state('secret', 'R') state('secret', 'W') state('secret', 'E') state('locked/new', 'W')
        say rm('locked/file') rc
        say cp('secret open/x') rc state('open/x')
        say cp('open open2') rc
        say cp('open/readable locked/file') rc
        say mv('locked/file', 'open/file') rc
        say wipe('secret') rc
        say mkdir('locked/new') rmdir('locked/inner') rmdir('locked', 'r') ln('/', 'locked/l') chdir('open/closed') rc
        say concat('locked/file', 'open/readable') rc
        say concat('open/readable', 'secret') rc
        say ls('open/closed/*', a) rc a.0
        say subdirs('open', b, 'r') rc b.0
        say recycle('locked/file') rc
        say fileislocked('secret') readlink('secret') rc
        """)
    here = os.getcwd()
    denied = "(Permission denied)."
    assert lines == [
        "0 0 1 0",
        f'Unable to remove "locked/file" {denied} 1',
        f'CP(): Unable to copy "{here}/secret" {denied} 1 0',
        f'CP(): Unable to copy "{here}/open/closed" {denied} 1',
        f'CP(): Unable to copy "{here}/open/readable" {denied} 1',
        f'RENAME() error: Unable to rename "locked/file" {denied} -1',
        # The owner's permissions can't be changed by others.
        f'Unable to wipe "secret" {denied} 1',
        "-1 -1 -1 -1 -1 -1",
        f'CONCAT(): Unable to open "locked/file" {denied} -1',
        f'CONCAT(): Unable to open "secret" {denied} -1',
        'LS(): Unable to open "open/closed/".', f"           {denied} 1 0",
        'SUBDIRS(): Unable to open "open/closed".', f"           {denied} 1 1",
        lines[-2],
        "1  -1",
    ], lines
    assert lines[-2].endswith(" 1") and os.path.exists("locked/file")


def test_a_copy_that_fails_half_way():
    write("large", os.urandom(300000))
    os.mkdir("d")
    write("d/a", b"small")
    write("d/b", os.urandom(300000))

    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

    text = """
        say cp('large copy') rc state('copy') state('large', 's')
        say cp('d e') rc state('e/a', 's') state('e/b')
        say concat('d/a', 'large') rc
        say wipe('large') rc state('large')
        """
    lines = run(text, preexec_fn=limit, restore_signals=False)
    here = os.getcwd()
    assert lines == [
        f'CP(): Unable to copy "{here}/large" (File too large). 1 0 300000',
        f'CP(): Unable to copy "{here}/d/b" (File too large). 1 5 0',
        'CONCAT(): Unable to write in "d/a" (File too large). -1',
        'Unable to wipe "large" (File too large). 1 1',
    ], lines


def test_moving_to_another_disk():
    try:
        other = tempfile.mkdtemp(dir="/dev/shm")
    except OSError:
        print("skipped: there is no second file system here")
        return
    try:
        if os.stat(other).st_dev == os.stat(".").st_dev:
            print("skipped: there is no second file system here")
            return
        os.makedirs("d/e")
        write("d/e/f")
        os.utime("d/e/f", (1000000000, 1000000000))
        os.symlink("e/f", "d/l")
        write("one", b"1")
        lines = run(f"say mv('d', '{other}/d') || mv('one', '{other}/one') || '.' rc state('d') state('one')")
        assert lines == [". 0 0 0"], lines
        assert read(other + "/d/l") == b"data" and os.readlink(other + "/d/l") == "e/f"
        assert os.stat(other + "/d/e/f").st_mtime == 1000000000 and read(other + "/one") == b"1"
        # What has the new name goes for a file or a link, and stays when the move fails.
        os.mkdir("d")
        os.symlink("nowhere", "link")
        write(other + "/two", b"2")
        lines = run(f"say mv('d', '{other}/one') rc mv('link', '{other}/two') || '.' rc lstate('link')")
        assert lines == ['RENAME() error: Unable to rename "d" (Not a directory). -1 . 0 0'], lines
        assert os.path.isdir("d") and read(other + "/one") == b"1" and os.readlink(other + "/two") == "nowhere"
        assert sorted(os.listdir(other)) == ["d", "one", "two"]
    finally:
        shutil.rmtree(other)


def test_the_trash_can_be_restored_from():
    home = os.path.abspath("home")
    os.mkdir(home)
    environment = {**os.environ, "HOME": home}
    environment.pop("XDG_DATA_HOME", None)
    os.mkdir("work")
    for name in NAMES:
        if b"/" not in name and len(name) < 200:
            write(b"work/" + name, name)
    write("work/twice", b"1")
    script = "call chdir 'work'\n" + "".join(
        f"say recycle('\"./' || substr({quoted(name)}, 2)) || '.' rc\n" for name in NAMES if len(name) < 200)
    lines = run(script + """
        say recycle('twice') || '.'
        call lineout 'twice', '2'; call lineout 'twice'
        call mkdir 'dir/below'
        say recycle('twice dir') || '.' rc
        call ln '/', 'link'
        say recycle('link nothing') rc
        """, env=environment)
    assert lines[:-3] == [". 0"] * (len(lines) - 3) and lines[-3:-1] == [".", ". 0"], lines
    assert lines[-1] == 'Unable to remove "nothing" (No such file or directory). 1'
    assert os.listdir("work") == []
    trash = home + "/.local/share/Trash"
    assert sorted(os.listdir(trash)) == ["files", "info"] and os.stat(trash).st_mode & 0o777 == 0o700
    restored = {}
    for info in os.listdir(os.fsencode(trash + "/info")):
        text = read(os.fsencode(trash + "/info/") + info)
        header, path, date = text.decode("ascii").splitlines()
        assert header == "[Trash Info]" and path.startswith("Path=/"), text
        time.strptime(date, "DeletionDate=%Y-%m-%dT%H:%M:%S")
        file = os.fsencode(trash + "/files/") + info.removesuffix(b".trashinfo")
        restored.setdefault(urllib.parse.unquote_to_bytes(path[5:]), []).append(file)
    work = os.fsencode(os.path.abspath("work")) + b"/"
    for name in NAMES:
        if len(name) < 200:
            assert read(restored.pop(work + name)[0]) == name, name
    assert len(restored.pop(work + b"twice")) == 2 and os.path.isdir(restored.pop(work + b"dir")[0] + b"/below")
    assert not restored


def test_locks_of_others_are_seen():
    write("posix")
    write("bsd")
    with open("posix", "r+b") as one, open("bsd", "r+b") as other:
        fcntl.lockf(one, fcntl.LOCK_EX | fcntl.LOCK_NB)
        fcntl.flock(other, fcntl.LOCK_EX | fcntl.LOCK_NB)
        assert run("say fileislocked('posix') fileislocked('bsd', 1)") == ["1 1"]
    assert run("say fileislocked('posix') fileislocked('bsd', 1)") == ["0 0"]


def test_a_log_holds_all_that_was_written():
    lines = run("""
        say 'before'
        call script 'log'
        do i = 1 to 2000; say 'line' i; end
        'echo command'
        call unix 'echo from the shell; exit 0'
        call script 'log2'
        say 'in the second'
        'sleep 60 &'
        """)
    said = ["line %d" % i for i in range(1, 2001)] + ["command", "from the shell"]
    shown = [line for line in lines if not line.startswith(" ")]
    assert "before" in shown and read("log").decode().splitlines()[-2:] == said[-2:], shown[-5:]
    assert [line for line in read("log").decode().splitlines() if line in set(said)] == said
    assert read("log2").endswith(b"in the second\n") or b"in the second" in read("log2")


def test_an_interrupt_ends_a_sleep():
    with open("case.vnd", "w", encoding="ascii") as file:
        file.write("signal on halt\nsay 'sleeping'\ncall sleep 50\nsay 'slept'\nexit\nhalt: say 'halted'\n")
    process = subprocess.Popen([VANDRA, "case.vnd"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    assert process.stdout.readline() == b"sleeping\n"
    time.sleep(0.2)
    process.send_signal(signal.SIGINT)
    out, _ = process.communicate(timeout=20)
    assert out == b"halted\n", out


def test_large_directories_and_outputs():
    os.mkdir("many")
    for i in range(20000):
        os.close(os.open(f"many/file{i:06}.txt", os.O_CREAT | os.O_WRONLY))
    lines = run("""
        call ls 'many/*7?.txt', a; n = a.0; say a.0 a.1 a.n
        call unix 'yes "a line" | head -n 1000000', o; n = o.0; say o.0 o.n
        """)
    assert lines == ["2000 many/file000070.txt many/file019979.txt", "1000000 a line"], lines


def main():
    failures = count = 0
    for name, test in list(globals().items()):
        if not name.startswith("test_"):
            continue
        with tempfile.TemporaryDirectory(prefix="vandra-test-", ignore_cleanup_errors=True) as place:
            os.chdir(place)
            try:
                test()
            except (AssertionError, OSError, subprocess.TimeoutExpired) as fault:
                failures += 1
                trace, lines = fault.__traceback__.tb_next, []
                while trace:
                    lines.append(str(trace.tb_lineno))
                    trace = trace.tb_next
                print(f"FAILED {name}, line {' in '.join(lines)}: {fault!r}")
            os.chdir("/")
            subprocess.run(["rm", "-rf", place], check=False)
            os.makedirs(place, exist_ok=True)
            count += 1
    print(f"{count} tests, {failures} failures")
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
