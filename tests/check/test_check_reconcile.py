"""kandora-check compares archive and accounting, and mends what it is asked to."""
import csv
import json
import re
import unittest

from checkstation import CLIENT_FOLDER, interrupt
from reconciling import KINDS, PROGRESS, ReconcilingCase, told
from workstation import LINES, MASKS, windows_path

# What kandora-check may say to an archive, with the members that are properties read only.
READING = {"Login", "EloWindow", "GetEntryId", "SelectView", "LookupDelimiter", "LookupIndex", "ReadObjMask", "PrepareObjectEx",
           "DoInvisibleSearch", "getobjAttrib", "ObjMainParent", "ObjShort"}
NASTY = "=Öl; \"süss\"\r\n</script><!--"


class Reconciling(ReconcilingCase):
    def test_nothing_is_wrong(self):
        abgleich = self.assert_found([])
        self.assertEqual((abgleich["geprueft"], abgleich["andere"]), (3, 0))
        self.assertEqual(abgleich["mandant"], json.loads(self.station.client.read_text(encoding="utf-8"))["mandant"])
        self.assertEqual([mask["maske"] for mask in abgleich["masken"]], [MASKS["Belege"], MASKS["Kredi"], MASKS["Debi"]])
        code, output, errors = self.station.run_text("--reconcile", "--days", "99999")
        self.assertEqual((code, errors), (0, ""))
        self.assertRegex(output, r"(?m)^.*Muster AG: 3 Einträge geprüft, 0 andere, keine Befunde$")
        self.assertNotRegex(output, PROGRESS)

    def test_only_reading_members_are_called(self):
        self.set_field("Debi", "Betrag", "1")
        self.copy(self.ids["Kredi"])
        trace = self.station.folder / "Aufrufe.txt"
        self.station.register_archive("--trace", windows_path(trace))
        self.assert_found([("abweichend", self.ids["Debi"], ""), ("doppelt", self.ids["Kredi"], "dokId")])
        self.station.stop_archive()
        calls = trace.read_text(encoding="utf-8").splitlines()
        self.assertEqual({re.match(r"\w+", call)[0] for call in calls} - READING, set())
        writing = re.compile(r"PrepareObjectEx\([^)]*I2 254|ObjShort =")
        self.assertEqual([call for call in calls if writing.search(call)], [])

    def test_each_kind(self):
        self.set_in_each("Betrag", "1.05")
        for kind, found in self.found_in_each("abweichend").items():
            booking = self.bookings[kind]
            self.assertEqual([field["feld"] for field in found["felder"]], ["Betrag"])
            self.assertEqual((found["felder"][0]["archiv"], found["nummer"], found["index"], found["dokId"]),
                             ("1.05", booking["belegNr"], booking["belegIndex"], booking["docId"]))
        self.set_in_each("Valutadatum", "1.1.1999")
        self.found_in_each("andereBuchung")
        self.set_in_each("BelegIndex", "99")
        self.found_in_each("ohneBuchung")
        self.set_in_each("BelegNr", "")
        self.set_in_each("SesamDocID", "")
        self.found_in_each("leer")
        for kind, number in self.ids.items():
            right = self.right_fields(kind)
            self.rewrite(number, lambda content: content.update(kurzbezeichnung="alt") or content["felder"].update(right))
        for kind, found in self.found_in_each("abweichend").items():
            self.assertEqual(found["felder"], [{"feld": "Kurzbezeichnung", "archiv": "alt",
                                                "buchhaltung": self.bookings[kind]["text"]}])
        for kind, number in self.ids.items():
            self.rewrite(number, lambda content: content.update(kurzbezeichnung=self.bookings[kind]["text"]))
        self.assert_found([])

    def found_in_each(self, art):
        """Nothing but a finding of this kind on each entry; they, by the documents' kinds."""
        findings = self.assert_found([(art, number, "") for number in self.ids.values()])["befunde"]
        return {kind: next(finding for finding in findings if finding["eintrag"] == number)
                for kind, number in self.ids.items()}

    def right_fields(self, kind):
        """As the preview tells them."""
        booking = self.bookings[kind]
        preview = self.station.check("--voucher", booking["belegNr"], booking["belegIndex"]).json["vorschau"]
        fields = {str(field["zeile"]): field["wert"] for field in preview["felder"] if field["wert"] is not None}
        return fields | {str(LINES[kind]["SesamDocID"]): booking["docId"]}

    def test_another_kind_and_pending(self):
        def swap(content):
            for booking in content["buchungen"]:
                booking["ursprung"] = {1: 2, 2: 0}.get(booking["ursprung"], 1)
        self.change_client(swap)
        expected = [("andereArt", number, "") for number in self.ids.values()]
        self.assert_found(expected)
        self.assert_found(expected + [("pendent", number, "") for number in self.ids.values()], "--days", "1")

    def test_the_files(self):
        self.rewrite(self.ids["Debi"], lambda content: content.update(kurzbezeichnung=NASTY))
        self.set_field("Debi", "Rechnungsdatum", "3.2.2001")
        sheet, page = self.station.folder / "Befunde.csv", self.station.folder / "Befunde.html"
        code, output, errors = self.station.run_text("--reconcile", "--days", "99999", "--csv", windows_path(sheet),
                                                     "--html", windows_path(page))
        self.assertEqual((code, errors), (1, ""))
        self.assertIn(f"Warnung  Abgleich: abweichend: Eintrag {self.ids['Debi']}, Beleg ", output)
        self.assertIn("1 Befund: 1 abweichend\n", output)
        data = sheet.read_bytes()
        self.assertTrue(data.startswith(b"\xef\xbb\xbfMandant;Befund;"))
        rows = list(csv.DictReader(data.decode("utf-8-sig").splitlines(keepends=True), delimiter=";"))
        self.assertEqual([(row["Feld"], row["Archiv"]) for row in rows],
                         [("Kurzbezeichnung", "'" + NASTY), ("Rechnungsdatum", "03.02.2001")])
        text = page.read_text(encoding="utf-8")
        self.assertNotIn("@DATEN@", text)
        self.assertNotIn("</script><!--", text)
        data = json.loads(re.search(r'<script type="application/json"[^>]*>(.*?)</script>', text, re.DOTALL)[1])
        self.assertEqual(data["befunde"][0]["felder"][0]["archiv"], NASTY)
        code, _, errors = self.station.run_text("--reconcile", "--csv", "K:\\gibt es nicht\\a.csv")
        self.assertEqual(code, 2)
        self.assertIn("lässt sich nicht schreiben", errors)

    def test_a_client_that_is_not_ready(self):
        options = self.station.option_values()
        self.station.set_options(options | {"112": f"{CLIENT_FOLDER}/Verschoben"})
        code, abgleich = self.reconcile()
        self.assertEqual((code, abgleich["vollstaendig"], abgleich["befunde"]), (2, False, []))

    def test_logs(self):
        self.station.settings["Debug"]["Test"] = "True"
        self.station.write_settings()
        requests = [f"{request} booking {booking['belegNr']} {booking['belegIndex']}"
                    for booking in self.bookings.values() for request in ("DocumentChanged", "SaveDocument")]
        for entry in self.ids.values():
            self.remove(entry)
        self.station.run_host(["InitProvider", *requests])
        ids = sorted(entry["id"] for entry in self.station.entries())
        # Filed by the change, and once more by the saving.
        doubles = self.assert_found([("doppelt", number, "dokId") for number in ids[::2]],
                                    "--logs", windows_path(self.station.install))
        self.assertEqual({finding["weitere"][0] for finding in doubles["befunde"]}, set(ids[1::2]))
        for number in ids:
            self.remove(number)
        logs = windows_path(self.station.install)
        abgleich = self.assert_found([("nichtAbgelegt", 0, "")] * 3, "--logs", logs)
        self.assertEqual({finding["dokId"] for finding in abgleich["befunde"]},
                         {booking["docId"] for booking in self.bookings.values()})
        self.assertRegex(abgleich["befunde"][0]["text"], r"^Die Anfrage \w+ vom [\d. ]{19} \(\S+\.log, Zeile \d+\) hat keinen ")
        (self.station.install / "fremd.log").write_bytes(b"\xff\x00 etwas anderes\r\n")
        self.assert_found([("nichtAbgelegt", 0, "")] * 3 + [("nichtPruefbar", 0, "")], "--logs", logs)

    def test_a_deletion_that_was_lost(self):
        self.station.settings["Debug"]["Test"] = "True"
        self.station.write_settings()
        booking = self.bookings["Debi"]
        self.station.stop_archive()
        self.station.register_archive(*self.station.script([{"call": "DeleteObj", "answer": -4}]))
        self.station.run_host(["InitProvider", f"DeleteDocument booking {booking['belegNr']} {booking['belegIndex']}"])
        self.station.stop_archive()
        self.station.register_archive()
        self.assert_found([("nichtGeloescht", self.ids["Debi"], "")], "--logs", windows_path(self.station.install))

    # ---- several clients -----------------------------------------------------------------------------------------

    def test_clients_by_their_paths(self):
        other, booking = self.station.folder / "Zweiter Mandant.json", self.bookings["Debi"]
        content = json.loads(self.station.client.read_text(encoding="utf-8"))
        content["buchungen"] = [one for one in content["buchungen"] if one["docId"] != booking["docId"]]
        self.station.write_json(other, content)
        missing = self.station.folder / "Fehlt.json"
        names = [windows_path(file) for file in (self.station.client, other, missing)]
        clients = self.station.folder / "Mandanten.txt"
        clients.write_text("\r\n".join(names[1:]) + "\r\n", encoding="utf-8")
        before = self.files()
        result = self.station.check("--reconcile", "--days", "99999", "--client", names[0],
                                    "--client", f"@{windows_path(clients)}")
        found = result.json["abgleiche"]
        self.assertEqual([(one["mandant"], one["vollstaendig"], told(one)) for one in found],
                         [(names[0], True, []), (names[1], True, [("ohneBuchung", self.ids["Debi"], "")]),
                          (names[2], False, [])])
        self.assertEqual(result.code, 2)
        self.assertEqual(self.files(), before)
        # The one that is open is still the accounting's own.
        self.assertEqual(self.station.check().find("Finanzbuchhaltung", "Mandant")["wert"], content["mandant"])
        code, output, errors = self.station.run_text("--reconcile", "--days", "99999", "--client", names[1],
                                                     "--client", names[0])
        self.assertEqual((code, errors), (1, ""))
        self.assertEqual([line.split(": ")[0] for line in output.splitlines()[-2:]], [names[1], names[0]])

    # ---- mending -------------------------------------------------------------------------------------------------

    def spoil(self):
        """An entry of each kind differs; what they held before."""
        before = {entry["id"]: entry for entry in self.station.entries()}
        for kind in KINDS:
            self.set_field(kind, "Betrag", "1")
            self.rewrite(self.ids[kind], lambda content: content.update(kurzbezeichnung="alt; \"ü\""))
        return before

    def test_reindexing(self):
        before = self.spoil()
        code, abgleich = self.reconcile("--yes", command="--reindex")
        self.assertEqual((code, sorted(abgleich["neuIndexiert"]["geschrieben"])), (0, sorted(self.ids.values())), abgleich)
        self.assertEqual({entry["id"]: entry for entry in self.station.entries()}, before)
        self.assert_found([])

    def test_reindexing_asks(self):
        self.spoil()
        spoilt = self.files()
        code, output, _ = self.station.run_text("--reindex", "--days", "99999")  # nobody answers
        self.assertEqual(code, 1)
        self.assertIn("3 Einträge neu schreiben?", output)
        self.assertEqual(self.files(), spoilt)

    def test_reindexing_asks_at_a_console(self):
        before = self.spoil()
        code, shown = self.reindex_at_a_console(lambda _, console: console.type("j\r"))
        self.assertEqual(code, 0)
        self.assertIn("3 Einträge neu schreiben? Der Status wird dabei «Pendent». [j/N]", shown)
        self.assertIn("3 Einträge neu geschrieben, 0 Einträge ausgelassen, 0 Einträge nicht versucht", shown)
        self.assertEqual({entry["id"]: entry for entry in self.station.entries()}, before)

    def reindex_at_a_console(self, answer):
        return self.station.run_at_a_console("--reindex", "--days", "99999", question="[j/N]", answer=answer)

    def test_reindexing_is_interrupted_at_its_question(self):
        """Who answers yes after all has been too late."""
        def answer(process, console):
            interrupt(process)
            console.type("j\r")
        self.spoil()
        spoilt = self.files()
        code, shown = self.reindex_at_a_console(answer)
        self.assertEqual(code, 2)
        self.assertIn("Neu schreiben: unterbrochen", shown)
        self.assertIn("0 Einträge neu geschrieben, 0 Einträge ausgelassen, 3 Einträge nicht versucht", shown)
        self.assertEqual(self.files(), spoilt)

    def test_the_console_is_closed_at_the_question(self):
        self.spoil()
        spoilt = self.files()
        code, _ = self.reindex_at_a_console(lambda _, console: console.close())
        self.assertEqual(code, 1)  # as if nobody answered
        self.assertEqual(self.files(), spoilt)

    def test_reindexing_leaves_what_is_not_hit_first(self):
        self.spoil()
        twin = self.copy(self.ids["Debi"])
        code, abgleich = self.reconcile("--yes", command="--reindex")
        self.assertEqual(code, 1)
        self.assertEqual(sorted(abgleich["neuIndexiert"]["geschrieben"]), sorted(self.ids.values()))
        self.assertEqual([(left["eintrag"], left["text"]) for left in abgleich["neuIndexiert"]["ausgelassen"]],
                         [(twin, f"Nummer und Index führen zuerst zu Eintrag {self.ids['Debi']}")])

    def test_reindexing_stops_at_a_failure(self):
        before = self.spoil()
        self.station.stop_archive()
        self.station.register_archive(*self.station.script([{"call": "UpdateObject", "nth": 2,
                                                             "fail": {"number": 5, "description": "Gesperrt"}}]))
        code, abgleich = self.reconcile("--yes", command="--reindex")
        self.assertEqual(code, 2)
        done = abgleich["neuIndexiert"]
        self.assertEqual((len(done["geschrieben"]), done["fehler"]), (1, "[5] Gesperrt"))
        self.station.stop_archive()
        self.station.register_archive()
        code, abgleich = self.reconcile("--yes", command="--reindex")
        self.assertEqual((code, len(abgleich["neuIndexiert"]["geschrieben"])), (0, 2))
        self.assertEqual({entry["id"]: entry for entry in self.station.entries()}, before)

    def test_a_log_tells_the_barcode(self):
        self.station.settings["Debug"]["Test"] = "True"
        self.station.write_settings()
        booking = self.bookings["Kredi"]
        self.station.run_host(["InitProvider", f"DocumentChanged booking {booking['belegNr']} {booking['belegIndex']}"])
        self.set_field("Kredi", "Barcode", "falsch")
        self.assert_found([])
        logs = ("--logs", windows_path(self.station.install))
        found = self.assert_found([("abweichend", self.ids["Kredi"], "")], *logs)["befunde"][0]
        self.assertEqual(found["felder"], [{"feld": "Barcode", "archiv": "falsch", "buchhaltung": booking["barcode"]}])
        code, _ = self.reconcile("--yes", *logs, command="--reindex")
        self.assertEqual(code, 0)
        self.assert_found([], *logs)


if __name__ == "__main__":
    unittest.main()
