#!/usr/bin/env python3
"""The console functions on a terminal, through a pseudo-terminal.

    terminal.py VANDRA
"""

import os
import pty
import select
import subprocess
import sys
import tempfile
import termios
import time

VANDRA = os.path.abspath(sys.argv[1])
TIME_LIMIT = 20  # seconds


class Terminal:
    """A script on a terminal of its own."""

    def __init__(self, text):
        with open("case.vnd", "w", encoding="ascii") as file:
            file.write(text)
        self.master, self.slave = pty.openpty()
        self.shown = b""
        self.process = subprocess.Popen([VANDRA, "case.vnd"], stdin=self.slave, stdout=self.slave,
                                        stderr=subprocess.DEVNULL, start_new_session=True)

    def type(self, keys):
        os.write(self.master, keys)

    def expect(self, text):
        """Waits until the terminal has shown exactly this, and forgets it."""
        limit = time.monotonic() + TIME_LIMIT
        while len(self.shown) < len(text) or select.select([self.master], [], [], 0.05)[0]:
            assert time.monotonic() < limit, (text, self.shown)
            if select.select([self.master], [], [], 0.05)[0]:
                self.shown += os.read(self.master, 1000)
        assert self.shown == text, (text, self.shown)
        self.shown = b""

    def wait_until_raw(self):
        """Waits until the script reads single keys, and says whether it shows them."""
        limit = time.monotonic() + TIME_LIMIT
        while termios.tcgetattr(self.slave)[3] & termios.ICANON:
            assert time.monotonic() < limit, "no key is asked for"
            time.sleep(0.01)
        return bool(termios.tcgetattr(self.slave)[3] & termios.ECHO)

    def finish(self):
        assert self.process.wait(timeout=TIME_LIMIT) == 0
        flags = termios.tcgetattr(self.slave)[3]
        assert flags & termios.ICANON and flags & termios.ECHO, "the terminal stays as the keys needed it"
        os.close(self.master)
        os.close(self.slave)


def test_keys_come_at_once_with_and_without_echo():
    terminal = Terminal("say 'key' charin() rc; say 'silent' charin(, 1) rc; say 'two' SysGetKey(, , 2)\n")
    assert terminal.wait_until_raw()
    terminal.type(b"a")
    terminal.expect(b"akey a 0\r\n")
    assert not terminal.wait_until_raw()
    terminal.type(b"b")
    terminal.expect(b"silent b 0\r\n")
    assert terminal.wait_until_raw()
    terminal.type(b"c")
    terminal.expect(b"c")
    terminal.type(b"d")
    terminal.expect(b"dtwo cd\r\n")
    terminal.finish()


def test_lines_and_keys_share_what_was_typed_ahead():
    terminal = Terminal("'sleep 0.3'; say charin(, 1); say linein(); say linein(); say charin(, 1, 2)'.'; trace o\n")
    terminal.type(b"xabc\ndef\n")
    terminal.type(b"yz")
    limit = time.monotonic() + TIME_LIMIT
    while terminal.process.poll() is None and time.monotonic() < limit:
        time.sleep(0.01)
    shown = os.read(terminal.master, 1000)
    assert shown.endswith(b"x\r\nabc\r\ndef\r\nyz.\r\n"), shown
    terminal.finish()


def test_a_waiting_key_is_seen_before_its_line_ends():
    terminal = Terminal("say lines() chars(); do until lines(); end; say 'now' chars() linein() lines()\n")
    terminal.expect(b"0 0\r\n")
    terminal.type(b"q")
    time.sleep(0.2)
    terminal.type(b"w\n")
    limit = time.monotonic() + TIME_LIMIT
    while not terminal.shown.endswith(b"now 1 qw 0\r\n"):
        assert time.monotonic() < limit, terminal.shown
        if select.select([terminal.master], [], [], 0.05)[0]:
            terminal.shown += os.read(terminal.master, 1000)
    terminal.finish()


def main():
    with tempfile.TemporaryDirectory(prefix="vandra-terminal-") as place:
        os.chdir(place)
        tests = [value for name, value in list(globals().items()) if name.startswith("test_")]
        for test in tests:
            test()
        os.chdir("/")


if __name__ == "__main__":
    main()
