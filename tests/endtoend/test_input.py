"""Files that people write for the stand-ins: a mistake is told with its place, and nothing is run."""
import json
import unittest

from workstation import Workstation, archive_settings, wait_until, windows, windows_path

BAD_INPUT = 2


class Input(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workstation = Workstation("input")
        cls.folder = cls.workstation.folder

    @classmethod
    def tearDownClass(cls):
        cls.workstation.stop_archive()

    def file(self, name, text):
        path = self.folder / name
        path.write_text(text, encoding="utf-8")
        return path

    def assert_refused(self, program, arguments, message):
        output = windows(program, *arguments, expected=BAD_INPUT)
        self.assertIn(message, output.splitlines())

    # ---- the accounting -------------------------------------------------------------------------------------------

    def assert_requests_refused(self, text, place, message):
        path = self.file("Falsch.txt", text)
        report = self.folder / "Bericht.json"
        report.unlink(missing_ok=True)
        self.assert_refused("HostSimulator.exe", [
            "--client", windows_path(self.workstation.client), "--answer-boxes", "--report", windows_path(report),
            "--requests", windows_path(path)], f"{windows_path(path)}, {place}: {message}")
        # Not even the requests before the mistake were sent.
        self.assertEqual(list(self.workstation.install.glob("*.log")), [])
        self.assertFalse(report.exists())

    def test_an_unknown_request(self):
        self.assert_requests_refused("InitProvider\n\n  SafeDocument booking 26101 1\n", "Zeile 3, Spalte 3",
                                     "Unbekannte Anfrage «SafeDocument».")

    def test_a_request_that_lacks_something(self):
        self.assert_requests_refused("InitProvider\nSaveDocument booking 26101\n", "Zeile 2, Spalte 27",
                                     "Nach «SaveDocument» fehlt: der Belegindex.")

    def test_a_quotation_mark_that_is_not_closed(self):
        self.assert_requests_refused('InitProvider\nchange 26101 1 text="offen\n', "Zeile 2, Spalte 21",
                                     "Das Anführungszeichen wird nicht geschlossen.")

    def test_a_booking_that_does_not_exist(self):
        self.assert_requests_refused(
            "# Vorspann\nInitProvider\nSaveDocument booking 4711 9\n", "Zeile 3, Spalte 1",
            "Die Buchung 4711/9 gibt es im Mandanten «C:\\Daten\\Mandanten\\Muster AG» nicht.")

    def assert_client_refused(self, text, place, message):
        path = self.file("Falsch.json", text)
        self.assert_refused("HostSimulator.exe", ["--client", windows_path(path), "--year", "--answer-boxes"],
                            f"{windows_path(path)}, {place}: {message}")

    def test_a_client_with_an_impossible_date(self):
        self.assert_client_refused(
            '{\n  "mandant": "C:\\\\Muster",\n  "buchungen": [\n    {"belegNr": "1", "belegIndex": "1", "ursprung": 0,\n'
            '     "text": "", "datum": "2026-02-30", "betrag": 1, "docId": "1"}]\n}\n',
            "Zeile 5, Spalte 27", 'Hier muss ein Datum wie "2026-03-31" stehen.')

    def test_a_client_that_says_something_unknown(self):
        self.assert_client_refused('{"mandant": "Muster",\n "bemerkung": ""}', "Zeile 2, Spalte 2",
                                   "Unbekannte Angabe «bemerkung».")

    def test_a_client_that_is_no_json(self):
        output = windows("HostSimulator.exe", "--year", "--client",
                         windows_path(self.file("Kaputt.json", '{"mandant": "Muster",\n')), expected=BAD_INPUT)
        self.assertRegex(output, r"Kaputt\.json, Zeile \d+, Spalte \d+: ")

    def test_a_client_that_is_missing(self):
        output = windows("HostSimulator.exe", "--year", "--client", "Z:\\gibt\\es\\nicht.json", expected=BAD_INPUT)
        self.assertIn("Z:\\gibt\\es\\nicht.json", output)

    def test_a_command_line_with_a_slip(self):
        self.assert_refused("HostSimulator.exe", ["--klient", "x"],
                            "Unbekannte Angabe «--klient». Hilfe gibt HostSimulator.exe --help.")
        self.assert_refused("ArchiveSimulator.exe", ["--stohr"], "Unbekannte Angabe: --stohr")

    # ---- the archive ----------------------------------------------------------------------------------------------

    def assert_store_refused(self, settings, message):
        store = self.folder / "Anderes"
        store.mkdir(exist_ok=True)
        text = json.dumps(settings, ensure_ascii=False) if isinstance(settings, dict) else settings
        (store / "archiv.json").write_text(text, encoding="utf-8")
        before = self.registered_command()
        for action in ((), ("--register",)):
            self.assert_refused("ArchiveSimulator.exe", ["--hidden", "--store", windows_path(store), *action],
                                f"{windows_path(store)}\\archiv.json, {message}")
        self.assertEqual(self.registered_command(), before)

    @staticmethod
    def registered_command():
        return windows("reg.exe", "query", "HKCR\\ELO.professional", "/s")

    def test_a_store_with_two_masks_of_one_number(self):
        settings = archive_settings()
        settings["masken"][1]["nummer"] = 71
        self.assert_store_refused(
            settings, f"Zeile 1, Spalte {json.dumps(settings, ensure_ascii=False).rindex('71') + 1}: "
            "Diese Maskennummer gibt es schon.")

    def test_a_store_without_masks(self):
        self.assert_store_refused('{"archive": ["A"], "trennzeichen": "/",\n"benutzer": []}',
                                  "Zeile 1, Spalte 1: Die Angabe «masken» fehlt.")

    def test_a_store_without_settings(self):
        store = self.folder / "Leer"
        store.mkdir(exist_ok=True)
        output = windows("ArchiveSimulator.exe", "--hidden", "--store", windows_path(store), expected=BAD_INPUT)
        self.assertIn("archiv.json", output)

    def assert_script_refused(self, text, message):
        path = self.file("Probe falsch.json", text)
        for action in ((), ("--register",)):
            self.assert_refused("ArchiveSimulator.exe", [
                "--hidden", "--store", windows_path(self.workstation.store), "--script", windows_path(path), *action],
                f"{windows_path(path)}, {message}")

    def test_a_rehearsal_of_a_call_that_does_not_exist(self):
        self.assert_script_refused('[\n  {"call": "Loggin", "answer": 0}\n]',
                                   "Zeile 2, Spalte 12: Das Archiv hat kein Mitglied «Loggin».")

    def test_a_rehearsal_without_an_outcome(self):
        self.assert_script_refused(
            '[{"call": "Login"}]',
            "Zeile 1, Spalte 2: Eine Regel braucht genau eine der Angaben "
            "«answer», «fail», «hresult», «delayMs», «until», «die».")

    def test_a_store_that_is_open_already(self):
        with self.workstation.menu() as choose:
            wait_until((self.workstation.store / "archiv.lock").exists, "the archive serves the accounting")
            output = windows("ArchiveSimulator.exe", "--hidden", "--store", windows_path(self.workstation.store),
                             expected=BAD_INPUT)
            choose("0")
        self.assertIn("Das Archiv ist schon geöffnet", output)
        for log in self.workstation.install.glob("*.log"):
            log.unlink()
