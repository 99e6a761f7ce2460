"""Rights are asked for those who work with the component, whoever runs kandora-check; what an elevated run sees differently
is told."""
import re
import unittest

from checkstation import FAILURE, OTHER_PROGRAMS, WARNING, CheckStation, account_control, mode, provider_class, registry
from workstation import windows_path


class Rights(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-rights")

    @classmethod
    def tearDownClass(cls):
        cls.station.stop_archive()

    def assert_named(self, name, path, adjective, bits):
        """Of all users only the one that the list names may do it: this one, whom wine takes for the files' owner."""
        with mode(path, bits):
            elevated = self.station.check()
            self.assertEqual((elevated.faults(), elevated.code), ([("Ordner", name, WARNING)], 1))
            found = elevated.find("Ordner", name)
            self.assertRegex(found["wert"], rf"^{re.escape(windows_path(path))} ist nur für \S+ {adjective}$")
            self.assertIn("Gehören alle dazu", found["hinweis"])
            self.assertEqual(self.station.check_without_elevation().faults(), [])

    def test_who_runs_it(self):
        first = self.station.check().checks[0]
        self.assertEqual((first["bereich"], first["name"], first["ergebnis"]), ("Rechte", "Benutzer", "gut"))
        self.assertRegex(first["wert"], r"^\S+\\\S+, Mitglied der Administratoren, mit erhöhten Rechten$")
        asleep = self.station.check_without_elevation()
        self.assertEqual((asleep.faults(), asleep.code), ([], 0))
        self.assertRegex(asleep.checks[0]["wert"], r"^\S+\\\S+, Mitglied der Administratoren, ohne erhöhte Rechte$")

    def test_only_some_may_write_the_log(self):
        self.assert_named("Protokoll", self.station.install, "beschreibbar", 0o755)

    def test_only_some_may_write_the_print_file(self):
        self.assert_named("Druckdatei", self.station.print_folder, "beschreibbar", 0o755)

    def test_only_some_may_load_the_component(self):
        self.assert_named("Komponente", self.station.component, "ladbar", 0o700)

    def test_only_some_may_read_the_settings(self):
        self.assert_named("Einstellungen", self.station.install / "Kandora.ini", "lesbar", 0o600)

    def test_only_some_may_read_the_placeholder(self):
        self.assert_named("Platzhalter", self.station.placeholder, "lesbar", 0o600)

    def test_nobody_may_write(self):
        with mode(self.station.install, 0o555):
            elevated = self.station.check()
            self.assertEqual(elevated.faults(), [("Ordner", "Protokoll", FAILURE)])
            self.assertIn("für Benutzer ohne Administratorrechte nicht beschreibbar",
                          elevated.find("Ordner", "Protokoll")["wert"])
            asleep = self.station.check_without_elevation()
            self.assertEqual((asleep.faults(), asleep.code), ([("Ordner", "Protokoll", FAILURE)], 2))
            self.assertTrue(asleep.find("Ordner", "Protokoll")["wert"].endswith("Kandora ist nicht beschreibbar"))

    def test_an_elevated_run_starts_programs_of_its_own(self):
        with account_control():
            elevated = self.station.check()
            self.assertEqual((elevated.faults(), elevated.code), (OTHER_PROGRAMS, 1))
            self.assertIn("ohne erhöhte Rechte ausführen", elevated.find("Archiv", "Laufendes Programm")["hinweis"])
            self.assertEqual(self.station.check_without_elevation().faults(), [])

    def test_a_registration_of_another_user(self):
        somebody = "HKU\\S-1-5-21-1-2-3-1105"
        classes = f"{somebody}\\Software\\Classes"
        server = f"{classes}\\CLSID\\{provider_class()}\\InprocServer32"
        try:
            registry("add", f"{classes}\\Kandora.ELOProvider\\CLSID", "/ve", "/d", provider_class(), "/f")
            registry("add", server, "/ve", "/d", "D:\\Anna\\Kandora.dll", "/f")
            result = self.station.check()
            self.assertEqual((result.faults(), result.code), ([("Komponente", "Registrierung je Benutzer", WARNING)], 1))
            self.assertEqual(result.find("Komponente", "Registrierung je Benutzer")["wert"],
                             "Kandora.ELOProvider für S-1-5-21-1-2-3-1105: D:\\Anna\\Kandora.dll")
            # The same file is nothing else.
            registry("add", server, "/ve", "/d", windows_path(self.station.component), "/f")
            self.assertEqual(self.station.check().faults(), [])
        finally:
            registry("delete", somebody, "/f")
