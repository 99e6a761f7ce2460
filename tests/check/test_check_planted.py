"""Everything that is planted in an archive is found by a comparison, and nothing else: with logs, without them, when entries
cannot be loaded, and after everything was put right.

KANDORA_PLANTED=all compares an archive whose masks are fuller than what is looked through; otherwise a small one, in which
nothing lies beyond that.
"""
import collections
import csv
import io
import json
import os
import re
import shutil
import time
import unittest

import expectation
import planting
import workstation
from checkstation import CheckStation
from expectation import KINDS
from workstation import Client, PlatformTexts, windows_path

ALL = os.environ.get("KANDORA_PLANTED") == "all"
# Entries of the client, entries of others, repetitions of each finding.
SIZES = (10000, 20000, 3) if ALL else planting.SMALLEST
OF_ENTRIES = {"doppelt", "ohneBuchung", "andereArt", "abweichend", "andereBuchung", "leer", "pendent", "nichtGeloescht"}


class Planted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if ALL:
            workstation.LIMIT *= 8  # minutes on a machine that has nothing else to do
        cls.station = station = CheckStation("planted")
        # The accounting writes the date of nothing as this Windows does.
        zero = PlatformTexts(station.folder, Client()).date(None)
        station.stop_archive()
        cls.plan = planting.Planting(station.folder, *SIZES, placeholder=windows_path(station.placeholder),
                                     texts=planting.SwissTexts(zero))
        shutil.rmtree(station.store)
        cls.plan.write()
        station.register_host()
        cls.logs = "--logs", windows_path(cls.plan.logs)
        cls.told = []

    def tearDown(self):
        self.station.stop_archive()

    def files(self):
        """Everything that belongs to the archive and to the accounting."""
        return self.station.contents(), self.station.postbox(), self.station.client.read_bytes()

    def compare(self, what, *arguments, **options):
        """What kandora-check finds must be what is expected, and it must leave everything as it is. Answers the result."""
        before = self.files()
        begun = time.monotonic()
        result = self.station.check("--reconcile", *arguments)
        seconds = time.monotonic() - begun
        found, wanted = result.json["abgleich"], self.plan.expected(**options)
        self.assertEqual(expectation.differences(wanted, found), [])
        self.assertEqual(result.code, 1 if wanted["befunde"] else 0)
        self.assertEqual(self.files(), before)
        self.station.stop_archive()
        self.told.append(f"{len(wanted['befunde'])} {what} in {seconds:.0f} s")
        print(self.told[-1], flush=True)
        return found

    def assert_in_every_kind(self, report):
        masks = {hit.id: kind for kind, hits in expectation.read_hits(self.plan.store).items() for hit in hits}
        found = collections.defaultdict(set)
        for finding in report["befunde"]:
            if "eintrag" in finding:
                found[finding["art"]].add(masks[finding["eintrag"]])
        self.assertEqual(found, dict.fromkeys(OF_ENTRIES | ({"unauffindbar"} if ALL else set()), set(KINDS)))
        self.assertGreaterEqual([finding["art"] for finding in report["befunde"]].count("nichtAbgelegt"), len(KINDS))

    def test_what_was_planted_and_what_is_mended(self):
        sheet, page = self.station.folder / "Befunde.csv", self.station.folder / "Befunde.html"
        found = self.compare("with logs", *self.logs, "--csv", windows_path(sheet), "--html", windows_path(page),
                             with_logs=True)
        self.assert_in_every_kind(found)
        self.assert_in_page(page, found)
        self.assert_in_sheet(sheet, found)
        self.compare("without logs")
        self.compare_with_entries_that_fail()
        self.plan.mend()
        found = self.compare("after mending", *self.logs, with_logs=True)
        self.assertEqual((found["befunde"], found["vollstaendig"]), ([], True))
        print(f"findings planted and found among {found['geprueft'] + found['andere']} entries: {', '.join(self.told)}",
              flush=True)

    def compare_with_entries_that_fail(self):
        """Some with findings, some without, own ones and others'; so many in a row are not too many."""
        hits = [hits[at].id for hits in expectation.read_hits(self.plan.store).values() for at in range(0, 60, 5)]
        unreadable, vanished = hits[::2], hits[1::2]
        rules = planting.failing(unreadable) + planting.vanished(vanished)
        self.station.register_archive(*self.station.script(rules))
        found = self.compare("with entries that fail", unreadable=unreadable, vanished=vanished)
        self.station.register_archive()
        texts = {finding["text"] for finding in found["befunde"] if finding["art"] == "nichtPruefbar"}
        self.assertEqual(texts, {"Lässt sich nicht prüfen: [70] Gesperrt; \"ö\""})

    def assert_in_page(self, page, report):
        text = page.read_bytes().decode("utf-8")
        data = re.search(r'<script type="application/json"[^>]*>(.*?)</script>', text, re.DOTALL)
        self.assertEqual(json.loads(data[1]), report)

    def assert_in_sheet(self, sheet, report):
        """A row for each differing field, or one for the finding; what a spreadsheet would carry out is a text there."""
        rows = list(csv.reader(io.StringIO(sheet.read_bytes().decode("utf-8-sig"), newline=""), delimiter=";"))
        wanted = [[str(finding.get("eintrag", "")), finding.get("dokId", ""), field.get("feld", ""), field.get("archiv", ""),
                   field.get("buchhaltung", ""), finding["text"]]
                  for finding in report["befunde"] for field in finding.get("felder", [{}])]
        self.assertEqual(len(rows), len(wanted) + 1)
        for row, values in zip(rows[1:], wanted):
            cells = [row[at] for at in (2, 6, 10, 11, 12, 13)]
            for cell, value in zip(cells, values):
                self.assertIn(cell, (value, "'" + value))


if __name__ == "__main__":
    unittest.main()
