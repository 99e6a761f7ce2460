#!/usr/bin/env python3
"""Makes the installer package and the zip archive of one architecture from its built files.

The same built files, version and date give the same bytes.
"""
import argparse
import datetime
import os
import pathlib
import re
import subprocess
import sys
import zipfile

import handbook
import installer
import settings_template

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTATION = pathlib.Path("/usr/share/doc")
# Licence texts as the compilers' and libraries' packages bring them.
LICENCES = {
    "GCC-Laufzeitbibliothek.txt": DOCUMENTATION / "gcc-mingw-w64-base" / "copyright",
    "MinGW-w64.txt": DOCUMENTATION / "mingw-w64-common" / "copyright",
    "GPL-3.txt": pathlib.Path("/usr/share/common-licenses/GPL-3"),
}
CHECK_LICENCES = {
    "JSON for Modern C++.txt": DOCUMENTATION / "nlohmann-json3-dev" / "copyright",
    "CLI11.txt": DOCUMENTATION / "libcli11-dev" / "copyright",
}
LICENCE_OVERVIEW = """\
Fremde Bestandteile

Kandora.dll und kandora-check.exe enthalten Teile der Laufzeitbibliotheken, mit denen sie übersetzt wurden:

- libstdc++ und libgcc der GNU Compiler Collection. Sie stehen unter der GNU General Public License, Version 3, mit der
  Ausnahme für Laufzeitbibliotheken (GCC Runtime Library Exception, Version 3.1). Diese Ausnahme erlaubt es, übersetzte
  Programme unter beliebigen Bedingungen weiterzugeben. Texte: GCC-Laufzeitbibliothek.txt und GPL-3.txt
- die Laufzeit von MinGW-w64 mit winpthreads. Text: MinGW-w64.txt
"""
CHECK_OVERVIEW = """
kandora-check.exe enthält ausserdem:

- JSON for Modern C++ (MIT-Lizenz). Text: JSON for Modern C++.txt
- CLI11 (BSD-Lizenz mit drei Klauseln). Text: CLI11.txt
"""


def windows_text(text):
    """As the editor of Windows shows it: UTF-8 with its mark, Windows' line ends."""
    return b"\xef\xbb\xbf" + text.replace("\r\n", "\n").replace("\n", "\r\n").encode("utf-8")


def project_version():
    return re.search(r"project\(Kandora VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))[1]


def source_date():
    """Seconds since 1970: SOURCE_DATE_EPOCH when set, else the last commit's time."""
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    try:
        done = subprocess.run(["git", "-C", str(ROOT), "log", "-1", "--format=%ct"], capture_output=True, text=True,
                              check=True)
        return int(done.stdout)
    except (OSError, ValueError, subprocess.CalledProcessError):
        return 946684800  # sources without their history: the year 2000


def common_files(binaries, version):
    """What both forms contain: the path below the installation folder and the content."""
    check = binaries / "kandora-check.exe"
    files = {name: (binaries / name).read_bytes()
             for name in ("Kandora.dll", "DmsSolution.tlb", "Platzhalter.pdf", "Kandora.ini.template")}
    files["Neu in der Vorlage.txt"] = windows_text(settings_template.news(version))
    files["Handbuch.html"] = handbook.page(ROOT / "docs" / "Handbuch.md", version).encode("utf-8")
    overview, licences = LICENCE_OVERVIEW, dict(LICENCES)
    if check.is_file():
        files["Werkzeuge/kandora-check.exe"] = check.read_bytes()
        overview += CHECK_OVERVIEW
        licences |= CHECK_LICENCES
    else:
        print(f"{check} is missing; the package is made without it", file=sys.stderr)
    if (ROOT / "LICENSE").is_file():
        licences["Kandora.txt"] = ROOT / "LICENSE"
    files["Lizenzen/Lizenzen.txt"] = windows_text(overview)
    for name, source in licences.items():
        files[f"Lizenzen/{name}"] = windows_text(source.read_text(encoding="utf-8"))
    return files


def write_zip(output, folder, files, timestamp):
    """All files below `folder`, in alphabetical order."""
    date = datetime.datetime.fromtimestamp(timestamp, datetime.timezone.utc)
    with zipfile.ZipFile(output, "w") as archive:
        for path, data in sorted(files.items()):
            entry = zipfile.ZipInfo(f"{folder}/{path}", date.timetuple()[:6])
            entry.create_system = 0  # as made on Windows: no Unix permissions
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data, compresslevel=9)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("architecture", choices=installer.MACHINE_NAMES)
    parser.add_argument("binaries", type=pathlib.Path, help="folder of the built files")
    parser.add_argument("output", type=pathlib.Path, help="folder that takes the packages")
    parser.add_argument("--version", default=project_version(), help="the project's by default")
    arguments = parser.parse_args()
    if not re.fullmatch(r"\d{1,3}\.\d{1,3}\.\d{1,5}", arguments.version):
        parser.error("a version has three numbers")
    timestamp = source_date()
    files = common_files(arguments.binaries, arguments.version)
    name = f"Kandora-{arguments.version}-{arguments.architecture}"
    arguments.output.mkdir(parents=True, exist_ok=True)
    write_zip(arguments.output / f"{name}.zip", name, files, timestamp)
    # The installer also brings the settings' first version; by hand one copies the template.
    files["Kandora.ini"] = files["Kandora.ini.template"]
    installer.Package(arguments.architecture, arguments.version, files).write(arguments.output / f"{name}.msi", timestamp)
    print(f"{arguments.output / name}.msi\n{arguments.output / name}.zip")
    return 0


if __name__ == "__main__":
    sys.exit(main())
