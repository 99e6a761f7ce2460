#!/usr/bin/env python3
"""Says which files include what their floor may not know: floors.py ROOT

A floor of the product includes itself and the floors below it. What stands beside the product keeps out of its inside, except
for the programs that are made of it.
"""
import os
import pathlib
import re
import sys

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"([^"]+)"')

# What everybody may know: the public interfaces, and what everything that works with COM is made of.
FACE = {"interfaces"}
# Each floor with those below it. `archive` and `accounting` stand side by side.
GROUND = FACE | {"automation"}
SUPPORT = GROUND | {"support"}
MODEL = SUPPORT | {"model"}
UI = MODEL | {"ui"}
PROVIDER = UI | {"accounting", "archive", "provider"}
FLOORS = {
    "interfaces": FACE,
    "automation": GROUND,
    "support": SUPPORT,
    "model": MODEL,
    "ui": UI,
    "accounting": UI | {"accounting"},
    "archive": UI | {"archive"},
    "provider": PROVIDER,
    "component": PROVIDER | {"component"},
}
PRODUCT = set(FLOORS)
# What stands beside the product: which of it and of the product each may include.
BESIDE = {
    "simulators": FACE | {"simulators"},
    "tools": PRODUCT | {"tools"},
    "tests": PRODUCT | {"tests", "simulators", "tools"},
    "benchmarks": PRODUCT | {"benchmarks", "simulators", "tests", "tools"},
}
KNOWN = PRODUCT | BESIDE.keys()


def place(path):
    """The floor of the product, or the folder beside it, that a file of the project belongs to."""
    parts = pathlib.PurePath(path).parts
    # The simulators' own tests may use what all tests share.
    if "tests" in parts:
        return "tests"
    return parts[1] if parts[0] == "src" else parts[0]


def included(root, path, name):
    """The file that an include names, in the project; None when it is generated or a library's."""
    for folder in (os.path.dirname(path), "src", ""):
        file = os.path.normpath(os.path.join(folder, name))
        if not file.startswith("..") and os.path.isfile(os.path.join(root, file)):
            return file
    return None


def faults(root):
    """The includes that may not be, as texts "file:line: ..."."""
    for folder in ("src", *BESIDE):
        for file in sorted(pathlib.Path(root, folder).rglob("*")):
            if file.suffix not in (".cpp", ".h", ".in", ".rc"):
                continue
            path = str(file.relative_to(root))
            own = place(path)
            allowed = FLOORS.get(own) or BESIDE.get(own, set())
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                found = INCLUDE.match(line)
                target = included(root, path, found[1]) if found else None
                if target and place(target) in KNOWN - allowed:
                    yield f"{path}:{number}: {own} may not include {target}"


def main(root):
    found = list(faults(root))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: floors.py ROOT")
    sys.exit(main(sys.argv[1]))
