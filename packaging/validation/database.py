"""A package as the installer's own tools read it back."""
import dataclasses
import pathlib
import re
import subprocess
import tempfile


@dataclasses.dataclass
class Table:
    """Names and types of the columns, the names of the key columns, and the rows as dictionaries of texts."""
    names: list
    kinds: list
    keys: list
    rows: list


@dataclasses.dataclass
class Database:
    """All tables, the values of the summary by their numbers, the names of all streams, and the code page."""
    tables: dict
    summary: dict
    streams: list
    code_page: int

    def rows(self, name):
        return self.tables[name].rows if name in self.tables else []

    def keys(self, name):
        """The values of the first key column of a table."""
        return {row[self.tables[name].names[0]] for row in self.rows(name)}

    def property(self, name):
        return next((row["Value"] for row in self.rows("Property") if row["Property"] == name), None)


def _tool(*arguments):
    """What the tool prints. It writes the files that a table holds, such as icons, into the folder where it runs."""
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["msiinfo", *map(str, arguments)], capture_output=True, cwd=folder, check=True)
    return done.stdout.decode("utf-8")


def read_table(text):
    """A table in the exchange format, as the tool writes it: line ends within values stand as they are."""
    lines = text.split("\r\n")
    names = lines[0].split("\t")
    rows, begun = [], ""
    for line in lines[3:]:
        begun += line
        if begun.count("\t") == len(names) - 1:
            rows.append(dict(zip(names, begun.split("\t"))))
            begun = ""
        elif begun:
            begun += "\r\n"
    return Table(names, lines[1].split("\t"), lines[2].split("\t")[1:], rows)


def read(package):
    """Everything that the package, a file, says."""
    package = pathlib.Path(package).resolve()
    streams = _tool("streams", package).split("\n")
    tables, code_page, summary = {}, 0, {}
    for name in _tool("tables", package).split():
        if name == "_ForceCodepage":
            code_page = int(re.search(r"(\d+)\t_ForceCodepage", _tool("export", package, name))[1])
        elif name == "_SummaryInformation":
            summary = {int(row["PropertyId"]): row["Value"] for row in read_table(_tool("export", package, name)).rows}
        elif name not in streams:
            tables[name] = read_table(_tool("export", package, name))
    return Database(tables, summary, [name for name in streams if name], code_page)
