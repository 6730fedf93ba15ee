#!/usr/bin/env python3
"""Counts the instructions that each vector kernel takes on 64-bit ARM, beside those of its plain form.

    instructions.py [--build DIRECTORY] [--only TEXT] [--write FILE]

Every operation of vk_instructions runs under the emulator at each level, four times in one process; the plugin that is
built beside the program counts the instructions of the last run. --write puts the table into its section of a
document.
"""
import argparse
import pathlib
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADING = "## Instructions on 64-bit ARM\n"
PLAIN, NEON = 0, 2
TEXT = """
Made by `scripts/instructions.py`: instructions per pixel of the result, counted by the emulator that runs the tests, for
whole operations through the exported functions, at the plain level and with NEON (GCC 12, no processor's peculiarities
asked for). Pictures have 65536 pixels, so what a call costs apart from them is in the figures. Instructions are no
times: they say what the vectors save, not how fast a processor is.

Above a half are: what the compiler makes vectors of by itself, or the C library does, so that the plain form is no plain
one any more (fills, alpha taken out and put in, bytes reversed, regions, area averages, for which its loop is even the
better one); logical operations on bits, where a plain word is half a vector; what has no vectors at this width but tables
(the nearest of 256 colours, bits and bytes taken out, run lengths of dense rows, which both forms do by words); and the
cipher, mirrored pixels of 48 bits, YUV samples at half the resolution and perspectives, where 16 bytes hold too little.

| operation | plain | NEON | part |
|---|---|---|---|
"""


def instructions(build, operation, level):
    """What one run executes. Addresses are the same each time, as kernels look at them."""
    command = ["setarch", "-R", "qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", "-plugin",
               build / "libvk_count_plugin.so", build / "vk_instructions", operation, str(level)]
    done = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False)
    found = re.search(r"^instructions (\d+)$", done.stderr, re.MULTILINE)
    if done.returncode != 0 or not found:
        sys.exit(f"{operation}: {done.stderr}")
    return int(found.group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/aarch64")
    parser.add_argument("--only", default="")
    parser.add_argument("--write", type=pathlib.Path)
    arguments = parser.parse_args()
    program = ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", arguments.build / "vk_instructions"]
    names = subprocess.run(program, stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()
    operations = [line.split("\t") for line in names if arguments.only in line]

    def row(operation):
        name, pixels = operation
        plain, neon = (instructions(arguments.build, name, level) / float(pixels) for level in (PLAIN, NEON))
        return f"| {name} | {plain:.2f} | {neon:.2f} | {neon / plain:.2f} |\n"

    with ThreadPoolExecutor(2) as pool:
        rows = []
        for line in pool.map(row, operations):
            print(line, end="", flush=True)
            rows.append(line)
    if arguments.write:
        document = arguments.write.read_text()
        before, _, rest = document.partition(HEADING)
        after = re.search(r"^## ", rest, re.MULTILINE)
        section = HEADING + TEXT + "".join(rows) + "\n"
        arguments.write.write_text(before.rstrip("\n") + "\n\n" + section + (rest[after.start():] if after else ""))


main()
