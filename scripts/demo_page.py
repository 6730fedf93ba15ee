#!/usr/bin/env python3
"""Writes the demo's pages, of which index.html leads to the others: demo_page.py <folder with its pictures and figures>."""
import html
import json
import pathlib
import sys

STYLE = """
body { font: 16px/1.5 system-ui, sans-serif; margin: 2em auto; max-width: 76em; padding: 0 1em; color: #222; }
table { border-collapse: collapse; margin: 1em 0 2em; width: 100%; }
th, td { border-bottom: 1px solid #ddd; padding: .35em .7em; text-align: right; }
th:first-child, td:first-child { text-align: left; }
figure { display: inline-block; margin: 0 1em 1em 0; vertical-align: top; }
figure img { border: 1px solid #ccc; max-height: 256px; }
figcaption { color: #555; font-size: .85em; }
"""
KINDS = {
    "conv": "conventional memory",
    "global": "movable global block",
    "user": "the caller's own memory",
    "disk": "temporary file",
    "tiled": "tiles",
    "compressed": "run-length rows",
    "super": "super-compressed bands",
}


def page(path, title, body):
    path.write_text(
        f"<!doctype html><html lang='en'><meta charset='utf-8'><title>Vkkrnx: {title}</title><style>{STYLE}</style>"
        f"<h1>{title}</h1>{body}</html>\n",
        encoding="utf-8",
    )


def figure(picture, caption):
    return (
        f'<figure><a href="{picture}"><img src="{picture}" alt="{html.escape(caption)}"></a>'
        f"<figcaption>{html.escape(caption)}</figcaption></figure>"
    )


def storage_row(held):
    tiles = f"{held['tiles']} ({held['tiles_in_file']} in a file)" if held.get("tiles") else "–"
    cells = [
        KINDS[held["kind"]],
        f"{held['stored_bytes']:,}",
        f"{100 * held['stored_bytes'] / held['raw_bytes']:.1f} %",
        tiles,
        f"{held['write_mb_per_s']:,.0f}",
        f"{held['read_mb_per_s']:,.0f}",
        "yes" if held["equal"] else "NO",
    ]
    return "<tr>" + "".join(f"<td>{html.escape(cell)}</td>" for cell in cells) + "</tr>"


def storage_section(name, all_held):
    first = all_held[0]
    heads = ["storage", "stored bytes", "of raw", "tiles", "write MB/s", "read MB/s", "read back equal"]
    return (
        f"<h2>{name}: {first['width']} × {first['height']} pixels, {first['bits_per_pixel']} bits</h2>"
        f"<table><tr>{''.join(f'<th>{head}</th>' for head in heads)}</tr>{''.join(map(storage_row, all_held))}</table>"
        + "".join(figure(f"{name}-{held['kind']}.png", KINDS[held["kind"]]) for held in all_held)
    )


def storage_page(folder):
    pictures = {}
    for path in sorted(folder.glob("hold-*.json")):
        name = path.stem.removeprefix("hold-").rsplit("-", 1)[0]
        pictures.setdefault(name, []).append(json.loads(path.read_text()))
    order = list(KINDS)
    for all_held in pictures.values():
        all_held.sort(key=lambda held: order.index(held["kind"]))
    page(
        folder / "index.html",
        "One picture, every kind of storage",
        "<p>Each picture was put row by row into a bitmap of each storage kind, read back and compared with the file. What is "
        'shown was written from the rows that came back. Rates count the time in the library only. See also the <a href="colors.html">'
        'colours</a>, the <a href="geometry.html">sizes, angles and perspectives</a>, '
        'the <a href="combined.html">pictures in pictures</a> and <a href="shown.html">windows, regions and overlays</a>.</p>'
        + "".join(storage_section(*item) for item in pictures.items()),
    )


def color_section(folder, title, group):
    paths = sorted(folder.glob(f"color-{group}-*.json"))
    if not paths:
        sys.exit(f"no figures for {group}")
    body = ""
    for path in paths:
        made = json.loads(path.read_text())
        picture = path.with_suffix(".png").name
        size = (folder / picture).stat().st_size
        what = path.stem.removeprefix(f"color-{group}-")
        colors = f", {made['colors']} colours" if made["colors"] else ""
        caption = f"{what}: {made['bits']} bits{colors}, {made['data_bytes']:,} bytes, file {size:,}, {made['operation_ms']:.1f} ms"
        body += figure(picture, caption)
    return f"<h2>{title}</h2>{body}"


def color_page(folder):
    page(
        folder / "colors.html",
        "One photograph in every form",
        '<p>Made by <code>vk convert</code>. Depths that picture files do not have are shown in the nearest form that has all their '
        'values. Back to the <a href="index.html">storage kinds</a>.</p>'
        + color_section(folder, "Every depth; up to 8 bits with an optimized palette, Floyd-Steinberg", "depth")
        + color_section(folder, "256 colours from different palettes", "palette")
        + color_section(folder, "Every dithering method on 2 colours", "dither2")
        + color_section(folder, "Every dithering method on 16 colours of an optimized palette", "dither16")
        + color_section(folder, "Every dithering method on the fixed palette of 256 colours", "dither256"),
    )


def made_section(folder, title, page_name, group):
    paths = sorted(folder.glob(f"{page_name}-{group}-*.json"))
    if not paths:
        sys.exit(f"no figures for {group}")
    body = ""
    for path in paths:
        made = json.loads(path.read_text())
        what = path.stem.removeprefix(f"{page_name}-{group}-")
        caption = f"{what}: {made['width']} × {made['height']}, {made['bits']} bits, {made['operation_ms']:.1f} ms"
        body += figure(path.with_suffix(".png").name, caption)
    return f"<h2>{title}</h2>{body}"


def geometry_page(folder):
    page(
        folder / "geometry.html",
        "One photograph, one page, moved about",
        "<p>Made by <code>vk resize</code>, <code>rotate</code>, <code>warp</code>, <code>shear</code>, <code>flip</code>, <code>mirror</code> and <code>orient</code>. "
        'Back to the <a href="index.html">storage kinds</a>.</p>'
        + made_section(folder, "37 % of the size", "geometry", "smaller")
        + made_section(folder, "150 % of the size", "geometry", "larger")
        + made_section(folder, "A 1-bit page at 37 %", "geometry", "page")
        + made_section(folder, "Turned", "geometry", "rotate")
        + made_section(folder, "A leaning page made upright, a photograph through a lens, and leaning ones", "geometry", "warp")
        + made_section(folder, "The stored rows of each view perspective", "geometry", "view"),
    )


def combined_page(folder):
    page(
        folder / "combined.html",
        "One picture in another",
        "<p>Made by <code>vk combine</code>, <code>fill</code>, <code>alpha</code>, <code>crop</code>, <code>trim</code>, "
        "<code>extend</code> and <code>scramble</code>: a rocket put into a photograph. "
        'Back to the <a href="index.html">storage kinds</a>.</p>'
        + made_section(folder, "Operations on bits and on channels", "combined", "operation")
        + made_section(folder, "Blend modes", "combined", "mode")
        + made_section(folder, "Porter-Duff operators, both pictures half covered", "combined", "operator")
        + made_section(folder, "A mask, and opacity", "combined", "cover")
        + made_section(folder, "Cut, extended, filled, hidden", "combined", "part"),
    )


def shown_page(folder):
    page(
        folder / "shown.html",
        "Windows, regions, overlays",
        "<p>Made by <code>vk window</code>, <code>region</code> and <code>overlay</code>. The 16-bit gray picture has the light of a "
        "photograph, most of whose shades lie in the lowest tenth of the range. "
        'Back to the <a href="index.html">storage kinds</a>.</p>'
        + made_section(folder, "16-bit gray through windows", "shown", "window")
        + made_section(folder, "Pixels chosen by shapes, filled, blended and cut out", "shown", "region")
        + made_section(folder, "Pictures of two levels laid over others", "shown", "overlay"),
    )


if __name__ == "__main__":
    target = pathlib.Path(sys.argv[1])
    storage_page(target)
    color_page(target)
    geometry_page(target)
    combined_page(target)
    shown_page(target)
