"""Operations that take rows as they come make the same pictures as they do of pictures that are held."""
import os
import random
import subprocess
import unittest

from bitmaps import bmp
from pictures import chunk, png
from vkcommand import VkTest, formats, main, options, vk

# Operations, and whether they need the whole picture.
OPERATIONS = [
    "convert", "convert --bits 24", "convert --bits 48", "convert --bits 32 --order rgb", "convert --bits 16 --order gray",
    "convert --bits 12", "convert --bits 16 --order 565", "convert --bits 8 --palette gray --dither none",
    "convert --bits 8 --palette fixed", "convert --bits 4 --palette fixed --dither stucki", "convert --bits 1 --palette gray",
    "convert --bits 8 --palette gray", "convert --bits 2 --palette fixed --dither ordered", "convert --bits 1 --palette fixed --dither clustered",
    "convert --bits 8 --palette cube --dither none", "convert --bits 8 --palette cube", "convert --bits 3 --palette fixed --dither none",
    "convert --bits 8", "convert --bits 4 --palette {palette}", "convert --bits 8 --palette {palette} --dither none",
    "resize --size 30x20", "resize --size 31x", "resize --scale 230", "resize --size 17x90", "resize --size 3x2",
    *(f"resize --size {size} --filter {kind}" for kind in ("nearest", "bicubic", "sharp", "gray", "favor-black")
      for size in ("25x19", "150x80", "20x100", "4x3")),
    "resize --size 20x15 --alpha-aware", "crop --rect 3,5,20,11", "crop --rect -3,40,500,500", "crop --rect 0,7,73,9",
    *(f"extend --by {sides} --kind {kind} --fill 123456" for kind in ("fill", "edge", "mirror", "wrap") for sides in ("3,4,5,6", "0,2,0,0", "7,0,1,0")),
    "mirror", "flip", "alpha --take", "alpha --value 77", "alpha --premultiply", "fill --color 336699",
    "window --center 90 --width 100", "window --center 90 --width 100 --colors 000080-ffff00", "window --width 100",
    "crop --rect 3,5,50,40 --then resize --size 30x --then mirror --then convert --bits 4 --palette fixed --then extend --by 1,2,3,4",
    "resize --size 40x --then rotate --angle 30 --then crop --rect 2,2,30,30", "extend --by 2,0,3,1 --kind edge --then flip",
]


class Rows(VkTest):
    def pictures(self):
        """Of every form that files have, with smooth parts, and clear ones where there is alpha."""
        source = random.Random(5)
        width, height = 73, 59
        for depth, colour in [(d, 0) for d in (1, 2, 4, 8, 16)] + [(d, 3) for d in (1, 4, 8)] + [(d, c) for c in (2, 6) for d in (8, 16)]:
            most = (1 << depth) - 1
            channels = {0: 1, 2: 3, 3: 1, 6: 4}[colour]
            sample = lambda x, y, c: max(0, min(most, (x * (c + 2) * most // 200 + y * most // 90 + source.randrange(most // 3 + 1)) % (most + 1)))
            rows = [[sample(x, y, c) if c < 3 else (0, sample(x, y, c), most)[y // 20] for x in range(width) for c in range(channels)]
                    for y in range(height)]
            extra = chunk(b"PLTE", bytes(source.randrange(256) for _ in range(3 << depth))) if colour == 3 else b""
            yield f"{colour}-{depth}.png", png(rows, depth, colour, extra)

    def plain_pictures(self):
        """The same for builds that have no PNG."""
        source = random.Random(6)
        for kind, most, channels in (("P5", 255, 1), ("P5", 65535, 1), ("P6", 255, 3), ("P6", 65535, 3)):
            samples = source.randbytes(73 * 59 * channels * (2 if most > 255 else 1))
            yield f"{kind}-{most}.pnm", f"{kind} 73 59 {most}\n".encode() + samples
        yield "bits.pnm", b"P4 73 59\n" + source.randbytes(10 * 59)

    def made(self, words, name):
        """What an operation makes of a file, and what it makes of one that has been turned twice, for which it is held."""
        results = []
        for before in ([], ["flip", "--then", "flip", "--then"]):
            out = self.path("out." + self.format)
            if os.path.exists(out):
                os.remove(out)
            command, *rest = before + words
            done = vk(command, self.path(name), out, *rest)
            made = None
            if done.returncode == 0:
                with open(out, "rb") as file:
                    made = file.read()
            results.append((done.returncode, made))
        return results

    def test_same_as_held(self):
        self.format = "png" if "PNG" in formats() else "pnm"
        colours = [(i * 15 + 3, 255 - i * 16, i * i) for i in range(16)]
        palette = self.path("palette.bmp", bmp([[0]], 4, colours))
        done = 0
        pictures = list(self.pictures() if self.format == "png" else self.plain_pictures())
        for number, operation in enumerate(OPERATIONS):
            for name, data in pictures[number % len(pictures)::8] if options.slow else pictures[number % 4::4]:
                self.path(name, data)
                words = operation.format(palette=palette).split()
                rows, held = self.made(words, name)
                self.assertEqual(rows, held, (operation, name))
                done += held[0] == 0
        self.assertGreater(done, len(OPERATIONS) // 2)

    @unittest.skipIf(os.name == "nt", "memory as Unix counts it")
    def test_memory(self):
        """24 million pixels through pipelines, in what a few thousand rows would take."""
        if options.runner:
            self.skipTest("memory is not counted here")
        source = self.path("in.pgm", b"P5 6000 4000 255\n" + bytes(range(250)) * (6000 * 4000 // 250))
        mirrored = self.path("mirrored.jpg")
        if "JPEG" in formats():
            vk("orient", source, mirrored, "--from", "2", "--to", "2")
            self.check_memory(24, "crop", mirrored, self.path("out.ppm"), "--rect", "5,5,5000,3000")
            self.check_memory(24, "convert", mirrored, self.path("out.ppm"))
        for words in (["convert", "--bits", "24"], ["resize", "--scale", "30"], ["resize", "--scale", "110", "--filter", "bicubic"],
                      ["crop", "--rect", "5,5,5000,3000"], ["mirror"], ["window", "--center", "90", "--width", "50"],
                      ["extend", "--by", "9,9,9,9"], ["convert", "--bits", "1", "--palette", "gray"]):
            self.check_memory(24, words[0], source, self.path("out.ppm"), *words[1:])
        with open(source, "rb") as file:
            self.check_memory(40, "mirror", "--pipe", "--format", "ppm", given=file)

    def check_memory(self, most, *words, given=None):
        """Runs the command in so many mebibytes."""
        script = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL); "
                  "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
        done = subprocess.run(["python3", "-c", script, *options.command, *words], stdin=given, stdout=subprocess.PIPE, check=True)
        if b"asan" not in options.vk.encode():
            self.assertLess(int(done.stdout), most << 10, words)


if __name__ == "__main__":
    main()
