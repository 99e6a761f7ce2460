#!/usr/bin/env python3
"""A picture of the page that kandora-check --reconcile writes, sorted by the kind of finding, as PNG.

    photograph_page.py PAGE PICTURE
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "check"))

from browser import Browser  # noqa: E402  its folder is known only now

# Just wide enough for both tables of the summary side by side.
WIDTH = 1410
# So many findings are seen.
ROWS = 8
SORT = "[...document.querySelectorAll('#befunde > thead button')].find(one => one.textContent === 'Befund')"


def main():
    page, picture = sys.argv[1:]
    browser = Browser()

    def resize(height):
        browser.call("Emulation.setDeviceMetricsOverride", width=WIDTH, height=height, deviceScaleFactor=1, mobile=False)

    try:
        resize(WIDTH)
        browser.call("Emulation.setScrollbarsHidden", hidden=True)
        browser.open(page)
        browser.click(SORT)
        # Nothing is marked where a mouse or the keyboard would be.
        browser.call("Input.dispatchMouseEvent", type="mouseMoved", x=1, y=1)
        browser.value("document.activeElement.blur()")
        browser.value("scrollTo(0, 0)")
        resize(browser.value(f"Math.ceil([...document.querySelectorAll('#befunde > tbody > tr')].slice(0, {ROWS}).pop()"
                             ".getBoundingClientRect().bottom)"))
        browser.picture(picture)
    finally:
        browser.close()


if __name__ == "__main__":
    main()
