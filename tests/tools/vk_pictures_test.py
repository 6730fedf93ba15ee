"""What the vk command reads and writes, pixel by pixel."""
import itertools
import os
import random

from bitmaps import bmp, packed, read_bmp, runs
from pictures import CHANNELS, chunk, png, read_png
from vkcommand import VkTest, formats, main


class Pictures(VkTest):
    """Every pixel format of every file format, against pixels worked out here."""

    def setUp(self):
        super().setUp()
        self.random = random.Random(7)

    def rows(self, depth, colour, width=13, height=9):
        return [[self.random.randrange(1 << depth) for _ in range(width * CHANNELS[colour])] for _ in range(height)]

    def test_pnm(self):
        # Kind, greatest value, samples; the text form, then the bytes, then what comes out.
        cases = [("P2", "P5", most) for most in (255, 7, 65535, 1000)] + [("P3", "P6", most) for most in (255, 100, 65535, 256)]
        for text, raw, most in cases:
            full = 255 if most < 256 else 65535
            size = (full + 1).bit_length() // 8
            samples = [self.random.randrange(most + 1) for _ in range(5 * 3 * (3 if text == "P3" else 1))]
            scaled = [(sample * full + most // 2) // most for sample in samples]
            expected = f"{raw}\n5 3\n{full}\n".encode() + b"".join(s.to_bytes(size, "big") for s in scaled)
            given = b"".join(s.to_bytes(size, "big") for s in samples)
            inputs = {"text.pnm": f"{text} # comment\n5\t3 # 9 9\n{most}\n{' '.join(map(str, samples))}".encode(),
                      "raw.pnm": f"{raw} 5\n#\n3 {most}\n".encode() + given}
            for name, data in inputs.items():
                report, out = self.hold(self.path(name, data), "conv", self.path("out.pnm"))
                self.assertEqual(out, expected, (text, most, name))
                channels = 3 if text == "P3" else 1
                self.assertEqual(report["bits_per_pixel"], 8 * size * channels)
                self.assertEqual(report["bytes_per_line"], (5 * size * channels + 3) // 4 * 4)
        raw = b"P4\n11 2\n\xA5\xE0\x01\x20"
        for data in (raw, b"P1 11 2\n1010 0101111\n0 0 0 0 0 0 0 1 0 0 1"):
            for kind in ("disk", "compressed"):
                self.assertEqual(self.hold(self.path("in.pnm", data), kind, self.path("out.pbm"))[1], raw)

    def test_names_beyond_ascii(self):
        source = self.path("Bild \u00e4\u56f3 \u2603.pgm", b"P5 1 1 255\n\x80")
        out = self.path("Kopie \u00e4\u56f3 \u2603.pgm")
        report, data = self.hold(source, "conv", out)
        self.assertEqual(data, b"P5\n1 1\n255\n\x80")
        self.assertEqual((report["file"], report["output"]), (source, out))

    def test_replaces_its_own_input(self):
        source = self.path("same.pnm", b"P2 2 1 3 0 3")
        self.hold(source, "conv", source)
        self.assertEqual(os.listdir(self.folder), ["same.pnm"])
        with open(source, "rb") as file:
            self.assertEqual(file.read(), b"P5\n2 1\n255\n\0\xff")

    def test_png(self):
        if "PNG" not in formats():
            self.skipTest("this build has no PNG")
        palette = bytes(self.random.randrange(256) for _ in range(256 * 3))
        density = chunk(b"pHYs", bytes([0, 0, 0x2E, 0x23, 0, 0, 0x17, 0x12, 1]))  # 300 x 150 dots per inch
        kinds = [(d, 0) for d in (1, 2, 4, 8, 16)] + [(d, 3) for d in (1, 2, 4, 8)] + [(d, c) for c in (2, 6) for d in (8, 16)]
        for (depth, colour), interlaced in itertools.product(kinds, (False, True)):
            rows = self.rows(depth, colour)
            extra = density + (chunk(b"PLTE", palette[:3 << depth]) if colour == 3 else b"")
            source = self.path("in.png", png(rows, depth, colour, extra, interlaced))
            report, out = self.hold(source, "conv", self.path("out.png"))
            out_depth, out_colour, out_rows, chunks = read_png(out)
            self.assertEqual((out_depth, out_colour, out_rows), (depth, colour, rows))
            self.assertEqual(chunks.get(b"PLTE"), palette[:3 << depth] if colour == 3 else None)
            self.assertEqual(chunks[b"pHYs"], density[8:-4])
            self.assertEqual((report["bits_per_pixel"], report["x_resolution"], report["y_resolution"]),
                             (depth * CHANNELS[colour], 300, 150))
        # The colours through another door: indexed and gray pictures as PNM.
        rows = self.rows(4, 3)
        source = self.path("in.png", png(rows, 4, 3, chunk(b"PLTE", palette[:48])))
        pixels = b"".join(palette[3 * i:3 * i + 3] for row in rows for i in row)
        self.assertEqual(self.hold(source, "conv", self.path("out.ppm"))[1], b"P6\n13 9\n255\n" + pixels)
        rows = self.rows(2, 0)
        source = self.path("in.png", png(rows, 2, 0))
        self.assertEqual(self.hold(source, "conv", self.path("out.pgm"))[1], b"P5\n13 9\n3\n" + bytes(sum(rows, [])))

    def test_bmp(self):
        for bits, size, top_down in itertools.product((1, 2, 4, 8, 24), (12, 16, 40, 52, 64, 108, 124), (False, True)):
            if top_down and size < 40:
                continue
            palette = [tuple(self.random.randrange(256) for _ in range(3)) for _ in range(1 << bits)] if bits <= 8 else []
            rows = [[self.random.randrange(1 << bits) for _ in range(13)] for _ in range(5)]
            source = self.path("in.bmp", bmp(rows, bits, palette, size, top_down=top_down))
            report, out = self.hold(source, "conv", self.path("out.bmp"))
            depth, fields, table, found = read_bmp(out)
            self.assertEqual((report["bits_per_pixel"], depth), (bits, 4 if bits == 2 else bits))
            self.assertEqual(table, b"".join(bytes(entry) + b"\0" for entry in palette))
            self.assertEqual(found, [packed(row, depth, 13) for row in rows], (bits, size, top_down))
            self.assertEqual((fields["header"], fields["compression"]), (40, 0))
            if size >= 40:
                self.assertEqual(fields["resolution"], (2835, 2835))

    def test_bmp_masks_and_runs(self):
        colours = {  # depth, masks, header: a pixel and its red, green and blue
            (16, (0xF800, 0x7E0, 0x1F), 52): (0x8A51, (140, 73, 140)), (16, (), 40): (0x7FE1, (255, 255, 8)),
            (32, (0xFF, 0xFF00, 0xFF0000), 108): (0x123456, (0x56, 0x34, 0x12)), (32, (), 40): (0x99123456, (0x12, 0x34, 0x56))}
        for (bits, masks, size), (pixel, colour) in colours.items():
            source = self.path("in.bmp", bmp([[pixel, 0]], bits, size=size, masks=masks))
            out = self.hold(source, "conv", self.path("out.ppm"))[1]
            self.assertEqual(out, b"P6\n2 1\n255\n" + bytes(colour) + b"\0\0\0", (bits, masks))
        for size, masks, pixels in ((124, (0xFF0000, 0xFF00, 0xFF), [0x80112233, 0x00445566]),
                                    (56, (0xFF0000, 0xFF00, 0xFF), [0x80112233, 0x00445566]),
                                    (108, (0xFF, 0xFF00, 0xFF0000), [0x80332211, 0x00665544]),
                                    (40, (0xFF, 0xFF00, 0xFF0000), [0x80332211, 0x00665544])):
            alpha = bmp([pixels], 32, size=size, masks=(*masks, 0xFF000000), compression=6 if size == 40 else 3)
            depth, fields, _, rows = read_bmp(self.hold(self.path("in.bmp", alpha), "conv", self.path("out.bmp"))[1])
            self.assertEqual((depth, fields["header"], fields["compression"]), (32, 124, 3))
            self.assertEqual(rows, [packed([0x80112233, 0x00445566], 32, 2)])
        runs = b"\x05\x02\0\0\0\x03\x00\x01\x02\0\x02\x01\0\0\0\x01"
        gray = [(0, 0, 0), (7, 7, 7), (255, 255, 255)]
        good = bmp([[0] * 5] * 2, 8, gray, data=runs, compression=1)
        out = self.hold(self.path("in.bmp", good), "conv", self.path("out.ppm"))[1]
        self.assertEqual(out[11:], b"".join(bytes(gray[i]) for i in (0, 1, 2, 1, 1, 2, 2, 2, 2, 2)))

    def test_bmp_from_elsewhere(self):
        """Headers, masks and run lengths of other programs, against the pixels they were made from."""
        def decoded(data):
            return self.hold(self.path("in.bmp", data), "conv", self.path("out.ppm"))[1].split(b"255\n", 1)[1]

        palette = [tuple(self.random.randrange(256) for _ in range(3)) for _ in range(256)]
        for bits, width in itertools.product((4, 8), (1, 7, 40, 700)):
            for _ in range(6):
                rows = [[self.random.choice((0, 0, self.random.randrange(1 << bits)))] * width for _ in range(9)]
                for row in self.random.choices(rows, k=4):
                    row[:] = [self.random.choice((0, 5, 9)) * self.random.randrange(2) for _ in row]
                data = runs(rows, bits, self.random)
                expected = b"".join(bytes(palette[index][::-1]) for row in rows for index in row)
                source = bmp(rows, bits, palette[:1 << bits], data=data + b"\1\1", compression=3 - bits // 4,
                             image_size=self.random.choice((0, len(data), 1)))
                self.assertEqual(decoded(source), expected, (bits, width, data))
        # Colour tables that are short or said to be long, and pixels that begin later.
        rows = [[2, 0, 1], [1, 1, 2]]
        expected = b"".join(bytes(palette[index][::-1]) for row in rows for index in row)
        for bits, colours, used, gap in ((8, 3, None, 0), (8, 256, 0, 0), (8, 256, 1000, 5), (4, 3, 0, 0), (8, 3, 0, 0),
                                         (8, 3, 3, 77), (2, 3, 3, 1), (8, 256, 0xFFFFFFFF, 0)):
            self.assertEqual(decoded(bmp(rows, bits, palette[:colours], gap=b"\x55" * gap, used=used, image_size=0)), expected,
                             (bits, colours, used))
        for bits, masks in ((16, (0xF00, 0xF0, 0xF)), (16, (0x3F, 0xFC0, 0xF000)), (16, (0xE000, 0x1F00, 0xFF)), (16, (0, 0xFF00, 1)),
                            (32, (0x3FF00000, 0xFFC00, 0x3FF)), (32, (0xFF00, 0xFF0000, 0xFF000000)), (32, (7, 0x38, 0x40))):
            pixels = [self.random.randrange(1 << bits) for _ in range(33)]
            def level(pixel, mask):
                width = bin(mask).count("1")
                value = (pixel & mask) // (mask & -mask or 1)
                return value >> (width - 8) if width > 8 else int((format(value, f"0{width}b") * 8)[:8], 2) if width else 0
            expected = bytes(level(pixel, mask) for pixel in pixels for mask in masks)
            for size in (40, 52):
                self.assertEqual(decoded(bmp([pixels], bits, size=size, masks=masks)), expected, (bits, masks))

    def test_bmp_kinds(self):
        """What leaves the picture as it is though it is unusual, and what is refused."""
        def changed(data, *changes):
            for at, value in changes:
                value = value if isinstance(value, bytes) else value.to_bytes(4, "little")
                data = data[:at] + value + data[at + len(value):]
            return data

        palette, rows, deep = [(1, 2, 3), (40, 50, 60), (7, 8, 9)], [[2, 0, 1], [1, 1, 2]], [[0x102030, 0xFF, 0xAB0000]]
        plain, v5 = bmp(rows, 8, palette), bmp(rows, 8, palette, size=124)
        indexed = b"3 2\n255\n" + b"".join(bytes(palette[index][::-1]) for row in rows for index in row)
        black = indexed[:-3] + bytes(3)
        colours = b"3 1\n255\n" + b"".join(pixel.to_bytes(3, "big") for pixel in deep[0])
        upper, lower = b"\1\2\1\0\1\1", b"\2\1\1\2"
        runs8 = lower + b"\0\0" + upper + b"\0\1"
        kinds = {
            "size of the file": (changed(plain, (2, 0)), indexed), "less of the file": (changed(plain, (2, 30)), indexed),
            "size of the pixels": (bmp(rows, 8, palette, image_size=0xFFFFFFFF), indexed),
            "no resolution": (bmp(rows, 8, palette, per_metre=0), indexed), "less than none": (bmp(rows, 8, palette, per_metre=-5), indexed),
            "vast resolution": (bmp(rows, 8, palette, per_metre=0x7FFFFFFF), indexed),
            "long palette": (bmp(rows, 8, palette + [(0, 0, 0)] * 297), indexed), "bytes behind": (plain + bytes(77), indexed),
            "important colours": (changed(plain, (50, 0xFFFFFF)), indexed), "reserved": (changed(plain, (6, b"abcd")), indexed),
            "no such colour": (bmp([rows[0], [1, 1, 200]], 8, palette), black), "OS/2, halftoned": (bmp(rows, 8, palette, size=64), indexed),
            "profile": (changed(v5, (70, b"DEBM"), (126, len(v5) - 14), (130, 40)) + bytes(40), indexed),
            "profile beyond": (changed(v5, (70, b"DEBM"), (126, 1 << 30), (130, 1 << 31)), indexed),
            "linked profile": (changed(v5, (70, b"KNIL"), (126, len(v5) - 14), (130, 6)) + b"a.icc\0", indexed),
            "calibrated": (changed(bmp(rows, 8, palette, size=108), (70, 0), (74, bytes(range(48)))), indexed),
            "runs": (bmp(rows, 8, palette, data=runs8, compression=1), indexed),
            "runs from the top": (bmp(rows, 8, palette, data=upper + b"\0\0" + lower, compression=1, top_down=True), indexed),
            "palette of colours": (bmp(deep, 24, palette), colours), "palette of 32": (bmp(deep, 32, palette), colours),
            "gap": (bmp(deep, 24, gap=b"\1" * 100), colours), "fourth bytes": (bmp([[p | 0x9A << 24 for p in deep[0]]], 32), colours),
            "alpha of 16": (bmp([[0xF123, 0x0FFF]], 16, size=56, masks=(0xF00, 0xF0, 0xF, 0xF000)),
                            b"2 1\n255\n" + bytes([0x11, 0x22, 0x33, 255, 255, 255])),
            "alpha of 2 bits": (bmp([[0x3FF << 20, 3 << 30 | 0x200]], 32, size=108, masks=(0x3FF << 20, 0x3FF << 10, 0x3FF, 3 << 30)),
                                b"2 1\n255\n" + bytes([255, 0, 0, 0, 0, 0x80])),
        }
        for name, (data, expected) in kinds.items():
            out = self.hold(self.path("in.bmp", data), "conv", self.path("out.ppm"))[1]
            self.assertEqual(out, b"P6\n" + expected, name)
        short = lambda value: value.to_bytes(2, "little")
        refused = {  # the place and what stands there: in a picture of 8 bits unless there is another
            "no depth": (28, short(0)), "64 bits": (28, short(64)), "3 bits": (28, short(3)), "no planes": (26, short(0)),
            "many planes": (26, short(5000)), "a header of nothing": (14, 0), "a header of 13": (14, 13), "one of half the file": (14, 0x4000),
            "no width": (18, 0), "no height": (22, 0), "less than no width": (18, 0xFFFFFFFD), "vast": (18, b"\0\0\1\0\0\0\1\0"),
            "pixels in the header": (10, 20), "pixels behind": (10, len(plain)), "masks of 8 bits": (30, 3), "runs of 4": (30, 2),
            "JPEG": (30, 4), "PNG": (30, 5), "unknown": (30, 99),
            "JPEG inside": (28, short(0) + b"\4\0\0\0"), "OS/2 fax": (14, changed(bmp([[0, 1]], 1, palette[:2], size=64), (30, 3))[14:]),
            "OS/2 runs of 24": (14, changed(bmp(deep, 24, size=64), (30, 4))[14:]), "masks of 24": (14, bmp(deep, 24, masks=(1, 2, 4))[14:]),
            "runs of 1": (14, bmp([[0, 1]], 1, palette[:2], data=runs8, compression=1)[14:]), "none of it": (14, plain[14:30]),
        }
        for name, (at, value) in refused.items():
            data = changed(plain, (at, value))
            self.fails(3, "in.bmp", "info", self.path("in.bmp", data[:30] if name == "none of it" else data))

    def test_bmp_files_that_lie(self):
        good = bmp([[1, 2, 3], [4, 5, 6]], 8, [(1, 2, 3)] * 256)
        huge = (0x7FFFFFFF).to_bytes(4, "little")
        for at, value in ((10, b"\0\0\0\0"), (10, huge), (14, b"\x0d"), (14, huge), (18, huge), (18, b"\xff" * 4), (22, huge),
                          (22, b"\0\0\0\x80"), (26, b"\2"), (28, b"\7"), (30, b"\4"), (30, b"\2")):
            data = good[:at] + value + good[at + len(value):]
            self.fails(3, "BMP" if at not in (18, 22) else "in.bmp", "info", self.path("in.bmp", data))
        self.fails(3, "run lengths", "info", self.path("in.bmp", bmp([[0] * 5], 8, [(0, 0, 0)], data=b"\4\1\0", compression=1)))
        self.fails(3, "run lengths", "info", self.path("in.bmp", bmp([[0] * 5], 8, [(0, 0, 0)], data=b"\x09\1\0\1", compression=1)))
        for length in range(2, len(good), 7):
            self.fails(3, "in.bmp", "info", self.path("in.bmp", good[:length]))

    def test_png_transparency(self):
        if "PNG" not in formats():
            self.skipTest("this build has no PNG")
        gray8 = [[1, 0, 2, 255], [3, 7, 4, 9]]
        cases = [  # depth, colour, chunks, rows, and the rows as colour with alpha
            (8, 4, b"", gray8, [[1, 1, 1, 0, 2, 2, 2, 255], [3, 3, 3, 7, 4, 4, 4, 9]]),
            (16, 4, b"", [[513, 7]], [[513, 513, 513, 7]]),
            (8, 0, chunk(b"tRNS", b"\0\5"), [[5, 6]], [[5, 5, 5, 0, 6, 6, 6, 255]]),
            (1, 0, chunk(b"tRNS", b"\0\1"), [[0, 1]], [[0, 0, 0, 255, 255, 255, 255, 0]]),
            (8, 2, chunk(b"tRNS", b"\0\1\0\2\0\3"), [[1, 2, 3, 3, 2, 1]], [[1, 2, 3, 0, 3, 2, 1, 255]]),
            (2, 3, chunk(b"PLTE", b"abcdefghi") + chunk(b"tRNS", b"\x80"), [[0, 2]],
             [[97, 98, 99, 128, 103, 104, 105, 255]]),
        ]
        for depth, colour, extra, rows, expected in cases:
            source = self.path("in.png", png(rows, depth, colour, extra))
            out = self.hold(source, "conv", self.path("out.png"))[1]
            self.assertEqual(read_png(out)[:3], (max(depth, 8), 6, expected), (depth, colour))
        self.fails(1, "alpha", "hold", source, "--as", "conv", "-o", self.path("out.ppm"))


if __name__ == "__main__":
    main()
