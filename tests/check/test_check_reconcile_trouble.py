"""A comparison is disturbed: the archive fails, archive or accounting are killed in its middle, somebody interrupts it."""
import contextlib
import json
import pathlib
import re
import time
import unittest

from checkstation import interrupt
from reconciling import ReconcilingCase, told
from workstation import LIMIT, kill, started_hosts, windows, windows_path

MOST_REFUSALS = 5
LONG_LOG = 100_000_000
MOST_MEMORY = 100_000  # KB


class Disturbed(ReconcilingCase):
    def test_the_archive_fails(self):
        self.set_field("Kredi", "Betrag", "1")
        unreadable = [("nichtPruefbar", number, "") for number in self.ids.values()]
        for rule, expected in (({"call": "ObjMainParent", "hresult": "0x80004005"}, unreadable),
                               ({"call": "getobjAttrib", "answer": -4}, unreadable),
                               ({"call": "ObjMainParent", "nth": 2, "answer": -1}, [("abweichend", self.ids["Kredi"], "")]),
                               ({"call": "DoInvisibleSearch", "answer": -10}, None)):
            with self.subTest(rule=rule):
                self.station.stop_archive()
                self.station.register_archive(*self.station.script([rule]))
                before = self.files()
                code, abgleich = self.reconcile()
                self.assertEqual((code, abgleich["vollstaendig"]), (2, False) if expected is None else (1, True), abgleich)
                self.assertEqual(told(abgleich), sorted(expected or []))
                self.assertEqual(self.files(), before)

    def test_the_archive_dies_again_and_again(self):
        self.set_field("Kredi", "Betrag", "1")
        for call, number in (("getobjAttrib", 9), ("DoInvisibleSearch", 2), ("ObjMainParent", 3)):
            with self.subTest(call=call):
                self.station.stop_archive()
                self.station.register_archive(*self.station.script([{"call": call, "nth": number, "die": "before"}]))
                before = self.files()
                code, abgleich = self.reconcile()
                self.assertEqual(self.files(), before)
                # The next archive dies at the same call, or is not to be had.
                self.assertIn(code, (1, 2))
                self.assertEqual(abgleich["vollstaendig"], code == 1)
                found = set(told(abgleich)) - {("nichtPruefbar", number, "") for number in self.ids.values()}
                self.assertLessEqual(found, {("abweichend", self.ids["Kredi"], "")})

    def assert_stopped(self, process, reason, found):
        """Once the archive answers, the run ends before its end, with what it had; nothing was written."""
        self.station.release()
        self.assertEqual(process.wait(LIMIT), 2)
        abgleich = json.loads(self.station.running_output())["abgleich"]
        self.assertEqual((abgleich["vollstaendig"], told(abgleich)), (False, found))
        self.assertRegex(abgleich["grund"], reason)
        self.assertEqual(self.files(), self.before)

    def held_up_at_the_second_entry(self, *arguments):
        """While the archive keeps back its answer, the first entry, which differs, is done; so does the last one."""
        self.set_field("Belege", "Betrag", "1")
        self.set_field("Debi", "Betrag", "1")
        self.before = self.files()
        # After both looks at the first entry.
        return self.station.held_up({"call": "ObjMainParent", "nth": 3}, "--reconcile", "--json", "--days", "99999", *arguments)

    def test_interrupted(self):
        with self.held_up_at_the_second_entry() as process:
            interrupt(process)
            self.assert_stopped(process, "^unterbrochen$", [("abweichend", self.ids["Belege"], "")])

    def test_interrupted_among_several_clients(self):
        path = windows_path(self.station.client)
        with self.held_up_at_the_second_entry("--client", path, "--client", path) as process:
            interrupt(process)
            self.station.release()
            self.assertEqual(process.wait(LIMIT), 2)
        found = json.loads(self.station.running_output())["abgleiche"]
        self.assertEqual([(one["mandant"], one["vollstaendig"], one["grund"], len(one["befunde"])) for one in found],
                         [(path, False, "unterbrochen", 1), (path, False, "unterbrochen", 0)])

    def assert_completes(self, kill_one):
        """What is killed comes again, and the comparison comes to its end as if nothing had been. Wine may refuse what bears
        the numbers of a dead program; the comparison says so then, and there is another attempt."""
        found = [("abweichend", self.ids[kind], "") for kind in ("Belege", "Debi")]
        for _ in range(MOST_REFUSALS):
            with self.held_up_at_the_second_entry() as process:
                kill_one()
                self.station.release()
                process.wait(LIMIT)
            result = json.loads(self.station.running_output())
            self.assertEqual(self.files(), self.before)
            abgleich = result["abgleich"]
            if not re.match(r"\w+: \[(429|462)\] ", abgleich.get("grund", "")):
                break
            self.assertEqual((result["code"], told(abgleich)), (2, found[:1]))
            print(f"refused: {abgleich['grund']}", flush=True)
        self.assertEqual((result["code"], abgleich["vollstaendig"], told(abgleich)), (1, True, sorted(found)))

    def test_the_archive_is_killed_and_comes_again(self):
        def kill_archive():
            self.station.register_archive()
            self.station.kill_archive()
        self.assert_completes(kill_archive)

    def test_the_archive_is_killed_and_does_not_come_again(self):
        with self.held_up_at_the_second_entry() as process:
            self.station.register_archive(*self.station.script([{"call": "Login", "answer": -3}]))
            self.station.kill_archive()
            self.assert_stopped(process, r"^Archiv: \[\d+\] ", [("abweichend", self.ids["Belege"], "")])

    def test_the_accounting_is_killed_and_comes_again(self):
        self.assert_completes(lambda: kill(started_hosts()))

    def test_the_accounting_is_killed_and_does_not_come_again(self):
        with self.held_up_at_the_second_entry() as process:
            windows("HostSimulator.exe", "--unregister")
            kill(started_hosts())
            self.assert_stopped(process, r"^Finanzbuchhaltung: \[\d+\] ", [("abweichend", self.ids["Belege"], "")])

    def write_long_log(self):
        """Of many accountings: a voucher that is there, one that is not and one that is still there, at the log's beginning, in
        its middle and at its end, which is cut off; vouchers of one's own that have gone again, and ever new ones of others."""
        own = json.loads(self.station.client.read_text(encoding="utf-8"))["mandant"]
        logs = self.station.folder / "Protokolle"
        logs.mkdir()

        def line(request, client, number, index, doc_id, barcode):
            return (f"23.11.2026 08.00.00 | DMSProvider_{request}  [{doc_id}]  "
                    f"[[{number}/{index}, {client}, {number}, {index}, {barcode}]]\r\n")

        def of_booking(request, kind):
            booking = self.bookings[kind]
            return line(request, own, booking["belegNr"], booking["belegIndex"], booking["docId"], booking["barcode"])

        def others(numbers):
            for number in numbers:
                client = f"C:\\Daten\\Mandanten\\Nachbar {number % 50}"
                yield line("SaveDocument", client, 100000 + number, 1, f"2026{number:010d}", f"NB{number:08d}")
                gone = "weg", number % 20000, f"2025{number % 20000:010d}"
                yield line("DeleteDocument" if number // 20000 % 2 else "SaveDocument", own, gone[1], gone[0], gone[2], "BC")

        half = LONG_LOG // 2 // 250
        with (logs / "20261123_080000_Kandora_alle_SERVER_.log").open("w", encoding="cp1252", newline="") as log:
            log.write(of_booking("SaveDocument", "Belege"))
            log.writelines(others(range(half)))
            log.write(of_booking("DocumentChanged", "Debi"))
            log.writelines(others(range(half, 2 * half)))
            log.writelines(line("DeleteDocument", own, number, "weg", f"2025{number:010d}", "") for number in range(20000))
            log.write(of_booking("DeleteDocument", "Kredi"))
            log.write(of_booking("SaveDocument", "Kredi")[:60])
            self.assertGreater(log.tell(), LONG_LOG)
        return logs

    def test_a_log_of_100_megabytes(self):
        logs = self.write_long_log()
        self.remove(self.ids["Debi"])
        before = self.files()
        peak = 0
        with self.station.checking("--reconcile", "--json", "--days", "99999", "--logs", windows_path(logs)) as process:
            while process.poll() is None:
                with contextlib.suppress(OSError, TypeError):
                    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="utf-8")
                    peak = max(peak, int(re.search(r"VmHWM:\s+(\d+) kB", status)[1]))
                time.sleep(0.05)
        abgleich = json.loads(self.station.running_output())["abgleich"]
        self.assertEqual(told(abgleich), [("nichtAbgelegt", 0, ""), ("nichtGeloescht", self.ids["Kredi"], ""),
                                          ("nichtPruefbar", 0, "")])
        self.assertEqual((process.returncode, abgleich["vollstaendig"]), (1, True))
        self.assertLess(peak, MOST_MEMORY)
        self.assertGreater(peak, 0)
        print(f"{peak / 1000:.0f} MB of memory for {LONG_LOG / 1e6:.0f} MB of logs", flush=True)
        self.assertEqual(self.files(), before)

    def test_progress_at_a_console(self):
        _, shown = self.station.run_at_a_console("--reconcile", "--days", "99999")
        self.assertRegex(shown, r"Maske Belege \(82\): 0 von 3 Einträgen, 0 Befunde")


if __name__ == "__main__":
    unittest.main()
