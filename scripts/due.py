"""Which sources have to be analysed: those whose own text, or one of whose headers, is not known to be clean.

Two things are remembered. The base is committed: the texts that were clean when it was recorded, so that a fresh clone knows
what has changed since. The list of clean jobs belongs to one build folder and knows every header and the analyser's version.
"""
import dataclasses
import hashlib
import json
import os
import pathlib
import re

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"([^"]+)"', re.MULTILINE)
# What may make a text mean something else where pointers are wider.
WIDTH = re.compile(r"_WIN64|__x86_64__|__i386__|_M_(IX86|X64|AMD64)|__SIZEOF_POINTER__|sizeof\s*\(\s*void\s*\*\s*\)")


def short_digest(*values):
    return hashlib.sha256(json.dumps(values).encode()).hexdigest()[:16]


@dataclasses.dataclass
class Source:
    """One source of the project as one target compiles it."""
    path: str      # in the project
    command: list  # for clang, without the source
    folders: list  # where its includes are looked for

    def options(self, root):
        """What of the command decides about the text, the same in every checkout and with every release of the libraries."""
        return sorted({word.replace(root, ".") for word in self.command if re.match(r"-(D|U|W|f|std=)", word)})


class Texts:
    """The project's texts and what they include. Conditions are not looked at, so a header too many may count."""

    def __init__(self, root):
        self.root = root
        self._digests = {}
        self._includes = {}

    def read(self, path):
        return pathlib.Path(self.root, path).read_text(encoding="utf-8", errors="replace")

    def digest(self, path):
        if path not in self._digests:
            self._digests[path] = short_digest(self.read(path))
        return self._digests[path]

    def _direct(self, path, folders):
        found = []
        for name in INCLUDE.findall(self.read(path)):
            for folder in [os.path.join(self.root, os.path.dirname(path)), *folders]:
                # A floor's headers are found through a link.
                file = os.path.realpath(os.path.join(folder, name))
                if file.startswith(self.root + os.sep) and os.path.isfile(file):
                    found.append(os.path.relpath(file, self.root))
                    break
        return found

    def headers(self, source):
        """The headers in the project's folder, generated ones too, that the source includes directly or through others."""
        folders = tuple(source.folders)
        seen, waiting = set(), [source.path]
        while waiting:
            path = waiting.pop()
            if (path, folders) not in self._includes:
                self._includes[path, folders] = self._direct(path, folders)
            new = [header for header in self._includes[path, folders] if header not in seen]
            seen.update(new)
            waiting += new
        return seen


def representative(header, including):
    """The source to look at for the sake of a header; `including` has the sources that include it with all their headers. The
    source of that name, else the one that includes least."""
    stem = header.rsplit(".", 1)[0]
    return min((path for path, headers in including.items() if header in headers),
               key=lambda path: (path.rsplit(".", 1)[0] != stem, len(including[path]), path))


class Base:
    """The committed list of what was clean."""

    def __init__(self, path, texts, configuration, sources, generated="build/"):
        self.path = pathlib.Path(path)
        self._configuration = configuration
        self._sources = sources
        self._headers = {source.path: {header for header in texts.headers(source) if not header.startswith(generated)}
                         for source in sources}
        self._now = {header: texts.digest(header) for headers in self._headers.values() for header in headers}
        self._now |= {source.path: short_digest(texts.digest(source.path), source.options(texts.root)) for source in sources}

    def record(self):
        content = {"configuration": self._configuration, "texts": self._now}
        self.path.write_text(json.dumps(content, indent=0, sort_keys=True) + "\n", encoding="utf-8")

    def changed(self):
        """The paths of the sources to analyse: the changed ones, and for each changed header that none of these includes one
        that does. What is wrong in a header shows in every source that includes it."""
        try:
            known = json.loads(self.path.read_text(encoding="utf-8"))
            clean = known["texts"] if known["configuration"] == self._configuration else {}
        except (OSError, ValueError, KeyError, TypeError):
            clean = {}
        different = {path for path, digest in self._now.items() if clean.get(path) != digest}
        due = {source.path for source in self._sources} & different
        for header in sorted(different - due):
            if not any(header in self._headers[path] for path in due):
                due.add(representative(header, self._headers))
        return due


class CleanJobs:
    """Names of jobs that found nothing; a name stands for everything that can change the outcome."""

    def __init__(self, file):
        self.file = pathlib.Path(file)
        try:
            self._names = set(self.file.read_text(encoding="utf-8").split())
        except OSError:
            self._names = set()

    def __contains__(self, name):
        return name in self._names

    def add(self, name):
        """Kept at once: a run that is interrupted has not worked in vain."""
        self._names.add(name)
        with open(self.file, "a", encoding="utf-8") as file:
            file.write(name + "\n")

    def keep_only(self, names):
        self._names &= set(names)
        self.file.write_text("".join(name + "\n" for name in sorted(self._names)), encoding="utf-8")
