#!/usr/bin/env python3
"""Fills the template of Kandora.ini with the values of an archive store.

The mask numbers and index lines come from the store's archiv.json, found there by the names that the sample archive gives
its masks and fields.
"""
import argparse
import json
import pathlib
import re
import sys

MASKS = {"Struktur": "Ordner", "Belege": "Belege", "Auswertung": "Auswertungen", "Debi": "Debitoren", "Kredi": "Kreditoren"}
VOUCHER = {"Barcode": "Barcode", "BelegNr": "Belegnummer", "BelegIndex": "Belegindex", "Belegstatus": "Belegstatus",
           "SesamDocID": "Sesam-Dokument-ID", "Valutadatum": "Valutadatum", "Betrag": "Betrag"}
PARTNER = VOUCHER | {"Rechnungsdatum": "Rechnungsdatum", "OPNr": "OP-Nummer", "PKNr": "PK-Nummer", "AdressNr": "Adressnummer",
                     "Kundenname": "Name", "Kundenort": "Ort"}
REPORT = {"Listenbeschreibung": "Listenbeschreibung", "DatumVon": "Datum von", "DatumBis": "Datum bis"}
INDEX = {"IndexBelege": ("Belege", VOUCHER), "IndexAuswertungen": ("Auswertungen", REPORT),
         "IndexDebi": ("Debitoren", PARTNER), "IndexKredi": ("Kreditoren", PARTNER)}


def values_of(archive, folder, printer_file):
    """Every setting as {(section, key): text}."""
    masks = {mask["name"]: mask for mask in archive["masken"]}
    user = archive["benutzer"][0]
    values = {
        ("Debug", "Test"): "False",
        ("Archiv", "ArchivAktiv"): "True",
        ("Archiv", "EloPrinterFile"): printer_file,
        ("Archiv", "Archivname"): archive["archive"][0],
        ("Archiv", "Treuhand"): "False",
        ("Archiv", "SagePFad"): folder,
        ("Login", "ELOUSERNAME"): user["name"],
        ("Login", "ELOPW"): user["passwort"],
        ("Login", "ELOKUERZEL"): user["kuerzel"],
    }
    for key, name in MASKS.items():
        values["Maske", key] = str(masks[name]["nummer"])
    for section, (mask, keys) in INDEX.items():
        lines = {field["name"]: field["zeile"] for field in masks[mask]["felder"]}
        for key, name in keys.items():
            values[section, key] = str(lines[name])
    return values


def fill(template, values):
    """The template with the values put in; comments and order stay. Raises KeyError for settings that the template lacks."""
    section = None
    missing = dict(values)
    lines = []
    for line in template.splitlines():
        heading = re.fullmatch(r"\s*\[([^]]*)\]\s*", line)
        setting = re.fullmatch(r"([^=;\[]+?)\s*=.*", line)
        if heading:
            section = heading[1]
        elif setting and (section, setting[1].strip()) in values:
            line = f"{setting[1]}={values[section, setting[1].strip()]}"
            missing.pop((section, setting[1].strip()), None)
        lines.append(line)
    if missing:
        raise KeyError(", ".join(f"[{section}] {key}" for section, key in missing))
    return "\r\n".join(lines) + "\r\n"


def decoded(data):
    try:
        return data.decode("utf-8-sig")
    except UnicodeDecodeError:
        return data.decode("cp1252")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("template", type=pathlib.Path)
    parser.add_argument("settings", type=pathlib.Path, help="archiv.json of the store")
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("--folder", required=True, help="top archive folder of the accounting")
    parser.add_argument("--printer-file", required=True, help="file from which a report is filed, as Windows names it")
    arguments = parser.parse_args()
    archive = json.loads(arguments.settings.read_text(encoding="utf-8"))
    try:
        text = fill(decoded(arguments.template.read_bytes()), values_of(archive, arguments.folder, arguments.printer_file))
    except KeyError as error:
        print(f"{arguments.template}: lacks {error.args[0]}", file=sys.stderr)
        return 1
    # Windows reads an INI file in the ANSI code page.
    arguments.output.write_bytes(text.encode("cp1252"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
