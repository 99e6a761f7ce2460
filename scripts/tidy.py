#!/usr/bin/env python3
"""Runs clang-tidy over the sources of one build folder.

The compile commands are those of GCC for Windows; clang gets the same sources, definitions and include folders, its own
builtin headers and the C++ library of that GCC. A file that was clean is not analysed again until it, one of its headers,
the configuration or the command changes.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

TRIPLETS = {"x86": "i686-w64-mingw32", "x64": "x86_64-w64-mingw32"}


def cpp_library_folders(triplet):
    """The include folders of GCC's C++ library, which clang does not find by itself under Debian's folder names."""
    output = subprocess.run([f"{triplet}-g++-posix", "-v", "-x", "c++", "-E", "/dev/null"],
                            capture_output=True, text=True, check=True).stderr
    listed = output.split("#include <...> search starts here:")[1].split("End of search list.")[0]
    return [os.path.normpath(line.strip()) for line in listed.splitlines() if "/include/c++" in line]


def clang_command(entry, triplet, folders):
    """The compile command of ENTRY for clang, without what only GCC or the linking step knows."""
    words = shlex.split(entry["command"]) if "command" in entry else list(entry["arguments"])
    command = ["clang++", f"--target={triplet}", "-nostdinc++", "-fsyntax-only"]
    for folder in folders:
        command += ["-isystem", folder]
    skip = False
    for word in words[1:]:
        if skip:
            skip = False
        elif word in ("-o", "-c", "-MF", "-MT", "-MQ"):
            skip = word != "-c"
        elif not re.match(r"-(Werror|Wduplicated-cond|Wlogical-op|MD$|MMD$|finput-charset|fprofile|-coverage|fsanitize)", word):
            command.append(word)
    return command


def digest(path):
    try:
        return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    except OSError:
        return None


def project_headers(command, directory, root):
    """SOURCE and every header of the project that it includes."""
    listing = subprocess.run([*command[:1], "-MM", *[word for word in command[1:] if word != "-fsyntax-only"]],
                             cwd=directory, capture_output=True, text=True)
    if listing.returncode != 0:
        return None
    names = listing.stdout.split(":", 1)[1].replace("\\\n", " ").split()
    paths = [os.path.normpath(os.path.join(directory, name)) for name in names]
    return [path for path in paths if path.startswith(root + os.sep)]


class Linter:
    def __init__(self, arguments):
        self.root = os.path.realpath(arguments.root)
        self.folder = pathlib.Path(arguments.output)
        self.cache = self.folder / "clean"
        self.cache.mkdir(parents=True, exist_ok=True)
        self.configuration = digest(os.path.join(self.root, ".clang-tidy"))
        self.arguments = arguments

    def entries(self):
        """The project's own sources; generated ones and those of libraries are left out."""
        triplet = TRIPLETS[self.arguments.architecture]
        folders = cpp_library_folders(triplet)
        database = json.loads(pathlib.Path(self.arguments.database).read_text(encoding="utf-8"))
        own = []
        for entry in database:
            path = os.path.realpath(os.path.join(entry["directory"], entry["file"]))
            inside = path.startswith(self.root + os.sep) and not path.startswith(os.path.join(self.root, "build") + os.sep)
            left_out = self.arguments.without and re.search(self.arguments.without, path[len(self.root):])
            if inside and path.endswith(".cpp") and not left_out:
                own.append({"directory": entry["directory"], "file": path,
                            "arguments": clang_command(entry, triplet, folders)})
        return own

    def stamp(self, entry):
        return self.cache / (hashlib.sha256(json.dumps(entry).encode()).hexdigest() + ".json")

    def is_clean(self, entry):
        try:
            known = json.loads(self.stamp(entry).read_text(encoding="utf-8"))
        except (OSError, ValueError):
            return False
        return known["configuration"] == self.configuration and all(
            digest(path) == value for path, value in known["files"].items())

    def check(self, entry):
        """An empty text when the file is clean, else what clang-tidy says."""
        result = subprocess.run(["clang-tidy-14", "--quiet", "-p", str(self.folder), "--warnings-as-errors=*", entry["file"]],
                                capture_output=True, text=True)
        if result.returncode != 0:
            return result.stdout + result.stderr
        files = project_headers(entry["arguments"], entry["directory"], self.root)
        if files is not None:
            self.stamp(entry).write_text(json.dumps({"configuration": self.configuration,
                                                     "files": {path: digest(path) for path in files}}), encoding="utf-8")
        return ""

    def run(self):
        entries = self.entries()
        if not entries:
            print("No sources in the compile database.", file=sys.stderr)
            return 1
        (self.folder / "compile_commands.json").write_text(json.dumps(entries, indent=1), encoding="utf-8")
        due = [entry for entry in entries if not self.is_clean(entry)]
        failed = 0
        with concurrent.futures.ThreadPoolExecutor(self.arguments.jobs) as pool:
            for entry, complaint in zip(due, pool.map(self.check, due)):
                if complaint:
                    failed += 1
                    print(complaint, flush=True)
        print(f"{len(entries)} sources, {len(due)} analysed, {failed} with findings")
        return 1 if failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--architecture", choices=sorted(TRIPLETS), required=True)
    parser.add_argument("--database", required=True, help="compile_commands.json of the build")
    parser.add_argument("--root", required=True, help="the project's folder")
    parser.add_argument("--output", required=True, help="folder for clang's compile commands and the list of clean files")
    parser.add_argument("--without", help="leaves out sources whose path in the project matches this expression")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    return Linter(parser.parse_args()).run()


if __name__ == "__main__":
    sys.exit(main())
