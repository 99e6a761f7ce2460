"""A program that faults ends with a code of its own, tells so, and the summary sees it."""
import os
import subprocess
import unittest

from judge import judge

ACCESS_VIOLATION = 0xC0000005 % 256  # of an exit code only the low byte is left here
# More than once: with the system's debugger, every other faulting program ended with 0.
TIMES = 6
LIMIT = 900


class Fault(unittest.TestCase):
    def fault(self, where):
        done = subprocess.run([os.environ["KANDORA_RUN"], os.environ["KANDORA_FAULTING"], where], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=LIMIT, check=False)
        output = done.stdout.decode("utf-8", "replace").replace("\r\n", "\n")
        self.assertEqual(done.returncode, ACCESS_VIOLATION, output)
        self.assertIn("begun\n", output)
        self.assertNotIn("ended", output)
        self.assertIn("wine: Unhandled page fault on write access to ", output)
        self.assertNotIn("Backtrace:", output)
        self.assertRegex(judge("faulting", output).complaints[-1], "^a fault: wine: Unhandled page fault")

    def test_in_the_main_thread(self):
        self.fault("main")

    def test_in_another_thread(self):
        for _ in range(TIMES):
            self.fault("thread")
