#!/usr/bin/env python3
"""What kandora-check --reconcile has said, for a screen: its findings in lines that fit, then its last line.

    left_to_do.py [--width N] <OUTPUT

Nothing is scanned in the demo, so that hundreds of vouchers stay pending: they are counted, and the page has each.
"""
import argparse
import sys
import textwrap

FINDING = "Abgleich: "
GOOD = "gut"
WAITING = "pendent: "
INDENT = "  "


def told(output, width):
    """Lines to show of what the program printed."""
    lines = output.splitlines()
    findings, waiting = [], 0
    for line in lines:
        verdict, _, said = line.partition(FINDING)
        if not said or verdict.strip() == GOOD:
            continue
        if said.startswith(WAITING):
            waiting += 1
        else:
            findings.append(said)
    if waiting:
        findings.append(f"{WAITING}{waiting} {'Eintrag' if waiting == 1 else 'Einträge'} seit mehr als 30 Tagen; "
                        "die Seite nennt jeden")
    findings += lines[-1:]
    return [part for text in findings for part in
            textwrap.wrap(text, width, initial_indent=INDENT, subsequent_indent=2 * INDENT, break_on_hyphens=False)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--width", type=int, default=100, help="columns that a line may take")
    arguments = parser.parse_args()
    print("\n".join(told(sys.stdin.buffer.read().decode("utf-8"), arguments.width)))


if __name__ == "__main__":
    main()
