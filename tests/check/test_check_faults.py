"""What is wrong is found and named, each fault by itself."""
import os
import shutil
import unittest

import workstation
from checkstation import CLIENT_FOLDER, FAILURE, WARNING, CheckStation, mode
from workstation import MASKS, windows, windows_path


class Faults(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-faults")
        cls.options = cls.station.option_values()
        cls.ini = {section: dict(keys) for section, keys in cls.station.settings.items()}

    @classmethod
    def tearDownClass(cls):
        cls.station.stop_archive()

    def setUp(self):
        self.station.settings = {section: dict(keys) for section, keys in self.ini.items()}
        self.station.write_settings()
        self.station.set_options(dict(self.options))

    def configure(self, section, key, value):
        self.station.settings[section][key] = value
        self.station.write_settings()

    def remove(self, section, key):
        del self.station.settings[section][key]
        self.station.write_settings()

    def assert_found(self, *expected, value="", hint="", arguments=()):
        """Exactly these findings are not good; the first one's value and hint hold the texts."""
        result = self.station.check(*arguments)
        self.assertEqual(result.faults(), list(expected))
        first = result.find(*expected[0][:2])
        self.assertIn(value, first["wert"])
        self.assertIn(hint, first["hinweis"])
        self.assertTrue(all(check["hinweis"] for check in result.checks if check["ergebnis"] != "gut"))
        self.assertEqual(result.code, 2 if FAILURE in {verdict for *_, verdict in expected} else 1)
        return result

    # ---- settings -------------------------------------------------------------------------------------------------

    def test_no_ini_file(self):
        (self.station.install / "Kandora.ini").unlink()
        result = self.station.check()
        self.assertIn(("Einstellungen", "Datei", FAILURE), result.faults())
        self.assertIn("Kandora.ini fehlt", result.find("Einstellungen", "Datei")["wert"])
        self.assertIn(("Archiv", "Anmeldung", FAILURE), result.faults())
        self.assertEqual(result.find("Archiv", "Klasse")["ergebnis"], "gut")

    def test_a_misspelt_key(self):
        self.remove("IndexDebi", "Rechnungsdatum")
        self.configure("IndexDebi", "Rechungsdatum", "37")
        self.assert_found(("Einstellungen", "[IndexDebi] Rechnungsdatum", FAILURE),
                          ("Einstellungen", "[IndexDebi] Rechungsdatum", WARNING), value="fehlt", hint="«Rechungsdatum»")

    def test_a_key_too_many(self):
        self.configure("Archiv", "Farbe", "blau")
        self.assert_found(("Einstellungen", "[Archiv] Farbe", WARNING), value="unbekannt", hint="entfernen")

    def test_a_misspelt_section(self):
        self.station.settings["IndexBeleg"] = self.station.settings.pop("IndexBelege")
        self.station.write_settings()
        result = self.station.check()
        self.assertIn("«[IndexBelege]»", result.find("Einstellungen", "[IndexBeleg]")["hinweis"])
        missing = [name for area, name, verdict in result.faults() if verdict == FAILURE]
        self.assertEqual(missing, [f"[IndexBelege] {key}" for key in self.ini["IndexBelege"]])

    def test_a_missing_text_that_may_be_empty(self):
        self.remove("Archiv", "SagePFad")
        self.assert_found(("Einstellungen", "[Archiv] SagePFad", WARNING), value="fehlt")

    def test_wrong_types(self):
        for section, key, value, expected in (
                ("IndexKredi", "Kundenort", "letzte", "eine ganze Zahl von -32768 bis 32767 (Fehler 13)"),
                ("IndexKredi", "Kundenort", "40000", "(Fehler 6)"), ("Archiv", "Treuhand", "vielleicht", "True oder False")):
            with self.subTest(value=value):
                self.setUp()
                self.configure(section, key, value)
                self.assert_found(("Einstellungen", f"[{section}] {key}", FAILURE), value=f"«{value}»", hint=expected)

    def test_no_password(self):
        self.configure("Login", "ELOPW", "")
        self.assert_found(("Einstellungen", "[Login] ELOPW", WARNING), ("Archiv", "Anmeldung", FAILURE),
                          *self.unchecked_folders(), value="leer")

    def test_a_name_is_missing(self):
        self.configure("Login", "ELOKUERZEL", "")
        self.assert_found(("Einstellungen", "[Login] ELOKUERZEL", FAILURE), ("Archiv", "Anmeldung", FAILURE),
                          *self.unchecked_folders(), hint="5000")

    def test_a_line_used_twice(self):
        self.configure("IndexKredi", "Betrag", "101")
        result = self.assert_found(("Einstellungen", "Zeile 101 der Maske 55", FAILURE), value="[IndexKredi] Betrag")
        self.assertIn("[IndexKredi] Barcode", result.find("Einstellungen", "Zeile 101 der Maske 55")["wert"])

    def test_kinds_that_share_a_mask(self):
        self.configure("Maske", "Kredi", str(MASKS["Debi"]))
        self.station.settings["IndexKredi"] = dict(self.ini["IndexDebi"])
        self.station.write_settings()
        result = self.station.check()
        self.assertEqual((result.faults(), result.code), ([], 0))
        self.configure("IndexKredi", "Betrag", self.ini["IndexDebi"]["Barcode"])
        self.configure("IndexKredi", "Barcode", self.ini["IndexDebi"]["Betrag"])
        self.assert_found(("Einstellungen", "Zeile 38 der Maske 64", WARNING),
                          ("Einstellungen", "Zeile 44 der Maske 64", WARNING), value="doppelt belegt",
                          hint="teilen sich die Maske")

    def test_the_wrong_encoding(self):
        file = self.station.install / "Kandora.ini"
        file.write_bytes(file.read_bytes().decode("cp1252").encode("utf-8"))
        result = self.station.check()
        self.assertIn(("Einstellungen", "Codierung", FAILURE), result.faults())

    def test_the_archive_is_switched_off(self):
        self.configure("Archiv", "ArchivAktiv", "False")
        self.assert_found(("Einstellungen", "Hauptschalter", WARNING), hint="ArchivAktiv=True")

    # ---- archive --------------------------------------------------------------------------------------------------

    @staticmethod
    def unchecked_folders():
        names = {"109": "Buchungen", "110": "Auswertungen", "111": "Debitoren", "112": "Kreditoren"}
        return [("Finanzbuchhaltung", f"Option 600/{key} Ordner {name}", WARNING) for key, name in names.items()]

    def test_the_password_is_wrong(self):
        self.configure("Login", "ELOPW", "falsch")
        self.assert_found(("Archiv", "Anmeldung", FAILURE), *self.unchecked_folders(), value="Login=-2", hint="ELOPW")

    def test_the_archive_is_unknown(self):
        self.configure("Archiv", "Archivname", "Anderes")
        self.assert_found(("Archiv", "Anmeldung", FAILURE), *self.unchecked_folders(), value="Login=-3", hint="Archivname")

    def test_a_mask_is_unknown(self):
        self.configure("Maske", "Debi", "4711")
        self.assert_found(("Archiv", "Maske Debi", FAILURE), value="4711", hint="[Maske] Debi")

    def test_the_archive_is_not_registered(self):
        self.station.stop_archive()
        windows("ArchiveSimulator.exe", "--unregister")
        try:
            self.assert_found(("Archiv", "Klasse", FAILURE), *self.unchecked_folders(), value="nicht registriert")
        finally:
            self.station.register_archive()

    # ---- accounting -----------------------------------------------------------------------------------------------

    def test_the_accounting_is_not_registered(self):
        windows("HostSimulator.exe", "--unregister")
        try:
            self.assert_found(("Finanzbuchhaltung", "Klasse", FAILURE), value="nicht registriert")
        finally:
            self.station.register_host()

    def test_no_client_is_open(self):
        windows("HostSimulator.exe", "--register")
        try:
            self.assert_found(("Finanzbuchhaltung", "Mandant", FAILURE), value="keiner", hint="Mandanten öffnen")
        finally:
            self.station.register_host()

    def test_the_client_is_switched_off(self):
        self.station.set_options(self.options | {"100": "False"})
        self.assert_found(("Finanzbuchhaltung", "Option 600/100 Archiv ein", WARNING), value="False", hint="ausgeschaltet")

    def test_a_client_without_a_decision_is_left_alone(self):
        self.station.set_options({})
        self.assert_found(("Finanzbuchhaltung", "Option 600/100 Archiv ein", WARNING), value="kein Entscheid")
        self.assertEqual(self.station.option_values(), {})

    def test_the_placeholder_is_missing(self):
        missing = windows_path(self.station.folder / "weg" / "Platzhalter.pdf")
        self.station.set_options(self.options | {"105": missing})
        self.assert_found(("Finanzbuchhaltung", "Option 600/105 Platzhalter", FAILURE), value=missing, hint="5004")

    def test_a_folder_is_missing(self):
        for key, expected in (("109", "5003"), ("110", "5004"), ("111", "5004"), ("112", "5004")):
            with self.subTest(key=key):
                self.station.set_options(self.options | {key: f"{CLIENT_FOLDER}/Verschoben"})
                result = self.station.check()
                self.assertEqual([(area, name[:14], verdict) for area, name, verdict in result.faults()],
                                 [("Finanzbuchhaltung", f"Option 600/{key}", FAILURE)])
                found = result.with_verdict(FAILURE)[0]
                self.assertIn("Verschoben", found["wert"])
                self.assertIn(expected, found["hinweis"])

    # ---- files ----------------------------------------------------------------------------------------------------

    def test_the_print_folder_is_missing(self):
        self.configure("Archiv", "EloPrinterFile", windows_path(self.station.folder / "weg" / "Druck.pdf"))
        self.assert_found(("Ordner", "Druckdatei", FAILURE), value="weg fehlt", hint="EloPrinterFile")

    def test_no_print_file(self):
        self.configure("Archiv", "EloPrinterFile", "")
        self.assert_found(("Ordner", "Druckdatei", WARNING), value="leer", hint="EloPrinterFile")

    def test_the_log_cannot_be_written(self):
        """A log's name must fit behind its folder. The name of the settings' file is shorter and does."""
        room = 235 - len(windows_path(self.station.folder / "x"))
        long_folder = self.station.folder / ("Ordner mit einem sehr langen Namen " * 6)[:room].replace(" ", "_")
        long_folder.mkdir(exist_ok=True)
        for file in self.station.install.iterdir():
            if file.suffix in (".dll", ".ini"):
                shutil.copy(file, long_folder / file.name)
        result = self.station.check("--component", windows_path(long_folder / "Kandora.dll"))
        self.assertIn(("Ordner", "Protokoll", FAILURE), result.faults())
        self.assertIn("nicht beschreibbar", result.find("Ordner", "Protokoll")["wert"])
        self.assertEqual(result.find("Ordner", "Druckdatei")["ergebnis"], "gut")

    def test_folders_without_the_right_to_write(self):
        for folder, name in ((self.station.install, "Protokoll"), (self.station.print_folder, "Druckdatei")):
            with self.subTest(name=name):
                with mode(folder, 0o555):
                    self.assert_found(("Ordner", name, FAILURE), value="nicht beschreibbar", hint="Recht")

    # ---- component ------------------------------------------------------------------------------------------------

    def test_the_component_is_not_registered(self):
        windows("regsvr32.exe", "/s", "/u", windows_path(self.station.component))
        try:
            self.assert_found(("Komponente", "Registrierung", FAILURE), ("Komponente", "Typbibliothek Kandora", FAILURE),
                              ("Komponente", "Typbibliothek DmsSolution", FAILURE), value="nicht registriert",
                              hint="regsvr32", arguments=("--component", windows_path(self.station.component)))
            # The program itself finds it where an installation puts it.
            tools = self.station.install / "Werkzeuge"
            tools.mkdir()
            for folder in (self.station.install, tools):
                program = shutil.copy(workstation.options.bin / "kandora-check.exe", folder)
                result = self.station.check(program=program)
                self.assertEqual(result.json["komponente"], windows_path(self.station.component))
                os.remove(program)
            tools.rmdir()
        finally:
            windows("regsvr32.exe", "/s", windows_path(self.station.component))

    def test_another_file_is_registered(self):
        other = self.station.folder / "Andere"
        shutil.copytree(self.station.install, other)
        try:
            self.assert_found(("Komponente", "Registrierung", FAILURE), value="ELOProvider zeigt auf ",
                              arguments=("--component", windows_path(other / "Kandora.dll")))
        finally:
            shutil.rmtree(other)

    def test_the_registered_file_is_gone(self):
        hidden = self.station.install / "weg.dll"
        self.station.component.rename(hidden)
        try:
            result = self.station.check()
            self.assertIn(("Komponente", "Datei", FAILURE), result.faults())
            self.assertIn("Kandora.dll fehlt", result.find("Komponente", "Datei")["wert"])
        finally:
            hidden.rename(self.station.component)

    def test_the_threading_model_is_wrong(self):
        key = windows("reg.exe", "query", "HKLM\\Software\\Classes\\Kandora.cBeleg\\CLSID", "/ve").split()[-1]
        path = f"HKLM\\Software\\Classes\\CLSID\\{key}\\InprocServer32"
        windows("reg.exe", "add", path, "/v", "ThreadingModel", "/d", "Both", "/f")
        try:
            self.assert_found(("Komponente", "Registrierung", FAILURE), value="cBeleg hat ThreadingModel «Both»")
        finally:
            windows("regsvr32.exe", "/s", windows_path(self.station.component))

    def test_a_component_of_the_other_architecture(self):
        other = "system32" if workstation.options.system == "syswow64" else "syswow64"
        foreign = self.station.folder / "Fremd"
        foreign.mkdir(exist_ok=True)
        library = workstation.pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c" / "windows" / other / "regsvr32.exe"
        shutil.copy(library, foreign / "Kandora.dll")
        shutil.copy(self.station.install / "Kandora.ini", foreign)
        result = self.station.check("--component", windows_path(foreign / "Kandora.dll"))
        self.assertIn(("Komponente", "Architektur", FAILURE), result.faults())
        self.assertIn(("Finanzbuchhaltung", "Architektur", FAILURE), result.faults())
        self.assertEqual(result.code, 2)
