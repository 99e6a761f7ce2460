"""What the commands around the tests make of a run: which tests, which of them again, and how they close. Nothing is built
and no Windows program started: stand-ins take the place of what is called."""
import os
import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Programs of tests. `broken_tests` is cut off with exit code 0 unless it is run alone, `worse_tests` also then.
CTEST = r"""#!/usr/bin/env python3
import json, os, pathlib, re, sys
words = sys.argv[1:]
def after(option, default=""):
    return words[words.index(option) + 1] if option in words else default
with open(os.environ["CALLS"], "a") as calls:
    calls.write(f"{' '.join(words)}\n")
programs = os.environ["PROGRAMS"].split()
chosen = [name for name in programs if re.search(after("-R", "."), name)]
if "--show-only=json-v1" in words:
    print(json.dumps({"tests": [{"name": name, "properties": [{"name": "LABELS", "value": ["some"]}]} for name in chosen]}))
    sys.exit()
tests = ""
for name in chosen:
    good = name == "good_tests" or name == "broken_tests" and "-R" in words
    said = "[==========] Running 1 test from 1 test suite.\n[ RUN      ] A.B\n"
    if good:
        said += ("[       OK ] A.B (1 ms)\n[==========] 1 test from 1 test suite ran. (2 ms total)\n"
                 "[  PASSED  ] 1 test.\n")
    tests += f'<testcase name="{name}" time="1" status="run"><system-out>{said}</system-out></testcase>'
pathlib.Path(after("--output-junit")).write_text(f"<testsuite>{tests}</testsuite>")
"""

SHELL = r"""
set -euo pipefail
source "$1/scripts/wine.sh"
source "$1/scripts/test.sh"
shift
build=$FOLDER logs=$FOLDER/logs closingLine= testsStopTime=12:00:00
mkdir -p "$logs"
begin_wine() { echo "wine $*" >>"$CALLS"; }
side_by_side() { "$2" "$3"; }
trap 'echo "$closingLine"' EXIT
"$@"
"""

DEV = r"""#!/bin/bash
echo "./dev $*"
case "$*" in
    "$FAILING") exit 3 ;;
    test)
        echo "x86: something"
        echo "$CLOSING"
        [[ $CLOSING == *" 0 failed" ]]
        ;;
esac
"""


class Stage(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.calls = self.folder / "calls"
        self.environment = os.environ | {"FOLDER": str(self.folder), "CALLS": str(self.calls)}
        self.environment.pop("WINEPREFIX", None)

    def program(self, file, text):
        file.parent.mkdir(exist_ok=True)
        file.write_text(text, encoding="utf-8")
        file.chmod(0o755)

    def call(self, *command, **environment):
        done = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, env=self.environment | environment, text=True, check=False)
        return done.returncode, done.stdout


class Tests(Stage):
    def shell(self, *command, **environment):
        return self.call("bash", "-c", SHELL, "bash", ROOT, *command, **environment)

    def run_programs(self, *names):
        self.program(self.folder / "bin" / "ctest", CTEST)
        code, text = self.shell("test_builds", "x86", PROGRAMS=" ".join(names),
                                PATH=f"{self.folder / 'bin'}:{os.environ['PATH']}")
        calls = self.calls.read_text(encoding="utf-8").splitlines()
        again = [line for line in calls if " -R " in line]
        return code, text, calls, again

    def test_that_pass_are_run_once(self):
        code, text, calls, again = self.run_programs("good_tests")
        # These programs are not recorded, so the run has not passed.
        self.assertIn("x86 good_tests: is not recorded", text)
        self.assertEqual((code, again), (1, []))
        self.assertEqual(calls[0], "wine ")

    def test_that_fail_are_run_again_alone(self):
        _, text, _, again = self.run_programs("good_tests", "broken_tests", "worse_tests")
        self.assertEqual([line.split(" -R ")[1] for line in again], ["^broken_tests$", "^worse_tests$"])
        self.assertFalse([line for line in again if " -j " in line])
        passed_again = text[text.index("Passed only at the second try"):]
        self.assertIn("x86 broken_tests: A.B never ended", passed_again)
        self.assertIn(f"{self.folder}/logs/first-try-x86-broken_tests.log", passed_again)
        failed = text[text.index("\nFailed:"):text.index("Passed only")]
        self.assertIn("x86 worse_tests: A.B never ended", failed)
        self.assertNotIn("broken_tests", failed)

    def test_close_with_what_was_counted(self):
        _, text, _, _ = self.run_programs("worse_tests")
        self.assertRegex(text.splitlines()[-1], r"^0 passed, \d+ failed$")

    def test_of_an_earlier_run_are_forgotten(self):
        self.run_programs("broken_tests")
        _, text, _, _ = self.run_programs("good_tests")
        self.assertNotIn("second try", text)
        self.assertEqual(list((self.folder / "logs").glob("*-try-*")), [])

    def test_are_chosen_by_area_and_architecture(self):
        show = 'chosen() { read_test_arguments "$@"; echo "${testBuilds[*]}|${testAreas[*]}|${record:-}"; }; chosen '
        for words, chosen in (("", "x86 x64||"), ("unit protocol", "x86 x64|unit protocol|"),
                              ("x64 simulators", "x64|simulators|"), ("--record x86", "x86||yes")):
            self.assertEqual(self.shell("eval", show + words)[1].splitlines()[0], chosen)
        code, text = self.shell("eval", show + "units")
        self.assertEqual(code, 1)
        self.assertRegex(text, "there is no test area 'units'; known are .*protocol.*scripts.*simulators.*unit")

    def test_of_an_area_are_those_of_its_folder(self):
        areas = self.shell("known_areas")[1].split()
        self.assertEqual(areas, sorted(areas))
        folders = {folder.parent.name for folder in (ROOT / "tests").glob("*/CMakeLists.txt")} - {"support"}
        self.assertEqual(set(areas), folders | {"simulators"})


class Ci(Stage):
    def setUp(self):
        super().setUp()
        self.program(self.folder / ".ci" / "run", (ROOT / ".ci" / "run").read_text(encoding="utf-8"))
        self.program(self.folder / "dev", DEV)

    def run_ci(self, closing="12 passed, 0 failed", failing="none"):
        code, text = self.call(self.folder / ".ci" / "run", CLOSING=closing, FAILING=failing)
        return code, text, text.splitlines()[-1]

    def test_passes_when_everything_does(self):
        code, text, last = self.run_ci()
        self.assertEqual((code, last), (0, "12 passed, 0 failed"))
        self.assertEqual([line for line in text.splitlines() if line.startswith("./dev")],
                         ["./dev setup", "./dev lint --changed", "./dev build", "./dev test"])
        self.assertRegex(text, r"Times:\n  Setup +\d+ s\n  Lint of what changed +\d+ s\n  Build +\d+ s\n  Tests +\d+ s\n")
        self.assertEqual(text.count(" passed, "), 1)

    def test_fails_with_the_tests(self):
        self.assertEqual(self.run_ci("11 passed, 1 failed")[::2], (1, "11 passed, 1 failed"))

    def test_fails_with_any_step(self):
        for step in ("setup", "lint --changed"):
            code, text, last = self.run_ci(failing=step)
            self.assertEqual((code, last), (1, "12 passed, 1 failed"), text)
            self.assertIn("FAILED: ", text)
            self.assertIn("./dev test", text)

    def test_fails_without_tests_when_nothing_is_built(self):
        code, text, last = self.run_ci(failing="build")
        self.assertEqual((code, last), (1, "0 passed, 1 failed"))
        self.assertNotIn("./dev test", text)

    def test_fails_when_the_tests_do_not_close(self):
        for closing, failing in (("Segmentation", "none"), ("", "none"), ("12 passed, 0 failed", "test")):
            code, text, last = self.run_ci(closing, failing)
            self.assertEqual((code, last), (1, "0 passed, 1 failed"), text)

    def test_prints_the_end_of_first_tries(self):
        keeping = DEV.replace("test)", "test)\n        seq 1000 >build/logs/first-try-x86-a_tests.log")
        self.program(self.folder / "dev", keeping)
        code, text, last = self.run_ci()
        self.assertEqual((code, last), (0, "12 passed, 0 failed"))
        self.assertIn("first-try-x86-a_tests.log", text)
        self.assertIn("    | 1000\n", text)
        self.assertNotIn("    | 1\n", text)
        self.program(self.folder / "dev", DEV)
        self.assertNotIn("first-try", self.run_ci()[1])
