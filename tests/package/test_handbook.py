"""The handbook against the sources: every message, every number, every setting is in it."""
import html
import re
import unittest

import handbook
import settings_template
import sources

HANDBOOK = sources.ROOT / "docs" / "Handbuch.md"
# What the sources say and no person ever reads.
NOT_FOR_PEOPLE = {"MS Sans Serif"}
# Names of numbers in the sources that are no error numbers.
NOT_ERRORS = {"lowestObjectId", "maximalFrames", "updated", "unused", "voucherNumber", "voucherIndex", "barcode"}


def plain(text):
    """As it is compared: blanks and line ends alike."""
    return re.sub(r"\s+", " ", text.replace("\\r", " ").replace("\\n", " ")).strip()


class Handbook(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = HANDBOOK.read_text(encoding="utf-8")
        cls.plain = plain(cls.text)
        cls.page = handbook.page(HANDBOOK, "9.8.7")

    def rows(self, columns):
        """Cells of all tables' rows that have so many columns."""
        rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in self.text.splitlines()
                if line.startswith("|") and not line.startswith("|---")]
        return [row for row in rows if len(row) == columns]

    def test_every_message_of_the_sources_is_explained(self):
        messages = sources.messages()
        self.assertGreater(len(messages), 70)
        missing = [(str(file), text) for text, file in messages.items()
                   if text not in NOT_FOR_PEOPLE and not text.startswith("Kandora: ") and plain(text) not in self.plain]
        self.assertEqual(missing, [])

    def test_every_error_number_has_a_row(self):
        numbers = {number for name, number in sources.error_numbers().items() if name not in NOT_ERRORS}
        self.assertGreater(len(numbers), 30)
        explained = {int(row[0]) for row in self.rows(4) if row[0].isdigit()}
        self.assertEqual(numbers - explained, set())
        # No row for a number that nothing raises; 0 is the box of a client without an archive.
        self.assertEqual(explained - numbers, {0})

    def test_texts_stand_beside_their_numbers(self):
        """The general descriptions: the table in the sources gives each number's text."""
        errors = (sources.ROOT / "src" / "automation" / "Errors.cpp").read_text(encoding="utf-8")
        numbers = sources.error_numbers()
        described = re.findall(r'\{errors::(\w+), L"([^"]+)"\}', errors)
        self.assertGreater(len(described), 25)
        rows = {(row[0], row[1]) for row in self.rows(4)}
        for name, text in described:
            self.assertIn((str(numbers[name]), text), rows)

    def test_every_setting_is_explained_in_the_order_of_reading(self):
        rows = [(row[0].strip("`[]"), row[1].strip("`")) for row in self.rows(4) if row[0].startswith("`[")]
        self.assertEqual(rows, settings_template.keys_of(settings_template.TEMPLATE.read_text(encoding="utf-8")))

    def test_every_log_tag_has_its_request(self):
        for tag in ("DMSProvider_InitProvider", "DMSProvider_FibuVersion", "[Kein Parameter]"):
            self.assertIn(tag, self.text)

    def test_swiss_spelling(self):
        self.assertNotIn("ß", self.text)
        self.assertNotIn("„", self.text)

    def test_links_and_pictures_lead_somewhere(self):
        ids = re.findall(r'id="([^"]+)"', self.page)
        self.assertEqual(len(ids), len(set(ids)))
        targets = re.findall(r'href="#([^"]+)"', self.page)
        self.assertGreater(len(targets), 5)
        self.assertEqual(set(targets) - set(ids), set())
        pictures = re.findall(r"!\[[^\]]+\]\(([^)]+)\)", self.text)
        self.assertGreaterEqual(len(pictures), 5)
        for picture in pictures:
            self.assertEqual((HANDBOOK.parent / picture).read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(self.page.count("<img "), len(pictures))

    def test_the_contents_lead_to_every_heading(self):
        contents = re.search(r'<div class="toc">.*?</div>', self.page, flags=re.DOTALL)[0]
        self.assertIn("Inhalt", contents)
        told = [html.unescape(text) for _, text in re.findall(r'<a href="#([^"]+)">([^<]+)</a>', contents)]
        self.assertEqual(told, re.findall(r"^##+ (.*)$", self.text, flags=re.MULTILINE))
        self.assertLess(self.page.index(contents), self.page.index("<h2 "))

    def test_the_page_says_what_the_source_says(self):
        """Nothing of the text is lost on the way, and no mark of the source form is left."""
        body = re.sub(r"<style>.*</style>", "", self.page, flags=re.DOTALL)
        text = plain(html.unescape(re.sub(r"<[^>]+>", " ", body)))
        self.assertNotIn("**", text)
        self.assertNotIn("@VERSION@", text)
        self.assertIn("Kandora-9.8.7-x86.msi", text)
        for words in re.findall(r"[\wäöüÄÖÜ]{4,}", re.sub(r"\]\([^)]+\)|!\[[^\]]*", "", self.text)):
            if words != "VERSION":
                self.assertIn(words, text)
        self.assertEqual(self.page.count("<table>"), len(re.findall(r"^\|---", self.text, flags=re.MULTILINE)))
