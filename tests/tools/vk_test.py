"""The vk command from outside: the storage kinds, what it does with pictures, and how it fails."""
import hashlib
import itertools
import json
import os
import random
import re
import signal
import subprocess
import time

from bitmaps import bmp
from pictures import chunk, png
from vkcommand import VkTest, formats, main, options, vk

KINDS = ["conv", "global", "user", "disk", "tiled", "compressed", "super"]


class Holding(VkTest):
    """The sample pictures through every storage kind."""

    # Of the samples as PPM and PBM, made with Pillow.
    HASHES = {"astronaut.png": "07b5a5bf3b50328f1fa86ed445d32031588049d28add8eacaa382f683c933b07",
              "page.png": "9b55c1168d4e5b1b22f155a8d801c1a03c44b310bd230da4eece7ea31984f4e4"}

    def check_report(self, report, kind):
        memory = {"disk": "disk", "tiled": "tiled", "compressed": "compressed", "super": "super-compressed"}.get(kind, "conventional")
        self.assertEqual((report["kind"], report["memory"], report["equal"]), (kind, memory, True))
        self.assertEqual(report["raw_bytes"], report["bytes_per_line"] * report["height"])
        if kind in ("compressed", "super"):
            self.assertLess(report["stored_bytes"], report["raw_bytes"])
        else:
            self.assertEqual(report["stored_bytes"], report["raw_bytes"])
        if kind == "tiled":
            self.assertEqual(report["tiles"], -(-report["raw_bytes"] // report["tile_bytes"]))
            self.assertEqual(report["tiles"], report["tiles_in_memory"] + report["tiles_in_file"])
            self.assertGreaterEqual(report["tiles"], 8)

    def through_all_kinds(self, source, bits):
        """Holds a picture in every kind; gives the one file that all of them write."""
        files = set()
        for kind in KINDS:
            out = self.path("out.pnm")
            if kind == "compressed" and bits != 1:
                self.fails(1, "1 bit per pixel", "hold", source, "--as", kind, "-o", out + ".pnm")
                continue
            report, data = self.hold(source, kind, out)
            self.assertEqual(report["bits_per_pixel"], bits)
            self.check_report(report, kind)
            files.add(data)
        self.assertEqual(os.listdir(self.folder).count("out.pnm.pnm"), 0)
        self.assertEqual(len(files), 1)
        return files.pop()

    def test_samples(self):
        available = formats()
        for name, needs, bits in (("astronaut.png", "PNG", 24), ("page.png", "PNG", 1), ("rocket.jpg", "JPEG", 24)):
            if needs not in available:
                continue
            data = self.through_all_kinds(os.path.join(options.samples, name), bits)
            if name in self.HASHES:
                self.assertEqual(hashlib.sha256(data).hexdigest(), self.HASHES[name], name)
            # The plain form of a sample gives itself again.
            self.assertEqual(self.through_all_kinds(self.path("plain.pnm", data), bits), data)

    def test_plain_pictures(self):
        generator = random.Random(1)
        for magic, width, bits in ((b"P4", 8 * 61, 1), (b"P5", 61, 8), (b"P6", 61, 24)):
            # Runs of equal bytes, as pages have them.
            data = magic + f" {width} 96 ".encode() + (b"" if bits == 1 else b"255\n")
            size = 96 * ((width * bits + 7) // 8)
            pixels = b"".join(bytes([generator.choice([0, 255])] * generator.randrange(1, 40)) for _ in range(size))[:size]
            out = self.through_all_kinds(self.path("in.pnm", data + pixels), bits)
            self.assertTrue(out.endswith(pixels))

    def test_tile_sizes(self):
        source = self.path("in.pgm", b"P5 100 64 255\n" + bytes(range(100)) * 64)
        for size, tile, tiles in (("1", 100, 64), ("350", 300, 22), ("1K", 1000, 7), ("6399", 6300, 2)):
            report = self.hold(source, "tiled", self.path("out.pgm"), "--tile-size", size)[0]
            self.assertEqual((report["tile_bytes"], report["tiles"]), (tile, tiles), size)
        self.fails(1, "one tile", "hold", source, "--as", "tiled", "--tile-size", "1M")

    def test_info(self):
        done = vk("info", self.path("in.pbm", b"P4 33 2\n" + bytes(10)), "--json")
        report = json.loads(done.stdout)
        expected = {"width": 33, "height": 2, "bits_per_pixel": 1, "palette_entries": 2, "bytes_per_line": 8,
                    "raw_bytes": 16, "memory": "conventional", "view_perspective": 1, "order": "RGB"}
        self.assertEqual({key: report[key] for key in expected}, expected)
        self.assertIn(b"33 pixels", vk("info", self.path("in.pbm")).stdout)
        page = self.path("page.pbm", b"P4 4000 100\n" + bytes(50000))
        self.assertGreater(json.loads(vk("info", page, "--compress", "--json").stdout)["ratio"], 10)


class Batches(VkTest):
    """Whole folders, several pictures at once."""

    def setUp(self):
        super().setUp()
        self.source = self.path("in")
        os.mkdir(self.source)

    def fill(self, count, width=40, height=30):
        generator = random.Random(5)
        for i in range(count):
            pixels = bytes(generator.randrange(256) for _ in range((width + i) * height * 3))
            self.path(f"in/picture {i:02}.ppm", f"P6 {width + i} {height} 255\n".encode() + pixels)

    def contents(self, name):
        found = {}
        for file in os.listdir(self.path(name)):
            with open(self.path(f"{name}/{file}"), "rb") as stream:
                found[file] = stream.read()
        return found

    def test_same_as_one_after_the_other(self):
        self.fill(30)
        self.path("in/readme.txt", b"no picture")
        colours = ["convert", "--bits", "8", "--palette", "cube", "--dither", "stucki"]
        for jobs in ([], ["--jobs", "1"], ["--jobs", "7"]):
            out = "out" + "".join(jobs)
            done = vk("batch", self.source, "-o", self.path(out + "/deeper"), *jobs, "--json", *colours, "flip", "flip")
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            report = json.loads(done.stdout)
            self.assertEqual((report["pictures"], report["written"]), (30, 30))
            self.assertEqual(report["workers"], int(jobs[1]) if jobs else min(report["workers"], 30))
            self.assertEqual(self.contents(out + "/deeper"), self.contents("out/deeper"))
        self.assertEqual(len(self.contents("out/deeper")), 30)
        one = self.path("one.ppm")
        self.assertEqual(vk(colours[0], self.path("in/picture 03.ppm"), one, *colours[1:]).returncode, 0)
        with open(one, "rb") as file:
            self.assertEqual(file.read(), self.contents("out/deeper")["picture 03.ppm"])

    def test_formats_and_names(self):
        self.fill(2)
        self.assertEqual(vk("batch", self.source, "-o", self.path("out"), "--format", "pnm").returncode, 0)
        self.assertEqual(sorted(self.contents("out")), ["picture 00.pnm", "picture 01.pnm"])
        self.assertEqual(vk("batch", self.source, "-o", self.source, "convert", "--bits", "16").returncode, 0)
        self.assertEqual(len(self.contents("in")), 2)  # in their own place
        self.path("in/picture 00.pgm", b"P5 1 1 255\n\0")
        self.fails(2, "would both become", "batch", self.source, "-o", self.path("both"), "--format", "pnm")
        self.assertFalse(os.path.exists(self.path("both")))
        os.mkdir(self.path("empty"))
        self.assertEqual(vk("batch", self.path("empty"), "-o", self.path("out")).returncode, 0)

    def test_sub_folders(self):
        self.fill(2)
        os.makedirs(self.path("in/a/b"))
        for name in ("in/a/one.ppm", "in/a/b/one.ppm"):
            self.path(name, b"P6 1 1 255\n\1\2\3")
        for _ in range(2):  # the results lie among the pictures and are none
            done = vk("batch", self.source, "-o", self.path("in/out"), "--recursive", "--json", "--then", "mirror", "--then", "flip")
            self.assertEqual((done.returncode, json.loads(done.stdout)["written"]), (0, 4))
            found = sorted(os.path.relpath(os.path.join(at, name), self.path("in/out")) for at, _, names in os.walk(self.path("in/out"))
                           for name in names)
            self.assertEqual(found, [os.path.join("a", "b", "one.ppm"), os.path.join("a", "one.ppm"), "picture 00.ppm", "picture 01.ppm"])
        self.assertEqual(json.loads(vk("batch", self.source, "-o", self.path("flat"), "--json").stdout)["pictures"], 2)

    def test_failures_hinder_no_other(self):
        self.fill(6)
        for name in ("bad.ppm", "cut.ppm"):
            self.path(f"in/{name}", b"P6 2 2 255\n" + bytes(5))
        os.makedirs(self.path("out/picture 04.ppm"))
        done = vk("batch", self.source, "-o", self.path("out"), "--json")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(json.loads(done.stdout)["written"], 5)
        errors = done.stderr.decode()
        for name in ("bad.ppm", "cut.ppm", "picture 04.ppm", "3 of 8 pictures failed"):
            self.assertIn(name, errors)
        self.assertEqual(len(errors.splitlines()), 4)
        self.assertEqual(len(os.listdir(self.path("out"))), 6)

    def test_usage(self):
        self.fill(1)
        for arguments in (["-o"], [], ["-o", "x", "convert", "--bits", "0"], ["-o", "x", "convert", "--dither", "salt"],
                          ["-o", "x", "--jobs", "0"], ["-o", "x", "sharpen"], ["-o", "x", "flip", "--jobs", "2"],
                          ["-o", "x", "--format", "tga"], ["-o", "x", "convert", "--order", "up"]):
            self.fails(2, "vk: ", "batch", self.source, *arguments)
        self.fails(3, "missing", "batch", self.path("missing"), "-o", self.path("out"))
        self.path("file", b"")
        self.fails(3, "cannot be made", "batch", self.source, "-o", self.path("file/out"))

    def test_stops_when_interrupted(self):
        if options.runner:
            self.skipTest("no Ctrl-C can be sent to a Windows program from here")
        side = 300 if options.slow else 700
        self.fill(24, side, side)
        process = subprocess.Popen(options.command + ["batch", self.source, "-o", self.path("out"), "convert", "--bits", "8"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        while process.poll() is None and not (os.path.exists(self.path("out")) and os.listdir(self.path("out"))):
            time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGINT, errors)
        done = re.fullmatch(rb"vk: stopped: (\d+) of 24 pictures done; --resume does the rest\n", errors)
        self.assertTrue(done, errors)
        self.assertLess(int(done[1]), 24)
        written = self.contents("out")
        self.assertEqual(len(written), int(done[1]))  # and nothing half-written
        for data in written.values():
            self.assertGreater(len(data), side * side * 3)
        again = vk("batch", self.source, "-o", self.path("out"), "--resume", "--json", "convert", "--bits", "8")
        report = json.loads(again.stdout)
        self.assertEqual((report["left_out"], report["written"]), (int(done[1]), 24 - int(done[1])))
        self.assertEqual(len(self.contents("out")), 24)


class Geometry(VkTest):
    """Sizes, angles and perspectives of a small picture, worked out here."""

    ROWS = [[10, 20, 30], [40, 50, 60]]

    def pgm(self, rows):
        header = f"P5\n{len(rows[0])} {len(rows)}\n255\n".encode()
        return header + b"".join(bytes(row) for row in rows)

    def moved(self, *arguments):
        """The small picture after a command."""
        source = self.path("in.pgm", self.pgm(self.ROWS))
        out = self.path("out.pgm")
        done = vk(arguments[0], source, out, *arguments[1:], "--json")
        self.assertEqual((done.returncode, done.stderr), (0, b""), arguments)
        with open(out, "rb") as file:
            data = file.read()
        report = json.loads(done.stdout)
        width, height = report["width"], report["height"]
        self.assertEqual(len(data), len(f"P5\n{width} {height}\n255\n") + width * height, arguments)
        pixels = data[-width * height:]
        return [list(pixels[y * width:(y + 1) * width]) for y in range(height)]

    def test_flips_turns_and_perspectives(self):
        rows = self.ROWS
        flipped, mirrored = rows[::-1], [row[::-1] for row in rows]
        clockwise = [list(column) for column in zip(*rows[::-1])]
        counter = [list(column) for column in zip(*rows)][::-1]
        half = [row[::-1] for row in rows[::-1]]
        transposed = [list(column) for column in zip(*rows)]
        self.assertEqual(self.moved("flip"), flipped)
        self.assertEqual(self.moved("mirror"), mirrored)
        for angle, expected in ((0, rows), (90, clockwise), (-90, counter), (180, half), (450, clockwise), (-270, clockwise)):
            self.assertEqual(self.moved("rotate", f"--angle={angle}"), expected, angle)
        # Each perspective as cameras count them, brought upright.
        upright = {1: rows, 2: mirrored, 3: half, 4: flipped, 5: transposed, 6: clockwise,
                   7: [row[::-1] for row in transposed[::-1]], 8: counter}
        for perspective, expected in upright.items():
            self.assertEqual(self.moved("orient", "--from", perspective), expected, perspective)
            self.assertEqual(self.moved("orient", "--from", perspective, "--to", perspective), rows, perspective)
        kept = self.moved("rotate", "--angle", "90", "--keep", "--fill", "ffffff")
        self.assertEqual((len(kept), len(kept[0])), (2, 3))
        self.assertTrue({255}.issubset(sum(kept, [])))

    def test_warps_and_shears(self):
        rows = self.ROWS
        clockwise = [list(column) for column in zip(*rows[::-1])]
        counter = [list(column) for column in zip(*rows)][::-1]
        mirrored = [row[::-1] for row in rows]
        grid = self.path("grid.txt", b"2 2\n3 0  0 0\n3 2  0 2\n")
        for kind in ("nearest", "bilinear", "bicubic"):
            self.assertEqual(self.moved("warp", "--matrix", "0,1,0,-1,0,0,0,0,1", "--filter", kind), clockwise, kind)
            self.assertEqual(self.moved("warp", "--corners", "3,0,3,2,0,2,0,0", "--filter", kind), counter, kind)
            self.assertEqual(self.moved("warp", "--grid", grid, "--filter", kind, "--area"), mirrored, kind)
        self.assertEqual(self.moved("warp", "--corners", "0,0,3,0,3,2,0,2", "--size", "6x4"),
                         [[v for v in row for _ in range(2)] for row in rows for _ in range(2)])
        # The upper row is moved by half a pixel more than one, which goes to the pixel before.
        self.assertEqual(self.moved("shear", "--angle", "45", "--fill", "ffffff"),
                         [[255, 255] + rows[0], [255] + rows[1] + [255]])
        self.assertEqual(len(self.moved("shear", "--angle=-45", "--vertical", "--linear")), 5)

    def test_sizes(self):
        doubled = [[v for v in row for _ in range(2)] for row in self.ROWS for _ in range(2)]
        for size in (("--size", "6x4"), ("--size", "6x"), ("--size", "x4"), ("--scale", "200")):
            self.assertEqual(self.moved("resize", *size, "--filter", "nearest"), doubled, size)
        self.assertEqual(self.moved("resize", "--size", "1x1"), [[35]])
        for kind in ("nearest", "area", "bicubic", "sharp"):
            self.assertEqual(self.moved("resize", "--size", "3x2", "--filter", kind), self.ROWS, kind)
        page = self.path("page.pbm", b"P4 16 2\n" + b"\xff\x00" * 2)
        self.assertEqual(vk("resize", page, self.path("gray.pgm"), "--size", "2x1", "--filter", "gray").returncode, 0)
        with open(self.path("gray.pgm"), "rb") as file:
            self.assertEqual(file.read(), b"P5\n2 1\n255\n\x00\xff")

    def test_wrong_values(self):
        source, out = self.path("in.pgm", self.pgm(self.ROWS)), self.path("out.pgm")
        for arguments in (["resize"], ["resize", "--size", "x"], ["resize", "--size", "3"], ["resize", "--size", "0x3"],
                          ["resize", "--scale", "-5"], ["resize", "--size", "3x3", "--scale", "5"],
                          ["resize", "--size", "3x3", "--filter", "magic"], ["rotate"], ["rotate", "--angle", "much"],
                          ["rotate", "--angle", "1", "--fill", "12345"], ["rotate", "--angle", "1", "--center", "3"],
                          ["orient", "--to", "9"], ["flip", "--angle", "3"], ["warp"], ["warp", "--corners", "1,2,3"],
                          ["warp", "--matrix", "1,0,0,0,1,0,0,0,x"], ["warp", "--size", "3", "--corners", "0,0,3,0,3,2,0,2"],
                          ["warp", "--matrix", "1,0,0,0,1,0,0,0,1", "--corners", "0,0,3,0,3,2,0,2"],
                          ["shear"], ["shear", "--angle", "90"]):
            self.fails(2, "vk:", arguments[0], source, out, *arguments[1:])
        self.fails(1, "vk:", "resize", source, out, "--size", "2000000000x2000000000")
        self.fails(1, "vk:", "warp", source, out, "--corners", "0,0,3,0,1,1,0,2")
        for text in (b"", b"1 2\n0 0\n0 0\n", b"2 2\n0 0 3 0 3 2 0\n", b"90000 90000\n"):
            self.fails(3, "vk:", "warp", source, out, "--grid", self.path("grid.txt", text))


class Pipes(VkTest):
    """Pictures from standard input to standard output, against the same done with files."""

    OPERATIONS = [["convert", "--bits", "8"], ["resize", "--scale", "50"], ["rotate", "--angle", "90"], ["flip"], ["mirror"],
                  ["orient", "--from", "6"], ["warp", "--matrix", "1,0,0,0.2,1,0,0,0,1"], ["shear", "--angle", "5"]]

    def inputs(self):
        # Bytes that text modes would change, rows of more than one buffer, and what has to be sought in.
        every = bytes(range(256)) * 3
        ends = bytes(random.Random(4).choice(b"\r\n\x1a\0") for _ in range(300 * 250 * 3))
        yield "a.ppm", b"P6 16 16 255\n" + every
        yield "b.ppm", b"P6 300 250 255\n" + ends
        yield "much.ppm", b"P6 2000 1600 255\n" + ends[:96000] * 100  # more than waits in memory
        yield "c.bmp", bmp([[i * j * 1000 for i in range(7)] for j in range(5)], 24)
        if "PNG" in formats():
            rows = [[(7 * i * j) % 256 for i in range(200 * 3)] for j in range(100)]
            yield "d.png", png(rows, 8, 2)
            yield "e.png", png(rows, 8, 2, b"", True)
        for kind, name in (("JPEG", "f.jpg"), ("GIF", "g.gif"), ("TIFF", "h.tif"), ("WebP", "i.webp")):
            if kind in formats():
                vk("convert", self.path("b.ppm", b"P6 300 250 255\n" + ends), self.path(name))
                with open(self.path(name), "rb") as file:
                    yield name, file.read()

    def test_same_as_with_files(self):
        outputs = ["ppm", "bmp"] + (["png"] if "PNG" in formats() else [])
        for (name, data), operation in zip(self.inputs(), itertools.cycle(self.OPERATIONS)):
            for extension in outputs:
                out = self.path("out." + extension)
                self.assertEqual(vk(operation[0], self.path(name, data), out, *operation[1:]).returncode, 0, (name, operation))
                done = vk(operation[0], "--pipe", *operation[1:], "--format", extension, given=data)
                self.assertEqual((done.returncode, done.stderr), (0, b""), (name, operation))
                with open(out, "rb") as file:
                    self.assertEqual(done.stdout, file.read(), (name, operation, extension))
        done = vk("flip", "--pipe", "--json", given=b"P5 2 1 255\n\1\2")  # the report keeps out of the picture's way
        self.assertEqual(json.loads(done.stderr)["width"], 2)
        self.assertTrue(done.stdout.startswith(b"\x89PNG" if "PNG" in formats() else b"P5"))

    def test_every_operation_through_a_chain_of_pipes(self):
        last = next(self.inputs())[1]
        self.path("0.ppm", last)
        for number, operation in enumerate(self.OPERATIONS):
            self.assertEqual(vk(operation[0], self.path(f"{number}.ppm"), self.path(f"{number + 1}.ppm"),
                                *operation[1:]).returncode, 0)
            last = vk(operation[0], "--pipe", "--format", "ppm", *operation[1:], given=last).stdout
        with open(self.path(f"{len(self.OPERATIONS)}.ppm"), "rb") as file:
            self.assertEqual(last, file.read())

    def test_failures(self):
        good = b"P5 2 1 255\n\1\2"
        self.fails(3, "standard input", "flip", "--pipe")
        self.fails(3, "standard input: damaged PNM file", "flip", "--pipe", given=good[:-1])
        self.fails(3, "standard input: not a picture", "flip", "--pipe", given=b"nonsense")
        for name, data in self.inputs():
            self.fails(3, "standard input", "flip", "--pipe", given=data[:len(data) // 2])
        self.fails(1, "vk:", "resize", "--pipe", "--size", "2000000000x2000000000", given=good)
        for arguments in (["--pipe", self.path("a.pnm")], ["--pipe", "a", "b"], ["--format", "png", "a", "b"],
                          ["--pipe", "--format", "tga"], ["--pipe=1"]):
            self.fails(2, "vk:", "flip", *arguments, given=good)
        self.fails(2, "unknown option", "batch", self.folder, "-o", self.path("out"), "flip", "--pipe")
        if os.path.exists("/dev/full") and not options.runner:
            with open("/dev/full", "wb") as full:
                done = subprocess.run(options.command + ["flip", "--pipe"], input=good, stdout=full, stderr=subprocess.PIPE,
                                      check=False)
            self.assertEqual(done.returncode, 3)


class Sheets(VkTest):
    """Many pictures on one."""

    def test_layout(self):
        colours = [(10 * i, 20 * i, 30 * i) for i in range(1, 6)]
        ppm = [b"P6 %d %d 255\n" % size + bytes(colour) * size[0] * size[1]
               for size, colour in zip(((8, 4), (2, 2), (30, 90), (1, 7), (600, 3)), colours)]
        sources = [self.path(f"{i}.ppm", data) for i, data in enumerate(ppm)]
        fitted = [(6, 3), (4, 4), (1, 4), (1, 4), (6, 1)]  # in a cell of 6 x 4
        # Other formats and depths of the same colours.
        sources[1] = self.path("1.bmp", bmp([[1, 1], [1, 1]], 1, [(9, 9, 9), colours[1][::-1]]))
        if "PNG" in formats():
            sources[3] = self.path("3.png", png([[c * 257 for c in colours[3]]] * 7, 16, 2))
        for more, columns, gap in (([], 3, 8), (["--columns", "2", "--gap", "0"], 2, 0), (["--columns", "9", "--gap=1"], 5, 1)):
            rows = -(-5 // columns)
            width, height = columns * (6 + gap) + gap, rows * (4 + gap) + gap
            expected = [[(255, 255, 255)] * width for _ in range(height)]
            for i, (w, h) in enumerate(fitted):
                left, top = gap + i % columns * (6 + gap) + (6 - w) // 2, gap + i // columns * (4 + gap) + (4 - h) // 2
                for y in range(top, top + h):
                    expected[y][left:left + w] = [colours[i]] * w
            out = self.path("out.ppm")
            done = vk("sheet", *sources, "-o", out, "--size", "6x4", "--json", *more)
            self.assertEqual((done.returncode, done.stderr), (0, b""), more)
            report = json.loads(done.stdout)
            self.assertEqual([report[key] for key in ("pictures", "columns", "rows", "width", "height")],
                             [5, columns, rows, width, height])
            with open(out, "rb") as file:
                self.assertEqual(file.read(), b"P6\n%d %d\n255\n" % (width, height) +
                                 bytes(c for row in expected for pixel in row for c in pixel), more)

    def test_wrong_sheets(self):
        good, out = self.path("good.ppm", b"P6 1 1 255\n\1\2\3"), self.path("out.ppm")
        for arguments in ([good], [good, "-o", self.path("out.tga")], ["-o", out], [good, "-o", out, "--columns", "0"],
                          [good, "-o", out, "--size", "5"], [good, "-o", out, "--size", "0x5"], [good, "-o", out, "--gap=-1"],
                          [good, "-o", out, "--size", "2000000000x2"]):
            self.fails(2, "vk:", "sheet", *arguments)
        self.fails(3, "cut.ppm", "sheet", good, self.path("cut.ppm", b"P6 1 1 255\n"), "-o", out)
        self.assertFalse(os.path.exists(out))


class Failures(VkTest):
    """Wrong usage, wrong files, and files that cannot be."""

    def test_usage(self):
        good = self.path("good.pnm", b"P1 1 1 1")
        for arguments in ([], ["nonsense"], ["--nonsense"], ["--workers"], ["--workers", "2"],
                          ["--workers", "-1", "info", good], ["--workers", "2x", "info", good],
                          ["info"], ["info", good, good], ["info", good, "--as", "conv"],
                          ["hold"], ["hold", good, "--as"], ["hold", good, "--as", "paper"],
                          ["hold", good, "--as=conv", "--as=disk"], ["hold", good, "--json=1", "--as", "conv"],
                          ["hold", good, "--as", "conv", "-o", self.path("out.tga")]):
            self.fails(2, "Try 'vk --help'", *arguments)
        for size in ("0", "-1", "x", "1T", "9999999999G", ""):
            self.fails(2, "--tile-size", "hold", good, "--as", "tiled", "--tile-size", size)
        for arguments in (["--help"], ["-h"], ["info", "--help"], ["hold", "-h"], ["--version"],
                          ["--workers", "2", "info", good]):
            self.assertEqual(vk(*arguments).returncode, 0, arguments)

    def test_output_that_cannot_be(self):
        good = self.path("good.pnm", b"P1 1 1 1")
        os.mkdir(self.path("folder.pnm"))
        for out in (self.path("missing/out.pnm"), self.path("folder.pnm")):
            self.fails(3, out, "hold", good, "--as", "conv", "-o", out)
        if os.path.exists("/dev/full") and not options.runner:
            self.fails(3, "not a regular file", "hold", good, "--as", "conv", "-o", self.link("/dev/full"))
            with open("/dev/full", "wb") as full:
                done = subprocess.run(options.command + ["--help"], stdout=full, stderr=subprocess.PIPE, check=False)
            self.assertEqual(done.returncode, 3)
        # What was there stays, and nothing is left over, when the picture turns out broken half way.
        out = self.path("out.pnm", b"precious")
        self.fails(3, "greatest value", "hold", self.path("bad.pnm", b"P2 1 2 1 1 2"), "--as", "conv", "-o", out)
        with open(out, "rb") as file:
            self.assertEqual(file.read(), b"precious")
        self.assertEqual([name for name in os.listdir(self.folder) if ".part" in name], [])

    def link(self, target):
        path = self.path("link.pnm")
        os.symlink(target, path)
        return path

    def test_files_that_are_no_pictures(self):
        cases = [b"", b"P", b"P7 1 1", b"GIF89a", b"P5", b"P5 x 1 255\n", b"P5 0 1 255\n", b"P5 1 0 255\n\0", b"P5 1 1 0\n\0",
                 b"P5 1 1 65536\n\0", b"P5 -1 1 255\n\0", b"P5 1 1 255", b"P5 1 1 255\n", b"P5 2 2 255\n\0\0\0",
                 b"P6 16777217 1 255\n", b"P6 2000000000 2000000000 255\n\0", b"P6 99999999999999999999 1 255\n",
                 b"P5 1 1 7\n\x08", b"P4 9 2\n\0\0\0", b"P1 2 1 1", b"P1 1 1 2", b"P3 1 1 255 1 2", b"P2 1 1 255 256",
                 b"P2 1 1 65535 65536", b"P2 1 1 255 1x", b"P2 1 1 255 # 1"]
        if "PNG" in formats():
            vast = bytearray(png([[0]], 8, 0))
            for size in ((0, 1), (1, 0), (1 << 25, 1), (1 << 24, 0x7FFFFFFF)):
                header = size[0].to_bytes(4, "big") + size[1].to_bytes(4, "big") + b"\x08\0\0\0\0"
                cases.append(bytes(vast[:8]) + chunk(b"IHDR", header) + bytes(vast[33:]))
        else:
            cases.append(b"\x89PNG\r\n\x1a\n")
        for data in cases:
            source = self.path("bad.file", data)
            self.fails(3, source, "hold", source, "--as", "conv")
        for name in (self.path("missing"), self.folder):
            self.fails(3, name, "info", name)

    def samples(self):
        """Small files of every format there is, and how far apart to cut the sample files."""
        yield "text.pnm", b"P3 2 2 255\n1 2 3 4 5 6 7 8 9 10 11 120", 1
        yield "raw.pnm", b"P6 2 2 255\n" + bytes(range(12)), 1
        available = formats()
        if "PNG" in available:
            yield "small.png", png([[1, 2, 3], [4, 5, 6]], 8, 2), 1
            yield "woven.png", png([[1, 2, 3], [4, 5, 6]], 8, 0, interlaced=True), 1
        for name, needs in (("astronaut.png", "PNG"), ("page.png", "PNG"), ("rocket.jpg", "JPEG")):
            if needs in available:
                with open(os.path.join(options.samples, name), "rb") as file:
                    data = file.read()
                yield name, data, len(data) // 12

    def test_cut_files(self):
        for name, data, step in self.samples():
            # Every number of the last pixel's but its first digit may be missing: that is another picture.
            last = len(data) - 2 if name == "text.pnm" else len(data)
            for length in range(0, last, step * (4 if options.slow else 1)):
                source = self.path(name, data[:length])
                self.fails(3, source, "hold", source, "--as", "conv")

    def test_damaged_files(self):
        generator = random.Random(3)
        for name, data, _ in self.samples():
            for _ in range(5 if options.slow else 30):
                damaged = bytearray(data)
                for _ in range(generator.randrange(1, 4)):
                    damaged[generator.randrange(min(len(data), 2000))] = generator.randrange(256)
                done = vk("hold", self.path(name, bytes(damaged)), "--as", "conv")
                self.assertIn(done.returncode, (0, 3), (name, done.stderr))
                self.assertEqual(done.returncode == 0, done.stderr == b"", (name, done.stderr))


if __name__ == "__main__":
    main()
