"""What a reconciliation must find: derived from the files of the archive's store, of the accounting's client and of the logs,
by code that shares nothing with kandora-check. `differences` compares what it said with that.

A hit's number counts from 0, as the archive counts: a look-up ends with the hit of number 10 000.
"""
import collections
import dataclasses
import datetime
import decimal
import json
import pathlib
import re
import urllib.parse

from workstation import LINES, MASKS, Client

# So many hits of each mask's search are looked through.
HITS_EXAMINED = 10001
PENDING = "Pendent"
# In the order in which masks are searched.
KINDS = ["Belege", "Kredi", "Debi"]
FOLDER_OPTIONS = {"Belege": "109", "Debi": "111", "Kredi": "112"}
LEDGERS = {"Debi": "debitoren", "Kredi": "kreditoren"}
SHORT_NAME = "Kurzbezeichnung"
# What a change takes from its request, and the status, which is not compared.
NOT_IN_THE_BOOKING = {"Barcode", "BelegNr", "BelegIndex", "Belegstatus", "SesamDocID"}
IDENTITY = {"nummer": "BelegNr", "index": "BelegIndex", "dokId": "SesamDocID", "barcode": "Barcode"}
# What makes entries double, with the fields that they then share.
DOUBLES = {"dokId": ("SesamDocID",), "nummer": ("BelegNr", "BelegIndex"), "barcode": ("Barcode",)}
LOG_LINE = re.compile(r"[\d. ]{19} \| DMSProvider_(\w+)  \[(.*)\]  \[\[(.*)\]\]")


class SwissTexts:
    """Dates and amounts as a Swiss Windows writes them; `zero` is the date of a record that was not found, which depends on the
    settings for times: CStr(CDate(0)) in the session that is tested."""

    def __init__(self, zero="00:00:00"):
        self.zero = zero

    def date(self, iso):
        return ".".join(reversed(iso.split("-"))) if iso else self.zero

    @staticmethod
    def amount(amount):
        """Four decimals at most, and none that are not needed."""
        text = f"{decimal.Decimal(str(amount)).quantize(decimal.Decimal('0.0001')):f}"
        return text.rstrip("0").rstrip(".")


class Accounting:
    """A client file, and what the component would write of its bookings."""

    def __init__(self, content, texts):
        self.texts = texts
        self.mandant = content["mandant"]
        options = content["optionen"]["600"]
        self.folders = {kind: options[key] for kind, key in FOLDER_OPTIONS.items()}
        self.bookings = {(booking["belegNr"], booking["belegIndex"]): booking for booking in content["buchungen"]}
        self._items = {kind: {item["opNr"]: item for item in content["offenePosten"][ledger]}
                       for kind, ledger in LEDGERS.items()}
        self._accounts = {kind: {account["pkNr"]: account["adressId"] for account in content["konten"][ledger]}
                          for kind, ledger in LEDGERS.items()}
        self._addresses = {address["adressId"]: address for address in content["adressen"]}

    @classmethod
    def read(cls, file, texts):
        return cls(json.loads(pathlib.Path(file).read_text(encoding="utf-8")), texts)

    def written(self, booking):
        """Short name and values by the settings' keys, without those that only a request tells."""
        kind = Client.kind(booking)
        values = {SHORT_NAME: booking["text"], "Valutadatum": self.texts.date(booking["datum"])}
        if kind == "Belege":
            return values | {"Betrag": self.texts.amount(booking["betrag"])}
        number = booking.get("opNr", "")
        if not number:
            # The record is fresh, and nobody fills these.
            return dict.fromkeys(set(LINES[kind]) - NOT_IN_THE_BOOKING, "") | values
        item = self._items[kind].get(number, {"datum": None, "betragFaktura": 0, "pkNr": 0})
        address_number = self._accounts[kind].get(item["pkNr"], 0)
        address = self._addresses.get(address_number, {"firma": "", "plz": "", "ort": ""})
        return values | {"OPNr": number, "Betrag": self.texts.amount(item["betragFaktura"]),
                         "Rechnungsdatum": self.texts.date(item["datum"]), "PKNr": str(item["pkNr"]),
                         "AdressNr": str(address_number), "Kundenname": address["firma"],
                         "Kundenort": f"{address['plz']} {address['ort']}"}


@dataclasses.dataclass
class Hit:
    """An entry as the search for its mask finds it."""
    id: int
    kind: str  # of its mask
    folder: str
    values: dict
    number: int

    def value(self, key):
        return self.values.get(key, "")

    @property
    def is_blank(self):
        return not self.value("BelegNr") and not self.value("SesamDocID")

    def order(self, limit):
        """The order in which a look-up comes upon the entries; those that it never reaches behind all others."""
        return self.number >= limit, KINDS.index(self.kind), self.number

    def finding(self, kind, **more):
        identity = {name: self.value(key) for name, key in IDENTITY.items()}
        return {"art": kind, "eintrag": self.id, "treffer": self.number, **without_empty(identity), **more}


def without_empty(finding):
    return {key: value for key, value in finding.items() if value not in ("", [], None)}


def read_hits(store):
    """All entries of the three masks, by the mask's kind and in the order of their hits."""
    kinds = {mask: kind for kind, mask in MASKS.items() if kind in KINDS}
    top = pathlib.Path(store) / "Ordner"
    found = {kind: [] for kind in KINDS}
    for file in top.rglob("*.json"):
        if not file.stem.isdecimal():
            continue
        entry = json.loads(file.read_text(encoding="utf-8"))
        if entry["maske"] not in kinds:
            continue
        kind = kinds[entry["maske"]]
        values = {key: entry["felder"].get(str(line), "") for key, line in LINES[kind].items()}
        levels = map(urllib.parse.unquote, file.parent.relative_to(top).parts)
        found[kind].append(Hit(entry["id"], kind, "/" + "/".join(levels), values | {SHORT_NAME: entry["kurzbezeichnung"]}, 0))
    for hits in found.values():
        hits.sort(key=lambda hit: hit.id)
        for number, hit in enumerate(hits):
            hit.number = number
    return found


class Reconciliation:
    """All findings on a store and a client file. `unreadable` and `vanished` are entries that cannot be loaded."""

    def __init__(self, hits, accounting, *, logs=None, days=30, today=None, limit=HITS_EXAMINED, unreadable=(), vanished=()):
        self.accounting, self.limit, self.days = accounting, limit, days
        self.today = today or datetime.date.today()
        self.hits = hits
        places = {folder.casefold() for folder in accounting.folders.values()}
        loaded = [hit for kind in KINDS for hit in hits[kind] if hit.id not in {*unreadable, *vanished}]
        self.judged = [hit for hit in loaded if hit.folder.casefold() in places]
        self.others = len(loaded) - len(self.judged)
        self.unreadable = [hit for kind in KINDS for hit in hits[kind] if hit.id in unreadable]
        self.requests = read_requests(logs, accounting.mandant) if logs else {}
        # Of each voucher what its last request told.
        self._barcodes = {(identity, request.number, request.index): request.barcode
                          for identity, requests in self.requests.items() for request in requests
                          if request.files and request.barcode}
        self._loaded = loaded

    def report(self):
        findings = [finding for hit in self.judged for finding in self._of_entry(hit)]
        findings += [{"art": "nichtPruefbar", "eintrag": hit.id, "treffer": hit.number} for hit in self.unreadable]
        findings += [*self._doubles(), *self._of_requests()]
        masks = [{"maske": MASKS[kind], "eintraege": len(self.hits[kind])} for kind in KINDS]
        return {"vollstaendig": True, "mandant": self.accounting.mandant, "geprueft": len(self.judged), "andere": self.others,
                "masken": masks, "befunde": findings}

    def _of_entry(self, hit):
        if hit.number >= self.limit:
            yield hit.finding("unauffindbar")
        if hit.value("Belegstatus") == PENDING and self._age(hit) > self.days:
            yield hit.finding("pendent")
        if hit.is_blank:
            yield hit.finding("leer")
            return
        booking = self.accounting.bookings.get((hit.value("BelegNr"), hit.value("BelegIndex")))
        if booking is None:
            yield hit.finding("ohneBuchung")
            return
        kind = Client.kind(booking)
        if (hit.kind, hit.folder.casefold()) != (kind, self.accounting.folders[kind].casefold()):
            yield hit.finding("andereArt")
        # A change would write into another mask's lines.
        if hit.kind == kind:
            yield from self._of_fields(hit, booking)

    def _of_fields(self, hit, booking):
        wanted = self.accounting.written(booking)
        if told := self._barcodes.get(tuple(map(hit.value, ("SesamDocID", "BelegNr", "BelegIndex")))):
            wanted["Barcode"] = told
        fields = [{"feld": key, "archiv": hit.value(key), "buchhaltung": value}
                  for key, value in wanted.items() if hit.value(key) != value]
        of_another = [field for field in fields if field["feld"] in ("Valutadatum", "Betrag")]
        if len(of_another) == 2:
            yield hit.finding("andereBuchung", felder=of_another)
        elif fields:
            yield hit.finding("abweichend", felder=fields)

    def _age(self, hit):
        """Whole days; -1 when neither text is a date."""
        for text, form in ((hit.value("SesamDocID"), "%Y%m%d%H%M%S"), (hit.value("Valutadatum"), "%d.%m.%Y")):
            try:
                return (self.today - datetime.datetime.strptime(text, form).date()).days
            except ValueError:
                continue
        return -1

    def _doubles(self):
        """What says nothing new is left out: entries that are all in one of the groups before."""
        told = collections.defaultdict(list)  # groups by entry
        for by, keys in DOUBLES.items():
            groups = collections.defaultdict(list)
            for hit in self.judged:
                if hit.value(keys[0]):
                    groups[tuple(map(hit.value, keys))].append(hit)
            for group in groups.values():
                ids = {hit.id for hit in group}
                if len(group) > 1 and not any(ids <= earlier for earlier in told[group[0].id]):
                    for hit in group:
                        told[hit.id].append(ids)
                    first, *rest = sorted(group, key=lambda hit: hit.order(self.limit))
                    yield first.finding("doppelt", wodurch=by, weitere=[hit.id for hit in rest])

    # ---- what logs tell ------------------------------------------------------------------------------------------

    def _of_requests(self):
        numbers = {(hit.value("BelegNr"), hit.value("BelegIndex")) for hit in self.judged}
        identities = {hit.value("SesamDocID") for hit in self._loaded}
        # Of several the one that a look-up hits.
        own = {hit.value("SesamDocID"): hit
               for hit in sorted(self.judged, key=lambda hit: hit.order(self.limit), reverse=True)}
        for identity, requests in self.requests.items():
            last = requests[-1]
            if last.files:
                filing = [request for request in requests if request.files and request.barcode]
                if filing and identity not in identities and (last.number, last.index) not in numbers:
                    yield without_empty({"art": "nichtAbgelegt", "nummer": last.number, "index": last.index, "dokId": identity,
                                         "barcode": filing[-1].barcode})
            elif identity in own:
                yield own[identity].finding("nichtGeloescht")


@dataclasses.dataclass
class Request:
    name: str
    number: str
    index: str
    barcode: str

    @property
    def files(self):
        return self.name != "DeleteDocument"


def read_requests(logs, mandant):
    """The client's traced requests that leave or take an entry, by document id and in the order of time."""
    found = collections.defaultdict(list)
    lines = []
    for file in sorted(pathlib.Path(logs).glob("*.log")):
        for line in file.read_bytes().decode("cp1252").split("\r\n"):
            time = re.match(r"(\d\d)\.(\d\d)\.(\d{4}) ([\d.]{8}) ", line)
            if time:
                day, month, year, clock = time.groups()
                lines.append((f"{year}{month}{day}{clock}", line))
    for _, line in sorted(lines, key=lambda item: item[0]):
        match = LOG_LINE.fullmatch(line)
        if match and match[1] in ("SaveDocument", "DocumentChanged", "DeleteDocument"):
            _, client, number, index, barcode = match[3].split(", ", 4)
            if client == mandant:
                found[match[2]].append(Request(match[1], number, index, barcode))
    return found


def expected(store, client, texts=None, **options):
    """The object "abgleich" that kandora-check must write; `options` are those of Reconciliation."""
    accounting = Accounting.read(client, texts or SwissTexts())
    return Reconciliation(read_hits(store), accounting, **options).report()


# ---- comparing -------------------------------------------------------------------------------------------------------

def _key(finding):
    """What tells findings apart; an entry has one of each kind, but several doubles."""
    if "eintrag" in finding:
        return finding.get("art"), finding["eintrag"], finding.get("wodurch", "")
    return finding.get("art"), *(finding.get(name, "") for name in ("nummer", "index", "dokId"))


def describe(finding):
    """In a line."""
    words = [finding.get("art", "(no kind)")]
    if finding.get("wodurch"):
        words.append(f"by {finding['wodurch']}")
    words += [f"{name} {finding[name]!r}" for name in ("eintrag", "treffer", *IDENTITY) if name in finding]
    if finding.get("weitere"):
        words.append(f"with {finding['weitere']}")
    words += [f"{field.get('feld')}: {field.get('archiv', '')!r} / {field.get('buchhaltung', '')!r}"
              for field in finding.get("felder", [])]
    return ", ".join(words)


def _compared(finding):
    """The compared values by name; a missing one is an empty one."""
    values = {name: finding.get(name, "") for name in ("treffer", *IDENTITY)}
    values["weitere"] = sorted(finding.get("weitere", []))
    for field in finding.get("felder", []):
        values[f"felder {field.get('feld')}"] = (field.get("archiv", ""), field.get("buchhaltung", ""))
    return values


def _last_level(path):
    return str(path).rsplit("\\", maxsplit=1)[-1]


def differences(wanted, actual):
    """Readable lines: missed and invented findings, and what differs in the others. Their order does not matter, nor do
    keys that nobody expects."""
    lines = []
    masks = [{mask["maske"]: mask["eintraege"] for mask in report.get("masken", [])} for report in (wanted, actual)]
    heads = [(name, wanted[name], actual.get(name)) for name in ("vollstaendig", "geprueft", "andere") if name in wanted]
    heads += [("mandant", *(_last_level(report.get("mandant", "")) for report in (wanted, actual))), ("masken", *masks)]
    lines += [f"{name}: {there!r} instead of {right!r}" for name, right, there in heads if right != there]
    findings = [collections.defaultdict(list), collections.defaultdict(list)]
    for report, by_key in zip((wanted, actual), findings):
        for finding in report.get("befunde", []):
            by_key[_key(finding)].append(finding)
    for key in sorted({*findings[0], *findings[1]}, key=str):
        right, there = (by_key.get(key, []) for by_key in findings)
        lines += [f"missed: {describe(finding)}" for finding in right[len(there):]]
        lines += [f"invented: {describe(finding)}" for finding in there[len(right):]]
        for one, other in zip(right, there):
            values = _compared(one), _compared(other)
            lines += [f"{describe(one)}: {name} is {values[1].get(name)!r} instead of {values[0].get(name)!r}"
                      for name in {**values[0], **values[1]} if values[0].get(name) != values[1].get(name)]
    return lines
