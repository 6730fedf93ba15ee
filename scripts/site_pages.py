#!/usr/bin/env python3
"""Readies a copy of the guides for Doxygen: site_pages.py FOLDER. Paragraphs of pictures become rows of pictures with their
captions, and names of functions in running text become links."""
import html
import pathlib
import re
import sys

PICTURE = re.compile(r"!\[([^\]]*)\]\((pictures/[\w-]+\.png)\)")


def functions():
    headers = (pathlib.Path(__file__).resolve().parent.parent / "include").glob("*.h")
    text = "".join(path.read_text(encoding="utf-8") for path in headers)
    windows_only = re.compile(r"(?ms)^#if defined\(_WIN32\)$.*?^#(?:else|endif)")  # Doxygen leaves it out, too
    return set(re.findall(r"\b(V_\w+)\(", windows_only.sub("", text)))


def row_of_pictures(paragraph):
    figures = "".join(
        f'<figure><img src="{source}" alt="{html.escape(caption)}"><figcaption>{html.escape(caption)}</figcaption></figure>'
        for caption, source in PICTURE.findall(paragraph)
    )
    return f'@htmlonly[block]<div class="pictures">{figures}</div>@endhtmlonly'


def page(text, known):
    parts = re.split(r"(?ms)^(```.*?^```$)", text)
    for index, part in enumerate(parts):
        if index % 2:
            continue  # code stays as it is
        paragraphs = part.split("\n\n")
        for at, paragraph in enumerate(paragraphs):
            if PICTURE.search(paragraph) and not PICTURE.sub("", paragraph).strip():
                paragraphs[at] = row_of_pictures(paragraph)
            else:
                paragraphs[at] = re.sub("`(V_[A-Za-z0-9_]+)`", lambda m: f'@ref {m[1]} "{m[1]}"' if m[1] in known else m[0], paragraph)
        parts[index] = "\n\n".join(paragraphs)
    return "".join(parts)


known_functions = functions()
for path in pathlib.Path(sys.argv[1]).glob("*.md"):
    path.write_text(page(path.read_text(encoding="utf-8"), known_functions), encoding="utf-8")
