#!/usr/bin/env python3
"""Runs test modules of this folder inside a Windows session that run.sh has made."""
import argparse
import pathlib
import sys
import unittest

import workstation


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--loader", type=pathlib.Path, required=True, help="wine's loader of the architecture")
    parser.add_argument("--system", required=True, help="name of the architecture's system directory")
    parser.add_argument("--bin", type=pathlib.Path, required=True, help="the built files")
    parser.add_argument("--work", type=pathlib.Path, required=True, help="where the runs may leave files")
    parser.add_argument("tests", nargs="+", help="modules, classes or single tests")
    workstation.options = parser.parse_args()
    suite = unittest.defaultTestLoader.loadTestsFromNames(workstation.options.tests)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    failed = len(result.failures) + len(result.errors)
    # The form in which the other test programs end, for whoever counts.
    print(f"[  PASSED  ] {result.testsRun - failed} tests.")
    if failed:
        print(f"[  FAILED  ] {failed} tests.")
    return 0 if result.wasSuccessful() and result.testsRun > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
