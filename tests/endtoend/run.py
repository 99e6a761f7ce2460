#!/usr/bin/env python3
"""Runs test modules of this folder inside a Windows session that run_in_session.sh has made."""
import argparse
import pathlib
import sys
import unittest

import cases
import workstation


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--loader", type=pathlib.Path, required=True, help="wine's loader of the architecture")
    parser.add_argument("--other-loader", type=pathlib.Path, required=True, help="wine's loader of the other one")
    parser.add_argument("--system", required=True, help="name of the architecture's system directory")
    parser.add_argument("--bin", type=pathlib.Path, required=True, help="the built files")
    parser.add_argument("--work", type=pathlib.Path, required=True, help="where the runs may leave files")
    parser.add_argument("tests", nargs="+", help="modules, classes or single tests")
    workstation.options = parser.parse_args()
    return cases.run(unittest.defaultTestLoader.loadTestsFromNames(workstation.options.tests))


if __name__ == "__main__":
    sys.exit(main())
