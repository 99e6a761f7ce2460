"""The archive dies: before, during and between the accounting's requests. The accounting survives, tells its user once a
request, and goes on; nothing is filed twice or by halves."""
import collections
import unittest

from workstation import (NOT_REACHABLE, TOP_FOLDER, Client, PlatformTexts, Workstation, doc_id, error_box,
                         wait_until, windows_path)

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"

# Three vouchers of all kinds: the archive dies at the second one.
FIRST, SECOND, THIRD = ("1002", "1"), ("26621", "1"), ("26101", "1")


class OneDeath(unittest.TestCase):
    """The archive dies while the second of three vouchers is saved, at a call that a rehearsal script names."""

    @classmethod
    def setUpClass(cls):
        cls.client = Client()
        cls.bookings = [booking for number in (FIRST, SECOND, THIRD) for booking in cls.client.with_barcode()
                        if (booking["belegNr"], booking["belegIndex"]) == number]
        assert [cls.client.kind(booking) for booking in cls.bookings] == ["Belege", "Kredi", "Debi"]
        cls.workstation = Workstation("one-death")
        cls.texts = PlatformTexts(cls.workstation.folder, cls.client)
        cls.workstation.run_host(["InitProvider"])
        # How often the archive is probed before the second voucher's turn.
        calls = cls.workstation.folder / "Aufrufe.txt"
        cls.workstation.stop_archive()
        cls.workstation.register_archive("--trace", windows_path(calls))
        cls.workstation.run_host(["InitProvider", cls.save(FIRST)])
        cls.workstation.stop_archive()
        cls.probes = calls.read_text(encoding="utf-8").count("GetEntryId(I2 -1)")

    @classmethod
    def tearDownClass(cls):
        cls.workstation.stop_archive()

    @staticmethod
    def save(number):
        return f"SaveDocument booking {number[0]} {number[1]}"

    def assert_death(self, rule, expected_box, second_is_filed):
        """`expected_box` is the second request's, or none."""
        known = {entry["id"] for entry in self.workstation.entries()}
        self.workstation.register_archive(*self.workstation.script([rule]))
        report = self.workstation.run_host(["InitProvider", *map(self.save, (FIRST, SECOND, THIRD))])
        self.workstation.stop_archive()
        self.assertEqual({request["hresult"] for request in report.requests}, {0})
        self.assertEqual([boxes for _, boxes in report.boxes_by_request()],
                         [[], [], [expected_box] if expected_box else [], []])
        filed = [entry for entry in self.workstation.entries() if entry["id"] not in known]
        expected = [self.client.expected_entry(booking, self.texts, CLIENT_FOLDER)
                    for booking in self.bookings if second_is_filed or booking is not self.bookings[1]]
        self.assertEqual([{key: entry[key] for key in expected[0]} for entry in filed], expected)
        # The dead archive's successor has put everything in order.
        documents = [file.stem for file in (self.workstation.store / "Ordner").rglob("*.pdf")]
        self.assertEqual(sorted(documents), sorted(str(entry["id"]) for entry in self.workstation.entries()))

    def assert_death_while_filing(self, rule, second_is_filed=False, procedure="ELODMS.AddKredi"):
        frames = (procedure, "ELODMS.AddKredi") if procedure != "ELODMS.AddKredi" else (procedure,)
        self.assert_death(rule, error_box(462, NOT_REACHABLE, *frames, "ELODMS.AddDokument", "Kandora.SaveDocument"),
                          second_is_filed)

    # The archive dies before the voucher's turn: the probe notices it, and nobody is troubled.

    def test_between_the_requests(self):
        self.assert_death({"call": "GetEntryId", "args": [-1], "nth": self.probes + 1, "die": "before"}, None, True)

    def test_when_the_client_settings_are_checked(self):
        # Nine before it: four folders at the start, four and the voucher's own for the first voucher.
        self.assert_death({"call": "LookupIndex", "nth": 10, "die": "before"}, error_box(
            462, NOT_REACHABLE, "ELODMS.CheckPFadVorhanden", "SOKInterface.EinstellungenLesen",
            "Kandora.SaveDocument"), False)

    def test_at_the_first_step(self):
        self.assert_death_while_filing({"call": "PrepareObjectEx", "nth": 2, "die": "before"})

    def test_when_the_entry_is_prepared(self):
        self.assert_death_while_filing({"call": "PrepareObjectEx", "nth": 2, "die": "after"})

    def test_when_the_mask_is_set(self):
        self.assert_death_while_filing({"call": "ObjMaskNo", "nth": 2, "die": "after"})

    def test_when_the_title_is_set(self):
        self.assert_death_while_filing({"call": "ObjShort", "nth": 2, "die": "before"})

    def test_amid_the_index_fields(self):
        # Line 104 is the status of a creditors' voucher.
        self.assert_death_while_filing({"call": "setobjAttrib", "args": [104], "die": "after"})

    def test_between_two_index_fields(self):
        # The probe logs in anew, but nothing is prepared there any more: the document is refused.
        self.assert_death({"call": "GetEntryId", "args": [-1], "nth": self.probes + 14, "die": "before"}, error_box(
            5, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=-4", "ELODMS.AddKredi", "ELODMS.AddDokument",
            "Kandora.SaveDocument"), False)

    def test_before_the_document_is_handed_in(self):
        self.assert_death_while_filing({"call": "AddPostboxFile", "nth": 2, "die": "before"})

    def test_when_the_document_is_handed_in(self):
        self.assert_death_while_filing({"call": "AddPostboxFile", "nth": 2, "die": "after"})

    def test_when_the_folder_is_looked_up(self):
        self.assert_death_while_filing({"call": "LookupIndex", "nth": 14, "die": "after"},
                                       procedure="ELODMS.lKrediDokumente")

    def test_before_the_entry_is_filed(self):
        self.assert_death_while_filing({"call": "MoveToArchive", "nth": 2, "die": "before"})

    def test_when_the_entry_is_filed(self):
        self.assert_death_while_filing({"call": "MoveToArchive", "nth": 2, "die": "after"}, second_is_filed=True)

    def test_when_the_number_is_asked(self):
        self.assert_death_while_filing({"call": "GetEntryId", "args": [-2], "nth": 2, "die": "before"},
                                       second_is_filed=True)

    def test_when_nobody_reads_the_answer_any_more(self):
        # At the host's end the component logs out; a dead archive is no reason for a word.
        self.assert_death({"call": "Login", "args": ["LOGOUT"], "die": "before"}, None, True)

    def test_at_the_start(self):
        # Everything stays off until the accounting is started again.
        known = self.workstation.entries()
        self.workstation.register_archive(*self.workstation.script([{"call": "SelectView", "die": "before"}]))
        report = self.workstation.run_host(["InitProvider", self.save(FIRST)])
        self.assertEqual([boxes for _, boxes in report.boxes_by_request()], [
            [error_box(462, NOT_REACHABLE, "ELODMS.CheckLogin", "MGlobals.IniLesen", "Kandora.InitProvider")], []])
        self.assertEqual(self.workstation.entries(), known)


class Killed(unittest.TestCase):
    """The archive is killed from outside."""

    def setUp(self):
        self.workstation = Workstation("killed")

    def tearDown(self):
        self.workstation.stop_archive()

    def filed(self):
        return collections.Counter(doc_id(entry) for entry in self.workstation.entries())

    def ids(self, *numbers):
        known = {(booking["belegNr"], booking["belegIndex"]): booking["docId"] for booking in Client().bookings}
        return collections.Counter(known[number] for number in numbers)

    def test_while_a_request_waits_for_it(self):
        begun = self.workstation.folder / "Begonnen"
        self.workstation.register_archive(*self.workstation.script([
            {"call": "MoveToArchive", "nth": 2, "delayMs": 3_600_000, "begun": windows_path(begun)}]))
        with self.workstation.host_running(["InitProvider", *map(OneDeath.save, (FIRST, SECOND, THIRD))]) as finish:
            # The second document is in the postbox, and the archive takes its time to move it.
            wait_until(begun.exists, "the second voucher is being filed")
            self.workstation.kill_archive()
            report = finish()
        self.assertEqual([boxes for _, boxes in report.boxes_by_request()][1:], [
            [], [error_box(462, NOT_REACHABLE, "ELODMS.AddKredi", "ELODMS.AddDokument", "Kandora.SaveDocument")], []])
        self.assertEqual(self.filed(), self.ids(FIRST, THIRD))

    def test_between_two_requests(self):
        """The accounting waits for its user, who tells it what to do next."""
        save = []
        for name, number in (("eins", FIRST), ("zwei", SECOND)):
            save.append(self.workstation.folder / f"{name}.txt")
            save[-1].write_text(OneDeath.save(number), encoding="utf-8")
        with self.workstation.menu() as choose:
            choose("7", windows_path(save[0]))
            self.workstation.wait_for_menu(2)
            self.assertEqual(self.filed(), self.ids(FIRST))
            self.workstation.kill_archive()
            choose("7", windows_path(save[1]))
            self.workstation.wait_for_menu(3)
            report = choose("0")
        self.assertEqual([boxes for _, boxes in report.boxes_by_request()][2:], [[], []])
        self.assertEqual(self.filed(), self.ids(FIRST, SECOND))


class DyingAgainAndAgain(unittest.TestCase):
    """Months in which the archive dies again and again, wherever it happens to be."""

    def test_nothing_is_filed_twice_or_by_halves(self):
        workstation = Workstation("dying")
        self.addCleanup(workstation.stop_archive)
        client = Client()
        texts = PlatformTexts(workstation.folder, client)
        # Each archive lives until the first of these calls, and its successor counts from 1 again. Which of them comes
        # first depends on the mix of vouchers, so it is a different one each time.
        workstation.register_archive(*workstation.script([
            {"call": "setobjAttrib", "nth": 207, "die": "before"},
            {"call": "GetEntryId", "args": [-1], "nth": 1077, "die": "after"},
            {"call": "AddPostboxFile", "nth": 19, "die": "after"},
            {"call": "MoveToArchive", "nth": 18, "die": "after"},
            {"call": "LookupIndex", "nth": 127, "die": "before"},
        ]))
        bookings = client.bookings[:180]
        report = workstation.run_host(["InitProvider", "StartProvider", *(
            f"SaveDocument booking {booking['belegNr']} {booking['belegIndex']}" for booking in bookings)])
        workstation.stop_archive()
        self.assertEqual({request["hresult"] for request in report.requests}, {0})
        self.assertEqual({len(boxes) for _, boxes in report.boxes_by_request()}, {0, 1})
        failed = {request["docId"] for request in report.requests[1:] if request["boxes"]}
        self.assertGreater(len(failed), 3)

        expected = {booking["docId"]: client.expected_entry(booking, texts, CLIENT_FOLDER)
                    for booking in bookings if booking.get("barcode")}
        filed = workstation.entries()
        self.assertEqual([name for name, count in collections.Counter(map(doc_id, filed)).items() if count > 1], [])
        for entry in filed:
            self.assertEqual({key: entry[key] for key in expected[doc_id(entry)]}, expected[doc_id(entry)])
            self.assertEqual(entry["inhalt"], workstation.placeholder.read_bytes())
        # What is missing was told.
        self.assertLessEqual(set(expected) - set(map(doc_id, filed)), failed)
        self.assertEqual(workstation.log_lines(), ["DMSProvider_InitProvider  []"])
