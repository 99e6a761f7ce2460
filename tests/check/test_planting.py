"""What is planted for a reconciliation is what its expectation finds; comparing two reports tells every difference."""
import collections
import copy
import datetime
import json
import pathlib
import tempfile
import unittest

import expectation
import planting
from expectation import DOUBLES, KINDS, Accounting, Hit, Reconciliation, SwissTexts, differences
from workstation import Client

TODAY = datetime.date(2026, 11, 23)
# So that small masks have hits behind the last one that is examined.
LIMIT = 440


def found(report):
    """Kind, cause and entries or document id of each finding, counted."""
    counts = collections.Counter()
    for finding in report["befunde"]:
        entries = tuple(sorted([finding["eintrag"], *finding.get("weitere", [])])) if "eintrag" in finding else ()
        about = entries or finding["dokId"]
        counts[finding["art"], finding.get("wodurch"), about] += 1
    return counts


class Planted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.planting = planting.Planting(temporary.name, 450, 900, 1, TODAY, limit=LIMIT)
        cls.planting.write()
        cls.hits = expectation.read_hits(cls.planting.store)
        cls.report = cls.planting.expected(with_logs=True)
        cls.kinds = {hit.id: hit.kind for hits in cls.hits.values() for hit in hits}

    def of_kind(self, art):
        return [finding for finding in self.report["befunde"] if finding["art"] == art]

    def test_what_was_planted_is_expected_and_nothing_else(self):
        meant = collections.Counter(
            (art, by, about if isinstance(about, str) else tuple(sorted(entry.id for entry in about)))
            for art, by, about in self.planting.planted)
        self.assertGreater(meant.total(), 200)
        expected = found(self.report)
        beyond = {hit.id for hits in self.hits.values() for hit in hits[LIMIT:]}
        meant += collections.Counter(("unauffindbar", None, (entry.id,)) for entry in self.planting.of_client()
                                     if entry.id in beyond)
        self.assertEqual((meant - expected, expected - meant), (collections.Counter(), collections.Counter()))

    def test_every_finding_in_every_kind_of_document(self):
        arts = collections.defaultdict(set)
        for finding in self.report["befunde"]:
            if "eintrag" in finding:
                arts[finding["art"], finding.get("wodurch")].add(self.kinds[finding["eintrag"]])
        single = ["ohneBuchung", "andereArt", "abweichend", "andereBuchung", "leer", "unauffindbar", "pendent",
                  "nichtGeloescht"]
        self.assertEqual(dict(arts), dict.fromkeys([("doppelt", by) for by in DOUBLES] + [(art, None) for art in single],
                                                   set(KINDS)))
        self.assertEqual(len(self.of_kind("nichtAbgelegt")), 9)

    def test_every_field_differs_somewhere(self):
        fields = {field["feld"] for finding in self.of_kind("abweichend") for field in finding["felder"]}
        self.assertEqual(fields, {"Kurzbezeichnung", "Valutadatum", "Betrag", "Rechnungsdatum", "OPNr", "PKNr", "AdressNr",
                                  "Kundenname", "Kundenort", "Barcode"})

    def test_values_that_are_hard_to_carry(self):
        for side in ("archiv", "buchhaltung"):
            text = "".join(field[side] for finding in self.of_kind("abweichend") for field in finding["felder"])
            for part in ('"', ";", "\r\n", "Ä", "</script>"):
                self.assertIn(part, text, side)

    def test_findings_at_the_edges_of_each_mask(self):
        with_findings = {finding["eintrag"] for art in ("abweichend", "pendent") for finding in self.of_kind(art)}
        for kind, hits in self.hits.items():
            self.assertGreater(len(hits), LIMIT + 10)
            for place in (0, LIMIT - 1, LIMIT, len(hits) - 1):
                self.assertIn(hits[place].id, with_findings, (kind, place))
            self.assertEqual({hit.number for hit in hits}, set(range(len(hits))))

    def test_several_findings_on_one_entry(self):
        arts = collections.defaultdict(set)
        for finding in self.report["befunde"]:
            for entry in [finding.get("eintrag"), *finding.get("weitere", [])]:
                arts[entry].add(finding["art"])
        combined = {frozenset(of_entry) for of_entry in arts.values()}
        self.assertGreaterEqual(combined, {
            frozenset({"doppelt", "abweichend", "pendent"}), frozenset({"doppelt", "ohneBuchung", "pendent"}),
            frozenset({"andereArt", "abweichend", "pendent"}), frozenset({"andereBuchung", "pendent", "doppelt"}),
            frozenset({"ohneBuchung", "nichtGeloescht"}), frozenset({"abweichend", "pendent", "unauffindbar", "doppelt"})})

    def test_a_double_entry_in_a_later_mask_comes_first_when_the_earlier_one_lies_too_far_behind(self):
        order = {hit.id: hit for hits in self.hits.values() for hit in hits}
        crossing = [(order[finding["eintrag"]], order[finding["weitere"][0]]) for finding in self.of_kind("doppelt")]
        self.assertTrue([first for first, other in crossing if KINDS.index(first.kind) > KINDS.index(other.kind)
                         and first.number < LIMIT <= other.number])

    def test_without_logs(self):
        self.assertEqual({finding["art"] for finding in self.report["befunde"]}
                         - {finding["art"] for finding in self.planting.expected()["befunde"]},
                         {"nichtAbgelegt", "nichtGeloescht"})

    def test_what_cannot_be_loaded(self):
        ids = [self.hits["Debi"][at].id for at in (3, 50)]
        self.assertEqual([rule["args"] for rule in planting.failing(ids)], [[number] for number in ids])
        report = self.planting.expected(unreadable=ids[:1], vanished=ids[1:])
        self.assertEqual([finding for finding in report["befunde"] if finding.get("eintrag") in ids],
                         [{"art": "nichtPruefbar", "eintrag": ids[0], "treffer": 3}])
        self.assertEqual(report["geprueft"] + report["andere"], self.report["geprueft"] + self.report["andere"] - 2)

    def test_too_few_entries_are_refused(self):
        with self.assertRaisesRegex(ValueError, "too few entries"):
            planting.Planting(self.planting.directory / "klein", 100, 10, 1, TODAY)


class Mended(unittest.TestCase):
    def test_nothing_is_found(self):
        with tempfile.TemporaryDirectory() as directory:
            mended = planting.Planting(directory, *planting.SMALLEST, TODAY)
            mended.write()
            mended.mend()
            for with_logs in (False, True):
                self.assertEqual(mended.expected(with_logs=with_logs)["befunde"], [])
            content = json.loads(mended.client.read_text(encoding="utf-8"))
            report = mended.expected()
            self.assertEqual(report["geprueft"], len(content["buchungen"]))
            # Nothing that was not planted has been touched.
            self.assertEqual(sum(mask["eintraege"] for mask in report["masken"]), report["geprueft"] + report["andere"])


class Written(unittest.TestCase):
    """What the component writes, against the model of the whole runs."""

    def test_the_sample_client(self):
        client = Client()
        accounting = Accounting(client.content | {"optionen": {"600": dict.fromkeys(["109", "111", "112"], "")}}, SwissTexts())
        for booking in client.bookings:
            kind = Client.kind(booking)
            entry = client.expected_entry({"barcode": "", "docId": ""} | booking, SwissTexts(), "")
            values = accounting.written(booking)
            self.assertEqual(values.pop("Kurzbezeichnung"), entry["kurzbezeichnung"])
            self.assertEqual(values, {key: entry["felder"][str(line)] for key, line in expectation.LINES[kind].items()
                                      if key not in expectation.NOT_IN_THE_BOOKING})

    def test_texts(self):
        texts = SwissTexts()
        self.assertEqual([texts.amount(amount) for amount in (4850.0, 1085.1, 0.05, -37.25, 0, 100, 1e6, 88.1234)],
                         ["4850", "1085.1", "0.05", "-37.25", "0", "100", "1000000", "88.1234"])
        self.assertEqual((texts.date("2026-01-05"), texts.date(None)), ("05.01.2026", "00:00:00"))


class Pending(unittest.TestCase):
    def days(self, **values):
        accounting = Accounting({"mandant": "", "optionen": {"600": dict.fromkeys(["109", "111", "112"], "/A")},
                                 "buchungen": [], "adressen": [],
                                 **{table: {"debitoren": [], "kreditoren": []} for table in ("offenePosten", "konten")}},
                                SwissTexts())
        hit = Hit(7, "Belege", "/A", {"BelegNr": "1", "Belegstatus": "Pendent"} | values, 0)
        report = Reconciliation({"Belege": [hit], "Debi": [], "Kredi": []}, accounting, today=TODAY).report()
        return "pendent" in [finding["art"] for finding in report["befunde"]]

    def test_more_days_than_thirty(self):
        for wanted, values in ((False, {"SesamDocID": "20261024000000"}), (True, {"SesamDocID": "20261023235959"}),
                               (True, {"SesamDocID": "20261399000000", "Valutadatum": "23.10.2026"}),
                               (True, {"SesamDocID": "ALT-1", "Valutadatum": "01.01.2025"}),
                               (False, {"SesamDocID": "ALT-1", "Valutadatum": "24.10.2026"}),
                               (False, {"SesamDocID": "20261123080000", "Valutadatum": "01.01.2025"}),
                               (False, {"SesamDocID": "ALT-1", "Valutadatum": "bald"}),
                               (False, {"SesamDocID": "20250101000000", "Belegstatus": "Erfasst"})):
            self.assertEqual(self.days(**values), wanted, values)


class Requests(unittest.TestCase):
    def test_lines_of_all_kinds(self):
        with tempfile.TemporaryDirectory() as directory:
            log = pathlib.Path(directory, "20261101_080000_Kandora_user_PC_.log")
            log.write_bytes("\r\n".join([
                "01.11.2026 08.00.00 | DMSProvider_InitProvider  []",
                "01.11.2026 09.00.00 | DMSProvider_DeleteDocument  [D1]  [[1/1, C:\\A, 1, 1, B1]]",
                "01.11.2026 08.30.00 | DMSProvider_SaveDocument  [D1]  [[1/1, C:\\A, 1, 1, Ä, [2]]]",
                "01.11.2026 08.30.00 | DMSProvider_SaveDocument  [D2]  [[1/1, C:\\B, 1, 1, B]]",
                "01.11.2026 08.31.00 | DMSProvider_ShowDocument  [D1]  [[1/1, C:\\A, 1, 1, B]]",
                "01.11.2026 08.31.00 | DMSProvider_SaveDocument  [D1]  [[1/1, C:\\A, 1", "2026"]).encode("cp1252"))
            requests = expectation.read_requests(directory, "C:\\A")
            self.assertEqual({identity: [(request.name, request.barcode) for request in told]
                              for identity, told in requests.items()},
                             {"D1": [("SaveDocument", "Ä, [2]"), ("DeleteDocument", "B1")]})


class Differences(unittest.TestCase):
    REPORT = {"vollstaendig": True, "mandant": "C:\\Daten\\Muster AG", "geprueft": 3, "andere": 9,
              "masken": [{"maske": 82, "eintraege": 12}], "befunde": [
                  {"art": "doppelt", "eintrag": 5, "treffer": 1, "nummer": "1", "wodurch": "dokId", "weitere": [8, 9]},
                  {"art": "doppelt", "eintrag": 5, "treffer": 1, "nummer": "1", "wodurch": "barcode", "weitere": [8]},
                  {"art": "abweichend", "eintrag": 5, "treffer": 1, "felder": [
                      {"feld": "Betrag", "archiv": "", "buchhaltung": "2"},
                      {"feld": "Barcode", "archiv": "a\r\n", "buchhaltung": "a"}]},
                  {"art": "nichtAbgelegt", "nummer": "7", "index": "1", "dokId": "D7"}]}

    def changed(self, change):
        actual = copy.deepcopy(self.REPORT)
        change(actual["befunde"], actual)
        return differences(self.REPORT, actual)

    def test_the_same_in_another_order_and_with_more_keys(self):
        def change(findings, report):
            findings.reverse()
            findings[1]["felder"].reverse()
            findings[3]["weitere"].reverse()
            findings[0]["text"], findings[0]["barcode"], report["grund"] = "Ein Satz.", "", ""
            report["mandant"] = "Muster AG"
        self.assertEqual(self.changed(change), [])

    def test_a_missed_one(self):
        self.assertEqual(self.changed(lambda findings, _: findings.pop(1)),
                         ["missed: doppelt, by barcode, eintrag 5, treffer 1, nummer '1', with [8]"])
        self.assertEqual(self.changed(lambda findings, _: findings.pop(3)),
                         ["missed: nichtAbgelegt, nummer '7', index '1', dokId 'D7'"])

    def test_an_invented_one(self):
        self.assertEqual(self.changed(lambda findings, _: findings.append({"art": "leer", "eintrag": 6, "treffer": 2})),
                         ["invented: leer, eintrag 6, treffer 2"])
        self.assertEqual(len(self.changed(lambda findings, _: findings.append(findings[0]))), 1)

    def test_another_value(self):
        for change in (lambda findings, _: findings[0].update(treffer=2), lambda findings, _: findings[0].pop("nummer"),
                       lambda findings, _: findings[0].update(weitere=[8]),
                       lambda findings, _: findings[2]["felder"][0].update(archiv="1"),
                       lambda findings, _: findings[2]["felder"][1].update(archiv="a\n"),
                       lambda findings, _: findings[2]["felder"].pop(),
                       lambda findings, _: findings[2]["felder"].append({"feld": "PKNr", "archiv": "", "buchhaltung": ""}),
                       lambda findings, _: findings[3].update(barcode="B"),
                       lambda _, report: report.update(vollstaendig=False), lambda _, report: report.update(geprueft=4),
                       lambda _, report: report.pop("andere"), lambda _, report: report.update(mandant="Andere AG"),
                       lambda _, report: report["masken"].append({"maske": 55, "eintraege": 1})):
            self.assertEqual(len(self.changed(change)), 1, self.changed(change))
        self.assertIn("felder Betrag is ('1', '2') instead of ('', '2')",
                      self.changed(lambda findings, _: findings[2]["felder"][0].update(archiv="1"))[0])
