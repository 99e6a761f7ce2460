"""What the preview shows is what a filing then writes."""
import unittest

from checkstation import CheckStation
from workstation import Client, build_machine_path, doc_id


class PreviewOfVouchers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-preview")

    @classmethod
    def tearDownClass(cls):
        cls.station.stop_archive()

    def preview(self, number, index):
        result = self.station.check("--voucher", number, index)
        self.assertEqual((result.faults(), result.code), ([], 0))
        return result.json["vorschau"]

    def assert_filed_as_previewed(self, booking):
        before = self.station.contents()
        preview = self.preview(booking["belegNr"], booking["belegIndex"])
        self.assertEqual(self.station.contents(), before)
        self.assertEqual(self.station.postbox(), [])
        report = self.station.run_host(["InitProvider", f"SaveDocument booking {booking['belegNr']} {booking['belegIndex']}"])
        self.assertEqual(report.boxes(), [])
        entry = next(entry for entry in self.station.entries() if doc_id(entry) == booking["docId"])
        told = {str(field["zeile"]): field["wert"] for field in preview["felder"]}
        # What only the request tells.
        keys = {field["schluessel"]: str(field["zeile"]) for field in preview["felder"]}
        open_lines = {line for line, value in told.items() if value is None}
        self.assertEqual(open_lines, {keys["Barcode"], keys["SesamDocID"]})
        told[keys["Barcode"]] = booking["barcode"]
        told[keys["SesamDocID"]] = booking["docId"]
        self.assertEqual(told, entry["felder"])
        self.assertEqual(
            (preview["art"], preview["maske"], preview["kurzbezeichnung"], preview["ordner"], preview["belegNr"]),
            ({"Belege": "Beleg"}.get(Client.kind(booking), Client.kind(booking)), entry["maske"],
             entry["kurzbezeichnung"], entry["ordner"], booking["belegNr"]))
        document = build_machine_path(preview["dokument"])
        self.assertEqual(document.read_bytes(), entry["inhalt"])

    def test_each_kind(self):
        client = Client()
        for origin in (0, 1, 2):
            for booking in client.with_barcode(origin)[:2]:
                with self.subTest(origin=origin, booking=booking["belegNr"]):
                    self.assert_filed_as_previewed(booking)

    def test_the_text_shows_every_field(self):
        booking = Client().with_barcode(1)[0]
        code, output, errors = self.station.run_text("--voucher", booking["belegNr"], booking["belegIndex"])
        self.assertEqual((code, errors), (0, ""), output)
        for line, key in ((43, "BelegNr"), (32, "Kundenort")):
            self.assertRegex(output, rf"(?m)^gut      Vorschau: Zeile {line} {key}: «.*»$")
        self.assertRegex(output, r"(?m)^gut      Vorschau: Zeile 44 Barcode: \(nennt die Finanzbuchhaltung")

    def test_an_unknown_voucher(self):
        result = self.station.check("--voucher", "99999", "1")
        self.assertEqual((result.faults(), result.code), ([("Vorschau", "Beleg 99999 / 1", "Fehler")], 2))
        self.assertIn("[5010]", result.find("Vorschau", "Beleg 99999 / 1")["wert"])
        self.assertNotIn("vorschau", result.json)
