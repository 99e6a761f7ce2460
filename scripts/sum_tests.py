#!/usr/bin/env python3
"""Sums up a JUnit report of ctest: prints "PASSED FAILED LEFT_OUT", or with --counts what the sweeps and the other long
tests say they went through.

A test program of GoogleTest counts with each of its cases, any other test as one.
"""
import re
import sys
import xml.etree.ElementTree


def cases(output, label):
    """How many cases the closing lines of a GoogleTest program give for LABEL."""
    found = re.findall(rf"^\[ +{label} +\] (\d+) tests?\b", output, re.MULTILINE)
    return sum(int(number) for number in found)


# How such lines begin.
COUNTS = re.compile(r"^(?:(?:fault|allocation|re-entry) sweep: \d+|the archive was killed \d+|"
                    r"\d+ (?:sequences|requests disturbed|apartments|accountings|answers|failures,|random values|"
                    r"mutated settings|kinds of metadata)).*", re.MULTILINE)


def outcome(test):
    output = test.findtext("system-out") or ""
    passed, failed, left_out = (cases(output, label) for label in ("PASSED", "FAILED", "SKIPPED"))
    status = test.get("status")
    if status == "run":
        return passed or (0 if left_out else 1), 0, left_out
    if status == "disabled":
        return 0, 0, 1
    skipped = test.find("skipped")
    # A missing program or fixture is marked as skipped as well, with another message: such a test has failed.
    if skipped is not None and skipped.get("message", "").startswith("SKIP_"):
        return passed, failed, left_out or 1
    # A program that dies or fails after its last case has failed once more than its cases say.
    return passed, failed or 1, left_out


def main():
    tests = list(xml.etree.ElementTree.parse(sys.argv[-1]).getroot().iter("testcase"))
    if "--counts" in sys.argv:
        for test in tests:
            for line in COUNTS.findall(test.findtext("system-out") or ""):
                print(f"  {test.get('name')}: {line.rstrip()}")
        return
    totals = [sum(column) for column in zip(*map(outcome, tests))] or [0, 0, 0]
    print(*totals)


if __name__ == "__main__":
    main()
