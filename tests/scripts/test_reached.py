"""What the report of coverage says, of a small record in the words of gcovr."""
import contextlib
import io
import json
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

import reached


def line(number, count, *branches, **more):
    return {"line_number": number, "count": count,
            "branches": [{"count": taken, "fallthrough": False, "throw": False} for taken in branches],
            "gcovr/noncode": False, "gcovr/excluded": False} | more


def function(begin, name):
    return {"lineno": begin, "name": name, "execution_count": 1}


METHOD = "kandora::Some::Method(std::vector<int, std::allocator<int> > const&) const"
RECORD = {"gcovr/format_version": "0.3", "files": [
    {"file": "src/support/Text.cpp", "functions": [
        function(20, f"{METHOD}::{{lambda(int)#1}}::operator()(int) const"), function(18, f"int {METHOD}"),
        function(4, "kandora::(anonymous namespace)::Hidden(int)")],
     "lines": [line(4, 3), line(5, 3, 3, 0), line(6, 0), line(7, 0, **{"gcovr/noncode": True}), line(18, 1), line(19, 1, 1, 1),
               line(20, 0, 0, 0), line(21, 0, **{"gcovr/excluded": True})]},
    {"file": "src/model/Plain.h", "functions": [
        function(2, "double kandora::Twice<double>(double)"), function(2, "int kandora::Twice<int>(int)")],
     "lines": [line(2, 5), line(3, 5, 5, 5)]}]}
REASONS = """# What the tests reach

| Folder | Lines |
|---|---|
| `src/support/` | 4 of 6 |

| Function | What | Why |
|---|---|---|
| `Other::Gone`, `Hidden` | a negative number | nobody has one |
"""


class Report(unittest.TestCase):
    def report(self, reasons=REASONS):
        with tempfile.TemporaryDirectory() as folder:
            record, text = pathlib.Path(folder, "record.json"), pathlib.Path(folder, "reasons.md")
            record.write_text(json.dumps(RECORD), encoding="utf-8")
            text.write_text(reasons, encoding="utf-8")
            command = ["reached.py", str(record), str(text), "src/support", "src/model", "src/ui"]
            with mock.patch.object(sys, "argv", command), contextlib.redirect_stdout(io.StringIO()) as said:
                reached.main()
        return said.getvalue().splitlines()

    def test_counts_lines_and_branches_of_each_folder(self):
        rows = {row.split()[0]: row.split()[1:] for row in self.report()[1:5]}
        self.assertEqual(rows["src/support"], "4 of 6 66.7 % 3 of 6 50.0 %".split())
        self.assertEqual(rows["src/model"], "2 of 2 100.0 % 2 of 2 100.0 %".split())
        self.assertEqual(rows["src/ui"], ["none", "none"])
        self.assertEqual(rows["all"], "6 of 8 75.0 % 5 of 8 62.5 %".split())

    def test_names_each_function_with_its_reason(self):
        said = self.report()
        self.assertIn("    Hidden: 1 line, 1 branch; a negative number; nobody has one", said)
        # Lines of a lambda count for the function around it.
        self.assertIn("    Some::Method: 1 line, 2 branches; NO REASON IS GIVEN", said)
        self.assertEqual(sum("Some::Method" in text for text in said), 1)
        self.assertIn("  src/support", said)
        self.assertNotIn("  src/model", said)

    def test_tells_of_reasons_that_nothing_needs(self):
        self.assertEqual(self.report()[-1], "  Reached by now, so that no reason is needed: Other::Gone")
        self.assertNotIn("Reached by now", "\n".join(self.report(REASONS.replace("`Other::Gone`, ", ""))))

    def test_takes_folders_for_no_functions(self):
        self.assertEqual(set(reached.read_reasons(REASONS)), {"Other::Gone", "Hidden"})

    def test_shortens_names_to_class_and_function(self):
        for name, short in (("main", "main"),
                            ("kandora::CIniFile::~CIniFile()", "CIniFile::~CIniFile"),
                            ("std::function<void (int)> kandora::module::Make(std::pair<int, void (*)(char)>)", "module::Make"),
                            ("decltype(auto) kandora::(anonymous namespace)::Member<kandora::F()::{lambda()#1}>(int)",
                             "Member"),
                            ("kandora::Text[abi:cxx11](int)", "Text"),
                            ("bool kandora::operator==(kandora::Variant const&, int)", "operator"),
                            ("kandora::DllMake::{lambda(auto:1&)#1}::operator()<int>(int&) const", "DllMake"),
                            ("_ZN7kandora4Form9ProcedureEP6HWND__jjl@16", "Form::Procedure"),
                            ("_ZN7kandora12_GLOBAL__N_13RunEPv@4", "Run"),
                            ("std::__throw_logic_error(char const*)", "std::__throw_logic_error")):
            with self.subTest(name=name):
                self.assertEqual(reached.short_name(reached.demangled(name)), short)

    def test_has_a_reason_for_what_the_project_names(self):
        reasons = reached.read_reasons((pathlib.Path(__file__).parents[2] / "docs" / "coverage.md").read_text(encoding="utf-8"))
        self.assertGreater(len(reasons), 40)
        self.assertIn("error 7", reasons["LateBound::Items"])
