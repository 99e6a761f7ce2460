#!/usr/bin/env python3
"""Runs the test modules that need no Windows session: run_content.py MODULE..."""
import sys
import unittest


def main():
    suite = unittest.defaultTestLoader.loadTestsFromNames(sys.argv[1:])
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    failed = len(result.failures) + len(result.errors)
    # The form in which the other test programs end, for whoever counts.
    print(f"[  PASSED  ] {result.testsRun - failed} tests.")
    if failed:
        print(f"[  FAILED  ] {failed} tests.")
    return 0 if result.wasSuccessful() and result.testsRun > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
