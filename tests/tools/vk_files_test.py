"""What files carry besides their pixels, the formats that other libraries pack, and how files are put in place."""
import json
import math
import os
import re
import resource
import signal
import stat
import struct
import subprocess
import time
import unittest
import zlib

from pictures import chunk, png
from vkcommand import VkTest, by_system, formats, main, options, vk


def profile(space):
    """A colour profile as far as anybody looks: its length, its class, its space, its mark and no tags, with something behind."""
    return struct.pack(">I4xI", 232, 0x04300000) + b"mntr" + space + b"XYZ " + bytes(12) + b"acsp" + bytes(92) + bytes(range(100))


class Files(VkTest):
    def convert(self, source, target, *more, command="convert"):
        done = vk(command, source, target, *more)
        self.assertEqual((done.returncode, done.stderr), (0, b""), (source, target, more))
        with open(target, "rb") as file:
            return file.read()

    def info(self, name):
        return {line.rpartition("  ")[0].strip(): line.rpartition("  ")[2].strip() for line in vk("info", name).stdout.decode().splitlines()}

    def need(self, *names):
        if not set(names) <= set(formats()):
            self.skipTest("not in this build")

    def picture(self):
        """Seven by five pixels, all different."""
        return [[(40 * x, 50 * y, 9 * (x + y)) for x in range(7)] for y in range(5)]

    def ppm(self, rows, name="in.ppm"):
        data = b"P6 %d %d 255\n" % (len(rows[0]), len(rows)) + b"".join(bytes(p) for row in rows for p in row)
        return self.path(name, data)

    def displayed(self, rows, orientation):
        """Rows as the first row and column of each orientation say: 2 mirrored, 3 half turned, 4 flipped, 5 to 8 transposed."""
        if orientation >= 5:
            rows = [list(column) for column in zip(*rows)]
        if orientation in (2, 3, 6, 7):
            rows = [row[::-1] for row in rows]
        return rows[::-1] if orientation in (3, 4, 7, 8) else rows

    def test_orientations(self):
        self.need("PNG", "TIFF", "JPEG")
        rows = self.picture()
        exif = lambda n: b"II*\0" + struct.pack("<IHHHIHHI", 8, 1, 0x112, 3, 1, n, 0, 0)
        for n in range(1, 9):
            plain = png([[s for p in row for s in p] for row in rows], 8, 2)
            source = self.path("in.png", plain[:33] + chunk(b"eXIf", exif(n)) + plain[33:])
            expected = self.convert(self.ppm(self.displayed(rows, n)), self.path("expected.ppm"))
            self.assertEqual(self.convert(source, self.path("out.ppm")), expected, n)
            for kept in ("kept.png",) if by_system() else ("kept.png", "kept.tif"):
                self.convert(source, self.path(kept))
                self.assertEqual(self.info(self.path(kept))["view perspective"], str(n))
                self.assertEqual(self.convert(self.path(kept), self.path("out.ppm")), expected, (n, kept))
                self.convert(source, self.path(kept), "--strip")
                self.assertEqual(self.info(self.path(kept))["view perspective"], "1")
                self.assertEqual(self.convert(self.path(kept), self.path("out.ppm")), expected, (n, kept))
            self.convert(source, self.path("kept.jpg"))
            self.assertEqual(self.info(self.path("kept.jpg"))["view perspective"], str(n))
            # What has places in it takes them as displayed.
            part = self.convert(source, self.path("part.ppm"), "--rect", "1,0,2,1", command="crop")
            self.assertEqual(part[-6:], bytes(self.displayed(rows, n)[0][1] + self.displayed(rows, n)[0][2]), n)

    def test_profiles(self):
        self.need("PNG", "TIFF", "JPEG")
        plain = png([[s for p in row for s in p] for row in self.picture()], 8, 2)
        for space, kept in ((b"RGB ", "232 bytes"), (b"GRAY", "0 bytes")):
            icc = chunk(b"iCCP", b"mine\0\0" + zlib.compress(profile(space)))
            source = self.path("in.png", plain[:33] + icc + plain[33:])
            for name in ("out.png", "out.jpg") if by_system() else ("out.tif", "out.jpg"):
                self.convert(source, self.path(name))
                self.assertEqual(self.info(self.path(name))["colour profile"], kept if space == b"RGB " else "0 bytes", name)
                self.convert(source, self.path(name), "--strip")
                self.assertEqual(self.info(self.path(name))["colour profile"], "0 bytes")
            self.convert(source, self.path("gray.tif"), "--bits", "8", "--palette", "gray")
            self.assertEqual(self.info(self.path("gray.tif"))["colour profile"], "0 bytes")

    def test_tiff_keeps_every_depth(self):
        self.need("PNG", "TIFF")
        sample = os.path.join(options.samples, "astronaut.png")
        for depth in ((1,), (2,), (4,), (8,), (16, "--order", "gray"), (24,), (32,), (48,), (64,)) if not by_system() else ():
            first = self.convert(sample, self.path("a.png"), "--bits", *map(str, depth))
            for packed in ("none", "packbits", "lzw", "deflate") + (("group3", "group4") if depth == (1,) else ()):
                self.convert(self.path("a.png"), self.path("b.tif"), "--compression", packed, *(["--big"] if packed == "lzw" else []))
                self.assertEqual(self.convert(self.path("b.tif"), self.path("c.png")), first, (depth, packed))
        self.fails(1, "does not hold", "convert", sample, self.path("x.tif"), "--compression", "group4")
        self.fails(2, "does not know", "convert", sample, self.path("x.tif"), "--compression", "zip")
        self.assertFalse(os.path.exists(self.path("x.tif")))

    def tiff(self, width, rows, bits, photometric, samples=1, planes=1, tile=None, extra=None, colors=None):
        """A TIFF of rows of samples (of planes, one after the other, with planes=2), in one strip or in tiles, big-endian."""
        def pack(values):
            text = "".join(format(v, f"0{bits}b") for v in values)
            return int(text.ljust((len(text) + 7) // 8 * 8, "0"), 2).to_bytes((len(text) + 7) // 8, "big")
        blocks = []
        for part in ([rows] if planes == 1 else [rows[i::samples] for i in range(samples)]):
            if tile is None:
                blocks.append(b"".join(pack(row) for row in part))
                continue
            for top in range(0, len(part), tile):
                for left in range(0, width, tile):
                    lines = [row[left:left + tile] for row in part[top:top + tile]]
                    blocks.append(b"".join(pack(line + [0] * (tile - len(line))) for line in lines + [[0]] * (tile - len(lines))))
        height = len(rows) // (samples if planes == 2 else 1)
        tags = {256: (3, [width]), 257: (3, [height]), 258: (3, [bits] * samples), 259: (3, [1]), 262: (3, [photometric]),
                277: (3, [samples]), 284: (3, [planes]), 278: (3, [height])}
        tags.update({322: (3, [tile]), 323: (3, [tile])} if tile else {})
        tags.update({338: (3, [extra])} if extra is not None else {})
        tags.update({320: (3, colors)} if colors else {})
        at = 8
        offsets = []
        for block in blocks:
            offsets.append(at)
            at += len(block)
        tags[324 if tile else 273] = (4, offsets)
        tags[325 if tile else 279] = (4, [len(block) for block in blocks])
        entries, tail, behind = b"", b"", at + 2 + 12 * len(tags) + 4
        for tag, (kind, values) in sorted(tags.items()):
            value = struct.pack(">%d%s" % (len(values), "H" if kind == 3 else "I"), *values)
            if len(value) > 4:
                entries += struct.pack(">HHII", tag, kind, len(values), behind + len(tail))
                tail += value
            else:
                entries += struct.pack(">HHI", tag, kind, len(values)) + value.ljust(4, b"\0")
        return b"MM\0*" + struct.pack(">I", at) + b"".join(blocks) + struct.pack(">H", len(tags)) + entries + bytes(4) + tail

    def test_system_codecs(self):
        if not by_system():
            self.skipTest("libraries do it here")
        names = ("astronaut.png", "page.png")
        for name in names:
            sample = os.path.join(options.samples, name)
            self.convert(sample, self.path(name + ".tif"))
            self.assertEqual(self.convert(self.path(name + ".tif"), self.path("out.ppm")), self.convert(sample, self.path("in.ppm")))
        self.assertEqual(vk("join", self.path("all.tif"), *(self.path(name + ".tif") for name in names)).returncode, 0)
        self.assertEqual(self.convert(self.path("all.tif"), self.path("out.pbm"), "--page", "2"),
                         self.convert(os.path.join(options.samples, "page.png"), self.path("in.pbm")))
        gif = b"GIF89a\2\0\2\0\x80\0\0\1\2\3\xfa\xfb\xfc,\0\0\0\0\2\0\2\0\0\2\3D\x18\x14\0;"
        self.assertEqual(self.convert(self.path("in.gif", gif), self.path("out.ppm"))[-12:], bytes([1, 2, 3] + [250, 251, 252] * 2 + [1, 2, 3]))
        with open(self.path("all.tif"), "rb") as file:
            document = file.read()
        for name, data in (("cut.gif", gif[:-8]), ("cut.tif", document[:len(document) // 3])):
            self.fails(3, name, "convert", self.path(name, data), self.path("out.ppm"))

    def test_tiff_forms_of_others(self):
        self.need("PNG", "TIFF")
        if by_system():
            self.skipTest("the system's codec knows fewer forms")
        levels = lambda bits: [[(x * 3 + y * 5) % (1 << bits) for x in range(19)] for y in range(18)]
        scaled = lambda bits, rows: [[(v * 65535 + ((1 << bits) - 1) // 2) // ((1 << bits) - 1) for v in row] for row in rows]
        to8 = lambda bits, rows: [[v * 255 // ((1 << bits) - 1) for v in row] for row in rows]
        gray = lambda rows, deep=False: b"P5\n19 18\n" + (b"65535\n" if deep else b"255\n") + b"".join(
            v.to_bytes(2 if deep else 1, "big") for row in rows for v in row)
        for bits in (3, 6, 8, 10, 12, 16):
            rows = levels(bits)
            deep = bits > 8
            want = gray(scaled(bits, rows) if deep else to8(bits, rows), deep)
            for photometric, stored in ((1, rows), (0, [[(1 << bits) - 1 - v for v in row] for row in rows])):
                for tile in (None, 16):
                    if tile and bits not in (8, 16):
                        continue
                    source = self.path("in.tif", self.tiff(19, stored, bits, photometric, tile=tile))
                    out = self.convert(source, self.path("out.pgm"))
                    if out.startswith(b"P6"):  # a palette that is not all grays in their order
                        out = gray([out[-19 * 18 * 3:][::3]])
                    self.assertEqual(out, want, (bits, photometric, tile))
        red, green, blue = levels(8), levels(7), levels(6)
        woven = [[s for p in zip(*rows) for s in p] for rows in zip(red, green, blue)]
        want = b"P6\n19 18\n255\n" + b"".join(bytes(row) for row in woven)
        planes = [row for rows in zip(red, green, blue) for row in rows]
        for tile in (None, 16):
            source = self.path("in.tif", self.tiff(19, planes, 8, 2, samples=3, planes=2, tile=tile))
            self.assertEqual(self.convert(source, self.path("out.ppm")), want, tile)
        # Premultiplied alpha is taken out of the colours.
        source = self.path("in.tif", self.tiff(2, [[50, 60, 70, 128, 0, 0, 0, 0]], 8, 2, samples=4, extra=1))
        self.convert(source, self.path("out.png"))
        over = self.convert(self.path("out.png"), self.path("out.bmp"))
        self.assertEqual(over[-8:], bytes([139, 120, 100, 128, 0, 0, 0, 0]))
        # A palette of 8 bits in 16, as some programs leave it.
        colors = [i * 256 for i in range(256)] * 3
        source = self.path("in.tif", self.tiff(19, levels(8), 8, 3, colors=colors))
        self.assertEqual(self.convert(source, self.path("out.pgm")), gray(levels(8)))

    def test_damaged_tiff(self):
        self.need("TIFF")
        data = self.tiff(19, [[x for x in range(19)] for _ in range(18)], 8, 1)
        for at in range(8, len(data), 7 if not options.slow else 60):
            for value in (0, 0xFF):
                damaged = self.path("in.tif", data[:at] + bytes([value]) + data[at + 1:])
                done = vk("hold", damaged, "--as", "conv")
                self.assertIn(done.returncode, (0, 3), (at, value, done.stderr))
        for length in range(0, len(data), 20 if not options.slow else 100):
            self.assertEqual(vk("info", self.path("in.tif", data[:length])).returncode, 3, length)

    def test_jpeg_choices(self):
        self.need("PNG", "JPEG")
        sample = os.path.join(options.samples, "astronaut.png")
        sizes = [len(self.convert(sample, self.path("out.jpg"), *more)) for more in
                 (["--quality", "40"], [], ["--chroma", "444"], ["--chroma", "444", "--quality", "99"])]
        self.assertEqual(sizes, sorted(sizes))
        for kind in ("--progressive", "--optimized"):
            if by_system():
                self.fails(1, kind[2:], "convert", sample, self.path("x.jpg"), kind)
        if not by_system():
            self.assertIn(b"\xff\xc2", self.convert(sample, self.path("out.jpg"), "--progressive"))
            self.assertLess(len(self.convert(sample, self.path("out.jpg"), "--optimized")), sizes[1])
            self.convert(sample, self.path("plain.jpg"))
            self.assertEqual(self.compared(self.path("out.jpg"), self.path("plain.jpg"))[0], 0)
        self.convert(sample, self.path("gray.jpg"), "--bits", "8", "--palette", "gray")
        self.assertEqual(self.info(self.path("gray.jpg"))["bits per pixel"], "8")
        for bad in (["--quality", "0"], ["--quality", "101"], ["--chroma", "411"]):
            self.fails(2, bad[0], "convert", sample, self.path("x.jpg"), *bad)

    def compared(self, *arguments):
        done = vk("compare", "--json", *arguments)
        return done.returncode, json.loads(done.stdout) if done.stdout else done.stderr.decode()

    def test_comparing(self):
        rows = self.picture()
        first = self.ppm(rows)
        rows[2][3] = (rows[2][3][0] + 6, rows[2][3][1], rows[2][3][2] - 2)
        second = self.ppm(rows, "second.ppm")
        code, report = self.compared(first, first)
        self.assertEqual((code, report["equal"], report["largest_difference"]), (0, True, 0))
        code, report = self.compared(first, second, "-o", self.path("off.ppm"))
        self.assertEqual((code, report["equal"], report["different_pixels"], report["largest_difference"]), (4, False, 1, 6))
        self.assertAlmostEqual(report["psnr"], 10 * math.log10(255 ** 2 / (40 / (7 * 5 * 3))), 2)
        with open(self.path("off.ppm"), "rb") as file:
            off = bytearray(file.read()[-7 * 5 * 3:])
        self.assertEqual((off[17 * 3:18 * 3], sum(off)), (bytes([255, 0, 85]), 340))
        self.assertEqual(self.compared(first, second, "--tolerance", "6")[0], 0)
        self.assertEqual(self.compared(first, second, "--tolerance", "5")[0], 4)
        # Other depths and orders of the same colours are the same picture; another size is not.
        for more in (["--bits", "48"], ["--bits", "32"], ["--order", "rgb"]):
            self.convert(first, self.path("same.bmp" if more != ["--bits", "48"] else "same.ppm"), *more)
            self.assertEqual(self.compared(first, self.path("same.bmp" if more != ["--bits", "48"] else "same.ppm"))[0], 0, more)
        code, text = self.compared(first, self.ppm(rows[1:], "less.ppm"))
        self.assertEqual((code, "7 x 5 and 7 x 4" in text), (4, True))

    def test_claims_beyond_belief(self):
        bomb = lambda w, h: b"BM" + struct.pack("<IHHI", 64, 0, 0, 62) + struct.pack(
            "<IiiHHIIiiII", 40, w, h, 1, 8, 1, 2, 0, 0, 2, 0) + bytes(8) + b"\0\1"
        self.fails(3, "--limit", "info", self.path("a.bmp", bomb(40000, 30000)))
        self.fails(3, "claims", "info", self.path("a.bmp", bomb(9000, 9000)))
        self.assertEqual(vk("info", self.path("a.bmp", bomb(300, 300))).returncode, 0)
        self.fails(3, "--limit", "info", self.path("a.bmp", bomb(300, 300)), "--limit", "89999")
        self.fails(2, "--limit", "info", self.path("a.bmp", bomb(300, 300)), "--limit", "many")

    @unittest.skipIf(os.name == "nt", "names and rights as Unix has them")
    def test_what_is_replaced(self):
        if options.runner:
            self.skipTest("not through Wine")
        source = self.ppm(self.picture())
        target = self.path("private.ppm", b"old")
        os.chmod(target, 0o600)
        self.convert(source, target)
        self.assertEqual(stat.S_IMODE(os.stat(target).st_mode), 0o600)
        os.symlink("made.ppm", self.path("link.ppm"))
        self.convert(source, self.path("link.ppm"))
        self.assertTrue(os.path.islink(self.path("link.ppm")) and os.path.isfile(self.path("made.ppm")))
        os.symlink("loop.ppm", self.path("loop.ppm"))
        self.fails(3, "loop.ppm", "convert", source, self.path("loop.ppm"))
        self.convert(source, self.path("n" * 251 + ".ppm"))
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])

    def test_nothing_is_left_after_a_signal(self):
        if options.runner:
            self.skipTest("no signals can be sent to a Windows program from here")
        pixels = os.urandom(3 * 2000) * 2000
        source = self.path("in.ppm", b"P6 2000 2000 255\n" + pixels)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = subprocess.Popen(options.command + ["convert", source, self.path("out.ppm"), "--bits", "8"],
                                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            time.sleep(0.02)
            process.send_signal(number)
            errors = process.communicate(timeout=60)[1]
            # It may have been too late, or before anything was set up.
            self.assertIn(process.returncode, (0, -number), errors)
            self.assertLessEqual(set(os.listdir(self.folder)), {"in.ppm", "out.ppm"} if process.returncode == 0 else {"in.ppm"})
            if process.returncode == 0:
                os.remove(self.path("out.ppm"))

    def run_limited(self, limit, *arguments):
        """Runs the command where files may get so large and no larger."""
        return subprocess.run(options.command + list(arguments), stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                              check=False, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))

    def test_disks_that_fill(self):
        if options.runner:
            self.skipTest("no such limits there")
        source = self.path("in.ppm", b"P6 300 200 255\n" + os.urandom(300 * 200 * 3))
        endings = {"PNM": "ppm", "BMP": "bmp", "PNG": "png", "JPEG": "jpg", "TIFF": "tif", "WebP": "webp", "GIF": "gif"}
        for name in formats():
            if name not in endings:
                continue
            out = self.path("out." + endings[name])
            self.assertEqual(self.run_limited(10**9, "convert", source, out).returncode, 0, name)
            size = os.path.getsize(out)
            self.path("out." + endings[name], b"precious")
            for limit in (0, 1, size // 2, size - 1):
                done = self.run_limited(limit, "convert", source, out)
                self.assertEqual(done.returncode, 3, (name, limit, done))
                self.assertIn(out, done.stderr.decode())
                with open(out, "rb") as file:
                    self.assertEqual(file.read(), b"precious")
            os.remove(out)
            self.assertEqual(os.listdir(self.folder), ["in.ppm"])

    def test_progress_is_for_terminals(self):
        if options.runner:
            self.skipTest("no terminal there")
        import pty  # not for Windows
        source = self.path("in.ppm", b"P6 600 400 255\n" + os.urandom(600 * 400 * 3))
        command = ["convert", source, self.path("out.ppm"), "--bits", "8"]
        self.assertEqual(vk(*command).stderr, b"")
        ours, theirs = pty.openpty()
        process = subprocess.Popen(options.command + command, stderr=theirs)
        os.close(theirs)
        shown = b""
        try:
            while part := os.read(ours, 4096):
                shown += part
        except OSError:  # how a terminal ends
            pass
        os.close(ours)
        self.assertEqual(process.wait(60), 0)
        percents = [int(text) for text in re.findall(rb"\] +(\d+) %", shown)]
        self.assertEqual((percents[0], percents[-1]), (0, 100), shown)
        self.assertIn(b"[" + 40 * b"#" + b"] 100 %", shown)
        self.assertTrue(shown.endswith(b"\r\033[K"), "the line is cleared")


if __name__ == "__main__":
    main()
