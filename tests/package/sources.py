"""What the component's sources say to people: texts and error numbers, read from the code."""
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
FLOORS = ("automation", "support", "archive", "accounting", "provider", "ui", "component")
LITERAL = r'L"((?:[^"\\]|\\.)*)"'


def code():
    """Path and text of every source file of the component, without comments."""
    for floor in FLOORS:
        for file in sorted((ROOT / "src" / floor).glob("*")):
            if file.suffix in (".cpp", ".h"):
                text = file.read_text(encoding="utf-8")
                yield file, re.sub(r"^\s*//.*$|(?<=[;{}])\s+//.*$", "", text, flags=re.MULTILINE)


def texts():
    """Every wide text of the sources, literals that follow each other joined, with the files it stands in."""
    found = {}
    for file, text in code():
        for match in re.finditer(rf"{LITERAL}(?:\s*{LITERAL})*", text):
            joined = "".join(re.findall(LITERAL, match[0])).replace('\\"', '"').replace("\\\\", "\\")
            found.setdefault(joined, file.relative_to(ROOT))
    return found


def messages():
    """The texts that people read: two words at least, or a sentence's part beside a value."""
    return {text: file for text, file in texts().items()
            if re.search(r"[A-Za-zÄÖÜäöü'.:=]{2,} +[A-Za-zÄÖÜäöü'(]{1,}", text)}


def error_numbers():
    """Every error number that the sources give a name."""
    numbers = {}
    for _, text in code():
        for name, number in re.findall(r"constexpr std::int32_t (\w+) = (\d+);", text):
            numbers[name] = int(number)
    return numbers
