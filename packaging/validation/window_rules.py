"""The rules for a package's windows."""
from validation import standard, values
from validation.rules import number, rule_of, sequence

WINDOW_RULES = []
rule = rule_of(WINDOW_RULES)

MODAL, ERROR = 0x2, 0x10000
AFTER_THE_END = {-1, -2, -3}


def controls_of(database, dialog):
    return {row["Control"]: row for row in database.rows("Control") if row["Dialog_"] == dialog}


@rule
def required_windows_are_there(database):
    """For errors, files in use, progress, and each of the ways in which an installation ends."""
    dialogs = database.keys("Dialog")
    yield from (f"no {name}" for name in sorted(standard.REQUIRED_WINDOWS - dialogs))
    if database.property("ErrorDialog") not in dialogs:
        yield "no window for errors"
    elif "ErrorText" not in controls_of(database, database.property("ErrorDialog")):
        yield "the window for errors has no ErrorText"
    for name in ("InstallUISequence", "AdminUISequence"):
        actions = sequence(database, name)
        ends = {place for action, (_, place) in actions.items() if action in dialogs and place < 0}
        if ends != AFTER_THE_END:
            yield f"{name}: ends {sorted(ends)}"
    shown = set(sequence(database, "InstallUISequence")) & dialogs
    if not [row for row in database.rows("Dialog") if row["Dialog"] in shown and not number(row["Attributes"]) & MODAL]:
        yield "no window for the progress"
    if database.property("DefaultUIFont") not in database.keys("TextStyle"):
        yield f"DefaultUIFont: {database.property('DefaultUIFont')}"


@rule
def the_tab_key_goes_round(database):
    """The key leads from the first control through all that take the keyboard and back."""
    for dialog in database.rows("Dialog"):
        controls = controls_of(database, dialog["Dialog"])
        following = {name: row["Control_Next"] for name, row in controls.items() if row["Control_Next"]}
        reached, at = [], next(iter(following), None)
        while at and at not in reached:
            reached.append(at)
            at = following.get(at)
        if following and (at != reached[0] or len(reached) != len(following)):
            yield f"{dialog['Dialog']}: {reached}, then {at}"
        taking = {name for name, row in controls.items() if row["Type"] not in standard.PASSIVE_CONTROLS}
        if len(taking) > 1 and taking - following.keys():
            yield f"{dialog['Dialog']}: {sorted(taking - following.keys())} cannot be reached"


@rule
def controls_are_sound(database):
    """Known, within their window, with a property where they show one, and buttons that do something."""
    sizes = {row["Dialog"]: (number(row["Width"]), number(row["Height"])) for row in database.rows("Dialog")}
    doing = {(row["Dialog_"], row["Control_"]) for row in database.rows("ControlEvent")}
    for row in database.rows("Control"):
        place = f"{row['Dialog_']}.{row['Control']}"
        width, height = sizes.get(row["Dialog_"], (0, 0))
        if row["Type"] not in standard.CONTROLS:
            yield f"{place}: {row['Type']}"
        if number(row["X"]) + number(row["Width"]) > width or number(row["Y"]) + number(row["Height"]) > height:
            yield f"{place}: not within its window"
        if row["Type"] in standard.PROPERTY_CONTROLS and not row["Property"]:
            yield f"{place}: no property"
        if row["Type"] == "PushButton" and (row["Dialog_"], row["Control"]) not in doing:
            yield f"{place}: does nothing"
        if row["Text"].startswith("{\\") and not row["Text"].startswith("{\\rtf"):
            style = row["Text"][2:].split("}")[0]
            if style not in database.keys("TextStyle"):
                yield f"{place}: the style {style}"


@rule
def events_are_known(database):
    """Buttons do what the installer can, and windows that they open are there; somebody who is asked can cancel."""
    dialogs = database.keys("Dialog")
    for row in database.rows("ControlEvent"):
        place = f"{row['Dialog_']}.{row['Control_']}: {row['Event']} {row['Argument']}"
        if row["Event"] not in standard.EVENTS:
            yield place
        elif row["Event"] in ("NewDialog", "SpawnDialog", "SpawnWaitDialog") and row["Argument"] not in dialogs:
            yield place
        elif row["Event"] == "EndDialog" and row["Argument"] not in standard.END_ARGUMENTS:
            yield place
    yield from (f"{row['Dialog_']}.{row['Control_']}: {row['Event']}" for row in database.rows("EventMapping")
                if row["Event"] not in standard.PUBLISHED_EVENTS)
    yield from (f"{row['Dialog']}: nobody can cancel" for row in database.rows("Dialog")
                if not row["Control_Cancel"] and not number(row["Attributes"]) & ERROR)


@rule
def buttons_of_a_choice_have_their_group(database):
    """Each group of radio buttons has some, one of them is chosen at first, and each belongs to a group."""
    groups = {row["Property"] for row in database.rows("Control") if row["Type"] == "RadioButtonGroup"}
    choices = {}
    for row in database.rows("RadioButton"):
        choices.setdefault(row["Property"], []).append(row["Value"])
    yield from (f"{name}: buttons without a group" for name in sorted(choices.keys() - groups))
    yield from (f"{name}: {database.property(name)} at first" for name in sorted(groups)
                if database.property(name) not in choices.get(name, []))


@rule
def windows_can_be_reached(database):
    """Each window is in a sequence, opened by another one, or one that the installer opens itself."""
    opened = {row["Argument"] for row in database.rows("ControlEvent") if row["Event"].endswith("Dialog")}
    opened |= set(sequence(database, "InstallUISequence")) | standard.REQUIRED_WINDOWS | {database.property("ErrorDialog")}
    yield from sorted(database.keys("Dialog") - opened)


@rule
def texts_of_errors_are_numbered(database):
    """Their numbers are those of the installer: its own kinds of messages, and 1000 to 1999."""
    for row in database.rows("Error"):
        if not (0 <= number(row["Error"]) <= 32 or 1000 <= number(row["Error"]) <= 1999):
            yield row["Error"]
        if not values.CATEGORIES["Template"](row["Message"]):
            yield f"{row['Error']}: {row['Message']}"
