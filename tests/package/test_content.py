"""What is in the packages: read back with the installer's own tools, not with the code that wrote them."""
import argparse
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import zipfile

import installer
import make_packages
import registration
import settings_template
import sources
from validation import stand_ins

PACKAGES = pathlib.Path(os.environ["KANDORA_PACKAGES"])
BIN = pathlib.Path(os.environ["KANDORA_BIN"])
ARCHITECTURE = os.environ["KANDORA_ARCHITECTURE"]
VERSION = os.environ["KANDORA_VERSION"]
NAME = f"Kandora-{VERSION}-{ARCHITECTURE}"
NEVER_OVERWRITE, PERMANENT = 0x80, 0x10
# Rights to a file or folder, as Windows numbers them.
WRITE_DATA, APPEND, WRITE_ATTRIBUTES, EXECUTE, DELETE_CHILD = 0x2, 0x4, 0x100, 0x20, 0x40
DELETE, CHANGE_RIGHTS, CHANGE_OWNER = 0x10000, 0x40000, 0x80000
WORDS = {"FA": 0x1F01FF}


def table(package, name):
    """The rows of a package's table as dictionaries; their values are texts."""
    done = subprocess.run(["msiinfo", "export", str(package), name], capture_output=True, check=True)
    lines = done.stdout.decode("utf-8").split("\r\n")
    columns = lines[0].split("\t")
    return [dict(zip(columns, line.split("\t"))) for line in lines[3:] if line]


def rights(sddl):
    """Entries of a permission text: (flags, mask, who). It must be protected against inheritance."""
    if not sddl.startswith("D:PAI"):
        raise AssertionError(sddl)
    entries = re.findall(r"\(A;([A-Z]*);([^;]+);;;([A-Z]+)\)", sddl)
    if len(entries) != sddl.count("("):
        raise AssertionError(sddl)
    return [({flags[place:place + 2] for place in range(0, len(flags), 2)}, WORDS.get(mask) or int(mask, 0), who)
            for flags, mask, who in entries]


def build(output, **environment):
    subprocess.run([sys.executable, str(sources.ROOT / "packaging" / "make_packages.py"), str(BIN.parent),
                    str(output)], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                   env=os.environ | environment)


class Content(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.package = PACKAGES / f"{NAME}.msi"
        cls.archive = PACKAGES / f"{NAME}.zip"

    def test_two_builds_are_equal_byte_for_byte(self):
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            build(first)
            build(second, TZ="Pacific/Auckland", LC_ALL="C")
            for file in (self.package, self.archive):
                content = (pathlib.Path(first) / file.name).read_bytes()
                self.assertEqual(content, (pathlib.Path(second) / file.name).read_bytes())
            # Another date gives another file, so that the comparison can fail.
            build(second, SOURCE_DATE_EPOCH="1000000000")
            self.assertNotEqual(content, (pathlib.Path(second) / self.archive.name).read_bytes())

    def test_what_was_built_carries_no_time_and_no_place(self):
        """Another build of the same sources, at another time in another folder, has nothing to be different in."""
        for name in ("Kandora.dll", "kandora-check.exe"):
            content = (BIN / name).read_bytes()
            header = struct.unpack_from("<I", content, 0x3C)[0]
            self.assertEqual(content[header:header + 4], b"PE\0\0")
            self.assertEqual(struct.unpack_from("<I", content, header + 8)[0], 0)
            for place in (str(BIN.parent), str(sources.ROOT)):
                self.assertNotIn(place.encode("utf-8"), content)
                self.assertNotIn(place.encode("utf-16-le"), content)
        component, library = [(BIN / name).read_bytes() for name in ("Kandora.dll", "DmsSolution.tlb")]
        self.assertIn(library, component)
        times = re.findall(rb"Created by WIDL version \S+ at ([^\x00-\x1f]{24})", component)
        self.assertEqual(times, [b"Tue Jan 19 03:14:07 2038"] * 2)

    def test_codes_differ_by_content_and_version(self):
        codes = {}
        for file in PACKAGES.glob(f"Kandora-*-{ARCHITECTURE}.msi"):
            properties = {row["Property"]: row["Value"] for row in table(file, "Property")}
            codes[properties["ProductVersion"]] = properties["ProductCode"], properties["UpgradeCode"]
        self.assertGreaterEqual(len(codes), 2)
        self.assertEqual(len({product for product, _ in codes.values()}), len(codes))
        self.assertEqual(len({upgrade for _, upgrade in codes.values()}), 1)

    def test_any_difference_makes_another_product(self):
        """Two packages with one code are one product for Windows, which then refuses the second (error 1638)."""
        def codes(change):
            package = stand_ins.package(ARCHITECTURE, change)
            return package.product_code, package.upgrade_code

        plain = codes(lambda package: None)
        self.assertEqual(codes(lambda package: None), plain)
        for name, change in {
                "a right": lambda package: package.add("MsiLockPermissionsEx", "x", "INSTALLDIR", "CreateFolder", "D:", None),
                "a place in a sequence": lambda package: package.add("InstallExecuteSequence", "RemoveFolders", None, 3601),
                "a property": lambda package: package.add("Property", "NEU", "1"),
                "a file": lambda package: package.contents.append(("x", b"x"))}.items():
            with self.subTest(name):
                product, upgrade = codes(change)
                self.assertNotEqual(product, plain[0])
                self.assertEqual(upgrade, plain[1])

    def test_versions_stay_in_range(self):
        for version in ("1.0.0", "255.255.65535"):
            self.assertEqual(make_packages.checked_version(version), version)
        for version in ("1.0", "1.0.0.0", "256.0.0", "1.256.0", "1.0.65536", "1.0.x"):
            with self.assertRaises(argparse.ArgumentTypeError):
                make_packages.checked_version(version)

    def test_no_command_of_the_documents_restarts_a_machine(self):
        for name in ("docs/Handbuch.md", "README.md"):
            commands = re.findall(r"^msiexec .*$", (sources.ROOT / name).read_text(encoding="utf-8"), flags=re.MULTILINE)
            self.assertTrue(commands, name)
            self.assertEqual([command for command in commands if " /norestart" not in command], [])

    def test_the_files_are_those_that_were_built(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["msiextract", "-C", folder, str(self.package)], check=True, stdout=subprocess.DEVNULL)
            top = next(pathlib.Path(folder).rglob("Kandora.dll")).parent
            packed = {str(file.relative_to(top)): file.read_bytes() for file in top.rglob("*") if file.is_file()}
        with zipfile.ZipFile(self.archive) as archive:
            zipped = {name.removeprefix(f"{NAME}/"): archive.read(name) for name in archive.namelist()}
        settings = packed.pop("Kandora.ini")
        self.assertEqual(settings, packed["Kandora.ini.template"])
        self.assertEqual(packed, zipped)
        for name in ("Kandora.dll", "DmsSolution.tlb", "Platzhalter.pdf", "Kandora.ini.template"):
            self.assertEqual(packed[name], (BIN / name).read_bytes())
        self.assertEqual(packed["Werkzeuge/kandora-check.exe"], (BIN / "kandora-check.exe").read_bytes())
        self.assertIn("CLI11", packed["Lizenzen/Lizenzen.txt"].decode("utf-8-sig"))
        self.assertIn("Runtime Library Exception", packed["Lizenzen/Lizenzen.txt"].decode("utf-8-sig"))
        for line in re.findall(r"Texte?: (.*)", packed["Lizenzen/Lizenzen.txt"].decode("utf-8-sig")):
            for name in line.strip().split(" und "):
                self.assertIn(f"Lizenzen/{name}", packed)

    def test_file_versions_and_hashes_are_noted(self):
        files = {row["File"]: row for row in table(self.package, "File")}
        hashed = {row["File_"] for row in table(self.package, "MsiFileHash")}
        self.assertEqual(files["f_Kandora_dll"]["Version"], f"{VERSION}.0")
        self.assertEqual({name for name, row in files.items() if not row["Version"]}, hashed)
        self.assertEqual(sorted(int(row["Sequence"]) for row in files.values()), list(range(1, len(files) + 1)))

    def test_a_new_build_replaces_files_of_the_same_version(self):
        conditions = {row["Action"]: row["Condition"] for row in table(self.package, "InstallExecuteSequence")}
        self.assertEqual(conditions["AlleDateien"], "GLEICHEVERSION AND NOT Installed AND NOT REINSTALLMODE")
        upgrades = {row["ActionProperty"]: row for row in table(self.package, "Upgrade")}
        self.assertEqual((upgrades["VORGAENGER"]["VersionMax"], int(upgrades["VORGAENGER"]["Attributes"]) & 0x202),
                         (VERSION, 0x200))
        self.assertEqual((upgrades["NEUEREVERSION"]["VersionMin"], int(upgrades["NEUEREVERSION"]["Attributes"]) & 0x102),
                         (VERSION, 0x2))
        order = {row["Action"]: int(row["Sequence"]) for row in table(self.package, "InstallExecuteSequence")}
        self.assertLess(order["NeuereVersion"], order["InstallInitialize"])
        self.assertLess(order["InstallInitialize"], order["RemoveExistingProducts"])
        self.assertLess(order["RemoveExistingProducts"], order["ProcessComponents"])

    def test_no_package_touches_existing_settings(self):
        component = {row["Component"]: row for row in table(self.package, "Component")}["Kandora_ini"]
        self.assertEqual(int(component["Attributes"]) & (NEVER_OVERWRITE | PERMANENT), NEVER_OVERWRITE)
        self.assertEqual(component["ComponentId"], "")
        removed = table(self.package, "RemoveFile")
        self.assertEqual({row["FileName"] for row in removed}, {"Kandora.ini", "*.log", ""})
        # Only where the property is set, and it is set only on request.
        self.assertEqual({row["DirProperty"] for row in removed}, {"ENTFERNEORDNER"})
        setters = [row["Action"] for row in table(self.package, "CustomAction") if row["Source"] == "ENTFERNEORDNER"]
        conditions = [row["Condition"] for row in table(self.package, "InstallExecuteSequence")
                      if row["Action"] in setters]
        self.assertEqual(len(conditions), 1)
        self.assertIn("ENTFERNEALLES=1", conditions[0])

    def test_users_add_files_and_change_none(self):
        locks = table(self.package, "MsiLockPermissionsEx")
        # Only in an installation for all users: a user may do anything in a folder of the user's own.
        self.assertEqual({row["Condition"] for row in locks}, {"ALLUSERS"})
        texts = {row["LockObject"]: row["SDDLText"] for row in locks}
        created = {row["Directory_"] for row in table(self.package, "CreateFolder")}
        self.assertEqual({row["LockObject"] for row in locks if row["Table"] == "CreateFolder"}, created)
        self.assertIn("f_Kandora_dll", texts)
        changing = WRITE_DATA | APPEND | WRITE_ATTRIBUTES | DELETE_CHILD | DELETE | CHANGE_RIGHTS | CHANGE_OWNER
        for name, sddl in texts.items():
            entries = rights(sddl)
            for who in ("SY", "BA"):
                self.assertIn(0x1F01FF, [mask for _, mask, user in entries if user == who])
            self.assertEqual({user for _, _, user in entries} - {"SY", "BA", "BU", "OW"}, set())
            here = sum({bit for flags, mask, user in entries if user == "BU" and "IO" not in flags
                        for bit in (1 << place for place in range(21)) if mask & bit})
            self.assertEqual(here & EXECUTE, EXECUTE)
            self.assertEqual(here & changing, WRITE_DATA if name == "INSTALLDIR" else 0)
        # What a user's new file in the folder inherits: nobody but administrators runs it, nor changes its rights.
        inherited = [(mask, user) for flags, mask, user in rights(texts["INSTALLDIR"])
                     if "OI" in flags and user not in ("SY", "BA")]
        self.assertEqual({user for _, user in inherited}, {"BU", "OW"})
        for mask, user in inherited:
            self.assertEqual(mask & (EXECUTE | DELETE | CHANGE_RIGHTS | CHANGE_OWNER), 0)
            self.assertEqual(bool(mask & APPEND), user == "OW")

    def test_registers_what_the_sources_name(self):
        """The table has an entry for each class, interface and library of the interface files, and removes all of it."""
        rows = table(self.package, "Registry")
        keys = {row["Key"].removeprefix("Software\\Classes\\") for row in rows}
        guids = set()
        for name in registration.LIBRARIES:
            guids |= set(re.findall(r"uuid\(([^)]+)\)", (registration.INTERFACES / f"{name}.idl").read_text("utf-8")))
        for guid in guids:
            self.assertTrue([key for key in keys if f"{{{guid}}}" in key], guid)
        removed = [row["Key"] for row in rows if row["Name"] == "-"]
        for row in rows:
            self.assertTrue([key for key in removed if row["Key"] == key or row["Key"].startswith(key + "\\")], row)
        # What both architectures share, and nothing else, is left alone by a removal while the other one is there.
        branched = {key for key in keys if key.startswith("[ZWEIG]")}
        self.assertEqual(branched, {key for key in keys if re.match(r"(\[ZWEIG\])?(Kandora\.|TypeLib\\)", key)
                                    and not re.search(r"win(32|64)$", key)})

    def test_short_names_are_unique_and_short(self):
        names = {}
        components = {row["Component"]: row["Directory_"] for row in table(self.package, "Component")}
        for row in table(self.package, "File"):
            short = row["FileName"].split("|")[0]
            self.assertRegex(short, r"^[A-Za-z0-9~]{1,8}(\.[A-Za-z0-9]{1,3})?$")
            names.setdefault(components[row["Component_"]], []).append(short.lower())
        for group in names.values():
            self.assertEqual(len(group), len(set(group)))


class Template(unittest.TestCase):
    def test_the_template_has_every_setting_in_the_order_of_reading(self):
        keys = settings_template.keys_of(settings_template.TEMPLATE.read_text(encoding="utf-8"))

        def source(*path):
            return sources.ROOT.joinpath("src", *path).read_text(encoding="utf-8")

        code, settings = source("provider", "SettingsTable.cpp"), source("model", "Settings.h")
        constants = dict(re.findall(r'(\w+Section) = L"(\w+)"', code))
        partner = re.findall(r'\{L"(\w+)"', re.search(r"indexFieldTable = (.*?)\}\);", settings, flags=re.DOTALL)[1])
        voucher = partner[:int(re.search(r"voucherIndexFields = partnerIndexFields\.first\((\d+)\)", settings)[1])]
        fields = {"partnerIndexFields": partner, "voucherIndexFields": voucher}
        kinds = {row[1]: (row[2], [(row[3], key) for key in fields[row[4]]]) for row in re.finditer(
            r'(\w+Kind)\{.*?glMaske\w+,\s*L"(\w+)",\s*&Settings::giIdx\w+,\s*L"(\w+)",\s*(\w+)',
            source("archive", "DocumentKinds.h"), flags=re.DOTALL)}
        expected = []
        for row in re.finditer(r'\{(?:L"(\w+)"|(\w+Section)), L"(\w+)",|MaskSetting\(settings, (\w+)\)|'
                               r'AppendIndexSettings\(table, settings, (\w+)\)', code):
            if row[4]:
                expected.append((constants["maskSection"], kinds[row[4]][0]))
            elif row[5]:
                expected += kinds[row[5]][1]
            else:
                expected.append((row[1] or constants[row[2]], row[3]))
        self.assertEqual(len(expected), 50)
        self.assertEqual(keys, expected)

    def test_every_key_is_explained(self):
        lines = settings_template.TEMPLATE.read_text(encoding="utf-8").splitlines()
        for place, line in enumerate(lines):
            if "=" in line and not line.startswith(";"):
                self.assertTrue(lines[place - 1].startswith("; "), line)

    def test_the_release_is_written_down(self):
        keys = settings_template.keys_of(settings_template.TEMPLATE.read_text(encoding="utf-8"))
        file = settings_template.RELEASES / f"{VERSION}.keys"
        self.assertEqual([tuple(line.split("\t")) for line in file.read_text(encoding="utf-8").splitlines()], keys)

    def test_news_name_what_came_and_went(self):
        template = "[A]\nb=1\n; c=2\nneu=\n[D]\ne=\n"
        before = "0.9.0", [("A", "b"), ("A", "alt"), ("D", "e")]
        text = settings_template.news("1.0.0", template, before)
        self.assertRegex(text, r"dazugekommen[^\n]*\n  \[A\] neu\n")
        self.assertRegex(text, r"weggefallen[^\n]*\n  \[A\] alt\n")
        self.assertNotIn("[D] e", text)
        self.assertIn("passt ohne Änderung", settings_template.news("1.0.0", template, (
            "0.9.0", settings_template.keys_of(template))))
        self.assertIn("erste Ausgabe", settings_template.news("1.0.0"))
        self.assertIn("Seit der Ausgabe 1.0.0", settings_template.news("1.0.1"))


class Cabinet(unittest.TestCase):
    def test_the_same_files_give_the_same_bytes(self):
        files = [("b.bin", bytes(range(256)) * 500), ("a.txt", b"Text")]
        first = installer.cabinet(files, 1700000000)
        mask = os.umask(0o077)
        self.addCleanup(os.umask, mask)
        with unittest.mock.patch.dict(os.environ, TZ="Pacific/Auckland"):
            self.assertEqual(installer.cabinet(files, 1700000000), first)
        self.assertNotEqual(installer.cabinet(files, 1700086400), first)
        self.assertNotEqual(installer.cabinet(files[::-1], 1700000000), first)

    def test_an_extractor_reads_it_back(self):
        """More than one block, an empty file, and one that does not compress."""
        files = [("a.bin", bytes(range(256)) * 500), ("leer.txt", b""), ("zufall.bin", os.urandom(70000))]
        with tempfile.TemporaryDirectory() as folder:
            work = pathlib.Path(folder)
            (work / "x.cab").write_bytes(installer.cabinet(files, 1700000000))
            # The tool that extracts needs a package around the cabinet.
            tables = {
                "File": "File\tComponent_\tFileName\tFileSize\tVersion\tLanguage\tAttributes\tSequence\r\n"
                        "s72\ts72\tl255\ti4\tS72\tS20\tI2\ti2\r\nFile\tFile\r\n" + "".join(
                            f"{name}\tc\t{name}\t{len(data)}\t\t\t512\t{place}\r\n"
                            for place, (name, data) in enumerate(files, start=1)),
                "Component": "Component\tComponentId\tDirectory_\tAttributes\tCondition\tKeyPath\r\n"
                             "s72\tS38\ts72\ti2\tS255\tS72\r\nComponent\tComponent\r\nc\t\tTARGETDIR\t0\t\ta.bin\r\n",
                "Directory": "Directory\tDirectory_Parent\tDefaultDir\r\ns72\tS72\tl255\r\nDirectory\tDirectory\r\n"
                             "TARGETDIR\t\tSourceDir\r\n",
                "Media": "DiskId\tLastSequence\tDiskPrompt\tCabinet\tVolumeLabel\tSource\r\n"
                         "i2\ti2\tL64\tS255\tS32\tS72\r\nMedia\tDiskId\r\n1\t3\t\t#x.cab\t\t\r\n"}
            for name, text in tables.items():
                (work / f"{name}.idt").write_text(text, encoding="utf-8", newline="")
            subprocess.run(["msibuild", "p.msi", "-i", *(f"{name}.idt" for name in tables), "-a", "x.cab", "x.cab"],
                           cwd=work, check=True)
            subprocess.run(["msiextract", "-C", "out", "p.msi"], cwd=work, check=True, stdout=subprocess.DEVNULL)
            for name, data in files:
                self.assertEqual(next((work / "out").rglob(name)).read_bytes(), data)
