#!/usr/bin/env python3
"""Says which rules packages break: check_package.py FILE.msi..., or without a file those of stand-in packages."""
import pathlib
import sys
import tempfile

from validation import database, stand_ins
from validation.rules import RULES
from validation.window_rules import WINDOW_RULES


def complaints(found):
    """Of a package that was read: (name of the rule, what breaks it)."""
    return [(rule.__name__, text) for rule in (*RULES, *WINDOW_RULES) for text in rule(found)]


def main(files):
    failed = False
    for file in files:
        for name, text in complaints(database.read(file)):
            print(f"{file}: {name}: {text}")
            failed = True
    if not failed:
        print(f"{len(files)} packages keep {len(RULES) + len(WINDOW_RULES)} rules.")
    return int(failed)


def main_with_stand_ins():
    with tempfile.TemporaryDirectory() as folder:
        files = [pathlib.Path(folder, f"{architecture}.msi") for architecture in ("x86", "x64")]
        for file in files:
            stand_ins.package(file.stem).write(file, 1700000000)
        return main(files)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]) if len(sys.argv) > 1 else main_with_stand_ins())
