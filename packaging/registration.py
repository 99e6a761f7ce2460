"""The registry entries of the component, taken from the interface files.

The component writes the same ones when it registers itself; a test compares both.
"""
import dataclasses
import functools
import pathlib
import re

INTERFACES = pathlib.Path(__file__).resolve().parent.parent / "src" / "interfaces"
AUTOMATION_MARSHALLER = "{00020424-0000-0000-C000-000000000046}"
VERSION = "1.0"
PROGRAM_ID_PREFIX = "Kandora."
PROGRAM_ID_VERSION = ".1"
# The component's own type library and the host's, with the numbers of their resources in the DLL.
LIBRARIES = {"Kandora": 1, "DmsSolution": 2}
# The value under the provider's class key that holds the host's own interface identifier, if one was adopted.
HOST_INTERFACE_VALUE = "DMSProvider"


@dataclasses.dataclass(frozen=True)
class Entry:
    """One value below Software\\Classes. `name` None is the key's default value. `shared`: both architectures write it."""
    key: str
    name: str | None
    value: str
    shared: bool


@dataclasses.dataclass(frozen=True)
class Library:
    name: str
    guid: str
    description: str
    interfaces: tuple
    classes: tuple


@functools.cache
def read_library(name):
    """Parses the interface file: identifiers, help strings and names of the library, its dual interfaces and classes."""
    text = (INTERFACES / f"{name}.idl").read_text(encoding="utf-8")
    text = re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE)
    declared = re.findall(r'\[([^\]]*?uuid\(([0-9A-F-]+)\)[^\]]*?helpstring\("([^"]*)"\)\s*)\]\s*'
                          r"(library|interface|coclass)\s+(\w+)", text)
    libraries = [(f"{{{guid}}}", help_text) for _, guid, help_text, kind, _ in declared if kind == "library"]
    interfaces = tuple((f"{{{guid}}}", interface) for attributes, guid, _, kind, interface in declared
                       if kind == "interface" and re.search(r"\bdual\b", attributes))
    classes = tuple((f"{{{guid}}}", coclass, help_text) for _, guid, help_text, kind, coclass in declared
                    if kind == "coclass")
    if len(libraries) != 1 or len(declared) != 1 + len(interfaces) + len(classes):
        raise ValueError(f"{name}.idl is not laid out as expected")
    return Library(name, *libraries[0], interfaces, classes)


def provider_class_key():
    """The key below Software\\Classes that takes HOST_INTERFACE_VALUE."""
    return next(f"CLSID\\{guid}" for guid, name, _ in read_library("Kandora").classes if name == "ELOProvider")


def library_place(library, architecture):
    """The key below Software\\Classes that names the file of a type library for programs of this architecture."""
    return f"TypeLib\\{library.guid}\\{VERSION}\\0\\" + {"x86": "win32", "x64": "win64"}[architecture]


def entries(architecture, file, folder):
    """All entries of the component that lies in `folder` as `file`; both may be formatted texts of an installer."""
    found = []

    def add(key, value, name=None, shared=False):
        found.append(Entry(key, name, value, shared))

    libraries = [read_library(name) for name in LIBRARIES]
    for guid, name, help_text in libraries[0].classes:
        description = f"Kandora: {help_text}"
        program_id = PROGRAM_ID_PREFIX + name
        versioned = program_id + PROGRAM_ID_VERSION
        key = f"CLSID\\{guid}"
        add(key, description)
        add(f"{key}\\InprocServer32", file)
        add(f"{key}\\InprocServer32", "Apartment", name="ThreadingModel")
        add(f"{key}\\ProgID", versioned)
        add(f"{key}\\VersionIndependentProgID", program_id)
        add(f"{key}\\TypeLib", libraries[0].guid)
        add(f"{key}\\Version", VERSION)
        add(f"{key}\\Programmable", "")
        add(program_id, description, shared=True)
        add(f"{program_id}\\CLSID", guid, shared=True)
        add(f"{program_id}\\CurVer", versioned, shared=True)
        add(versioned, description, shared=True)
        add(f"{versioned}\\CLSID", guid, shared=True)
    for library in libraries:
        key = f"TypeLib\\{library.guid}\\{VERSION}"
        add(key, library.description, shared=True)
        add(f"{key}\\FLAGS", "0", shared=True)
        add(f"{key}\\HELPDIR", folder, shared=True)
        add(library_place(library, architecture), f"{file}\\{LIBRARIES[library.name]}")
        for guid, name in library.interfaces:
            add(f"Interface\\{guid}", name)
            add(f"Interface\\{guid}\\ProxyStubClsid32", AUTOMATION_MARSHALLER)
            add(f"Interface\\{guid}\\TypeLib", library.guid)
            add(f"Interface\\{guid}\\TypeLib", VERSION, name="Version")
    return found


def own_keys(architecture):
    """The keys below Software\\Classes that are the component's alone, as (key, shared); all in them is the component's."""
    tops = {}
    for entry in entries(architecture, "", ""):
        parts = entry.key.split("\\")
        if entry.shared:
            depth = 2 if parts[0] == "TypeLib" else 1
        else:
            depth = 5 if parts[0] == "TypeLib" else 2
        tops["\\".join(parts[:depth])] = entry.shared
    return list(tops.items())
