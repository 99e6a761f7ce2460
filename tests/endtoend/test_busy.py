"""The archive is busy with something else and turns calls away: nobody notices, unless it lasts."""
import unittest

from workstation import TOP_FOLDER, Client, PlatformTexts, Workstation

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"
REJECTED, RETRY_LATER = "0x80010001", "0x8001010A"
SAVED = ("26621", "1")


class BusyArchive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.client = Client()
        cls.booking = next(booking for booking in cls.client.with_barcode()
                           if (booking["belegNr"], booking["belegIndex"]) == SAVED)
        cls.workstation = Workstation("busy")
        cls.texts = PlatformTexts(cls.workstation.folder, cls.client)
        cls.workstation.run_host(["InitProvider"])
        cls.workstation.stop_archive()

    def setUp(self):
        self.known = {entry["id"] for entry in self.workstation.entries()}

    def tearDown(self):
        self.workstation.stop_archive()

    def run_with(self, rules, requests):
        self.workstation.register_archive(*self.workstation.script(rules))
        report = self.workstation.run_host(["InitProvider", *requests])
        self.workstation.stop_archive()
        self.assertEqual({request["hresult"] for request in report.requests}, {0})
        return [boxes for _, boxes in report.boxes_by_request()]

    def filed(self):
        return [entry for entry in self.workstation.entries() if entry["id"] not in self.known]

    def test_every_call_may_be_turned_away_for_a_while(self):
        members = ["Login", "EloWindow", "SelectView", "ReadObjMask", "GetEntryId", "LookupDelimiter", "LookupIndex",
                   "PrepareObjectEx", "ObjMaskNo", "ObjShort", "setobjAttrib", "AddPostboxFile", "MoveToArchive"]
        rules = [{"call": member, "nth": nth, "hresult": (REJECTED, RETRY_LATER)[nth % 2]}
                 for member in members for nth in (1, 2, 3, 5)]
        boxes = self.run_with(rules, [f"SaveDocument booking {SAVED[0]} {SAVED[1]}"])
        self.assertEqual(boxes, [[], []])
        expected = self.client.expected_entry(self.booking, self.texts, CLIENT_FOLDER)
        self.assertEqual([{key: entry[key] for key in expected} for entry in self.filed()], [expected])

    def test_in_the_end_it_is_an_error(self):
        rules = [{"call": "AddPostboxFile", "nth": nth, "hresult": RETRY_LATER} for nth in range(1, 1000)]
        request = f"SaveDocument booking {SAVED[0]} {SAVED[1]}"
        boxes = self.run_with(rules, [request])
        self.assertEqual(len(boxes[1]), 1, boxes)
        self.assertTrue(boxes[1][0].startswith("[-2147417846] "), boxes)
        self.assertIn("CALLSTACK: ELODMS.AddKredi <- ELODMS.AddDokument <- Kandora.SaveDocument", boxes[1][0])
        self.assertEqual(self.filed(), [])
