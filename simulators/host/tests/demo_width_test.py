#!/usr/bin/env python3
"""The width that the demo hands over for its tables: that of the terminal that somebody watches."""
import fcntl
import os
import pathlib
import pty
import struct
import subprocess
import tempfile
import termios
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
SCRIPT = """
set -euo pipefail
source "$0/scripts/common.sh"
source "$0/scripts/demo.sh"
find_width
echo "$demoWidth" >"$1"
"""


class Terminal:
    """A terminal of so many columns until the end of the block; its value is what a program writes to."""

    def __init__(self, columns):
        self.columns = columns

    def __enter__(self):
        self.ends = pty.openpty()
        fcntl.ioctl(self.ends[1], termios.TIOCSWINSZ, struct.pack("HHHH", 24 if self.columns else 0, self.columns, 0, 0))
        return self.ends[1]

    def __exit__(self, *_):
        for end in self.ends:
            os.close(end)


def width(**streams):
    with tempfile.NamedTemporaryFile() as answer:
        subprocess.run(["bash", "-c", SCRIPT, ROOT, answer.name], check=True,
                       **{**dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.DEVNULL), **streams})
        return int(answer.read())


class DemoWidth(unittest.TestCase):
    def test_it_is_that_of_the_terminal(self):
        for columns in (80, 120, 237, 1000):
            with Terminal(columns) as terminal:
                self.assertEqual(width(stdout=terminal), columns)

    def test_it_is_never_more_or_less_than_the_tables_take(self):
        for columns, expected in ((1, 80), (79, 80), (1001, 1000)):
            with Terminal(columns) as terminal:
                self.assertEqual(width(stdout=terminal), expected)

    def test_a_terminal_without_a_size_counts_as_none(self):
        with Terminal(0) as terminal:
            self.assertEqual(width(stdout=terminal), 100)

    def test_without_a_terminal_it_is_100(self):
        self.assertEqual(width(), 100)

    def test_a_redirected_output_leaves_the_terminal_of_the_others(self):
        with Terminal(120) as terminal:
            self.assertEqual(width(stderr=terminal), 120)
            self.assertEqual(width(stdin=terminal), 120)
            with Terminal(90) as other:
                self.assertEqual(width(stdout=other, stderr=terminal), 90)


if __name__ == "__main__":
    unittest.main()
