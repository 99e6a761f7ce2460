#!/usr/bin/env python3
"""Writes Kandora.ico: a voucher in a folder, as the list of installed programs shows it."""
import functools
import pathlib
import struct
import sys

SIZES = (16, 24, 32, 48)
# Looked at per pixel and direction, for smooth edges.
SAMPLES = 4
# In parts of the picture's width and height, what lies behind first: left, top, right, bottom, and red, green, blue.
SHAPES = (
    (0.06, 0.20, 0.46, 0.40, (202, 148, 40)),
    (0.06, 0.28, 0.94, 0.88, (202, 148, 40)),
    (0.24, 0.06, 0.76, 0.70, (96, 104, 116)),
    (0.26, 0.08, 0.74, 0.70, (255, 255, 255)),
    (0.34, 0.18, 0.66, 0.23, (70, 110, 170)),
    (0.34, 0.29, 0.66, 0.34, (160, 168, 178)),
    (0.34, 0.40, 0.66, 0.45, (160, 168, 178)),
    (0.06, 0.50, 0.94, 0.88, (240, 190, 80)),
)


def colour_at(x, y):
    """Red, green, blue at a place of the picture, or None where one sees through."""
    return next((colour for left, top, right, bottom, colour in reversed(SHAPES)
                 if left <= x < right and top <= y < bottom), None)


def pixel(column, row, size):
    """Blue, green, red and opacity, as Windows stores them."""
    steps = [(part + 0.5) / SAMPLES for part in range(SAMPLES)]
    seen = [colour for down in steps for across in steps
            if (colour := colour_at((column + across) / size, (row + down) / size))]
    if not seen:
        return bytes(4)
    red, green, blue = (sum(part) // len(seen) for part in zip(*seen))
    return bytes((blue, green, red, 255 * len(seen) // SAMPLES ** 2))


def picture(size):
    """A bitmap as icons have it: the rows from below, then a mask, which is empty because pixels have an opacity."""
    head = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(pixel(column, row, size) for row in reversed(range(size)) for column in range(size))
    return head + pixels + bytes((size + 31) // 32 * 4 * size)


@functools.cache
def icon():
    pictures = [picture(size) for size in SIZES]
    place = 6 + 16 * len(SIZES)
    head = struct.pack("<HHH", 0, 1, len(SIZES))
    for size, data in zip(SIZES, pictures):
        head += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(data), place)
        place += len(data)
    return head + b"".join(pictures)


if __name__ == "__main__":
    pathlib.Path(sys.argv[1]).write_bytes(icon())
