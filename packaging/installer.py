"""The tables of the Windows Installer package and how they become a file.

Everything that the package does stands in tables; nothing in it runs programs of its own on the target machine.
"""
import datetime
import hashlib
import os
import pathlib
import struct
import subprocess
import tempfile
import uuid

import dialogs
import registration
import schema

# Fixed for good: Windows recognises later versions and shared parts by what is derived from this.
NAMESPACE = uuid.UUID("5e1a1f7c-2f0b-4b57-9a35-0d7f6f0c8b1e")
LANGUAGE = 2055  # German (Switzerland)
CODE_PAGE = 1252
MACHINE_NAMES = {"x86": "Intel", "x64": "x64"}
BITS = {"x86": "32 Bit", "x64": "64 Bit"}
CLASSES = "Software\\Classes\\"
# Registry root: the machine's or the user's part, as the installation is for one or the other.
MACHINE_OR_USER = -1

# Component attributes
REGISTRY_KEY_PATH, NEVER_OVERWRITE, IS_64_BIT = 0x4, 0x80, 0x100
# File attributes
VITAL, COMPRESSED = 0x200, 0x4000
# Custom actions: set a property; end with an error
SET_PROPERTY, STOP_WITH_ERROR = 51, 19
# Upgrade attributes
DETECT_ONLY, INCLUDE_MINIMUM, INCLUDE_MAXIMUM = 0x2, 0x100, 0x200
ON_REMOVAL = 2

# The folder takes the users' log files. Administrators and the system may do everything. Users may read what is there, and add
# files to this folder but not to those below; whoever adds a file may read and write it. No user may start or load what has
# been added: new files come without the right to execute, and their owner's implied right to change the permissions is taken
# back (OW).
FOLDER_PERMISSIONS = ("D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;CI;0x1200a9;;;BU)(A;OIIO;0x120089;;;BU)"
                      "(A;;0x2;;;BU)(A;OIIO;0x12019f;;;OW)")
# Program files: users may start them, only administrators may change them.
PROGRAM_PERMISSIONS = "D:PAI(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x1200a9;;;BU)"
# Folders below: the same, for all that is in them.
SUBFOLDER_PERMISSIONS = "D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)"

NEWER_INSTALLED = "Auf diesem Computer ist bereits eine neuere Version von Kandora installiert."
INSTALLED_FOR_USER = ("Kandora ist für Ihr Benutzerkonto allein bereits eingetragen: [EINTRAGBENUTZER]. Entfernen Sie diese "
                      "Installation, bevor Sie Kandora für alle Benutzer installieren.")
INSTALLED_FOR_ALL = ("Kandora ist auf diesem Computer für alle Benutzer bereits eingetragen: [EINTRAGMASCHINE]. Entfernen Sie "
                     "diese Installation, bevor Sie Kandora für einen Benutzer allein installieren.")
ICON = "Kandora.ico"
# A condition: the property is empty when the installation is for one user.
FOR_THE_MACHINE = "ALLUSERS"


def derived_guid(name):
    return f"{{{uuid.uuid5(NAMESPACE, name)}}}".upper()


def short_name(name, taken):
    """An old-style name (8.3) that no other file of the folder has."""
    stem, _, ending = name.rpartition(".") if "." in name else (name, "", "")
    plain = "".join(c for c in stem.upper() if c.isascii() and c.isalnum())
    ending = "".join(c for c in ending.upper() if c.isascii() and c.isalnum())[:3]
    candidate = plain + (f".{ending}" if ending else "")
    if candidate.lower() != name.lower() or len(plain) > 8:
        number = 1
        while (candidate := f"{plain[:6]}~{number}" + (f".{ending}" if ending else "")) in taken:
            number += 1
    taken.add(candidate)
    return candidate


def file_version(data):
    """The version of a program file from its fixed version information, or None."""
    at = data.find(struct.pack("<I", 0xFEEF04BD))
    if data[:2] != b"MZ" or at < 0:
        return None
    high, low = struct.unpack_from("<II", data, at + 8)
    return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"


def cabinet(files, timestamp):
    """A cabinet file, the compressed container inside a package, from (name, bytes) pairs, in their order, all dated
    `timestamp`. The same files give the same bytes: apart from the content nothing goes into it but names and dates."""
    with tempfile.TemporaryDirectory() as folder:
        for name, data in files:
            file = pathlib.Path(folder, name)
            file.write_bytes(data)
            os.utime(file, (timestamp, timestamp))
        subprocess.run(["gcab", "--create", "--zip", "--nopath", "made.cab", *(name for name, _ in files)], cwd=folder,
                       check=True)
        return pathlib.Path(folder, "made.cab").read_bytes()


class Package:
    """One architecture's package. `files` maps the path below the installation folder to the content; `licence` is the text
    that a person agrees to, `icon` what the list of installed programs shows. `change`, if any, is called when all is said that
    goes into the product's code."""

    def __init__(self, architecture, version, files, licence, icon, change=None):
        self.architecture = architecture
        self.version = version
        self.files = files
        self.icon = icon
        self.tables = {name: [] for name in schema.TABLES}
        self.contents = []  # (file key, bytes) in the order of the cabinet
        self.upgrade_code = derived_guid(f"upgrade {architecture}")
        self.own_bits = IS_64_BIT if architecture == "x64" else 0
        self._directories()
        self._files()
        self._registry()
        self._permissions()
        self._removal()
        self._properties()
        self._sequences()
        dialogs.add_dialogs(self, licence)
        self.add("Icon", ICON, f"{ICON}.ibd")
        if change:
            change(self)
        # The same package is the same product; anything else, in whatever it says, replaces it like a new version.
        self.product_code = derived_guid(f"product {self._digest()}")
        self.add("Property", "ProductCode", self.product_code)
        for row in schema.validation_rows([name for name, rows in self.tables.items() if rows] + ["_Validation"]):
            self.add("_Validation", *row)

    def _digest(self):
        """Of everything that the package says and brings."""
        digest = hashlib.sha256(self.icon)
        for name, rows in sorted(self.tables.items()):
            digest.update(f"\n{name}\n".encode() + table_text(name, rows).encode())
        for _, data in self.contents:
            digest.update(hashlib.sha256(data).digest())
        return digest.hexdigest()

    def add(self, table, *row):
        self.tables[table].append(row)

    def _component(self, name, directory, key_path, attributes=0, condition=None, guid=""):
        """`guid` "" derives the component's identifier; None leaves it out: such a component is never removed."""
        if guid == "":
            guid = derived_guid(f"component {self.architecture} {name}")
        self.add("Component", name, guid, directory, attributes, condition, key_path)
        self.add("FeatureComponents", "Kandora", name)

    def _directories(self):
        parent = {"x86": "ProgramFilesFolder", "x64": "ProgramFiles64Folder"}[self.architecture]
        self.add("Directory", "TARGETDIR", None, "SourceDir")
        self.add("Directory", parent, "TARGETDIR", ".")
        self.add("Directory", "INSTALLDIR", parent, "Kandora")
        self.directory_keys = {"": "INSTALLDIR"}
        taken = set()
        for name in sorted({path.rpartition("/")[0] for path in self.files} - {""}):
            key = self.directory_keys[name] = name.upper()
            short = short_name(name, taken)
            self.add("Directory", key, "INSTALLDIR", name if short.lower() == name.lower() else f"{short}|{name}")
        self.add("Feature", "Kandora", None, "Kandora", "Archivanbindung der Finanzbuchhaltung", 1, 1, "INSTALLDIR", 0)

    def _files(self):
        """Each file is a component of its own, so that Windows keeps account of each."""
        folders = set()
        taken = {}
        order = sorted(self.files, key=lambda path: (path != "Kandora.dll", path))
        for sequence, path in enumerate(order, start=1):
            data = self.files[path]
            folder, _, name = path.rpartition("/")
            component = "".join(c if c.isascii() and c.isalnum() else "_" for c in path)
            key = f"f_{component}"
            short = short_name(name, taken.setdefault(folder, set()))
            version = file_version(data)
            self.add("File", key, component, name if short.lower() == name.lower() else f"{short}|{name}", len(data),
                     version, str(LANGUAGE) if version else None, VITAL | COMPRESSED, sequence)
            if not version:
                parts = struct.unpack("<4i", hashlib.md5(data, usedforsecurity=False).digest())
                self.add("MsiFileHash", key, 0, *parts)
            self.contents.append((key, data))
            if path == "Kandora.ini":
                # Without an identifier Windows keeps no account of the file, so neither an upgrade nor a removal takes it.
                self._component(component, "INSTALLDIR", key, NEVER_OVERWRITE | self.own_bits, guid=None)
            else:
                self._component(component, self.directory_keys[folder], key, self.own_bits)
            if folder not in folders:
                folders.add(folder)
                self.add("CreateFolder", self.directory_keys[folder], component)
        self.add("Media", 1, len(self.contents), None, "#kandora.cab", None, None)

    def _registry(self):
        def class_key(key, shared):
            # Both architectures write the shared ones to the same place. While the other one is registered, a removal looks
            # for them in a branch that does not exist.
            return CLASSES + ("[ZWEIG]" if shared else "") + key

        def add(key, name, value, component):
            row = f"r{len(self.tables['Registry']) + 1:03}"
            self.add("Registry", row, MACHINE_OR_USER, key, name, value, component)
            return row

        for entry in registration.entries(self.architecture, "[#f_Kandora_dll]", "[INSTALLDIR]"):
            # A property that does not exist is an empty text; a table cannot hold one.
            add(class_key(entry.key, entry.shared), entry.name, entry.value or "[LEERERTEXT]", "Kandora_dll")
        for key, shared in registration.own_keys(self.architecture):
            # "-": at removal the key goes with everything in it.
            add(class_key(key, shared), "-", None, "Kandora_dll")
        place = f"Software\\Kandora\\{self.architecture}"
        row = add(place, "Ordner", "[INSTALLDIR]", "Ort")
        add(place, "-", None, "Ort")
        self._component("Ort", "INSTALLDIR", row, REGISTRY_KEY_PATH | self.own_bits)
        row = add(CLASSES + registration.provider_class_key(), registration.HOST_INTERFACE_VALUE, "[HOSTSCHNITTSTELLE]",
                  "Hostschnittstelle")
        # What kandora-check --adopt has written outlives an upgrade.
        self._component("Hostschnittstelle", "INSTALLDIR", row, REGISTRY_KEY_PATH | self.own_bits,
                        condition="HOSTSCHNITTSTELLE")
        bits = 16 if self.own_bits else 0
        # The other architecture is registered when the type library has a file for it.
        other = "x64" if self.architecture == "x86" else "x86"
        others_place = registration.library_place(registration.read_library("Kandora"), other)
        for signature, root in (("sANDEREMASCHINE", 2), ("sANDEREBENUTZER", 1)):
            self.add("AppSearch", "ANDEREARCHITEKTUR", signature)
            # Type libraries are common to programs of both architectures; a package may look with its own eyes only.
            self.add("RegLocator", signature, root, CLASSES + others_place, None, 2 | bits)
        for property_name, root, key, name in (
                ("ORTMASCHINE", 2, place, "Ordner"), ("ORTBENUTZER", 1, place, "Ordner"),
                ("EINTRAGMASCHINE", 2, CLASSES + registration.provider_class_key() + "\\InprocServer32", None),
                ("EINTRAGBENUTZER", 1, CLASSES + registration.provider_class_key() + "\\InprocServer32", None),
                ("HOSTSCHNITTSTELLE", 0, registration.provider_class_key(), registration.HOST_INTERFACE_VALUE)):
            self.add("AppSearch", property_name, f"s{property_name}")
            self.add("RegLocator", f"s{property_name}", root, key, name, 2 | bits)

    def _permissions(self):
        """Only where an administrator installs; a user's own folder is the user's."""
        for number, directory in enumerate(sorted(self.directory_keys.values()), start=1):
            rights = FOLDER_PERMISSIONS if directory == "INSTALLDIR" else SUBFOLDER_PERMISSIONS
            self.add("MsiLockPermissionsEx", f"o{number}", directory, "CreateFolder", rights, FOR_THE_MACHINE)
        self.add("MsiLockPermissionsEx", "d1", "f_Kandora_dll", "File", PROGRAM_PERMISSIONS, FOR_THE_MACHINE)

    def _removal(self):
        """On request the removal takes settings and logs along. ENTFERNEORDNER is only set then."""
        for number, name in enumerate(("Kandora.ini", "*.log", None), start=1):
            self.add("RemoveFile", f"e{number}", "Kandora_dll", name, "ENTFERNEORDNER", ON_REMOVAL)

    def _properties(self):
        public = ["ANDEREARCHITEKTUR", "EINTRAGBENUTZER", "EINTRAGMASCHINE", "ENTFERNEALLES", "GLEICHEVERSION",
                  "HOSTSCHNITTSTELLE", "INSTALLDIR", "NEUEREVERSION", "ORTBENUTZER", "ORTMASCHINE", "VORGAENGER", "ZWEIG"]
        for name, value in {
                "ProductName": f"Kandora ({BITS[self.architecture]})", "ProductVersion": self.version,
                "UpgradeCode": self.upgrade_code, "ProductLanguage": str(LANGUAGE),
                "Manufacturer": "Kandora", "ALLUSERS": "2", "ARPNOMODIFY": "1", "ARPPRODUCTICON": ICON,
                "ARPCOMMENTS": "Archivanbindung der Finanzbuchhaltung",
                # Nobody's work ends because the component is in use: files that are come with the next restart (3010).
                "REBOOT": "ReallySuppress",
                "SecureCustomProperties": ";".join(public), "MSIRESTARTMANAGERCONTROL": "Disable"}.items():
            self.add("Property", name, value)
        self.add("Upgrade", self.upgrade_code, "0.0.0", self.version, None, INCLUDE_MINIMUM | INCLUDE_MAXIMUM, None,
                 "VORGAENGER")
        self.add("Upgrade", self.upgrade_code, self.version, self.version, None,
                 DETECT_ONLY | INCLUDE_MINIMUM | INCLUDE_MAXIMUM, None, "GLEICHEVERSION")
        self.add("Upgrade", self.upgrade_code, self.version, None, None, DETECT_ONLY, None, "NEUEREVERSION")
        if self.architecture == "x64":
            self.add("LaunchCondition", "VersionNT64", "Dieses Paket ist für 64-Bit-Windows.")

    def _sequences(self):
        one_user = "NOT INSTALLDIR AND (MSIINSTALLPERUSER=1 OR NOT ALLUSERS)"
        machine = "NOT INSTALLDIR AND ALLUSERS AND NOT MSIINSTALLPERUSER"
        for_one = "(MSIINSTALLPERUSER=1 OR NOT ALLUSERS)"
        for name, kind, source, target in (
                ("NeuereVersion", STOP_WITH_ERROR, None, NEWER_INSTALLED),
                ("NebenBenutzer", STOP_WITH_ERROR, None, INSTALLED_FOR_USER),
                ("NebenMaschine", STOP_WITH_ERROR, None, INSTALLED_FOR_ALL),
                ("AlleDateien", SET_PROPERTY, "REINSTALLMODE", "amus"),
                ("OrtDerMaschine", SET_PROPERTY, "INSTALLDIR", "[ORTMASCHINE]"),
                ("OrtDesBenutzers", SET_PROPERTY, "INSTALLDIR", "[ORTBENUTZER]"),
                ("OrtFuerBenutzer", SET_PROPERTY, "INSTALLDIR", "[LocalAppDataFolder]Programs\\Kandora"
                 + ("" if self.architecture == "x86" else " x64")),
                ("ZweigBehalten", SET_PROPERTY, "ZWEIG", "Kandora.entfernt\\"),
                ("OrtAnzeigen", SET_PROPERTY, "ARPINSTALLLOCATION", "[INSTALLDIR]"),
                ("HilfeAnzeigen", SET_PROPERTY, "ARPHELPLINK", "[INSTALLDIR]Handbuch.html"),
                ("AllesEntfernen", SET_PROPERTY, "ENTFERNEORDNER", "[INSTALLDIR]")):
            self.add("CustomAction", name, kind, source, target)
        start = [("FindRelatedProducts", None, 25), ("AppSearch", None, 50),
                 ("NeuereVersion", "NEUEREVERSION AND NOT Installed", 60),
                 # Two registrations side by side: the user's one hides the other, and each removal leaves the other's pieces.
                 ("NebenBenutzer", f"EINTRAGBENUTZER AND NOT Installed AND NOT {for_one}", 70),
                 ("NebenMaschine", f"EINTRAGMASCHINE AND NOT Installed AND {for_one}", 80),
                 # Which files are replaced is decided before the old version goes: another build of the same version would
                 # leave the old file, or none.
                 ("AlleDateien", "GLEICHEVERSION AND NOT Installed AND NOT REINSTALLMODE", 90),
                 ("LaunchConditions", None, 100),
                 ("ValidateProductID", None, 700),
                 ("OrtDerMaschine", f"{machine} AND ORTMASCHINE", 710),
                 ("OrtDesBenutzers", f"{one_user} AND ORTBENUTZER", 720), ("OrtFuerBenutzer", one_user, 730),
                 ("ZweigBehalten", 'REMOVE="ALL" AND ANDEREARCHITEKTUR', 740),
                 ("CostInitialize", None, 800), ("FileCost", None, 900), ("CostFinalize", None, 1000),
                 ("OrtAnzeigen", None, 1010), ("HilfeAnzeigen", None, 1015), ("MigrateFeatureStates", None, 1200)]
        for action in start:
            self.add("InstallUISequence", *action)
            self.add("InstallExecuteSequence", *action)
        self.add("InstallUISequence", "ExecuteAction", None, 1300)
        for action in [("AllesEntfernen", "ENTFERNEALLES=1 AND NOT UPGRADINGPRODUCTCODE", 1020),
                       ("InstallValidate", None, 1400), ("InstallInitialize", None, 1500),
                       # The old version goes first, in the same transaction; what it shares with the new one is installed
                       # again.
                       ("RemoveExistingProducts", None, 1525),
                       ("ProcessComponents", None, 1600), ("UnpublishFeatures", None, 1800),
                       ("RemoveRegistryValues", None, 2600), ("RemoveFiles", None, 3500), ("RemoveFolders", None, 3600),
                       ("CreateFolders", None, 3700), ("InstallFiles", None, 4000), ("WriteRegistryValues", None, 5000),
                       ("RegisterUser", None, 6000), ("RegisterProduct", None, 6100), ("PublishFeatures", None, 6300),
                       ("PublishProduct", None, 6400), ("InstallFinalize", None, 6600)]:
            self.add("InstallExecuteSequence", *action)
        for action in [("CostInitialize", None, 800), ("FileCost", None, 900), ("CostFinalize", None, 1000),
                       ("InstallValidate", None, 1400), ("InstallInitialize", None, 1500),
                       ("InstallAdminPackage", None, 3900), ("InstallFiles", None, 4000), ("InstallFinalize", None, 6600)]:
            self.add("AdminExecuteSequence", *action)
        for action in [("CostInitialize", None, 800), ("FileCost", None, 900), ("CostFinalize", None, 1000),
                       ("ExecuteAction", None, 1300)]:
            self.add("AdminUISequence", *action)
        for action in [("CostInitialize", None, 800), ("CostFinalize", None, 1000), ("InstallValidate", None, 1400),
                       ("InstallInitialize", None, 1500), ("PublishFeatures", None, 6300), ("PublishProduct", None, 6400),
                       ("InstallFinalize", None, 6600)]:
            self.add("AdvtExecuteSequence", *action)

    def summary(self, timestamp, content):
        """The package's own description, with a code that two packages share only when they are equal."""
        when = datetime.datetime.fromtimestamp(timestamp, datetime.timezone.utc)
        date = when.strftime("%Y/%m/%d %H:%M:%S")
        return [(1, CODE_PAGE), (2, "Installation Database"), (3, f"Kandora {self.version} ({BITS[self.architecture]})"),
                (4, "Kandora"), (5, "Installer"), (6, "Archivanbindung der Finanzbuchhaltung"),
                (7, f"{MACHINE_NAMES[self.architecture]};{LANGUAGE}"),
                (9, derived_guid(f"package {hashlib.sha256(content).hexdigest()}")), (12, date), (13, date),
                (14, 500), (15, 2), (18, "Kandora"), (19, 2)]

    def write(self, output, timestamp):
        """Writes the package; its dates are `timestamp`, seconds since 1970."""
        output = pathlib.Path(output)
        output.unlink(missing_ok=True)
        with tempfile.TemporaryDirectory() as folder:
            work = pathlib.Path(folder)
            texts = {name: table_text(name, rows) for name, rows in self.tables.items() if rows}
            packed = cabinet(self.contents, timestamp)
            summary = "PropertyId\tValue\r\ni2\tl255\r\n_SummaryInformation\tPropertyId\r\n" + "".join(
                f"{number}\t{value}\r\n"
                for number, value in self.summary(timestamp, "".join(texts.values()).encode() + self.icon + packed))
            # The code page comes first: what follows is written in it.
            texts = {"_ForceCodepage": f"\r\n\r\n{CODE_PAGE}\t_ForceCodepage\r\n", **texts, "_SummaryInformation": summary}
            for name, text in texts.items():
                (work / f"{name}.idt").write_bytes(text.encode("utf-8"))
            (work / "kandora.cab").write_bytes(packed)
            (work / "Icon").mkdir()
            (work / "Icon" / f"{ICON}.ibd").write_bytes(self.icon)
            # The tool reads the dates as local ones.
            subprocess.run(["msibuild", str(output.resolve()), "-i", *(f"{name}.idt" for name in texts),
                            "-a", "kandora.cab", "kandora.cab"], cwd=work, check=True, env=os.environ | {"TZ": "UTC"})


def table_text(name, rows):
    """A table in the exchange format of the installer's tools."""
    table = schema.TABLES[name]
    names = [column.name for column in table.columns]
    for row in rows:
        if len(row) != len(names):
            raise ValueError(f"{name}: {row}")
    lines = ["\t".join(names), "\t".join(column.kind for column in table.columns),
             "\t".join([name, *names[:table.key_count]])]
    lines += ["\t".join("" if value is None else str(value).replace("\r\n", "\x11\x19") for value in row) for row in rows]
    return "".join(line + "\r\n" for line in lines)
