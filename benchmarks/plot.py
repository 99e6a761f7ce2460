#!/usr/bin/env python3
"""plot.py TIMES SVG WHAT OF: draws the times of WHAT over its numbers of OF, both axes logarithmic."""

import math
import sys
from pathlib import Path

WIDTH, HEIGHT, MARGIN = 720, 480, 70
COLOURS = {"in": "#1b6ca8", "out": "#b5541c"}
NAMES = {"in": "in process", "out": "out of process"}


def read(path):
    curves = {}
    for line in Path(path).read_text(encoding="utf-8").splitlines():
        where, hits, subject, floor = line.split("\t")
        curves.setdefault(where, []).append((int(hits), float(subject), float(floor)))
    return {where: sorted(points) for where, points in curves.items()}


def draw(curves, what, of):
    values = [point for points in curves.values() for point in points]
    low_x, high_x = math.log10(min(p[0] for p in values)), math.log10(max(p[0] for p in values))
    low_y = math.floor(math.log10(min(min(p[1:]) for p in values)))
    high_y = math.ceil(math.log10(max(max(p[1:]) for p in values)))

    def place(hits, time):
        across = (math.log10(hits) - low_x) / max(high_x - low_x, 0.01)
        up = (math.log10(time) - low_y) / max(high_y - low_y, 0.01)
        return MARGIN + across * (WIDTH - 2 * MARGIN), HEIGHT - MARGIN - up * (HEIGHT - 2 * MARGIN)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
             'font-size="12">', f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>']
    for power in range(low_y, high_y + 1):
        _, y = place(10 ** low_x, 10 ** power)
        parts.append(f'<path d="M{MARGIN} {y:.1f}H{WIDTH - MARGIN}" stroke="#ddd"/>'
                     f'<text x="{MARGIN - 6}" y="{y + 4:.1f}" text-anchor="end">{10 ** power / 1000:g} ms</text>')
    for hits in sorted({p[0] for p in values}):
        x, _ = place(hits, 10 ** low_y)
        parts.append(f'<path d="M{x:.1f} {MARGIN}V{HEIGHT - MARGIN}" stroke="#ddd"/>'
                     f'<text x="{x:.1f}" y="{HEIGHT - MARGIN + 18}" text-anchor="middle">{hits}</text>')
    for where, points in curves.items():
        colour = COLOURS[where]
        for column, dashes in ((1, ""), (2, ' stroke-dasharray="4 4"')):
            path = "L".join("{:.1f} {:.1f}".format(*place(p[0], p[column])) for p in points)
            parts.append(f'<path d="M{path}" fill="none" stroke="{colour}" stroke-width="2"{dashes}/>')
        x, y = place(points[-1][0], points[-1][1])
        parts.append(f'<text x="{x:.1f}" y="{y - 8:.1f}" text-anchor="end" fill="{colour}">{NAMES[where]}</text>')
    parts.append(f'<text x="{WIDTH / 2}" y="{HEIGHT - 20}" text-anchor="middle">{of}</text>'
                 f'<text x="{WIDTH / 2}" y="30" text-anchor="middle">{what} (solid) and its bare calls (dashed)'
                 '</text></svg>')
    return "\n".join(parts) + "\n"


def main(arguments):
    if len(arguments) != 4:
        sys.exit(__doc__)
    Path(arguments[1]).write_text(draw(read(arguments[0]), *arguments[2:]), encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
