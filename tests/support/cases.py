#!/usr/bin/env python3
"""Runs unittest modules and tells of them in the words of the other test programs, which is what the summary reads: how many
cases there are, each as it begins and ends, and at last how many have passed. As a command: cases.py MODULE...

With GTEST_TOTAL_SHARDS and GTEST_SHARD_INDEX set, only those of this shard.
"""
import os
import sys
import textwrap
import time
import traceback
import unittest

OK, FAILED, SKIPPED = "[       OK ]", "[  FAILED  ]", "[  SKIPPED ]"


class Result(unittest.TestResult):
    """Tells each case as it goes."""

    def __init__(self):
        super().__init__()
        self.ended = {OK: 0, FAILED: 0, SKIPPED: 0}
        self._begun = 0
        self._end = OK

    def startTest(self, test):
        super().startTest(test)
        self._begun = time.monotonic()
        self._end = OK
        print(f"[ RUN      ] {test.id()}", flush=True)

    def stopTest(self, test):
        super().stopTest(test)
        self.ended[self._end] += 1
        milliseconds = int((time.monotonic() - self._begun) * 1000)
        print(f"{self._end} {test.id()} ({milliseconds} ms)", flush=True)

    def _fail(self, test, error):
        self._end = FAILED
        # Indented: a traceback at the beginning of a line is one that nobody caught.
        print(textwrap.indent(f"{test}\n{''.join(traceback.format_exception(*error))}", "    "), flush=True)

    def addError(self, test, err):
        super().addError(test, err)
        self._fail(test, err)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._fail(test, err)

    def addSubTest(self, test, subtest, err):
        super().addSubTest(test, subtest, err)
        if err is not None:
            self._fail(subtest, err)

    def addUnexpectedSuccess(self, test):
        super().addUnexpectedSuccess(test)
        self._end = FAILED

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self._end = SKIPPED
        print(f"    {reason}", flush=True)


def modules_of(suite):
    if isinstance(suite, unittest.TestCase):
        return {type(suite).__module__}
    return set().union(*map(modules_of, suite))


def cases_of(suite):
    if isinstance(suite, unittest.TestCase):
        return [suite]
    return [case for part in suite for case in cases_of(part)]


def own_shard(suite):
    """Every so many-th case, and says which."""
    total, index = int(os.environ.get("GTEST_TOTAL_SHARDS", "1")), int(os.environ.get("GTEST_SHARD_INDEX", "0"))
    if total == 1:
        return suite
    print(f"Note: This is test shard {index + 1} of {total}.", flush=True)
    return unittest.TestSuite(cases_of(suite)[index::total])


def run(suite):
    """Runs the suite; the program's exit code."""
    begun = time.monotonic()
    suite = own_shard(suite)
    count, modules = suite.countTestCases(), len(modules_of(suite))
    print(f"[==========] Running {count} tests from {modules} test suites.", flush=True)
    result = Result()
    suite.run(result)
    milliseconds = int((time.monotonic() - begun) * 1000)
    print(f"[==========] {result.testsRun} tests from {modules} test suites ran. ({milliseconds} ms total)")
    for end in (SKIPPED, FAILED):
        if result.ended[end]:
            print(f"{end} {result.ended[end]} tests.")
    print(f"[  PASSED  ] {result.ended[OK]} tests.", flush=True)
    return 0 if result.wasSuccessful() and result.ended[OK] > 0 else 1


if __name__ == "__main__":
    sys.exit(run(unittest.defaultTestLoader.loadTestsFromNames(sys.argv[1:])))
