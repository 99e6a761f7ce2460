#!/usr/bin/env python3
"""Writes what the benchmarks work on: an archive's store and the accounting's client.

    make_surroundings.py store DIRECTORY [ENTRIES]   an archive to search in; with ENTRIES one of so many, in folders of 500
    make_surroundings.py client FILE PLACEHOLDER     the client, PLACEHOLDER as Windows names it
"""

import json
import sys
from pathlib import Path

VOUCHER_FIELDS = 7
PARTNER_FIELDS = 13
# One mask for each size of search; SearchCosts.cpp expects the same.
SEARCHES = {11: 100, 12: 316, 13: 1000, 14: 3162, 15: 10001}
ENTRIES_PER_FOLDER = 500


def mask(number, name, lines):
    return {"nummer": number, "name": name,
            "felder": [{"zeile": line, "name": f"Feld {line}"} for line in range(1, lines + 1)]}


class Store:
    def __init__(self, directory):
        self.directory = Path(directory)
        self.next = 2
        masks = [mask(1, "Ordner", 0), mask(2, "Belege", VOUCHER_FIELDS), mask(3, "Auswertungen", 3),
                 mask(4, "Debitoren", PARTNER_FIELDS), mask(5, "Kreditoren", PARTNER_FIELDS)]
        masks += [mask(number, f"Suche {hits}", VOUCHER_FIELDS) for number, hits in SEARCHES.items()]
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
        self.write(folder / f"{identity}.json",
                   {"id": identity, "maske": number, "kurzbezeichnung": f"Beleg {identity}",
                    "felder": {str(line): f"Wert {identity}" for line in range(1, VOUCHER_FIELDS + 1)},
                    "dokument": f"{identity}.pdf", "abgelegt": "2026-11-20T10:11:12"})
        (folder / f"{identity}.pdf").write_bytes(b"%PDF-1.4\n")

    def close(self):
        self.write(self.directory / "zaehler.json", {"naechste": self.next})


def make_store(directory, entries):
    store = Store(directory)
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


def make_client(file, placeholder):
    folders = {109: "Buchungen", 110: "Auswertungen", 111: "Debi", 112: "Kredi"}
    options = {"100": "true", "105": placeholder}
    options.update({str(key): f"/Sesam/Muster/{name}" for key, name in folders.items()})
    bookings = [{"belegNr": f"{origin + 1}001", "belegIndex": "1", "ursprung": origin, "text": "Miete Büro",
                 "datum": "2026-01-05", "betrag": 120.5, "opNr": "" if origin == 0 else f"OP-{origin}"}
                for origin in (0, 1, 2)]
    client = {"mandant": "C:\\Daten\\Mandanten\\Muster AG", "optionen": {"600": options}, "buchungen": bookings,
              "offenePosten": {}, "konten": {}, "adressen": []}
    for origin, side in ((1, "debitoren"), (2, "kreditoren")):
        client["offenePosten"][side] = [{"opNr": f"OP-{origin}", "datum": "2026-01-02", "betragFaktura": 120.5,
                                         "pkNr": 1000 + origin}]
        client["konten"][side] = [{"pkNr": 1000 + origin, "adressId": 5000 + origin}]
        client["adressen"].append({"adressId": 5000 + origin, "firma": "Bäckerei Zürcher", "plz": "8001",
                                   "ort": "Zürich"})
    Store.write(Path(file), client)


def main(arguments):
    if arguments[:1] == ["store"] and len(arguments) in (2, 3):
        make_store(arguments[1], int(arguments[2]) if len(arguments) == 3 else None)
    elif arguments[:1] == ["client"] and len(arguments) == 3:
        make_client(arguments[1], arguments[2])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])
