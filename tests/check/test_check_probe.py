"""A probe files into every folder and leaves nothing behind, however it ends."""
import json
import unittest

from checkstation import CLIENT_FOLDER, CheckStation, interrupt
from workstation import LIMIT, MASKS

# The folders in the order in which they are probed. In each the archive is asked for the new entry's id.
ORDER = ["Debi", "Kredi", "Buchungen", "Auswertungen"]


class Probing(unittest.TestCase):
    def setUp(self):
        self.station = CheckStation("check-probe")
        self.station.run_host(["InitProvider", "SaveDocument booking 26101 1", "SaveDocument booking 26501 1"])
        self.before = self.station.contents()
        self.options = self.station.option_values()

    def tearDown(self):
        self.station.stop_archive()

    def assert_untouched(self):
        self.assertEqual(self.station.contents(), self.before)
        self.assertEqual(self.station.postbox(), [])
        self.assertEqual(self.station.option_values(), self.options)

    def rehearse(self, rules):
        self.station.stop_archive()
        self.station.register_archive(*self.station.script(rules))

    def with_a_usual_archive(self):
        self.station.stop_archive()
        self.station.register_archive()

    def probes(self, result):
        return {check["name"]: check for check in result.checks if check["bereich"] == "Probe"}

    def test_every_folder_takes_a_document(self):
        result = self.station.check("--probe")
        self.assertEqual((result.faults(), result.code), ([], 0))
        probes = self.probes(result)
        self.assertEqual(list(probes), ["Debi", "Kredi", "Beleg", "Auswertung"])
        for name, folder, mask in (("Debi", "Debi", "Debi"), ("Kredi", "Kredi", "Kredi"),
                                   ("Beleg", "Buchungen", "Belege"), ("Auswertung", "Auswertungen", "Auswertung")):
            self.assertIn(f"{CLIENT_FOLDER}/{folder}, Maske {MASKS[mask]}: ", probes[name]["wert"])
            self.assertIn("abgelegt, gelesen und entfernt", probes[name]["wert"])
        self.assert_untouched()

    def test_a_line_that_the_mask_lacks(self):
        self.station.settings["IndexKredi"]["Kundenname"] = "999"
        self.station.write_settings()
        result = self.station.check("--probe")
        self.assertEqual(result.faults(), [("Probe", "Kredi", "Fehler")])
        self.assertIn("Zeile 999 Kundenname «» statt «KANDORA-PROBE»", self.probes(result)["Kredi"]["wert"])
        self.assert_untouched()

    def test_a_client_that_is_not_ready(self):
        self.options = self.options | {"112": f"{CLIENT_FOLDER}/Verschoben"}
        self.station.set_options(self.options)
        result = self.station.check("--probe")
        self.assertIn(("Probe", "Ablage", "Fehler"), result.faults())
        self.assert_untouched()

    def test_the_archive_refuses_to_delete(self):
        self.rehearse([{"call": "DeleteObj", "answer": -4}])
        result = self.station.check("--probe")
        self.assertEqual(result.code, 2)
        self.assertIn("Konnte Dokument nicht löschen: -4", self.probes(result)["Debi"]["wert"])
        self.assertNotEqual(self.station.contents(), self.before)
        self.with_a_usual_archive()
        again = self.station.check("--probe")
        self.assertEqual((again.faults(), again.code), ([], 0))
        self.assertIn("4 Einträge", self.probes(again)["Überreste"]["wert"])
        self.assert_untouched()

    def held_up(self, folder, *arguments):
        """A probe, while the archive keeps back the number of the entry that has just been filed into this folder."""
        return self.station.held_up({"call": "GetEntryId", "args": [-2], "nth": ORDER.index(folder) + 1}, "--probe", *arguments)

    def test_interrupted(self):
        for folder, finished in (("Debi", ["Debi"]), ("Auswertungen", ["Debi", "Kredi", "Beleg", "Auswertung"])):
            with self.subTest(folder=folder):
                with self.held_up(folder, "--json") as process:
                    interrupt(process)
                    self.station.release()
                    self.assertEqual(process.wait(LIMIT), 2)
                checks = json.loads(self.station.running_output())["pruefungen"]
                probes = {check["name"]: check["ergebnis"] for check in checks if check["bereich"] == "Probe"}
                self.assertEqual(probes, {name: "gut" for name in finished} | {"Abbruch": "Fehler"})
                self.assert_untouched()

    def test_killed(self):
        for folder in ("Debi", "Auswertungen"):
            with self.subTest(folder=folder):
                with self.held_up(folder) as process:
                    process.kill()
                    process.wait(LIMIT)
                self.station.end_after_a_killed_client()
                self.assertEqual(len(self.station.contents()), len(self.before) + 2)
                # Whoever only looks leaves even that alone.
                left = self.station.contents()
                self.assertEqual(self.station.check().code, 0)
                self.assertEqual(self.station.contents(), left)
                result = self.station.check("--probe")
                self.assertEqual((result.faults(), result.code), ([], 0))
                self.assertIn("1 Eintrag", self.probes(result)["Überreste"]["wert"])
                self.assert_untouched()

    def test_the_archive_dies(self):
        self.rehearse([{"call": "MoveToArchive", "nth": 2, "die": "after"}])
        result = self.station.check("--probe")
        self.assertEqual(result.code, 2)
        self.assertIn(("Probe", "Kredi", "Fehler"), result.faults())
        self.with_a_usual_archive()
        self.station.check("--probe")
        self.assert_untouched()
