#!/usr/bin/env python3
"""Sums up a run of the tests and says whether it has passed.

    outcome.py failed LOGS BUILD                         prints the programs that failed, and keeps what they said
    outcome.py sum [--record] LOGS CASES AREAS BUILD...  the whole outcome; AREAS: names with a blank between, or "" for all

LOGS holds of each build ctest's report (test-BUILD.xml), its list of the tests (test-BUILD.json), the seconds that it took
(test-BUILD.seconds) and the reports of second tries (again-BUILD-PROGRAM.xml). The closing line goes to LOGS/test.sum, for
whoever has something to say before it. CASES holds how many cases each program has, and in what the builds may differ.
"""
import collections
import dataclasses
import fnmatch
import json
import pathlib
import re
import sys
import xml.etree.ElementTree

from judge import Outcome, count_lines, judge

SLOWEST = 10


def family(name):
    """The program of a test: shards are one, in several tests."""
    return re.sub(r"_\d+$", "", name)


@dataclasses.dataclass
class Test:
    """One test of ctest, as far as it came."""
    outcome: Outcome
    output: str = ""
    seconds: float = 0
    first: Outcome = None  # of the first try, when there was a second one


def read_report(file):
    """The tests of one of ctest's reports, by name; None when it is missing or broken off."""
    try:
        root = xml.etree.ElementTree.parse(file).getroot()
    except (OSError, xml.etree.ElementTree.ParseError):
        return None
    tests = {}
    for case in root.iter("testcase"):
        name, status = case.get("name"), case.get("status")
        output = case.findtext("system-out") or ""
        if status in ("run", "fail"):
            outcome = judge(name, output, status == "run")
        else:
            outcome = Outcome(complaints=[f"it was not run: {output.strip() or status}"])
        tests[name] = Test(outcome, output, float(case.get("time") or 0))
    return tests


def log_of(logs, attempt, build, name):
    return logs / f"{attempt}-try-{build}-{name}.log"


@dataclasses.dataclass
class Build:
    """What the tests of one build came to."""
    name: str
    tests: dict
    areas: dict  # test: area
    seconds: str = "0"
    is_complete: bool = True

    @property
    def words(self):
        return set(self.name.split("-"))

    def programs(self):
        """The outcome of each program with all its shards."""
        parts = collections.defaultdict(dict)
        for name, test in self.tests.items():
            parts[family(name)][name] = test.outcome
        return {program: joined(list(outcomes.values())) for program, outcomes in parts.items()}


def joined(outcomes):
    """One outcome of all shards of a program, which together run every case once."""
    whole = Outcome()
    shards = sorted(outcome.shard for outcome in outcomes if outcome.shard)
    for outcome in outcomes:
        whole.complaints += outcome.complaints
        whole.complaints += [f"{name} ran in two shards" for name in outcome.cases if name in whole.cases]
        whole.cases |= outcome.cases
        whole.counts += outcome.counts
    count = shards[0][1] if shards else 1
    if (shards or len(outcomes) > 1) and shards != [(number, count) for number in range(count)]:
        whole.complaints.append(f"its shards are not complete: {shards}")
    return whole


def read_build(logs, name):
    """A build's tests with their second tries. A test that ctest lists and that is not in the report was not run."""
    tests = read_report(logs / f"test-{name}.xml")
    areas = {}
    is_complete = tests is not None
    tests = tests or {}
    try:
        for test in json.loads((logs / f"test-{name}.json").read_text(encoding="utf-8"))["tests"]:
            labels = next((entry["value"] for entry in test.get("properties", ()) if entry["name"] == "LABELS"), ["?"])
            areas[test["name"]] = labels[0]
    except (OSError, ValueError, KeyError):
        is_complete = False
    for test in areas.keys() - tests.keys():
        tests[test] = Test(Outcome(complaints=["it was not run"]))
    for test in tests:
        again = read_report(logs / f"again-{name}-{test}.xml")
        if again is not None:
            second = again.get(test) or Test(Outcome(complaints=["it was not run"]))
            second.first = tests[test].outcome
            tests[test] = second
    seconds = logs / f"test-{name}.seconds"
    if seconds.exists():
        return Build(name, tests, areas, seconds.read_text(encoding="utf-8").strip(), is_complete)
    return Build(name, tests, areas, is_complete=False)


class Record:
    """The cases that each program is known to have, and the differences between builds that are meant."""

    def __init__(self, file):
        self.file = file
        content = json.loads(file.read_text(encoding="utf-8")) if file.exists() else {}
        self.programs = content.get("programs", {})  # area: program: what: number
        self.differences = content.get("differences", [])

    def expected(self, areas):
        return {program: numbers for area, programs in self.programs.items() if not areas or area in areas
                for program, numbers in programs.items()}

    def excused(self, program, words):
        """Patterns of the cases that this program needs not pass in a build of such words."""
        return [case for entry in self.differences if entry["program"] == program and set(entry["when"]) <= words
                for case in entry["cases"]]

    def write(self):
        """One line for each program, so that a difference shows what changed."""
        areas = []
        for area, programs in sorted(self.programs.items()):
            lines = [f"      {json.dumps(program)}: {json.dumps(numbers)}" for program, numbers in sorted(programs.items())]
            areas.append(f"    {json.dumps(area)}: {{\n" + ",\n".join(lines) + "\n    }")
        entries = [f"    {json.dumps(entry, ensure_ascii=False)}" for entry in self.differences]
        self.file.write_text('{\n  "programs": {\n' + ",\n".join(areas) + '\n  },\n  "differences": [\n' +
                             ",\n".join(entries) + "\n  ]\n}\n", encoding="utf-8")


class Sum:
    """The outcome of a run of several builds."""

    def __init__(self, builds, record, areas=()):
        self.builds = builds
        self.record = record
        self.areas = areas
        self.programs = {build.name: build.programs() for build in builds}
        # What is wrong beyond programs that failed.
        self.complaints = []
        self.unrecorded = []
        self._check_builds()
        self._compare_builds()
        self._compare_with_record()

    def words(self, build):
        return build.words | ({"one architecture"} if len(self.builds) == 1 else set())

    def is_excused(self, build, program, case):
        return any(fnmatch.fnmatchcase(case, pattern) for pattern in self.record.excused(program, self.words(build)))

    def _check_builds(self):
        if not self.builds:
            self.complaints.append("no build was tested")
        for build in self.builds:
            if not build.is_complete:
                self.complaints.append(f"{build.name}: the run was broken off")
            elif not build.tests:
                self.complaints.append(f"{build.name}: no program was run")

    def _compare_builds(self):
        """Every program passes the same cases, and as many, in all builds."""
        for program in sorted(set().union(*self.programs.values())):
            having = [build for build in self.builds if program in self.programs[build.name]]
            outcomes = [self.programs[build.name][program] for build in having]
            if not all(outcome.has_passed for outcome in outcomes):
                continue
            cases = set().union(*(outcome.names("passed") for outcome in outcomes))
            for build, outcome in zip(having, outcomes):
                lacking = sorted(case for case in cases.difference(outcome.names("passed"))
                                 if not self.is_excused(build, program, case))
                if lacking:
                    self.complaints.append(
                        f"{build.name} {program}: other builds pass what it does not: {', '.join(lacking)}")
            if any(outcome.counts != outcomes[0].counts for outcome in outcomes):
                told = "; ".join(f"{build.name}: {dict(outcome.counts)}" for build, outcome in zip(having, outcomes))
                self.complaints.append(f"{program}: the builds count differently: {told}")

    def numbers(self, build, program, excused_are_passed=True):
        """What is recorded of a program. Cases that it is excused from count: it has them elsewhere."""
        outcome = self.programs[build.name][program]
        cases = set(outcome.names("passed"))
        if excused_are_passed:
            cases |= {case for case in outcome.names("left out") if self.is_excused(build, program, case)}
            # Those that this build does not even have are named in full.
            cases |= {case for case in self.record.excused(program, self.words(build)) if not re.search(r"[*?\[]", case)}
        return {"cases": len(cases)} | dict(sorted(outcome.counts.items()))

    def _compare_with_record(self):
        expected = self.record.expected(self.areas)
        for build in self.builds:
            programs = self.programs[build.name]
            for program in sorted(expected.keys() | programs.keys()):
                if program not in programs:
                    self.unrecorded.append(f"{build.name} {program}: recorded, and was not in the run")
                elif program not in expected:
                    self.unrecorded.append(f"{build.name} {program}: is not recorded")
                elif programs[program].has_passed:
                    seen, known = self.numbers(build, program), expected[program]
                    for what in sorted(seen.keys() | known.keys()):
                        number, recorded = seen.get(what, 0), known.get(what, 0)
                        if number != recorded:
                            left_out = programs[program].names("left out")
                            self.unrecorded.append(f"{build.name} {program}: {number} {what}, recorded {recorded}" + (
                                f" (left out: {', '.join(left_out)})" if what == "cases" and left_out else ""))

    def broken(self):
        """Build, test and outcome of all that failed."""
        for build in self.builds:
            for name, test in sorted(build.tests.items()):
                if not test.outcome.has_passed:
                    yield build, name, test
            for program, outcome in sorted(self.programs[build.name].items()):
                parts = [test.outcome for name, test in build.tests.items() if family(name) == program]
                if not outcome.has_passed and all(part.has_passed for part in parts):
                    yield build, program, Test(outcome)

    def second_tries(self):
        for build in self.builds:
            for name, test in sorted(build.tests.items()):
                if test.first and test.outcome.has_passed:
                    yield build, name, test

    def passed_and_failed(self, build):
        tests = [test.outcome for test in build.tests.values()]
        passed = sum(len(outcome.names("passed")) for outcome in tests)
        failed = sum(len(test.outcome.names("failed")) + bool(test.outcome.complaints)
                     for owner, _, test in self.broken() if owner is build)
        return passed, failed

    def totals(self):
        pairs = [self.passed_and_failed(build) for build in self.builds]
        return (sum(passed for passed, _ in pairs),
                sum(failed for _, failed in pairs) + len(self.complaints) + len(self.unrecorded))

    def store(self):
        """Records what was seen, unless something else is wrong."""
        if self.complaints or any(self.broken()):
            return False
        programs = self.record.programs
        if not self.areas:
            programs.clear()
        for area in self.areas:
            programs.pop(area, None)
        for build in self.builds:
            for name, area in build.areas.items():
                programs.setdefault(area, {})[family(name)] = self.numbers(build, family(name))
        self.record.write()
        self.unrecorded = []
        self._compare_with_record()
        return True


def told(outcome):
    failed = outcome.names("failed")
    more = f" and {len(failed) - 5} more" if len(failed) > 5 else ""
    return "; ".join(outcome.complaints + ([f"failed: {', '.join(failed[:5])}{more}"] if failed else []))


def print_sum(outcome, logs):
    for build in outcome.builds:
        lines = [(name, line) for name, test in build.tests.items() for line in count_lines(test.output)]
        if lines:
            print(f"\nWhat the long tests of {build.name} went through:")
            print("\n".join(f"  {name}: {line}" for name, line in lines))
    times = [(test.seconds, f"{build.name} {name}") for build in outcome.builds for name, test in build.tests.items()]
    print("\nWhat took longest:")
    print("\n".join(f"  {seconds:7.1f} s  {name}" for seconds, name in sorted(times, reverse=True)[:SLOWEST]))
    if broken := list(outcome.broken()):
        print("\nFailed:")
        for build, name, test in broken:
            print(f"  {build.name} {name}: {told(test.outcome)}")
            for attempt in ("first", "second"):
                if log_of(logs, attempt, build.name, name).exists():
                    print(f"      {attempt} try: {log_of(logs, attempt, build.name, name)}")
    if again := list(outcome.second_tries()):
        print("\nPassed only at the second try, alone and in a fresh wine prefix:")
        for build, name, test in again:
            print(f"  {build.name} {name}: {told(test.first)}\n      first try: {log_of(logs, 'first', build.name, name)}")
    if outcome.complaints:
        print("\nWrong with the run:")
        print("\n".join(f"  {complaint}" for complaint in outcome.complaints))
    if outcome.unrecorded:
        print(f"\nNot as {outcome.record.file.name} has it (for a change that is meant: './dev test --record'):")
        print("\n".join(f"  {complaint}" for complaint in outcome.unrecorded))
    print()
    for build in outcome.builds:
        passed, failed = outcome.passed_and_failed(build)
        left_out = sum(len(test.outcome.names("left out")) for test in build.tests.values())
        print(f"{build.name}: {passed} passed, {failed} failed, {left_out} left out, {build.seconds} s")


def print_failed(logs, name):
    for test, found in (read_report(logs / f"test-{name}.xml") or {}).items():
        if not found.outcome.has_passed:
            log_of(logs, "first", name, test).write_text(f"{told(found.outcome)}\n\n{found.output}", encoding="utf-8")
            print(test)


def main(arguments):
    command, *rest = arguments
    if command == "failed":
        print_failed(pathlib.Path(rest[0]), rest[1])
        return 0
    is_recorded = rest[0] == "--record"
    logs, cases, areas, *names = rest[1:] if is_recorded else rest
    logs = pathlib.Path(logs)
    builds = [read_build(logs, name) for name in names]
    for build in builds:
        for name, test in build.tests.items():
            if test.first:
                log_of(logs, "second", build.name, name).write_text(test.output, encoding="utf-8")
    outcome = Sum(builds, Record(pathlib.Path(cases)), areas.split())
    if is_recorded and not outcome.store():
        print("\nNothing was recorded: something else is wrong.")
    print_sum(outcome, logs)
    passed, failed = outcome.totals()
    (logs / "test.sum").write_text(f"{passed} passed, {failed} failed\n", encoding="utf-8")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
