"""A workstation on which kandora-check finds everything as it should be, and what it says."""
import contextlib
import copy
import fcntl
import json
import os
import pathlib
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import termios

import workstation
from workstation import (TOP_FOLDER, Workstation, kill, run_to_end, running, started_hosts, wait_for_started_hosts,
                         wait_until, windows, windows_path)

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"
FAILURE, WARNING = "Fehler", "Warnung"
# With account control, COM starts programs of their own for an elevated run.
OTHER_PROGRAMS = [("Archiv", "Laufendes Programm", WARNING), ("Finanzbuchhaltung", "Laufendes Programm", WARNING)]


class Result:
    """What one run said: the exit code and the JSON."""

    def __init__(self, code, output):
        self.code = code
        if not output.endswith("}\n"):
            raise AssertionError(f"no JSON, exit code {code}: {output}")
        self.json = json.loads(output)
        self.checks = self.json["pruefungen"]
        # Whoever reads a failure needs the reasons; tests compare the names alone.
        for check in self.checks:
            if check["ergebnis"] != "gut":
                print(f"    {check['ergebnis']}: {check['bereich']}, {check['name']}: {check['wert']}", flush=True)

    def with_verdict(self, verdict):
        return [check for check in self.checks if check["ergebnis"] == verdict]

    def faults(self):
        """Area, name, verdict of everything that is not good."""
        return [(check["bereich"], check["name"], check["ergebnis"]) for check in self.checks
                if check["ergebnis"] != "gut"]

    def find(self, area, name):
        """The one check of this name."""
        found = [check for check in self.checks if (check["bereich"], check["name"]) == (area, name)]
        if len(found) != 1:
            raise AssertionError(f"{area}/{name} is there {len(found)} times: {self.checks}")
        return found[0]


class Console:
    """A terminal that is wide enough for the lines of what runs at its other end."""

    def __init__(self):
        self._ours, self.theirs = pty.openpty()
        fcntl.ioctl(self.theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 40, 200, 0, 0))
        self._shown = b""

    def read(self):
        while self._ours is not None and select.select([self._ours], [], [], 0)[0]:
            try:
                self._shown += os.read(self._ours, 1 << 16)
            except OSError:  # nobody has the other end any more
                break

    def text(self):
        """What has been read."""
        return self._shown.decode("utf-8", "ignore")

    def type(self, text):
        os.write(self._ours, text.encode("utf-8"))

    def close(self):
        if self._ours is not None:
            os.close(self._ours)
            self._ours = None


class CheckStation(Workstation):
    """With a client that has been set up and a folder for the printer's file."""

    def __init__(self, name):
        super().__init__(name)
        self.settings = copy.deepcopy(self.settings)  # tests change them, and the next station begins anew
        self.print_folder = self.folder / "Druck"
        self.print_folder.mkdir()
        # What the package grants to all users. Tests run with an administrator's rights.
        for folder in (self.install, self.print_folder):
            folder.chmod(0o777)
        self.settings["Archiv"]["EloPrinterFile"] = windows_path(self.print_folder / "Auswertung.pdf")
        self.write_settings()
        self.run_host(["InitProvider"])
        self.register_host()

    def keep(self):
        """From now on `put_back` makes the station what it is now."""
        self.stop_archive()
        wait_for_started_hosts()
        self._kept = self.folder.with_name(f"{self.folder.name}-kept"), copy.deepcopy(self.settings)
        shutil.rmtree(self._kept[0], ignore_errors=True)
        shutil.copytree(self.folder, self._kept[0])

    def put_back(self):
        self.end_simulators()
        folder, settings = self._kept
        shutil.rmtree(self.folder)
        shutil.copytree(folder, self.folder)
        self.settings = copy.deepcopy(settings)
        self.register_archive()
        self.register_host()

    def register_host(self):
        """From now on COM starts the accounting with this station's client."""
        windows("HostSimulator.exe", "--register", "--client", windows_path(self.client))

    @staticmethod
    def command(*arguments, program=None):
        return [str(workstation.options.loader), str(program or workstation.options.bin / "kandora-check.exe"),
                *map(str, arguments)]

    def end_after_a_killed_client(self):
        """Windows takes back what a killed client held; wine does not, so that its servers would serve it for ever."""
        self.stop_archive()
        kill(started_hosts())

    def run_text(self, *arguments, program=None):
        """Exit code, output and errors of one run."""
        wait_for_started_hosts()
        with contextlib.ExitStack() as stack:
            # No pipes: programs that are started on the way inherit their other ends and keep them open.
            output, errors = [stack.enter_context((self.folder / name).open("w+b")) for name in ("aus.txt", "err.txt")]
            done = run_to_end(self.command(*arguments, program=program), stdout=output, stderr=errors)
            texts = []
            for file in (output, errors):
                file.seek(0)
                texts.append(file.read().decode("utf-8").replace("\r\n", "\n"))
        return (done.returncode, *texts)

    def check(self, *arguments, program=None):
        return self.result(*self.run_text("--json", *arguments, program=program))

    def check_without_elevation(self):
        """As from a user's desktop, where an administrator's rights are asleep."""
        return self.result(*self.run_text("unelevated", windows_path(workstation.options.bin / "kandora-check.exe"), "--json",
                                          program=os.environ["KANDORA_FOREIGN_HOST"]))

    @staticmethod
    def result(code, output, errors):
        if errors:
            raise AssertionError(errors)
        return Result(code, output)

    @contextlib.contextmanager
    def checking(self, *arguments):
        """A run that goes on while the block runs."""
        wait_for_started_hosts()
        with running(self.command(*arguments), self.folder / "laufend.txt") as process:
            yield process

    @contextlib.contextmanager
    def held_up(self, rule, *arguments):
        """A run that waits while the block runs, or until `release`: the archive keeps back its answer to the rule's call."""
        begun = self.folder / "Begonnen"
        for file in (begun, self._released()):
            file.unlink(missing_ok=True)
        self.stop_archive()
        self.register_archive(*self.script([rule | {"begun": windows_path(begun), "until": windows_path(self._released())}]))
        with self.checking(*arguments) as process:
            try:
                wait_until(lambda: begun.exists() or process.poll() is not None, f"{rule['call']} is kept back")
                if process.poll() is not None:
                    raise AssertionError(f"ended before {rule}:\n{self.running_output()}")
                yield process
            finally:
                self.release()  # who does not answer cannot be stopped

    def release(self):
        """Lets the archive answer."""
        self._released().touch()

    def _released(self):
        return self.folder / "Weiter"

    def run_at_a_console(self, *arguments, question=None, answer=None):
        """Exit code and what one run shows. When the question is there, the answer is given: it is called with the process and
        the console."""
        wait_for_started_hosts()
        console = Console()
        process = subprocess.Popen(self.command(*arguments), stdin=console.theirs, stdout=console.theirs, stderr=console.theirs,
                                   start_new_session=True)
        os.close(console.theirs)
        is_asked = question is None

        def has_ended():
            nonlocal is_asked
            is_over = process.poll() is not None
            console.read()
            if not is_asked and question in console.text():
                is_asked = True
                answer(process, console)
            return is_over

        try:
            # Not until nobody has the other end: programs that are started on the way keep it.
            wait_until(has_ended, "the run at a console has ended")
        finally:
            process.kill()
            process.wait()
            console.close()
        return process.returncode, console.text()

    def running_output(self):
        return (self.folder / "laufend.txt").read_text(encoding="utf-8")

    def contents(self):
        """Every file and folder of the archive's store but its counter, lock and index, with the files' bytes."""
        return {str(path.relative_to(self.store)): path.read_bytes() if path.is_file() else None
                for path in sorted(self.store.rglob("*"))
                if path.name not in ("zaehler.json", "archiv.lock", "archiv.index") and "Postkorb" not in path.parts
                and "Temp" not in path.parts}

    def postbox(self):
        return [path for path in (self.store / "Postkorb").rglob("*") if path.is_file()]


def interrupt(process):
    """Ctrl+C. The program knows of it when this returns: wine tells it in a thread of its own, which has come and gone then."""
    tasks = pathlib.Path("/proc", str(process.pid), "task")
    before = set(os.listdir(tasks))
    os.kill(process.pid, signal.SIGINT)

    def knows():
        if process.poll() is not None:
            return True
        # Whoever handles a signal holds back further ones of its kind.
        return not any(is_signal_held(task) for task in tasks.iterdir()) and set(os.listdir(tasks)) <= before

    wait_until(knows, "the program has been interrupted")


def is_signal_held(task):
    """Whether Ctrl+C waits for a thread, or is being handled by it."""
    with contextlib.suppress(OSError):  # it has ended meanwhile
        sets = re.findall(r"(?m)^(?:SigPnd|ShdPnd|SigBlk):\s*(\w+)$", (task / "status").read_text(encoding="utf-8"))
        return any(int(one, 16) >> (signal.SIGINT - 1) & 1 for one in sets)
    return False


@contextlib.contextmanager
def mode(path, bits):
    """Other rights to a file or folder while the block runs. Wine tells them to Windows programs as an access list: the owner's
    as those of this user, everybody's as those of everybody."""
    before = path.stat().st_mode
    path.chmod(bits)
    try:
        yield
    finally:
        path.chmod(before)


@contextlib.contextmanager
def account_control():
    """While the block runs, administrators' programs have their rights only when they ask for them, as usual on Windows."""
    key = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\System"
    try:
        for bitness in ("/reg:32", "/reg:64"):
            registry("add", key, "/v", "EnableLUA", "/t", "REG_DWORD", "/d", "1", "/f", bitness)
        yield
    finally:
        for bitness in ("/reg:32", "/reg:64"):
            registry("add", key, "/v", "EnableLUA", "/t", "REG_DWORD", "/d", "0", "/f", bitness)


def provider_class():
    """The identifier of the class that the host asks for."""
    return registry("query", "HKLM\\Software\\Classes\\Kandora.ELOProvider\\CLSID", "/ve").split()[-1]


def registry(*arguments):
    """Output of reg.exe of the architecture that is tested."""
    return windows("reg.exe", *arguments)


def files_below(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in pathlib.Path(folder).rglob("*")
            if path.is_file()}
