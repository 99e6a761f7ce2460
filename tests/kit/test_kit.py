"""A kit as it is handed out: unpacked where no build is in sight, run as it is, with tampered programs in it, interrupted and
killed."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import zipfile

import make_kit
import workstation
from workstation import running, session_processes, wait_until, windows

BUILD = pathlib.Path(os.environ["KANDORA_BUILD"])
TESTS = ["check_tests", "cost_tests", "kit_tests", "library_failure_tests", "simulators_common_tests"]
# What each of these programs is made to do, and what the kit must say of it.
TAMPERED = {
    "check_tests": ("silence", "es zählt seine Fälle nicht auf; seine Schlusszeile fehlt"),
    "library_failure_tests": ("fewer", "1 Fälle bestanden, 7 müssten es sein"),
    "simulators_common_tests": ("crash", "A.Case0 kam nicht zum Ende"),
    "cost_tests": ("hang", "es kam nach 2 s nicht zum Ende"),
    "kit_tests": (None, "es liess sich nicht starten"),
}
CLASSES = "HKLM\\Software\\Classes\\"
COMPLETE, FAILED, INCOMPLETE = 0, 1, 2


def drive():
    return pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c"


class Kit:
    """An unpacked kit."""

    def __init__(self, archive, name):
        with zipfile.ZipFile(archive) as packed:
            packed.extractall(drive() / name)
        self.folder, = (drive() / name).iterdir()
        self.plan = json.loads((self.folder / "pruefen.json").read_text(encoding="utf-8"))
        self.report_file = drive() / f"{name}.txt"
        self.output_file = drive() / f"{name}.log"
        self.content = self.files()

    def files(self):
        return {str(path.relative_to(self.folder)) for path in self.folder.rglob("*")}

    def command(self, *arguments):
        program = self.folder / "pruefen.exe"
        return [str(workstation.options.loader), "C:\\" + str(program.relative_to(drive())).replace("/", "\\"),
                "--report", "C:\\" + self.report_file.name, *arguments]

    def run(self, *arguments):
        """Exit code, what it printed, and the report's part for programs."""
        self.report_file.unlink(missing_ok=True)
        with running(self.command(*arguments), self.output_file) as process:
            process.wait(workstation.LIMIT)
        output = self.output_file.read_text(encoding="utf-8")
        report = {}
        if self.report_file.exists():
            report = json.loads(self.report_file.read_text(encoding="utf-8-sig").partition("(JSON) ====")[2])
        return process.returncode, output, report

    def place(self, test):
        return self.folder / next(each["program"] for each in self.plan["tests"] if each["name"] == test)

    def tamper(self, test, play):
        """Puts something else in the place of a test program."""
        place = self.place(test)
        if play is None:
            place.unlink()
        else:
            shutil.copy(BUILD / "tests" / "kit" / "kit_tests.exe", place)
            place.with_name(place.name + ".txt").write_text(play, encoding="ascii")

    def change_plan(self, test, **values):
        next(each for each in self.plan["tests"] if each["name"] == test).update(values)
        (self.folder / "pruefen.json").write_text(json.dumps(self.plan), encoding="utf-8")

    def processes(self):
        return [words for _, words in session_processes() if self.folder.name in words]


def results_of(report):
    return {each["name"]: each for each in report["ergebnisse"]}


class KitRun(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory(dir=workstation.options.work)
        cls.archive = cls.make("Prüfpaket")
        # The drives through which the build could be seen.
        for name in ("k:", "z:"):
            (drive().parent / "dosdevices" / name).unlink()

    @classmethod
    def make(cls, name):
        """A kit of a few tests, in a folder of that name."""
        folder = pathlib.Path(cls.work.name, name)
        subprocess.run([sys.executable, make_kit.__file__, str(BUILD), str(folder), "--bare", "--only", *TESTS], check=True,
                       stdout=subprocess.DEVNULL)
        archive, = folder.iterdir()
        return archive

    @classmethod
    def tearDownClass(cls):
        cls.work.cleanup()

    def tearDown(self):
        for key in ("Kandora.cBeleg", "FibuNT.Mandant"):
            windows("reg.exe", "delete", CLASSES + key, "/f", expected=None)

    def assert_left_nothing(self, kit):
        self.assertEqual(kit.files(), kit.content)
        self.assertEqual(kit.processes(), [])

    def value_of(self, key):
        found = windows("reg.exe", "query", CLASSES + key, "/ve", expected=None)
        return found.split("REG_SZ")[1].strip() if "REG_SZ" in found else None

    def start_hanging(self, kit):
        """A run that waits for ever for a program, after something was registered and something else changed."""
        kit.tamper("simulators_common_tests", "hang")
        windows("reg.exe", "add", CLASSES + "Kandora.cBeleg", "/ve", "/d", "vorher", "/f")
        kit.content = kit.files()
        context = running(kit.command("--yes", "--only", "simulators_common_tests"), kit.output_file)
        process = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        log = kit.folder / "Arbeit" / "simulators_common_tests.log"
        wait_until(lambda: log.exists() and "A.Hangs" in log.read_text(), "the program hangs")
        windows("reg.exe", "add", CLASSES + "Kandora.cBeleg", "/ve", "/d", "verändert", "/f")
        windows("reg.exe", "add", CLASSES + "FibuNT.Mandant", "/ve", "/d", "neu", "/f")
        return process

    def assert_given_back(self, kit):
        self.assertEqual(self.value_of("Kandora.cBeleg"), "vorher")
        self.assertIsNone(self.value_of("FibuNT.Mandant"))
        self.assert_left_nothing(kit)

    def test_kit_as_it_is(self):
        kit = Kit(self.archive, "Prüfung von Hand")
        code, output, report = kit.run("--yes", "--only", *TESTS)
        self.assertEqual(code, COMPLETE, output)
        self.assertEqual({name: (each["ergebnis"], each["faelle"]) for name, each in results_of(report).items()},
                         {test["name"]: ("bestanden", test["cases"]) for test in kit.plan["tests"]})
        self.assertIn("Ergebnis: 5 bestanden, 0 gescheitert, 0 ausgelassen; ", output)
        self.assertNotIn("\r\r", output.replace("\n", ""))
        self.assertRegex(report["windows"]["ole32.dll"], r"^\d+\.\d+\.")
        self.assert_left_nothing(kit)

    def test_made_again_it_has_the_same_bytes(self):
        self.assertEqual(self.make("Noch einmal").read_bytes(), self.archive.read_bytes())

    def test_nobody_agrees_where_nobody_can_be_asked(self):
        kit = Kit(self.archive, "Ungefragt")
        code, _, report = kit.run("--only", "check_tests", "simulators_common_tests")
        self.assertEqual(code, COMPLETE)
        self.assertEqual(results_of(report)["simulators_common_tests"]["hinweis"],
                         "die Registrierung des Rechners soll unberührt bleiben")
        self.assertEqual(results_of(report)["check_tests"]["ergebnis"], "bestanden")

    def test_command_line(self):
        kit = Kit(self.archive, "Befehlszeile")
        code, output, _ = kit.run("--list")
        self.assertEqual(code, COMPLETE)
        cases = next(test["cases"] for test in kit.plan["tests"] if test["name"] == "check_tests")
        self.assertIn(f"check_tests: {cases} Fälle, etwa 10 Sekunden", output)
        self.assertIn("  year_test: braucht Python", output)
        code, output, _ = kit.run("--only", "gibt_es_nicht")
        self.assertEqual(code, INCOMPLETE)
        self.assertIn("Unbekannter Test «gibt_es_nicht»", output)
        (kit.folder / "pruefen.json").unlink()
        code, output, _ = kit.run("--yes")
        self.assertEqual(code, INCOMPLETE)
        self.assertIn("Neben pruefen.exe fehlt pruefen.json", output)

    def test_tampered_programs(self):
        kit = Kit(self.archive, "Verändert")
        for test, (play, _) in TAMPERED.items():
            kit.tamper(test, play)
        kit.change_plan("cost_tests", limit=2)
        kit.content = kit.files()
        code, output, report = kit.run("--yes", "--only", *TAMPERED)
        self.assertEqual(code, FAILED, output)
        results = results_of(report)
        self.assertEqual({name: each["ergebnis"] for name, each in results.items()}, dict.fromkeys(TAMPERED, "gescheitert"))
        for test, (_, complaint) in TAMPERED.items():
            with self.subTest(test):
                self.assertIn(complaint, results[test]["hinweis"])
        # The log of what failed is in the report.
        self.assertIn("[ RUN      ] A.Hangs", kit.report_file.read_text(encoding="utf-8-sig"))
        self.assert_left_nothing(kit)

    def test_interrupted(self):
        kit = Kit(self.archive, "Abgebrochen")
        process = self.start_hanging(kit)
        process.send_signal(signal.SIGINT)
        wait_until(lambda: process.poll() is not None, "the run ends")
        self.assertEqual(process.returncode, INCOMPLETE)
        self.assertIn("Abgebrochen; es wird alles zurückgegeben.", kit.output_file.read_text(encoding="utf-8"))
        self.assertIn("; abgebrochen", kit.report_file.read_text(encoding="utf-8-sig"))
        self.assert_given_back(kit)

    def test_killed(self):
        kit = Kit(self.archive, "Getötet")
        process = self.start_hanging(kit)
        process.kill()
        process.wait()
        wait_until(lambda: not kit.processes(), "what it has started goes with it")
        self.assertTrue((kit.folder / "Zurueckgeben.json").exists())
        code, output, _ = kit.run("--only", "check_tests")
        self.assertEqual(code, COMPLETE, output)
        self.assertIn("Ein früherer Lauf kam nicht zum Ende; was er verändert hatte, ist zurückgegeben.", output)
        self.assert_given_back(kit)
