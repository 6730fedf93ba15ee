"""Documents and animations, the formats that have frames, and colours that files describe."""
import json
import os
import struct
import subprocess
import unittest
import zlib

from pictures import chunk, gif, png, read_gif, read_png
from vkcommand import VkTest, by_system, formats, main, options, vk

SYSTEM_PYTHON = "/usr/bin/python3"

# Files of Pillow's: an animation with clear pixels, places of its own and another palette in each frame.
MAKE = """
import sys
from PIL import Image, ImageDraw
frames = []
for i in range(4):
    frames.append(Image.new("RGBA", (61, 40), (0, 0, 0, 0)))
    ImageDraw.Draw(frames[-1]).ellipse((5 + 7 * i, 5, 25 + 6 * i, 30), fill=(40 * i, 200 - 20 * i, 60, 255))
kept = dict(save_all=True, append_images=frames[1:], duration=[50, 60, 70, 80], loop=3)
frames[0].save("shapes.gif", disposal=2, **kept)
frames[0].save("shapes.webp", lossless=True, **kept)
Image.effect_noise((30, 20), 90).save("woven.gif", interlace=1)
"""
# What Pillow shows of files: the loops, how long each frame stays, and a checksum of its pixels, clear ones alike.
SHOW = """
import json, sys, zlib
from PIL import Image, ImageSequence
for name in sys.argv[1:]:
    picture, frames = Image.open(name), []
    for i, frame in enumerate(ImageSequence.Iterator(picture)):
        shown = [p if p[3] else (0, 0, 0, 0) for p in frame.convert("RGBA").getdata()]
        frames.append([frame.size, zlib.crc32(repr(shown).encode())])
    print(json.dumps([picture.info.get("loop"), frames]))
"""


class FileTest(VkTest):
    def need(self, *names):
        if not set(names) <= set(formats()):
            self.skipTest("not in this build")

    def pillow(self, script, *names):
        """Lines that a script with Pillow prints, run in the test's folder."""
        known = os.path.exists(SYSTEM_PYTHON) and not options.runner and subprocess.run(
            [SYSTEM_PYTHON, "-c", "import PIL"], stderr=subprocess.DEVNULL, check=False).returncode == 0
        if not known:
            self.skipTest("no Pillow to check with")
        done = subprocess.run([SYSTEM_PYTHON, "-c", script, *names], cwd=self.folder, check=True, stdout=subprocess.PIPE)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def run_vk(self, *arguments):
        done = vk(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, b""), arguments)
        return done.stdout.decode()

    def sample(self, name="astronaut.png"):
        return os.path.join(options.samples, name)


class Pages(FileTest):
    """What goes into files of several pictures comes out, as Pillow sees it too."""

    def pages(self, name):
        return json.loads(self.run_vk("pages", self.path(name), "--json"))["pages"]

    def same(self, first, second):
        self.run_vk("compare", first, second)

    def test_lossless_round_trips(self):
        self.need("PNG")
        for name, needs, kinds in (
                ("out.webp", "WebP", (("--bits", "24"), ("--bits", "32"), ("--bits", "4"))),
                ("out.gif", "GIF", (("--bits", "1"), ("--bits", "2"), ("--bits", "4"), ("--bits", "8", "--palette", "gray")))):
            for kind in kinds if needs in formats() else ():
                self.run_vk("convert", self.sample(), self.path("in.png"), *kind)
                self.run_vk("convert", self.path("in.png"), self.path(name), "--lossless")
                self.run_vk("convert", self.path(name), self.path("back.png"))
                self.same(self.path("in.png"), self.path("back.png"))

    def test_what_webp_keeps(self):
        """Clear pixels keep their colours, and the file what it says besides."""
        self.need("PNG", "WebP")
        rows = [[9, 8, 7, 0, 1, 2, 3, 255], [4, 5, 6, 128, 0, 0, 0, 1]]
        exif = b"II*\0" + struct.pack("<IHHHIHHI", 8, 1, 0x112, 3, 1, 6, 0, 0)
        plain = png(rows, 8, 6, chunk(b"pHYs", bytes([0, 0, 0x2E, 0x23, 0, 0, 0x17, 0x12, 1])) + chunk(b"eXIf", exif) +
                    chunk(b"iCCP", b"mine\0\0" + zlib.compress(matrix_profile(1.0))))
        self.run_vk("convert", self.path("in.png", plain), self.path("out.webp"), "--lossless")
        self.run_vk("convert", self.path("out.webp"), self.path("back.png"))
        with open(self.path("back.png"), "rb") as file:
            _, _, found, chunks = read_png(file.read())
        self.assertEqual((found, zlib.decompress(chunks[b"iCCP"][chunks[b"iCCP"].index(0) + 2:])), (rows, matrix_profile(1.0)))
        report = json.loads(self.run_vk("info", self.path("out.webp"), "--json"))
        self.assertEqual([report[key] for key in ("view_perspective", "x_resolution", "y_resolution")], [6, 300, 150])

    def test_packing_choices(self):
        self.need("PNG", "WebP")
        sizes = []
        for more in (["--quality", "30"], [], ["--lossless"], ["--lossless", "--effort", "0"]):
            self.run_vk("convert", self.sample(), self.path("out.webp"), *more)
            sizes.append(os.path.getsize(self.path("out.webp")))
        self.assertEqual(sizes, sorted(sizes))
        self.run_vk("convert", self.sample(), self.path("out.webp"), "--quality", "100")
        done = vk("compare", self.sample(), self.path("out.webp"), "--json")
        self.assertGreater(json.loads(done.stdout)["psnr"], 35)

    def test_animations(self):
        self.need("WebP", "GIF", "PNG")
        self.pillow(MAKE)
        self.run_vk("split", self.path("shapes.gif"), self.path("frame%02d.gif"))
        frames = [self.path(f"frame{i:02}.gif") for i in range(1, 5)]
        self.run_vk("join", self.path("a.gif"), *frames)
        self.run_vk("join", self.path("b.webp"), self.path("shapes.gif"), "--lossless")
        self.run_vk("join", self.path("c.gif"), self.path("b.webp"))
        self.run_vk("join", self.path("d.webp"), self.path("shapes.webp"), "--lossless")
        names = ["shapes.gif", "a.gif", "b.webp", "c.gif"]
        shown = self.pillow(SHOW, *names)
        for name, one in zip(names, shown):
            self.assertEqual(one, shown[0], name)
            self.assertEqual([(f["delay"], f["disposal"], f["loops"]) for f in self.pages(name)],
                             [(d, "cleared", 3) for d in (50, 60, 70, 80)], name)
        self.assertEqual(*self.pillow(SHOW, "shapes.webp", "d.webp"))
        self.run_vk("join", self.path("e.gif"), *frames, "--delay", "250", "--loop", "0")
        self.assertEqual({(f["delay"], f["loops"]) for f in self.pages("e.gif")}, {(250, 0)})
        # A frame of another size is all of its canvas, one of the same size stays where it is.
        self.run_vk("flip", self.path("frame03.gif"), self.path("flipped.gif"))
        self.run_vk("crop", self.path("frame03.gif"), self.path("part.gif"), "--rect", "0,0,5,4")
        places = [[self.pages(n)[0][key] for key in ("left", "top", "canvas_width")] for n in ("frame03.gif", "flipped.gif", "part.gif")]
        self.assertEqual((places[0], places[2]), (places[1], [0, 0, 5]))
        self.run_vk("convert", self.path("woven.gif"), self.path("woven.png"))
        self.assertEqual(*self.pillow(SHOW, "woven.gif", "woven.png"))

    def test_gif_block_by_block(self):
        """Places, delays, disposals, loops and clear pixels, in and out, whoever packs them."""
        self.need("GIF", "PNG")
        colors = [(7, 8, 9), (200, 0, 30), (1, 2, 250), (255, 255, 255)]
        lines = lambda width, height, shift: [[(x * y + x // 3 + shift) % 4 for x in range(width)] for y in range(height)]
        frames = [((0, 0, 9, 7), 5, 1, None, lines(9, 7, 0)), ((2, 1, 5, 4), 0, 2, 2, lines(5, 4, 1)),
                  ((8, 6, 1, 1), 65535, 3, 0, [[0]]), ((0, 3, 6, 300), 7, 1, 3, lines(6, 300, 2))]
        for loops in (0, 3, None):
            self.run_vk("join", self.path("out.gif"), self.path("in.gif", gif((20, 400), colors, frames, loops)))
            with open(self.path("out.gif"), "rb") as file:
                size, found, blocks = read_gif(file.read())
            self.assertEqual((size, blocks.pop(0) if loops is not None else None), ((20, 400), loops))
            self.assertEqual(len(blocks), len(frames))
            for (place, delay, disposal, clear, pixels), (place2, delay2, disposal2, clear2, pixels2) in zip(frames, blocks):
                self.assertEqual((place, delay, disposal, clear is None), (place2, delay2, disposal2, clear2 is None))
                shown = [[None if i == clear else colors[i] for i in row] for row in pixels]
                self.assertEqual([[None if i == clear2 else found[i] for i in row] for row in pixels2], shown)
        rows = [[9, 8, 7, 255, 1, 2, 3, 0], [4, 5, 6, 128, 0, 0, 0, 127]]  # and of pictures that are no frames
        self.path("in.png", png(rows, 8, 6))
        self.run_vk("join", self.path("out.gif"), *[self.path("in.png")] * 2, "--delay", "255", "--loop", "65535")
        with open(self.path("out.gif"), "rb") as file:
            size, found, blocks = read_gif(file.read())
        self.assertEqual((size, len(blocks), blocks[0]), ((2, 2), 3, 65535))
        for place, delay, _, clear, pixels in blocks[1:]:
            self.assertEqual((place, delay), ((0, 0, 2, 2), 26))
            self.assertEqual([[None if i == clear else found[i] for i in row] for row in pixels], [[(9, 8, 7), None], [(4, 5, 6), None]])

    def test_pages_of_a_document(self):
        self.need("TIFF", "PNG")
        if by_system():
            self.skipTest("not at every depth by the system's codec")
        self.run_vk("resize", self.sample(), self.path("small.png"), "--size", "40x30")
        self.run_vk("convert", self.path("small.png"), self.path("gray.png"), "--bits", "16", "--order", "gray")
        sources = [self.path("small.png"), self.sample("page.png"), self.path("gray.png")]
        self.run_vk("join", self.path("all.tif"), *sources)
        self.run_vk("join", self.path("twice.tif"), self.path("all.tif"), self.path("all.tif"))
        self.assertEqual([page["bits_per_pixel"] for page in self.pages("twice.tif")], [24, 1, 16] * 2)
        self.run_vk("split", self.path("twice.tif"), self.path("page%d.png"))
        for i in range(6):
            self.same(self.path(f"page{i + 1}.png"), sources[i % 3])
            self.run_vk("convert", self.path("twice.tif"), self.path("one.png"), "--page", str(i + 1))
            self.same(self.path("one.png"), sources[i % 3])
        self.run_vk("convert", self.path("twice.tif"), self.path("again.tif"), "--bits", "24", "--then", "mirror", "--then", "mirror")
        self.assertEqual([page["bits_per_pixel"] for page in self.pages("again.tif")], [24] * 6)
        self.fails(3, "page 7", "info", self.path("twice.tif"), "--page", "7")
        self.fails(2, "--page", "info", self.path("twice.tif"), "--page", "0")
        for pattern in ("x.png", "x%s.png", "%d%d.png", "x%", "x%123d.png"):
            self.fails(2, "%d", "split", self.path("all.tif"), self.path(pattern))
        self.fails(2, "no pages", "join", self.path("x.png"), *sources)
        self.assertFalse(os.path.exists(self.path("x.png")))

    def test_cut_and_damaged_files(self):
        for name, kind in (("out.webp", "WebP"), ("out.gif", "GIF")):
            if kind not in formats() or "PNG" not in formats() or by_system():
                continue
            self.run_vk("resize", self.sample(), self.path("in.png"), "--size", "30x20")
            self.run_vk("join", self.path(name), self.path("in.png"), self.path("in.png"), "--lossless")
            with open(self.path(name), "rb") as file:
                data = file.read()
            for at in range(0, len(data) - 1, 41 if not options.slow else 200):
                self.fails(3, "cut", "pages", self.path("cut", data[:at]))
                broken = self.path("broken", data[:at] + bytes([data[at] ^ 0xFF]) + data[at + 1:])
                done = vk("join", self.path("x.webp"), broken, "--lossless")
                self.assertIn(done.returncode, (0, 1, 3), (at, done))


def curve(gamma):
    return b"curv" + struct.pack(">4xIH", 1, int(gamma * 256)) + bytes(2)


def profile(space, tags, kind=b"mntr", connection=b"XYZ "):
    """A colour profile of tags, each of a multiple of four bytes."""
    table, data = struct.pack(">I", len(tags)), b""
    for name, tag in tags.items():
        table += name + struct.pack(">II", 132 + 12 * len(tags) + len(data), len(tag))
        data += tag
    head = struct.pack(">4xI", 0x02400000) + kind + space + connection + bytes(12) + b"acsp" + bytes(28) + struct.pack(
        ">iii", 63190, 65536, 54061) + bytes(48)
    return struct.pack(">I", 4 + len(head) + len(table) + len(data)) + head + table + data


def matrix_profile(gamma):
    """The primaries of sRGB with another tone curve."""
    xyz = lambda *values: b"XYZ " + struct.pack(">4xiii", *(round(v * 65536) for v in values))
    tags = {b"wtpt": xyz(0.9642, 1, 0.8249), b"rXYZ": xyz(0.4360, 0.2225, 0.0139), b"gXYZ": xyz(0.3851, 0.7169, 0.0971),
            b"bXYZ": xyz(0.1431, 0.0606, 0.7139)}
    return profile(b"RGB ", {**tags, **{name: curve(gamma) for name in (b"rTRC", b"gTRC", b"bTRC")}})


def encoded(light):
    return 12.92 * light if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055


class Profiles(FileTest):
    """Pictures whose samples stand for light in proportion, and inks, in sRGB colours."""

    def converted(self, data, name="in.png", out="out.png"):
        done = vk("convert", self.path(name, data), self.path(out), "--srgb")
        if b"this build cannot" in done.stderr:
            self.skipTest("this build has no colour management")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        with open(self.path(out), "rb") as file:
            depth, colour, rows, chunks = read_png(file.read())
        self.assertNotIn(b"iCCP", chunks)
        return depth, colour, rows, chunks

    def near(self, found, light, most, allowed):
        for got, value in zip(found, light, strict=True):
            self.assertLessEqual(abs(got - encoded(value / most) * most), allowed, (found, light))

    def test_light_in_proportion(self):
        self.need("PNG")
        icc = lambda data: chunk(b"iCCP", b"mine\0\0" + zlib.compress(data))
        gray = profile(b"GRAY", {b"wtpt": b"XYZ " + struct.pack(">4xiii", 63190, 65536, 54061), b"kTRC": curve(1.0),
                                  b"some": bytes(range(100))})
        colours, grays = icc(matrix_profile(1.0)), icc(gray)
        row = [0, 20, 90, 255, 128, 1, 7, 200, 99, 64, 32, 16]
        for depth, most in ((8, 255), (16, 65535)):
            scaled = [value * (most // 255) for value in row]
            for kind, extra in ((2, colours), (0, grays)):
                found = self.converted(png([scaled], depth, kind, extra))
                self.assertEqual(found[:2], (depth, kind))
                self.near(found[2][0], scaled, most, most / 100)
            found = self.converted(png([scaled], depth, 6, colours))[2][0]  # alpha is no colour
            self.assertEqual(found[3::4], scaled[3::4])
            self.near(found[::4], scaled[::4], most, most / 100)
        palette = self.converted(png([[0, 1, 2, 3]], 2, 3, colours + chunk(b"PLTE", bytes(row))))
        self.assertEqual(palette[2], [[0, 1, 2, 3]])
        self.near(palette[3][b"PLTE"], row, 255, 3)
        # A profile of other pixels changes nothing, a broken one is refused.
        self.assertEqual(self.converted(png([row], 8, 2, grays))[2], [row])
        self.fails(3, "profile", "convert", self.path("in.png", png([row], 8, 2, icc(profile(b"RGB ", {b"some": bytes(range(200))})))),
                   self.path("out.png"), "--srgb")

    def test_inks(self):
        self.need("JPEG", "TIFF", "PNG")
        # Of the inks only black counts: from full light to none.
        steps = bytes(range(256))
        grid = b"".join(bytes([0 if corner & 1 else 255, 128, 128]) for corner in range(16))
        table = b"mft1" + bytes(4) + bytes([4, 3, 2, 0]) + struct.pack(">9i", *(65536 * (i % 4 == 0) for i in range(9))) + steps * 4 + grid + steps * 3
        inks = profile(b"CMYK", {b"wtpt": b"XYZ " + struct.pack(">4xiii", 63190, 65536, 54061), b"A2B0": table},
                       b"prtr", b"Lab ")
        script = f"""
from PIL import Image
for name in ("in.jpg", "in.tif"):
    Image.frombytes("CMYK", (3, 1), bytes([9, 99, 200, 0, 50, 0, 0, 127, 80, 0, 0, 255])).resize((48, 16), 0).save(name, quality=100, icc_profile={inks!r})
"""
        self.pillow(script)
        for name in ("in.jpg", "in.tif"):
            with open(self.path(name), "rb") as file:
                rows = self.converted(file.read(), name)[2]
            for x, lightness in ((8, 100), (24, 50.2), (40, 0)):
                light = ((lightness + 16) / 116) ** 3 if lightness > 8 else lightness / 903.3
                self.near(rows[8][3 * x:3 * x + 3], [255 * light] * 3, 255, 4)


if __name__ == "__main__":
    main()
