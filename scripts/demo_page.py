#!/usr/bin/env python3
"""Writes index.html for the demo: demo_page.py <folder with the demo's pictures and figures>."""
import html
import json
import pathlib
import sys

STYLE = """
body { font: 16px/1.5 system-ui, sans-serif; margin: 2em auto; max-width: 68em; padding: 0 1em; color: #222; }
table { border-collapse: collapse; margin: 1em 0 2em; width: 100%; }
th, td { border-bottom: 1px solid #ddd; padding: .35em .7em; text-align: right; }
th:first-child, td:first-child { text-align: left; }
figure { display: inline-block; margin: 0 1em 1em 0; vertical-align: top; }
figure img { border: 1px solid #ccc; max-height: 230px; }
figcaption { color: #555; font-size: .85em; }
"""
NAMES = {
    "conv": "conventional memory",
    "global": "movable global block",
    "user": "the caller's own memory",
    "disk": "temporary file",
    "tiled": "tiles in memory and in a file",
    "compressed": "run-length rows",
}


def row(figures):
    tiles = f"{figures['tiles']} ({figures['file_tiles']} in a file)" if figures["tiles"] else "–"
    cells = [
        NAMES[figures["kind"]],
        f"{figures['stored']:,}",
        f"{100 * figures['stored'] / figures['raw']:.1f} %",
        tiles,
        f"{figures['put_mb_s']:,.0f}",
        f"{figures['get_mb_s']:,.0f}",
        "yes" if figures["equal"] else "NO",
    ]
    return "<tr>" + "".join(f"<td>{html.escape(cell)}</td>" for cell in cells) + "</tr>"


def section(name, held):
    first = held[0]
    head = ["storage", "stored bytes", "of raw", "tiles", "write MB/s", "read MB/s", "equal"]
    pictures = "".join(
        f'<figure><a href="{name}-{f["kind"]}.png"><img src="{name}-{f["kind"]}.png" alt="{name}"></a>'
        f"<figcaption>{html.escape(NAMES[f['kind']])}</figcaption></figure>"
        for f in held
    )
    return (
        f"<h2>{name}: {first['width']} × {first['height']} pixels, {first['bits']} bits</h2>"
        f"<table><tr>{''.join(f'<th>{h}</th>' for h in head)}</tr>{''.join(map(row, held))}</table>{pictures}"
    )


def main():
    folder = pathlib.Path(sys.argv[1])
    pictures = {}
    for path in sorted(folder.glob("*.json")):
        pictures.setdefault(path.stem.rsplit("-", 1)[0], []).append(json.loads(path.read_text()))
    if not pictures:
        sys.exit("no figures in " + str(folder))
    order = list(NAMES)
    body = "".join(
        section(name, sorted(held, key=lambda f: order.index(f["kind"]))) for name, held in pictures.items()
    )
    (folder / "index.html").write_text(
        f"<!doctype html><html lang='en'><meta charset='utf-8'><title>Vkkrnx: storage</title><style>{STYLE}</style>"
        "<h1>One picture, every kind of storage</h1>"
        "<p>Each picture was put row by row into a bitmap of each storage kind, read back and compared with the file. What is "
        "shown was written from the rows that came back. Rates count the time in the library only.</p>"
        f"{body}</html>",
        encoding="utf-8",
    )


if __name__ == "__main__":
    main()
