#!/usr/bin/env python3
"""Writes the starting inputs of the fuzz targets of picture files into fuzz/corpus: make_picture_corpus.py VK, the vk
command, which has to have all formats."""

import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests" / "tools"))

from bitmaps import bmp  # noqa: E402
from pictures import CHANNELS, chunk, png  # noqa: E402

SMALL = ["--size", "9x7"]
FORMS = {"1": ["--bits", "1"], "4": ["--bits", "4"], "8": ["--bits", "8", "--palette", "gray"], "16": ["--bits", "16", "--order", "gray"],
         "24": ["--bits", "24"], "32": ["--bits", "32"], "64": ["--bits", "64"]}


def rows(depth, colour, width=9, height=7):
    return [[(x * 7 + y * 5) % (1 << depth) for x in range(width * CHANNELS[colour])] for y in range(height)]


def main():
    vk = [sys.argv[1]]
    with tempfile.TemporaryDirectory() as folder:
        here = pathlib.Path(folder)

        def keep(reader, name, data):
            corpus = HERE / "corpus" / reader
            corpus.mkdir(parents=True, exist_ok=True)
            (corpus / name).write_bytes(data)

        def made(reader, name, file, *command):
            subprocess.run(vk + [str(word) for word in command], check=True, stdout=subprocess.DEVNULL)
            keep(reader, name, (here / file).read_bytes())

        small = here / "small.png"
        subprocess.run(vk + ["resize", str(HERE.parent / "samples/astronaut.png"), str(small), *SMALL, "--strip"], check=True,
                       stdout=subprocess.DEVNULL)
        for name, form in FORMS.items():
            subprocess.run(vk + ["convert", str(small), str(here / f"{name}.png"), *form], check=True, stdout=subprocess.DEVNULL)
            made("TiffRead", f"bits_{name}", "x.tif", "convert", here / f"{name}.png", here / "x.tif")
        for packed in ("none", "packbits", "lzw", "jpeg"):
            made("TiffRead", packed, "x.tif", "convert", small, here / "x.tif", "--compression", packed)
        made("TiffRead", "group3", "x.tif", "convert", here / "1.png", here / "x.tif", "--compression", "group3")
        made("TiffRead", "pages", "x.tif", "join", here / "x.tif", here / "1.png", here / "8.png", "--big")
        made("JpegRead", "colour", "x.jpg", "convert", small, here / "x.jpg")
        made("JpegRead", "progressive", "x.jpg", "convert", small, here / "x.jpg", "--progressive", "--chroma", "444")
        made("JpegRead", "gray", "x.jpg", "convert", here / "8.png", here / "x.jpg")
        for name, more in (("lossy", ["--quality", "50"]), ("lossless", ["--lossless"])):
            made("WebPRead", name, "x.webp", "convert", small, here / "x.webp", *more)
            made("WebPRead", f"alpha_{name}", "x.webp", "convert", here / "32.png", here / "x.webp", *more)
        made("WebPRead", "frames", "x.webp", "join", here / "x.webp", here / "4.png", here / "8.png", "--loop", "2")
        made("GifRead", "colours", "x.gif", "convert", here / "4.png", here / "x.gif")
        made("GifRead", "frames", "x.gif", "join", here / "x.gif", here / "1.png", here / "4.png", "--delay", "50")
        made("GifRead", "clear", "x.gif", "convert", here / "32.png", here / "x.gif")
        for kind in "gray.pgm", "colour.ppm", "bits.pbm":
            source = {"gray.pgm": "16.png", "colour.ppm": "24.png", "bits.pbm": "1.png"}[kind]
            made("PnmRead", kind.split(".")[0], kind, "convert", here / source, here / kind)
        keep("PnmRead", "text_bits", b"P1 5 2 #\n10101 0 1 1 0 1")
        keep("PnmRead", "text_gray", b"P2\n3 2\n7\n1 2 3 4 5 7\n")
        keep("PnmRead", "text_colour", b"P3 1 2 300 1 2 3 4 5 300")
        for depth, colour in ((1, 0), (16, 0), (4, 3), (8, 2), (8, 6), (16, 6), (8, 4)):
            extra = chunk(b"PLTE", bytes(range(48))) + chunk(b"tRNS", b"\x80\0") if colour == 3 else b""
            keep("PngRead", f"{colour}_{depth}", png(rows(depth, colour), depth, colour, extra))
            keep("PngRead", f"{colour}_{depth}_woven", png(rows(depth, colour), depth, colour, extra, True))
        palette = [(i, 255 - i, i // 2) for i in range(256)]
        for bits in (1, 4, 8, 24):
            keep("BmpRead", f"bits_{bits}", bmp([row[:9] for row in rows(bits, 0)], bits, palette[:1 << bits] if bits < 24 else []))
        keep("BmpRead", "masks", bmp([[0x80112233, 7]], 32, size=108, masks=(0xFF, 0xFF00, 0xFF0000, 0xFF000000)))
        keep("BmpRead", "runs", bmp([[0] * 5] * 2, 8, palette[:3], data=b"\x05\x02\0\0\0\x03\x00\x01\x02\0\x02\x01\0\0\0\x01",
                                    compression=1))


if __name__ == "__main__":
    main()
