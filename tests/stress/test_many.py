"""Eight accountings in processes of their own, and one with several apartments, file at the same time into one archive:
nothing is lost, nothing is there twice, nothing is mixed.

KANDORA_MANY=year lets each of the eight file its whole year; otherwise the first bookings of it.
"""
import collections
import json
import os
import subprocess
import unittest

from workstation import (LIMIT, TOP_FOLDER, Client, PlatformTexts, Workstation, doc_id, windows_path)
import workstation as places  # as a module: its options are set later

HOSTS = 8
SHORT = 40
WHOLE = os.environ.get("KANDORA_MANY") == "year"


class Many(unittest.TestCase):
    def setUp(self):
        self.workstation = Workstation("many")
        self.addCleanup(self.workstation.stop_archive)
        self.client = Client()
        self.texts = PlatformTexts(self.workstation.folder, self.client)

    def client_of(self, number):
        """A client of its own for each accounting: other names, other document ids, other barcodes."""
        content = json.loads(json.dumps(self.client.content))
        content["mandant"] = f"C:\\Daten\\Mandanten\\Mandant {number}"
        if not WHOLE:
            content["buchungen"] = content["buchungen"][:SHORT]
        for booking in content["buchungen"]:
            booking["docId"] = f"{booking['docId']}-{number}"
            booking["text"] = f"{booking['text']} ({number})"
            if booking.get("barcode"):
                booking["barcode"] = f"{number}-{booking['barcode']}"
        file = self.workstation.folder / f"Mandant {number}.json"
        self.workstation.write_json(file, content)
        return file

    def run_hosts(self, files):
        """All at once; their reports."""
        running = []
        for number, file in enumerate(files):
            report = self.workstation.folder / f"Bericht {number}.json"
            output = (self.workstation.folder / f"Ausgabe {number}.txt").open("wb")
            self.addCleanup(output.close)
            process = subprocess.Popen(
                [str(places.options.loader), str(places.options.bin / "HostSimulator.exe"), "--client",
                 windows_path(file), "--answer-boxes", "--year", "--report", windows_path(report)],
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
            self.addCleanup(process.kill)
            running.append((process, report))
        limit = LIMIT * (30 if WHOLE else 2)
        for process, _ in running:
            self.assertEqual(process.wait(limit), 0)
        return [json.loads(report.read_text(encoding="utf-8"))["requests"] for _, report in running]

    def test_nothing_is_lost_twice_or_mixed(self):
        files = [self.client_of(number) for number in range(1, HOSTS + 1)]
        for requests in self.run_hosts(files):
            self.assertEqual({request["hresult"] for request in requests}, {0})
            boxes = [box["caption"] for request in requests for box in request["boxes"]]
            self.assertEqual(boxes, ["Archivpfad erstellen"])
        filed = self.workstation.entries()
        held = collections.Counter(map(doc_id, filed))
        self.assertEqual([name for name, count in held.items() if count > 1], [])
        expected = {}
        for number, file in enumerate(files, start=1):
            client = Client(file)
            expected |= {booking["docId"]: client.expected_entry(booking, self.texts, f"/{TOP_FOLDER}/Mandant {number}")
                         for booking in client.with_barcode()}
        self.assertEqual(set(held), set(expected))
        for entry in filed:
            wanted = expected[doc_id(entry)]
            self.assertEqual({key: entry[key] for key in wanted}, wanted)
            self.assertEqual(entry["inhalt"], self.workstation.placeholder.read_bytes())
        self.assertEqual(len({entry["id"] for entry in filed}), len(filed))
        print(f"{HOSTS} accountings filed {len(filed)} vouchers at the same time", flush=True)


if __name__ == "__main__":
    unittest.main()
