"""Test modules of Python tell of their cases so that the summary sees what became of each."""
import contextlib
import io
import os
import unittest
import unittest.mock

import cases
from judge import judge


def run(**methods):
    """What the summary makes of a class with these methods, and the exit code."""
    suite = unittest.defaultTestLoader.loadTestsFromTestCase(type("Some", (unittest.TestCase,), methods))
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        code = cases.run(suite)
    return judge("some", printed.getvalue(), code == 0), code, printed.getvalue()


def passing(_):
    pass


def failing(self):
    self.fail("no")


def with_a_failing_part(self):
    for number in range(3):
        with self.subTest(number=number):
            self.assertNotEqual(number, 1)


class Told(unittest.TestCase):
    def expect(self, word, output="", **methods):
        """The case `test_it` ends in this way, and another one passes all the same."""
        outcome, code, text = run(test_another=passing, **methods)
        self.assertEqual(sorted(outcome.cases.values()), sorted(["passed", word]), text)
        self.assertEqual(outcome.complaints, [])
        self.assertEqual(code == 0, word != "failed")
        self.assertEqual(outcome.has_passed, word != "failed")
        self.assertIn(output, text)

    def test_that_it_passes(self):
        self.expect("passed", test_it=passing)

    def test_that_it_fails(self):
        self.expect("failed", "AssertionError: no", test_it=failing)

    def test_that_it_raises(self):
        self.expect("failed", "ZeroDivisionError", test_it=lambda _: 1 // 0)

    def test_that_a_part_of_it_fails(self):
        self.expect("failed", "(number=1)", test_it=with_a_failing_part)

    def test_that_it_is_left_out(self):
        self.expect("left out", "no clock", test_it=unittest.skip("no clock")(passing))

    def test_that_it_fails_as_expected(self):
        self.expect("passed", test_it=unittest.expectedFailure(lambda self: self.fail()))

    def test_that_it_should_have_failed(self):
        self.expect("failed", test_it=unittest.expectedFailure(lambda _: None))

    def test_that_its_cleanup_fails(self):
        self.expect("failed", "ZeroDivisionError", test_it=lambda self: self.addCleanup(lambda: 1 // 0))

    def test_that_the_class_cannot_begin(self):
        outcome, code, _ = run(setUpClass=classmethod(failing), test_it=passing)
        self.assertEqual((code, outcome.has_passed), (1, False))
        self.assertIn("it ran 0 of the 1 cases that it lists", outcome.complaints)

    def test_that_the_class_cannot_end(self):
        outcome, code, _ = run(tearDownClass=classmethod(failing), test_it=passing)
        self.assertEqual((code, outcome.has_passed), (1, False))

    def test_that_a_whole_class_is_left_out(self):
        outcome, _, _ = run(setUpClass=classmethod(lambda cls: cls.skipTest(cls, "no clock")), test_it=passing)
        self.assertFalse(outcome.has_passed)

    def test_that_there_is_no_case(self):
        outcome, code, _ = run()
        self.assertEqual((code, outcome.has_passed), (1, False))

    def test_that_a_module_is_not_there(self):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            code = cases.run(unittest.defaultTestLoader.loadTestsFromNames(["no_such_module"]))
        self.assertEqual((code, judge("some", printed.getvalue(), False).has_passed), (1, False))


class Shards(unittest.TestCase):
    METHODS = {f"test_{number}": passing for number in range(7)}

    def shard(self, index, total=3):
        with unittest.mock.patch.dict(os.environ, GTEST_TOTAL_SHARDS=str(total), GTEST_SHARD_INDEX=str(index)):
            outcome, code, text = run(**self.METHODS)
        self.assertEqual((code, outcome.complaints), (0, []), text)
        return outcome

    def test_have_each_case_once(self):
        outcomes = [self.shard(index) for index in range(3)]
        self.assertEqual([outcome.shard for outcome in outcomes], [(0, 3), (1, 3), (2, 3)])
        self.assertEqual(sorted(name.split(".")[-1] for outcome in outcomes for name in outcome.cases), sorted(self.METHODS))

    def test_are_not_told_of_when_there_is_one(self):
        outcome = self.shard(0, total=1)
        self.assertEqual((outcome.shard, len(outcome.cases)), (None, 7))
