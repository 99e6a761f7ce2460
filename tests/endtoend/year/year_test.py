#!/usr/bin/env python3
"""A year of the sample client, what happens afterwards, and a second session: the archive's store must hold what the
client file and the request files say, entry by entry and field by field. Between the two kandora-check must say what the first
one has left to do, as the demo shows it.

    year_test.py --bin DIRECTORY --run SCRIPT --work DIRECTORY

SCRIPT runs a Windows program of the binaries' architecture.
"""
import argparse
import datetime
import json
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

import cases
from archive_model import Archive, Formats
from left_over import LeftOver

ROOT = pathlib.Path(__file__).resolve().parents[3]

CLIENTS = ROOT / "simulators" / "clients"
CLIENT = CLIENTS / "Muster AG.json"
CHANGES = CLIENTS / "Aenderungen.txt"
MORE_CHANGES = pathlib.Path(__file__).with_name("Weiteres.txt")
OPTIONS = None
# Seconds; far beyond what a run takes.
LIMIT = 1200


def windows_path(path):
    return "Z:" + str(path.resolve()).replace("/", "\\")


def command(program, *arguments):
    name = program if program in ("reg.exe",) else str(OPTIONS.bin / program)
    return [str(OPTIONS.run), name, *arguments]


def run(program, *arguments, code=0):
    done = subprocess.run(command(program, *arguments), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=LIMIT, check=False)
    output = done.stdout.decode("utf-8", "replace").replace("\r\n", "\n")
    if done.returncode != code:
        raise AssertionError(f"{program} ended with {done.returncode}:\n{output}")
    return output


def international(name):
    output = run("reg.exe", "query", "HKCU\\Control Panel\\International", "/v", name)
    return re.search(rf"{name}\s+REG_SZ\s+(.*)", output)[1].rstrip("\r\n")


class ArchiveProgram:
    """The archive simulator, serving until the end of the block."""

    def __init__(self, store):
        self.store = store

    def __enter__(self):
        run("ArchiveSimulator.exe", "--register", "--store", windows_path(self.store))
        self.process = subprocess.Popen(command("ArchiveSimulator.exe", "--store", windows_path(self.store), "--hidden"),
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        for line in self.process.stdout:
            if line.startswith(b"Bereit:"):
                return self
        raise AssertionError("the archive did not start")

    def __exit__(self, *_):
        run("ArchiveSimulator.exe", "--stop", "--store", windows_path(self.store))
        self.process.communicate(timeout=LIMIT)
        run("ArchiveSimulator.exe", "--unregister")


def read_store(store):
    """Every entry in the order of its number, with names instead of numbers for mask and fields."""
    archive = json.loads((store / "archiv.json").read_text(encoding="utf-8"))
    masks = {mask["nummer"]: mask for mask in archive["masken"]}
    entries = []
    for file in (store / "Ordner").rglob("*.json"):
        if not re.fullmatch(r"\d+\.json", file.name):
            continue
        entry = json.loads(file.read_text(encoding="utf-8"))
        mask = masks[entry["maske"]]
        names = {str(field["zeile"]): field["name"] for field in mask["felder"]}
        folder, levels = file.parent, []
        while (folder / "ordner.json").is_file():
            levels.insert(0, json.loads((folder / "ordner.json").read_text(encoding="utf-8"))["name"])
            folder = folder.parent
        entries.append({"id": entry["id"], "maske": mask["name"], "ordner": "".join("/" + level for level in levels),
                        "kurzbezeichnung": entry["kurzbezeichnung"],
                        "felder": {names[line]: value for line, value in entry["felder"].items()},
                        "dokument": (file.parent / entry["dokument"]).read_bytes()})
    return sorted(entries, key=lambda entry: entry["id"])


def without(entries, *keys):
    return [{key: value for key, value in entry.items() if key not in keys} for entry in entries]


def pdf_texts(data):
    """The shown texts of a PDF without compression, once its table of objects has proved right."""
    table = int(re.search(rb"startxref\n(\d+)\n%%EOF\n\Z", data)[1])
    head = re.match(rb"xref\n0 (\d+)\n", data[table:])
    rows = data[table + head.end():].split(b"\n")[:int(head[1])]
    for number, row in enumerate(rows):
        if number and not data[int(row[:10]):].startswith(b"%d 0 obj\n" % number):
            raise AssertionError(f"object {number} is not where the table says")
    for length, stream in re.findall(rb"/Length (\d+) >>\nstream\n(.*?)endstream", data, re.DOTALL):
        if int(length) != len(stream):
            raise AssertionError("a stream's length is wrong")
    shown = re.findall(rb"\(((?:[^()\\]|\\.)*)\) Tj", data)
    return [re.sub(rb"\\(.)", rb"\1", text).decode("cp1252") for text in shown]


def swiss(cents):
    return f"{'-' if cents < 0 else ''}{abs(cents) // 100:,}.{abs(cents) % 100:02d}".replace(",", "'")


class YearTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.maxDiff = 4000
        shutil.rmtree(OPTIONS.work, ignore_errors=True)
        cls.work = OPTIONS.work
        cls.store = cls.work / "Archiv"
        install = cls.work / "Kandora"
        install.mkdir(parents=True)
        for name in ("Kandora.dll", "Platzhalter.pdf"):
            shutil.copy(OPTIONS.bin / name, install)
        cls.placeholder = (install / "Platzhalter.pdf").read_bytes()
        cls.printer_file = cls.work / "Druck.pdf"
        run("ArchiveSimulator.exe", "--create-sample-store", windows_path(cls.store))
        subprocess.run([sys.executable, ROOT / "scripts" / "fill_ini.py", OPTIONS.bin / "Kandora.ini.template",
                        cls.store / "archiv.json", install / "Kandora.ini", "--folder", "Buchhaltung", "--printer-file",
                        windows_path(cls.printer_file)], check=True)
        common = ["--component", windows_path(install / "Kandora.dll"), "--answer-boxes", "--printer-file",
                  windows_path(cls.printer_file), "--client", windows_path(CLIENT)]
        with ArchiveProgram(cls.store):
            cls.output = run("HostSimulator.exe", *common, "--client-copy", windows_path(cls.work / "Mandant.json"),
                             "--year", "--requests", windows_path(CHANGES), "--table", "--store",
                             windows_path(cls.store), "--report", windows_path(cls.work / "Jahr.json"))
            cls.after_year = read_store(cls.store)
            cls.first_print = cls.printer_file.read_bytes()
            cls.reconcile(windows_path(install / "Kandora.dll"))
            # The client as the first session left it: its options know the archive's folders.
            common[-1] = windows_path(cls.work / "Mandant.json")
            cls.narrow_output = run("HostSimulator.exe", *common, "--client-copy",
                                    windows_path(cls.work / "Mandant 2.json"), "--requests",
                                    windows_path(MORE_CHANGES), "--table", "--width", "80", "--store",
                                    windows_path(cls.store), "--report", windows_path(cls.work / "Weiteres.json"))
            cls.after_all = read_store(cls.store)
        run("HostSimulator.exe", "--unregister")
        cls.expected = Archive(CLIENT, Formats(international("sShortDate"), international("sTimeFormat"),
                                               international("s1159"), international("sDecimal")),
                               datetime.date.today().year)
        cls.expected.run_year()
        cls.expected.run(CHANGES.read_text(encoding="utf-8"))
        cls.expected_after_year = json.loads(json.dumps(cls.expected.entries))
        cls.expected_bookings = json.loads(json.dumps(cls.expected.bookings))
        cls.left_over = LeftOver(cls.expected, [entry["id"] for entry in cls.after_year], cls.compared_on)
        cls.expected.restart()
        cls.expected.run(MORE_CHANGES.read_text(encoding="utf-8"))

    @classmethod
    def reconcile(cls, component):
        """As somebody would on the day after the year, with the client as the year left it."""
        run("HostSimulator.exe", "--register", "--client", windows_path(cls.work / "Mandant.json"))
        cls.compared_on = None
        while cls.compared_on != datetime.date.today():
            cls.compared_on = datetime.date.today()
            # The accounting that this starts has ended, too, when nobody holds the other end of the output any more.
            output = run("kandora-check.exe", "--component", component, "--reconcile", "--json", "--html",
                         windows_path(cls.work / "Abgleich.html"), code=1)
            cls.reconciliation = json.loads(output)["abgleich"]
        cls.shown = run("kandora-check.exe", "--component", component, "--reconcile", code=1)

    def assert_entries(self, found, expected):
        found = without(found, "id", "dokument")
        for number, (is_there, should_be) in enumerate(zip(found, expected), start=1):
            self.assertEqual(is_there, should_be, f"entry {number}")
        self.assertEqual(len(found), len(expected))

    def requests(self, name):
        return json.loads((self.work / name).read_text(encoding="utf-8"))["requests"]

    def test_the_archive_holds_the_year_and_its_changes(self):
        self.assert_entries(self.after_year, self.expected_after_year)

    def test_the_archive_holds_what_the_second_session_left(self):
        self.assert_entries(self.after_all, self.expected.entries)

    def test_every_voucher_is_the_placeholder(self):
        for entry in self.after_all:
            if entry["maske"] != "Auswertungen":
                self.assertEqual(entry["dokument"], self.placeholder, f"entry {entry['id']}")

    def test_an_edit_without_barcode_keeps_the_one_on_file(self):
        entry = next(entry for entry in self.after_year if entry["felder"].get("Belegnummer") == "26102")
        self.assertEqual(entry["felder"]["Barcode"], "MU26000005")
        self.assertIn("Rückfrage erledigt", entry["kurzbezeichnung"])

    def test_deleted_vouchers_leave_no_file_behind(self):
        documents = [file for file in (self.store / "Ordner").rglob("*") if re.fullmatch(r"\d+\.pdf", file.name)]
        self.assertEqual(len(documents), len(self.after_all))
        self.assertEqual(list((self.store / "Ordner").rglob("*.tmp")), [])

    def test_the_printed_report_is_what_was_filed(self):
        report = next(entry for entry in self.after_year if entry["maske"] == "Auswertungen")
        self.assertEqual(report["dokument"], self.first_print)
        texts = pdf_texts(report["dokument"])
        client = json.loads(CLIENT.read_text(encoding="utf-8"))
        self.assertIn("Bäckerei Zürcher & Söhne", texts)
        self.assertIn("März 2026", texts)
        # The rent is the one account that has invoices only: its credit and balance follow from the open items.
        rent = sum(round(item["betragFaktura"] * 100) for item in client["offenePosten"]["kreditoren"]
                   if item["pkNr"] == 1004)
        at = texts.index("Immobilien Brühltor AG")
        self.assertEqual(texts[at + 1:at + 6], ["St. Gallen", "12", "0.00", swiss(rent), swiss(-rent)])
        total = texts.index("Total aller Buchungen")
        debit, credit, balance = (int(re.sub(r"[^\d-]", "", text)) for text in texts[total + 3:total + 6])
        self.assertEqual(texts[total + 2], str(len(client["buchungen"])))
        self.assertEqual(debit - credit, balance)
        # The amounts of a payroll and of a cash book are corrected by then.
        amounts = sum(abs(round(booking["betrag"] * 100)) for booking in client["buchungen"])
        self.assertEqual(debit + credit, amounts + 3472050 - 3215000 + 18511 - 15811)
        self.assertEqual(data_pages(report["dokument"]), texts.count("Saldobilanz"))

    def test_the_report_dialog_was_filled_as_described(self):
        boxes = [box for request in self.requests("Jahr.json") for box in request["boxes"]
                 if box["caption"] == "Auswertung Indizieren"]
        self.assertEqual(len(boxes), 1)
        self.assertEqual(boxes[0]["text"].split("\n")[:3],
                         ["Kurzbezeichnung: Saldobilanz 2026", "Datum von: 1.1.2026", "Datum bis: 31.12.2026"])

    def test_nothing_fails_and_only_what_is_told_is_told(self):
        said = [(request["request"], box["text"]) for request in self.requests("Jahr.json") for box in request["boxes"]
                if box["caption"] != "Auswertung Indizieren"]
        self.assertEqual([name for name, _ in said], ["InitProvider", "ShowDocument"])
        self.assertEqual(said[1][1], "Das Dokument konnte nicht im Archiv gefunden werden")
        self.assertEqual({request["hresult"] for request in self.requests("Jahr.json")}, {0})
        told = [(request["request"], request["belegNr"]) for request in self.requests("Weiteres.json")
                for box in request["boxes"] if "Belegtyp konnte nicht gelesen werden" in box["text"]]
        self.assertEqual(told, [("DeleteDocument", "99999")])

    def test_the_copy_of_the_client_keeps_what_changed(self):
        copy = json.loads((self.work / "Mandant.json").read_text(encoding="utf-8"))
        self.assertEqual(copy["buchungen"], self.expected_bookings)

    # ---- what is left to do ------------------------------------------------------------------------------------------

    def test_the_comparison_finds_what_the_year_left_and_nothing_else(self):
        found = [{key: value for key, value in finding.items() if key not in ("treffer", "text")}
                 for finding in self.reconciliation["befunde"]]

        def order(finding):
            return finding["eintrag"], finding["art"]

        self.assertEqual(sorted(found, key=order), sorted(self.left_over.findings, key=order))
        self.assertTrue(self.reconciliation["vollstaendig"])
        self.assertEqual((self.reconciliation["geprueft"], self.reconciliation["andere"]), (len(self.left_over.entries), 0))

    def test_the_comparison_names_the_vouchers_of_these_events(self):
        found = {(finding["art"], finding["nummer"]) for finding in self.reconciliation["befunde"]}
        self.assertEqual({one for one in found if one[0] != "pendent"}, {
            # Two vouchers got another number: the one with a barcode was filed again.
            ("ohneBuchung", "26105"), ("doppelt", "26105"), ("ohneBuchung", "26506"),
            # Three were changed while the archive was switched off.
            ("abweichend", "1009"), ("abweichend", "26511"), ("andereArt", "26514")})

    def test_the_page_holds_what_the_comparison_says(self):
        page = (self.work / "Abgleich.html").read_text(encoding="utf-8")
        self.assertEqual(json.loads(re.search(r'id="daten">(.*?)</script>', page, re.DOTALL)[1]), self.reconciliation)

    def test_the_demo_shows_each_finding_but_those_that_wait_for_a_scan(self):
        done = subprocess.run([sys.executable, ROOT / "scripts" / "left_to_do.py", "--width", "90"], input=self.shown.encode(),
                              stdout=subprocess.PIPE, check=True)
        lines = done.stdout.decode("utf-8").splitlines()
        self.assertEqual([line for line in lines if len(line) > 90 or not line.startswith("  ")], [])
        told = re.sub(r"\s+", " ", " ".join(lines))
        waiting = 0
        for finding in self.reconciliation["befunde"]:
            if finding["art"] == "pendent":
                waiting += 1
                self.assertNotIn(finding["text"], told)
            else:
                self.assertIn(f"Eintrag {finding['eintrag']}, Beleg {finding['nummer']} / {finding['index']}: "
                              + re.sub(r"\s+", " ", finding["text"]), told)
        if waiting:
            self.assertIn(f"pendent: {waiting} ", told)
        self.assertIn(f"{self.reconciliation['geprueft']} Einträge geprüft, 0 andere, {len(self.reconciliation['befunde'])} "
                      "Befunde: ", told)

    # ---- what is shown -----------------------------------------------------------------------------------------------

    def test_the_table_tells_what_happened(self):
        self.assertIn("20 Anfragen: 5 Einträge abgelegt, 4 geändert, 3 gelöscht", self.output)
        self.assertRegex(self.output, r"\n      \*  Barcode +MU26000006 +MU26900501\n")
        self.assertRegex(self.output, r"\n         Barcode +MU26000005 +MU26000005\n")
        self.assertIn("    Nicht im Archiv: unverändert\n", self.output)

    def test_the_table_shows_what_a_long_text_became(self):
        self.assertRegex(self.output, r"\n      \*  Kurzbezeichnung\n"
                                      r"           vorher  +…(?P<front>.*)11 x Espressotassen, Dutzend\n"
                                      r"           nachher +…(?P=front)"
                                      r"11 x Espressotassen, Dutzend \(Rückfrage erledigt\)\n")

    def test_the_tables_fit_the_screen(self):
        for output, width in ((self.output, 100), (self.narrow_output, 80)):
            self.assertIn("      *  Kurzbezeichnung", output)
            self.assertEqual([line for line in output.splitlines() if len(line) > width], [])


def data_pages(data):
    return int(re.search(rb"/Type /Pages /Count (\d+)", data)[1])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", type=pathlib.Path, required=True)
    parser.add_argument("--run", type=pathlib.Path, required=True)
    parser.add_argument("--work", type=pathlib.Path, required=True)
    OPTIONS, rest = parser.parse_known_args()
    tests = unittest.defaultTestLoader.loadTestsFromNames(rest or ["YearTest"], sys.modules["__main__"])
    sys.exit(cases.run(tests))
