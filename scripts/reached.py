#!/usr/bin/env python3
"""Tells what the tests reach: lines and branches per folder, and function by function what is not reached, with the reason that
docs/coverage.md gives for it.

    reached.py RECORD REASONS FOLDER...

RECORD is what gcovr has collected, as JSON; a table in REASONS names functions in the first column of a row and says why in
those after it.
"""
import argparse
import collections
import json
import os
import pathlib
import re
import subprocess


def demangled(name):
    """The collector leaves names alone that end with the size of the arguments, as those of functions that the system calls."""
    if not name.startswith("_Z"):
        return name
    return subprocess.run(["c++filt", re.sub(r"@\d+$", "", name)], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()


def short_name(name):
    """Class and function of a full name, without namespace, types and arguments; a lambda is part of its function."""
    name = name.replace("(anonymous namespace)::", "").replace("decltype(auto) ", "")
    name = re.sub(r"operator\s*(\(\)|[<>=!+*/&|^%,~\[\]-]+)", "operator", name)
    while (without := re.sub(r"<[^<>]*>|\[abi:\w+\]", "", name)) != name:
        name = without
    name = re.sub(r"::\{lambda.*", "", name)
    return re.sub(r"^(\w+::)*kandora::", "", name.split("(")[0].split(" ")[-1])


class Source:
    """A file of the record."""

    def __init__(self, entry):
        self.path = entry["file"]
        self.lines = [line for line in entry["lines"] if not (line.get("gcovr/noncode") or line.get("gcovr/excluded"))]
        self._begins = sorted((function["lineno"], short_name(demangled(function.get("demangled_name") or function["name"])))
                              for function in entry["functions"])

    @property
    def folder(self):
        return os.path.dirname(self.path)

    def counts(self):
        branches = [branch["count"] for line in self.lines for branch in line["branches"]]
        return collections.Counter({
            "lines": len(self.lines), "lines reached": sum(line["count"] > 0 for line in self.lines),
            "branches": len(branches), "branches reached": sum(count > 0 for count in branches)})

    def function_at(self, number):
        """The last function that begins before the line's end."""
        names = [name for begin, name in self._begins if begin <= number]
        return names[-1] if names else "(before all functions)"

    def missed(self):
        """{function: [lines, branches]} of what nothing reached."""
        found = {}
        for line in self.lines:
            without = sum(branch["count"] == 0 for branch in line["branches"])
            if line["count"] == 0 or without:
                parts = found.setdefault(self.function_at(line["line_number"]), [0, 0])
                parts[0] += line["count"] == 0
                parts[1] += without
        return found


def read_reasons(text):
    """{function: reason} of the tables: names in backquotes in a row's first cell, the reason in the others."""
    reasons = {}
    for line in text.splitlines():
        if line.startswith("|") and (names := re.findall(r"`([^`]+)`", line.split("|")[1])):
            reason = "; ".join(cell.strip() for cell in line.strip("|").split("|")[1:] if cell.strip())
            reasons |= {name: reason for name in names if not name.endswith("/")}
    return reasons


def share(reached, total):
    return f"{reached:6d} of {total:6d} {100 * reached / total:6.1f} %" if total else f"{'none':>25}"


def folder_table(sources, folders):
    totals = collections.defaultdict(collections.Counter)
    for source in sources:
        for name in (source.folder, "all"):
            totals[name].update(source.counts())
    yield f"  {'':24}{'lines':>25}{'branches':>28}"
    for name in [*folders, "all"]:
        count = totals[name]
        yield (f"  {name:24}{share(count['lines reached'], count['lines'])}"
               f"   {share(count['branches reached'], count['branches'])}")


def missed_functions(sources, reasons, folders):
    """What is not reached, folder by folder, and at last the reasons that nothing needs any more."""
    told = set()
    for folder in folders:
        missed = [(function, parts) for source in sources if source.folder == folder
                  for function, parts in source.missed().items()]
        if missed:
            yield f"  {folder}"
        for function, (lines, branches) in sorted(missed):
            told.add(function)
            parts = ", ".join(f"{count} {kind}{'' if count == 1 else ending}"
                              for count, kind, ending in ((lines, "line", "s"), (branches, "branch", "es")) if count)
            yield f"    {function}: {parts}; {reasons.get(function, 'NO REASON IS GIVEN')}"
    if needless := sorted(set(reasons) - told):
        yield f"  Reached by now, so that no reason is needed: {', '.join(needless)}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("record", type=pathlib.Path)
    parser.add_argument("reasons", type=pathlib.Path)
    parser.add_argument("folders", nargs="+")
    arguments = parser.parse_args()
    sources = [Source(entry) for entry in json.loads(arguments.record.read_text(encoding="utf-8"))["files"]]
    reasons = read_reasons(arguments.reasons.read_text(encoding="utf-8"))
    print("\n".join(folder_table(sources, arguments.folders)))
    print("\nNot reached, function by function:")
    print("\n".join(missed_functions(sources, reasons, arguments.folders)))


if __name__ == "__main__":
    main()
