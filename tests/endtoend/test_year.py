"""A whole business year: what the archive holds afterwards must be what the client file says, and nothing else."""
import unittest

from workstation import TOP_FOLDER, Client, PlatformTexts, Workstation, doc_id, windows_path

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"


class Year(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.client = Client()
        cls.workstation = Workstation("year")
        cls.texts = PlatformTexts(cls.workstation.folder, cls.client)
        cls.report = cls.workstation.run_host()
        cls.workstation.stop_archive()
        cls.entries = cls.workstation.entries()

    @classmethod
    def tearDownClass(cls):
        cls.workstation.stop_archive()

    def test_the_host_is_served_without_an_error(self):
        requests = [request["request"] for request in self.report.requests]
        self.assertEqual(requests, ["InitProvider", "StartProvider"] + ["SaveDocument"] * len(self.client.bookings))
        self.assertEqual({request["hresult"] for request in self.report.requests}, {0})

    def test_the_user_sees_the_input_box_once_and_nothing_else(self):
        self.assertEqual(self.report.boxes_by_request()[0], ("InitProvider", [
            "Bitte passen Sie allenfalls den Archivpfad des Mandanten an. Trennzeichen für Ordner ist '/'"]))
        self.assertEqual([caption for caption, _ in self.report.boxes()], ["Archivpfad erstellen"])

    def test_every_booking_with_barcode_is_filed_once_and_no_other(self):
        filed = sorted(doc_id(entry) for entry in self.entries)
        expected = sorted(booking["docId"] for booking in self.client.with_barcode())
        self.assertEqual(filed, expected)
        self.assertEqual(len(expected), 256)
        self.assertEqual(len({entry["id"] for entry in self.entries}), len(expected))

    def test_each_entry_holds_what_the_accounting_knows(self):
        filed = {doc_id(entry): entry for entry in self.entries}
        for booking in self.client.with_barcode():
            with self.subTest(booking=f"{booking['belegNr']}/{booking['belegIndex']}"):
                entry = filed[booking["docId"]]
                expected = self.client.expected_entry(booking, self.texts, CLIENT_FOLDER)
                self.assertEqual({key: entry[key] for key in expected}, expected)

    def test_each_document_is_the_placeholder(self):
        placeholder = self.workstation.placeholder.read_bytes()
        for entry in self.entries:
            self.assertEqual(entry["dokument"], f"{entry['id']}.pdf")
            self.assertEqual(entry["inhalt"], placeholder)

    def test_the_folders_are_those_of_the_proposal(self):
        self.assertEqual(self.workstation.folders(),
                         {f"/{TOP_FOLDER}", CLIENT_FOLDER}
                         | {f"{CLIENT_FOLDER}/{name}" for name in ("Buchungen", "Debi", "Kredi", "Auswertungen")})

    def test_nothing_else_lies_in_the_store(self):
        store = self.workstation.store
        files = {str(file.relative_to(store)) for file in store.rglob("*") if file.is_file()}
        folders = {file.parent for file in store.rglob("ordner.json")}
        expected = {"archiv.json", "archiv.index", "zaehler.json"}
        expected |= {str((folder / "ordner.json").relative_to(store)) for folder in folders}
        for entry in self.entries:
            file = next((store / "Ordner").rglob(f"{entry['id']}.json"))
            expected |= {str(file.relative_to(store)), str(file.with_suffix(".pdf").relative_to(store))}
        self.assertEqual(files, expected)
        # Beside the top every folder has its number and name.
        self.assertEqual(len(folders - {store / "Ordner"}), len(self.workstation.folders()))

    def test_the_client_remembers_its_folders(self):
        self.assertEqual(self.workstation.option_values(), {
            "100": "true",
            "105": windows_path(self.workstation.placeholder),
            "109": f"{CLIENT_FOLDER}/Buchungen",
            "110": f"{CLIENT_FOLDER}/Auswertungen",
            "111": f"{CLIENT_FOLDER}/Debi",
            "112": f"{CLIENT_FOLDER}/Kredi",
        })

    def test_the_log_tells_the_start_alone(self):
        self.assertEqual(self.workstation.log_lines(), ["DMSProvider_InitProvider  []"])

    def test_texts_are_those_of_a_swiss_workstation(self):
        self.assertEqual(self.texts.date("2026-01-05"), "05.01.2026")
        self.assertEqual(self.texts.amount(1085.1), "1085.1")
        self.assertEqual(self.texts.amount(0), "0")
