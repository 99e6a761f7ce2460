"""What the tests of comparisons share: a client with a filed voucher of each kind, and what kandora-check says of it."""
import json
import shutil
import unittest

from checkstation import CheckStation
from workstation import LINES, MASKS, Client

KINDS = {"Belege": 0, "Debi": 1, "Kredi": 2}
# How far a comparison is, as a console shows it.
PROGRESS = r"\d von \d+ Einträgen,|\r"


def told(abgleich):
    """Kind, entry and how, of every finding."""
    return sorted((finding["art"], finding.get("eintrag", 0), finding.get("wodurch", "")) for finding in abgleich["befunde"])


class ReconcilingCase(unittest.TestCase):
    """Every test begins with the same files. What COM starts knows nothing of the tests before."""
    @classmethod
    def setUpClass(cls):
        cls.station = CheckStation("check-reconcile")
        client = Client()
        # One of each kind that has an open item, if its kind has any.
        cls.bookings = {kind: next(booking for booking in client.with_barcode(origin)
                                   if kind == "Belege" or booking["opNr"]) for kind, origin in KINDS.items()}
        cls.station.run_host(["InitProvider", *(f"SaveDocument booking {booking['belegNr']} {booking['belegIndex']}"
                                                for booking in cls.bookings.values())])
        kinds = {mask: kind for kind, mask in MASKS.items()}
        cls.ids = {kinds[entry["maske"]]: entry["id"] for entry in cls.station.entries()}
        cls.station.keep()

    def setUp(self):
        self.station.put_back()

    def tearDown(self):
        self.station.stop_archive()

    # ---- what is planted -----------------------------------------------------------------------------------------

    def file_of(self, number):
        return next((self.station.store / "Ordner").rglob(f"{number}.json"))

    def rewrite(self, number, change):
        """Changes an entry's file behind the archive's back."""
        self.station.stop_archive()
        file = self.file_of(number)
        content = json.loads(file.read_text(encoding="utf-8"))
        change(content)
        file.write_text(json.dumps(content, ensure_ascii=False), encoding="utf-8")

    def set_field(self, kind, key, value):
        def change(content):
            content["felder"][str(LINES[kind][key])] = value
        self.rewrite(self.ids[kind], change)

    def set_in_each(self, key, value):
        for kind in KINDS:
            self.set_field(kind, key, value)

    def copy(self, number):
        """The same entry once more, and the copy's number."""
        self.station.stop_archive()
        file = self.file_of(number)
        content = json.loads(file.read_text(encoding="utf-8"))
        content["id"] = 1 + max(entry["id"] for entry in self.station.entries())
        content["dokument"] = shutil.copy(file.with_name(content["dokument"]), file.with_name(f"{content['id']}.pdf")).name
        (file.parent / f"{content['id']}.json").write_text(json.dumps(content, ensure_ascii=False), encoding="utf-8")
        (self.station.store / "zaehler.json").write_text(json.dumps({"naechste": content["id"] + 1}), encoding="utf-8")
        return content["id"]

    def remove(self, number):
        self.station.stop_archive()
        file = self.file_of(number)
        for one in file.parent.glob(f"{number}.*"):
            one.unlink()

    def change_client(self, change):
        content = json.loads(self.station.client.read_text(encoding="utf-8"))
        change(content)
        self.station.write_json(self.station.client, content)

    # ---- what is said --------------------------------------------------------------------------------------------

    def reconcile(self, *arguments, command="--reconcile"):
        """Exit code and result. Nobody has waited so long for a scan, unless a test says so."""
        days = () if "--days" in arguments else ("--days", "99999")
        result = self.station.check(command, *days, *arguments)
        self.assertEqual(result.json["code"], result.code)
        return result.code, result.json["abgleich"]

    def assert_found(self, expected, *arguments):
        before = self.files()
        code, abgleich = self.reconcile(*arguments)
        self.assertEqual((told(abgleich), abgleich["vollstaendig"], code), (sorted(expected), True, 1 if expected else 0),
                         abgleich)
        self.assertEqual(self.files(), before)
        return abgleich

    def files(self):
        """Everything that belongs to the archive and to the accounting."""
        return self.station.contents(), self.station.postbox(), self.station.client.read_bytes()
