"""The keys of Kandora.ini.template, and what a release added to them.

As a command it writes the text that tells of that: settings_template.py OUTPUT VERSION
"""
import pathlib
import re
import sys

from windows_text import windows_text

FOLDER = pathlib.Path(__file__).resolve().parent
TEMPLATE = FOLDER / "Kandora.ini.template"
RELEASES = FOLDER / "releases"


def keys_of(text):
    """[section, key] of every line that sets a key, in order."""
    section, found = "", []
    for line in text.splitlines():
        heading = re.fullmatch(r"\[([^\]]+)\]", line.strip())
        if heading:
            section = heading[1]
        elif re.match(r"[^;=\s][^=]*=", line):
            found.append((section, line.split("=", 1)[0].strip()))
    return found


def version_number(text):
    return tuple(int(part) for part in text.split("."))


def previous_release(version):
    """Version and keys of the release before `version`, or None when there was none. A file in releases/ per release."""
    older = [file for file in RELEASES.glob("*.keys") if version_number(file.stem) < version_number(version)]
    if not older:
        return None
    last = max(older, key=lambda file: version_number(file.stem))
    return last.stem, [tuple(line.split("\t")) for line in last.read_text(encoding="utf-8").splitlines()]


def news(version, template=None, previous=None):
    """The text that tells an administrator which keys a release has brought or dropped since the one before."""
    now = keys_of(template if template is not None else TEMPLATE.read_text(encoding="utf-8"))
    previous = previous or previous_release(version)
    lines = [f"Kandora {version}: Neu in der Vorlage Kandora.ini.template", ""]
    if previous is None:
        lines += ["Dies ist die erste Ausgabe. Alle Schlüssel der Vorlage gehören in Kandora.ini."]
        return "\n".join(lines) + "\n"
    before, keys = previous
    added = [key for key in now if key not in keys]
    dropped = [key for key in keys if key not in now]
    if not added and not dropped:
        lines += [f"Seit der Ausgabe {before} ist kein Schlüssel dazugekommen und keiner weggefallen.",
                  "Eine bestehende Kandora.ini passt ohne Änderung."]
    if added:
        lines += [f"Seit der Ausgabe {before} dazugekommen; bitte in Kandora.ini eintragen, Erklärung in der Vorlage:"]
        lines += [f"  [{section}] {key}" for section, key in added]
    if dropped:
        lines += ([""] if added else []) + [f"Seit der Ausgabe {before} weggefallen; die Zeilen können gelöscht werden:"]
        lines += [f"  [{section}] {key}" for section, key in dropped]
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    pathlib.Path(sys.argv[1]).write_bytes(windows_text(news(sys.argv[2])))
