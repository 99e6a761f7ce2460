"""Judges one test program by what it said.

It has passed only when its closing line says so and it ran exactly the cases that it lists: how it ended proves nothing, a
program that was cut off in the middle may well end with code 0.
"""
import collections
import dataclasses
import re

# How the system and the libraries report a fault. No debugger is started, so that it is one line.
FAULT = re.compile("|".join((
    r"\bwine: (?:Unhandled|Call from .* to unimplemented)", r"Unhandled exception", r"page fault on \w+ access",
    r"^Backtrace:", r"starting debugger", r"\berr:(?:seh|virtual)\b", r"wine client error", r"wineserver crashed",
    r"terminate called", r"pure virtual method called", r"Assertion (?:failed|'.*' failed)", r"stack smashing detected",
    r"abnormal program termination", r"requested the Runtime to terminate", r"^Segmentation fault", r"core dumped",
    r"^Traceback \(most recent call last\)", r"^X Error of failed request")), re.MULTILINE)

# The last lines of programs that are a single case each.
CLOSING_LINES = {
    "heap_check": r"No complaint of the heap in 20 rounds; an overrun block is noticed\.",
    "package_build": r"/.+\.zip",
    "package_build_next": r"/.+\.zip",
    "sample_client_is_generated": r"The sample client is what its generator writes\.",
}

# What the long tests count, and the lines that have the numbers. They are added up over a program's lines and shards.
COUNTS = tuple((what, re.compile(pattern, re.MULTILINE)) for what, pattern in (
    ("failed calls", r"^fault sweep: (\d+) cases"),
    ("failed allocations", r"^allocation sweep: (\d+) cases"),
    ("re-entries", r"^re-entry sweep: (\d+) cases"),
    ("sequences", r"^(\d+) sequences, "),
    ("requests", r"^\d+ sequences, (\d+) requests"),
    ("disturbed requests", r"; (\d+) requests disturbed"),
    ("kinds of metadata", r"^(\d+) kinds of metadata"),
    ("random values", r"^(\d+) random values traced"),
    ("answers", r"^(\d+) answers of any type"),
    ("failures", r"^(\d+) failures, none of which"),
    ("settings files", r"^(\d+) mutated settings files"),
    ("requests without a leak", r"^after (\d+) requests:"),
    ("hosts without a leak", r"^after (\d+) rounds:"),
    ("vouchers of many apartments", r"^\d+ apartments filed (\d+) vouchers"),
    ("vouchers of many accountings", r"^\d+ accountings filed (\d+) vouchers"),
    ("kills by request", r"^\w+.*: (\d+) rounds$"),
))
# The lines with these numbers, and others worth showing.
COUNT_LINE = re.compile(r"^(?:(?:fault|allocation|re-entry) sweep: \d+|the archive was killed \d+|"
                        r"\d+ (?:sequences|requests disturbed|apartments|accountings|answers|failures,|random values|"
                        r"mutated settings|kinds of metadata)).*", re.MULTILINE)

HEADER = re.compile(r"^\[=+\] Running (\d+) tests? from \d+ test (?:suites?|cases?)\.$")
SHARD = re.compile(r"^Note: This is test shard (\d+) of (\d+)\.$")
BEGUN = re.compile(r"\[ RUN      \] (\S+)$")
# A case may have written something without a line end before.
ENDED = re.compile(r"\[ +(OK|FAILED|SKIPPED) +\] (\S+?)(?:, where .*)? \(\d+ ms\)$")
RAN = re.compile(r"^\[=+\] (\d+) tests? from \d+ test (?:suites?|cases?) ran\. \(\d+ ms total\)$")
PASSED = re.compile(r"^\[  PASSED  \] (\d+) tests?\.$")
WORDS = {"OK": "passed", "FAILED": "failed", "SKIPPED": "left out"}


@dataclasses.dataclass
class Outcome:
    """What a program came to."""
    cases: dict = dataclasses.field(default_factory=dict)  # name: passed, failed or left out
    complaints: list = dataclasses.field(default_factory=list)  # why it has failed, beyond its failed cases
    counts: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    shard: tuple = None  # its number from 0, and how many there are

    def names(self, word):
        return [name for name, end in self.cases.items() if end == word]

    @property
    def has_passed(self):
        return not self.complaints and not self.names("failed")


class _Run:
    """What a program tells of its cases, line by line."""

    def __init__(self):
        self.cases = {}
        self.problems = []
        self.shard = self.listed = self.current = self.ran = self.passed = None

    def read(self, line):
        if found := HEADER.match(line):
            if self.listed is not None:
                self.problems.append("it began twice")
            self.listed = int(found[1])
        elif found := SHARD.match(line):
            self.shard = int(found[1]) - 1, int(found[2])
        elif found := BEGUN.search(line):
            if self.current:
                self.problems.append(f"{self.current} never ended")
            self.current = found[1]
            if self.current in self.cases:
                self.problems.append(f"{self.current} ran twice")
        elif found := ENDED.search(line):
            if found[2] != self.current:
                self.problems.append(f"{found[2]} ended without having begun")
            self.cases[found[2]] = WORDS[found[1]]
            self.current = None
        elif found := RAN.match(line):
            self.ran = int(found[1])
        elif (found := PASSED.match(line)) and self.ran is not None:
            # The closing line is the one behind the end of the cases.
            self.passed = int(found[1])

    def names(self, word):
        return [name for name, end in self.cases.items() if end == word]

    def close(self):
        """What is wrong with it beyond cases that failed."""
        if self.current:
            self.problems.append(f"{self.current} never ended")
        if self.listed is None:
            self.problems.append("it does not list its cases")
        elif self.listed == 0:
            self.problems.append("it has no case")
        elif len(self.cases) != self.listed:
            self.problems.append(f"it ran {len(self.cases)} of the {self.listed} cases that it lists")
        good = len(self.names("passed"))
        if self.passed is None:
            self.problems.append("its closing line is missing")
        elif (self.ran, self.passed) != (len(self.cases), good):
            self.problems.append(f"its closing lines count {self.ran} cases and {self.passed} passed, "
                                 f"it told of {len(self.cases)} and {good}")
        return self.problems


def _read(lines):
    """The run that these lines tell of. A case may start a test program of its own, and everything holds for that one, too."""
    outer, run = [], _Run()

    def leave():
        inner, case = run, outer[-1].current
        failed = [f"{name} failed" for name in inner.names("failed")]
        outer[-1].problems += [f"in a program that {case} started: {problem}" for problem in inner.close() + failed]
        return outer.pop()

    for line in lines:
        if run.current and (HEADER.match(line) or SHARD.match(line)):
            outer.append(run)
            run = _Run()
        run.read(line)
        if outer and run.passed is not None:
            run = leave()
    while outer:
        run = leave()
    return run


def judge(name, output, has_ended_well=True):
    """The outcome of the test program `name`; `has_ended_well`: with exit code 0 and in time."""
    outcome = Outcome()
    output = output.replace("\r\n", "\n")
    lines = output.split("\n")
    if name in CLOSING_LINES:
        last = next((line for line in reversed(lines) if line.strip()), "")
        if re.fullmatch(CLOSING_LINES[name], last):
            outcome.cases[name] = "passed"
        else:
            outcome.complaints.append("its closing line is missing")
    else:
        run = _read(lines)
        outcome.cases, outcome.complaints, outcome.shard = run.cases, run.close(), run.shard
    if fault := FAULT.search(output):
        line = output[output.rfind("\n", 0, fault.start()) + 1:].partition("\n")[0]
        outcome.complaints.append(f"a fault: {line.strip()}")
    if not has_ended_well and outcome.has_passed:
        outcome.complaints.append("it ended with an error, or ran out of time, after its last case")
    for what, pattern in COUNTS:
        if numbers := pattern.findall(output):
            outcome.counts[what] += sum(map(int, numbers))
    return outcome


def count_lines(output):
    return [line.rstrip() for line in COUNT_LINE.findall(output)]
