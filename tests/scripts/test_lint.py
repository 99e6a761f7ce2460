"""What lint finds and what it looks at. A small project and stand-ins for the programs that judge; nothing is compiled."""
import contextlib
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

import tidy

ROOT = pathlib.Path(__file__).resolve().parents[2]

PROJECT = {
    ".clang-tidy": "Checks: all\n",
    "product/Sum.h": "int Sum();\n",
    "product/Sum.cpp": '#include "product/Sum.h"\n#include <vector>\nint Sum() { return 1; }\n',
    "product/Form.cpp": '#include "Sum.h"\n#include "Texts.h"\nint Form() { return Sum(); }\n',
    "product/Texts.h": '#  include "../product/Deep.h"\n',
    "product/Deep.h": "// deep\n",
    "product/Alone.cpp": "int alone;\n",
    "product/Wide.cpp": "int width = sizeof(void*);\n",
    "tests/SumTest.cpp": '#include "product/Sum.h"\n#include "Made.h"\n',
    "tests/WideTest.cpp": '#include "Wide.h"\n',
    "tests/Wide.h": "#ifdef _WIN64\n#endif\n",
    "build/lint-x86/made/Made.h": "// generated\n",
    "run.sh": "#!/bin/bash\ntrue\n",
    "check.py": "print()\n",
    ".github/workflows/ci.yml": "on: push\n",
    # These have tests of their own.
    "scripts/workflows.py": "print()\n",
    "packaging/check_package.py": "import pathlib\n\nif (pathlib.Path(__file__).parent / 'broken').exists():\n"
                                  "    raise SystemExit('a wrong table')\n",
}
SOURCES = sorted(path for path in PROJECT if path.endswith(".cpp"))

# Finds the word PLANTED in a source and in what it includes.
VERSION = "22.1"
CLANG_TIDY = r"""#!/bin/bash
if [[ $1 == --version ]]; then
    echo "VERSION"
    exit
fi
echo "$*" >>"$CALLS.words"
only="" target=x64 result=0
while [[ $1 != -- ]]; do
    [[ $1 != "--checks=-bugprone-*,"* ]] || only=" only warnings"
    source=$1
    shift
done
[[ $* != *" --target=i686-w64-mingw32 "* ]] || target=x86
echo "${source#"$PWD/"} $target$only" >>"$CALLS"
text=$(<"$source")
for file in "$source" product/*.h; do
    if [[ $file == "$source" || $text == *"${file#product/}"* ]] && [[ $(<"$file") == *PLANTED* ]]; then
        line=$(grep -n PLANTED "$file")
        echo "$PWD/${file#"$PWD/"}:${line%%:*}:1: error: this was planted [fake-check,-warnings-as-errors]"
        result=1
    fi
done
[[ $text != *CRASH* ]] || kill -SEGV $$
exit "$result"
""".replace("VERSION", VERSION)

COMPILER_SAYS = """#include <...> search starts here:
 /opt/gcc/include/c++
 /opt/gcc/include
End of search list.
"""
COMPILER = f"#!/bin/sh\ncat >&2 <<END\n{COMPILER_SAYS}END\n"

# Judges of other files: fail when one of them holds the word.
JUDGE = r"""#!/bin/sh
echo "$0 $*" >>"$CALLS.judges"
found=$(grep -sH MISPLACED -- "$@")
[ -z "$found" ] || { echo "$found"; exit 1; }
"""

# The packages of those that have no version of their own.
JUDGES = "shellcheck flake8 yamllint msitools gcab"

REAL_RUN = subprocess.run

SHELL = r"""
set -euo pipefail
real=$1
source "$real/scripts/setup.sh"
source "$real/scripts/build.sh"
source "$real/scripts/lint.sh"
shift
root=$PROJECT build=$PROJECT/build logs=$PROJECT/build/logs
missing_packages() {
    local name
    for name in "$@"; do
        [[ " ${INSTALLED:-} " == *" $name "* ]] || echo "$name"
    done
}
install_packages() {
    echo "install $*" >>"$CALLS.judges"
    [[ " ${UNAVAILABLE:-} " != *" ${!#} "* ]]
}
prepare_analysis() { [[ ${PREPARED:-yes} == yes ]]; }
"$@"
"""


class Lint(unittest.TestCase):
    """The whole command, with a program for every step. A few sources are enough."""
    sources = ["product/Alone.cpp", "product/Sum.cpp", "tests/SumTest.cpp"]

    def setUp(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.project, self.calls, self.bin = folder / "project", folder / "calls", folder / "bin"
        for path, text in PROJECT.items():
            self.write(path, text)
        (self.project / "run.sh").chmod(0o755)
        for name in ("tidy.py", "due.py", "floors.py"):
            shutil.copy(ROOT / "scripts" / name, self.project / "scripts" / name)
        self.bin.mkdir()
        programs = {"clang-tidy-22": CLANG_TIDY, "clang-tidy-19": CLANG_TIDY, "i686-w64-mingw32-g++-posix": COMPILER,
                    "x86_64-w64-mingw32-g++-posix": COMPILER, "clang-format-22": JUDGE, "clang-format-19": JUDGE,
                    "shellcheck": JUDGE, "flake8": JUDGE, "yamllint": JUDGE}
        for name, text in programs.items():
            (self.bin / name).write_text(text, encoding="utf-8")
            (self.bin / name).chmod(0o755)
        (self.bin / "python3").symlink_to(sys.executable)
        self.configure()

    def write(self, path, text):
        file = self.project / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def append(self, path, text):
        with open(self.project / path, "a", encoding="utf-8") as file:
            file.write(text)

    def configure(self, options="-DSOME=1", more=()):
        """What CMake leaves behind."""
        for architecture in ("x86", "x64"):
            build = self.project / "build" / f"lint-{architecture}"
            entries = []
            for target, path in [*((os.path.dirname(path), path) for path in self.sources), *more]:
                entries.append({"directory": str(build), "file": str(self.project / path),
                                "output": f"{target}/CMakeFiles/some.dir/{path}.obj",
                                "command": f"g++ -I{self.project} -isystem {build}/made {options} -DOF={target} -Werror -MD "
                                           f"-MF some.d -o some.obj -c {self.project / path}"})
            entries.append({"directory": str(build), "file": "/usr/src/googletest/all.cpp", "command": "g++ -c all.cpp"})
            build.mkdir(exist_ok=True)
            (build / "compile_commands.json").write_text(json.dumps(entries), encoding="utf-8")

    def lint(self, *arguments, function="run_lint", **environment):
        """Exit code, what was said, and what clang-tidy was called for."""
        for file in self.calls.parent.glob("calls*"):
            file.unlink()
        done = subprocess.run(["bash", "-c", SHELL, "bash", str(ROOT), function, *arguments], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                              env=os.environ | {"PATH": f"{self.bin}:{os.environ['PATH']}", "CALLS": str(self.calls),
                                                "PROJECT": str(self.project),
                                                "INSTALLED": f"{JUDGES} clang-format-22 clang-tidy-22"} | environment)
        return done.returncode, done.stdout, self.lines("calls")

    def lines(self, name):
        file = self.calls.parent / name
        return sorted(file.read_text(encoding="utf-8").splitlines()) if file.exists() else []

    def expect_findings(self, text, *arguments, **environment):
        code, said, calls = self.lint(*arguments, **environment)
        self.assertNotEqual(code, 0, said)
        self.assertIn(text, said)
        return said, calls

    def expect_analysed(self, sources, *arguments, **environment):
        code, said, calls = self.lint(*arguments, **environment)
        self.assertEqual(code, 0, said)
        self.assertEqual(sorted({call.split()[0] for call in calls}), sorted(sources), said)
        self.assertIn(f"{len(self.sources)} sources, {len(sources)} analysed, 0 with findings", said)
        return calls


class Analysis(Lint):
    """Only the analysis, and no program at all."""
    sources = SOURCES

    def setUp(self):
        super().setUp()
        self.enterContext(mock.patch.object(tidy.Linter, "check", self.check))
        self.enterContext(mock.patch.object(tidy.subprocess, "run", self.run_program))

    def run_program(self, words, **_):
        """What is asked of clang-tidy and of the compiler before the analysis."""
        said = self.version if words[-1] == "--version" else ""
        return subprocess.CompletedProcess(words, 0, said + "\n", COMPILER_SAYS)

    def check(self, job):
        self.calls_made.append(f"{job.source.path} {job.architecture}{' only warnings' if job.options else ''}")
        self.words.append(" ".join(job.command("clang-tidy", str(self.project))))
        return ""

    def lint(self, *arguments, version=VERSION):
        self.version, self.calls_made, self.words = version, [], []
        command = ["tidy.py", "--clang-tidy", "clang-tidy-22", "--root", str(self.project), "--build",
                   str(self.project / "build"), "--base", str(self.project / "scripts" / "lint-base.json"), *arguments]
        with mock.patch.object(sys, "argv", command), contextlib.redirect_stdout(io.StringIO()) as said:
            code = tidy.main()
        return code, said.getvalue(), sorted(self.calls_made)

    def whole_command(self, text, *arguments):
        """Expects a finding of the command itself."""
        with mock.patch.object(tidy.subprocess, "run", REAL_RUN), mock.patch.object(type(self), "lint", Lint.lint):
            self.expect_findings(text, *arguments)

    def forget(self):
        """As in a fresh clone."""
        (self.project / "build" / "lint-clean-jobs").unlink()


class Findings(Lint):
    def test_are_errors(self):
        self.append("product/Alone.cpp", "// PLANTED\n")
        said, _ = self.expect_findings("product/Alone.cpp:2:1: error: this was planted [fake-check,-warnings-as-errors]")
        self.assertIn("FAILED", said)
        # They come again until they are mended.
        _, calls = self.expect_findings("product/Alone.cpp:2:1: error: this was planted")
        self.assertEqual(calls, ["product/Alone.cpp x64 only warnings", "product/Alone.cpp x86"])

    def test_of_a_header_are_told_once(self):
        self.append("product/Sum.h", "// PLANTED\n")
        said, _ = self.expect_findings("product/Sum.h:2:1: error")
        self.assertEqual(said.count("product/Sum.h:2:1"), 1, said)

    def test_are_what_else_goes_wrong(self):
        self.append("product/Alone.cpp", "// CRASH\n")
        said, _ = self.expect_findings("clang-tidy ended with -11")
        self.assertIn("product/Alone.cpp (x86)", said)

    def expect_misplaced(self, path, comment, command, judged):
        """What stands where it may not is found, by a command that is given all files of its kind."""
        self.append(path, f"{comment} MISPLACED\n")
        self.expect_findings(f"{path}:{comment} MISPLACED")
        calls = [line for line in self.lines("calls.judges") if command in line]
        self.assertTrue(calls and judged in calls[0], calls)

    def test_of_the_formatting(self):
        self.expect_misplaced("product/Deep.h", "//", "clang-format-22 --dry-run --Werror ", "product/Alone.cpp")

    def test_of_shell_scripts(self):
        self.expect_misplaced("run.sh", "#", "shellcheck ", "run.sh")

    def test_of_python_scripts(self):
        self.expect_misplaced("check.py", "#", "flake8 --config ", "scripts/tidy.py")

    def test_of_workflows(self):
        self.expect_misplaced(".github/workflows/ci.yml", "#", "yamllint --strict --config-file ", ".github/workflows/ci.yml")

    def test_of_the_floors(self):
        self.write("src/automation/Text.cpp", '#include "support/Log.h"\n')
        self.write("src/support/Log.h", "")
        self.expect_findings("src/automation/Text.cpp:1: automation may not include src/support/Log.h")

    def test_of_the_packages_tables(self):
        self.write("packaging/broken", "")
        self.expect_findings("a wrong table")

    def test_of_one_kind_do_not_hide_another(self):
        self.append("run.sh", "# MISPLACED\n")
        self.append("product/Alone.cpp", "// PLANTED\n")
        said, _ = self.expect_findings("this was planted")
        self.assertIn("run.sh:# MISPLACED", said)

    def test_are_needed_for_a_failure(self):
        self.assertEqual(self.lint()[0], 0)

    def test_cannot_be_had_when_nothing_is_prepared(self):
        said, calls = self.expect_findings("FAILED", PREPARED="no")
        self.assertEqual(calls, [], said)

    def test_cannot_be_had_without_sources(self):
        for architecture in ("x86", "x64"):
            self.write(f"build/lint-{architecture}/compile_commands.json", "[]")
        self.expect_findings("No sources in the compile database.")

    def test_are_not_what_an_unknown_word_means(self):
        self.expect_findings("lint does not know '--change'", "--change")


class Analysed(Analysis):
    def test_is_each_source_once_and_its_warnings_for_the_other_architecture(self):
        calls = self.expect_analysed(SOURCES)
        self.assertEqual(calls, sorted([
            *(f"{source} x86" for source in SOURCES),
            *(f"product/{name}.cpp x64 only warnings" for name in ("Alone", "Form", "Sum")),
            # These depend on the width of a pointer.
            "product/Wide.cpp x64", "tests/WideTest.cpp x64"]))

    def test_is_what_its_own_folder_compiles(self):
        self.configure(more=[("tests", "product/Alone.cpp"), ("another", "product/Alone.cpp")])
        calls = self.expect_analysed(SOURCES)
        self.assertEqual(calls.count("product/Alone.cpp x86"), 1)
        own = [line for line in self.words if "Alone.cpp" in line]
        self.assertTrue(own and all("-DOF=product" in line for line in own), own)

    def test_is_what_clang_understands_of_the_commands(self):
        self.lint()
        line = next(line for line in self.words if "SumTest.cpp" in line)
        self.assertIn("--warnings-as-errors=*", line)
        self.assertIn("-isystem /opt/gcc/include/c++ ", line)
        self.assertRegex(line, r" -- .*-DSOME=1.* -analyzer-config -Xclang mode=shallow")
        self.assertNotRegex(line, r" -- .*(-Werror|some\.d|some\.obj|SumTest| -c | -MD)")
        product = next(line for line in self.words if "Sum.cpp" in line)
        self.assertNotIn("mode=shallow", product)

    def test_is_not_again_what_was_clean(self):
        self.expect_analysed(SOURCES)
        self.expect_analysed([])

    def test_is_what_includes_something_new(self):
        for changed, sources in (("product/Alone.cpp", ["product/Alone.cpp"]), ("product/Deep.h", ["product/Form.cpp"]),
                                 ("product/Sum.h", ["product/Form.cpp", "product/Sum.cpp", "tests/SumTest.cpp"]),
                                 ("build/lint-x86/made/Made.h", ["tests/SumTest.cpp"]), (".clang-tidy", SOURCES)):
            with self.subTest(changed=changed):
                self.lint()
                self.append(changed, "// new\n")
                self.expect_analysed(sources)

    def test_is_what_is_compiled_otherwise(self):
        self.lint()
        self.configure("-DSOME=2")
        self.expect_analysed(SOURCES)

    def test_is_everything_with_another_clang(self):
        self.lint()
        self.expect_analysed(SOURCES, version="22.2")


class Changed(Analysis):
    def setUp(self):
        super().setUp()
        self.expect_analysed(SOURCES, "--record")
        self.forget()

    def expect_changed(self, *sources, **environment):
        return self.expect_analysed(sources, "--changed", **environment)

    def test_is_nothing_at_first(self):
        self.expect_changed()

    def test_is_not_all_that_there_is_to_lint(self):
        self.expect_analysed(SOURCES)

    def test_is_a_source(self):
        self.append("product/Alone.cpp", "// new\n")
        calls = self.expect_changed("product/Alone.cpp")
        self.assertEqual(calls, ["product/Alone.cpp x64 only warnings", "product/Alone.cpp x86"])

    def test_is_a_new_source(self):
        self.write("product/New.cpp", "int fresh;\n")
        self.configure(more=[("product", "product/New.cpp")])
        _, _, calls = self.lint("--changed")
        self.assertEqual({call.split()[0] for call in calls}, {"product/New.cpp"})

    def test_is_a_header_in_one_source(self):
        for header, source in (("product/Sum.h", "product/Sum.cpp"), ("product/Deep.h", "product/Form.cpp")):
            with self.subTest(header=header):
                self.append(header, "// new\n")
                self.expect_changed(source)
                self.lint("--record")
                self.forget()

    def test_is_a_header_in_a_source_that_has_changed_too(self):
        self.append("product/Sum.h", "// new\n")
        self.append("product/Form.cpp", "// new\n")
        self.expect_changed("product/Form.cpp")

    def test_is_found_fault_with(self):
        self.append("product/Sum.h", "// PLANTED\n")
        self.whole_command("product/Sum.h:2:1: error", "--changed")
        # Of all sources that include the header, only this one.
        self.assertEqual({call.split()[0] for call in self.lines("calls")}, {"product/Sum.cpp"})

    def test_is_all_of_it_without_a_base(self):
        for text in (None, "", "{", "[]", "{}", '{"texts": {}}'):
            with self.subTest(text=text):
                if text is None:
                    (self.project / "scripts" / "lint-base.json").unlink()
                else:
                    self.write("scripts/lint-base.json", text)
                self.expect_changed(*SOURCES)
                self.forget()

    def test_is_all_of_it_with_other_checks(self):
        self.append(".clang-tidy", "# more\n")
        self.expect_changed(*SOURCES)

    def test_is_what_is_compiled_otherwise(self):
        self.configure("-DSOME=2")
        self.expect_changed(*SOURCES)

    def test_is_not_what_another_clang_or_checkout_would_see(self):
        self.expect_changed(version="23")
        elsewhere = self.project.parent / "elsewhere"
        self.project.rename(elsewhere)
        self.project = elsewhere
        self.configure()
        self.expect_changed()

    def test_is_not_what_is_only_generated(self):
        self.append("build/lint-x86/made/Made.h", "// new\n")
        self.expect_changed()

    def test_is_known_until_something_is_recorded(self):
        self.append("product/Alone.cpp", "// new\n")
        self.expect_changed("product/Alone.cpp")
        self.forget()
        self.expect_analysed(["product/Alone.cpp"], "--changed", "--record")
        self.forget()
        self.expect_changed()

    def test_is_not_recorded_with_findings(self):
        base = self.project / "scripts" / "lint-base.json"
        before = base.read_text(encoding="utf-8")
        self.append("product/Alone.cpp", "// PLANTED\n")
        self.whole_command("this was planted", "--record")
        self.assertEqual(base.read_text(encoding="utf-8"), before)


class Clang(Lint):
    def format_and_lint(self, **environment):
        _, said, _ = self.lint(**environment)
        return said, self.lines("calls.judges")

    def test_is_the_reference(self):
        said, judges = self.format_and_lint(INSTALLED=f"{JUDGES} clang-format-19 clang-tidy-19")
        self.assertIn("install clang-format-22 clang-tidy-22", judges)
        self.assertTrue([line for line in judges if "clang-format-22 --dry-run" in line])
        self.assertNotIn("cannot be had", said)

    def test_is_another_one_where_the_reference_cannot_be_had(self):
        said, judges = self.format_and_lint(INSTALLED=JUDGES, UNAVAILABLE="clang-tidy-22")
        self.assertIn("clang 22 cannot be had; 19 judges instead", said)
        self.assertTrue([line for line in judges if "clang-format-19 --dry-run" in line])
        self.assertIn("0 with findings", said)

    def test_is_needed(self):
        self.expect_findings("can be installed", INSTALLED=JUDGES, UNAVAILABLE="clang-tidy-22 clang-tidy-19")

    def test_formats_in_place(self):
        code, said, _ = self.lint(function="run_format")
        self.assertEqual(code, 0, said)
        self.assertTrue([line for line in self.lines("calls.judges") if "clang-format-22 -i" in line])


class Sources(unittest.TestCase):
    """The project itself."""

    def test_that_are_recorded_are_there(self):
        base = json.loads((ROOT / "scripts" / "lint-base.json").read_text(encoding="utf-8"))
        self.assertGreater(len(base["texts"]), 300)
        self.assertIn("src/archive/ELODMS.cpp", base["texts"])
