"""What the workflows of a hosted CI may do, and what is told of one that does more or that cannot work."""
import contextlib
import io
import pathlib
import tempfile
import unittest

import workflows

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILE = ".github/workflows/ci.yml"
DEV = "    case $command in\n        setup | build | test)\n"
GOOD = """
on: push
jobs:
  build:
    runs-on: linux
    timeout-minutes: 5
    strategy:
      matrix:
        release: [12, 13]
    container: debian:${{ matrix.release }}
    steps:
      - uses: actions/checkout@v4
      - run: ./dev test
  examine:
    needs: [build]
    runs-on: windows
    timeout-minutes: 5
    steps:
      - name: Unpack
        run: tar -xf Kandora-*-pruefung-x86.zip
      - run: for /d %%f in (Kandora-*-pruefung-x86) do %%f\\pruefen.exe --yes --report Bericht.txt
"""


class Workflows(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (self.root / "dev").write_text(DEV, encoding="utf-8")
        (self.root / FILE).parent.mkdir(parents=True)

    def told_of(self, text):
        """Exit code and output."""
        (self.root / FILE).write_text(text, encoding="utf-8")
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            code = workflows.main(str(self.root))
        return code, printed.getvalue()

    def expect_fault(self, fault, old, new):
        self.assertIn(old, GOOD)
        self.assertEqual(self.told_of(GOOD.replace(old, new)), (1, f"{FILE}: {fault}\n"))

    def test_one_that_is_right(self):
        self.assertEqual(self.told_of(GOOD), (0, ""))

    def test_the_one_that_there_is(self):
        jobs = (ROOT / FILE).read_text(encoding="utf-8")
        for part in ("./dev lint", "./dev test", "./dev package", "pruefen.exe --yes --report", "SHA256SUMS"):
            self.assertIn(part, jobs)
        self.assertEqual(list(workflows.faults(ROOT)), [])

    def test_a_text_that_is_none(self):
        code, text = self.told_of("jobs: [\n")
        self.assertEqual(code, 1)
        self.assertTrue(text.startswith(f"{FILE}: is no workflow: "), text)

    def test_a_file_without_jobs(self):
        code, text = self.told_of("on: push\n")
        self.assertEqual(code, 1)
        self.assertTrue(text.startswith(f"{FILE}: is no workflow: "), text)

    def test_a_command_that_dev_does_not_know(self):
        self.expect_fault("build: step 2: './dev tset' is neither ./dev nor pruefen.exe", "./dev test", "./dev tset")

    def test_a_command_of_its_own(self):
        self.expect_fault("build: step 2: 'make all' is neither ./dev nor pruefen.exe", "./dev test", "make all")

    def test_a_command_behind_one_that_may_be(self):
        self.expect_fault("build: step 2: './dev test && make' is neither ./dev nor pruefen.exe", "./dev test",
                          "./dev test && make")

    def test_an_action_without_a_version(self):
        self.expect_fault("build: step 1: 'actions/checkout' has no version", "checkout@v4", "checkout")

    def test_a_step_that_does_nothing(self):
        self.expect_fault("build: step 2: either runs or uses something", "- run: ./dev test", "- name: Test")

    def test_a_job_that_nobody_is(self):
        self.expect_fault("examine: needs 'built', which is not there", "[build]", "[built]")

    def test_a_variable_that_the_matrix_has_not(self):
        self.expect_fault("build: the matrix has no version", "matrix.release", "matrix.version")

    def test_a_job_without_an_end(self):
        self.expect_fault("examine: timeout-minutes is missing", "runs-on: windows\n    timeout-minutes: 5", "runs-on: windows")

    def test_misspelt_words(self):
        self.expect_fault("examine: unknown: need", "    needs:", "    need:")
        self.expect_fault("examine: step 1: unknown: nmae", "- name: Unpack", "- nmae: Unpack")


if __name__ == "__main__":
    unittest.main()
