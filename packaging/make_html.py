"""Converts the packages' documents to web pages.

Usage: make_html.py FOLDER DOCUMENT...

Each DOCUMENT.md becomes FOLDER/DOCUMENT.html. Links between these documents lead to the
pages, links to other files of the repository become plain text, pictures are copied.
Needs Debian's python3-markdown.
"""
import pathlib
import re
import shutil
import sys

import markdown

STYLE = """
body { max-width: 48em; margin: 2em auto; padding: 0 1em; font: 100%/1.5 sans-serif; color: #222; background: #fff; }
table { border-collapse: collapse; margin: 1em 0; }
td, th { border: 1px solid #bbb; padding: .3em .6em; text-align: left; vertical-align: top; }
code, pre { font-family: monospace; background: #f2f2f2; }
pre { padding: .6em; overflow-x: auto; }
img { max-width: 100%; border: 1px solid #bbb; }
"""

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<style>{style}</style>
</head>
<body>
{body}
</body>
</html>
"""


def page_of(document, names):
    """The page's HTML, and the pictures in it."""
    text = document.read_text(encoding="utf-8")
    pictures = []

    def link(match):
        target, _, place = match[3].partition("#")
        if "://" in target or not target:
            return match[0]
        if match[1]:
            pictures.append(target)
            return match[0]
        name = pathlib.PurePath(target).name
        if name not in names:
            return match[2]
        return f"[{match[2]}]({name.removesuffix('.md')}.html{'#' + place if place else ''})"

    text = re.sub(r"(!?)\[([^\]]*)\]\(([^)]+)\)", link, text)
    title = re.search(r"^# (.*)", text).group(1)
    body = markdown.markdown(text, extensions=["tables", "fenced_code", "toc", "sane_lists"])
    return PAGE.format(title=title, style=STYLE, body=body), pictures


def main():
    folder = pathlib.Path(sys.argv[1])
    documents = [pathlib.Path(argument) for argument in sys.argv[2:]]
    folder.mkdir(parents=True, exist_ok=True)
    for document in documents:
        page, pictures = page_of(document, {other.name for other in documents})
        (folder / f"{document.stem}.html").write_text(page, encoding="utf-8", newline="\n")
        for picture in pictures:
            target = folder / picture
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(document.parent / picture, target)


main()
