#!/usr/bin/env python3
"""Writes the demo's pages, of which index.html leads to the others: demo_page.py <folder with its pictures and figures>."""
import html
import json
import pathlib
import struct
import sys

STYLE = """
* { box-sizing: border-box; }
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 84em; padding: 1em; color: #222; }
nav a { margin-right: 1em; }
section.table { overflow-x: auto; }
table { border-collapse: collapse; margin: 1em 0 2em; width: 100%; }
th, td { border-bottom: 1px solid #ddd; padding: .35em .7em; text-align: right; white-space: nowrap; }
th:first-child, td:first-child { text-align: left; }
.grid { display: grid; gap: 1.2em 1em; grid-template-columns: repeat(auto-fill, 256px); }
figure { margin: 0; }
figure .whole { display: flex; height: 180px; align-items: center; justify-content: center; background: #f1f2f4; }
figure .whole img { max-width: 100%; max-height: 180px; }
figure .crop { display: block; position: relative; height: 192px; overflow: hidden; margin-top: 4px; }
figure .crop img { position: absolute; left: 50%; top: 50%; max-width: none; image-rendering: pixelated; transform-origin: 0 0; }
figcaption { color: #555; font-size: .85em; overflow-wrap: anywhere; }
@media (max-width: 560px) {
    .grid { gap: .8em .6em; grid-template-columns: repeat(2, minmax(0, 1fr)); }
    figure .whole, figure .whole img { height: auto; max-height: 150px; }
    figure .crop { height: 130px; }
}
"""
PAGES = {
    "index.html": "Storage kinds",
    "colors.html": "Colours",
    "geometry.html": "Sizes, angles, perspectives",
    "combined.html": "Pictures in pictures",
    "shown.html": "Windows, regions, overlays",
}
# What begins with one of these is worth a closer look: at a place of the picture, in parts of its width and height.
CLOSER = {
    "color-depth": (0.40, 0.18),
    "color-palette": (0.40, 0.18),
    "color-dither2": (0.40, 0.18),
    "color-dither16": (0.40, 0.18),
    "color-dither256": (0.40, 0.18),
    "geometry-smaller": (0.43, 0.22),
    "geometry-larger": (0.40, 0.205),
    "geometry-page": (0.27, 0.125),
    "geometry-rotate-nearest": (0.47, 0.23),
    "geometry-rotate-bi": (0.47, 0.23),
    "geometry-rotate-page": (0.29, 0.1406),
}
SCALE = 4
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
    here = "".join(f'<a href="{name}">{text}</a>' for name, text in PAGES.items() if name != path.name)
    path.write_text(
        "<!doctype html><html lang='en'><meta charset='utf-8'><meta name='viewport' content='width=device-width, initial-scale=1'>"
        f"<title>Vkkrnx: {title}</title><style>{STYLE}</style><nav>{here}</nav><h1>{title}</h1>{body}</html>\n",
        encoding="utf-8",
    )


def png_size(path):
    with open(path, "rb") as file:
        return struct.unpack(">II", file.read(24)[16:])


def crop(path, place):
    """Some pixels around a place, enlarged by the browser, which is told not to smooth them."""
    left, top = (round(part * side) for part, side in zip(place, png_size(path)))
    return (
        f'<a class="crop" href="{path.name}"><img loading="lazy" src="{path.name}" alt="" '
        f'style="transform: scale({SCALE}) translate({-left}px, {-top}px)"></a>'
    )


def figure(path, caption):
    place = next((place for start, place in CLOSER.items() if path.stem.startswith(start)), None)
    return (
        f'<figure><a class="whole" href="{path.name}"><img loading="lazy" src="{path.name}" alt="{html.escape(caption)}"></a>'
        f"{crop(path, place) if place else ''}<figcaption>{html.escape(caption)}</figcaption></figure>"
    )


def grid(figures):
    return f'<div class="grid">{"".join(figures)}</div>'


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


def storage_section(folder, name, all_held):
    first = all_held[0]
    heads = ["storage", "stored bytes", "of raw", "tiles", "write MB/s", "read MB/s", "read back equal"]
    return (
        f"<h2>{name}: {first['width']} × {first['height']} pixels, {first['bits_per_pixel']} bits</h2>"
        f"<section class='table'><table><tr>{''.join(f'<th>{head}</th>' for head in heads)}</tr>{''.join(map(storage_row, all_held))}</table></section>"
        + grid(figure(folder / f"{name}-{held['kind']}.png", KINDS[held["kind"]]) for held in all_held)
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
        "shown was written from the rows that came back. Rates count the time in the library only.</p>"
        + "".join(storage_section(folder, *item) for item in pictures.items()),
    )


def color_section(folder, title, group):
    paths = sorted(folder.glob(f"color-{group}-*.json"))
    if not paths:
        sys.exit(f"no figures for {group}")
    figures = []
    for path in paths:
        made = json.loads(path.read_text())
        picture = path.with_suffix(".png")
        size = picture.stat().st_size
        what = path.stem.removeprefix(f"color-{group}-")
        colors = f", {made['colors']} colours" if made["colors"] else ""
        caption = f"{what}: {made['bits']} bits{colors}, {made['data_bytes']:,} bytes, file {size:,}, {made['operation_ms']:.1f} ms"
        figures.append(figure(picture, caption))
    return f"<h2>{title}</h2>{grid(figures)}"


def color_page(folder):
    page(
        folder / "colors.html",
        "One photograph in every form",
        '<p>Made by <code>vk convert</code>. Depths that picture files do not have are shown in the nearest form that has all their '
        'values. Below each picture some of its pixels, four times as wide and high.</p>'
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
    figures = []
    for path in paths:
        made = json.loads(path.read_text())
        what = path.stem.removeprefix(f"{page_name}-{group}-")
        caption = f"{what}: {made['width']} × {made['height']}, {made['bits']} bits, {made['operation_ms']:.1f} ms"
        figures.append(figure(path.with_suffix(".png"), caption))
    return f"<h2>{title}</h2>{grid(figures)}"


def geometry_page(folder):
    page(
        folder / "geometry.html",
        "One photograph, one page, moved about",
        "<p>Made by <code>vk resize</code>, <code>rotate</code>, <code>warp</code>, <code>shear</code>, <code>flip</code>, <code>mirror</code> and <code>orient</code>. "
        "Where filters differ, some pixels stand below, four times as wide and high.</p>"
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
        "<code>extend</code> and <code>scramble</code>: a rocket put into a photograph.</p>"
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
        "photograph, most of whose shades lie in the lowest tenth of the range.</p>"
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
