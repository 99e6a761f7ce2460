#!/usr/bin/env python3
"""Makes an archive's store, a client and logs in which a reconciliation has everything to find, and puts them right again.

    planting.py DIRECTORY [ENTRIES OTHERS [REPEATS]]    for trying by hand; without numbers the full form

Each finding is planted in every document kind to which it applies, alone and several on one entry, in the first, the last
examined, the first unexamined and the last hit of each mask, and with values that are hard to carry. Beside the findings stands
what looks like one and is none. `planted` says what was meant; what must be found is derived from the files (expectation.py).
"""
import collections
import copy
import dataclasses
import datetime
import itertools
import json
import pathlib
import random
import shutil
import sys

from expectation import (
    HITS_EXAMINED, KINDS, LEDGERS, NOT_IN_THE_BOOKING, PENDING, SHORT_NAME, Accounting, SwissTexts, expected)
from workstation import LINES, MASKS, TOP_FOLDER, archive_settings

MANDANT = "C:\\Daten\\Mandanten\\Prüf & Söhne AG"
NEIGHBOUR = "C:\\Daten\\Mandanten\\Nachbar 01"
CLIENT_FOLDER = f"/{TOP_FOLDER}/Prüf & Söhne AG"
FOLDER_NAMES = {"Belege": "Buchungen", "Debi": "Debi", "Kredi": "Kredi", "Auswertung": "Auswertungen"}
OPTION_KEYS = {"Belege": "109", "Auswertung": "110", "Debi": "111", "Kredi": "112"}
ORIGINS = {"Belege": 0, "Debi": 1, "Kredi": 2}
ENTRIES_PER_FOLDER = 500
DONE = "Erfasst"
ONE_DAY, ONE_SECOND = datetime.timedelta(days=1), datetime.timedelta(seconds=1)
# Booked so many days ago and earlier: far beyond what counts as pending for long.
OLDEST, YOUNGEST = 430, 70
# The smallest form that has every finding once: entries of the client, of others, repetitions.
SMALLEST = 450, 150, 1
# Values that are hard to carry through JSON, CSV, HTML and consoles.
NASTY = ['Öl; Äpfel "süss" & Co', "zwei\r\nZeilen", "Tab\tund; Semikolon", "=SUMME(A1;A2)", "</script><b>fett</b>",
         "O'Neill \\ @DATEN@ %s {0}", " Leerzeichen aussen ", "Zeile\nallein", "\u2028Trenner\u2029 und \U0001F4C4", "-5 +3 @x",
         "<!--<script>", "ZÜRICH – «Müller» …"]
AMOUNTS = [120.5, 4850.0, 0.05, -37.25, 1234567.89, 19.9, 0.0, 88.1234]


@dataclasses.dataclass(eq=False)
class Entry:
    """An entry of the archive; `right` is what it should be, and None for one that should not be there."""
    kind: str
    folder: str
    values: dict
    id: int = 0
    right: object = None

    def state(self):
        return self.kind, self.folder, dict(self.values)

    def put_right(self):
        self.kind, self.folder, self.values = self.right[0], self.right[1], dict(self.right[2])

    def content(self):
        lines = LINES[self.kind]
        return {"id": self.id, "maske": MASKS[self.kind], "kurzbezeichnung": self.values[SHORT_NAME],
                "felder": {str(lines[key]): value for key, value in self.values.items() if key in lines},
                "abgelegt": "2026-11-20T10:11:12"}


@dataclasses.dataclass
class Voucher:
    booking: dict
    entry: Entry


class Planting:
    """`entries` of the client among `others`, every finding `repeats` times in each kind; a look-up ends after `limit` hits.
    Some 450 entries of the client are needed for each repetition; ValueError when they are fewer.

    In the folder of a workstation that has stopped its archive, it takes the place of that one's store and client:
    Planting(station.folder, placeholder=windows_path(station.placeholder)).write()"""

    def __init__(self, directory, entries=10000, others=20000, repeats=3, today=None, texts=None, limit=HITS_EXAMINED,
                 placeholder="C:\\Kandora\\Platzhalter.pdf"):
        self.directory = pathlib.Path(directory)
        self.store, self.client, self.logs = (self.directory / name for name in ("Archiv", "Mandant.json", "Protokolle"))
        self.today = today or datetime.date.today()
        self.texts, self.limit = texts or SwissTexts(), limit
        self.planted = []  # kind of finding, by what an entry is double, entries; or the identity of a request
        self._chance = random.Random(16)
        self._serial = itertools.count(1)
        self._nasty = itertools.cycle(NASTY)
        self._entries = []  # all that the store holds, in no order
        self._missing = []  # that should be there
        self._pinned = collections.defaultdict(list)
        self._lines = []  # of the logs: time, text
        self._of_neighbours = {}  # entries of other clients that may be made to look like something
        self._content = self._client_without_bookings(placeholder)
        self._vouchers = {kind: [self._voucher(kind) for _ in range(entries // 3 + (place < entries % 3))]
                          for place, kind in enumerate(KINDS)}
        self._right_content = copy.deepcopy(self._content)
        self._plain = {kind: self._plain_vouchers(kind) for kind in KINDS}
        self._others(others, entries)
        for _ in range(repeats):
            for kind in KINDS:
                self._plant(kind)
        for kind in KINDS:
            self._plant_at_places(kind)
        self._plant_across_kinds()
        self._number()

    # ---- what is as it should be ---------------------------------------------------------------------------------

    def _client_without_bookings(self, placeholder):
        options = {"100": "true", "105": placeholder}
        options |= {key: f"{CLIENT_FOLDER}/{FOLDER_NAMES[kind]}" for kind, key in OPTION_KEYS.items()}
        partners = range(1001, 1041)
        addresses = [{"adressId": 4000 + number, "firma": NASTY[number % 4] if number % 5 == 0 else f"Käufer {number} AG",
                      "plz": str(3000 + number), "ort": "" if number % 7 == 0 else f"Bürglen {number}"} for number in partners]
        return {"mandant": MANDANT, "geschaeftsjahr": self.today.year, "optionen": {"600": options}, "buchungen": [],
                "offenePosten": {ledger: [] for ledger in LEDGERS.values()},
                "konten": {ledger: [{"pkNr": number, "adressId": 4000 + number} for number in partners]
                           for ledger in LEDGERS.values()},
                "adressen": addresses}

    def _voucher(self, kind):
        """A booking as the accounting has it, with the entry that was filed for it."""
        serial = next(self._serial)
        # A few are so young that they may wait for their scan.
        age = self._chance.randint(0, 30) if serial % 11 == 0 else self._chance.randint(YOUNGEST, OLDEST)
        date = self.today - datetime.timedelta(days=age)
        booking = {"belegNr": f"{kind[0]}{10000 + serial}", "belegIndex": str(1 + serial % 3), "ursprung": ORIGINS[kind],
                   "text": next(self._nasty) if serial % 9 == 0 else f"Rechnung {serial}, Büro & Lager",
                   "datum": date.isoformat(), "betrag": AMOUNTS[serial % len(AMOUNTS)],
                   "opNr": "" if kind == "Belege" or serial % 13 == 0 else f"OP-{serial}", "barcode": f"PR{serial:08d}",
                   "docId": self._document_id(date, serial)}
        self._content["buchungen"].append(booking)
        # Every now and then the open item cannot be found.
        if booking["opNr"] and serial % 17:
            self._content["offenePosten"][LEDGERS[kind]].append(
                {"opNr": booking["opNr"], "datum": (date - datetime.timedelta(days=3)).isoformat(),
                 "betragFaktura": AMOUNTS[serial % 5], "pkNr": 1001 + serial % 45})
        return Voucher(booking, None)

    @staticmethod
    def _document_id(date, serial):
        """As the component makes them, no two alike."""
        clock = datetime.datetime.min + datetime.timedelta(seconds=serial % 86400)
        return date.strftime("%Y%m%d") + clock.strftime("%H%M%S")

    def _plain_vouchers(self, kind):
        """Files everything and answers the vouchers that findings can be planted on."""
        accounting = Accounting(self._content, self.texts)
        for voucher in self._vouchers[kind]:
            booking = voucher.booking
            is_young = (self.today - datetime.date.fromisoformat(booking["datum"])).days < YOUNGEST
            values = {"Barcode": booking["barcode"], "BelegNr": booking["belegNr"], "BelegIndex": booking["belegIndex"],
                      "Belegstatus": PENDING if is_young else DONE, "SesamDocID": booking["docId"]}
            voucher.entry = self._file(kind, self._folder(kind), values | accounting.written(booking))
            voucher.entry.right = voucher.entry.state()
        # The last one has lookalikes; where the open item or a part of the address is missing, not every field could differ.
        plain = [voucher for voucher in self._vouchers[kind][:-1] if voucher.entry.values["Belegstatus"] == DONE
                 and (kind == "Belege" or "Bürglen" in voucher.entry.values["Kundenort"])]
        self._chance.shuffle(plain)
        return iter(plain)

    @staticmethod
    def _folder(kind):
        return f"{CLIENT_FOLDER}/{FOLDER_NAMES[kind]}"

    def _file(self, kind, folder, values):
        entry = Entry(kind, folder, values)
        self._entries.append(entry)
        return entry

    def _others(self, count, entries):
        """Entries of other clients, so many in each mask that all masks are equally full; some look like the client's."""
        share = {kind: (entries + count) // 3 + (place < (entries + count) % 3) - len(self._vouchers[kind])
                 for place, kind in enumerate(KINDS)}
        for kind, number in share.items():
            for at in range(number):
                folder = f"/{TOP_FOLDER}/Nachbar {1 + at // ENTRIES_PER_FOLDER:02d}/{FOLDER_NAMES[kind]}"
                values = {"BelegNr": str(at), "BelegIndex": "1", "SesamDocID": f"19990101{at:06d}", "Belegstatus": PENDING,
                          "Barcode": f"NB{at:06d}", SHORT_NAME: f"Beleg {at}"}
                self._file(kind, folder, dict.fromkeys(LINES[kind], "") | values)
        for kind in KINDS:
            self._of_neighbours[kind] = iter([entry for entry in self._entries if entry.right is None and entry.kind == kind])
            twin = self._vouchers[kind][-1].entry.values
            # In a neighbour's folder, below one of the client's, among the client's reports.
            for folder in (f"/{TOP_FOLDER}/Nachbar 01/Alt", f"{self._folder(kind)}/Alt", self._folder("Auswertung")):
                same = next(self._of_neighbours[kind])
                same.folder, same.values = folder, twin | {"Belegstatus": PENDING}
                same.right = same.state()
        for entry in self._entries:
            entry.right = entry.right or entry.state()
        # Reports have a mask of their own, which is not looked at.
        report = self._file("Auswertung", self._folder("Auswertung"), {SHORT_NAME: "Saldobilanz", "DatumVon": "01.01.2026"})
        report.right = report.state()

    # ---- what is planted -----------------------------------------------------------------------------------------

    def _take(self, kind):
        voucher = next(self._plain[kind], None)
        if voucher is None:
            raise ValueError(f"too few entries of the kind {kind} for so much to plant")
        return voucher

    def _other_value(self):
        """That no entry has."""
        return f"{next(self._nasty)} (früher)"

    def _take_entry(self, kind):
        return self._take(kind).entry

    def _note(self, finding, *entries, by=None):
        self.planted.append((finding, by, entries))

    def _copy(self, entry, **values):
        """A second entry, which should not be there."""
        return self._file(entry.kind, entry.folder, entry.values | values)

    def _lose_booking(self, voucher):
        self._content["buchungen"].remove(voucher.booking)

    def _plant(self, kind):
        """Each finding once, and what is none."""
        for plant in (self._doubles, self._without_booking, self._of_another_kind, self._different_fields,
                      self._another_booking, self._blank, self._pending, self._several, self._traced, self._none):
            plant(kind)

    def _doubles(self, kind):
        first = self._take_entry(kind)
        self._note_doubles(first, self._copy(first))
        first = self._take_entry(kind)
        self._note_doubles(first, self._copy(first), self._copy(first))
        first, second = self._take_entry(kind), self._take_entry(kind)
        second.values["SesamDocID"] = first.values["SesamDocID"]
        self._note("doppelt", first, second, by="dokId")
        first, second = self._take_entry(kind), self._take_entry(kind)
        second.values["Barcode"] = first.values["Barcode"]
        self._note("doppelt", first, second, by="barcode")
        first = self._take_entry(kind)
        second = self._copy(first, SesamDocID=self._old_id(), Barcode=f"Ä;\"{next(self._serial)}\"")
        self._note("doppelt", first, second, by="nummer")
        first.values["Barcode"] = ""

        # Two groups: what the third one shares is nothing new of the first two.
        first = self._take_entry(kind)
        second, third = self._copy(first), self._copy(first, SesamDocID=self._old_id())
        self._note("doppelt", first, second, by="dokId")
        self._note("doppelt", first, second, third, by="nummer")

    def _note_doubles(self, *entries):
        """That number and barcode are the same, too, is nothing new."""
        self._note("doppelt", *entries, by="dokId")

    def _old_id(self):
        """A document id of a time in which nobody else has one."""
        return self._document_id(self.today - datetime.timedelta(days=600), next(self._serial))

    def _without_booking(self, kind):
        voucher = self._take(kind)
        self._lose_booking(voucher)
        self._note("ohneBuchung", voucher.entry)
        for values in ({"BelegIndex": "9"}, {"BelegIndex": ""}, {"BelegNr": "", "BelegIndex": ""},
                       {"BelegNr": f"Ü;\"{next(self._serial)}\"\r\n"}):
            entry = self._take_entry(kind)
            entry.values |= values
            self._note("ohneBuchung", entry)

    def _of_another_kind(self, kind):
        for other in KINDS:
            if other == kind:
                continue
            for place, mask in ((other, kind), (kind, other), (other, other)):
                entry = self._take_entry(kind)
                entry.kind, entry.folder = mask, self._folder(place)
                entry.values = {key: entry.values.get(key, "") for key in [SHORT_NAME, *LINES[mask]]}
                self._note("andereArt", entry)

    @staticmethod
    def _comparable(kind):
        return [SHORT_NAME, *(key for key in LINES[kind] if key not in NOT_IN_THE_BOOKING)]

    def _different_fields(self, kind):
        for key in self._comparable(kind):
            entry = self._take_entry(kind)
            entry.values[key] = self._other_value()
            self._note("abweichend", entry)
        # Everything but the date, which with the amount would make it another booking.
        entry = self._take_entry(kind)
        entry.values |= {key: self._other_value() for key in self._comparable(kind) if key != "Valutadatum"}
        self._note("abweichend", entry)
        # Hardly to be seen.
        for text, changed in (("Zwei\r\nZeilen", "Zwei\nZeilen"), ("Ende", "Ende "), ("Müller", "müller"), ("Öl", "O\u0308l"),
                              ("Text", ""), *((text, f"{text} 2") for text in NASTY)):
            voucher = self._take(kind)
            self._correct(voucher, text)
            voucher.entry.values[SHORT_NAME] = changed
            self._note("abweichend", voucher.entry)
        voucher = self._take(kind)
        voucher.entry.values["Betrag"] += "0"
        self._note("abweichend", voucher.entry)

    def _correct(self, voucher, text):
        """The booking has always read like this."""
        right = self._right_content["buchungen"]
        right[right.index(voucher.booking)]["text"] = voucher.booking["text"] = text
        voucher.entry.right[2][SHORT_NAME] = voucher.entry.values[SHORT_NAME] = text

    def _another_booking(self, kind):
        for values in ({}, {SHORT_NAME: self._other_value()}):
            entry = self._take_entry(kind)
            entry.values |= {"Valutadatum": "24.12.2019", "Betrag": "77.7"} | values
            self._note("andereBuchung", entry)

    def _blank(self, kind):
        empty = dict.fromkeys([*LINES[kind], SHORT_NAME], "")
        for values in ({}, {"Barcode": f"LEER{next(self._serial)}", "Belegstatus": DONE}, {SHORT_NAME: "ö;\"", "Betrag": "5"}):
            entry = self._file(kind, self._folder(kind), empty | values)
            self._note("leer", entry)

    def _pending(self, kind):
        """For long: by the document id, or by the value date when that is none."""
        entry = self._take_entry(kind)
        entry.values["Belegstatus"] = PENDING
        self._note("pendent", entry)
        serial = next(self._serial)
        for identity in (f"ALT-{serial}", f"20261399{serial:06d}", ""):
            entry = self._take_entry(kind)
            entry.values |= {"Belegstatus": PENDING, "SesamDocID": identity}
            self._note("pendent", entry)
        # Early on the last day that counts, late on the first one that does not: nobody else has a document id of then.
        midnight = datetime.datetime.combine(self.today - datetime.timedelta(days=30), datetime.time())
        step = datetime.timedelta(seconds=next(self._serial) % 3600)
        for moment in (midnight - ONE_DAY + step, midnight + ONE_DAY - ONE_SECOND - step):
            entry = self._take_entry(kind)
            entry.values |= {"Belegstatus": PENDING, "SesamDocID": moment.strftime("%Y%m%d%H%M%S")}
            if moment < midnight:
                self._note("pendent", entry)

    def _several(self, kind):
        """Several findings on one entry."""
        entry = self._take_entry(kind)
        entry.values |= {"Belegstatus": PENDING, SHORT_NAME: self._other_value()}
        twin = self._copy(entry, Betrag="3.1")
        for double in (entry, twin):
            self._note("pendent", double)
            self._note("abweichend", double)
        self._note_doubles(entry, twin)

        voucher = self._take(kind)
        self._lose_booking(voucher)
        voucher.entry.values["Belegstatus"] = PENDING
        twin = self._copy(voucher.entry)
        for double in (voucher.entry, twin):
            self._note("ohneBuchung", double)
            self._note("pendent", double)
        self._note_doubles(voucher.entry, twin)

        entry = self._take_entry(kind)
        entry.folder = self._folder(KINDS[KINDS.index(kind) - 1])
        entry.values |= {"Belegstatus": PENDING, "Valutadatum": "31.12.2018"}
        for finding in ("andereArt", "abweichend", "pendent"):
            self._note(finding, entry)

        entry, double = self._take_entry(kind), self._take_entry(kind)
        entry.values |= {"Belegstatus": PENDING, "Valutadatum": "01.02.2017", "Betrag": "-1",
                         "Barcode": double.values["Barcode"]}
        self._note("andereBuchung", entry)
        self._note("pendent", entry)
        self._note("doppelt", entry, double, by="barcode")

    def _none(self, kind):
        """Nothing to be found: identities that are empty or almost the same."""
        for key, value in (("Barcode", ""), ("SesamDocID", "")):
            for _ in range(2):
                self._take_entry(kind).values[key] = value
        first, second = self._take_entry(kind), self._take_entry(kind)
        number = next(self._serial)
        first.values["Barcode"], second.values["Barcode"] = f"xä{number}", f"Xä{number}"
        first, second = self._take_entry(kind), self._take_entry(kind)
        first.values["SesamDocID"] = second.values["SesamDocID"] + " "

    # ---- traced requests -----------------------------------------------------------------------------------------

    def _trace(self, request, entry_values, mandant=MANDANT, days=90, **values):
        told = {**entry_values, **values}
        number, index = told["BelegNr"], told["BelegIndex"]
        moment = datetime.datetime.combine(self.today, datetime.time(8)) - datetime.timedelta(days=days)
        moment += datetime.timedelta(seconds=len(self._lines))
        self._lines.append((moment, f"DMSProvider_{request}  [{told['SesamDocID']}]  "
                                    f"[[{number}/{index}, {mandant}, {number}, {index}, {told['Barcode']}]]"))

    def _withhold(self, kind, request, **values):
        """An entry that should have been filed for the request and was not; mending files it."""
        entry = self._take_entry(kind)
        self._entries.remove(entry)
        self._missing.append(entry)
        entry.right[2].update(values)
        self._trace(request, entry.right[2])
        self.planted.append(("nichtAbgelegt", None, entry.values["SesamDocID"]))
        return entry

    def _traced(self, kind):
        self._withhold(kind, "SaveDocument")
        self._withhold(kind, "DocumentChanged", Barcode=f"Ä-{next(self._serial)}")

        voucher = self._take(kind)
        self._lose_booking(voucher)
        self._right_content["buchungen"].remove(voucher.booking)
        voucher.entry.right = None
        self._trace("SaveDocument", voucher.entry.values, days=99)
        self._trace("DeleteDocument", voucher.entry.values)
        self._note("nichtGeloescht", voucher.entry)
        self._note("ohneBuchung", voucher.entry)

        entry = self._take_entry(kind)
        self._trace("DocumentChanged", entry.values)
        entry.values["Barcode"] = f"FALSCH {next(self._serial)}"
        self._note("abweichend", entry)

        # A neighbour's voucher of the same number is not what was to be filed.
        entry = self._withhold(kind, "SaveDocument")
        same = next(self._of_neighbours[kind])
        same.values |= {key: entry.values[key] for key in ("BelegNr", "BelegIndex")}
        same.right = same.state()

        # Filed, deleted and filed again; changed without barcode; not filed for want of one; asked for without effect.
        again = self._take_entry(kind)
        for request, days in (("SaveDocument", 99), ("DeleteDocument", 98), ("SaveDocument", 97)):
            self._trace(request, again.values, days=days)
        self._trace("DocumentChanged", self._take_entry(kind).values, Barcode="")
        gone = {key: f"{kind}-{next(self._serial)}" for key in ("BelegNr", "BelegIndex", "SesamDocID", "Barcode")}
        self._trace("SaveDocument", gone, Barcode="")
        self._trace("SetDocumentStatus", gone)
        self._trace("ShowDocument", gone)
        # Taken away again, as it should be; of another client, and there it is.
        self._trace("SaveDocument", gone, days=80)
        self._trace("DeleteDocument", gone, days=79)
        self._trace("SaveDocument", next(self._of_neighbours[kind]).values, mandant=NEIGHBOUR)

    # ---- where it lies -------------------------------------------------------------------------------------------

    def _plant_at_places(self, kind):
        """Several findings in the first, the last examined, the first unexamined and the last hit."""
        for _ in range(4):
            entry = self._take_entry(kind)
            entry.values |= {SHORT_NAME: self._other_value(), "Belegstatus": PENDING}
            self._pinned[kind].append(entry)
            self._note("abweichend", entry)
            self._note("pendent", entry)
        # One that a look-up reaches, and one that it does not: which number leads to it depends on where it lies.
        self._pinned[kind].append(self._copy(self._pinned[kind][3]))
        self._note_doubles(*self._pinned[kind][3:])
        for finding in ("abweichend", "pendent"):
            self._note(finding, self._pinned[kind][4])

    def _plant_across_kinds(self):
        """The same voucher in two masks: a look-up hits that of the mask that comes first, unless it never comes so far."""
        for right, wrong in itertools.permutations(KINDS, 2):
            entry = self._take_entry(right)
            twin = self._copy(entry)
            twin.kind, twin.folder = wrong, self._folder(wrong)
            twin.values = {key: entry.values.get(key, "") for key in [SHORT_NAME, *LINES[wrong]]}
            self._note("andereArt", twin)
            self._note_doubles(entry, twin)
            self._pinned[wrong].append(twin)

    def _number(self):
        """Orders each mask's hits, the pinned ones at their places, and gives out the ids across the masks."""
        hits = []
        for kind in KINDS:
            pinned = self._pinned[kind]
            movable = [entry for entry in self._entries if entry.kind == kind and entry not in pinned]
            self._chance.shuffle(movable)
            count = len(movable) + len(pinned)
            edge = self.limit if count > self.limit + 20 else count // 2
            # The others that are pinned lie at the end, behind the edge.
            places = [0, edge - 1, edge, count - 1, 5, *range(count - 2, count - 2 - len(pinned) + 5, -1)]
            order = dict(zip(places, pinned))
            rest = iter(movable)
            hits.append([order.get(place) or next(rest) for place in range(count)])
        reports = [entry for entry in self._entries if entry.kind == "Auswertung"]
        levels = sorted({level for entry in self._entries + self._missing for level in self._levels(entry.folder)}
                        | {level for kind in FOLDER_NAMES for level in self._levels(self._folder(kind))})
        self._folder_ids = {level: 2 + at for at, level in enumerate(levels)}
        numbers = itertools.count(2 + len(levels))
        for entry in [entry for row in itertools.zip_longest(*hits) for entry in row if entry is not None] + reports:
            entry.id = next(numbers)
        self._next = numbers

    @staticmethod
    def _levels(folder):
        names = folder.strip("/").split("/")
        return [tuple(names[:depth]) for depth in range(1, len(names) + 1)]

    # ---- files ---------------------------------------------------------------------------------------------------

    def _directory(self, folder):
        return self.store.joinpath("Ordner", *folder.strip("/").split("/"))

    def _write_entry(self, entry):
        path = self._directory(entry.folder) / f"{entry.id}.json"
        path.write_text(json.dumps(entry.content(), ensure_ascii=False), encoding="utf-8")

    def _write_client(self, content):
        self.client.write_text(json.dumps(content, ensure_ascii=False, indent=1), encoding="utf-8")

    def _write_counter(self):
        (self.store / "zaehler.json").write_text(json.dumps({"naechste": next(self._next)}), encoding="utf-8")
        # It only spares the next start the reading of everything.
        (self.store / "archiv.index").unlink(missing_ok=True)

    def write(self):
        """The archive must not be running."""
        for directory in (self.store, self.logs):
            shutil.rmtree(directory, ignore_errors=True)
            directory.mkdir(parents=True)
        (self.store / "archiv.json").write_text(json.dumps(archive_settings(), ensure_ascii=False), encoding="utf-8")
        for level, number in self._folder_ids.items():
            directory = self._directory("/".join(level))
            directory.mkdir(parents=True, exist_ok=True)
            (directory / "ordner.json").write_text(json.dumps({"id": number, "name": level[-1]}, ensure_ascii=False), "utf-8")
        for entry in self._entries:
            self._write_entry(entry)
        self._write_client(self._content)
        self._write_counter()
        self._write_logs()

    def _write_logs(self):
        """As two users' accountings wrote them, each with its own file."""
        for user in range(2):
            lines = sorted(self._lines)[user::2]
            if lines:
                begun = lines[0][0]
                head = [(begun, "DMSProvider_InitProvider  []"), (begun, "DMSProvider_GetOpenDocInfo[Kein Parameter]")]
                text = "".join(f"{moment:%d.%m.%Y %H.%M.%S} | {line}\r\n" for moment, line in head + lines)
                (self.logs / f"{begun:%Y%m%d_%H%M%S}_Kandora_user{user}_PC01_.log").write_bytes(text.encode("cp1252"))

    def mend(self):
        """Puts everything right in the files; the archive must not be running."""
        for entry in self._entries:
            if entry.right is None or entry.right != entry.state():
                (self._directory(entry.folder) / f"{entry.id}.json").unlink()
                if entry.right is not None:
                    entry.put_right()
                    self._write_entry(entry)
        self._entries = [entry for entry in self._entries if entry.right is not None] + self._missing
        for entry in self._missing:
            entry.id = next(self._next)
            entry.put_right()
            self._write_entry(entry)
        self._missing = []
        self._content = self._right_content
        self._write_client(self._content)
        self._write_counter()

    def of_client(self):
        """The entries in the client's three folders."""
        places = [self._folder(kind) for kind in KINDS]
        return [entry for entry in self._entries if entry.folder in places and entry.kind in KINDS]

    def expected(self, with_logs=False, **options):
        """What must be found now; `options` are those of expectation.Reconciliation."""
        return expected(self.store, self.client, self.texts, logs=self.logs if with_logs else None,
                        **{"today": self.today, "limit": self.limit} | options)


def failing(ids):
    """Rules for the archive: these entries cannot be loaded."""
    return [{"call": "PrepareObjectEx", "args": [number], "fail": {"number": 70, "description": "Gesperrt; \"ö\"",
                                                                   "source": "Archiv"}} for number in ids]


def vanished(ids):
    """Rules for the archive: these entries are gone when they are to be loaded."""
    return [{"call": "PrepareObjectEx", "args": [number], "answer": 0} for number in ids]


def main(arguments):
    if len(arguments) not in (1, 3, 4):
        sys.exit(__doc__)
    planting = Planting(arguments[0], *map(int, arguments[1:]))
    planting.write()
    report = planting.expected(with_logs=True)
    (planting.directory / "Erwartet.json").write_text(json.dumps({"abgleich": report}, ensure_ascii=False, indent=1), "utf-8")
    counts = collections.Counter(finding["art"] for finding in report["befunde"])
    print(f"{report['geprueft']} judged, {report['andere']} others, {dict(counts)}")


if __name__ == "__main__":
    main(sys.argv[1:])
