#!/usr/bin/env python3
"""Takes the time of its making out of a type library, so that the same sources always give the same bytes."""
import pathlib
import re
import struct
import sys
import time

FIXED = "Thu Jan  1 00:00:00 1970"


def settled(data):
    """The library with both places in which widl keeps the time, its text and its number, set to a fixed time."""
    found = re.search(rb"Created by WIDL version \S+ at (\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4})", data)
    if found is None:
        raise ValueError("no time found")
    made = int(time.mktime(time.strptime(found[1].decode("ascii"), "%a %b %d %H:%M:%S %Y")))
    if made == int(time.mktime(time.strptime(FIXED, "%a %b %d %H:%M:%S %Y"))):
        return data
    # The number is taken a moment before or after the text.
    places = [match.start() for second in (made, made + 1, made - 1)
              for match in re.finditer(re.escape(struct.pack("<I", second)), data)]
    if len(places) != 1:
        raise ValueError(f"the number of the time stands in {len(places)} places")
    changed = bytearray(data)
    changed[found.start(1):found.end(1)] = FIXED.encode("ascii")
    changed[places[0]:places[0] + 4] = struct.pack("<I", 0)
    return bytes(changed)


def main():
    file = pathlib.Path(sys.argv[1])
    file.write_bytes(settled(file.read_bytes()))


if __name__ == "__main__":
    main()
