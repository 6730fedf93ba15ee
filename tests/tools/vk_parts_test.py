"""Parts of pictures, pictures put into pictures, colours and alpha, through the vk command."""
from vkcommand import GrayTest, main


class Parts(GrayTest):
    """What the command makes of small gray pictures, against lists of levels."""

    ROWS = [[9, 9, 9, 9], [9, 50, 60, 9], [9, 70, 9, 9]]

    def test_cuts_and_borders(self):
        rows = self.ROWS
        self.assertEqual(self.made("crop", "--rect", "1,1,9,1"), [[50, 60, 9]])
        self.assertEqual(self.made("crop", "--rect=-1,0,2,2"), [[9], [9]])
        self.assertEqual(self.made("trim"), [[50, 60], [70, 9]])
        self.assertEqual(self.made("trim", "--border", "000000", "--tolerance", "65"), [[70]])
        self.assertEqual(self.made("extend", "--by", "1,0,0,1", "--fill", "ffffff"),
                         [[255] + row for row in rows] + [[255] * 5])
        for kind, row in (("edge", [9, 9, 9, 50, 60, 9]), ("mirror", [50, 9, 9, 50, 60, 9]), ("wrap", [60, 9, 9, 50, 60, 9])):
            self.assertEqual(self.made("extend", "--by", "2,0,0,0", "--kind", kind)[1], row, kind)

    def test_combines(self):
        other = self.pgm("other.pgm", [[200, 100], [0, 255]])
        at = ("--with", other, "--at", "1,1")
        self.assertEqual(self.made("combine", *at), [[9, 9, 9, 9], [9, 200, 100, 9], [9, 0, 255, 9]])
        for operation, expected in (("add", [250, 160]), ("subtract", [0, 0]), ("min", [50, 60]), ("average", [125, 80]),
                                    ("xor", [250, 88]), ("multiply", [39, 24])):
            self.assertEqual(self.made("combine", *at, "--operation", operation)[1], [9, *expected, 9], operation)
        self.assertEqual(self.made("combine", *at, "--rect", "1,0,1,1"), [[9] * 4, [9, 100, 60, 9], [9, 70, 9, 9]])
        self.assertEqual(self.made("combine", *at, "--blend", "screen")[1], [9, 211, 136, 9])
        self.assertEqual(self.made("combine", *at, "--opacity", "50")[1], [9, 125, 80, 9])
        mask = self.pgm("mask.pgm", [[255, 0], [51, 255]])
        self.assertEqual(self.made("combine", *at, "--mask", mask), [[9] * 4, [9, 200, 60, 9], [9, 56, 255, 9]])

    def test_fills(self):
        self.assertEqual(self.made("fill", "--color", "070707", "--rect", "3,0,5,2"),
                         [[9, 9, 9, 7], [9, 50, 60, 7], [9, 70, 9, 9]])
        # The last 9 of the lowest row hangs together with the border; with a tolerance the 50 and 60 do, too.
        ones = [[1, 1, 1, 1], [1, 50, 60, 1], [1, 70, 1, 1]]
        self.assertEqual(self.made("fill", "--color", "010101", "--flood", "0,0"), ones)
        self.assertEqual(self.made("fill", "--color", "010101", "--flood", "0,0", "--tolerance", "51"),
                         [[1, 1, 1, 1], [1, 1, 1, 1], [1, 70, 1, 1]])
        tile = self.pgm("tile.pgm", [[1, 2]])
        self.assertEqual(self.made("fill", "--pattern", tile), [[1, 2, 1, 2]] * 3)

    def test_alpha(self):
        # What has no alpha gets some; BMP keeps it.
        source, clear, out = self.pgm("in.pgm", self.ROWS), self.path("alpha.bmp"), self.path("out.pgm")
        self.run_vk("alpha", source, clear, "--value", "100")
        self.run_vk("alpha", clear, out, "--take")
        self.assertEqual(self.levels(out), [[100] * 4] * 3)
        put = [[0, 255, 51, 1], [2, 3, 4, 5], [6, 7, 8, 9]]
        self.run_vk("alpha", clear, clear, "--put", self.pgm("put.pgm", put))
        self.run_vk("alpha", clear, out, "--take")
        self.assertEqual(self.levels(out), put)
        self.run_vk("alpha", clear, clear, "--premultiply")
        self.run_vk("convert", clear, out, "--bits", "8", "--palette", "gray", "--dither", "none")
        self.assertEqual(self.levels(out)[0], [0, 9, 2, 0])

    def test_scrambles(self):
        hidden = self.made("scramble", "--key", "5", "--rect", "1,0,2,3")
        self.assertEqual([row[0] for row in hidden] + [row[3] for row in hidden], [9] * 6)
        self.assertNotEqual(hidden, self.ROWS)
        self.assertEqual(self.made("scramble", "--key", "5", "--rect", "1,0,2,3", "--show", rows=hidden), self.ROWS)
        self.assertNotEqual(self.made("scramble", "--key", "6", "--rect", "1,0,2,3", "--show", rows=hidden), self.ROWS)

    def test_wrong_values(self):
        source, out = self.pgm("in.pgm", self.ROWS), self.path("out.pgm")
        for arguments in (["crop"], ["crop", "--rect", "1,2,3"], ["crop", "--rect", "0,0,0,5"], ["trim", "--tolerance", "256"],
                          ["extend"], ["extend", "--by=-1,0,0,0"], ["extend", "--by", "1,1,1,1", "--kind", "magic"],
                          ["combine"], ["combine", "--with", source, "--opacity", "101"],
                          ["combine", "--with", source, "--operation", "or", "--blend", "screen"], ["fill"],
                          ["fill", "--color", "000000", "--pattern", source], ["alpha"], ["alpha", "--take", "--premultiply"],
                          ["scramble"], ["scramble", "--key", "-1"], ["render", "--size", "0x4"],
                          ["render", "--gamma", "0"], ["render", "--window", "5"], ["render", "--filter", "sharp"]):
            self.fails(2, "vk:", arguments[0], source, out, *arguments[1:])
        self.fails(1, "vk:", "crop", source, out, "--rect", "4,0,1,1")
        self.fails(1, "vk:", "trim", source, out, "--tolerance", "255")
        self.fails(1, "vk:", "alpha", source, out, "--take")
        self.fails(3, "vk:", "combine", source, out, "--with", self.path("none.pgm"))

    def test_renders(self):
        def shown(*arguments, rows=self.ROWS, name="in.pgm"):
            out = self.path("out.ppm")
            self.run_vk("render", self.pgm(name, rows), out, *arguments)
            with open(out, "rb") as file:
                header, pixels = file.read().split(b"\n255\n", 1)
            width = int(header.split()[1])
            self.assertEqual(pixels[::3] + pixels[1::3], pixels[1::3] + pixels[2::3], "gray")
            levels = list(pixels[::3])
            return [levels[i:i + width] for i in range(0, len(levels), width)]

        rows = self.ROWS
        self.assertEqual(shown(), rows)
        self.assertEqual(shown("--rect", "1,1,2,1", "--size", "4x2", "--filter", "nearest"), [[50, 50, 60, 60]] * 2)
        self.assertEqual(shown("--size", "2x1", "--rect", "0,0,4,2"), [[19, 22]])
        self.assertEqual(shown("--contrast", "1000", "--intensity", "-200", rows=[[127, 128]]), [[0, 204]])
        self.assertEqual(shown("--gamma", "200", rows=[[0, 64, 255]]), [[0, 128, 255]])
        self.assertEqual(shown("--window", "128,3", rows=[[126, 127, 128, 200]]), [[0, 64, 191, 255]])


if __name__ == "__main__":
    main()
