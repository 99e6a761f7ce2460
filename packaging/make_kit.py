#!/usr/bin/env python3
"""Makes the kit that examines the component on a real Windows: the built programs, the tests that need nothing but Windows,
and the plan that tells pruefen.exe what to run and what each must come to.

What CMake registers as a test is what a kit runs; how its output is judged, and how many cases it has, is what `./dev test`
goes by. The same built files, version and date give the same bytes.
"""
import argparse
import fnmatch
import json
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(ROOT / "scripts"), str(ROOT / "benchmarks")]

# pylint: disable=wrong-import-position
import fill_ini  # noqa: E402
import judge  # noqa: E402
import make_packages  # noqa: E402
import make_surroundings  # noqa: E402
import outcome  # noqa: E402
import registration  # noqa: E402

# What no list of tests has: how long a program takes, what it changes, why a test stays out.
KNOWN = json.loads((ROOT / "packaging" / "kit.json").read_text(encoding="utf-8"))
DEFAULT_SECONDS = 10
# A program that takes so many times as long as it usually does hangs; the machine may be slow.
PATIENCE, SHORTEST_LIMIT = 30, 600
# Variables that mean something to the scripts of the tests and not to the programs.
SCRIPTS_OWN = re.compile(r"GTEST_|KANDORA_PROCESSORS$")


def listed_tests(build):
    """Every test as CMake registers it: name, area, command, environment."""
    done = subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1"], capture_output=True, check=True)
    for test in json.loads(done.stdout)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test["properties"]}
        environment = dict(variable.split("=", 1) for variable in properties.get("ENVIRONMENT", []))
        yield test["name"], properties["LABELS"][0], test.get("command", []), environment


def is_program(command):
    """Whether a test is a Windows program of ours that is run as it is: in-session FOLDER run-ARCHITECTURE PROGRAM..."""
    return len(command) > 3 and pathlib.Path(command[2]).name.startswith("run-") and command[3].endswith(".exe")


def planned_tests(build, record):
    """Tests that go into a kit, and the names with reasons of those that do not. A program that runs in several shards side by
    side is one test of a kit."""
    tests, omitted = {}, {}
    for name, area, command, environment in listed_tests(build):
        family = outcome.family(name)
        if not is_program(command):
            reason = next((text for pattern, text in KNOWN["omitted"].items() if fnmatch.fnmatchcase(family, pattern)), None)
            if reason is None:
                raise ValueError(f"{name} is no program, and kit.json does not tell why a kit does without it")
            omitted[family] = reason
            continue
        facts = KNOWN["programs"].get(family, {})
        seconds = facts.get("seconds", DEFAULT_SECONDS)
        numbers = dict(record.programs.get(area, {}).get(family, {}))
        tests[family] = {
            "name": family, "area": area, "program": pathlib.Path(command[3]).relative_to(build).as_posix(),
            "arguments": command[4:],
            "environment": {key: value for key, value in environment.items() if not SCRIPTS_OWN.match(key)},
            "needs": facts.get("needs", "nothing"), "cases": numbers.pop("cases", 0), "counts": numbers,
            "excused": record.excused(family, {"one architecture"}), "seconds": seconds,
            "limit": max(SHORTEST_LIMIT, PATIENCE * seconds)}
    return sorted(tests.values(), key=lambda test: (test["seconds"], test["name"])), omitted


def class_keys(architecture):
    """The component's keys below Software\\Classes."""
    found = set()
    for entry in registration.entries(architecture, "", ""):
        parts = entry.key.split("\\")
        found.add("\\".join(parts[:2] if parts[0] in ("CLSID", "Interface", "TypeLib") else parts[:1]))
    return sorted(found)


def settings():
    """How Kandora.ini is filled for the sample archive: each setting with its value, or with the mask, and the field in it,
    whose number the archive has."""
    fields = {mask: set() for mask in fill_ini.MASKS.values()}
    for mask, keys in fill_ini.INDEX.values():
        fields[mask] |= set(keys.values())
    # An archive that has names in the place of its numbers.
    archive = {"archive": ["Muster-Archiv"], "benutzer": [{"name": "Kandora", "passwort": "geheim", "kuerzel": "KAN"}],
               "masken": [{"name": mask, "nummer": Named({"mask": mask}),
                           "felder": [{"name": field, "zeile": Named({"mask": mask, "field": field})} for field in names]}
                          for mask, names in fields.items()]}
    rows = []
    for (section, key), value in fill_ini.values_of(archive, "Buchhaltung", "@DRUCKDATEI@").items():
        source = json.loads(value) if value.startswith("{") else {"value": value}
        rows.append({"section": section, "key": key} | source)
    return rows


class Named(dict):
    """The name of a number, which stays one when it is made a text of."""

    def __str__(self):
        return json.dumps(self)


def package_code(package, name):
    """A property of an installer package."""
    done = subprocess.run(["msiinfo", "export", str(package), "Property"], capture_output=True, check=True)
    return re.search(rf"^{name}\t(\S+)", done.stdout.decode("utf-8"), re.MULTILINE)[1]


def packages(build, first, version):
    """The plan's part on the installers, and their files: this version's, and the same under the next number."""
    next_version = re.sub(r"\d+$", lambda patch: str(int(patch[0]) + 1), version)
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.executable, str(ROOT / "packaging" / "make_packages.py"), str(build), folder,
                        "--version", next_version, "--also", "next"], check=True, stdout=subprocess.DEVNULL)
        following = pathlib.Path(folder) / first.name.replace(version, next_version)
        plan = {"first": f"packages/{first.name}", "firstProduct": package_code(first, "ProductCode"),
                "next": f"packages/{following.name}", "nextProduct": package_code(following, "ProductCode"),
                "upgradeCode": package_code(first, "UpgradeCode"), "nextVersion": next_version}
        return plan, {plan["first"]: first.read_bytes(), plan["next"]: following.read_bytes()}


NO_PACKAGES = dict.fromkeys(("first", "firstProduct", "next", "nextProduct", "upgradeCode", "nextVersion"), "")


def measured_surroundings():
    """What the benchmarks work on, as {path: text}; "@ORDNER@" stands for the folder where it will lie."""
    with tempfile.TemporaryDirectory() as folder:
        top = pathlib.Path(folder)
        make_surroundings.make_store(top / "Archiv", None)
        make_surroundings.make_client(top / "client.json", "@ORDNER@\\Platzhalter.pdf")
        found = sorted(file for file in top.rglob("*") if file.is_file())
        return {str(file.relative_to(top)): file.read_text(encoding="utf-8") for file in found}


def files_below(build, folder):
    """The files in a folder of the build, by their places there."""
    return {file.relative_to(build).as_posix(): file.read_bytes() for file in sorted((build / folder).rglob("*"))
            if file.is_file() and file.suffix not in (".a", ".py")}


def kit(build, output, version, architecture, only, is_bare):
    """Everything that goes into the kit, by its place there. `only`: names of tests, if not all; `is_bare`: without packages
    and measurements."""
    record = outcome.Record(ROOT / "tests" / "cases.json")
    tests, omitted = planned_tests(build, record)
    files = make_packages.installed_files(build, "kit")
    for name in ("Kandora.dll", "DmsSolution.tlb", "Kandora.ini.template", "Platzhalter.pdf", "ArchiveSimulator.exe",
                 "HostSimulator.exe", "kandora-check.exe"):
        # A bare kit has what was built for its tests.
        if not is_bare or (build / "bin" / name).exists():
            files[f"bin/{name}"] = (build / "bin" / name).read_bytes()
    if only:
        tests = [test for test in tests if test["name"] in only]
    installers = NO_PACKAGES
    if not is_bare:
        files |= {path: data for component in ("docs", "tools")
                  for path, data in make_packages.installed_files(build, component).items() if path.startswith("Lizenzen/")}
        installers, package_files = packages(build, output / f"Kandora-{version}-{architecture}.msi", version)
        files |= package_files
        for name in ("kandora_benchmarks.exe", "load_once.exe", "empty_server.dll", "bare_server.dll"):
            files[f"benchmarks/{name}"] = (build / "benchmarks" / name).read_bytes()
        files["benchmarks/surroundings.json"] = json.dumps(measured_surroundings(), ensure_ascii=False).encode()
    for folder in KNOWN["data"]:
        files |= files_below(build, folder)
    for test in tests:
        files[test["program"]] = (build / test["program"]).read_bytes()
    plan = {"version": version, "architecture": architecture, "tests": tests,
            "omitted": [{"name": name, "reason": reason} for name, reason in sorted(omitted.items())],
            "fault": judge.FAULT.pattern,
            "counts": [{"what": what, "pattern": pattern.pattern} for what, pattern in judge.COUNTS],
            "classKeys": class_keys(architecture), "settings": settings(), "package": installers,
            "partSeconds": KNOWN["partSeconds"]}
    files["pruefen.json"] = json.dumps(plan, ensure_ascii=False, indent=1).encode()
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the build")
    parser.add_argument("output", type=pathlib.Path, help="folder that has the packages, and takes the kit")
    parser.add_argument("--only", nargs="+", default=[], metavar="TEST", help="of the tests these alone")
    parser.add_argument("--bare", action="store_true", help="without packages and measurements")
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    about = json.loads((build / "package.json").read_text(encoding="utf-8"))
    architecture, version = about["architecture"], about["version"]
    name = f"Kandora-{version}-pruefung-{architecture}"
    files = kit(build, arguments.output, version, architecture, arguments.only, arguments.bare)
    arguments.output.mkdir(parents=True, exist_ok=True)
    make_packages.write_zip(arguments.output / f"{name}.zip", name, files, make_packages.source_date())
    print(arguments.output / f"{name}.zip")
    return 0


if __name__ == "__main__":
    sys.exit(main())
