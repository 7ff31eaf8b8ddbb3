#!/usr/bin/env python3
"""Prints through a print daemon of its own to a file.

    printing.py VANDRA

The daemon (cupsd) listens at a socket in a temporary directory and knows two queues: `paper`, whose output is a file,
and `closed`, which takes no jobs. Without the daemon or its client library the test is skipped: exit code 77.
"""

import ctypes
import getpass
import os
import pwd
import shutil
import subprocess
import sys
import tempfile
import time

VANDRA = os.path.abspath(sys.argv[1])
TIME_LIMIT = 60  # seconds

FILES_CONF = """\
ServerRoot {place}
ServerBin {place}/programs
DataDir {place}
RequestRoot {place}/spool
CacheDir {place}/cache
StateDir {place}/state
TempDir {place}/spool
AccessLog {place}/access.log
ErrorLog {place}/error.log
PageLog {place}/page.log
SystemGroup root
User {user}
Group {group}
"""
DAEMON_CONF = """\
Listen {place}/socket
Browsing Off
DefaultAuthType None
LogLevel warn
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  <Limit All>
    Order allow,deny
    Allow all
  </Limit>
</Policy>
"""
# What stands for the printer: writes the document, a file or its input, to the paper.
BACKEND = """\
#!/bin/sh
[ $# -gt 0 ] || exit 0
if [ -n "$6" ]; then cat "$6"; else cat; fi >>{place}/paper
"""
PRINTERS = """\
<DefaultPrinter paper>
DeviceURI tofile:/paper
State Idle
Accepting Yes
Option media iso_a5_148x210mm
</DefaultPrinter>
<Printer closed>
DeviceURI tofile:/nothing
State Idle
Accepting No
</Printer>
"""


def skip(why):
    print("skipped: " + why)
    sys.exit(77)


def start_daemon(place):
    daemon = shutil.which("cupsd", path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if not daemon:
        skip("there is no cupsd")
    try:
        ctypes.CDLL("libcups.so.2")
    except OSError:
        skip("there is no libcups.so.2")
    # The daemon doesn't let root's own account run jobs.
    root = os.getuid() == 0
    user = "nobody" if root else getpass.getuser()
    names = {"place": place, "user": user, "group": "nogroup" if root else os.popen("id -gn").read().strip()}
    os.chmod(place, 0o755)
    for folder in ("spool", "cache", "state", "ppd", "mime", "banners", "programs", "programs/backend"):
        os.mkdir(os.path.join(place, folder))
    os.symlink("/usr/lib/cups/daemon", place + "/programs/daemon")
    for name, text in (("cups-files.conf", FILES_CONF), ("cupsd.conf", DAEMON_CONF), ("printers.conf", PRINTERS),
                       ("mime/vandra.types", "text/plain txt\napplication/vnd.cups-raw raw\n"), ("mime/vandra.convs", ""), ("programs/backend/tofile", BACKEND)):
        with open(os.path.join(place, name), "w", encoding="ascii") as file:
            file.write(text.format(**names))
    os.chmod(place + "/programs/backend/tofile", 0o755)
    with open(os.path.join(place, "paper"), "wb"):
        pass
    if root:
        os.chown(os.path.join(place, "paper"), pwd.getpwnam(user).pw_uid, -1)
    process = subprocess.Popen([daemon, "-f", "-c", place + "/cupsd.conf", "-s", place + "/cups-files.conf"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    limit = time.monotonic() + 15
    while not os.path.exists(place + "/socket"):
        if process.poll() is not None or time.monotonic() > limit:
            process.kill()
            skip("cupsd doesn't start here")
        time.sleep(0.05)
    return process


class Office:
    def __init__(self, place):
        self.place = place
        self.paper = os.path.join(place, "paper")

    def run(self, text, server=None):
        path = os.path.join(self.place, "case.vnd")
        with open(path, "w", encoding="ascii") as file:
            file.write("trace o\n" + text)
        environment = {**os.environ, "CUPS_SERVER": server or self.place + "/socket", "HOME": self.place}
        done = subprocess.run([VANDRA, path], capture_output=True, timeout=TIME_LIMIT, env=environment, cwd=self.place)
        return done.stdout.decode("latin-1"), done.stderr.decode("latin-1").rstrip("\n")

    def printed(self, text, expected, output="0\n"):
        """Runs a script and waits for what it prints."""
        with open(self.paper, "r+b") as file:
            file.truncate(0)
        out, err = self.run(text)
        assert out == output and err == "", (out, err)
        limit = time.monotonic() + 20
        while open(self.paper, "rb").read() != expected:
            assert time.monotonic() < limit, (open(self.paper, "rb").read(), open(self.place + "/error.log").read())
            time.sleep(0.05)


def main():
    with tempfile.TemporaryDirectory(prefix="vandra-print-") as place:
        daemon = start_daemon(place)
        try:
            office = Office(place)
            # Long records are cut, pages are counted, a form feed makes a page; Windows line ends don't show.
            office.printed(
                """queue 'abcdefgh'; queue 'x'; queue '0C'x; queue 'end'; queue ''; queue 'not this'
                'execio * print paper (columns 3 linespage 3 finis'; say rc""",
                b"abc\ndef\ngh\n\fx\n\fend\n")
            # The default paper is 5.8 by 8.3 inches: 57 columns, 47 lines.
            office.printed(
                """s.1 = copies('=', 60); do i = 2 to 46; s.i = 'line' i; end
                'execio 46 print * (stem s. finis'; say rc""",
                b"=" * 57 + b"\n===\n" + b"".join(b"line %d\n" % i for i in range(2, 47)) + b"\f")
            # The printer stays open from command to command; the end of the process closes it.
            office.printed(
                """'execio 1 print paper (linespage 0 string one'; say rc
                'execio 1 print nowhere (string two'; say rc""",
                b"one\ntwo\n", "0\n0\n")
            # A page that got shorter is full already.
            office.printed(
                """'execio 3 print paper (string x'; say rc; 'execio 1 print paper (linesp 2 finis string y'; say rc""",
                b"x\nx\nx\ny\n\f", "0\n0\n")
            # Raw data goes out as it is.
            office.printed(
                """x = fileconv('u'); v = '1B'x || 'E' || '000C'x; w = '0C'x
                'execio 1 print paper (raw var v'; say rc
                'execio 1 print paper (var w finis'; say rc""",
                b"\x1bE\0\f\f", "0\n0\n")
            # Printers that can't be had.
            assert office.run("'execio 1 print nowhere (string x'; say rc\n"
                              "'execio 1 print Paper (string x'; say rc\n"
                              "'execio 1 print closed (string x'; say rc") == ("29\n29\n29\n", "")
            out, err = office.run("'execio 1 print paper (string x'; say rc", server=place + "/nobody")
            assert (out, err) == ("29\n", ""), (out, err)
            out, err = office.run("'execio 1 print * (string x'; say rc", server=place + "/nobody")
            assert (out, err) == ("101\n", "EXECIO: there is no default printer."), (out, err)
        finally:
            daemon.terminate()
            daemon.wait(timeout=20)


if __name__ == "__main__":
    main()
