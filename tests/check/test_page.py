"""The page of a reconciliation in a real browser: what it shows, sorts, filters and prints."""
import datetime
import json
import os
import pathlib
import re
import tempfile
import unittest

from browser import Browser
from planting import SMALLEST, Planting
from workstation import ROOT

PAGE = ROOT / "tools" / "check" / "Reconcile.html"
MARKER = "@DATEN@"
# Where pictures of the page are left to be looked at.
PICTURES = pathlib.Path(os.environ.get("KANDORA_PICTURES", tempfile.gettempdir()))
NASTY = ['</script><script>document.title = "böse"</script>', "<b>fett</b>", "&amp; &lt;", '"Anführung" \'einfach\' «Ö»',
         "<!-- <script>", MARKER, "\u2028 \U0001F4C4", "C:\\neu\\u003c"]


def page_with(data):
    """As kandora-check writes it: in the script that holds the data no tag can begin."""
    text = json.dumps(data, ensure_ascii=False).replace("<", "\\u003c")
    return PAGE.read_text(encoding="utf-8").replace(MARKER, text)


def report(findings, **more):
    return {"vollstaendig": True, "mandant": "C:\\Daten\\Mandanten\\Muster & Söhne AG", "geprueft": 10412, "andere": 20001,
            "masken": [{"maske": 82, "eintraege": 10120}, {"maske": 55, "eintraege": 8500}, {"maske": 64, "eintraege": 12}],
            "befunde": findings, **more}


def finding(kind, entry, number="", text="", **more):
    return {"art": kind, "eintrag": entry, "treffer": entry, "nummer": number, "index": "1", "dokId": "", "barcode": "",
            "text": text, **more}


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)
        temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temporary.cleanup)
        cls.file = pathlib.Path(temporary.name, "Abgleich äöü.html")
        PICTURES.mkdir(parents=True, exist_ok=True)

    def open(self, data):
        self.file.write_text(data if isinstance(data, str) else page_with(data), encoding="utf-8")
        self.browser.open(self.file)

    def tearDown(self):
        """Nothing but the file was loaded, and the page had no mistake."""
        requests = [event["request"]["url"] for event in self.browser.of_kind("Network.requestWillBeSent")]
        self.assertEqual(requests, [self.file.resolve().as_uri()])
        self.assertEqual(self.browser.of_kind("Runtime.exceptionThrown"), [])
        self.assertEqual(self.browser.of_kind("Log.entryAdded"), [])

    def texts(self, selector):
        return self.browser.value(f"[...document.querySelectorAll({json.dumps(selector)})].map(one => one.textContent)")

    def text(self, selector):
        texts = self.texts(selector)
        self.assertEqual(len(texts), 1, selector)
        return texts[0]

    def column(self, title):
        """Texts of the rows that are seen."""
        return self.browser.value(f"""(() => {{
            const place = [...document.querySelectorAll("#befunde > thead th")].findIndex(
                one => one.lastChild.textContent === {json.dumps(title)});
            return [...document.querySelectorAll("#befunde > tbody > tr")].filter(one => one.checkVisibility()).map(
                one => one.children[place].textContent); }})()""")

    def heading(self, title):
        return f"[...document.querySelectorAll('#befunde > thead button')].find(one => one.textContent === {json.dumps(title)})"

    def box(self, kind):
        return f"document.querySelector('#arten input[value={kind}]')"

    def search(self, text):
        self.browser.click("document.getElementById('suche')")
        self.browser.value("document.getElementById('suche').select()")
        self.browser.type(text)
        # Otherwise the filter waits a moment for more to be typed.
        self.browser.press("Enter")

    def test_the_marker_stands_once_and_nothing_comes_from_outside(self):
        self.open(report([]))
        text = PAGE.read_text(encoding="utf-8")
        self.assertEqual(re.findall(rf".*{MARKER}.*", text), [f'<script type="application/json" id="daten">{MARKER}</script>'])
        for word in ("http:", "https:", "@import", "url(", "innerHTML", "document.write"):
            self.assertNotIn(word, text)
        self.assertNotIn("ß", text)  # nobody writes it in Switzerland

    def test_summary_of_a_client(self):
        self.open(report([finding("leer", 3), finding("doppelt", 4), finding("leer", 5)]))
        self.assertEqual(self.text("h1"), "Abgleich Muster & Söhne AG")
        self.assertIn("C:\\Daten\\Mandanten\\Muster & Söhne AG", self.text("#mandant"))
        self.assertEqual(self.text("#uebersicht > p"), "Der Abgleich ist vollständig. 10’412 Einträge des Mandanten geprüft, "
                                                       "20’001 Einträge liegen ausserhalb seiner Ordner.")
        self.assertEqual(self.texts("#uebersicht .overview td:nth-child(-n+2)"),
                         ["doppelt", "1", "leer", "2", "82", "10’120", "55", "8’500", "64", "12"])
        self.assertEqual(self.texts("#uebersicht .overview td:nth-child(3) > span"),
                         ["101 %: 119 Einträge werden nie gefunden", "84 %: bald voll", "0 %"])

    def test_nothing_found(self):
        self.open(report([]))
        self.assertIn("Archiv und Finanzbuchhaltung stimmen überein.", self.text("#uebersicht"))
        self.assertFalse(self.browser.value("document.getElementById('liste').checkVisibility()"))

    def test_not_completed(self):
        self.open(report([finding("leer", 3)], vollstaendig=False, grund="unterbrochen <b>"))
        self.assertIn("nicht vollständig: unterbrochen <b>.", self.text("#uebersicht > p"))

    def test_several_clients(self):
        self.open({"abgleiche": [report([finding("leer", 3)]),
                                 report([finding("leer", 2)], mandant="D:\\Zweite AG", vollstaendig=False, grund="Anmeldung")]})
        self.assertEqual(self.texts("#uebersicht > table tbody tr:last-child td"),
                         ["D:\\Zweite AG", "nicht vollständig: Anmeldung", "10’412", "1"])
        self.assertEqual(self.column("Mandant"), ["Muster & Söhne AG", "Zweite AG"])
        self.browser.click(self.heading("Eintrag"))
        self.assertEqual(self.column("Mandant"), ["Zweite AG", "Muster & Söhne AG"])

    def test_what_was_written_anew(self):
        told = {"geschrieben": [3], "ausgelassen": [{"eintrag": 4, "text": "zuerst wird <b>7</b> getroffen."}],
                "fehler": "Gesperrt"}
        fields = [{"feld": "Betrag", "archiv": "1", "buchhaltung": "2"}]
        self.open(report([finding("abweichend", place, felder=fields) for place in (3, 4, 5)] + [finding("leer", 3)],
                         neuIndexiert=told))
        self.assertEqual(self.texts("#uebersicht > p")[1], "1 Eintrag neu geschrieben, 1 ausgelassen. Abgebrochen: Gesperrt")
        self.assertEqual(self.texts("#befunde td p"), ["Neu geschrieben.",
                                                       "Nicht neu geschrieben: zuerst wird <b>7</b> getroffen.",
                                                       "Nicht neu geschrieben."])

    def test_values_are_texts_whatever_is_in_them(self):
        fields = [{"feld": "Kundenname", "archiv": value, "buchhaltung": value + value} for value in NASTY[:2]]
        findings = [finding("leer", 2 + place, value, f"Satz {value}", dokId=value, barcode=value)
                    for place, value in enumerate(NASTY)] + [finding("abweichend", 90, "x", felder=fields)]
        self.open(report(findings, mandant=f"C:\\{NASTY[0]}", grund=NASTY[0]))
        for title in ("Nummer", "Dokument-ID", "Barcode"):
            self.assertEqual(self.column(title)[:-1], NASTY)
        self.assertEqual(self.column("Erklärung")[:-1], [f"Satz {value}" for value in NASTY])
        self.assertEqual(self.texts("table.fields td"), [text for value in NASTY[:2] for text in (value, value + value)])
        self.assertEqual(self.texts("b"), [])
        self.assertEqual(self.browser.value("document.scripts.length"), 2)
        self.assertEqual(self.text("h1"), f"Abgleich {NASTY[0]}")

    def test_what_is_not_seen_has_a_sign(self):
        values = [("Ende ", "Ende"), (" \ta", "zwei\r\nZeilen"), ("a\u2028b", "a\nb"), ("", "innen  bleibt")]
        fields = [{"feld": "Betrag", "archiv": one, "buchhaltung": other} for one, other in values]
        self.open(report([finding("abweichend", 3, felder=fields)]))
        self.assertEqual(self.texts("table.fields td"), ["Ende␣", "Ende", "␣⇥a", "zwei↵\nZeilen", "a[U+2028]b", "a[LF]\nb",
                                                         "(leer)", "innen  bleibt"])

    def test_sorting_with_the_mouse(self):
        self.open(report([finding("leer", 30, "10"), finding("doppelt", 4, ""), finding("pendent", 200, "9a"),
                          finding("abweichend", 5, "Öl"), finding("leer", 6, "Zoll")]))
        self.assertEqual(self.column("Eintrag"), ["30", "4", "200", "5", "6"])
        for order, wanted in (("ascending", ["9a", "10", "Öl", "Zoll", ""]), ("descending", ["Zoll", "Öl", "10", "9a", ""])):
            self.browser.click(self.heading("Nummer"))
            self.assertEqual(self.column("Nummer"), wanted)
            self.assertEqual(self.browser.value("[...document.querySelectorAll('#befunde th[aria-sort]')]"
                                                ".map(one => [one.lastChild.textContent, one.getAttribute('aria-sort')])"),
                             [["Nummer", order]])
        self.browser.click(self.heading("Eintrag"))
        self.assertEqual(self.column("Eintrag"), ["4", "5", "6", "30", "200"])
        self.assertEqual(self.column("Befund"), ["doppelt", "abweichend", "leer", "leer", "pendent"])

    def test_sorting_with_the_keyboard(self):
        self.open(report([finding("leer", 30, "b"), finding("doppelt", 4, "a")]))
        self.browser.value("document.getElementById('drucken').focus()")
        for key, focused, wanted in (("Enter", "Befund", ["4", "30"]), (" ", "Eintrag", ["4", "30"])):
            self.browser.press("Tab")
            self.assertEqual(self.browser.value("document.activeElement.textContent"), focused)
            self.browser.press(key)
            self.assertEqual(self.column("Eintrag"), wanted)
        self.browser.press(" ")
        self.assertEqual(self.column("Eintrag"), ["30", "4"])

    def test_filtering_by_kind(self):
        self.open(report([finding("leer", 3), finding("doppelt", 4), finding("leer", 5), finding("pendent", 6)]))
        self.assertEqual(self.texts("#arten label"), [" doppelt (1)", " leer (2)", " pendent (1)"])
        self.assertEqual(self.text("#anzahl"), "4 von 4 Befunden")
        self.browser.click(self.box("leer"))
        self.assertEqual((self.column("Eintrag"), self.text("#anzahl")), (["4", "6"], "2 von 4 Befunden"))
        self.assertEqual(self.text("#gefiltert"), "Nur: doppelt, pendent")
        self.browser.click("document.getElementById('keine')")
        self.assertEqual(self.column("Eintrag"), [])
        self.browser.click(self.box("pendent"))
        self.assertEqual(self.column("Eintrag"), ["6"])
        self.browser.click("document.getElementById('alle')")
        self.assertEqual((len(self.column("Eintrag")), self.text("#gefiltert")), (4, ""))

    def test_filtering_by_text(self):
        fields = [{"feld": "Kundenort", "archiv": "8001 Zürich", "buchhaltung": "3011 Bern"}]
        self.open(report([finding("leer", 30, "R-1", "Ärger im Büro"), finding("doppelt", 40, "R-2", weitere=[77]),
                          finding("abweichend", 50, "R-3", felder=fields)]))
        for text, wanted in (("ZÜRICH", ["50"]), ("büro är", ["30"]), ("77", ["40"]), ("R-", ["30", "40", "50"]),
                             ("r- ohne gleichen", []), ("kundenort", ["50"]), ("DOPPELT", ["40"]), ("(.*", [])):
            self.search(text)
            self.assertEqual(self.column("Eintrag"), wanted, text)
        self.search("r-")
        self.browser.click(self.box("doppelt"))
        self.assertEqual(self.column("Eintrag"), ["30", "50"])
        # Without a key at its end the text counts, too.
        self.browser.click("document.getElementById('suche')")
        self.browser.type("3")
        self.browser.wait_until("document.getElementById('anzahl').textContent === '1 von 3 Befunden'")
        self.assertEqual(self.text("#gefiltert"), "Nur: abweichend, leer; Text: r-3")

    def test_printing(self):
        findings = [finding("leer" if place % 2 else "doppelt", place, f"R-{place}", "Ein Satz.") for place in range(2, 402)]
        self.open(report(findings))
        pages = [self.pages()]
        self.browser.click(self.box("leer"))
        pages.append(self.pages())
        self.assertGreater(pages[0], pages[1])
        self.assertGreater(pages[1], 2)
        self.browser.call("Emulation.setEmulatedMedia", media="print")
        self.addCleanup(self.browser.call, "Emulation.setEmulatedMedia", media="")
        self.assertEqual(self.browser.value("['#filter', '#befunde > caption', '#befunde > thead button', "
                                            "'#befunde > thead span', '#befunde > thead', '#gefiltert'].map("
                                            "one => getComputedStyle(document.querySelector(one)).display)"),
                         ["none", "none", "none", "block", "table-header-group", "block"])
        self.assertEqual(len(self.column("Eintrag")), 200)

    def pages(self):
        return len(re.findall(rb"/Type\s*/Page\b", self.browser.pdf()))

    def test_five_thousand(self):
        self.open(report([finding("abweichend", place, f"R-{place}", felder=[
            {"feld": "Betrag", "archiv": str(place), "buchhaltung": ""}]) for place in range(2, 5002)]))
        self.assertEqual(self.text("#anzahl"), "5’000 von 5’000 Befunden")
        self.browser.click(self.heading("Eintrag"))
        self.browser.click(self.heading("Eintrag"))
        self.assertEqual(self.column("Eintrag")[:2], ["5001", "5000"])
        self.search("R-4999")
        self.assertEqual(self.column("Eintrag"), ["4999"])
        self.assertEqual(self.text("#anzahl"), "1 von 5’000 Befunden")

    def test_data_that_cannot_be_read(self):
        self.open(page_with(report([])).replace('"befunde"', '"befund'))
        self.assertIn("lassen sich nicht lesen", self.text(".message:not(noscript *)"))

    def test_everything_that_is_planted(self):
        with tempfile.TemporaryDirectory() as directory:
            planted = Planting(directory, *SMALLEST, datetime.date(2026, 11, 23))
            planted.write()
            data = planted.expected(with_logs=True)
        self.open(data)
        self.assertEqual(self.column("Nummer"), [one.get("nummer", "") for one in data["befunde"]])
        self.assertEqual(self.column("Barcode"), [one.get("barcode", "") for one in data["befunde"]])
        self.assertEqual(len(self.texts("table.fields tbody tr")), sum(len(one.get("felder", [])) for one in data["befunde"]))
        self.browser.picture(PICTURES / "Abgleich.png")
        self.browser.click(self.heading("Erklärung"))
        self.browser.picture(PICTURES / "Abgleich sortiert.png")
