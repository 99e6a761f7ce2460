"""What a comparison of archive and accounting must find after a run of requests: derived from the model of the archive that the
requests left and from the accounting's bookings as they then stand.
"""
import collections
import datetime

from archive_model import KINDS, LOOKUP_ORDER

# How the settings call the archive's fields, where that is another name.
KEYS = {"Belegnummer": "BelegNr", "Belegindex": "BelegIndex", "Sesam-Dokument-ID": "SesamDocID", "OP-Nummer": "OPNr",
        "PK-Nummer": "PKNr", "Adressnummer": "AdressNr", "Name": "Kundenname", "Ort": "Kundenort"}
# What a change writes anew whatever the booking says, or takes from the request.
NOT_COMPARED = {"Belegstatus", "Barcode", "Sesam-Dokument-ID"}
# What makes entries double. What one line says of the same entries, the next ones do not repeat.
DOUBLE = {"dokId": ["Sesam-Dokument-ID"], "nummer": ["Belegnummer", "Belegindex"], "barcode": ["Barcode"]}


class LeftOver:
    """`ids` are the numbers of the archive's entries, in their order; `today` is the day on which somebody compares."""

    def __init__(self, archive, ids, today, days=30):
        self.archive = archive
        entries = [(number, entry) for number, entry in zip(ids, archive.entries, strict=True)
                   if entry["maske"] in LOOKUP_ORDER]
        # In the order in which a look-up comes upon them.
        self.entries = sorted(entries, key=lambda one: LOOKUP_ORDER.index(one[1]["maske"]))
        self.findings = []
        for number, entry in self.entries:
            self._compare(number, entry)
            made = datetime.datetime.strptime(entry["felder"]["Sesam-Dokument-ID"], "%Y%m%d%H%M%S").date()
            if entry["felder"]["Belegstatus"] == "Pendent" and (today - made).days > days:
                self._add("pendent", number, entry)
        self._find_doubles()

    def _add(self, kind, number, entry, **more):
        fields = entry["felder"]
        self.findings.append({"art": kind, "eintrag": number, "nummer": fields["Belegnummer"], "index": fields["Belegindex"],
                              "dokId": fields["Sesam-Dokument-ID"], "barcode": fields["Barcode"], **more})

    def _compare(self, number, entry):
        fields = entry["felder"]
        if self.archive.booking(fields["Belegnummer"], fields["Belegindex"]) is None:
            self._add("ohneBuchung", number, entry)
            return
        # A change in an accounting that has just been started begins with empty records.
        kept, self.archive.records = self.archive.records, {kind: {} for kind in KINDS}
        kind, record = self.archive.fill_record(fields["Sesam-Dokument-ID"], fields["Belegnummer"], fields["Belegindex"], "")
        self.archive.records = kept
        mask, folder, names, _ = KINDS[kind]
        if (entry["maske"], entry["ordner"]) != (mask, self.archive.folder(folder)):
            self._add("andereArt", number, entry)
            return
        pairs = [("Kurzbezeichnung", entry["kurzbezeichnung"], record["Kurzbezeichnung"])]
        pairs += [(KEYS.get(name, name), fields[name], record.get(name, "")) for name in names if name not in NOT_COMPARED]
        differing = [{"feld": key, "archiv": filed, "buchhaltung": now} for key, filed, now in pairs if filed != now]
        # Where both differ the number may have been given to another voucher, which the sample does not have.
        assert not {"Valutadatum", "Betrag"} <= {field["feld"] for field in differing}
        if differing:
            self._add("abweichend", number, entry, felder=differing)

    def _find_doubles(self):
        said = set()
        for by, names in DOUBLE.items():
            groups = collections.defaultdict(list)
            for number, entry in self.entries:
                groups[tuple(entry["felder"][name] for name in names)].append((number, entry))
            for value, group in groups.items():
                numbers = tuple(number for number, _ in group)
                if len(group) > 1 and value[0] and numbers not in said:
                    said.add(numbers)
                    self._add("doppelt", *group[0], wodurch=by, weitere=list(numbers[1:]))
