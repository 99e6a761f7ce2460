"""An installation in which everything is right, and that looking at it leaves it as it was."""
import re
import unittest

from checkstation import CheckStation, files_below, registry
from workstation import windows_path

# What an archive may be asked without anything changing in it.
QUESTIONS = {"Login", "EloWindow", "GetEntryId", "SelectView", "ReadObjMask", "LookupDelimiter", "LookupIndex"}


class Good(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-good")
        cls.station.stop_archive()
        cls.trace = cls.station.folder / "Aufrufe.txt"
        cls.station.register_archive("--trace", windows_path(cls.trace))

    @classmethod
    def tearDownClass(cls):
        cls.station.stop_archive()

    def calls(self):
        return self.trace.read_text(encoding="utf-8").splitlines()

    def test_every_check_is_good(self):
        code, output, errors = self.station.run_text()
        lines = output.splitlines()
        self.assertEqual([line for line in lines[:-1] if not re.fullmatch(r"gut      [^ ].*: .+", line)], [])
        self.assertEqual((lines[-1], code, errors), (f"{len(lines) - 1} gut, 0 Warnungen, 0 Fehler", 0, ""))

    def test_the_json_says_the_same(self):
        _, output, _ = self.station.run_text()
        result = self.station.check()
        self.assertEqual(result.code, 0)
        self.assertEqual(list(result.json),
                         ["programm", "version", "komponente", "pruefungen", "zusammenfassung", "code"])
        self.assertEqual((result.json["programm"], result.json["code"]), ("kandora-check", 0))
        self.assertRegex(result.json["version"], r"^\d+\.\d+\.\d+$")
        self.assertEqual(result.json["komponente"], windows_path(self.station.component))
        self.assertEqual(result.json["zusammenfassung"], {"gut": len(result.checks), "warnungen": 0, "fehler": 0})
        for check in result.checks:
            self.assertEqual(list(check), ["bereich", "name", "ergebnis", "wert", "hinweis"])
            self.assertEqual({type(value) for value in check.values()}, {str})
        self.assertEqual([f"gut      {check['bereich']}: {check['name']}: {check['wert']}" for check in result.checks],
                         output.splitlines()[:-1])

    def test_everything_that_matters_is_looked_at(self):
        result = self.station.check()
        names = [(check["bereich"], check["name"]) for check in result.checks]
        self.assertEqual(len(set(names)), len(names))
        self.assertLessEqual({
            ("Komponente", "Datei"), ("Komponente", "Version"), ("Komponente", "Architektur"),
            ("Komponente", "Registrierung"), ("Komponente", "Typbibliothek Kandora"),
            ("Komponente", "Typbibliothek DmsSolution"), ("Komponente", "Objekt"),
            ("Einstellungen", "Datei"), ("Einstellungen", "Indexzeilen"), ("Archiv", "Klasse"),
            ("Archiv", "Anmeldung"), ("Archiv", "Trennzeichen"), ("Finanzbuchhaltung", "Klasse"),
            ("Finanzbuchhaltung", "Architektur"), ("Finanzbuchhaltung", "Mandant"), ("Ordner", "Druckdatei"),
            ("Ordner", "Protokoll"), ("Schnittstelle", "Typbibliothek"),
        } | {("Einstellungen", f"[{section}]") for section in self.station.settings}
            | {("Archiv", f"Maske {name}") for name in self.station.settings["Maske"]}, set(names))
        options = [check["wert"] for check in result.checks if check["name"].startswith("Option 600/")]
        self.assertEqual(sorted(options), sorted(self.station.option_values().values()))
        # The password is nobody's business.
        password = self.station.settings["Login"]["ELOPW"]
        self.assertFalse([check for check in result.checks if password in check["wert"]])

    def test_nothing_changes(self):
        registered = registry("query", "HKLM\\Software\\Classes\\Kandora.ELOProvider", "/s")
        before = (files_below(self.station.install), files_below(self.station.print_folder),
                  self.station.contents(), self.station.option_values())
        self.assertEqual(self.station.check().code, 0)  # the archive runs from now on
        traced = self.calls()
        self.assertEqual(self.station.check().code, 0)
        after = (files_below(self.station.install), files_below(self.station.print_folder),
                 self.station.contents(), self.station.option_values())
        self.assertEqual(after, before)
        self.assertEqual(registry("query", "HKLM\\Software\\Classes\\Kandora.ELOProvider", "/s"), registered)
        self.assertEqual(self.station.postbox(), [])
        calls = self.calls()[len(traced):]
        self.assertLessEqual({re.match(r"\w+", call)[0] for call in calls}, QUESTIONS)
        logins = [call for call in calls if call.startswith("Login(")]
        self.assertEqual(len(logins), 2)
        self.assertIn('"LOGOUT"', logins[-1])

    def test_the_file_can_be_named(self):
        for file in (self.station.component, self.station.install / "Kandora.ini"):
            with self.subTest(file=file.name):
                result = self.station.check("--component", windows_path(file))
                self.assertEqual((result.code, result.json["komponente"]), (0, windows_path(self.station.component)))

    def test_help_and_version(self):
        code, output, errors = self.station.run_text("--help")
        self.assertEqual((code, errors), (0, ""))
        for option in ("--json", "--probe", "--host-typelib", "--adopt", "--voucher", "--component", "--help",
                       "--version"):
            self.assertIn(option, output)
        version = self.station.check().json["version"]
        self.assertEqual(self.station.run_text("--version"), (0, f"kandora-check {version}\n", ""))

    def test_a_command_line_that_makes_no_sense(self):
        for arguments in (["--prob"], ["--voucher", "26101"], ["--component"], ["etwas"]):
            with self.subTest(arguments=arguments):
                code, output, errors = self.station.run_text(*arguments)
                self.assertEqual((code, output), (2, ""))
                self.assertIn("Hilfe: kandora-check --help", errors)
