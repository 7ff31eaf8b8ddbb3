#!/usr/bin/env python3
"""GLOBALV under several processes: values stay whole, locks hold and end, storages are cleaned.

    globalv.py [--seconds N] VANDRA

Eight programs set, put, get and purge the same names for N seconds (3 unless told) while others that do the same are
killed. One group is never purged: what was stored there once may change but never get lost.
"""

import argparse
import fcntl
import os
import random
import signal
import struct
import subprocess
import sys
import tempfile
import time

PROGRAMS = 8
LOCK_SECONDS = 3
GROUP = "756e6e616d6564"  # "unnamed"
KEPT = "6b657074"  # "kept"

failures = []


def check(what, got, expected):
    if got != expected:
        failures.append(f"{what}: got {got!r}, expected {expected!r}")


class Place:
    """A home directory with a GLOBALV tree."""

    def __init__(self, vandra, home):
        self.vandra = vandra
        self.home = home
        self.base = os.path.join(home, "vandra.globalv")
        self.environment = {"PATH": "/usr/bin:/bin", "HOME": home, "LC_ALL": "C"}

    def start(self, name, text, **extra):
        path = os.path.join(self.home, name)
        with open(path, "w", encoding="latin-1") as file:
            file.write("trace off\n" + text)
        return subprocess.Popen([self.vandra, path], cwd=self.home, env={**self.environment, **extra},
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def run(self, name, text, **extra):
        return self.start(name, text, **extra).communicate(timeout=120)[0].decode("latin-1")

    def storages(self):
        return sorted(name for name in os.listdir(self.base) if name.startswith("storage."))


# A value tells its own length and is one letter over and over.
STORM = """
me = {me}; names = 'alpha beta gamma delta'; verbs = 'set sets setp'; kept = 'select kept '
call random 1, 2, me
ends = time('s') + {seconds}; count = 0; busy = 0
do while time('s') < ends
   name = word(names, random(1, 4)); what = random(1, 10); group = copies(kept, random(0, 1))
   select
      when what <= 3 then do
         'globalv' group || word(verbs, what) name made()
         call answer 'set'
      end
      when what = 4 then do
         call value name, made()
         'globalv' group'put' name
         call answer 'put'
      end
      when what = 5 & random(1, 5) = 1 then do
         'globalv select unnamed purge'
         call answer 'purge'
      end
      otherwise
         call value name, 'untouched'
         'globalv' group'get' name
         call answer 'get'
         if rc = 0 then call whole value(name)
   end
   count = count + 1
end
if count < 5 | busy * 10 > count then say 'only' count 'turns,' busy 'times the lock was not to be had'
'test $(ls /proc/$PPID/fd | wc -l) -le 3 || ls -l /proc/$PPID/fd'
exit
answer:
   if rc = 1505000 then busy = busy + 1 /* a disk that is busy with other things can hold a writer up so long */
   else if rc \\= 0 then say arg(1) 'gave' rc
   return
made:
   letter = substr('abcdefghij', random(1, 10), 1)
   size = word('1 20 5000 300000', random(1, 4))
   return size || ':' || copies(letter, size)
whole:
   if arg(1) = '' & group = '' then return
   parse arg size ':' text
   if length(text) \\= size | verify(text, left(text, 1)) \\= 0 then say 'torn:' size length(text) left(text, 20)
   return
"""


# Most of its life is the writing of a value, so that its end falls into it.
VICTIM = """
value = '300000:'copies('v', 300000)
do forever; 'globalv select kept set alpha' value; end
"""

# Afterwards nobody is in the way of anybody.
CALM = """
do verb in 'set sets setp'
   do name in 'alpha beta gamma delta'
      'globalv' verb name '1:a'; if rc \\= 0 then say verb name rc
      'globalv select kept' verb name '1:a'; if rc \\= 0 then say 'kept' verb name rc
      'globalv get' name; if rc \\= 0 | value(name) \\= '1:a' then say 'get' name rc value(name)
   end
end
'globalv purge'; if rc \\= 0 then say 'purge' rc
"""


def values(place, storage):
    """What lies in all trees: the file and its bytes."""
    for tree in (storage, "session", "lasting"):
        for group in (GROUP, KEPT):
            folder = os.path.join(place.base, tree, group)
            for name in os.listdir(folder) if os.path.isdir(folder) else ():
                yield os.path.join(folder, name)


def storm(place, seconds):
    keeper = place.start("keeper.vnd", "do name in 'alpha beta gamma delta'\n"
                                       "do verb in 'sets setp'; 'globalv select kept' verb name '1:a'; end; end\n"
                                       "say 'ready'\nparse pull\n")
    keeper.stdout.readline()
    storage = place.storages()[0]
    shared = {"vandra_STORAGE_GL": os.path.join(place.base, storage), "vandra_GL_INI_IS_DONE": "1"}
    begin = time.monotonic()
    programs = []
    for me in range(PROGRAMS):
        programs.append(place.start(f"storm{me}.vnd", STORM.format(me=me, seconds=seconds), **shared))
    victims = 0
    while time.monotonic() - begin < seconds - 1:
        time.sleep(random.uniform(0.05, 0.2))
        text = STORM.format(me=100 + victims, seconds=60) if victims % 2 else VICTIM
        victim = place.start("victim.vnd", text, **shared)
        time.sleep(random.uniform(0.05, 0.2))
        victim.send_signal(signal.SIGKILL)
        victim.communicate()
        victims += 1
    for program in programs:
        output = program.communicate(timeout=seconds + 60)[0].decode("latin-1")
        check("a program in the storm", (program.returncode, output), (0, ""))
    if victims == 0:
        failures.append("nobody was killed")
    for path in values(place, storage):
        with open(path, "rb") as file:
            size, _, text = file.read().partition(b":")
        # A program that is killed between the two steps of making a file leaves an empty one.
        whole = text != b"" and text == text[:1] * int(size)
        check(path, whole or (size == b"" and KEPT not in path), True)
        try:
            lock(path).close()
        except OSError as error:
            check(f"the lock of {path}", error, "free")
    check("after the storm", place.run("calm.vnd", CALM, **shared), "")
    keeper.kill()
    keeper.communicate()


def lock(path):
    file = open(path, "r+b")
    fcntl.fcntl(file, fcntl.F_OFD_SETLK, struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 0, 2147483647, 0))
    return file


def locks(place):
    """A file that somebody holds is given up after three seconds; a holder that dies holds nothing."""
    place.run("make.vnd", "'globalv setp held old'\n")
    holder = lock(os.path.join(place.base, "lasting", GROUP, "48454c44"))
    begin = time.monotonic()
    waiting = [place.start(f"wait{i}.vnd", f"'globalv {verb}'; say rc\n") for i, verb in
               enumerate(["init", "init", "list"])]
    outputs = [each.communicate(timeout=30)[0].decode() for each in waiting]
    check("while the lasting tree is locked", outputs, ["1502000\n"] * 3)
    spent = time.monotonic() - begin
    if not LOCK_SECONDS <= spent < LOCK_SECONDS + 20:
        failures.append(f"the lock was waited for {spent} seconds")
    setting = place.start("set.vnd", "'globalv setp held new'; say rc\n", vandra_GL_INI_IS_DONE="1")
    check("setp while it is locked", setting.communicate(timeout=30)[0], b"1505000\n")
    held = place.start("both.vnd", "'globalv set held mine'; say rc\nparse pull\n'globalv get held'\n"
                                   "say rc held; call time 'r'; 'globalv purge'; say rc time('e')\n",
                       vandra_GL_INI_IS_DONE="1")
    check("set", held.stdout.readline(), b"0\n")
    mine = lock(os.path.join(place.base, f"storage.{held.pid}", GROUP, "48454c44"))
    *codes, waited = held.communicate(timeout=30)[0].split()
    check("get and purge while it is locked", codes, [b"1505000", b"HELD", b"1505000"])
    # This one waits for nothing but the lock: no disk can hold it up.
    check(f"{waited} seconds for a lock", LOCK_SECONDS <= float(waited) < 2 * LOCK_SECONDS, True)
    mine.close()
    # A child that dies with the lock.
    holder.close()
    child = os.fork()
    if child == 0:
        lock(os.path.join(place.base, "lasting", GROUP, "48454c44"))
        os.kill(os.getpid(), signal.SIGKILL)
    os.waitpid(child, 0)
    check("after the holder's death", place.run("after.vnd", "'globalv get held'; say rc held\n"), "0 old\n")


def storages(place):
    """Storages of dead processes go at the next start, all others stay."""
    dead = subprocess.Popen(["true"])
    dead.wait()
    names = [f"storage.{dead.pid}", "storage.99999999999999999999", f"storage.{os.getpid()}", "storage.", "storage.1x",
             "storage.1"]
    for name in names:
        os.makedirs(os.path.join(place.base, name, "61", "deep"))
        with open(os.path.join(place.base, name, "61", "62"), "w", encoding="ascii") as file:
            file.write("x")
    os.chmod(os.path.join(place.base, names[0], "61"), 0o500)
    os.symlink(place.home, os.path.join(place.base, names[1], "link"))
    check("after a run", (place.run("nothing.vnd", "say 'ran'\n"), place.storages()), ("ran\n", sorted(names[2:])))
    check("what a link led to", os.path.isdir(place.home), True)
    living = place.start("living.vnd", "'globalv set x 1'\nsay 'ready'\nparse pull\n")
    living.stdout.readline()
    own = f"storage.{living.pid}"
    place.run("nothing.vnd", "say 'ran'\n")
    check("while its owner lives", own in place.storages(), True)
    living.kill()
    living.communicate()
    check("killed", own in place.storages(), True)
    place.run("nothing.vnd", "say 'ran'\n")
    check("after its owner's death", own in place.storages(), False)
    for ending in ("exit 5", "x = 1 +", "say 1 + 'a'", "call 'nobody'", "'kill -INT $PPID'; do forever; end"):
        place.run("ending.vnd", "'globalv set x 1'\n" + ending + "\n")
        check(f"left behind by {ending}", place.storages(), sorted(names[2:]))


def sizes(place):
    text = """
        big = copies('0123456789abcdef', 4194304)
        'globalv setp empty'; 'globalv setlp big' big; say rc
        drop big; 'globalv get big'; say rc length(big) left(big, 3) right(big, 3)
        'globalv get empty'; say rc '<' || empty || '>'
    """
    check("a large and an empty value", place.run("big.vnd", text), "0\n0 67108864 012 def\n0 <>\n")
    check("in another process", place.run("again.vnd", "'globalv get big'; say rc length(big)\n'globalv list empty'\n"),
          '0 67108864\nEMPTY = ""\n')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=int, default=3)
    parser.add_argument("vandra")
    options = parser.parse_args()
    for part in (lambda place: storm(place, options.seconds), locks, storages, sizes):
        with tempfile.TemporaryDirectory(prefix="vandra-globalv-") as home:
            place = Place(os.path.abspath(options.vandra), os.path.realpath(home))
            place.run("first.vnd", "nop\n")
            part(place)
    print("\n".join(failures) or "values are whole, locks hold and end, storages are cleaned")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
