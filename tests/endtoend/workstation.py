"""A workstation with the accounting, the archive and the component between them, for tests of whole runs.

Everything lies in one folder of the run's work folder: the installed component, the archive's store, the client and what
the programs write.
"""
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time
import urllib.parse

from judge import FAULT

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build"

# Set by run.py.
options = None

SAMPLE_CLIENT = ROOT / "simulators" / "clients" / "Muster AG.json"
# Seconds; far beyond what anything here takes.
LIMIT = 900


def windows_path(path):
    """As Windows programs see it: what is built has a drive of its own."""
    path = pathlib.Path(path).resolve()
    drive, place = ("K:\\", path.relative_to(BUILD)) if path.is_relative_to(BUILD) else ("Z:", path)
    return drive + str(place).replace("/", "\\")


def build_machine_path(path):
    """The other way round."""
    return pathlib.Path(path.replace("K:", str(BUILD), 1).removeprefix("Z:").replace("\\", "/"))


def system_command(program, system=None):
    """How a program of the platform is started, the architecture's unless another system directory is named."""
    system = system or options.system
    loader = options.loader if system == options.system else options.other_loader
    return [str(loader), f"C:\\windows\\{system}\\{program}"]


def without_fault(output):
    """What programs wrote; an AssertionError when one of them, or one that they started, faulted."""
    if fault := FAULT.search(output):
        raise AssertionError(f"a fault: {output[fault.start():]}")
    return output


def stacks():
    """Where every program of this Windows session stands, for the report of one that hangs."""
    def debugger(*arguments):
        done = subprocess.run([*system_command("winedbg.exe"), *arguments], stdin=subprocess.DEVNULL, timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.stdout.decode("utf-8", "replace").replace("\r\n", "\n")

    found = []
    with contextlib.suppress(subprocess.TimeoutExpired):
        found.append(debugger("--command", "info proc"))
        for number, name in re.findall(r"^[ =]([0-9a-f]{8}) .*'(.*)'$", found[0], re.MULTILINE):
            if name != "winedbg.exe":
                found.append(f"{name}:\n" + debugger("--command", "bt all", f"0x{number}"))
    return "\n".join(found)


def run_to_end(command, **streams):
    """subprocess.run for a program that must come to its end. When it does not, it is told where everything stands; what it
    has held is taken from its servers as Windows would do it."""
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, **streams) as process:
        try:
            output, _ = process.communicate(timeout=LIMIT)
        except subprocess.TimeoutExpired as expired:
            told = stacks()
            process.kill()
            kill(started_hosts())
            raise AssertionError(f"does not end: {command}\n{told}") from expired
        return subprocess.CompletedProcess(command, process.returncode, output)


@contextlib.contextmanager
def running(command, output, stdin=subprocess.DEVNULL):
    """A program while the block runs; what it says goes to a file."""
    # No pipe: an archive that is started on the way inherits its other end and keeps it open.
    with output.open("wb") as file:
        process = subprocess.Popen(command, stdin=stdin, stdout=file, stderr=subprocess.STDOUT)
    try:
        yield process
    finally:
        if process.poll() is None:
            process.kill()
        process.wait()
        if process.stdin is not None:
            process.stdin.close()


def windows(program, *arguments, expected=0):
    """Runs a built program, or one of the system when there is none of the name, to its end. Answers its output."""
    own = options.bin / program
    command = [str(options.loader), str(own)] if own.is_file() else system_command(program)
    done = run_to_end([*command, *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output = done.stdout.decode("utf-8", "replace").replace("\r\n", "\n")
    if expected is not None and done.returncode != expected:
        raise AssertionError(f"{program} {arguments} ended with {done.returncode}:\n{output}")
    return without_fault(output)


def run_script(file):
    """Runs a script with the architecture's script host and answers what it printed."""
    output = file.with_suffix(".txt")
    # No pipe: an archive that the script starts inherits its other end and keeps it open.
    with output.open("wb") as stream:
        run_to_end([*system_command("cscript.exe"), "//nologo", windows_path(file)], stdout=stream,
                   stderr=subprocess.STDOUT)
    return without_fault(output.read_text(encoding="utf-8", errors="replace")).strip()


def wait_until(condition, what):
    """Waits for a condition; an AssertionError when it does not come to hold."""
    end = time.monotonic() + LIMIT
    pause = 0.01
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain: {what}")
        time.sleep(pause)
        # Whoever asks too often takes the processor from those that are waited for.
        pause = min(2 * pause, 0.1)


def session_processes():
    """Number and command line of every program of this Windows session."""
    prefix = f"WINEPREFIX={os.environ['WINEPREFIX']}".encode()
    for name in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            directory = pathlib.Path("/proc", name)
            line = (directory / "cmdline").read_bytes()
            if b".exe" in line and prefix in (directory / "environ").read_bytes().split(b"\0"):
                yield int(name), " ".join(line.decode("utf-8", "replace").split("\0")) + " "


def started_hosts():
    """The accountings that COM has started in this Windows session."""
    return [process for process, words in session_processes()
            if "HostSimulator.exe" in words and "-Embedding" in words]


def wait_for_started_hosts():
    """COM must not send a new client to an accounting that is just about to end."""
    wait_until(lambda: not started_hosts(), "the accounting has ended")


def kill(processes):
    """Ends programs of this Windows session without a warning, as the task manager does."""
    processes = list(processes)
    if not processes:
        return
    # Windows forgets the classes that a dead program offered. Wine's service for that does not, and has to be restarted; it
    # is killed first, so that nobody is sent to the dead program.
    for process in [process for process, words in session_processes() if "rpcss.exe" in words] + processes:
        with contextlib.suppress(ProcessLookupError):
            os.kill(process, signal.SIGKILL)


# Masks and index lines of the test archive. No number stands for two things, so that every mix-up shows.
STRUCTURE_MASK = 71
VOUCHER_KEYS = ["Barcode", "BelegNr", "BelegIndex", "Belegstatus", "SesamDocID", "Valutadatum", "Betrag"]
PARTNER_KEYS = VOUCHER_KEYS + ["Rechnungsdatum", "OPNr", "PKNr", "AdressNr", "Kundenname", "Kundenort"]
REPORT_KEYS = ["Listenbeschreibung", "DatumVon", "DatumBis"]
MASKS = {"Belege": 82, "Auswertung": 93, "Debi": 64, "Kredi": 55}
LINES = {
    "Belege": {key: 17 - place for place, key in enumerate(VOUCHER_KEYS)},
    "Auswertung": {key: 21 + place for place, key in enumerate(REPORT_KEYS)},
    "Debi": {key: 44 - place for place, key in enumerate(PARTNER_KEYS)},
    "Kredi": {key: 101 + place for place, key in enumerate(PARTNER_KEYS)},
}
DOC_ID_LINES = {str(MASKS[kind]): str(LINES[kind]["SesamDocID"]) for kind in ("Belege", "Debi", "Kredi")}
SECTIONS = {"Belege": "IndexBelege", "Auswertung": "IndexAuswertungen", "Debi": "IndexDebi", "Kredi": "IndexKredi"}

ARCHIVE = "Prüf-Archiv"
USER = "Kandora"
PASSWORD = "süss & geheim"
TOP_FOLDER = "Buchhaltung Süd"


def archive_settings(separator="¶"):
    """archiv.json of the store."""
    masks = [{"nummer": STRUCTURE_MASK, "name": "Ordner", "felder": []}]
    for kind, number in MASKS.items():
        masks.append({"nummer": number, "name": kind,
                      "felder": [{"zeile": line, "name": key} for key, line in LINES[kind].items()]})
    return {"archive": [ARCHIVE], "trennzeichen": separator,
            "benutzer": [{"name": USER, "passwort": PASSWORD, "kuerzel": "KAN"}], "masken": masks}


def component_settings():
    """Kandora.ini as {section: {key: text}}."""
    settings = {
        "Debug": {"Test": "False"},
        "Archiv": {"ArchivAktiv": "True", "EloPrinterFile": "", "Archivname": ARCHIVE, "Treuhand": "False",
                   "SagePFad": TOP_FOLDER},
        "Maske": {"Struktur": STRUCTURE_MASK} | MASKS,
        "Login": {"ELOUSERNAME": USER, "ELOPW": PASSWORD, "ELOKUERZEL": "KAN"},
    }
    for kind, section in SECTIONS.items():
        settings[section] = LINES[kind]
    return settings


def doc_id(entry):
    """The accounting's document id of a filed voucher."""
    return entry["felder"][DOC_ID_LINES[str(entry["maske"])]]


class Report:
    """What the accounting reported of its run."""

    def __init__(self, text):
        self.requests = json.loads(text)["requests"]

    def boxes(self):
        """Caption and text of every box, in their order."""
        return [(box["caption"], box["text"]) for request in self.requests for box in request["boxes"]]

    def boxes_by_request(self):
        return [(request["request"], [box["text"] for box in request["boxes"]]) for request in self.requests]


class Workstation:
    """A fresh one with an empty archive, an untouched client and everything registered."""

    def __init__(self, name, client=SAMPLE_CLIENT, separator="¶"):
        self.folder = options.work / name
        self.end_simulators()
        shutil.rmtree(self.folder, ignore_errors=True)
        self.install = self.folder / "Kandora"
        self.install.mkdir(parents=True)
        self.component = self.install / "Kandora.dll"
        self.placeholder = self.install / "Platzhalter.pdf"
        for file in (self.component, self.placeholder):
            shutil.copy(options.bin / file.name, file)
        self.settings = component_settings()
        self.store = self.folder / "Archiv"
        self.store.mkdir()
        self.write_json(self.store / "archiv.json", archive_settings(separator))
        self.client = self.folder / "Mandant.json"
        shutil.copy(client, self.client)
        self.write_settings()
        windows("regsvr32.exe", "/s", windows_path(self.component))
        windows("HostSimulator.exe", "--register")
        self.register_archive()

    @staticmethod
    def end_simulators():
        """What an earlier test has left, if it failed."""
        kill(process for process, words in session_processes() if "Simulator.exe" in words)

    @staticmethod
    def write_json(path, content):
        path.write_text(json.dumps(content, ensure_ascii=False), encoding="utf-8")

    def write_settings(self):
        lines = []
        for section, keys in self.settings.items():
            lines.append(f"[{section}]")
            lines += [f"{key}={value}" for key, value in keys.items()]
        (self.install / "Kandora.ini").write_bytes("".join(line + "\r\n" for line in lines).encode("cp1252"))

    def register_archive(self, *arguments):
        """From now on COM starts the archive with these arguments. It stays until it is ended: one that is just about to
        end of itself would be lost to a client that has found it already."""
        windows("ArchiveSimulator.exe", "--register", "--hidden", "--linger", 3600, "--store", windows_path(self.store),
                *arguments)

    def script(self, rules, name="Probe.json"):
        """A rehearsal script for the archive, as arguments."""
        self.write_json(self.folder / name, rules)
        return "--script", windows_path(self.folder / name)

    # ---- the accounting -------------------------------------------------------------------------------------------

    def _host_command(self, arguments):
        return [str(options.loader), str(options.bin / "HostSimulator.exe"), "--client", windows_path(self.client),
                "--answer-boxes", "--report", windows_path(self.folder / "Bericht.json"), *arguments]

    def _request_arguments(self, requests):
        file = self.folder / "Anfragen.txt"
        file.write_text("\n".join(requests), encoding="utf-8")
        return "--requests", windows_path(file)

    def run_host(self, requests=None, arguments=()):
        """Sends the requests, or saves the whole year, and answers the report. The accounting must survive."""
        with self.host_running(requests, arguments) as finish:
            return finish()

    @contextlib.contextmanager
    def _accounting(self, arguments, **streams):
        """The accounting while the block runs: its process, and what waits for its end and answers the report."""
        report, output = self.folder / "Bericht.json", self.folder / "Ausgabe.txt"
        report.unlink(missing_ok=True)
        with running(self._host_command(arguments), output, **streams) as process:
            def finish():
                process.wait(LIMIT)
                told = output.read_text("utf-8", "replace")
                if process.returncode != 0:
                    raise AssertionError(f"the accounting ended with {process.returncode}:\n{told}")
                without_fault(told)
                return Report(report.read_text(encoding="utf-8"))

            yield process, finish

    @contextlib.contextmanager
    def host_running(self, requests=None, arguments=()):
        """The same while the block runs; calling what it is given waits for the end and answers the report."""
        given = ("--year",) if requests is None else self._request_arguments(requests)
        with self._accounting([*given, *arguments]) as (_, finish):
            yield finish

    @contextlib.contextmanager
    def menu(self):
        """The accounting at its menu, already started, while the block runs. Calling what is given makes a choice, with
        what it asks for; "0" ends it and answers the report."""
        with self._accounting(["--menu"], stdin=subprocess.PIPE) as (process, finish):
            def choose(*lines):
                process.stdin.write("".join(line + "\n" for line in lines).encode("utf-8"))
                process.stdin.flush()
                return finish() if lines[0] == "0" else None

            yield choose

    def wait_for_menu(self, times):
        """Until the accounting has shown its menu so many times: what was chosen before is carried out then."""
        output = self.folder / "Ausgabe.txt"
        wait_until(lambda: output.read_bytes().count(b"Ihre Wahl:") == times, "the accounting is at its menu")

    def option_values(self):
        return json.loads(self.client.read_text(encoding="utf-8"))["optionen"]["600"]

    def set_options(self, values):
        content = json.loads(self.client.read_text(encoding="utf-8"))
        content["optionen"]["600"] = values
        self.write_json(self.client, content)

    # ---- the archive ----------------------------------------------------------------------------------------------

    def archive_processes(self):
        """Processes that serve this store."""
        store = windows_path(self.store)
        return [process for process, words in session_processes()
                if "ArchiveSimulator.exe" in words and f" {store} " in words]

    def kill_archive(self):
        """Ends the archive without a warning."""
        processes = self.archive_processes()
        if not processes:
            raise AssertionError("no archive is running")
        kill(processes)
        wait_until(lambda: not self.archive_processes(), "the archive is gone")

    def stop_archive(self):
        if not self.archive_processes():
            return  # asking it takes longer than looking
        windows("ArchiveSimulator.exe", "--stop", "--store", windows_path(self.store))
        wait_until(lambda: not self.archive_processes(), "the archive has ended")

    def archive_path(self, directory):
        """The archive's path of a folder, from the directory in which the store keeps it."""
        levels = directory.relative_to(self.store / "Ordner").parts
        return "/" + "/".join(urllib.parse.unquote(level) for level in levels)

    def entries(self):
        """Every filed entry in the order of filing, with its folder's path from the archive's top and its document's bytes."""
        found = []
        for file in (self.store / "Ordner").rglob("*.json"):
            if not re.fullmatch(r"\d+\.json", file.name):
                continue
            entry = json.loads(file.read_text(encoding="utf-8"))
            entry["ordner"] = self.archive_path(file.parent)
            entry["inhalt"] = (file.parent / entry["dokument"]).read_bytes()
            found.append(entry)
        return sorted(found, key=lambda entry: entry["id"])

    def folders(self):
        """Paths of all folders of the archive."""
        return {self.archive_path(folder) for folder in (self.store / "Ordner").rglob("*") if folder.is_dir()}

    # ---- the component --------------------------------------------------------------------------------------------

    def log_lines(self):
        """The log's lines without the time. Each line must have its form, and there must be one file."""
        files = list(self.install.glob("*.log"))
        if len(files) != 1:
            raise AssertionError(f"log files: {files}")
        user = os.environ.get("USER", "root")
        if not re.fullmatch(rf"\d{{8}}_\d{{6}}_Kandora_{re.escape(user)}_[^_]+_\.log", files[0].name):
            raise AssertionError(files[0].name)
        text = files[0].read_bytes().decode("cp1252")
        lines = re.findall(r"\d\d\.\d\d\.\d{4} \d\d\.\d\d\.\d\d \| ([^\r\n]*)\r\n", text)
        if sum(len(line) + 24 for line in lines) != len(text):
            raise AssertionError(f"not made of lines:\n{text}")
        return lines


def error_box(number, text, *frames):
    """The text of the component's error box."""
    return f"[{number}] {text} | ON LINE 0 | CALLSTACK: {' <- '.join(frames)}"


# Call stacks of InitProvider: when it reads the settings, and when it logs in to the archive.
STARTING = ("MGlobals.IniLesen", "Kandora.InitProvider")
LOGGING_IN = ("ELODMS.AnmeldenAnElo", "ELODMS.oElo", "ELODMS.CheckLogin", *STARTING)
NOT_REACHABLE = "Das Programm, mit dem gearbeitet wird, ist beendet oder nicht erreichbar"


class Client:
    """The client file, read by the tests themselves."""

    def __init__(self, path=SAMPLE_CLIENT):
        self.content = json.loads(path.read_text(encoding="utf-8"))
        self.bookings = self.content["buchungen"]

    def with_barcode(self, origin=None):
        """Bookings that are to be filed; of one origin (1 debtors, 2 creditors, 0 others)."""
        return [booking for booking in self.bookings if booking.get("barcode")
                and (origin is None or booking["ursprung"] == origin)]

    @staticmethod
    def kind(booking):
        return {1: "Debi", 2: "Kredi"}.get(booking["ursprung"], "Belege")

    def _row(self, table, kind, key, value):
        ledger = {"Debi": "debitoren", "Kredi": "kreditoren"}[kind]
        return next((row for row in self.content[table][ledger] if row[key] == value), None)

    def partner(self, booking):
        """Open item, account and address of a partner's booking. What is missing has the values of a fresh record."""
        kind = self.kind(booking)
        item = self._row("offenePosten", kind, "opNr", booking["opNr"]) or {"datum": None, "betragFaktura": 0, "pkNr": 0}
        account = self._row("konten", kind, "pkNr", item["pkNr"]) or {"adressId": 0}
        address = next((row for row in self.content["adressen"] if row["adressId"] == account["adressId"]),
                       {"firma": "", "plz": "", "ort": ""})
        return item, account, address

    def texts_needed(self):
        """Every date and amount whose text an index field may hold."""
        dates, amounts = {None}, {0}
        for booking in self.bookings:
            dates.add(booking["datum"])
            amounts.add(booking["betrag"])
        for items in self.content["offenePosten"].values():
            for item in items:
                dates.add(item["datum"])
                amounts.add(item["betragFaktura"])
        return dates, amounts

    def expected_entry(self, booking, texts, folder):
        """What the archive must hold of a booking; `folder` is the client's."""
        kind = self.kind(booking)
        values = {"Barcode": booking["barcode"], "BelegNr": booking["belegNr"], "BelegIndex": booking["belegIndex"],
                  "Belegstatus": "Pendent", "SesamDocID": booking["docId"],
                  "Valutadatum": texts.date(booking["datum"])}
        if kind == "Belege":
            values["Betrag"] = texts.amount(booking["betrag"])
        elif booking["opNr"]:
            item, account, address = self.partner(booking)
            values |= {"OPNr": booking["opNr"], "Betrag": texts.amount(item["betragFaktura"]),
                       "Rechnungsdatum": texts.date(item["datum"]), "PKNr": str(item["pkNr"]),
                       "AdressNr": str(account["adressId"]), "Kundenname": address["firma"],
                       "Kundenort": f"{address['plz']} {address['ort']}"}
        return {"maske": MASKS[kind], "kurzbezeichnung": booking["text"],
                "felder": {str(line): values.get(key, "") for key, line in LINES[kind].items()},
                "ordner": folder + {"Belege": "/Buchungen"}.get(kind, "/" + kind)}


class PlatformTexts:
    """Dates and amounts as this Windows writes them: asked of its script language."""

    def __init__(self, folder, client):
        dates, amounts = client.texts_needed()
        self._dates = sorted(date or "" for date in dates)
        self._amounts = sorted(amounts)
        lines = []
        for date in self._dates:
            parts = date.split("-")
            lines.append(f"WScript.Echo CStr(DateSerial({', '.join(str(int(part)) for part in parts)}))" if date
                         else "WScript.Echo CStr(CDate(0))")
        # Four decimals of a currency amount, from whole numbers.
        lines += [f"WScript.Echo CStr(CCur({amount!r}))" for amount in self._amounts]
        script = folder / "Texte.vbs"
        script.write_text("\r\n".join([*lines, 'WScript.Echo "Ende"', "WScript.Quit 0"]), encoding="ascii")
        answers = windows("cscript.exe", "//nologo", windows_path(script)).splitlines()
        if len(answers) != len(lines) + 1 or answers[-1] != "Ende":
            raise AssertionError(f"the script ended early: {answers[-3:]}")
        self._date_texts = dict(zip(self._dates, answers))
        self._amount_texts = dict(zip(self._amounts, answers[len(self._dates):]))

    def date(self, iso):
        return self._date_texts[iso or ""]

    def amount(self, amount):
        return self._amount_texts[amount]
