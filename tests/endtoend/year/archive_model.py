"""What a run of requests must leave in the archive, derived from the client file and the request file alone.

This is the expectation of the end-to-end tests: it shares no code with the component or the simulators.
"""
import datetime
import json

VOUCHER = ["Barcode", "Belegnummer", "Belegindex", "Belegstatus", "Sesam-Dokument-ID", "Valutadatum", "Betrag"]
PARTNER = VOUCHER + ["Rechnungsdatum", "OP-Nummer", "PK-Nummer", "Adressnummer", "Name", "Ort"]

# kind: mask, folder, fields, ledger in the client file
KINDS = {
    "Beleg": ("Belege", "Buchungen", VOUCHER, None),
    "Kredi": ("Kreditoren", "Kredi", PARTNER, "kreditoren"),
    "Debi": ("Debitoren", "Debi", PARTNER, "debitoren"),
}
# Vouchers are looked for first, then creditors' documents, then debtors'.
LOOKUP_ORDER = ["Belege", "Kreditoren", "Debitoren"]


class Formats:
    """How Windows writes dates and numbers, from the settings of its user."""

    def __init__(self, short_date, time, forenoon, decimal_point):
        self.short_date = short_date
        self.time = time
        self.forenoon = forenoon
        self.decimal_point = decimal_point

    @staticmethod
    def filled(pattern, values):
        text = ""
        while pattern:
            token = next((name for name in values if pattern.startswith(name)), None)
            text += values[token] if token else pattern[0]
            pattern = pattern[len(token or "x"):]
        return text

    def date(self, iso):
        day = datetime.date.fromisoformat(iso)
        return self.filled(self.short_date, {
            "yyyy": f"{day.year:04d}", "yy": f"{day.year % 100:02d}", "MM": f"{day.month:02d}", "M": str(day.month),
            "dd": f"{day.day:02d}", "d": str(day.day)})

    def no_date(self):
        """The zero of the date type is a time without a day: midnight."""
        return self.filled(self.time, {"HH": "00", "H": "0", "hh": "12", "h": "12", "mm": "00", "ss": "00",
                                       "tt": self.forenoon})

    def amount(self, value):
        """Without trailing zeros, as the currency type converts."""
        text = f"{round(value * 10000) / 10000:.4f}".rstrip("0").rstrip(".")
        return text.replace(".", self.decimal_point)


def tokens(line):
    """Blanks separate except between double quotes; a doubled quote stands for one; # begins a comment."""
    found, at = [], 0
    while at < len(line):
        if line[at] in " \t\r":
            at += 1
            continue
        if line[at] == "#":
            break
        text, quoted = "", False
        while at < len(line) and line[at] not in " \t\r":
            if line[at] != '"':
                text += line[at]
                at += 1
                continue
            quoted = True
            at += 1
            while True:
                end = line.index('"', at)
                text += line[at:end]
                at = end + 1
                if not line.startswith('"', at):
                    break
                text += '"'
                at += 1
        found.append((text, quoted))
    return found


class Archive:
    def __init__(self, client_file, formats, year):
        self.client = json.loads(client_file.read_text(encoding="utf-8"))
        self.formats = formats
        self.year = year
        # In the order of filing, through all sessions; deleted entries are removed.
        self.entries = []
        self.name = self.client["mandant"].rsplit("\\", 1)[1]
        self.bookings = [dict(booking) for booking in self.client["buchungen"]]
        self.is_on = True
        self.restart()

    def restart(self):
        """The accounting is started anew with the client as it left it, and the component has nothing in memory."""
        self.records = {kind: {} for kind in KINDS}
        self.description = {}

    def run_year(self):
        for booking in self.bookings:
            self.save(booking["docId"], booking["belegNr"], booking["belegIndex"], booking.get("barcode", ""))

    def run(self, text):
        for line in text.splitlines():
            words = tokens(line)
            if words:
                self.request(words[0][0], words[1:])

    # ---- requests ---------------------------------------------------------------------------------------------------

    def request(self, name, words):
        values = [text for text, _ in words]
        if name in ("InitProvider", "StartProvider", "ShowDocument", "SetDocumentStatus", "SavePendingDocument"):
            return
        if name == "change":
            booking = self.booking(values[0], values[1])
            booking.update(self.assignments(values[2:]))
            booking["betrag"] = float(booking["betrag"])
            booking["ursprung"] = int(booking["ursprung"])
        elif name == "describe":
            self.description = self.assignments(values)
        elif name == "option":
            assert values[0] == "100", "only the switch for the whole archive is known here"
            self.is_on = values[1].lower() != "false"
        elif name == "PrintDocument":
            self.file_report()
        elif name in ("SaveDocument", "DocumentChanged", "DeleteDocument"):
            if words[0] == ("booking", False):
                booking = self.booking(values[1], values[2])
                call = (booking["docId"], values[1], values[2], booking.get("barcode", ""))
            else:
                call = (values[0], values[1], values[2], values[3] if len(values) > 3 else "")
            {"SaveDocument": self.save, "DocumentChanged": self.changed, "DeleteDocument": self.deleted}[name](*call)
        else:
            raise ValueError(f"unknown request {name}")

    @staticmethod
    def assignments(values):
        return dict(value.split("=", 1) for value in values)

    def save(self, doc_id, number, index, barcode):
        if self.is_on and barcode:
            self.add(doc_id, number, index, barcode)

    def changed(self, doc_id, number, index, barcode):
        if not self.is_on:
            return
        entry = self.find(lambda fields: (fields["Belegnummer"], fields["Belegindex"]) == (number, index))
        if entry is None:
            if barcode:
                self.add(doc_id, number, index, barcode)
            return
        kind, record = self.fill_record(doc_id, number, index, barcode)
        entry["kurzbezeichnung"] = record["Kurzbezeichnung"]
        for field in KINDS[kind][2]:
            # A change without a barcode keeps the one on file.
            if field != "Barcode" or record["Barcode"]:
                entry["felder"][field] = record.get(field, "")

    def deleted(self, doc_id, number, index, _barcode):
        if not self.is_on:
            return
        entry = self.find(lambda fields: fields["Sesam-Dokument-ID"] == doc_id)
        if entry is not None and self.booking(number, index) is not None:
            self.entries.remove(entry)

    def file_report(self):
        given, self.description = self.description, {}
        self.entries.append({
            "maske": "Auswertungen", "ordner": self.folder("Auswertungen"),
            "kurzbezeichnung": given.get("kurzbezeichnung", "")[:30],
            "felder": {"Listenbeschreibung": given["beschreibung"][:200],
                       "Datum von": given.get("von", f"1.1.{self.year}"),
                       "Datum bis": given.get("bis", f"31.12.{self.year}")}})

    # ---- their parts ------------------------------------------------------------------------------------------------

    def folder(self, name):
        return f"/Buchhaltung/{self.name}/{name}"

    def booking(self, number, index):
        return next((booking for booking in self.bookings
                     if (booking["belegNr"], booking["belegIndex"]) == (number, index)), None)

    def find(self, matches):
        for mask in LOOKUP_ORDER:
            for entry in self.entries:
                if entry["maske"] == mask and matches(entry["felder"]):
                    return entry
        return None

    def add(self, doc_id, number, index, barcode):
        # A new entry begins with empty records of all kinds.
        self.records = {kind: {} for kind in KINDS}
        kind, record = self.fill_record(doc_id, number, index, barcode)
        mask, folder, fields, _ = KINDS[kind]
        self.entries.append({"maske": mask, "ordner": self.folder(folder), "kurzbezeichnung": record["Kurzbezeichnung"],
                             "felder": {field: record.get(field, "") for field in fields}})

    def fill_record(self, doc_id, number, index, barcode):
        """A record that is not new keeps what a booking without open item does not fill."""
        booking = self.booking(number, index)
        kind = {1: "Debi", 2: "Kredi"}.get(booking["ursprung"], "Beleg")
        ledger = KINDS[kind][3]
        record = self.records[kind]
        record.update({"Barcode": barcode, "Belegnummer": number, "Belegindex": index, "Belegstatus": "Pendent",
                       "Sesam-Dokument-ID": doc_id, "Kurzbezeichnung": booking["text"],
                       "Valutadatum": self.formats.date(booking["datum"])})
        if ledger is None:
            record["Betrag"] = self.formats.amount(booking["betrag"])
            return kind, record
        record["OP-Nummer"] = booking["opNr"]
        if booking["opNr"]:
            item = self.row("offenePosten", ledger, "opNr", booking["opNr"])
            account = self.row("konten", ledger, "pkNr", item["pkNr"]) if item else None
            address = next((row for row in self.client["adressen"] if account and row["adressId"] == account["adressId"]),
                           {"firma": "", "plz": "", "ort": ""})
            record.update({
                # What the accounting does not find has the values of a fresh record.
                "Rechnungsdatum": self.formats.date(item["datum"]) if item else self.formats.no_date(),
                "Betrag": self.formats.amount(item["betragFaktura"] if item else 0),
                "PK-Nummer": str(item["pkNr"] if item else 0),
                "Adressnummer": str(account["adressId"] if account else 0),
                "Name": address["firma"], "Ort": f"{address['plz']} {address['ort']}"})
        return kind, record

    def row(self, table, ledger, key, value):
        return next((row for row in self.client[table][ledger] if row[key] == value), None)
