#!/usr/bin/env python3
"""Makes the installer package and the zip archive of one architecture from what its build installs.

The same built files, version and date give the same bytes, except for signatures (signing.py says when there are any).
"""
import argparse
import datetime
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import zipfile

import installer
import make_icon
import signing

ROOT = pathlib.Path(__file__).resolve().parent.parent


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


def installed_files(build, component):
    """What CMake lays out for a component: the path below the installation folder and the content."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", str(build), "--component", component, "--prefix", folder], check=True,
                       stdout=subprocess.DEVNULL)
        top = pathlib.Path(folder)
        return {str(file.relative_to(top)): file.read_bytes() for file in top.rglob("*") if file.is_file()}


def write_zip(output, folder, files, timestamp):
    """All files below `folder`, in alphabetical order."""
    date = datetime.datetime.fromtimestamp(timestamp, datetime.timezone.utc)
    with zipfile.ZipFile(output, "w") as archive:
        for path, data in sorted(files.items()):
            entry = zipfile.ZipInfo(f"{folder}/{path}", date.timetuple()[:6])
            entry.create_system = 0  # as made on Windows: no Unix permissions
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data, compresslevel=9)


def checked_version(text):
    """A version as Windows Installer compares it: three numbers."""
    if not re.fullmatch(r"\d+\.\d+\.\d+", text):
        raise argparse.ArgumentTypeError("a version has three numbers")
    if any(int(part) > most for part, most in zip(text.split("."), (255, 255, 65535))):
        raise argparse.ArgumentTypeError("a version goes up to 255.255.65535")
    return text


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the build")
    parser.add_argument("output", type=pathlib.Path, help="folder that takes the packages")
    parser.add_argument("--version", type=checked_version, help="the project's by default")
    parser.add_argument("--also", metavar="COMPONENT", help="whose files take the place of those with the same name")
    arguments = parser.parse_args()
    package = json.loads((arguments.build / "package.json").read_text(encoding="utf-8"))
    architecture, version = package["architecture"], arguments.version or checked_version(package["version"])
    timestamp = source_date()
    signer = signing.signer_from()
    files = {}
    for component in [*package["components"], *([arguments.also] if arguments.also else [])]:
        files |= installed_files(arguments.build, component)
    if signer:
        files = {path: signer.signed(pathlib.PurePath(path).name, data) if path.endswith(signing.SIGNED_ENDINGS) else data
                 for path, data in files.items()}
    name = f"Kandora-{version}-{architecture}"
    arguments.output.mkdir(parents=True, exist_ok=True)
    write_zip(arguments.output / f"{name}.zip", name, files, timestamp)
    # The installer also brings the first settings; who installs by hand copies the template.
    files["Kandora.ini"] = files["Kandora.ini.template"]
    licence = (ROOT / "LICENSE").read_text(encoding="utf-8")
    package = installer.Package(architecture, version, files, licence, make_icon.icon())
    target = arguments.output / f"{name}.msi"
    if signer:
        with tempfile.TemporaryDirectory() as folder:
            plain = pathlib.Path(folder, target.name)
            package.write(plain, timestamp)
            target.unlink(missing_ok=True)
            signer.sign(plain, target)
    else:
        package.write(target, timestamp)
    print("Signed and verified: the programs and the package." if signer else
          "Nothing is signed: KANDORA_SIGN_PKCS12 is not set.")
    print(f"{arguments.output / name}.msi\n{arguments.output / name}.zip")
    return 0


if __name__ == "__main__":
    sys.exit(main())
