#!/usr/bin/env python3
"""Writes what the benchmarks work on: an archive's store and the accounting's client.

    make_surroundings.py store DIRECTORY [ENTRIES]   an archive to search in; with ENTRIES one of so many, in folders of 500
    make_surroundings.py client FILE PLACEHOLDER     the client, PLACEHOLDER as Windows names it
    make_surroundings.py comparison DIRECTORY FILE PLACEHOLDER DATE
                                                     an archive that says what the client FILE says; DATE is BOOKED as
                                                     Windows writes it
"""

import json
import sys
from pathlib import Path

VOUCHER_FIELDS = 7
PARTNER_FIELDS = 13
# One mask for each size of search; SearchCosts.cpp expects the same.
SEARCHES = {11: 100, 12: 316, 13: 1000, 14: 3162, 15: 10001}
ENTRIES_PER_FOLDER = 500
# Three masks for each size of comparison, of which this is the first; ReconcilingCosts.cpp expects the same.
COMPARISONS = {20: 100, 23: 316, 26: 1000, 29: 3162, 32: 10000, 35: 30000}
# One of so many entries is the client's.
OWN = 3
FOLDERS = ("Buchungen", "Debi", "Kredi")
BOOKED = "2026-01-05"


def mask(number, name, lines):
    return {"nummer": number, "name": name,
            "felder": [{"zeile": line, "name": f"Feld {line}"} for line in range(1, lines + 1)]}


class Store:
    def __init__(self, directory, further_masks):
        self.directory = Path(directory)
        self.next = 2
        masks = [mask(1, "Ordner", 0), mask(2, "Belege", VOUCHER_FIELDS), mask(3, "Auswertungen", 3),
                 mask(4, "Debitoren", PARTNER_FIELDS), mask(5, "Kreditoren", PARTNER_FIELDS), *further_masks]
        self.directory.mkdir(parents=True, exist_ok=True)
        self.write(self.directory / "archiv.json",
                   {"archive": ["Muster-Archiv"], "trennzeichen": "¶",
                    "benutzer": [{"name": "anna", "passwort": "geheim"}], "masken": masks})

    @staticmethod
    def write(path, value):
        path.write_text(json.dumps(value, ensure_ascii=False, indent=2) + "\n", encoding="utf-8")

    def take(self):
        self.next += 1
        return self.next - 1

    def folder(self, *levels):
        path = self.directory / "Ordner"
        for level in levels:
            path /= level
            if not (path / "ordner.json").exists():
                path.mkdir(parents=True, exist_ok=True)
                self.write(path / "ordner.json", {"id": self.take(), "name": level})
        return path

    def entry(self, folder, number):
        identity = self.take()
        self.put(folder, identity, number, f"Beleg {identity}", [f"Wert {identity}"] * VOUCHER_FIELDS,
                 dokument=f"{identity}.pdf")
        (folder / f"{identity}.pdf").write_bytes(b"%PDF-1.4\n")

    def put(self, folder, identity, number, title, values, **more):
        self.write(folder / f"{identity}.json",
                   {"id": identity, "maske": number, "kurzbezeichnung": title,
                    "felder": {str(line): value for line, value in enumerate(values, 1)}, **more,
                    "abgelegt": "2026-11-20T10:11:12"})

    def close(self):
        self.write(self.directory / "zaehler.json", {"naechste": self.next})


def make_store(directory, entries):
    store = Store(directory, [mask(number, f"Suche {hits}", VOUCHER_FIELDS) for number, hits in SEARCHES.items()])
    for name in ("Buchungen", "Auswertungen", "Debi", "Kredi"):
        store.folder("Sesam", "Muster", name)
    if entries is None:
        entries = 0
        for number, hits in SEARCHES.items():
            folder = store.folder("Suche", str(hits))
            for _ in range(hits):
                store.entry(folder, number)
    for first in range(0, entries, ENTRIES_PER_FOLDER):
        folder = store.folder("Bestand", f"Mandant {first // ENTRIES_PER_FOLDER:03d}")
        for _ in range(min(ENTRIES_PER_FOLDER, entries - first)):
            store.entry(folder, 2)
    store.close()


def booking(number, origin):
    return {"belegNr": number, "belegIndex": "1", "ursprung": origin, "text": "Miete Büro", "datum": BOOKED,
            "betrag": 120.5, "opNr": "" if origin == 0 else f"OP-{origin}"}


def number_of_own(origin, place):
    return f"{FOLDERS[origin][0]}{place}"


def own_values(origin, place, date):
    """What the component writes of the booking, and its identity."""
    month = f"{origin + 1:02d}"
    values = [f"MU{origin}{place:06d}", number_of_own(origin, place), "1", "Erfasst", f"2026{month}05{place:06d}",
              date, "120.5"]
    if origin:
        values += [date, f"OP-{origin}", str(1000 + origin), str(5000 + origin), "Bäckerei Zürcher", "8001 Zürich"]
    return values


def make_comparison(directory, file, placeholder, date):
    masks = [mask(first + origin, f"{name} {size}", PARTNER_FIELDS if origin else VOUCHER_FIELDS)
             for first, size in COMPARISONS.items() for origin, name in enumerate(FOLDERS)]
    store = Store(directory, masks)
    store.folder("Sesam", "Muster", "Auswertungen")
    own = [store.folder("Sesam", "Muster", name) for name in FOLDERS]
    for first, size in COMPARISONS.items():
        others = store.folder("Sesam", "Nachbar", str(size))
        for at in range(size):
            place, origin = divmod(at, len(FOLDERS))
            if place % OWN == 0:
                store.put(own[origin], store.take(), first + origin, "Miete Büro", own_values(origin, place, date))
            else:
                store.put(others, store.take(), first + origin, "Fremd", [f"Wert {at}"] * VOUCHER_FIELDS)
    store.close()
    # All sizes share the client's bookings.
    places = range(0, max(COMPARISONS.values()) // len(FOLDERS) + 1, OWN)
    make_client(file, placeholder, [booking(number_of_own(origin, place), origin)
                                    for place in places for origin in range(len(FOLDERS))])


def make_client(file, placeholder, further_bookings=()):
    folders = {109: "Buchungen", 110: "Auswertungen", 111: "Debi", 112: "Kredi"}
    options = {"100": "true", "105": placeholder}
    options.update({str(key): f"/Sesam/Muster/{name}" for key, name in folders.items()})
    bookings = [booking(f"{origin + 1}001", origin) for origin in (0, 1, 2)] + list(further_bookings)
    client = {"mandant": "C:\\Daten\\Mandanten\\Muster AG", "optionen": {"600": options}, "buchungen": bookings,
              "offenePosten": {}, "konten": {}, "adressen": []}
    for origin, side in ((1, "debitoren"), (2, "kreditoren")):
        client["offenePosten"][side] = [{"opNr": f"OP-{origin}", "datum": BOOKED, "betragFaktura": 120.5,
                                         "pkNr": 1000 + origin}]
        client["konten"][side] = [{"pkNr": 1000 + origin, "adressId": 5000 + origin}]
        client["adressen"].append({"adressId": 5000 + origin, "firma": "Bäckerei Zürcher", "plz": "8001",
                                   "ort": "Zürich"})
    Store.write(Path(file), client)


def main(arguments):
    if arguments[:1] == ["store"] and len(arguments) in (2, 3):
        make_store(arguments[1], int(arguments[2]) if len(arguments) == 3 else None)
    elif arguments[:1] == ["comparison"] and len(arguments) == 5:
        make_comparison(*arguments[1:])
    elif arguments[:1] == ["client"] and len(arguments) == 3:
        make_client(arguments[1], arguments[2])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])
