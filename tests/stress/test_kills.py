"""The archive is killed at every step of every request that uses it, and frozen, while the accounting goes on working.

KANDORA_KILLS=all takes every call of every request, before and after; otherwise those that matter are chosen, so that the
runs take minutes instead of hours.
"""
import os
import re
import shutil
import signal
import unittest

from workstation import (TOP_FOLDER, Client, PlatformTexts, Workstation, kill, wait_until, windows_path, without_fault)

CLIENT_FOLDER = f"/{TOP_FOLDER}/Muster AG"
VOUCHER, CREDITOR, DEBTOR, EDITED = ("1002", "1"), ("26621", "1"), ("26101", "1"), ("26102", "1")
# These change what the archive holds, or prepare that: it is killed before and after them, at other calls either before or
# after.
DECISIVE = ("AddPostboxFile", "MoveToArchive", "UpdateObject", "DeleteObj")
PROBE = "GetEntryId(I2 -1)"
# How a login ends that the archive never sees: Windows cannot provide the object.
REFUSED = r"\[(429|462)\] .* CALLSTACK: ELODMS\.AnmeldenAnElo <- ELODMS\.oElo <- "
MOST_REFUSALS = 5  # in a row
ALL = os.environ.get("KANDORA_KILLS") == "all"


def boxes_in(output):
    """The whole texts of the component's boxes; what does not fit into the width goes on below."""
    texts = re.findall(r"^  Fenster «Kandora»: (.*(?:\n    .*)*)", output, re.MULTILINE)
    boxes = [re.sub(r"\n +", " ", text) for text in texts]
    assert all(re.search(r" CALLSTACK: .*Kandora\.\w+$", box) for box in boxes if " ON LINE " in box), boxes
    return boxes


class Accounting:
    """The accounting at its menu; it runs one request file after the other."""

    def __init__(self, workstation, choose):
        self.workstation = workstation
        self.choose = choose
        self.file = workstation.folder / "Anfrage.txt"
        self.output = workstation.folder / "Ausgabe.txt"
        self.prompts = 0
        self.read = 0
        boxes = self.finish()
        assert boxes == [], f"it began with {boxes}"

    def begin(self, *requests):
        self.file.write_text("\n".join(requests), encoding="utf-8")
        self.choose("7", windows_path(self.file))

    def is_done(self):
        return self.output.read_bytes().count(b"Ihre Wahl:") > self.prompts

    def finish(self):
        """Waits for the end of what was begun; the texts of its boxes."""
        wait_until(self.is_done, "the accounting is done")
        self.prompts += 1
        content = self.output.read_bytes().decode("utf-8", "replace").replace("\r\n", "\n")
        new, self.read = without_fault(content[self.read:]), len(content)
        assert "->" in new and "Fehler" not in new.partition("->")[0], new
        assert all(line.endswith("S_OK") or "S_OK, " in line for line in new.splitlines() if " -> " in line), new
        return boxes_in(new)

    def send(self, *requests):
        self.begin(*requests)
        return self.finish()


class Kills(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workstation = workstation = Workstation("kills")
        cls.client = Client()
        cls.texts = PlatformTexts(workstation.folder, cls.client)
        workstation.settings["Archiv"]["EloPrinterFile"] = windows_path(workstation.placeholder)
        workstation.write_settings()
        cls.trace = workstation.folder / "Spur.txt"
        cls.snapshot = workstation.folder / "Stand"
        workstation.register_archive("--trace", windows_path(cls.trace), *workstation.script([]))
        with workstation.menu() as choose:
            filing = Accounting(workstation, choose)
            assert filing.send("SaveDocument booking 26102 1", "SaveDocument booking 1003 1") == []
        cls.end_archive()
        cls.kills = cls.refusals = 0

    @classmethod
    def tearDownClass(cls):
        print(f"the archive was killed {cls.kills} times; {cls.refusals} that followed were refused by wine", flush=True)

    def setUp(self):
        self.end_archive()
        self.rehearse()
        # One accounting for all kills of one request, but not of all requests: wine remembers dead programs for as long as it
        # runs (see `send`).
        self.accounting = Accounting(self.workstation, self.enterContext(self.workstation.menu()))
        self.end_archive()

    # ---- the archive ----------------------------------------------------------------------------------------------

    @classmethod
    def end_archive(cls):
        processes = cls.workstation.archive_processes()
        if processes:
            kill(processes)
            wait_until(lambda: not cls.workstation.archive_processes(), "the archive is gone")

    def rehearse(self, *rules):
        self.workstation.script(list(rules))
        self.trace.unlink(missing_ok=True)

    def traced(self):
        return self.trace.read_text(encoding="utf-8", errors="replace").splitlines() if self.trace.exists() else []

    def keep(self):
        shutil.rmtree(self.snapshot, ignore_errors=True)
        shutil.copytree(self.workstation.store, self.snapshot, ignore=shutil.ignore_patterns("*.lock"))

    def put_back(self):
        """The archive as it was; it must not be running."""
        # A dying archive's lock may go away at the same time.
        shutil.rmtree(self.workstation.store, ignore_errors=True)
        shutil.copytree(self.snapshot, self.workstation.store, dirs_exist_ok=True)

    def held(self):
        """What the archive holds, without what differs from one filing to the next."""
        return sorted(([entry["maske"], entry["kurzbezeichnung"], entry["ordner"], sorted(entry["felder"].items()),
                        len(entry["inhalt"])] for entry in self.workstation.entries()), key=repr)

    def assert_in_order(self):
        """Its next start has put everything in order: no document without its entry, and nothing half-written."""
        documents = sorted(file.stem for file in (self.workstation.store / "Ordner").rglob("*.pdf"))
        self.assertEqual(documents, sorted(str(entry["id"]) for entry in self.workstation.entries()))
        self.assertEqual(list(self.workstation.store.rglob("*.tmp")), [])

    # ---- one request ----------------------------------------------------------------------------------------------

    def send(self, *requests):
        """Sends the requests; the texts of their boxes.

        Wine knows a program that lends out objects by the numbers of its process and thread, keeps what it knew of a dead
        one, and gives numbers out again: an archive that has got the pair of a dead one is refused before its first call.
        Nothing may have happened then but that the user was told, and the next archive must come to what this one should.
        The one after it may well get the pair of the next dead one."""
        before = self.held()
        boxes = self.accounting.send(*requests)
        for _ in range(MOST_REFUSALS):
            if not boxes or self.traced():
                break
            self.assertEqual(len(boxes), 1, boxes)
            self.assertRegex(boxes[0], REFUSED)
            self.assertEqual(self.held(), before)
            type(self).refusals += 1
            self.end_archive()
            boxes = self.accounting.send(*requests)
        return boxes

    def run_clean(self, *requests):
        """From an archive that is not running: its calls, and what it holds afterwards."""
        self.put_back()
        self.rehearse()
        self.assertEqual(self.send(*requests), [])
        calls = self.traced()
        self.end_archive()
        return calls, self.held()

    @staticmethod
    def points(calls):
        """Member, place among its calls, "before" or "after", whether it is the question if the session is alive."""
        seen, chosen = {}, set()
        probes = sum(line.startswith(PROBE) for line in calls)
        probe = 0
        for place, line in enumerate(calls):
            member = re.match(r"\w+", line)[0]
            seen[member] = seen.get(member, 0) + 1
            is_probe = line.startswith(PROBE)
            probe += is_probe
            if ALL or member in DECISIVE:
                modes = ("before", "after")
            elif is_probe:
                modes = ("before",) if probe % max(probes // 4, 1) == 0 else ()
            else:
                modes = ("before",) if place % 2 else ("after",)
                modes = () if member in chosen and seen[member] % 6 else modes
                chosen.add(member)
            for mode in modes:
                yield member, seen[member], mode, is_probe

    def sweep(self, *requests, expected_entries, may_file_anew=None):
        """Kills the archive at each chosen call of the requests. `may_file_anew`: what a search may come to that finds
        nothing, because the session that it asked was lost."""
        self.keep()
        before = self.held()
        calls, after = self.run_clean(*requests)
        self.assertEqual(after, expected_entries(before))
        self.assertGreater(len(calls), 20)
        rounds = 0
        for member, number, mode, is_probe in self.points(calls):
            with self.subTest(requests=requests, member=member, number=number, mode=mode):
                self.end_archive()  # a round that failed has left its own running, which knows another rule
                self.put_back()
                self.rehearse({"call": member, "nth": number, "die": mode})
                boxes = self.send(*requests)
                dead = sum(line.endswith("Programmende") for line in self.traced())
                self.assertGreater(dead, 0, f"it lives on, with {boxes}, after {self.traced()[-5:]}")
                type(self).kills += dead
                rounds += 1
                self.end_archive()
                held = self.held()
                possible = [before, after] + ([may_file_anew(before)] if may_file_anew and is_probe else [])
                self.assertIn(held, possible, boxes)
                self.assertLessEqual(len(boxes), 1)
                if held != after and not is_probe:
                    self.assertEqual(len(boxes), 1, "nobody was told")
                if rounds % 6 == 0 and held == before:
                    # The next one begins with a dead archive, and comes to what it should.
                    self.rehearse()
                    self.assertEqual(self.send(*requests), [])
                    self.assertEqual(self.held(), after)
                    self.assert_in_order()
                    self.end_archive()
        self.assertEqual(self.run_clean(*requests)[1], after)
        self.put_back()
        print(f"{requests[-1]}: {rounds} rounds", flush=True)

    def booking(self, number):
        return next(each for each in self.client.bookings if (each["belegNr"], each["belegIndex"]) == number)

    def entry_of(self, number, **changes):
        expected = self.client.expected_entry(self.booking(number) | changes, self.texts, CLIENT_FOLDER)
        return [expected["maske"], expected["kurzbezeichnung"], expected["ordner"], sorted(expected["felder"].items()),
                self.workstation.placeholder.stat().st_size]

    def with_entry(self, number, **changes):
        return lambda before: sorted([*before, self.entry_of(number, **changes)], key=repr)

    def test_saving_a_voucher(self):
        self.sweep("SaveDocument booking 1002 1", expected_entries=self.with_entry(VOUCHER))

    def test_saving_a_creditors_voucher(self):
        self.sweep("SaveDocument booking 26621 1", expected_entries=self.with_entry(CREDITOR))

    def test_saving_a_debtors_voucher(self):
        self.sweep("SaveDocument booking 26101 1", expected_entries=self.with_entry(DEBTOR))

    def test_changing_a_document(self):
        text = "Geändert"

        def changed(before):
            old = self.entry_of(EDITED)
            self.assertIn(old, before)
            return self.with_entry(EDITED, text=text)([entry for entry in before if entry != old])

        self.sweep(f"change 26102 1 text={text}", "DocumentChanged booking 26102 1", expected_entries=changed,
                   may_file_anew=self.with_entry(EDITED, text=text))

    def test_deleting_a_document(self):
        self.sweep("DeleteDocument booking 26102 1", expected_entries=lambda before: [
            entry for entry in before if entry != self.entry_of(EDITED)])

    def test_printing_a_report(self):
        def printed(before):
            new = [entry for entry in self.held() if entry not in before]
            self.assertEqual([entry[:3] for entry in new], [[93, "Bilanz", f"{CLIENT_FOLDER}/Auswertungen"]])
            return sorted(before + new, key=repr)

        self.sweep("describe kurzbezeichnung=Bilanz beschreibung=Saldobilanz", "PrintDocument 20260101000000",
                   expected_entries=printed)

    def test_showing_a_document(self):
        self.sweep("ShowDocument booking 26102 1", expected_entries=lambda before: before)

    # ---- from outside ---------------------------------------------------------------------------------------------

    def held_up(self, member):
        """Begins to save a voucher and waits until the archive is busy with a call; its successor is not held up."""
        begun = self.workstation.folder / "Begonnen"
        begun.unlink(missing_ok=True)
        self.put_back()
        self.rehearse({"call": member, "nth": 1, "delayMs": 3_600_000, "begun": windows_path(begun)})
        self.accounting.begin("SaveDocument booking 1002 1")
        wait_until(begun.exists, f"the archive is busy with {member}")
        self.rehearse()

    def test_killed_during_a_call(self):
        self.keep()
        before = self.held()
        _, after = self.run_clean("SaveDocument booking 1002 1")
        for member in ("PrepareObjectEx", "ObjShort", "setobjAttrib", "AddPostboxFile", "MoveToArchive"):
            with self.subTest(member=member):
                self.held_up(member)
                self.workstation.kill_archive()
                type(self).kills += 1
                self.assertEqual(len(self.accounting.finish()), 1)
                self.assertEqual(self.held(), before)
                self.rehearse()
                self.assertEqual(self.send("SaveDocument booking 1002 1"), [])
                self.assertEqual(self.held(), after)
                self.assert_in_order()
                self.end_archive()
        self.put_back()

    def test_frozen_during_a_request(self):
        """It goes on where it stopped, or is ended by a user who has waited long enough."""
        self.keep()
        before = self.held()
        calls, after = self.run_clean("SaveDocument booking 1002 1")
        for is_ended in (False, True):
            with self.subTest(is_ended=is_ended):
                self.put_back()
                begun, thawed = (self.workstation.folder / name for name in ("Begonnen", "Weiter"))
                for file in (begun, thawed):
                    file.unlink(missing_ok=True)
                self.rehearse({"call": "AddPostboxFile", "nth": 1, "until": windows_path(thawed), "begun": windows_path(begun)})
                self.accounting.begin("SaveDocument booking 1002 1")
                wait_until(begun.exists, "it is being filed")
                frozen = self.workstation.archive_processes()
                for process in frozen:
                    os.kill(process, signal.SIGSTOP)
                # Nothing else keeps the call back now, and still nobody gives up.
                thawed.touch()
                self.assertFalse(self.accounting.is_done())
                if is_ended:
                    kill(frozen)
                    type(self).kills += 1
                else:
                    for process in frozen:
                        os.kill(process, signal.SIGCONT)
                boxes = self.accounting.finish()
                self.assertEqual(len(boxes), int(is_ended))
                self.assertEqual(self.held(), before if is_ended else after)
                if is_ended:
                    self.rehearse()
                    self.assertEqual(self.send("SaveDocument booking 1002 1"), [])
                    self.assertEqual(self.held(), after)
                self.end_archive()
        self.put_back()


if __name__ == "__main__":
    unittest.main()
