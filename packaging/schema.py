"""The installer's tables: the columns that Windows Installer has published for them, and what may stand in each.

What writes a package and what checks one both read it from here; a package carries it in its table _Validation.
"""
import dataclasses

LARGEST_INTEGER = 32767
LARGEST_LONG = 2147483647


@dataclasses.dataclass(frozen=True)
class Column:
    """`kind` is the type in the exchange format: s text, l text that is translated, i number, v stream, with its length; a
    capital letter says that the column may be empty. `category` names what a text may be. `keys` names the tables one of which
    has the value as its key, in its column `key_column`. `among` lists the values allowed."""
    name: str
    kind: str
    category: str | None = None
    low: int | None = None
    high: int | None = None
    keys: tuple = ()
    key_column: int | None = None
    among: tuple = ()

    @property
    def may_be_empty(self):
        return self.kind[0].isupper()

    @property
    def is_number(self):
        return self.kind[0] in "iI"

    @property
    def is_stream(self):
        return self.kind[0] in "vV"

    @property
    def width(self):
        """Of a text: the most characters, 0 for any number of them."""
        return int(self.kind[1:])


@dataclasses.dataclass(frozen=True)
class Table:
    name: str
    key_count: int
    columns: tuple


def text(name, kind, category, **more):
    return Column(name, kind, category, **more)


def number(name, kind="i2", low=0, high=LARGEST_INTEGER, **more):
    return Column(name, kind, None, low, high, **more)


def key_of(name, kind, *tables, column=1, category="Identifier"):
    return Column(name, kind, category, keys=tables, key_column=column)


def _sequence(name):
    return Table(name, 1, (text("Action", "s72", "Identifier"), text("Condition", "S255", "Condition"),
                           number("Sequence", "I2", -4)))


TABLES = {table.name: table for table in (
    Table("_Validation", 2, (
        text("Table", "s32", "Identifier"), text("Column", "s32", "Identifier"), text("Nullable", "s4", None, among=("Y", "N")),
        number("MinValue", "I4", -LARGEST_LONG, LARGEST_LONG), number("MaxValue", "I4", -LARGEST_LONG, LARGEST_LONG),
        text("KeyTable", "S255", "Identifier"), number("KeyColumn", "I2", 1, 32),
        text("Category", "S32", None, among=(
            "AnyPath", "Binary", "Cabinet", "Condition", "CustomSource", "DefaultDir", "DoubleInteger", "Filename", "Formatted",
            "FormattedSDDLText", "Guid", "Identifier", "Integer", "Language", "LowerCase", "Path", "Paths", "Property",
            "RegPath", "Shortcut", "Template", "Text", "TimeDate", "UpperCase", "Version", "WildCardFilename")),
        text("Set", "S255", "Text"), text("Description", "S255", "Text"))),
    Table("Property", 1, (text("Property", "s72", "Identifier"), text("Value", "l0", "Text"))),
    Table("Directory", 1, (
        text("Directory", "s72", "Identifier"), key_of("Directory_Parent", "S72", "Directory"),
        text("DefaultDir", "l255", "DefaultDir"))),
    Table("Component", 1, (
        text("Component", "s72", "Identifier"), text("ComponentId", "S38", "Guid"), key_of("Directory_", "s72", "Directory"),
        number("Attributes"), text("Condition", "S255", "Condition"), key_of("KeyPath", "S72", "File", "Registry"))),
    Table("Feature", 1, (
        text("Feature", "s38", "Identifier"), key_of("Feature_Parent", "S38", "Feature"), text("Title", "L64", "Text"),
        text("Description", "L255", "Text"), number("Display", "I2"), number("Level"),
        key_of("Directory_", "S72", "Directory", category="UpperCase"),
        number("Attributes", among=(0, 1, 2, 4, 5, 6, 8, 9, 10, 16, 17, 18, 20, 21, 22, 24, 25, 26, 32, 33, 34, 36, 37, 38, 48,
                                    49, 50, 52, 53, 54)))),
    Table("FeatureComponents", 2, (key_of("Feature_", "s38", "Feature"), key_of("Component_", "s72", "Component"))),
    Table("File", 1, (
        text("File", "s72", "Identifier"), key_of("Component_", "s72", "Component"), text("FileName", "l255", "Filename"),
        number("FileSize", "i4", 0, LARGEST_LONG), key_of("Version", "S72", "File", category="Version"),
        text("Language", "S20", "Language"), number("Attributes", "I2"), number("Sequence", "i2", 1))),
    Table("MsiFileHash", 1, (
        key_of("File_", "s72", "File"), number("Options"),
        *(number(f"HashPart{part}", "i4", -LARGEST_LONG, LARGEST_LONG) for part in range(1, 5)))),
    Table("Media", 1, (
        number("DiskId", "i2", 1), number("LastSequence"), text("DiskPrompt", "L64", "Text"),
        text("Cabinet", "S255", "Cabinet"), text("VolumeLabel", "S32", "Text"), text("Source", "S72", "Property"))),
    Table("CreateFolder", 2, (key_of("Directory_", "s72", "Directory"), key_of("Component_", "s72", "Component"))),
    Table("RemoveFile", 1, (
        text("FileKey", "s72", "Identifier"), key_of("Component_", "s72", "Component"),
        text("FileName", "L255", "WildCardFilename"), text("DirProperty", "s72", "Identifier"),
        number("InstallMode", among=(1, 2, 3)))),
    Table("Registry", 1, (
        text("Registry", "s72", "Identifier"), number("Root", "i2", -1, 3), text("Key", "l255", "RegPath"),
        text("Name", "L255", "Formatted"), text("Value", "L0", "Formatted"), key_of("Component_", "s72", "Component"))),
    Table("MsiLockPermissionsEx", 1, (
        text("MsiLockPermissionsEx", "s72", "Identifier"), text("LockObject", "s72", "Identifier"),
        text("Table", "s32", None, among=("CreateFolder", "File", "Registry", "ServiceInstall")),
        text("SDDLText", "s0", "FormattedSDDLText"), text("Condition", "S255", "Condition"))),
    Table("Upgrade", 5, (
        text("UpgradeCode", "s38", "Guid"), text("VersionMin", "S20", "Text"), text("VersionMax", "S20", "Text"),
        text("Language", "S255", "Language"), number("Attributes", "i4", 0, LARGEST_LONG), text("Remove", "S255", "Formatted"),
        text("ActionProperty", "s72", "UpperCase"))),
    Table("AppSearch", 2, (
        text("Property", "s72", "UpperCase"), key_of("Signature_", "s72", "RegLocator"))),
    Table("RegLocator", 1, (
        text("Signature_", "s72", "Identifier"), number("Root", "i2", 0, 3), text("Key", "s255", "RegPath"),
        text("Name", "S255", "Formatted"), number("Type", "I2", 0, 18))),
    Table("CustomAction", 1, (
        text("Action", "s72", "Identifier"), number("Type", "i2", 1), text("Source", "S72", "CustomSource"),
        text("Target", "S255", "Formatted"))),
    Table("LaunchCondition", 1, (text("Condition", "s255", "Condition"), text("Description", "l255", "Formatted"))),
    Table("Icon", 1, (text("Name", "s72", "Identifier"), Column("Data", "v0", "Binary"))),
    Table("Error", 1, (number("Error"), text("Message", "L0", "Template"))),
    Table("ActionText", 1, (
        text("Action", "s72", "Identifier"), text("Description", "L64", "Text"), text("Template", "L128", "Template"))),
    Table("UIText", 1, (text("Key", "s72", "Identifier"), text("Text", "L255", "Text"))),
    Table("TextStyle", 1, (
        text("TextStyle", "s72", "Identifier"), text("FaceName", "s32", "Text"), number("Size"),
        number("Color", "I4", 0, 16777215), number("StyleBits", "I2", 0, 15))),
    Table("Dialog", 1, (
        text("Dialog", "s72", "Identifier"), number("HCentering", high=100), number("VCentering", high=100), number("Width"),
        number("Height"), number("Attributes", "I4", 0, LARGEST_LONG), text("Title", "L128", "Formatted"),
        key_of("Control_First", "s50", "Control", column=2), key_of("Control_Default", "S50", "Control", column=2),
        key_of("Control_Cancel", "S50", "Control", column=2))),
    Table("Control", 2, (
        key_of("Dialog_", "s72", "Dialog"), text("Control", "s50", "Identifier"), text("Type", "s20", "Identifier"),
        number("X"), number("Y"), number("Width"), number("Height"), number("Attributes", "I4", 0, LARGEST_LONG),
        text("Property", "S50", "Identifier"), text("Text", "L0", "Formatted"),
        key_of("Control_Next", "S50", "Control", column=2), text("Help", "L50", "Text"))),
    Table("ControlEvent", 5, (
        key_of("Dialog_", "s72", "Dialog"), key_of("Control_", "s50", "Control", column=2), text("Event", "s50", "Formatted"),
        text("Argument", "s255", "Formatted"), text("Condition", "S255", "Condition"), number("Ordering", "I2"))),
    Table("ControlCondition", 4, (
        key_of("Dialog_", "s72", "Dialog"), key_of("Control_", "s50", "Control", column=2),
        text("Action", "s50", None, among=("Default", "Disable", "Enable", "Hide", "Show")),
        text("Condition", "s255", "Condition"))),
    Table("EventMapping", 3, (
        key_of("Dialog_", "s72", "Dialog"), key_of("Control_", "s50", "Control", column=2), text("Event", "s50", "Identifier"),
        text("Attribute", "s50", "Identifier"))),
    Table("RadioButton", 2, (
        text("Property", "s72", "Identifier"), number("Order", "i2", 1), text("Value", "s64", "Formatted"), number("X"),
        number("Y"), number("Width"), number("Height"), text("Text", "L64", "Formatted"), text("Help", "L50", "Text"))),
    *map(_sequence, ("InstallUISequence", "InstallExecuteSequence", "AdminUISequence", "AdminExecuteSequence",
                     "AdvtExecuteSequence")),
)}


def validation_rows(tables):
    """The rows of _Validation for these tables."""
    for name in sorted(tables):
        for column in TABLES[name].columns:
            yield (name, column.name, "Y" if column.may_be_empty else "N", column.low, column.high,
                   ";".join(column.keys) or None, column.key_column, column.category,
                   ";".join(map(str, column.among)) or None, None)
