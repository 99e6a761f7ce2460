#!/usr/bin/env python3
"""Writes Platzhalter.pdf: the one-page document that lies in the archive until a voucher's scan replaces it."""
import pathlib
import sys

LINES = [
    (22, "Platzhalter"),
    (12, ""),
    (12, "Dieses Dokument steht für einen Beleg, der in der Finanzbuchhaltung gespeichert,"),
    (12, "aber noch nicht eingescannt wurde (Status «Pendent»)."),
    (12, ""),
    (12, "Der Barcode im Index des Eintrags ist derselbe wie auf dem Papierbeleg."),
    (12, "Sobald der Papierbeleg eingescannt ist, tritt er an die Stelle dieser Seite."),
]


def escaped(text):
    return text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")


def page_content():
    parts = ["BT", "70 740 Td"]
    for size, text in LINES:
        parts += [f"/F1 {size} Tf", f"({escaped(text)}) Tj", f"0 -{size + 8} Td"]
    return "\n".join([*parts, "ET"]).encode("cp1252")


def pdf():
    content = page_content()
    objects = [
        b"<< /Type /Catalog /Pages 2 0 R /Lang (de-CH) >>",
        b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
        b"/Resources << /Font << /F1 5 0 R >> >> >>",
        b"<< /Length %d >>\nstream\n%b\nendstream" % (len(content), content),
        b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
        b"<< /Title (Platzhalter) /Creator (Kandora) >>",
    ]
    result = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(result))
        result += b"%d 0 obj\n%b\nendobj\n" % (number, body)
    table = len(result)
    result += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    for offset in offsets:
        result += b"%010d 00000 n \n" % offset
    result += b"trailer\n<< /Size %d /Root 1 0 R /Info 6 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, table)
    return bytes(result)


if __name__ == "__main__":
    pathlib.Path(sys.argv[1]).write_bytes(pdf())
