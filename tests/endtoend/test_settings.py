"""What the user is told when something is not set up as it should be, and what happens then: nothing in the archive."""
import datetime
import unittest

from workstation import (LOGGING_IN, STARTING, TOP_FOLDER, Client, Workstation, doc_id, error_box, windows,
                         windows_path)

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"
SAVING = ["InitProvider", "SaveDocument booking 26101 1"]
READING_CLIENT = "SOKInterface.EinstellungenLesen"


class Settings(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workstation = Workstation("settings")
        # Sets the client up, so that each test can begin with what it is about.
        cls.workstation.run_host(["InitProvider"])
        cls.options = cls.workstation.option_values()
        cls.ini = {section: dict(keys) for section, keys in cls.workstation.settings.items()}

    def setUp(self):
        self.workstation.settings = {section: dict(keys) for section, keys in self.ini.items()}
        self.workstation.write_settings()
        self.workstation.set_options(dict(self.options))

    @classmethod
    def tearDownClass(cls):
        cls.workstation.stop_archive()

    def configure(self, section, key, value):
        self.workstation.settings[section][key] = value
        self.workstation.write_settings()

    def set_option(self, key, value):
        self.workstation.set_options(self.options | {key: value})

    def assert_boxes(self, requests, *expected, entries=0):
        """Texts of the boxes by request. The host must be served, and the archive must hold as much as before."""
        before = len(self.workstation.entries())
        report = self.workstation.run_host(requests)
        self.assertEqual([boxes for _, boxes in report.boxes_by_request()], list(expected))
        self.assertEqual({request["hresult"] for request in report.requests}, {0})
        self.assertEqual(len(self.workstation.entries()) - before, entries)
        self.assertEqual({caption for caption, _ in report.boxes()} - {"Kandora"}, set())

    def test_everything_is_right(self):
        self.assert_boxes(SAVING, [], [], entries=1)

    def test_the_archive_is_not_installed(self):
        self.workstation.stop_archive()
        windows("ArchiveSimulator.exe", "--unregister")
        try:
            self.assert_boxes(SAVING, [error_box(
                429, "Das Automatisierungsobjekt kann nicht erstellt werden", *LOGGING_IN)], [])
        finally:
            self.workstation.register_archive()

    def assert_login_refused(self, section, key, value, answer):
        self.configure(section, key, value)
        self.assert_boxes(SAVING, [error_box(
            5, f"Unbekannter Loginname, Passwort oder Archiv: Login={answer}", *LOGGING_IN)], [])

    def test_the_password_is_wrong(self):
        self.assert_login_refused("Login", "ELOPW", "falsch", -2)

    def test_the_user_is_unknown(self):
        self.assert_login_refused("Login", "ELOUSERNAME", "Niemand", -2)

    def test_the_archive_is_unknown(self):
        self.assert_login_refused("Archiv", "Archivname", "Anderes", -3)

    def test_a_name_is_missing(self):
        self.configure("Login", "ELOKUERZEL", "")
        self.assert_boxes(SAVING, [error_box(
            5000, "Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist deaktiviert.",
            *STARTING)], [])

    def test_a_mask_is_missing(self):
        self.configure("Maske", "Debi", "4711")
        self.assert_boxes(SAVING, [error_box(5002, "Die Ablagemaske Nr. 4711 ist nicht vorhanden", *STARTING)], [])

    def test_an_index_line_is_no_number(self):
        self.configure("IndexKredi", "Kundenort", "letzte")
        self.assert_boxes(SAVING, [error_box(13, "Der Wert hat nicht den erwarteten Typ", *STARTING)], [])

    def test_the_placeholder_is_missing(self):
        missing = windows_path(self.workstation.folder / "weg" / "Platzhalter.pdf")
        self.set_option("105", missing)
        text = f"Die Datei '{missing}' die als Platzhatlerdokument dient, ist nicht vorhanden"
        self.assert_boxes(SAVING, [error_box(5004, text, READING_CLIENT, "Kandora.InitProvider")],
                          [error_box(5004, text, READING_CLIENT, "Kandora.SaveDocument")])

    def test_a_folder_is_missing(self):
        for key, number in (("109", 5003), ("110", 5004), ("111", 5004), ("112", 5004)):
            with self.subTest(key=key):
                self.set_option(key, f"{CLIENT_FOLDER}/Verschoben")
                text = (f"Der Pfad '{CLIENT_FOLDER}/Verschoben' ist im Archiv nicht vorhanden\r"
                        "Korrigieren Sie die Sesam-Einstellungen")
                self.assert_boxes(SAVING, [error_box(number, text, READING_CLIENT, "Kandora.InitProvider")],
                                  [error_box(number, text, READING_CLIENT, "Kandora.SaveDocument")])

    def test_the_client_has_no_archive(self):
        self.set_option("100", "False")
        self.assert_boxes(["InitProvider", "StartProvider", "SaveDocument booking 26101 1", "CreateDocID"],
                          [], [error_box(0, "", "Kandora.StartProvider")], [], [])

    def test_the_archive_is_switched_off(self):
        self.configure("Archiv", "ArchivAktiv", "False")
        self.assert_boxes(["InitProvider", "StartProvider", "SaveDocument booking 26101 1"], [], [], [])

    def test_the_accounting_does_not_know_the_voucher(self):
        self.assert_boxes(
            ["InitProvider", "SaveDocument 20260101000000 99999 1 MU26999999", "SaveDocument booking 26101 1"],
            [], [error_box(5010, "Belegtyp konnte nicht gelesen werden", "ELODMS.AddDokument",
                           "Kandora.SaveDocument")], [], entries=1)

    def test_the_accounting_has_no_client_open(self):
        report = self.workstation.run_host(["InitProvider", "closeclient", "SaveDocument booking 26101 1"])
        # It is opened again without a word.
        self.assertEqual(report.boxes(), [])
        self.assertEqual(doc_id(self.workstation.entries()[-1]), "20260102080028")


class SettingUp(unittest.TestCase):
    """A client that was never set up."""

    def setUp(self):
        self.workstation = Workstation("setting-up", separator="||")

    def tearDown(self):
        self.workstation.stop_archive()

    def test_a_trustee_files_by_year(self):
        self.workstation.settings["Archiv"]["Treuhand"] = "True"
        self.workstation.write_settings()
        before = datetime.date.today().year
        self.workstation.run_host(["InitProvider", "SaveDocument booking 26101 1"])
        years = {before, datetime.date.today().year}
        folders = {f"/{TOP_FOLDER}/{year}/Muster AG" for year in years} & self.workstation.folders()
        self.assertEqual(len(folders), 1)
        folder = folders.pop()
        self.assertEqual(self.workstation.option_values()["109"], f"{folder}/Buchungen")
        self.assertEqual([entry["ordner"] for entry in self.workstation.entries()], [f"{folder}/Debi"])

    def test_a_client_that_is_set_up_is_not_asked_again(self):
        first = self.workstation.run_host(["InitProvider", "SaveDocument booking 26101 1"])
        options = self.workstation.option_values()
        second = self.workstation.run_host(["InitProvider", "StartProvider", "SaveDocument booking 26501 1"])
        self.assertEqual([caption for caption, _ in first.boxes()], ["Archivpfad erstellen"])
        self.assertEqual(second.boxes(), [])
        self.assertEqual(self.workstation.option_values(), options)
        bookings = Client().with_barcode()
        ids = {booking["docId"] for booking in bookings if booking["belegNr"] in ("26101", "26501")}
        self.assertEqual({doc_id(entry) for entry in self.workstation.entries()}, ids)

    def test_the_archive_creates_no_folders(self):
        self.workstation.register_archive(*self.workstation.script([{"call": "CreateStructure", "answer": "-3"}]))
        report = self.workstation.run_host(["InitProvider"])
        path = f"/{TOP_FOLDER}/Muster AG/Buchungen"
        self.assertEqual(report.boxes()[1:], [("Kandora", error_box(
            1580, f"Das Erstellen des Pfades {path} war nicht erfolgreich. Fehler Nr. -3",
            "SOKInterface.EinstellungenSchreiben", READING_CLIENT, "Kandora.InitProvider"))])
        # The placeholder was entered before; the client is asked again the next time.
        self.assertEqual(self.workstation.option_values(), {"105": windows_path(self.workstation.placeholder)})
        self.workstation.stop_archive()
        self.workstation.register_archive()
        self.assertEqual([caption for caption, _ in self.workstation.run_host(["InitProvider"]).boxes()],
                         ["Archivpfad erstellen"])
