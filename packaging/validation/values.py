"""What may stand in a cell, by the category that the table _Validation names, and whether a condition can be read."""
import re

LANGUAGES = re.compile(r"\d+(,\d+)*")
IDENTIFIER = re.compile(r"[A-Za-z_][A-Za-z0-9_.]*")
PUBLIC = re.compile(r"[A-Z_][A-Z0-9_.]*")
VERSION = re.compile(r"\d{1,5}(\.\d{1,5}){0,3}")
SHORT_NAME = re.compile(r"[^\\?|><:/*\"+,;=\[\]. ]{1,8}(\.[^\\?|><:/*\"+,;=\[\]. ]{1,3})?")
LONG_NAME = re.compile(r"[^\\?|><:/*\"]{1,255}")
WILDCARD = re.compile(r"[^\\|><:/\"]+")
SDDL = re.compile(r"(O:\w+)?(G:\w+)?(D:[A-Z]*(\([A-Z]*;[A-Z]*;[0-9A-Za-z]*;;;[A-Z]{2}\))*)?")
REFERENCE = re.compile(r"\[([^\[\]]*)\]")


def is_file_name(text):
    """"SHORT|long", or a short one alone."""
    short, _, long = text.partition("|")
    return bool(SHORT_NAME.fullmatch(short)) and (not long or bool(LONG_NAME.fullmatch(long)))


def is_default_dir(text):
    """Where a folder comes to and, behind a colon, where it comes from; "." is the one above it."""
    return all(part in (".", "SourceDir") or is_file_name(part) for part in text.split(":"))


def is_balanced(text):
    """Brackets of references and braces of groups; the text within references names something."""
    rest = REFERENCE.sub("", text)
    return "[" not in rest and "]" not in rest and text.count("{") == text.count("}") and "[]" not in text


def is_registry_path(text):
    return not text.startswith("\\") and not text.endswith("\\") and "\\\\" not in text and is_balanced(text)


def is_cabinet(text):
    return bool(IDENTIFIER.fullmatch(text[1:])) if text.startswith("#") else is_file_name(text)


CATEGORIES = {
    "Text": lambda text: True, "AnyPath": lambda text: True, "Binary": bool, "Identifier": IDENTIFIER.fullmatch,
    "UpperCase": lambda text: text == text.upper(), "LowerCase": lambda text: text == text.lower(),
    "Property": IDENTIFIER.fullmatch, "CustomSource": IDENTIFIER.fullmatch,
    "Guid": lambda text: re.fullmatch(r"\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\}", text),
    "Version": lambda text: VERSION.fullmatch(text) and all(int(part) <= 65535 for part in text.split(".")),
    "Language": LANGUAGES.fullmatch, "Filename": is_file_name, "WildCardFilename": WILDCARD.fullmatch,
    "DefaultDir": is_default_dir, "Cabinet": is_cabinet, "RegPath": is_registry_path, "Formatted": is_balanced,
    "Template": is_balanced, "FormattedSDDLText": SDDL.fullmatch,
    "Condition": lambda text: condition_names(text) is not None,
}

TOKEN = re.compile(r"""\s*(?:(?P<open>\()|(?P<close>\))|(?P<operator>~?(?:<>|<=|>=|><|<<|>>|=|<|>))"""
                   r"""|(?P<text>"[^"]*")|(?P<number>-?\d+)|(?P<name>[%$?&!]?[A-Za-z_][A-Za-z0-9_.]*))""")
WORDS = {"NOT", "AND", "OR", "XOR", "EQV", "IMP"}


class _Condition:
    """A recursive reader: what is joined by operators of two, what NOT, brackets and comparisons hold together."""

    def __init__(self, text):
        self.tokens = []
        place = 0
        text = text.rstrip()
        while place < len(text):
            found = TOKEN.match(text, place)
            if not found:
                raise ValueError(text[place:])
            kind = found.lastgroup
            value = found[kind]
            self.tokens.append(("word" if kind == "name" and value.upper() in WORDS else kind, value))
            place = found.end()
        self.names = set()

    def read(self):
        self._joined()
        if self.tokens:
            raise ValueError(self.tokens)
        return self.names

    def _next(self):
        return self.tokens[0] if self.tokens else ("end", "")

    def _joined(self):
        self._term()
        while self._next()[0] == "word" and self._next()[1].upper() != "NOT":
            self.tokens.pop(0)
            self._term()

    def _term(self):
        kind, value = self._next()
        if kind == "word" and value.upper() == "NOT":
            self.tokens.pop(0)
            self._term()
        elif kind == "open":
            self.tokens.pop(0)
            self._joined()
            if self._next()[0] != "close":
                raise ValueError("a bracket is open")
            self.tokens.pop(0)
        else:
            self._value()
            if self._next()[0] == "operator":
                self.tokens.pop(0)
                self._value()

    def _value(self):
        kind, value = self._next()
        if kind not in ("name", "number", "text"):
            raise ValueError(value)
        self.tokens.pop(0)
        if kind == "name":
            self.names.add(value)


def condition_names(text):
    """The names that a condition asks for, or None when it cannot be read."""
    try:
        return _Condition(text).read()
    except ValueError:
        return None


def references(text):
    """What a formatted text names in brackets, without properties of the environment and of other kinds."""
    return REFERENCE.findall(text)
