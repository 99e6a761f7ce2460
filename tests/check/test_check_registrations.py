"""Registered for the machine, for the user, or for both, which is a failure that names both files."""
import os
import shutil
import unittest

from checkstation import FAILURE, OTHER_PROGRAMS, WARNING, CheckStation, account_control
from workstation import windows, windows_path

ANY_INTERFACE = "{00000000-0000-0000-C000-000000000046}"
TWOFOLD = ("Komponente", "Doppelte Registrierung", FAILURE)


def regsvr32(*arguments):
    windows("regsvr32.exe", "/s", *arguments)


class Registrations(unittest.TestCase):
    """The station's own component is registered for the machine, a copy of its folder for the user, as a test has it."""

    def setUp(self):
        self.station = CheckStation("check-registrations")
        self.machine_file = self.station.component
        copy = self.station.folder / "Kandora des Benutzers"
        shutil.copytree(self.station.install, copy)
        self.user_file = copy / "Kandora.dll"

    def tearDown(self):
        for file in (self.machine_file, self.user_file):
            if file.exists():
                regsvr32("/u", "/n", "/i:user", windows_path(file))
        self.station.stop_archive()

    def for_user(self, file):
        regsvr32("/n", "/i:user", windows_path(file))

    def without_machine(self):
        regsvr32("/u", windows_path(self.machine_file))

    @staticmethod
    def unserved():
        """What is rightly said where the system itself gives nobody a class that only the user has, as versions of wine do."""
        answer = windows(os.environ["KANDORA_FOREIGN_HOST"], "answers", ANY_INTERFACE, expected=None).strip()
        return [] if answer in ("0", "1") else [("Komponente", "Registrierung", FAILURE)]

    def assert_twofold(self, result, machine, user):
        self.assertEqual(result.code, 2)
        self.assertIn(TWOFOLD, result.faults())
        found = result.find(*TWOFOLD[:2])
        self.assertTrue(found["wert"].startswith(f"für alle Benutzer {machine}, nur für diesen Benutzer {user}; "),
                        found["wert"])
        self.assertTrue(found["hinweis"].startswith("Eine der beiden entfernen"))
        return found["wert"]

    def test_only_for_the_machine(self):
        result = self.station.check()
        self.assertEqual((result.faults(), result.code), ([], 0))
        self.assertIn("für alle Benutzer", result.find("Komponente", "Registrierung")["wert"])

    def test_only_for_the_user(self):
        self.without_machine()
        self.for_user(self.user_file)
        # The user's own folder needs no rights for others.
        self.user_file.parent.chmod(0o755)
        result = self.station.check()
        self.assertEqual(result.faults(), self.unserved())
        self.assertIn("für diesen Benutzer" if not self.unserved() else "registriert",
                      result.find("Komponente", "Registrierung")["wert"])
        self.assertEqual(result.json["komponente"], windows_path(self.user_file))

    def test_only_for_the_user_and_hidden_from_an_elevated_run(self):
        self.without_machine()
        self.for_user(self.user_file)
        with account_control():
            result = self.station.check()
            self.assertEqual((result.faults(), result.code),
                             ([("Komponente", "Registrierung je Benutzer", WARNING), *OTHER_PROGRAMS], 1))
            self.assertTrue(result.find("Komponente", "Registrierung je Benutzer")["wert"].endswith(
                f": {windows_path(self.user_file)}"))
            self.assertEqual(result.json["komponente"], windows_path(self.user_file))
            self.assertEqual(self.station.check_without_elevation().faults(), self.unserved())

    def test_both_with_the_same_file(self):
        self.for_user(self.machine_file)
        file = windows_path(self.machine_file)
        result = self.station.check()
        self.assertEqual(result.faults(), [TWOFOLD])
        self.assertTrue(self.assert_twofold(result, file, file).endswith(f"für diesen Benutzer gilt {file}"))

    def test_both_with_different_files(self):
        self.for_user(self.user_file)
        machine, user = [windows_path(file) for file in (self.machine_file, self.user_file)]
        result = self.station.check()
        self.assertEqual(result.faults(), [TWOFOLD])
        self.assertTrue(self.assert_twofold(result, machine, user).endswith(f"für diesen Benutzer gilt {user}"))
        self.assertEqual(result.json["komponente"], user)
        with account_control():
            result = self.station.check()
            self.assertTrue(self.assert_twofold(result, machine, user).endswith(
                f"für diesen Benutzer gilt {user}, in diesem Lauf mit erhöhten Rechten {machine}"))
            self.assertIn(("Komponente", "Registrierung je Benutzer", WARNING), result.faults())
            self.assertEqual(result.json["komponente"], machine)

    def test_both_and_the_user_s_file_is_gone(self):
        self.for_user(self.user_file)
        away = self.user_file.rename(self.station.folder / "weg.dll")
        try:
            result = self.station.check()
            self.assert_twofold(result, windows_path(self.machine_file), windows_path(self.user_file) + " (fehlt)")
            self.assertIn(("Komponente", "Datei", FAILURE), result.faults())
        finally:
            away.rename(self.user_file)

    def test_both_and_the_machine_s_file_is_gone(self):
        self.for_user(self.user_file)
        away = self.machine_file.rename(self.station.folder / "weg.dll")
        try:
            result = self.station.check()
            self.assert_twofold(result, windows_path(self.machine_file) + " (fehlt)", windows_path(self.user_file))
            self.assertNotIn(("Komponente", "Datei", FAILURE), result.faults())
        finally:
            away.rename(self.machine_file)
