"""Writes a text as the editor of Windows shows it: windows_text.py SOURCE OUTPUT ENCODING, which is utf-8-sig or cp1252."""
import pathlib
import sys


def windows_text(text, encoding="utf-8-sig"):
    """With Windows' line ends; UTF-8 has its mark."""
    return text.replace("\r\n", "\n").replace("\n", "\r\n").encode(encoding)


if __name__ == "__main__":
    source, output, chosen = sys.argv[1:]
    pathlib.Path(output).write_bytes(windows_text(pathlib.Path(source).read_text(encoding="utf-8"), chosen))
