#!/usr/bin/env python3
"""Runs clang-tidy over the project's sources.

The compile commands are those of GCC for Windows; clang gets the same sources, definitions and include folders, its own
builtin headers and the C++ library of that GCC. Each source is analysed once, for the first architecture, as one of the
targets compiles it. For the others the product is only compiled, with clang's warnings, and what asks for the width of a
pointer is analysed again.
"""
import argparse
import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys

import due

TRIPLETS = {"x86": "i686-w64-mingw32", "x64": "x86_64-w64-mingw32"}

# The walk over a function's paths is most of the work, and its default bound lets a few functions take most of that: with
# this one src/archive/ELODMS.cpp takes 3 s instead of 17 s.
BOUNDS = ["max-nodes=20000"]
# Tests are long functions without branches, whose macros and library calls are not worth following.
TEST_BOUNDS = ["mode=shallow", "max-nodes=10000"]
# In tests, an optional that is empty fails its case and a table that cannot be made fails its program, as they should. What a
# test says is flushed line by line, so that one that is ended from outside has told how far it was.
TEST_CHECKS = ("--checks=-bugprone-unchecked-optional-access,-bugprone-throwing-static-initialization,"
               "-performance-avoid-endl")
TESTS = re.compile(r"(^|/)(tests|benchmarks)/")

# Leaves clang's own warnings that the configuration has on, and one check that costs nothing: without any check, the program
# does not even look at the source.
ONLY_WARNINGS = ("--checks=-bugprone-*,-clang-analyzer-*,-misc-*,-modernize-*,-performance-*,-readability-*,"
                 "readability-delete-null-pointer")

# What clang does not know, and what would write files.
GCC_ONLY = re.compile(r"-(Werror|Wduplicated-cond|Wlogical-op|MD$|MMD$|finput-charset|fprofile|-coverage|fsanitize)")


def cpp_library_folders(triplet):
    """The include folders of GCC's C++ library, which clang does not find by itself under Debian's folder names."""
    output = subprocess.run([f"{triplet}-g++-posix", "-v", "-x", "c++", "-E", "/dev/null"],
                            capture_output=True, text=True, check=True).stderr
    listed = output.split("#include <...> search starts here:")[1].split("End of search list.")[0]
    return [os.path.normpath(line.strip()) for line in listed.splitlines() if "/include/c++" in line]


def clang_command(words, triplet, folders):
    """The compile command's words for clang, without the source and what only GCC or the linking step knows."""
    command = [f"--target={triplet}", "-nostdinc++"]
    for folder in folders:
        command += ["-isystem", folder]
    skip = False
    for word in words[1:]:
        if skip:
            skip = False
        elif word in ("-o", "-c", "-MF", "-MT", "-MQ"):
            skip = word != "-c"
        elif not (word.endswith(".cpp") or GCC_ONLY.match(word)):
            command.append(word)
    return command


def include_folders(command):
    """The folders of -I and -isystem, in the order in which they are searched."""
    folders = [word[2:] for word in command if re.match("-I.", word)]
    return folders + [folder for option, folder in zip(command, command[1:]) if option in ("-I", "-isystem")]


@dataclasses.dataclass
class Job:
    source: due.Source
    architecture: str
    options: list  # of clang-tidy

    def command(self, program, root):
        is_test = TESTS.search(self.source.path)
        bounds = TEST_BOUNDS if is_test else BOUNDS
        checks = self.options or ([TEST_CHECKS] if is_test else [])
        analyser = [word for bound in bounds for word in ("-Xclang", "-analyzer-config", "-Xclang", bound)]
        return [program, "--quiet", "--warnings-as-errors=*", *checks, os.path.join(root, self.source.path), "--",
                *self.source.command, *analyser]

    def __str__(self):
        return f"{self.source.path} ({self.architecture}{', only its warnings' if self.options else ''})"


class Findings:
    """What clang-tidy has said. A header's findings come with every source that includes it and are told once."""

    def __init__(self):
        self._told = set()
        self.texts = []

    def add(self, job, said):
        parts = re.split(r"(?m)^(?=\S[^\n]*:\d+:\d+: (?:warning|error|fatal error): )", said)
        new = [part for part in parts if part.strip() and part not in self._told]
        self._told.update(new)
        if new:
            self.texts.append(f"{job}:\n{''.join(new).rstrip()}\n")


class Linter:
    def __init__(self, arguments):
        self.root = os.path.realpath(arguments.root)
        self.build = pathlib.Path(arguments.build)
        self.program = arguments.clang_tidy
        self.version = subprocess.run([self.program, "--version"], capture_output=True, text=True, check=True).stdout
        self.texts = due.Texts(self.root)
        self.configuration = due.short_digest(self.texts.digest(".clang-tidy"), BOUNDS, TEST_BOUNDS, TEST_CHECKS)
        self.arguments = arguments
        self.running = set()

    def sources(self, architecture):
        """The project's own sources, each once; generated ones and those of libraries are left out. Of several targets that
        compile a source the one of its own folder counts."""
        triplet = TRIPLETS[architecture]
        folders = cpp_library_folders(triplet)
        database = json.loads((self.build / f"lint-{architecture}" / "compile_commands.json").read_text(encoding="utf-8"))
        found = {}
        for entry in database:
            path = os.path.relpath(os.path.realpath(os.path.join(entry["directory"], entry["file"])), self.root)
            own = entry.get("output", "").startswith(os.path.dirname(path) + "/CMakeFiles/")
            if path.endswith(".cpp") and not path.startswith(("../", "build/")) and (own or path not in found):
                words = shlex.split(entry["command"]) if "command" in entry else entry["arguments"]
                command = clang_command(words, triplet, folders)
                found[path] = due.Source(path, command, include_folders(command))
        return list(found.values())

    def width_dependent(self, sources):
        """The paths of the sources that ask, and for each header that does, of one source that includes it."""
        headers = {source.path: self.texts.headers(source) for source in sources}
        asking = {path for path in headers if due.WIDTH.search(self.texts.read(path))}
        for header in sorted(set().union(*headers.values())):
            if not header.startswith("build/") and due.WIDTH.search(self.texts.read(header)):
                asking.add(due.representative(header, headers))
        return asking

    def jobs(self, sources):
        jobs = [Job(source, next(iter(TRIPLETS)), []) for source in sources]
        asking = self.width_dependent(sources)
        for architecture in list(TRIPLETS)[1:]:
            for source in self.sources(architecture):
                if source.path in asking:
                    jobs.append(Job(source, architecture, []))
                elif not TESTS.search(source.path):
                    jobs.append(Job(source, architecture, [ONLY_WARNINGS]))
        return jobs

    def name(self, job):
        """Stands for all that decides about the job's outcome, except for the libraries' headers."""
        files = sorted([job.source.path, *self.texts.headers(job.source)])
        return due.short_digest(self.version, self.configuration, job.command(self.program, self.root),
                                [(path, self.texts.digest(path)) for path in files])

    def check(self, job):
        """An empty text when nothing was found."""
        with subprocess.Popen(job.command(self.program, self.root), cwd=self.root, stdin=subprocess.DEVNULL, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, errors="replace") as process:
            self.running.add(process)
            said, complaints = process.communicate()
            self.running.discard(process)
        if process.returncode == 0:
            return ""
        return said if said.strip() else f"{complaints}clang-tidy ended with {process.returncode}\n"

    def stop(self, *_):
        """Leaves nothing running."""
        for process in list(self.running):
            process.kill()
        os._exit(143)

    def analyse(self, jobs, clean):
        """The jobs' findings."""
        findings = Findings()
        # The longest texts go first, so that no processor is left with one at the end.
        jobs = sorted(jobs, key=lambda job: (bool(job.options), -len(self.texts.read(job.source.path))))
        with concurrent.futures.ThreadPoolExecutor(self.arguments.jobs) as pool:
            running = {pool.submit(self.check, job): job for job in jobs}
            for number, done in enumerate(concurrent.futures.as_completed(running), 1):
                job = running[done]
                print(f"[{number}/{len(jobs)}] {job}", flush=True)
                if done.result():
                    findings.add(job, done.result())
                else:
                    clean.add(self.name(job))
        return findings

    def run(self):
        signal.signal(signal.SIGTERM, self.stop)
        signal.signal(signal.SIGINT, self.stop)
        sources = self.sources(next(iter(TRIPLETS)))
        if not sources:
            print("No sources in the compile database.", file=sys.stderr)
            return 1
        jobs = self.jobs(sources)
        clean = due.CleanJobs(self.build / "lint-clean-jobs")
        clean.keep_only(map(self.name, jobs))
        base = due.Base(self.arguments.base, self.texts, self.configuration, sources)
        changed = base.changed() if self.arguments.changed else {source.path for source in sources}
        pending = [job for job in jobs if job.source.path in changed and self.name(job) not in clean]
        findings = self.analyse(pending, clean)
        for text in findings.texts:
            print(text, flush=True)
        analysed = {job.source.path for job in pending}
        print(f"{len(sources)} sources, {len(analysed)} analysed, {len(findings.texts)} with findings")
        if self.arguments.record and not findings.texts:
            base.record()
        return 1 if findings.texts else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--clang-tidy", required=True, help="the program")
    parser.add_argument("--root", required=True, help="the project's folder")
    parser.add_argument("--build", required=True, help="the folder that has lint-x86 and lint-x64, both configured")
    parser.add_argument("--base", required=True, help="what was clean when it was recorded")
    parser.add_argument("--changed", action="store_true", help="only what differs from the base")
    parser.add_argument("--record", action="store_true", help="writes the base when there are no findings")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    return Linter(parser.parse_args()).run()


if __name__ == "__main__":
    sys.exit(main())
