"""Installing, using, upgrading, repairing and removing, on a machine that has never seen the component."""
import json
import os
import re
import shutil
import unittest

import registration
import workstation
from installation import (INSTALL_FAILED, InstalledWorkstation, added, architecture, disk, drive, install,
                          machine_registry, msiexec, other_view, product_code, program_folder, registry, remove)
from workstation import Client, run_script, windows, windows_path

FIRST = os.environ["KANDORA_VERSION"]
SECOND = re.sub(r"\d+$", lambda patch: str(int(patch[0]) + 1), FIRST)
KEPT = {"Kandora.ini"}
# Section and key of a setting, the line in its place, and what kandora-check calls the fault.
SETTING_FAULTS = [
    ("Login", "ELOPW", "ELOPW=falsch", "Archiv", "Anmeldung"),
    ("Login", "ELOKUERZEL", "ELOKUERZEL=", "Einstellungen", "[Login] ELOKUERZEL"),
    ("Archiv", "Archivname", "Archivname=Anderes", "Archiv", "Anmeldung"),
    ("Archiv", "Treuhand", "Treuhand=vielleicht", "Einstellungen", "[Archiv] Treuhand"),
    ("Archiv", "EloPrinterFile", "EloPrinterFile=C:\\weg\\Druck.pdf", "Ordner", "Druckdatei"),
    ("Maske", "Debi", "Debi=4711", "Archiv", "Maske Debi"),
    ("IndexDebi", "Rechnungsdatum", "Rechungsdatum=8", "Einstellungen", "[IndexDebi] Rechnungsdatum"),
    ("IndexKredi", "Betrag", "Betrag=1", "Einstellungen", "Zeile 1 der Maske 5"),
]
# The same for files that are gone.
FILE_FAULTS = [
    ("Kandora.ini", "Einstellungen", "Datei"),
    ("Platzhalter.pdf", "Finanzbuchhaltung", "Option 600/105 Platzhalter"),
    ("Kandora.dll", "Komponente", "Datei"),
]
HOST_INTERFACE = "{8E2B6F10-5C0B-4D0C-9D0E-2B8C6B1F7A55}"
FILING_SCRIPT = r"""
Dim provider
Set provider = CreateObject("Kandora.ELOProvider")
provider.InitProvider ""
provider.SaveDocument "{docId}", Array("", "", "{belegNr}", "{belegIndex}", "{barcode}")
Set provider = Nothing
WScript.Echo "Ende"
WScript.Quit 0
"""


def class_entries(entries, folder):
    """The component's entries among the registry's, with its folder as "*"."""
    place = str(folder).replace("\\", "\\\\")
    found = {}
    for (key, name), value in entries.items():
        if "\\Classes\\" in key or "\\Classes" == key[-8:]:
            text = value.replace(place + "\\\\", "*\\\\").replace(f'"{place}"', '"*\\\\"') if value else value
            found[key, name] = text
    return found


class Installer(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        # The script host registers itself when it first runs.
        cls.probe()
        cls.clean = machine_registry()

    def tearDown(self):
        # What a failed test has left must not affect the next one.
        for version in self.products():
            remove(version, "ENTFERNEALLES=1")
        shutil.rmtree(program_folder(), ignore_errors=True)

    def installed_product(self, folder, present):
        """The component registers from this folder, or not at all."""
        self.assertEqual(self.probe(), "1" if present else "")
        self.assertEqual((folder / "Kandora.dll").exists(), present)

    def test_1_registers_as_the_component_itself_does(self):
        clean_disk = disk()
        # By hand, in a folder elsewhere.
        folder = workstation.options.work / "Von Hand"
        folder.mkdir()
        for file in ("Kandora.dll",):
            shutil.copy(workstation.options.bin / file, folder)
        windows("regsvr32.exe", "/s", windows_path(folder / "Kandora.dll"))
        by_hand = class_entries(added(self.clean, machine_registry()), windows_path(folder))
        windows("regsvr32.exe", "/s", "/u", windows_path(folder / "Kandora.dll"))
        self.assertEqual(added(self.clean, machine_registry()), {})
        self.assertGreater(len(by_hand), 150)

        install(FIRST)
        after = added(self.clean, machine_registry())
        windows_folder = "C:\\" + str(program_folder().relative_to(drive())).replace("/", "\\")
        installed = class_entries(after, windows_folder)
        # What Windows notes in this branch about the package itself.
        installed = {place: value for place, value in installed.items() if "\\Classes\\Installer" not in place[0]}
        self.assertEqual(installed, by_hand)
        self.installed_product(program_folder(), True)
        names = {str(path.relative_to(program_folder())) for path in program_folder().rglob("*") if path.is_file()}
        self.assertLessEqual({"Kandora.dll", "DmsSolution.tlb", "Platzhalter.pdf", "Kandora.ini", "Kandora.ini.template",
                              "Neu in der Vorlage.txt", "Handbuch.html", "Lizenzen/Lizenzen.txt",
                              "Werkzeuge/kandora-check.exe"}, names)
        self.assertEqual((program_folder() / "Kandora.ini").read_bytes(),
                         (workstation.options.bin / "Kandora.ini.template").read_bytes())

        remove(FIRST)
        self.assertEqual(added(self.clean, machine_registry()), {})
        self.assertEqual({path.name for path in program_folder().iterdir()}, KEPT)
        # Settings that are there already are taken over; asked for it, the removal leaves nothing at all.
        (program_folder() / "Kandora.ini").write_text("[Debug]\r\nTest=True\r\n", encoding="ascii")
        install(FIRST)
        self.assertIn("Test=True", (program_folder() / "Kandora.ini").read_text(encoding="cp1252"))
        remove(FIRST, "ENTFERNEALLES=1")
        end = machine_registry()
        self.assertEqual((added(self.clean, end), added(end, self.clean)), ({}, {}))
        self.assertFalse(program_folder().exists())
        self.assertEqual(disk() - clean_disk, set())

    def test_2_files_upgrades_and_repairs(self):
        install(FIRST)
        station = InstalledWorkstation("workstation")
        station.fill_settings()
        settings = (station.install / "Kandora.ini").read_bytes()
        bookings = Client(station.client).with_barcode()

        # Sets the client up, with the input box, and files the first voucher as the accounting does.
        first = bookings[0]
        report = station.run_host(["InitProvider", f"SaveDocument booking {first['belegNr']} {first['belegIndex']}"])
        self.assertEqual([box["caption"] for request in report.requests for box in request["boxes"]],
                         ["Archivpfad erstellen"])
        self.assertEqual(len(station.entries()), 1)
        self.assert_checked(station)
        self.file_by_script(station, bookings[1])
        self.assertEqual(len(station.entries()), 2)
        self.assertEqual({entry["inhalt"] for entry in station.entries()}, {station.placeholder.read_bytes()})
        logs = {path.name for path in station.install.glob("*.log")}
        self.assertGreaterEqual(len(logs), 2)

        # The host's own interface was adopted; an upgrade must not lose it.
        key = "HKEY_LOCAL_MACHINE\\Software\\Classes\\" + registration.provider_class_key()
        windows("reg.exe", "add", key, "/v", registration.HOST_INTERFACE_VALUE, "/d", HOST_INTERFACE, "/f")
        (station.install / "Kandora.ini.template").write_text("veraltet", encoding="ascii")
        install(SECOND)
        self.assertEqual((station.install / "Kandora.ini").read_bytes(), settings)
        self.assertEqual((station.install / "Kandora.ini.template").read_bytes(),
                         (workstation.options.bin / "Kandora.ini.template").read_bytes())
        self.assertIn(SECOND, (station.install / "Neu in der Vorlage.txt").read_text(encoding="utf-8-sig"))
        self.assertIn(HOST_INTERFACE, windows("reg.exe", "query", key, "/v", registration.HOST_INTERFACE_VALUE))
        self.assertEqual(self.products(), [SECOND])
        self.file_by_script(station, bookings[2])
        self.assertEqual(len(station.entries()), 3)

        # An older version does not go over a newer one.
        install(FIRST, expected=INSTALL_FAILED)
        self.assertEqual(self.products(), [SECOND])
        self.installed_product(station.install, True)

        # What got lost comes back; the settings stay as they are.
        complete = machine_registry()
        (station.install / "Kandora.dll").unlink()
        (station.install / "DmsSolution.tlb").unlink()
        windows("reg.exe", "delete", key, "/f")
        windows("reg.exe", "delete", r"HKEY_LOCAL_MACHINE\Software\Classes\Kandora.cBeleg", "/f")
        self.assertEqual(self.probe(), "")
        # What "/famus" stands for, spelt out: wine's installer does not know that switch.
        msiexec("/i", product_code(SECOND), "/qn", "/norestart", "REINSTALL=ALL", "REINSTALLMODE=amus")
        self.installed_product(station.install, True)
        repaired = machine_registry()
        # The adopted interface is the administrator's entry and not part of the product.
        missing = {place for place in added(repaired, complete) if "\\Installer\\" not in place[0]}
        self.assertEqual({(key[key.index("CLSID"):], name) for key, name in missing},
                         {(registration.provider_class_key(), f'"{registration.HOST_INTERFACE_VALUE}"')})
        self.assertEqual((station.install / "Kandora.ini").read_bytes(), settings)
        self.assertTrue((station.install / "DmsSolution.tlb").exists())
        self.file_by_script(station, bookings[3])
        self.assertEqual(len(station.entries()), 4)

        station.close()
        remove(SECOND)
        left = {path.name for path in station.install.iterdir()}
        self.assertEqual({name for name in left if not name.endswith(".log")}, KEPT)
        self.assertLessEqual(logs, left)
        self.assertEqual((station.install / "Kandora.ini").read_bytes(), settings)
        self.assertEqual(added(self.clean, machine_registry()), {})
        shutil.rmtree(station.install)

    def test_3_for_one_user_and_into_another_folder(self):
        for_one_user = ("MSIINSTALLPERUSER=1", "ALLUSERS=")
        install(FIRST, *for_one_user)
        after = added(self.clean, machine_registry())
        classes = {key for key, _ in after if "\\Classes\\" in key and "\\Installer" not in key}
        self.assertTrue(classes)
        self.assertEqual({key.split("\\")[0] for key in classes}, {"HKEY_CURRENT_USER"})
        files = [path for path in (drive() / "users").rglob("Kandora.dll")]
        self.assertEqual(len(files), 1)
        self.assertRegex(str(files[0]), r"/AppData/Local/Programs/Kandora")
        server = [value for (key, name), value in after.items() if key.endswith("\\InprocServer32") and name == "@"]
        self.assertEqual(len(set(server)), 1)
        self.assertIn("\\\\AppData\\\\Local\\\\Programs\\\\Kandora", server[0])
        self.assertFalse(program_folder().exists())
        # Not beside it for everybody. (The same package once more would only look after what is there.)
        install(SECOND, expected=INSTALL_FAILED)
        self.assertEqual(added(after, added(self.clean, machine_registry())), {})
        self.assertFalse(program_folder().exists())
        remove(FIRST, "ENTFERNEALLES=1", *for_one_user)
        self.assertEqual(added(self.clean, machine_registry()), {})
        self.assertFalse(files[0].parent.exists())

        install(FIRST, r"INSTALLDIR=C:\Eigene Programme\Kandora")
        own = drive() / "Eigene Programme" / "Kandora"
        self.installed_product(own, True)
        installed = added(self.clean, machine_registry())
        install(SECOND, *for_one_user, expected=INSTALL_FAILED)
        self.assertEqual(added(installed, added(self.clean, machine_registry())), {})
        self.assertEqual([path for path in (drive() / "users").rglob("Kandora.dll")], [])
        (own / "Kandora.ini").write_text("; eigene\r\n", encoding="ascii")
        install(SECOND)  # finds the folder again
        self.assertEqual((own / "Kandora.ini").read_text(encoding="ascii").strip(), "; eigene")
        self.installed_product(own, True)
        self.assertFalse(program_folder().exists())
        remove(SECOND, "ENTFERNEALLES=1")
        self.assertFalse(own.exists())
        self.assertEqual(added(self.clean, machine_registry()), {})

    def test_4_leaves_the_other_architecture_its_share(self):
        """The ProgIDs are common to both; the component that stays needs them."""
        install(FIRST)
        other, others = {"x86": ("x64", "system32"), "x64": ("x86", "syswow64")}[architecture()]
        key = "HKEY_LOCAL_MACHINE\\Software\\Classes\\" + registration.library_place(
            registration.read_library("Kandora"), other)
        other_view(others, "add", key, "/ve", "/d", r"C:\Andere\Kandora.dll\1", "/f")
        remove(FIRST, "ENTFERNEALLES=1")
        self.assertFalse(program_folder().exists())
        left = {key for key, _ in added(self.clean, machine_registry())}
        self.assertTrue([key for key in left if key.endswith("\\Kandora.cBeleg\\CLSID")])
        self.assertFalse([key for key in left if key.endswith("InprocServer32") and "6D013511" in key])
        # With the other one gone, the next removal takes everything.
        other_view(others, "delete", key.split("\\1.0")[0], "/f")
        install(FIRST)
        remove(FIRST, "ENTFERNEALLES=1")
        self.assertEqual(added(self.clean, machine_registry()), {})

    # ---- helpers --------------------------------------------------------------------------------------------------

    def products(self):
        """Versions of the component that Windows lists as installed."""
        view = "Software\\Wow6432Node" if architecture() == "x86" else "Software"
        entries = registry(f"HKEY_LOCAL_MACHINE\\{view}\\Microsoft\\Windows\\CurrentVersion\\Uninstall")
        keys = {key for (key, name), value in entries.items()
                if name == '"DisplayName"' and value and "Kandora" in value}
        return sorted(entries[key, '"DisplayVersion"'].strip('"') for key in keys)

    @staticmethod
    def probe():
        """What a script gets from an object of the registered component: "1", or nothing when there is none."""
        file = workstation.options.work / "probe.vbs"
        file.write_text('Set record = CreateObject("Kandora.cBeleg")\r\nrecord.BelegNr = "1"\r\n'
                        "WScript.Echo record.BelegNr\r\n", encoding="ascii")
        return run_script(file)

    def file_by_script(self, station, booking):
        """Lets a script file a voucher through the registered component."""
        file = station.folder / "ablegen.vbs"
        file.write_text(FILING_SCRIPT.format(**booking), encoding="cp1252")
        self.assertEqual(run_script(file), "Ende")

    def assert_checked(self, station):
        """kandora-check finds nothing to complain about, and each of the faults."""
        code, output = station.check()
        self.assertEqual(code, 0, output)
        settings = station.install / "Kandora.ini"
        right = settings.read_bytes()
        for section, key, line, *finding in SETTING_FAULTS:
            with self.subTest(line=line):
                text, count = re.subn(rf"(?s)(\[{section}\].*?\n){key}=[^\r\n]*", lambda found, line=line: found[1] + line,
                                      right.decode("cp1252"), count=1)
                self.assertEqual(count, 1)
                settings.write_bytes(text.encode("cp1252"))
                self.assert_found(station, *finding)
        settings.write_bytes(right)
        for file, *finding in FILE_FAULTS:
            with self.subTest(file=file):
                away = station.folder / file
                shutil.move(station.install / file, away)
                self.assert_found(station, *finding)
                shutil.move(away, station.install / file)
        self.assertEqual(station.check()[0], 0)

    def assert_found(self, station, area, name):
        """Exit code 2 and a failure of this name."""
        code, output = station.check("--json")
        self.assertEqual(code, 2, output)
        self.assertIn((area, name, "fehler"), [(check["bereich"], check["name"], check["ergebnis"].lower())
                                               for check in json.loads(output)["pruefungen"]])
