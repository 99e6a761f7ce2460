#!/usr/bin/env python3
"""Says what is wrong with the workflows of a hosted CI: workflows.py ROOT

What they do stands in ./dev and pruefen.exe, so that anybody can do it elsewhere. A step runs one of these, fetches and keeps
files, or makes the release of what the steps before it have made.
"""
import pathlib
import re
import sys

import yaml

PLACES = {"runs-on", "container", "defaults", "env", "if", "name", "needs", "permissions", "steps", "strategy",
          "timeout-minutes"}
STEP = {"name", "uses", "with", "run", "env", "if"}
# Beside commands of ./dev: unpacking a kit, running it, and the release.
OTHER_COMMANDS = re.compile(r"tar -xf \S*pruefung.*\.zip|for /d .* do %%f\\pruefen\.exe( --\S+| \S+\.txt)*|"
                            r"gh release create .*")
EXPRESSION = re.compile(r"\$\{\{ *matrix\.([a-z-]+) *\}\}")


def commands_of(root):
    """What ./dev knows."""
    text = (root / "dev").read_text(encoding="utf-8")
    return set(re.search(r"^        (setup \| .*)\)$", text, re.MULTILINE)[1].split(" | "))


def step_faults(step, commands):
    """What is wrong with one step of a job."""
    yield from (f"unknown: {key}" for key in step.keys() - STEP)
    if ("run" in step) == ("uses" in step):
        yield "either runs or uses something"
    if "uses" in step and not re.fullmatch(r"actions/[a-z-]+@v\d+", step["uses"]):
        yield f"'{step['uses']}' has no version"
    command = step.get("run", "")
    own = re.fullmatch(r"\./dev ([a-z]+)", command)
    if command and not (own and own[1] in commands or OTHER_COMMANDS.fullmatch(command)):
        yield f"'{command}' is neither ./dev nor pruefen.exe"


def job_faults(job, names, commands):
    """What is wrong with one job; `names` are those of all jobs."""
    yield from (f"unknown: {key}" for key in job.keys() - PLACES)
    yield from (f"{key} is missing" for key in ("runs-on", "steps", "timeout-minutes") if key not in job)
    needed = job.get("needs", [])
    for name in [needed] if isinstance(needed, str) else needed:
        if name not in names:
            yield f"needs '{name}', which is not there"
    matrix = job.get("strategy", {}).get("matrix", {})
    for variable in sorted(set(EXPRESSION.findall(str(job))) - matrix.keys()):
        yield f"the matrix has no {variable}"
    for number, step in enumerate(job.get("steps", []), 1):
        yield from (f"step {number}: {fault}" for fault in step_faults(step, commands))


def faults(root):
    """What is wrong with all workflows, as texts "file: job: ..."."""
    commands = commands_of(root)
    for file in sorted((root / ".github" / "workflows").glob("*.yml")):
        place = file.relative_to(root)
        try:
            jobs = yaml.safe_load(file.read_text(encoding="utf-8"))["jobs"]
        except (yaml.YAMLError, KeyError, TypeError) as error:
            yield f"{place}: is no workflow: {error!r}"
            continue
        for name, job in jobs.items():
            yield from (f"{place}: {name}: {fault}" for fault in job_faults(job, jobs.keys(), commands))


def main(root):
    found = list(faults(pathlib.Path(root)))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: workflows.py ROOT")
    sys.exit(main(sys.argv[1]))
