#!/usr/bin/env python3
"""Runs a kit for a real Windows in this Windows session, and says whether it came to what `./dev test` comes to:
kit.py LOADER ZIP LOG

LOG.txt takes the kit's report, LOG.log what it printed.
"""
import json
import os
import pathlib
import subprocess
import sys
import zipfile

import outcome

ROOT = pathlib.Path(__file__).resolve().parent.parent
PARTS = ("jahr", "paket", "messungen")


def unpacked(archive, drive):
    """The kit's folder on the session's drive C. Its other drives, through which the build could be seen, go."""
    for name in ("k:", "z:"):
        (drive.parent / "dosdevices" / name).unlink(missing_ok=True)
    with zipfile.ZipFile(archive) as packed:
        packed.extractall(drive)
        return drive / packed.namelist()[0].partition("/")[0]


def report_of(text):
    """A report's part for programs."""
    return json.loads(text.partition("(JSON) ====")[2])


def differences(report, record):
    """Where the report is not what the record of `./dev test` has."""
    results = {result["name"]: result for result in report["ergebnisse"]}
    for program, numbers in record.expected([]).items():
        result = results.pop(program, None)
        if result is None:
            yield f"{program}: neither run nor left out"
            continue
        if result["ergebnis"] == "ausgelassen":
            continue
        excused = len(record.excused(program, {"one architecture"}))
        seen = {"cases": result["faelle"] + excused} | result["zahlen"]
        if result["ergebnis"] != "bestanden":
            yield f"{program}: {result['hinweis']}"
        elif seen != numbers:
            yield f"{program}: {seen}, recorded {numbers}"
    for part in PARTS:
        result = results.pop(part, {"ergebnis": "missing", "hinweis": ""})
        if result["ergebnis"] != "bestanden":
            yield f"{part}: {result['ergebnis']}: {result['hinweis']}"
    # Tests that the record has under one name, and that are several to CMake, were left out.
    for name, result in results.items():
        if result["ergebnis"] != "ausgelassen":
            yield f"{name}: is not recorded"


def main(loader, archive, log):
    drive = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c"
    folder = unpacked(archive, drive)
    with open(f"{log}.log", "wb") as output:
        done = subprocess.run([loader, f"C:\\{folder.name}\\pruefen.exe", "--yes", "--report", r"C:\Bericht.txt"], cwd=drive,
                              stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, check=False)
    print(pathlib.Path(f"{log}.log").read_text(encoding="utf-8", errors="replace").replace("\r\n", "\n"))
    report_file = drive / "Bericht.txt"
    if not report_file.exists():
        print(f"The kit wrote no report and ended with {done.returncode}.")
        return 1
    text = report_file.read_text(encoding="utf-8-sig")
    pathlib.Path(f"{log}.txt").write_text(text, encoding="utf-8")
    found = list(differences(report_of(text), outcome.Record(ROOT / "tests" / "cases.json")))
    if done.returncode != 0:
        found.append(f"the kit ended with {done.returncode}")
    left = sorted(path.name for path in folder.iterdir() if path.name in ("Arbeit", "Zurueckgeben.json"))
    if left:
        found.append(f"the kit left behind: {', '.join(left)}")
    for difference in found:
        print(f"Not as ./dev test: {difference}")
    if not found:
        print("Every verdict and every number of cases is that of ./dev test.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
