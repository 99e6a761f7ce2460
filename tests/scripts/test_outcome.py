"""The summary of a run, fed with every kind of broken output: it must not take what is broken for passed."""
import contextlib
import io
import json
import pathlib
import tempfile
import unittest
import xml.sax.saxutils

import outcome
from judge import count_lines, judge

FAULT = "wine: Unhandled page fault on write access to 00000008 at address 004015EC (thread 0148), starting debugger..."


def said(cases, listed=None, ran=None, passed=None, shard=None, before_end=""):
    """What a test program says of its cases (name: OK, FAILED or SKIPPED)."""
    count = len(cases)
    lines = [f"Note: This is test shard {shard[0] + 1} of {shard[1]}."] if shard else []
    lines += [f"[==========] Running {count if listed is None else listed} tests from 1 test suite.",
              "[----------] Global test environment set-up."]
    for name, end in cases.items():
        lines += [f"[ RUN      ] {name}", {"OK": "[       OK ]", "FAILED": "[  FAILED  ]", "SKIPPED": "[  SKIPPED ]"}[end] +
                  f" {name} (7 ms)"]
    if before_end:
        lines.append(before_end)
    good = sum(end == "OK" for end in cases.values())
    lines += ["[----------] Global test environment tear-down",
              f"[==========] {count if ran is None else ran} tests from 1 test suite ran. (8 ms total)",
              f"[  PASSED  ] {good if passed is None else passed} tests."]
    return "\r\n".join(lines) + "\r\n"


def cases(*names, **others):
    return dict.fromkeys(names, "OK") | others


THREE = cases("A.One", "A.Two", "A.Three")
CUT_OFF = said(THREE)[:said(THREE).index("[       OK ] A.Two")]


class OneProgram(unittest.TestCase):
    def expect_passed(self, output, name="some_tests"):
        result = judge(name, output)
        self.assertTrue(result.has_passed, result.complaints)
        return result

    def expect_failed(self, output, complaint, name="some_tests", has_ended_well=True):
        result = judge(name, output, has_ended_well)
        self.assertFalse(result.has_passed)
        self.assertRegex("; ".join(result.complaints), complaint)

    def test_that_passes(self):
        self.assertEqual(self.expect_passed(said(THREE)).names("passed"), list(THREE))

    def test_that_speaks_with_plain_line_ends(self):
        self.expect_passed(said(THREE).replace("\r\n", "\n"))

    def test_whose_case_does_not_end_its_last_line(self):
        self.expect_passed(said(THREE).replace("[       OK ] A.Two", "halfway[       OK ] A.Two"))

    def test_that_leaves_a_case_out(self):
        result = self.expect_passed(said(THREE | {"A.Two": "SKIPPED"}))
        self.assertEqual((result.names("passed"), result.names("left out")), (["A.One", "A.Three"], ["A.Two"]))

    def test_with_a_failed_case(self):
        result = judge("some_tests", said(THREE | {"A.Two": "FAILED"}), False)
        self.assertFalse(result.has_passed)
        self.assertEqual((result.names("failed"), result.complaints), (["A.Two"], []))

    def test_with_a_failed_case_of_a_parameter(self):
        output = said(cases("A/B.C/0", "A/B.C/1"), passed=1)
        output = output.replace("[       OK ] A/B.C/1 (", "[  FAILED  ] A/B.C/1, where GetParam() = 3 (")
        result = judge("some_tests", output, False)
        self.assertEqual((result.names("failed"), result.complaints), (["A/B.C/1"], []))

    def test_that_says_nothing(self):
        self.expect_failed("", "does not list its cases.*closing line is missing")

    def test_cut_off_anywhere(self):
        output = said(THREE)
        for end in range(len(output) - 3):
            self.assertFalse(judge("some_tests", output[:end]).has_passed, output[:end])

    def test_without_any_one_of_its_lines(self):
        lines = said(THREE).splitlines(keepends=True)
        for number, line in enumerate(lines):
            if "[------" not in line:
                self.assertFalse(judge("some_tests", "".join(lines[:number] + lines[number + 1:])).has_passed, line)

    def test_cut_off_after_a_fault_in_a_case(self):
        for has_ended_well in (True, False):
            self.expect_failed(CUT_OFF + FAULT, "A.Two never ended; it ran 1 of the 3 cases.*line is missing; a fault: wine",
                               has_ended_well=has_ended_well)

    def test_with_fewer_cases_than_it_lists(self):
        self.expect_failed(said(THREE, listed=4), "it ran 3 of the 4 cases that it lists")

    def test_with_more_cases_than_it_lists(self):
        self.expect_failed(said(THREE, listed=2), "it ran 3 of the 2 cases that it lists")

    def test_without_a_case(self):
        self.expect_failed(said({}), "it has no case")

    def test_whose_closing_lines_count_otherwise(self):
        self.expect_failed(said(THREE, passed=2), "closing lines count 3 cases and 2 passed, it told of 3 and 3")
        self.expect_failed(said(THREE, ran=4), "closing lines count 4 cases and 3 passed, it told of 3 and 3")

    def test_whose_closing_line_comes_too_early(self):
        line = "[  PASSED  ] 3 tests.\r\n"
        self.expect_failed(line + said(THREE).replace(line, ""), "closing line is missing")

    def test_that_runs_twice(self):
        self.expect_failed(said(THREE) + said(THREE), "it began twice.*A.One ran twice")

    def test_of_which_a_case_starts_another_program(self):
        at = "[       OK ] A.Two"
        inner = said(cases("A.One", "I.Two"))
        result = self.expect_passed(said(THREE).replace(at, inner + at))
        self.assertEqual(list(result.cases), list(THREE))
        for broken, complaint in (
                (said({}), "in a program that A.Two started: it has no case"),
                (said(cases("I.One", "I.Two"), listed=3), "in a program that A.Two started: it ran 2 of the 3 cases"),
                (said(cases("I.One", **{"I.Two": "FAILED"})), "in a program that A.Two started: I.Two failed"),
                (inner[:inner.index("[       OK ] I.Two")], "started: A.Two ended without having begun"),
                (inner[:inner.rindex("[  PASSED")], "closing line is missing")):
            self.expect_failed(said(THREE).replace(at, broken + at), complaint)

    def test_with_a_case_that_ends_twice(self):
        line = "[       OK ] A.Two (7 ms)\r\n"
        self.expect_failed(said(THREE).replace(line, line + line), "A.Two ended without having begun")

    def test_that_fails_behind_its_last_case(self):
        self.expect_failed(said(THREE), "it ended with an error", has_ended_well=False)

    def test_with_a_faults_text_and_everything_passed(self):
        for text in (FAULT, "Unhandled exception: page fault on read access to 0x00000000 in 32-bit code (0x7bc3).",
                     "wine: Unhandled stack overflow at address 0040B723 (thread 011c), starting debugger...",
                     "Backtrace:", "0024:err:seh:NtRaiseException Unhandled exception code c0000005 flags 0 addr 0x4",
                     "terminate called after throwing an instance of 'std::runtime_error'",
                     "Assertion failed: c==77, file crash.cpp, line 16", "vector:1045: Assertion '__n < this->size()' failed.",
                     "This application has requested the Runtime to terminate it in an unusual way.",
                     "abnormal program termination", "*** stack smashing detected ***: terminated",
                     "Traceback (most recent call last):", "Segmentation fault"):
            self.expect_failed(said(THREE, before_end=text), "a fault: ")
            self.expect_failed(text + "\n" + said(THREE), "a fault: ")
            self.expect_failed(said(THREE) + text, "a fault: ")

    def test_that_is_one_case(self):
        line = "No complaint of the heap in 20 rounds; an overrun block is noticed.\n"
        self.assertEqual(self.expect_passed(line, "heap_check").names("passed"), ["heap_check"])
        self.expect_failed("", "closing line is missing", "heap_check")
        self.expect_failed(line[:-20], "closing line is missing", "heap_check")
        self.expect_failed(line + "The course did not come to its end:\n", "closing line is missing", "heap_check")
        self.expect_failed(FAULT + "\n" + line, "a fault", "heap_check")
        self.expect_failed(line, "ended with an error", "heap_check", has_ended_well=False)

    def test_that_nobody_knows_to_be_one_case(self):
        self.expect_failed("All is well.\n", "does not list its cases")

    def test_that_counts(self):
        output = said(cases("M.A"), before_end="3000 sequences, 65227 requests, 1 calls; 9440 requests disturbed, more\r\n"
                      "fault sweep: 31999 cases\r\nfault sweep: 1 cases")
        self.assertEqual(judge("some_tests", output).counts, {"sequences": 3000, "requests": 65227, "disturbed requests": 9440,
                                                              "failed calls": 32000})
        self.assertEqual(count_lines(output)[-1], "fault sweep: 1 cases")


class Run(unittest.TestCase):
    """A run of two builds in a folder of its own."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.logs = self.folder / "logs"
        self.logs.mkdir()
        self.cases = self.folder / "cases.json"
        self.programs = {"one_tests": said(THREE), "two_tests": said(cases("B.One", "B.Two"))}
        self.areas = {"one_tests": "one", "two_tests": "two"}
        self.record({"one": {"one_tests": {"cases": 3}}, "two": {"two_tests": {"cases": 2}}})
        self.write("x86")
        self.write("x64")

    def record(self, programs, *differences):
        self.cases.write_text(json.dumps({"programs": programs, "differences": list(differences)}), encoding="utf-8")

    def recorded(self):
        return json.loads(self.cases.read_text(encoding="utf-8"))["programs"]

    def report(self, file, programs, statuses):
        text = "<testsuite>" + "".join(
            f'<testcase name="{name}" time="1.5" status="{statuses.get(name, "run")}"><system-out>'
            f'{xml.sax.saxutils.escape(output)}</system-out></testcase>' for name, output in programs.items()) + "</testsuite>"
        file.write_text(text, encoding="utf-8")

    def write(self, build, changes=(), listed=None, **statuses):
        """A build's run; `changes`: other output of programs, None for those that are not in the report."""
        programs = {name: output for name, output in (self.programs | dict(changes)).items() if output is not None}
        self.report(self.logs / f"test-{build}.xml", programs, statuses)
        tests = [{"name": name, "properties": [{"name": "LABELS", "value": [self.areas.get(name, "one")]}]}
                 for name in listed or self.programs | programs]
        (self.logs / f"test-{build}.json").write_text(json.dumps({"tests": tests}), encoding="utf-8")
        (self.logs / f"test-{build}.seconds").write_text("12.3\n", encoding="utf-8")

    def second_try(self, build, name, output, status="run"):
        self.report(self.logs / f"again-{build}-{name}.xml", {"fixture": "made\n", name: output}, {name: status})

    def call(self, *arguments):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            code = outcome.main([str(argument) for argument in arguments])
        return code, printed.getvalue()

    def sum(self, *builds, areas="", options=()):
        code, text = self.call("sum", *options, self.logs, self.cases, areas, *(builds or ("x86", "x64")))
        return code, text, (self.logs / "test.sum").read_text(encoding="utf-8")

    def expect_passed(self, closing="10 passed, 0 failed\n", **arguments):
        code, text, last = self.sum(**arguments)
        self.assertEqual((code, last), (0, closing), text)
        return text

    def expect_failed(self, closing, complaint, *builds, **arguments):
        code, text, last = self.sum(*builds, **arguments)
        self.assertEqual((code, last), (1, closing), text)
        self.assertRegex(text, complaint)
        return text

    def failed(self, build):
        return self.call("failed", self.logs, build)[1].split()

    def test_that_passes(self):
        text = self.expect_passed()
        self.assertIn("x86: 5 passed, 0 failed, 0 left out, 12.3 s\nx64: 5 passed, 0 failed, 0 left out, 12.3 s\n", text)
        self.assertNotIn("ailed:", text)
        self.assertEqual(self.failed("x86") + self.failed("x64"), [])

    def test_with_a_program_that_was_cut_off_with_exit_code_0(self):
        self.write("x86", {"one_tests": CUT_OFF})
        self.assertEqual(self.failed("x86"), ["one_tests"])
        text = self.expect_failed("8 passed, 1 failed\n", "x86 one_tests: .*closing line is missing")
        log = self.logs / "first-try-x86-one_tests.log"
        self.assertIn(str(log), text)
        self.assertIn("[ RUN      ] A.One", log.read_text(encoding="utf-8"))

    def test_with_a_fault_and_everything_passed(self):
        self.write("x64", {"two_tests": said(cases("B.One", "B.Two"), before_end=FAULT)})
        self.assertEqual(self.failed("x64"), ["two_tests"])
        self.expect_failed("10 passed, 1 failed\n", "x64 two_tests: a fault: wine: Unhandled")

    def test_with_failed_cases(self):
        self.write("x64", {"one_tests": said(THREE | {"A.One": "FAILED", "A.Two": "FAILED"})}, one_tests="fail")
        self.assertEqual(self.failed("x64"), ["one_tests"])
        self.expect_failed("8 passed, 2 failed\n", "x64 one_tests: failed: A.One, A.Two\n")

    def test_with_a_program_that_ran_out_of_time(self):
        self.write("x86", {"one_tests": "[==========] Running 3 tests from 1 test suite.\n"}, one_tests="fail")
        self.assertEqual(self.failed("x86"), ["one_tests"])
        self.expect_failed("7 passed, 1 failed\n", "x86 one_tests: it ran 0 of the 3 cases")
        self.write("x86", one_tests="fail")
        self.expect_failed("10 passed, 1 failed\n", "x86 one_tests: it ended with an error, or ran out of time")

    def test_with_a_program_that_was_not_run(self):
        for status in ("notrun", "disabled"):
            self.write("x86", {"one_tests": "Failed test dependencies: packages"}, one_tests=status)
            self.assertEqual(self.failed("x86"), ["one_tests"])
            self.expect_failed("7 passed, 1 failed\n", "x86 one_tests: it was not run: Failed test dependencies")

    def test_with_a_program_that_the_report_does_not_have(self):
        self.write("x86", {"one_tests": None})
        self.expect_failed("7 passed, 1 failed\n", "x86 one_tests: it was not run")

    def test_with_a_program_that_is_gone(self):
        for build in ("x86", "x64"):
            self.write(build, {"one_tests": None}, listed=["two_tests"])
        self.expect_failed("4 passed, 2 failed\n", "x86 one_tests: recorded, and was not in the run\n"
                           ".*x64 one_tests: recorded, and was not in the run")

    def test_with_a_program_that_is_not_recorded(self):
        self.programs["new_tests"] = said(cases("C.One"))
        self.write("x86")
        self.write("x64")
        self.expect_failed("12 passed, 2 failed\n", "x86 new_tests: is not recorded")

    def test_that_was_broken_off(self):
        (self.logs / "test-x86.xml").write_text("<testsuite><testcase", encoding="utf-8")
        self.expect_failed("5 passed, 3 failed\n", "x86: the run was broken off")
        self.assertEqual(self.failed("x86"), [])
        for kind in ("xml", "json", "seconds"):
            self.write("x86")
            (self.logs / f"test-x86.{kind}").unlink()
            self.assertEqual(self.sum()[0], 1, kind)

    def test_without_a_build(self):
        self.assertEqual(self.call("sum", self.logs, self.cases, "")[0], 1)
        self.assertEqual((self.logs / "test.sum").read_text(encoding="utf-8"), "0 passed, 1 failed\n")

    def test_without_a_program(self):
        for build in ("x86", "x64"):
            self.report(self.logs / f"test-{build}.xml", {}, {})
            (self.logs / f"test-{build}.json").write_text('{"tests": []}', encoding="utf-8")
        self.expect_failed("0 passed, 6 failed\n", "x86: no program was run")
        self.record({})
        self.expect_failed("0 passed, 2 failed\n", "x64: no program was run")

    def test_with_fewer_cases_than_recorded(self):
        for build in ("x86", "x64"):
            self.write(build, {"one_tests": said(cases("A.One", "A.Two"))})
        self.expect_failed("8 passed, 2 failed\n", "x86 one_tests: 2 cases, recorded 3\n  x64 one_tests: 2 cases, recorded 3\n")

    def test_with_more_cases_than_recorded(self):
        for build in ("x86", "x64"):
            self.write(build, {"one_tests": said(THREE | cases("A.Four"))})
        self.expect_failed("12 passed, 2 failed\n", "x64 one_tests: 4 cases, recorded 3\n")
        self.expect_passed("12 passed, 0 failed\n", options=["--record"])
        self.assertEqual(self.recorded(), {"one": {"one_tests": {"cases": 4}}, "two": {"two_tests": {"cases": 2}}})
        self.expect_passed("12 passed, 0 failed\n")

    def test_with_a_case_left_out_that_is_not_meant_to_be(self):
        for build in ("x86", "x64"):
            self.write(build, {"one_tests": said(THREE | {"A.Two": "SKIPPED"})})
        self.expect_failed("8 passed, 2 failed\n", r"x86 one_tests: 2 cases, recorded 3 \(left out: A.Two\)")

    def test_whose_builds_have_different_cases(self):
        self.write("x64", {"one_tests": said(cases("A.One", "A.Two", "A.Other"))})
        text = self.expect_failed("10 passed, 2 failed\n", "x86 one_tests: other builds pass what it does not: A.Other\n")
        self.assertIn("x64 one_tests: other builds pass what it does not: A.Three\n", text)

    def test_whose_builds_are_meant_to_differ(self):
        self.write("x64", {"one_tests": said(cases("A.One", "A.Two"))})
        self.write("x86", {"two_tests": said(cases("B.One", **{"B.Two": "SKIPPED"}))})
        programs = self.recorded()
        lacks = {"program": "one_tests", "cases": ["A.Three"], "when": ["x64"], "reason": "it is about 32 bit"}
        leaves_out = {"program": "two_tests", "cases": ["B.T*"], "when": ["x86"], "reason": "it is about 64 bit"}
        self.record(programs, lacks, leaves_out)
        self.expect_passed("8 passed, 0 failed\n")
        self.record(programs, lacks)
        self.expect_failed("8 passed, 2 failed\n", "x86 two_tests: other builds pass what it does not: B.Two")
        self.record(programs, lacks | {"when": ["x86"]}, leaves_out)
        self.expect_failed("8 passed, 2 failed\n", "x64 one_tests: other builds pass what it does not: A.Three")

    def test_of_one_build_may_leave_out_what_needs_both(self):
        self.write("x86", {"one_tests": said(THREE | {"A.Two": "SKIPPED"})})
        difference = {"program": "one_tests", "cases": ["A.Two"], "when": ["one architecture"], "reason": "it needs both"}
        self.record(self.recorded(), difference)
        self.assertEqual(self.sum("x86")[0], 0)
        self.expect_failed("9 passed, 2 failed\n", "x86 one_tests: 2 cases, recorded 3")

    def test_that_counts_otherwise_than_recorded(self):
        self.record({"one": {"one_tests": {"cases": 3, "failed calls": 95998}}, "two": {"two_tests": {"cases": 2}}})
        self.expect_failed("10 passed, 2 failed\n", "x86 one_tests: 0 failed calls, recorded 95998")
        for number in (95997, 95999):
            for build in ("x86", "x64"):
                self.write(build, {"one_tests": said(THREE, before_end=f"fault sweep: {number} cases")})
            self.expect_failed("10 passed, 2 failed\n", f"x64 one_tests: {number} failed calls, recorded 95998")
        self.write("x86", {"one_tests": said(THREE, before_end="fault sweep: 95998 cases")})
        self.write("x64", {"one_tests": said(THREE, before_end="fault sweep: 95998 cases")})
        self.assertIn("  one_tests: fault sweep: 95998 cases\n", self.expect_passed())

    def test_whose_builds_count_differently(self):
        self.write("x86", {"one_tests": said(THREE, before_end="fault sweep: 95998 cases")})
        self.write("x64", {"one_tests": said(THREE, before_end="fault sweep: 95999 cases")})
        self.expect_failed("10 passed, 3 failed\n", "one_tests: the builds count differently", options=["--record"])

    def shards(self, *parts, name="one_tests"):
        programs = {f"{name}_{number}": said(cases(*part), shard=(shard, of))
                    for number, (shard, of, *part) in enumerate(parts)}
        programs["two_tests"] = self.programs["two_tests"]
        self.programs = programs
        self.write("x86")
        self.write("x64")

    def test_with_shards_that_are_one_program(self):
        self.shards((0, 2, "A.One", "A.Three"), (1, 2, "A.Two"))
        self.expect_passed()

    def test_with_shards_of_which_one_is_missing(self):
        self.shards((0, 2, "A.One", "A.Two", "A.Three"))
        self.expect_failed("10 passed, 2 failed\n", "x86 one_tests: its shards are not complete")

    def test_with_shards_that_run_a_case_twice(self):
        self.shards((0, 2, "A.One", "A.Two", "A.Three"), (1, 2, "A.Two"))
        self.expect_failed("12 passed, 2 failed\n", "x86 one_tests: A.Two ran in two shards")

    def test_with_twice_the_same_shard(self):
        self.shards((0, 2, "A.One", "A.Three"), (0, 2, "A.Two"))
        self.expect_failed("10 passed, 2 failed\n", "x86 one_tests: its shards are not complete")

    def test_with_shards_that_do_not_run_every_case(self):
        self.shards((0, 2, "A.One"), (1, 2, "A.Two"))
        self.expect_failed("8 passed, 2 failed\n", "x86 one_tests: 2 cases, recorded 3")

    def test_with_a_second_try_that_passes(self):
        self.write("x86", {"one_tests": CUT_OFF})
        self.assertEqual(self.failed("x86"), ["one_tests"])
        self.second_try("x86", "one_tests", said(THREE))
        text = self.expect_passed()
        self.assertRegex(text, "Passed only at the second try.*\n  x86 one_tests: .*closing line is missing\n"
                         f"      first try: {self.logs}/first-try-x86-one_tests.log\n")
        self.assertNotIn("\nFailed:", text)

    def test_with_a_second_try_that_fails(self):
        self.write("x86", {"one_tests": CUT_OFF})
        self.failed("x86")
        for output, status in ((said(THREE)[:-200], "run"), (said(THREE), "fail"), ("", "notrun")):
            self.second_try("x86", "one_tests", output, status)
            code, text, last = self.sum()
            self.assertEqual((code, last.split(" passed, ")[1]), (1, "1 failed\n"), text)
            self.assertIn(f"second try: {self.logs}/second-try-x86-one_tests.log", text)
            self.assertNotIn("Passed only", text)

    def test_with_a_second_try_that_left_no_report(self):
        self.write("x86", {"one_tests": CUT_OFF})
        (self.logs / "again-x86-one_tests.xml").write_text("<testsuite>", encoding="utf-8")
        self.expect_failed("8 passed, 1 failed\n", "x86 one_tests: .*closing line is missing")
        self.report(self.logs / "again-x86-one_tests.xml", {}, {})
        self.expect_failed("7 passed, 1 failed\n", "x86 one_tests: it was not run")

    def test_of_one_area(self):
        for build in ("x86", "x64"):
            self.write(build, {"two_tests": None}, listed=["one_tests"])
        self.expect_passed("6 passed, 0 failed\n", areas="one")
        self.expect_failed("6 passed, 2 failed\n", "x86 two_tests: recorded, and was not in the run", areas="one two")
        self.expect_failed("6 passed, 2 failed\n", "x86 two_tests: recorded, and was not in the run")

    def test_recording_one_area_leaves_the_others(self):
        for build in ("x86", "x64"):
            self.write(build, {"one_tests": said(cases("A.New")), "two_tests": None}, listed=["one_tests"])
        self.expect_passed("2 passed, 0 failed\n", areas="one", options=["--record"])
        self.assertEqual(self.recorded(), {"one": {"one_tests": {"cases": 1}}, "two": {"two_tests": {"cases": 2}}})

    def test_recording_all_forgets_what_is_gone(self):
        difference = {"program": "two_tests", "cases": ["B.*"], "when": ["ubsan"], "reason": "ä"}
        self.record(self.recorded() | {"old": {"old_tests": {"cases": 9}}}, difference)
        self.expect_passed(options=["--record"])
        self.assertEqual(list(self.recorded()), ["one", "two"])
        self.assertEqual(json.loads(self.cases.read_text(encoding="utf-8"))["differences"], [difference])

    def test_nothing_is_recorded_of_a_broken_run(self):
        before = self.recorded()
        self.write("x86", {"one_tests": said(THREE | {"A.Four": "FAILED"})})
        self.expect_failed("10 passed, 1 failed\n", "Nothing was recorded", options=["--record"])
        self.write("x86", {"one_tests": said(cases("A.One"))})
        self.expect_failed("8 passed, 2 failed\n", "Nothing was recorded", options=["--record"])
        self.assertEqual(self.recorded(), before)

    def test_names_what_took_longest(self):
        self.assertRegex(self.expect_passed(), r"What took longest:\n +1\.5 s  x86 two_tests\n")
