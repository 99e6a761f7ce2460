"""The rules for packages: sound packages keep all of them, and each is broken by a package made for it."""
import os
import pathlib
import struct
import tempfile
import unittest

import check_package
import installer
from validation import database, stand_ins, values
from validation.rules import RULES
from validation.window_rules import WINDOW_RULES

PACKAGES = pathlib.Path(os.environ["KANDORA_PACKAGES"])
ARCHITECTURE = os.environ["KANDORA_ARCHITECTURE"]


def put(table, key, place, value):
    """Another value in the column at `place` of the rows of that key."""
    def change(package):
        rows = package.tables[table]
        found = [number for number, row in enumerate(rows) if row[0] == key]
        if not found:
            raise KeyError(key)
        for number in found:
            rows[number] = (*rows[number][:place], value, *rows[number][place + 1:])
    return change


def insert(table, *row):
    return lambda package: package.tables[table].append(row)


def drop(table, key=None, place=0):
    """Without the rows of that key, or without any."""
    def change(package):
        rows = package.tables[table]
        kept = [row for row in rows if key is not None and row[place] != key]
        if len(kept) == len(rows):
            raise KeyError(key)
        rows[:] = kept
    return change


def files_of_one_component(package):
    put("File", "f_Platzhalter_pdf", 1, "Handbuch_html")(package)


# By the rule that they break: what is done to a sound package.
BREAKS = {
    "validation_describes_every_column": [drop("_Validation", "Property"), put("_Validation", "Media", 2, "Y"),
                                          insert("_Validation", "Property", "Wert", "Y", *[None] * 7)],
    "values_fit_their_columns": [
        put("Property", "Manufacturer", 1, ""), put("Feature", "Kandora", 2, "x" * 65), put("Media", 1, 0, 0),
        put("File", "f_Kandora_dll", 4, "1.x"), put("Component", "Kandora_dll", 1, "{5E1A1F7C}"),
        put("CustomAction", "OrtAnzeigen", 3, "[INSTALLDIR"), put("LaunchCondition", "VersionNT64", 0, "VersionNT64 AND"),
        put("RemoveFile", "e1", 4, 7), put("MsiLockPermissionsEx", "d1", 3, "D:PAI(A;;FA"),
        put("File", "f_Kandora_dll", 2, "Kandora mit Leerzeichen.dll")],
    "references_lead_somewhere": [
        put("Component", "Kandora_dll", 2, "WEG"), drop("Dialog", "AbgebrochenDlg"), put("Dialog", "EndeDlg", 7, "Weg")],
    "locked_objects_are_installed": [put("MsiLockPermissionsEx", "d1", 1, "f_Weg")],
    "folders_lead_to_the_top": [put("Directory", "INSTALLDIR", 1, "WERKZEUGE"), insert("Directory", "OBEN", None, "SourceDir")],
    "components_are_sound": [
        put("Component", "Kandora_ini", 3, 0x90), put("Component", "Kandora_dll", 3, 0x100),
        put("Component", "Ort", 1, installer.derived_guid("component x86 Kandora_dll")),
        drop("FeatureComponents", "Ort", 1)],
    "key_paths_are_their_components_own": [put("Component", "Kandora_dll", 5, "f_Kandora_ini"),
                                           put("Component", "Ort", 3, 0), put("Component", "Ort", 5, None)],
    "a_component_holds_one_file_or_one_hive": [files_of_one_component, put("Registry", "r001", 1, 2)],
    "file_names_are_unique": [put("File", "f_Platzhalter_pdf", 2, "HANDBU~1.HTM|Platzhalter.pdf")],
    "folder_names_are_unique": [put("Directory", "LIZENZEN", 2, "WERKZE~1|Werkzeuge")],
    "files_are_numbered_through": [put("File", "f_Kandora_ini", 7, 99), put("Media", 1, 1, 3), put("Media", 1, 3, "#weg.cab")],
    "files_have_a_version_or_a_hash": [drop("MsiFileHash", "f_Kandora_ini"), put("File", "f_Kandora_dll", 4, None),
                                       put("File", "f_Kandora_dll", 5, None)],
    "registry_values_are_written_once": [
        lambda package: package.tables["Registry"].append(("r999", *package.tables["Registry"][0][1:]))],
    "texts_name_what_is_there": [put("CustomAction", "OrtAnzeigen", 3, "[WEG]"), put("Registry", "r002", 4, "[#f_Weg]")],
    "conditions_ask_for_what_is_there": [put("InstallExecuteSequence", "NeuereVersion", 1, "WEG")],
    "sequences_are_complete": [drop("AdvtExecuteSequence"), drop("InstallExecuteSequence", "RemoveFiles"),
                               drop("AdminExecuteSequence", "InstallAdminPackage")],
    "sequences_are_in_order": [
        put("InstallExecuteSequence", "InstallFiles", 2, 900), put("InstallExecuteSequence", "InstallFiles", 2, 5500),
        insert("InstallExecuteSequence", "Weg", None, 4500), put("InstallExecuteSequence", "RemoveExistingProducts", 2, 6650),
        put("InstallExecuteSequence", "AppSearch", 2, 4700), insert("AdvtExecuteSequence", "InstallFiles", None, 4000)],
    "custom_actions_are_plain": [put("CustomAction", "OrtAnzeigen", 1, 50), put("CustomAction", "OrtAnzeigen", 2, None),
                                 insert("CustomAction", "Unnuetz", 51, "INSTALLDIR", "x")],
    "properties_are_complete": [
        drop("Property", "UpgradeCode"), drop("Property", "REBOOT"), insert("Property", "REINSTALLMODE", "amus"),
        put("Property", "ProductVersion", 1, "1.2.65536"), put("Property", "ProductVersion", 1, "256.0.0"),
        put("Property", "ProductCode", 1, "{5e1a1f7c-2f0b-4b57-9a35-0d7f6f0c8b1e}"), drop("Property", "ARPPRODUCTICON")],
    "public_properties_reach_the_service": [
        put("Property", "SecureCustomProperties", 1, "VORGAENGER"), insert("AppSearch", "Ort", "sORTMASCHINE")],
    "upgrades_cover_every_version_once": [
        put("Upgrade", "{CODE}", 0, "{CODE}"), lambda package: package.tables["Upgrade"].pop(0),
        lambda package: package.tables["Upgrade"].pop()],
    "locators_fit_the_package": [put("RegLocator", "sORTMASCHINE", 4, 2 | 16), drop("AppSearch", "sORTMASCHINE", 1)],
    "required_windows_are_there": [
        drop("Dialog", "FilesInUse"), drop("InstallUISequence", "GescheitertDlg"), drop("Property", "ErrorDialog"),
        put("Dialog", "FortschrittDlg", 5, 7), put("Property", "DefaultUIFont", 1, "Weg"),
        put("Control", "FehlerDlg", 1, "Anders")],
    "the_tab_key_goes_round": [put("Control", "OrdnerDlg", 10, None), put("Control", "OrdnerDlg", 10, "Abbrechen")],
    "controls_are_sound": [
        put("Control", "EndeDlg", 2, "Knopf"), put("Control", "EndeDlg", 5, 9000), put("Control", "WartungDlg", 8, None),
        drop("ControlEvent", "EndeDlg"), put("Control", "EndeDlg", 9, "{\\Weg}Text")],
    "events_are_known": [
        put("ControlEvent", "EndeDlg", 2, "Weg"), put("ControlEvent", "EndeDlg", 3, "Weg"),
        put("EventMapping", "FortschrittDlg", 2, "Weg"), put("Dialog", "EndeDlg", 9, None)],
    "buttons_of_a_choice_have_their_group": [put("Property", "AUFGABE", 1, "Weg"), drop("RadioButton"),
                                             insert("RadioButton", "WEG", 1, "x", 0, 0, 1, 1, None, None)],
    "windows_can_be_reached": [drop("InstallUISequence", "WartungDlg")],
    "texts_of_errors_are_numbered": [insert("Error", 2500, "x"), insert("Error", 1999, "{x")],
}
# What the tool that writes packages refuses, and what stands outside of their tables, is tested on what was read.
READ_BREAKS = {
    "tables_have_the_published_columns": [
        lambda found: found.tables["Property"].names.reverse(), lambda found: found.tables["Property"].kinds.reverse(),
        lambda found: found.tables["Registry"].keys.append("Root"),
        lambda found: found.tables.update(Unbekannt=found.tables["Property"])],
    "keys_are_unique": [lambda found: found.tables["Property"].rows.append(found.tables["Property"].rows[0])],
    "the_summary_is_complete": [
        lambda found: found.summary.pop(9), lambda found: found.summary.update({7: "Alpha;2055"}),
        lambda found: found.summary.update({7: "Intel;1033"}), lambda found: found.summary.update({9: "{x}"}),
        lambda found: found.summary.update({14: "200"})],
    "texts_are_in_the_code_page": [lambda found: found.summary.update({1: "65001"}),
                                   lambda found: found.tables["Property"].rows[0].update(Value="日本")],
}


class Rules(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.file = pathlib.Path(folder.name, "package.msi")

    @staticmethod
    def broken_by(package):
        """By the package's tables as they go into a file; to write each would take minutes."""
        found = database.Database(
            {name: database.read_table(installer.table_text(name, rows).replace("\x11\x19", "\r\n"))
             for name, rows in package.tables.items() if rows},
            {number: str(value) for number, value in package.summary(1700000000, b"")},
            ["kandora.cab", *(f"Icon.{row[0]}" for row in package.tables["Icon"])], installer.CODE_PAGE)
        return {name for name, _ in check_package.complaints(found)}

    def test_the_built_packages_keep_them(self):
        for file in sorted(PACKAGES.glob(f"Kandora-*-{ARCHITECTURE}.msi")):
            self.assertEqual(check_package.complaints(database.read(file)), [])

    def test_stand_ins_have_the_tables_of_the_built_packages(self):
        package = stand_ins.package(ARCHITECTURE)
        package.write(self.file, 1700000000)
        self.assertEqual(self.broken_by(package), set())
        built = database.read(next(PACKAGES.glob(f"Kandora-*-{ARCHITECTURE}.msi")))
        made = database.read(self.file)
        self.assertEqual(sorted(made.tables), sorted(built.tables))
        for name in sorted(built.tables):
            if name not in ("Component", "Control", "CreateFolder", "FeatureComponents", "File", "MsiFileHash", "Media",
                            "Property", "Upgrade"):
                self.assertEqual(made.tables[name].rows, built.tables[name].rows, name)

    def test_each_rule_is_broken_by_a_package(self):
        for name, changes in BREAKS.items():
            for number, change in enumerate(changes):
                with self.subTest(rule=name, number=number):
                    package = stand_ins.package("x64" if change_needs_64_bit(name, number) else "x86")
                    change = put("Upgrade", package.upgrade_code, 0, package.product_code) if number == 0 and name.startswith(
                        "upgrades") else change
                    change(package)
                    self.assertIn(name, self.broken_by(package))

    def test_each_rule_is_broken_by_what_was_read(self):
        stand_ins.package("x86").write(self.file, 1700000000)
        for name, changes in READ_BREAKS.items():
            for number, change in enumerate(changes):
                with self.subTest(rule=name, number=number):
                    found = database.read(self.file)
                    change(found)
                    self.assertIn(name, {broken for broken, _ in check_package.complaints(found)})

    def test_no_rule_is_left_out(self):
        self.assertEqual({rule.__name__ for rule in (*RULES, *WINDOW_RULES)}, BREAKS.keys() | READ_BREAKS.keys())

    def test_the_command_says_what_is_broken(self):
        package = stand_ins.package("x86")
        drop("Property", "REBOOT")(package)
        package.write(self.file, 1700000000)
        self.assertEqual(check_package.main([self.file]), 1)
        stand_ins.package("x86").write(self.file, 1700000000)
        self.assertEqual(check_package.main([self.file]), 0)


def change_needs_64_bit(name, number):
    """Only that package has a condition for its launch."""
    return name == "values_fit_their_columns" and BREAKS[name][number].__closure__[0].cell_contents == "VersionNT64"


class Values(unittest.TestCase):
    def test_conditions(self):
        for text in ("1", "A", "NOT A", 'A = "x" AND NOT (B OR C<>1)', "A ~= \"y\"", "?Component=2", "%PATH", "A >< \"b\""):
            self.assertIsNotNone(values.condition_names(text), text)
        for text in ("", "A AND", "(A", "A)", "NOT", '"offen', "A = = B", "A B", "A == 1"):
            self.assertIsNone(values.condition_names(text), text)
        self.assertEqual(values.condition_names("A AND NOT B=1"), {"A", "B"})

    def test_file_names(self):
        for text in ("a.txt", "KANDOR~1.TEM|Kandora.ini.template", "NEUIND~1.TXT|Neu in der Vorlage.txt"):
            self.assertTrue(values.is_file_name(text), text)
        for text in ("langername.txt", "a b.txt", "a.text", "A|b\\c", "a?.txt"):
            self.assertFalse(values.is_file_name(text), text)

    def test_stand_ins_tell_their_version(self):
        self.assertEqual(struct.unpack_from("<I", stand_ins.program("1.2.3"), 2)[0], 0xFEEF04BD)
