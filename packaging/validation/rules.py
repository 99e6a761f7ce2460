"""The rules for the tables of a package. Each is a function that yields what breaks it; its first line says what it demands."""
import re

import schema
from validation import standard, values

IS_64_BIT = 0x100
PERMANENT, REGISTRY_KEY_PATH, ODBC_KEY_PATH = 0x10, 0x4, 0x20
LOCATE_64_BIT = 0x10
PROGRAMS = (".exe", ".dll", ".ocx")
# Stands for a text of no length, which a table cannot hold.
NEVER_SET = {"LEERERTEXT"}
SEQUENCES = tuple(name for name in schema.TABLES if name.endswith("Sequence"))
INSTALLED_FILE_TEXT = re.compile(r"[#!](.+)")

RULES = []


def rule_of(rules):
    """Makes a function one of these rules."""
    def note(function):
        rules.append(function)
        return function
    return note


rule = rule_of(RULES)


def number(text):
    return int(text) if text else 0


def is_for_64_bit(database):
    return database.summary.get(7, "").startswith(("x64;", "Intel64;"))


def cells(database):
    """(table, row, column, value) of everything in tables that are known."""
    for name, table in database.tables.items():
        if name in schema.TABLES:
            for row in table.rows:
                for column in schema.TABLES[name].columns:
                    if column.name in row:
                        yield name, row, column, row[column.name]


def sequence(database, name):
    """{action: (condition, number)}"""
    return {row["Action"]: (row["Condition"], number(row["Sequence"])) for row in database.rows(name)}


@rule
def tables_have_the_published_columns(database):
    """The columns, their types and keys are those that the installer knows."""
    for name, table in database.tables.items():
        known = schema.TABLES.get(name)
        if known is None:
            yield f"{name}: unknown table"
        elif table.names != [column.name for column in known.columns]:
            yield f"{name}: columns {table.names}"
        elif [kind.replace("L", "S").replace("l", "s") for kind in table.kinds] != [
                column.kind.replace("L", "S").replace("l", "s") for column in known.columns]:
            yield f"{name}: types {table.kinds}"
        elif len(table.keys) != known.key_count:
            yield f"{name}: keys {table.keys}"


@rule
def validation_describes_every_column(database):
    """_Validation has one row for each column of each table, and it is the published one."""
    present = {(row["Table"], row["Column"]): row for row in database.rows("_Validation")}
    for expected in schema.validation_rows([name for name in database.tables if name in schema.TABLES]):
        row = present.pop(expected[:2], None)
        if row is None:
            yield f"{expected[0]}.{expected[1]}: no row"
        elif [row[name] for name in list(row)[2:]] != ["" if value is None else str(value) for value in expected[2:]]:
            yield f"{expected[0]}.{expected[1]}: {row}"
    yield from (f"{table}.{column}: there is no such column" for table, column in present)


@rule
def keys_are_unique(database):
    """No two rows of a table have one key, and no part of a key that must be there is missing."""
    for name, table in database.tables.items():
        seen = set()
        for row in table.rows:
            key = tuple(row[column] for column in table.keys)
            if key in seen:
                yield f"{name}: {key} twice"
            seen.add(key)


@rule
def values_fit_their_columns(database):
    """Present where they must be, no longer than allowed, numbers in range, texts of the right kind."""
    for name, row, column, value in cells(database):
        place = f"{name}.{column.name} of {next(iter(row.values()))}"
        if not value:
            if not column.may_be_empty and not (name == "Error" and column.name == "Error"):
                yield f"{place}: empty"
        elif column.is_number:
            if not re.fullmatch(r"-?\d+", value) or not column.low <= int(value) <= column.high:
                yield f"{place}: {value}"
            elif column.among and int(value) not in column.among:
                yield f"{place}: {value} is none of those allowed"
        elif not column.is_stream:
            if column.width and len(value) > column.width:
                yield f"{place}: {len(value)} characters, {column.width} fit"
            if column.among and value not in column.among:
                yield f"{place}: {value} is none of those allowed"
            check = values.CATEGORIES.get(column.category)
            if check and not (name == "_Validation" and column.name == "KeyTable") and not check(value):
                yield f"{place}: {value} is no {column.category}"


@rule
def references_lead_somewhere(database):
    """What names a row of another table names one that is there."""
    for name, row, column, value in cells(database):
        if not value or not column.keys or (name, column.name) == ("File", "Version"):
            continue
        if column.keys == ("Control",):
            dialog = row.get("Dialog_") or row["Dialog"]
            found = any((control["Dialog_"], control["Control"]) == (dialog, value) for control in database.rows("Control"))
        else:
            found = any(value in database.keys(other) for other in column.keys)
        if not found:
            yield f"{name}.{column.name}: {value}"


@rule
def locked_objects_are_installed(database):
    """A row of MsiLockPermissionsEx names a row of the table that it names."""
    for row in database.rows("MsiLockPermissionsEx"):
        if row["LockObject"] not in database.keys(row["Table"]):
            yield f"{row['MsiLockPermissionsEx']}: {row['LockObject']} in {row['Table']}"


@rule
def folders_lead_to_the_top(database):
    """There is one top, TARGETDIR, whose source is SourceDir, and no folder is above itself."""
    parents = {row["Directory"]: row["Directory_Parent"] for row in database.rows("Directory")}
    tops = [(row["Directory"], row["DefaultDir"]) for row in database.rows("Directory")
            if row["Directory_Parent"] in ("", row["Directory"])]
    if tops != [("TARGETDIR", "SourceDir")]:
        yield f"tops: {tops}"
    for folder in parents:
        seen = set()
        while folder and folder not in seen:
            seen.add(folder)
            folder = parents.get(folder)
        if folder:
            yield f"{folder} is above itself"


@rule
def components_are_sound(database):
    """Each has an identifier of its own, or none and then stays for good without being permanent; its bits are the package's;
    it belongs to a feature."""
    identifiers = [row["ComponentId"] for row in database.rows("Component") if row["ComponentId"]]
    in_feature = {row["Component_"] for row in database.rows("FeatureComponents")}
    for row in database.rows("Component"):
        name, attributes = row["Component"], number(row["Attributes"])
        if identifiers.count(row["ComponentId"]) > 1:
            yield f"{name}: another component has the same identifier"
        if not row["ComponentId"] and attributes & PERMANENT:
            yield f"{name}: permanent without an identifier"
        if bool(attributes & IS_64_BIT) != is_for_64_bit(database):
            yield f"{name}: other bits than the package"
        if name not in in_feature:
            yield f"{name}: in no feature"


@rule
def key_paths_are_their_components_own(database):
    """A component's key path is a file or a registry value of its own."""
    owners = {table: {row[table]: row["Component_"] for row in database.rows(table)} for table in ("File", "Registry")}
    for row in database.rows("Component"):
        attributes = number(row["Attributes"])
        table = "Registry" if attributes & REGISTRY_KEY_PATH else "File"
        if attributes & ODBC_KEY_PATH or not row["KeyPath"]:
            yield f"{row['Component']}: no file and no registry value"
        elif owners[table].get(row["KeyPath"]) != row["Component"]:
            yield f"{row['Component']}: {row['KeyPath']} of {table}"


@rule
def a_component_holds_one_file_or_one_hive(database):
    """At most one file, and registry values of the machine's or of the user's part, not of both."""
    for name in database.keys("Component"):
        files = [row["File"] for row in database.rows("File") if row["Component_"] == name]
        if len(files) > 1:
            yield f"{name}: files {files}"
        roots = {row["Root"] for row in database.rows("Registry") if row["Component_"] == name}
        if len(roots) > 1:
            yield f"{name}: roots {sorted(roots)}"


@rule
def file_names_are_unique(database):
    """No two files of a folder have the same short or the same long name, whatever the case."""
    folders = {row["Component"]: row["Directory_"] for row in database.rows("Component")}
    seen = set()
    for row in database.rows("File"):
        for kind, name in zip(("short", "long"), (row["FileName"].split("|") * 2)[:2]):
            place = (folders.get(row["Component_"]), kind, name.lower())
            if place in seen:
                yield f"{row['File']}: the {kind} name {name}"
            seen.add(place)


@rule
def folder_names_are_unique(database):
    """No two folders of one folder have the same name, unless they are the folder itself."""
    seen = set()
    for row in database.rows("Directory"):
        for kind, name in zip(("short", "long"), (row["DefaultDir"].split("|") * 2)[:2]):
            place = (row["Directory_Parent"], kind, name.lower())
            if name != "." and place in seen:
                yield f"{row['Directory']}: the {kind} name {name}"
            seen.add(place)


@rule
def files_are_numbered_through(database):
    """Files have the numbers from 1 on, the medium goes up to the last, and the cabinet is in the package."""
    numbers = sorted(number(row["Sequence"]) for row in database.rows("File"))
    if numbers != list(range(1, len(numbers) + 1)):
        yield f"numbers {numbers}"
    for row in database.rows("Media"):
        if number(row["LastSequence"]) != len(numbers):
            yield f"the medium goes up to {row['LastSequence']}"
        if row["Cabinet"].removeprefix("#") not in database.streams:
            yield f"there is no {row['Cabinet']}"


@rule
def files_have_a_version_or_a_hash(database):
    """A program file has version and language, every other file a hash and neither."""
    hashed = database.keys("MsiFileHash")
    for row in database.rows("File"):
        if bool(row["Version"]) == (row["File"] in hashed) or bool(row["Version"]) != bool(row["Language"]):
            yield f"{row['File']}: version {row['Version']!r}, language {row['Language']!r}, hash {row['File'] in hashed}"
        elif row["FileName"].lower().endswith(PROGRAMS) and not row["Version"]:
            yield f"{row['File']}: a program without a version"


@rule
def registry_values_are_written_once(database):
    """No value is written twice."""
    seen = set()
    for row in database.rows("Registry"):
        place = (row["Root"], row["Key"].lower(), row["Name"].lower())
        if place in seen:
            yield f"{row['Registry']}: {place}"
        seen.add(place)


@rule
def texts_name_what_is_there(database):
    """Brackets in formatted texts name properties, folders, files or components of this package."""
    known = known_properties(database)
    for name, row, column, value in cells(database):
        if column.category != "Formatted" or name in ("ActionText", "Error"):
            continue
        for reference in values.references(value):
            file = INSTALLED_FILE_TEXT.fullmatch(reference)
            if reference.startswith(("\\", "%")) or reference in ("1", "2", "3"):
                continue
            if file and file[1] not in database.keys("File") or not file and reference not in known:
                yield f"{name}.{column.name}: [{reference}]"


def known_properties(database):
    """Names that stand for something while the package runs."""
    return (standard.PROPERTIES | NEVER_SET | database.keys("Property") | database.keys("Directory")
            | database.keys("AppSearch") | {row["ActionProperty"] for row in database.rows("Upgrade")}
            | {row["Source"] for row in database.rows("CustomAction") if row["Source"]}
            | {row["Property"] for row in database.rows("Control") if row["Property"]}
            | set((database.property("SecureCustomProperties") or "").split(";")))


@rule
def conditions_ask_for_what_is_there(database):
    """Names in conditions are properties that somebody sets."""
    known = known_properties(database)
    for name, _, column, value in cells(database):
        if column.category == "Condition" and value:
            for asked in values.condition_names(value) or ():
                if asked.lstrip("%$?&!") not in known:
                    yield f"{name}: {value}: {asked}"


@rule
def sequences_are_complete(database):
    """Each has the actions that it needs, and those that do the work of the tables that are there."""
    for name in SEQUENCES:
        if name not in database.tables:
            yield f"{name}: missing"
            continue
        actions = set(sequence(database, name))
        yield from (f"{name}: no {action}" for action in sorted(standard.REQUIRED[name] - actions))
    actions = set(sequence(database, "InstallExecuteSequence"))
    for table, workers in standard.WORKERS.items():
        if database.rows(table):
            yield from (f"InstallExecuteSequence: no {action} for {table}" for action in workers if action not in actions)


@rule
def sequences_are_in_order(database):
    """Actions stand in the installer's order, each at a number of its own, and each is known."""
    own = database.keys("CustomAction") | database.keys("Dialog")
    for name in SEQUENCES:
        actions = sequence(database, name)
        numbers = [place for _, place in actions.values()]
        if len(set(numbers)) != len(numbers):
            yield f"{name}: two actions at one number"
        yield from (f"{name}: {action} is unknown" for action in sorted(actions.keys() - standard.ACTIONS - own))
        places = [(actions[action][1], action) for action in standard.ORDER
                  if action in actions and action not in standard.SEARCHES]
        yield from (f"{name}: {second} before {first}" for (one, first), (two, second) in zip(places, places[1:]) if two < one)
        begin = min(places)[0] if places else 0
        yield from (f"{name}: {action} comes too late" for action in standard.SEARCHES
                    if action in actions and actions[action][1] > begin)
        removal = actions.get(standard.REMOVES_OTHERS)
        if removal and not actions["InstallInitialize"][1] < removal[1] < actions["ProcessComponents"][1]:
            yield f"{name}: {standard.REMOVES_OTHERS} at {removal[1]}"
        if name.startswith("Advt"):
            yield from (f"{name}: {action} is not allowed" for action in sorted(actions.keys() - standard.ADVERTISING))


@rule
def custom_actions_are_plain(database):
    """They set properties or end with a message: nothing of the package runs on the machine. Each is used."""
    used = {action for name in SEQUENCES for action in sequence(database, name)}
    for row in database.rows("CustomAction"):
        if row["Type"] not in ("51", "19"):
            yield f"{row['Action']}: type {row['Type']}"
        if bool(row["Source"]) != (row["Type"] == "51"):
            yield f"{row['Action']}: source {row['Source']!r}"
        if row["Action"] not in used:
            yield f"{row['Action']}: in no sequence"


@rule
def properties_are_complete(database):
    """What every package says of itself, and what a silent roll-out relies on."""
    for name in standard.REQUIRED_PROPERTIES:
        if not database.property(name):
            yield f"{name}: missing"
    if database.property("REINSTALLMODE") is not None:
        yield "REINSTALLMODE belongs to the command"
    if database.property("REBOOT") != "ReallySuppress":
        yield f"REBOOT: {database.property('REBOOT')}"
    parts = (database.property("ProductVersion") or "").split(".")
    if len(parts) != 3 or any(not part.isdigit() or int(part) > most for part, most in zip(parts, (255, 255, 65535))):
        yield f"ProductVersion: {'.'.join(parts)}"
    for name in ("ProductCode", "UpgradeCode"):
        if not values.CATEGORIES["Guid"](database.property(name) or ""):
            yield f"{name}: {database.property(name)}"
    if database.property("ARPPRODUCTICON") not in database.keys("Icon"):
        yield f"ARPPRODUCTICON: {database.property('ARPPRODUCTICON')}"


@rule
def public_properties_reach_the_service(database):
    """What is found before the installation, or set by others, is listed as secure and has a public name."""
    secure = set((database.property("SecureCustomProperties") or "").split(";"))
    found = database.keys("AppSearch") | {row["ActionProperty"] for row in database.rows("Upgrade")}
    yield from (f"{name} is not listed" for name in sorted(found - secure))
    yield from (f"{name} is not public" for name in sorted(found | secure) if not values.PUBLIC.fullmatch(name))


@rule
def upgrades_cover_every_version_once(database):
    """Older versions and this one are removed, newer ones are found, and no version is both."""
    version, code = database.property("ProductVersion"), database.property("UpgradeCode")
    minimum, maximum, only_found = 0x100, 0x200, 0x2
    rows = database.rows("Upgrade")
    yield from (f"a row for {row['UpgradeCode']}" for row in rows if row["UpgradeCode"] != code)
    removing = [row for row in rows if not number(row["Attributes"]) & only_found]
    newer = [row for row in rows if number(row["Attributes"]) & only_found and not row["VersionMax"]]
    if len(removing) != 1 or removing[0]["VersionMax"] != version or not number(removing[0]["Attributes"]) & maximum:
        yield f"removed: {removing}"
    if len(newer) != 1 or newer[0]["VersionMin"] != version or number(newer[0]["Attributes"]) & minimum:
        yield f"found: {newer}"


@rule
def locators_fit_the_package(database):
    """Each is used, and a 32-bit package does not look into the 64-bit part of the registry."""
    used = {row["Signature_"] for row in database.rows("AppSearch")}
    for row in database.rows("RegLocator"):
        if row["Signature_"] not in used:
            yield f"{row['Signature_']}: nobody asks for it"
        if number(row["Type"]) & LOCATE_64_BIT and not is_for_64_bit(database):
            yield f"{row['Signature_']}: a 64-bit locator"


@rule
def the_summary_is_complete(database):
    """Code page, title, author, platform, package code, least version of the installer, kind of the source."""
    summary = database.summary
    for place in (1, 2, 3, 4, 7, 9, 14, 15):
        if not summary.get(place):
            yield f"value {place}: missing"
    if not re.fullmatch(r"(Intel|x64);\d+", summary.get(7, "")):
        yield f"platform: {summary.get(7)}"
    elif summary[7].split(";")[1] != database.property("ProductLanguage"):
        yield f"language: {summary[7]}"
    if not values.CATEGORIES["Guid"](summary.get(9, "")):
        yield f"package code: {summary.get(9)}"
    if number(summary.get(14)) < (200 if not is_for_64_bit(database) else 500):
        yield f"least version of the installer: {summary.get(14)}"
    if number(summary.get(14)) < 500 and database.rows("MsiLockPermissionsEx"):
        yield "MsiLockPermissionsEx needs version 500"


@rule
def texts_are_in_the_code_page(database):
    """Tables and summary name one code page, and every text can be written in it."""
    if number(database.summary.get(1)) != database.code_page:
        yield f"{database.summary.get(1)} and {database.code_page}"
    for name, _, column, value in cells(database):
        try:
            value.encode(f"cp{database.code_page}")
        except (UnicodeEncodeError, LookupError):
            yield f"{name}.{column.name}: {value}"
