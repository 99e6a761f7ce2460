"""Packages of stand-in files: their tables are those of the real ones, whatever the files hold."""
import struct

import installer
import make_icon

FOLDERS_AND_FILES = ("Kandora.ini", "Kandora.ini.template", "Platzhalter.pdf", "DmsSolution.tlb", "Handbuch.html",
                     "Neu in der Vorlage.txt", "Lizenzen/Kandora.txt", "Lizenzen/JSON for Modern C++.txt")
PROGRAMS = ("Kandora.dll", "Werkzeuge/kandora-check.exe")
VERSION = "1.2.3"


def program(version):
    """As much of a program file as tells its version."""
    major, minor, patch = map(int, version.split("."))
    return b"MZ" + struct.pack("<IIII", 0xFEEF04BD, 0x10000, major << 16 | minor, patch << 16)


def package(architecture, change=None):
    """`change` is called with the package before it gets its code."""
    files = {path: path.encode() for path in FOLDERS_AND_FILES} | {path: program(VERSION) for path in PROGRAMS}
    return installer.Package(architecture, VERSION, files, "Lizenz ä\n\nZweiter Absatz", make_icon.icon(), change)
