"""Turns the handbook into one HTML page that holds its pictures itself.

It understands what the handbook uses: headings, paragraphs, lists, tables, code, pictures, links, emphasis.
"""
import base64
import html
import pathlib
import re

STYLE = """
body { font: 15px/1.5 "Segoe UI", Arial, sans-serif; max-width: 62em; margin: 2em auto; padding: 0 1em; color: #222; }
h1, h2, h3 { line-height: 1.2; margin: 1.6em 0 .5em; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { border: 1px solid #bbb; padding: .3em .6em; text-align: left; vertical-align: top; }
th { background: #eee; }
code, pre { font: 13px/1.4 Consolas, monospace; background: #f4f4f4; }
pre { padding: .7em 1em; overflow-x: auto; }
img { max-width: 100%; border: 1px solid #bbb; }
"""


def anchor(text):
    """The name under which links find a heading, as readers of the source form know it."""
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", "-")


class Page:
    """One page under construction; `folder` is where the source's pictures are looked for."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.lines = []

    def picture(self, match):
        data = base64.b64encode((self.folder / match[2]).read_bytes()).decode("ascii")
        return f'<img alt="{match[1]}" src="data:image/png;base64,{data}">'

    def inline(self, text):
        """Emphasis, links and pictures of a text; what stands in backquotes is left alone."""
        parts = re.split(r"`([^`]+)`", text)
        for place, part in enumerate(parts):
            part = html.escape(part, quote=False)
            if place % 2:
                parts[place] = f"<code>{part}</code>"
                continue
            part = re.sub(r"!\[([^\]]*)\]\(([^)]+)\)", self.picture, part)
            part = re.sub(r"\[([^\]]+)\]\(([^)]+)\)", r'<a href="\2">\1</a>', part)
            part = re.sub(r"\*\*([^*]+)\*\*", r"<strong>\1</strong>", part)
            parts[place] = re.sub(r"(?<![\w*])\*([^*]+)\*(?![\w*])", r"<em>\1</em>", part)
        return "".join(parts)

    def block(self, lines):
        """One block of consecutive lines without an empty one."""
        first = lines[0]
        if heading := re.fullmatch(r"(#{1,4}) (.*)", first):
            level = len(heading[1])
            self.lines.append(f'<h{level} id="{anchor(heading[2])}">{self.inline(heading[2])}</h{level}>')
            if lines[1:]:
                self.block(lines[1:])
        elif first.startswith("|"):
            self.table(lines)
        elif re.match(r"(-|\d+\.) ", first):
            self.list(lines)
        else:
            self.lines.append(f"<p>{self.inline(' '.join(line.strip() for line in lines))}</p>")

    def table(self, lines):
        rows = [[cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", line.strip()[1:-1])]
                for line in lines]
        self.lines.append("<table>")
        for number, row in enumerate(rows):
            if number != 1:
                tag = "td" if number else "th"
                self.lines.append("<tr>" + "".join(f"<{tag}>{self.inline(cell)}</{tag}>" for cell in row) + "</tr>")
        self.lines.append("</table>")

    def list(self, lines):
        items = []
        for line in lines:
            if marked := re.match(r"(?:-|\d+\.) +(.*)", line):
                items.append(marked[1])
            else:
                items[-1] += " " + line.strip()
        tag = "ul" if lines[0].startswith("-") else "ol"
        self.lines.append(f"<{tag}>")
        self.lines += [f"<li>{self.inline(item)}</li>" for item in items]
        self.lines.append(f"</{tag}>")


def page(source, version):
    """The handbook as a page; `source` is the file, `version` stands for @VERSION@ in it."""
    source = pathlib.Path(source)
    text = source.read_text(encoding="utf-8").replace("@VERSION@", version)
    result = Page(source.parent)
    title = re.search(r"^# (.*)$", text, flags=re.MULTILINE)[1]
    lines, code = [], None
    for line in [*text.splitlines(), ""]:
        if line.startswith("```"):
            if code is None:
                code = []
            else:
                result.lines.append("<pre>" + html.escape("\n".join(code), quote=False) + "</pre>")
                code = None
        elif code is not None:
            code.append(line)
        elif line.strip():
            lines.append(line)
        elif lines:
            result.block(lines)
            lines = []
    return (f'<!DOCTYPE html>\n<html lang="de-CH">\n<head>\n<meta charset="utf-8">\n<title>{html.escape(title)}</title>\n'
            f"<style>{STYLE}</style>\n</head>\n<body>\n" + "\n".join(result.lines) + "\n</body>\n</html>\n")
