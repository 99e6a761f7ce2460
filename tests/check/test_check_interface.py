"""The host's own plug-in interface against the component's, and its adoption."""
import os
import unittest
import uuid

import workstation
from checkstation import CheckStation
from workstation import subprocess, windows, windows_path

LIBRARY = "{1D2C6F0A-7A11-4E5B-9E41-0C5B2A7731D5}"
INTERFACE = "{5B0E3C71-2F4D-4B0A-8C66-91D4E703AB12}"
OWN_INTERFACE = "{CC5421A5-6F61-4DA2-BC42-D0C3E160672A}"


def foreign_host(*arguments):
    """Output of the program that brings a foreign host's type libraries along."""
    done = subprocess.run([str(workstation.options.loader), os.environ["KANDORA_FOREIGN_HOST"], *arguments],
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=workstation.LIMIT, check=False)
    if done.returncode != 0:
        raise AssertionError(done.stderr.decode("utf-8", "replace"))
    return done.stdout.decode().strip()


class HostInterface(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-interface")

    @classmethod
    def tearDownClass(cls):
        cls.station.stop_archive()

    def setUp(self):
        # Without what a test before this one has adopted.
        windows("regsvr32.exe", "/s", "/u", windows_path(self.station.component))
        windows("regsvr32.exe", "/s", windows_path(self.station.component))
        self.assertEqual(foreign_host("answers", INTERFACE), "0")

    def library(self, kind):
        path = self.station.folder / f"{kind}.tlb"
        if kind == "dual":
            # As an IDL compiler writes it: the component's own, with another identifier.
            own = (workstation.options.bin / "DmsSolution.tlb").read_bytes()
            foreign = own.replace(uuid.UUID(OWN_INTERFACE).bytes_le, uuid.UUID(INTERFACE).bytes_le)
            self.assertNotEqual(foreign, own)
            path.write_bytes(foreign)
        else:
            foreign_host("library", kind, windows_path(path))
        return windows_path(path)

    def compare(self, kind, *arguments):
        return self.station.check("--host-typelib", self.library(kind), *arguments)

    def findings(self, result):
        return [(check["name"], check["ergebnis"], check["wert"]) for check in result.checks
                if check["bereich"] == "Schnittstelle"]

    def assert_adopted(self, kind):
        refused = self.compare(kind)
        self.assertEqual((refused.faults(), refused.code), ([("Schnittstelle", "Kennung", "Fehler")], 2))
        self.assertIn("--adopt", refused.find("Schnittstelle", "Kennung")["hinweis"])
        self.assertEqual(foreign_host("answers", INTERFACE), "0")
        adopted = self.compare(kind, "--adopt")
        self.assertEqual((adopted.faults(), adopted.code), ([], 0))
        self.assertIn(INTERFACE, adopted.find("Schnittstelle", "Übernahme")["wert"])
        self.assertEqual(foreign_host("answers", INTERFACE), "1")
        later = self.compare(kind)
        self.assertEqual((later.faults(), later.code), ([], 0))
        self.assertIn("übernommen", later.find("Schnittstelle", "Kennung")["wert"])

    def assert_refused(self, kind, *differences):
        for arguments in ((), ("--adopt",)):
            result = self.compare(kind, *arguments)
            self.assertEqual(result.code, 2)
            found = [value for name, verdict, value in self.findings(result)
                     if (name, verdict) == ("Abweichung", "Fehler")]
            self.assertEqual(found, list(differences))
            self.assertEqual([name for name, *_ in self.findings(result) if name in ("Kennung", "Methoden")], [])
            self.assertEqual("Übernahme" in [name for name, *_ in self.findings(result)], bool(arguments))
            self.assertEqual(foreign_host("answers", INTERFACE), "0")

    def test_the_component_s_own(self):
        result = self.station.check("--host-typelib", windows_path(workstation.options.bin / "DmsSolution.tlb"))
        self.assertEqual((result.faults(), result.code), ([], 0))
        self.assertIn("dieselbe", result.find("Schnittstelle", "Kennung")["wert"])

    def test_another_identifier(self):
        self.assert_adopted("same")

    def test_another_identifier_of_a_dual_interface(self):
        self.assert_adopted("dual")

    def test_another_order(self):
        self.assert_refused("order", "Platz 7 StartProvider: in Kandora steht hier ShowDocument",
                            "Platz 10 ShowDocument: in Kandora steht hier StartProvider")

    def test_by_reference(self):
        result = self.compare("references")
        values = [value for name, _, value in self.findings(result) if name == "Abweichung"]
        self.assertEqual(values[:3], [
            "Platz 7 ShowDocument, Argument 1 docId: Finanzbuchhaltung BSTR* (als Verweis), Kandora BSTR (als Wert)",
            "Platz 7 ShowDocument, Argument 2 metaData: Finanzbuchhaltung VARIANT* (als Verweis), "
            "Kandora VARIANT (als Wert)",
            "Platz 8 PrintDocument, Argument 1 docId: Finanzbuchhaltung BSTR* (als Verweis), Kandora BSTR (als Wert)"])
        self.assert_refused("references", *values)

    def test_another_result(self):
        self.assert_refused("result", "Platz 12 CreateDocID, Argument 2 result: Finanzbuchhaltung VARIANT*, Kandora BSTR*")

    def test_more_arguments(self):
        self.assert_refused("arguments", "Platz 10 StartProvider: 2 Argumente samt Ergebnis, in Kandora 1")

    def test_more_methods(self):
        self.assert_refused("more", "Platz 20 ArchiveAll: gibt es in Kandora nicht")

    def test_fewer_methods(self):
        result = self.compare("fewer", "--adopt")
        self.assertEqual((result.faults(), result.code), ([("Schnittstelle", "Abweichung", "Warnung")], 1))
        self.assertEqual(foreign_host("answers", INTERFACE), "1")

    def test_no_type_library(self):
        for file in (self.station.install / "Kandora.ini", self.station.folder / "gibt es nicht.tlb"):
            result = self.station.check("--adopt", "--host-typelib", windows_path(file))
            self.assertEqual(result.faults(), [("Schnittstelle", "Typbibliothek", "Fehler")])

    def test_nothing_to_adopt(self):
        result = self.station.check("--adopt")
        self.assertEqual(result.faults(), [("Schnittstelle", "Typbibliothek", "Fehler")])

    def test_found_through_the_registry(self):
        file = self.library("same")
        key = f"HKLM\\Software\\Classes\\TypeLib\\{LIBRARY}"
        for description in ("DmsSolution", "Archivanbindung"):
            windows("reg.exe", "add", f"{key}\\3.0", "/ve", "/d", description, "/f")
            windows("reg.exe", "add", f"{key}\\3.0\\0\\win32", "/ve", "/d", file, "/f")
            try:
                result = self.station.check()
                self.assertEqual(result.find("Schnittstelle", "Typbibliothek")["wert"], file)
                self.assertEqual(result.faults(), [("Schnittstelle", "Kennung", "Fehler")])
            finally:
                windows("reg.exe", "delete", key, "/f")
        self.assertEqual(self.station.check().faults(), [])
