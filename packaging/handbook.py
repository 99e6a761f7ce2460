"""Turns the handbook into one HTML page that holds its pictures itself and begins with a table of contents.

As a command: handbook.py SOURCE OUTPUT VERSION
"""
import base64
import html
import pathlib
import re
import sys

import markdown
from markdown.extensions.toc import TocExtension, slugify_unicode
from markdown.treeprocessors import Treeprocessor

STYLE = """
body { font: 15px/1.5 "Segoe UI", Arial, sans-serif; max-width: 62em; margin: 2em auto; padding: 0 1em; color: #222; }
h1, h2, h3 { line-height: 1.2; margin: 1.6em 0 .5em; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { border: 1px solid #bbb; padding: .3em .6em; text-align: left; vertical-align: top; }
th { background: #eee; }
code, pre { font: 13px/1.4 Consolas, monospace; background: #f4f4f4; }
pre { padding: .7em 1em; overflow-x: auto; }
img { max-width: 100%; border: 1px solid #bbb; }
.toc { background: #f8f8f8; border: 1px solid #ddd; padding: .7em 1em; margin: 1.6em 0; }
.toc ul { margin: .3em 0; }
.toctitle { font-weight: bold; }
"""


class Pictures(Treeprocessor):
    """Puts the pictures themselves in the place of their names, which are looked for in `folder`."""

    def __init__(self, folder):
        super().__init__()
        self.folder = folder

    def run(self, root):
        for picture in root.iter("img"):
            data = base64.b64encode((self.folder / picture.get("src")).read_bytes()).decode("ascii")
            picture.set("src", f"data:image/png;base64,{data}")


def page(source, version):
    """The handbook as a page; `source` is the file, `version` stands for @VERSION@ in it."""
    source = pathlib.Path(source)
    text = source.read_text(encoding="utf-8").replace("@VERSION@", version)
    # The contents follow the introduction. Links name the headings as readers of the source form know them.
    text = text.replace("\n## ", "\n[TOC]\n\n## ", 1)
    contents = TocExtension(title="Inhalt", toc_depth="2-3", slugify=slugify_unicode)
    converter = markdown.Markdown(output_format="html", extensions=["fenced_code", "tables", contents])
    # After the texts within paragraphs have become elements.
    converter.treeprocessors.register(Pictures(source.parent), "pictures", 0)
    body = converter.convert(text)
    title = re.search(r"^# (.*)$", text, flags=re.MULTILINE)[1]
    return (f'<!DOCTYPE html>\n<html lang="de-CH">\n<head>\n<meta charset="utf-8">\n<title>{html.escape(title)}</title>\n'
            f"<style>{STYLE}</style>\n</head>\n<body>\n{body}\n</body>\n</html>\n")


if __name__ == "__main__":
    pathlib.Path(sys.argv[2]).write_text(page(sys.argv[1], sys.argv[3]), encoding="utf-8")
