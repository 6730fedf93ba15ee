"""Regions, gray windows and overlays through the vk command."""
import os
import struct

from vkcommand import GrayTest, main


class Regions(GrayTest):
    ROWS = [[9, 9, 9, 9, 9], [9, 50, 60, 9, 9], [9, 70, 9, 9, 9], [9, 9, 9, 9, 9]]

    def inside(self, shapes):
        """The pixels of a region, as rows of text."""
        self.run_vk("region", self.pgm("in.pgm", self.ROWS), self.path("out.pbm"), "--shape", shapes, "--mask")
        with open(self.path("out.pbm"), "rb") as file:
            kind, _, bits = file.read().split(b"\n", 2)
        self.assertEqual((kind, len(bits)), (b"P4", len(self.ROWS)))
        return [format(byte, "08b")[:5].replace("1", ".").replace("0", "#") for byte in bits]  # 1 is black there

    def test_shapes(self):
        mask = self.pgm("mask.pgm", [[0, 1], [255, 0]])
        for shapes, rows in (
            ("rect 1,1,2,9", [".....", ".##..", ".##..", ".##.."]),
            ("ellipse -1,-1,6,6", ["#####"] * 4),
            ("round 0,0,5,4,2,2", ["#####"] * 4),
            ("polygon 0,0,4,0,4,4", ["####.", ".###.", "..##.", "...#."]),
            ("polygon 0,0,4,0,4,4,0,4,0,0,4,0,4,4,0,4", ["....."] * 4),
            ("winding 0,0,4,0,4,4,0,4,0,0,4,0,4,4,0,4", ["####."] * 4),
            ("color 323232-464646", [".....", ".##..", ".#...", "....."]),
            ("color 323232", [".....", ".#...", ".....", "....."]),
            ("wand 1,1", [".....", ".#...", ".....", "....."]),
            ("wand 1,1,20", [".....", ".##..", ".#...", "....."]),
            (f"mask {mask}", [".#...", "#....", ".....", "....."]),
            ("rect 0,0,4,4; and rect 2,2,9,9; or rect 0,0,1,1", ["#....", ".....", "..##.", "..##."]),
            ("rect 0,0,5,4;not rect 1,1,3,2;xor rect 0,0,5,1", [".....", "#...#", "#...#", "#####"]),
            ("rect 0,0,5,1; invert; move 1,1", [".....", ".....", ".####", ".####"]),
            ("rect 0,0,5,4; set rect 4,3,1,1", [".....", ".....", ".....", "....#"]),
        ):
            self.assertEqual(self.inside(shapes), rows, shapes)

    def test_deeds(self):
        shape = ("--shape", "rect 1,1,2,2")
        self.assertEqual(self.made("region", *shape, "--fill", "080808"),
                         [[9] * 5, [9, 8, 8, 9, 9], [9, 8, 8, 9, 9], [9] * 5])
        self.assertEqual(self.made("region", "--shape", "wand 1,1,20", "--cut-on", "000000"), [[50, 60], [70, 0]])
        over = self.pgm("over.pgm", [[100] * 5] * 4)
        self.assertEqual(self.made("region", *shape, "--inside", f"combine --with {over} --opacity 50 fill --color 010101 --rect 2,2,9,9"),
                         [[9] * 5, [9, 75, 80, 9, 9], [9, 85, 1, 9, 9], [9] * 5])
        # What is cut out is opaque, what is around it clear.
        source, out, alpha = self.pgm("in.pgm", self.ROWS), self.path("out.bmp"), self.path("alpha.pgm")
        self.run_vk("region", source, out, "--shape", "wand 1,1,20", "--cut")
        self.run_vk("alpha", out, alpha, "--take")
        self.assertEqual(self.levels(alpha), [[255, 255], [255, 0]])
        # A window inside of it alone: what is outside goes from 16 bits to 8.
        deep = self.path("deep.pgm", b"P5 3 1 65535\n" + struct.pack(">3H", 0x1010, 0x2020, 0x2020))
        self.run_vk("region", deep, self.path("out.pgm"), "--shape", "rect 0,0,2,1", "--inside",
                    "window --center 4112 --width 10")
        self.assertEqual(self.levels(self.path("out.pgm")), [[142, 255, 32]])

    def deep(self, *samples):
        return self.path("deep.pgm", b"P5\n%d 1\n65535\n" % len(samples) + struct.pack(f">{len(samples)}H", *samples))

    def test_windows(self):
        samples = (0, 500, 1000, 1500, 2000, 65535)

        def shown(*arguments):
            self.run_vk("window", self.deep(*samples), self.path("out.pgm"), *arguments)
            return self.levels(self.path("out.pgm"))[0]

        linear = [max(0, min(255, int(((x - 999.5) / 1000 + .5) * 255 + .5))) for x in samples]
        exact = [max(0, min(255, int(((x - 1000) / 1000 + .5) * 255 + .5))) for x in samples]
        size = ("--center", "1000", "--width")
        self.assertEqual(shown(*size, "1001"), linear)
        self.assertEqual(shown(*size, "1001", "--invert"), [255 - level for level in linear])
        self.assertEqual(shown(*size, "1000", "--function", "linear-exact"), exact)
        self.assertEqual(shown(*size, "1000", "--function", "sigmoid"), [5, 30, 128, 225, 250, 255])
        self.assertEqual(shown(), [0, 2, 4, 6, 8, 255])
        self.assertEqual(shown("--signed", "--center", "0", "--width", "4001"), [128, 159, 191, 223, 255, 127])
        self.run_vk("window", self.deep(0, 999, 1000, 2000), self.path("out.ppm"), *size, "1", "--colors", "ff0000-0010ff")
        red, blue = 0xFF0000, 0x0010FF
        self.assertEqual(self.colors("out.ppm"), [[red, red, blue, blue]])

    def colors(self, name):
        with open(self.path(name), "rb") as file:
            kind, size, _, pixels = file.read().split(b"\n", 3)
        self.assertEqual(kind, b"P6")
        line = 3 * int(size.split()[0])
        return [[int.from_bytes(pixels[i:i + 3], "big") for i in range(at, at + line, 3)] for at in range(0, len(pixels), line)]

    def test_overlays(self):
        source, out = self.pgm("in.pgm", self.ROWS), self.path("out.ppm")
        mark = self.pgm("mark.pgm", [[255, 0], [100, 200]])
        gray = [[level * 0x10101 for level in row] for row in self.ROWS]
        drawn = [row[:] for row in gray]
        drawn[1][2] = drawn[2][3] = 0x00FF40
        self.run_vk("overlay", source, out, "--with", mark, "--at", "2,1", "--color", "00ff40")
        self.assertEqual(self.colors("out.ppm"), drawn)
        dark = [row[:] for row in gray]
        dark[1][3] = dark[2][2] = 0xFF0000
        self.run_vk("overlay", source, out, "--with", mark, "--at", "2,1", "--dark")
        self.assertEqual(self.colors("out.ppm"), dark)
        # In a bit of the samples and out again, as a picture and as colour.
        kept = self.made("overlay", "--with", mark, "--at", "2,1", "--store", "7")
        stored = [row[:] for row in self.ROWS]
        stored[1][2] |= 128
        stored[2][3] |= 128
        self.assertEqual(kept, stored)
        marked, taken = self.path("out.pgm"), self.path("taken.pgm")
        self.run_vk("overlay", marked, taken, "--load", "7", "--take")
        self.run_vk("convert", taken, taken, "--bits", "8", "--palette", "gray")
        levels = self.levels(taken)
        self.assertEqual([(y, x) for y, row in enumerate(levels) for x, level in enumerate(row) if level], [(1, 2), (2, 3)])
        # Kept over the picture it goes where the pixels go; the higher slot is drawn last.
        self.run_vk("batch", self.folder_of(self.ROWS), "-o", self.path("turned"), "--format", "ppm", "overlay", "--with", mark,
                    "--at", "2,1", "--keep", "overlay", "--with", mark, "--at", "2,0", "--slot", "3", "--dark", "--color", "000001",
                    "--keep", "flip", "overlay")
        drawn[0][3] = drawn[1][2] = 0x000001
        drawn[2][3] = 0xFF0000
        self.assertEqual(self.colors("turned/in.ppm"), drawn[::-1])

    def folder_of(self, rows):
        os.mkdir(self.path("pictures"))
        self.pgm("pictures/in.pgm", rows)
        return self.path("pictures")

    def test_wrong_values(self):
        source, out = self.pgm("in.pgm", self.ROWS), self.path("out.pgm")
        shape = ["--shape", "rect 1,1,2,2"]
        for arguments in (["region"], ["region", *shape], ["region", "--mask"], ["region", *shape, "--mask", "--cut"],
                          ["region", "--shape", "blob 1,2", "--mask"], ["region", "--shape", "rect 1,1,2", "--mask"],
                          ["region", "--shape", "rect 1,1,2,2.5", "--mask"], ["region", "--shape", "polygon 1,1,2", "--mask"],
                          ["region", "--shape", "wand 1,1,256", "--mask"], ["region", "--shape", "color 12345", "--mask"],
                          ["region", *shape, "--inside", "magic"], ["window", "--width", "0"], ["window", "--center", "x"],
                          ["window", "--function", "magic"], ["window", "--colors", "ff0000"], ["overlay", "--slot", "16"],
                          ["overlay", "--load", "1", "--with", source], ["overlay", "--store", "32"],
                          ["overlay", "--take", "--keep"]):
            self.fails(2, "vk:", arguments[0], source, out, *arguments[1:])
        self.fails(1, "vk:", "region", source, out, "--shape", "rect 9,9,2,2", "--cut")
        self.fails(1, "vk:", "region", source, out, "--shape", "wand 9,9", "--mask")
        self.fails(1, "vk:", "region", source, out, "--shape", "polygon 1,1,nan,2,3,3", "--mask")
        self.fails(1, "vk:", "overlay", source, out, "--with", source, "--store", "8")
        self.fails(1, "vk:", "overlay", source, out, "--take")
        self.fails(3, "vk:", "overlay", source, out, "--with", self.path("none.pgm"))


if __name__ == "__main__":
    main()
