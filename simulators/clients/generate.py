#!/usr/bin/env python3
"""Writes the sample client "Muster AG.json": one business year of a small Swiss trading firm.

    python3 generate.py [FILE]

The same file comes out on every run: the only "chance" is the sequence below, which has a fixed start.
Each record stands on one line, in the form in which the host simulator writes the file back.
"""

import datetime
import json
import pathlib
import sys

YEAR = 2026
MANDANT = "C:\\Daten\\Mandanten\\Muster AG"
VAT = 0.081

DEBI, KREDI, HAND, AUTO = 1, 2, 0, 3


class Sequence:
    """A linear congruential sequence with a fixed start, so that no Python version changes the file."""

    def __init__(self, start):
        self.state = start

    def below(self, limit):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % limit

    def between(self, low, high):
        return low + self.below(high - low + 1)

    def pick(self, items):
        return items[self.below(len(items))]


def partners(first_address, table):
    """A row for each line "company | postcode | town": account number, address number and these three."""
    lines = table.strip("\n").split("\n")
    return [(1001 + at, first_address + at, *(part.strip() for part in line.split("|"))) for at, line in enumerate(lines)]


CUSTOMERS = partners(5001, """
Bäckerei Zürcher & Söhne | 8001 | Zürich
Café "Zum goldenen Löwen" | 9000 | St. Gallen
Restaurant d'Artagnan Sàrl | 1204 | Genève
Müller + Cie. Haustechnik AG | 3011 | Bern
Gasthof Rössli, Familie Kälin | 6170 | Schüpfheim
Genossenschaft der vereinigten Ostschweizer Bäckerei-, Konditorei- und Confiserie-Fachgeschäfte, \
Einkaufs- und Ausbildungszentrum Appenzeller Vorderland | 9410 | Heiden
Wanderverkauf Frei | 3000 |
Handelsanstalt Drei Schwestern |  | Vaduz
Hotel Bündnerhof AG | 7000 | Chur
Spital Oberaargau, Verpflegung | 4900 | Langenthal
Gemeindeverwaltung Münchwilen | 9542 | Münchwilen TG
Ristorante L'Angolo, Bernasconi & Figli | 6600 | Locarno
Metzgerei Häfliger | 6280 | Hochdorf
Kantine Werk Süd GmbH | 4132 | Muttenz
Alterszentrum Lindenhöhe | 8400 | Winterthur
Boulangerie Grünenwald & Fils SA | 2502 | Biel/Bienne
Berghaus Piz d'Err | 7457 | Bivio
Getränke Öchsli | 8200 | Schaffhausen
Tea-Room Möwe | 8280 | Kreuzlingen
Sportbahnen Hochtal AG | 3906 | Saas-Fee
Privatschule Äussere Mühle | 5000 | Aarau
Kiosk am Bahnhof, M. Huber | 9200 | Gossau SG
Weinhandlung Château d'Oex | 1660 | Château-d'Oex
Büro & Pause AG | 6003 | Luzern
""")

# The creditors count from 1001 again: the two sub-ledgers are numbered independently.
SUPPLIERS = partners(6001, """
Gastrogeräte Import Rüegg AG | 8307 | Effretikon
Rösterei Drei Kannen GmbH | 9320 | Arbon
Alpenkurier Paketdienst AG | 4600 | Olten
Immobilien Brühltor AG | 9000 | St. Gallen
Stadtwerke am Bodensee | 9320 | Arbon
Treuhand Sonderegger & Partner | 9050 | Appenzell
Garage Zäch | 9450 | Altstätten SG
Telefon- und Netzdienste Ost AG | 9001 | St. Gallen
Papeterie Schönenberger | 9500 | Wil SG
Macchine Caffè Fratelli D'Amico S.r.l. | 20121 | Milano
Kühltechnik Wäfler | 3714 | Frutigen
Versicherungsbroker Nüssli AG | 8600 | Dübendorf
Reinigungsdienst Blitz & Blank | 9015 | St. Gallen
Werbeatelier Kühnis | 9443 | Widnau
Softwarehaus Säntisblick AG | 9100 | Herisau
Verpackungen Jäggi | 4632 | Trimbach
""")

GOODS = [
    ("Kaffeevollautomat Säntis 2", 284000, 1), ("Kolbenmaschine Duetto", 469000, 1),
    ("Bohnenmischung Hausröstung, kg", 2390, 60), ("Kaffeemühle M80", 61500, 3),
    ("Milchkühler 4 l", 38900, 2), ("Entkalkungsmittel, Karton", 8640, 12),
    ("Wasserfilter Grösse L", 11250, 10), ("Espressotassen, Dutzend", 7180, 20),
    ("Reinigungstabletten, Dose", 2465, 40), ("Wartungsvertrag pro Jahr", 58000, 3),
    ("Pappbecher 2 dl, 1'000 Stück", 6920, 25), ("Ersatzteile gemäss Liste", 14375, 4),
]

# What is bought from whom; a subject may come with an amount of its own.
PURCHASES = {
    1001: ["Lieferung Vollautomaten", "Ersatzteile und Dichtungen", "Nachlieferung Mühlen"],
    1002: ["Bohnen, Hausröstung", "Bohnen, koffeinfrei", "Röstkaffee Crème"],
    1003: ["Paketversand Sammelrechnung", "Eilsendungen"],
    1005: ["Strom und Wasser", "Fernwärme"],
    1006: ["Buchführung und Beratung", "Abschlussarbeiten Vorjahr"],
    1007: ["Service Lieferwagen SG 123'456", "Reifenwechsel", "Treibstoff"],
    1008: ["Telefon und Internet"],
    1009: ["Büromaterial", "Kopierpapier & Toner"],
    1010: [("Import Kolbenmaschinen, EUR 3'850.00 à 0.9452", 363902), ("Zubehör, EUR 412.80 à 0.9510", 39257)],
    1011: ["Reparatur Kühlzelle", "Wartung Klimagerät"],
    1013: ["Büroreinigung", "Fensterreinigung"],
    1014: ["Inserat \"Pausenkaffee\"", "Prospekte Frühling", "Beschriftung Lieferwagen"],
    1015: ["Softwaremiete Quartal", "Schulung vor Ort"],
    1016: ["Kartons und Füllmaterial", "Pappbecher bedruckt"],
}


def five(rappen):
    """Rounds an invoice total to five Rappen, as Swiss invoices are."""
    return (rappen + 2) // 5 * 5


class Client:
    def __init__(self):
        self.chance = Sequence(20260101)
        self.bookings = []
        self.open_items = {"debitoren": [], "kreditoren": []}
        self.counters = {"debi": 26100, "kredi": 26500, "fibu": 1000}

    def number(self, circle):
        self.counters[circle] += 1
        return str(self.counters[circle])

    def book(self, date, origin, number, text, rappen, open_item="", scanned=True, index="1"):
        self.bookings.append({"belegNr": number, "belegIndex": index, "ursprung": origin, "text": text,
                              "datum": date, "betrag": rappen, "opNr": open_item, "barcode": scanned})

    def open(self, side, number, date, rappen, account):
        self.open_items[side].append({"opNr": number, "datum": date.isoformat(), "betragFaktura": rappen / 100,
                                      "pkNr": account})

    def workday(self, month, day):
        date = datetime.date(YEAR, month, day)
        while date.weekday() > 4:
            date += datetime.timedelta(days=1)
        return min(date, datetime.date(YEAR, 12, 31))

    # ---- debtors --------------------------------------------------------------------------------------------------

    def invoices(self):
        names = {account: company for account, _, company, _, _ in CUSTOMERS}
        accounts = list(names)
        for serial in range(1, 121):
            month = (serial - 1) // 10 + 1
            date = self.workday(month, min(28, 2 + (serial - 1) % 10 * 3))
            account = accounts[(serial * 7) % len(accounts)]
            article, price, most = self.chance.pick(GOODS)
            count = self.chance.between(1, most)
            total = five(round(price * count * (1 + VAT)))
            item = f"D-{YEAR}-{serial:04d}"
            number = self.number("debi")
            short = names[account].split(",")[0][:48]
            credit = serial % 19 == 0
            if credit:
                self.book(date, DEBI, number, f"Gutschrift {number} {short}, Rücknahme {article}", -total, item)
                self.open("debitoren", item, date, -total, account)
                continue
            text = f"RG {number} {short}, {count} x {article}"
            if serial == 42:
                text += (" gemäss Offerte vom 4. März, Auftragsbestätigung vom 11. März und Ihrer Änderung vom 2. April; "
                         "Lieferung in drei Teilen (\"Etappe Süd\", \"Etappe Nord\", 'Reserve'), Montage und Einschulung "
                         "des Personals inbegriffen, Zahlbar innert 30 Tagen netto, 10 Tagen 2 % Skonto")
            self.book(date, DEBI, number, text, total, item, scanned=serial % 9 != 0)
            self.open("debitoren", item, date, total, account)
            if serial % 3 == 0 and month < 12:
                paid = self.workday(month + 1, self.chance.between(3, 26))
                part = total // 2 if serial % 12 == 0 else total
                word = "Teilzahlung" if part != total else "Zahlung"
                self.book(paid, DEBI, self.number("debi"), f"{word} {short}, {item}", part, item, scanned=False)
        for month in (2, 5, 8, 11):
            date = self.workday(month, 17)
            self.book(date, DEBI, self.number("debi"), "Barverkauf Ladentheke, Tagesabschluss",
                      five(self.chance.between(18000, 95000)))
        self.book(self.workday(6, 9), DEBI, self.number("debi"), "Vorauszahlung Berghaus Piz d'Err, noch ohne Rechnung",
                  150000)

    # ---- creditors ------------------------------------------------------------------------------------------------

    def purchases(self):
        names = {account: company for account, _, company, _, _ in SUPPLIERS}
        accounts = [account for account in names if account in PURCHASES]
        serial = 0
        for month in range(1, 13):
            for slot in range(8):
                serial += 1
                account = accounts[(serial * 5) % len(accounts)]
                date = self.workday(month, 3 + slot * 3)
                total = round(self.chance.between(4200, 398000) * (1 + VAT))
                item = f"K-{YEAR}-{serial:04d}"
                number = self.number("kredi")
                subject = self.chance.pick(PURCHASES[account])
                tax = ", MWST 8.1 %"
                if isinstance(subject, tuple):
                    (subject, total), tax = subject, ""
                if serial % 23 == 0:
                    total = -(total // 4)
                    text = f"Gutschrift {names[account]}, {subject}"
                else:
                    text = f"ER {names[account]}, {subject}{tax}"
                self.book(date, KREDI, number, text, total, item, scanned=serial % 8 != 0)
                self.open("kreditoren", item, date, total, account)
            rent_item = f"K-{YEAR}-M{month:02d}"
            date = self.workday(month, 1)
            self.book(date, KREDI, self.number("kredi"), f"Miete Lager und Büro {month:02d}/{YEAR}, Immobilien Brühltor AG",
                      485000, rent_item)
            self.open("kreditoren", rent_item, date, 485000, 1004)
            run = self.number("kredi")
            due = [item for item in self.open_items["kreditoren"][-9:-1] if item["betragFaktura"] > 0]
            for index, item in enumerate(due[:self.chance.between(2, 4)], start=1):
                self.book(self.workday(month, 27), KREDI, run, f"Zahlungslauf {month:02d}/{YEAR}, {item['opNr']}",
                          round(item["betragFaktura"] * 100), item["opNr"], scanned=False, index=str(index))
        insurance = f"K-{YEAR}-V01"
        self.book(self.workday(1, 15), KREDI, self.number("kredi"),
                  "Versicherungsbroker Nüssli AG, Betriebshaftpflicht & Sachversicherung, Jahresprämie", 312460, insurance)
        self.open("kreditoren", insurance, self.workday(1, 15), 312460, 1012)
        for month, subject in ((3, "Parkbusse"), (7, "Billett Zürich-Milano retour, Einkauf"), (10, "Porto, Briefmarken")):
            self.book(self.workday(month, 12), KREDI, self.number("kredi"), f"{subject} (ohne offenen Posten)",
                      self.chance.between(2500, 21000))

    # ---- general ledger -------------------------------------------------------------------------------------------

    def ledger(self):
        self.book(datetime.date(YEAR, 1, 1), HAND, self.number("fibu"), "Eröffnungsbuchung Saldovortrag Bank", 8431275,
                  scanned=False)
        self.book(datetime.date(YEAR, 1, 1), HAND, str(self.counters["fibu"]), "Eröffnungsbuchung Saldovortrag Warenlager",
                  11920040, scanned=False, index="2")
        for month in range(1, 13):
            number = self.number("fibu")
            period = f"{month:02d}/{YEAR}"
            for index, (text, rappen) in enumerate((
                    ("Bruttolöhne", 3215000 + 12500 * (month // 6)), ("AHV/IV/EO/ALV Arbeitgeber", 238715 + month),
                    ("Pensionskasse Arbeitgeber", 221380), ("UVG und Krankentaggeld", 48735)), start=1):
                self.book(self.workday(month, 25), HAND, number, f"{text} {period}", rappen, scanned=index == 1,
                          index=str(index))
            self.book(self.workday(month, 28), AUTO, self.number("fibu"), f"Kontoführung und Spesen Bank {period}",
                      self.chance.between(1200, 6890), scanned=month % 2 == 0)
            self.book(self.workday(month, 28), AUTO, self.number("fibu"), f"Abschreibung Fahrzeuge {period}, Dauerbuchung",
                      83335, scanned=False)
            self.book(self.workday(month, 26), HAND, self.number("fibu"),
                      f"Kassabuch {period}: Kaffee, Milch, \"Znüni\" & Kleinmaterial", self.chance.between(3100, 24995))
            if month % 3 == 0:
                self.book(self.workday(month, 28), HAND, self.number("fibu"),
                          f"MWST-Abrechnung {month // 3}. Quartal {YEAR}", self.chance.between(820000, 1640000))
            if month % 6 == 0:
                self.book(self.workday(month, 28), AUTO, self.number("fibu"), f"Zinsertrag {month // 6}. Semester", 4360)
                self.book(self.workday(month, 28), HAND, self.number("fibu"),
                          f"Inventurdifferenz {month // 6}. Semester", -self.chance.between(9000, 81000))
        self.book(datetime.date(YEAR, 12, 31), HAND, self.number("fibu"),
                  "Transitorische Aktiven: Versicherungsprämie Folgejahr, Anteil gemäss Police Nr. 7'004'118-b", 52075)
        self.book(datetime.date(YEAR, 12, 31), HAND, self.number("fibu"), "Rückstellung Garantiearbeiten", 640000,
                  scanned=False)

    # ---- gaps that the host's data really has ---------------------------------------------------------------------

    def gaps(self):
        self.book(self.workday(9, 14), DEBI, self.number("debi"), "Zahlung ohne Beleg, Posten nach Bereinigung gelöscht",
                  24500, f"D-{YEAR}-9001")
        self.book(self.workday(9, 15), KREDI, self.number("kredi"), "ER Lieferant gelöscht, Posten noch offen", 118040,
                  f"K-{YEAR}-9002")
        self.open("kreditoren", f"K-{YEAR}-9002", self.workday(9, 15), 118040, 1999)
        self.book(self.workday(9, 16), DEBI, self.number("debi"), "RG Laufkunde, Adresse nicht erfasst", 86480,
                  f"D-{YEAR}-9003")
        self.open("debitoren", f"D-{YEAR}-9003", self.workday(9, 16), 86480, 1998)
        # The same number on both sides means two different items.
        self.book(self.workday(9, 17), DEBI, self.number("debi"), "RG 117 Büro & Pause AG, Miete Ausstellungsgerät", 54050,
                  f"{YEAR}/117")
        self.open("debitoren", f"{YEAR}/117", self.workday(9, 17), 54050, 1024)
        self.book(self.workday(9, 17), KREDI, self.number("kredi"), "ER Garage Zäch, Rechnung 117", 93117, f"{YEAR}/117")
        self.open("kreditoren", f"{YEAR}/117", self.workday(9, 17), 93117, 1007)

    def document(self):
        order = sorted(range(len(self.bookings)), key=lambda at: (self.bookings[at]["datum"], at))
        clock = {}
        bookings = []
        for serial, at in enumerate(order, start=1):
            booking = dict(self.bookings[at])
            date = booking["datum"]
            seconds = clock.get(date, 8 * 3600 + serial % 60 * 7)
            clock[date] = seconds + 437
            booking["datum"] = date.isoformat()
            booking["betrag"] = booking["betrag"] / 100
            scanned = booking.pop("barcode")
            if scanned:
                booking["barcode"] = f"MU26{serial:06d}"
            booking["docId"] = f"{date:%Y%m%d}{seconds // 3600:02d}{seconds // 60 % 60:02d}{seconds % 60:02d}"
            bookings.append(booking)
        return {
            "mandant": MANDANT,
            "geschaeftsjahr": YEAR,
            "optionen": {"600": {}},
            "bewusstFehlend": {
                "offenePosten": {"debitoren": [f"D-{YEAR}-9001"], "kreditoren": []},
                "konten": {"debitoren": [], "kreditoren": [1999]},
                "adressen": [5998],
            },
            "buchungen": bookings,
            "offenePosten": self.open_items,
            "konten": {
                "debitoren": [*({"pkNr": row[0], "adressId": row[1]} for row in CUSTOMERS),
                              {"pkNr": 1998, "adressId": 5998}],
                "kreditoren": [{"pkNr": row[0], "adressId": row[1]} for row in SUPPLIERS],
            },
            "adressen": [{"adressId": row[1], "firma": row[2], "plz": row[3], "ort": row[4]}
                         for row in CUSTOMERS + SUPPLIERS],
        }


def render(value, depth=0):
    """Lists of records one record a line, everything else spread out: the form the simulator writes."""
    indent = "  " * (depth + 1)
    if isinstance(value, dict) and value:
        lines = [f"{indent}{json.dumps(key, ensure_ascii=False)}: {render(item, depth + 1)}" for key, item in value.items()]
        return "{\n" + ",\n".join(lines) + "\n" + "  " * depth + "}"
    if isinstance(value, list) and value:
        lines = [indent + json.dumps(item, ensure_ascii=False, separators=(",", ":")) for item in value]
        return "[\n" + ",\n".join(lines) + "\n" + "  " * depth + "]"
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def main():
    client = Client()
    client.invoices()
    client.purchases()
    client.ledger()
    client.gaps()
    target = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).with_name("Muster AG.json")
    target.write_bytes((render(client.document()) + "\n").encode("utf-8"))


if __name__ == "__main__":
    main()
