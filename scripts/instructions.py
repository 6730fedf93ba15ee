#!/usr/bin/env python3
"""Counts the instructions that each vector kernel takes on 64-bit ARM, beside those of its plain form.

    instructions.py [--build DIRECTORY] [--plain DIRECTORY] [--only TEXT] [--write FILE]

Every operation of vk_instructions runs under the emulator at each level, four times in one process; the plugin that is
built beside the program counts the instructions of the last run. The plain level runs twice: as everything is built,
and as a second build has it whose compiler makes no vectors by itself (presets aarch64 and aarch64-plain, target
vk_instructions). --write puts the table into its section of a document.
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
whole operations (GCC 12, no processor's peculiarities asked for). "Plain" is the plain level, compiled without vectors of
the compiler's own, which is what kernels are held against; "as built" is the same level in the library, where compilers
make vectors of many plain loops; NEON is what runs, and "part" its part of plain. Pictures have 65536 pixels, that for the
nearest of 256 colours, whose look-up is made in every call, two million; what a call costs apart from them is in the
figures. Runs are held against the form by bytes. Instructions are no times: they say what the vectors save, not how fast a
processor is.

Above a half are fills and regions of masks, which have no plain form: both levels are the C library's copies, or vectors of
16 bytes that every processor of the kind has; the logical operation on bits, whose plain word is half a vector, and of
which a third is the way to the rows; and the nearest of 256 colours, whose loads, one a lane, no vector takes over. Alpha
put in has no kernel but the compiler's.

| operation | plain | plain as built | NEON | part |
|---|---|---|---|---|
"""


def instructions(build, operation, level):
    """What one run executes. Addresses are the same each time, as kernels look at them; of some runs the one that did
    not come upon the library's looking at the system's memory, ten times a second at most."""
    command = ["setarch", "-R", "qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", "-plugin",
               build / "libvk_count_plugin.so", build / "vk_instructions", operation, str(level)]
    counts = []
    for _ in range(3):
        done = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False)
        found = re.search(r"^instructions (\d+)$", done.stderr, re.MULTILINE)
        if done.returncode != 0 or not found:
            sys.exit(f"{operation}: {done.stderr}")
        counts.append(int(found.group(1)))
    return min(counts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/aarch64")
    parser.add_argument("--plain", type=pathlib.Path, default=ROOT / "build/aarch64-plain")
    parser.add_argument("--only", default="")
    parser.add_argument("--write", type=pathlib.Path)
    arguments = parser.parse_args()
    program = ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", arguments.build / "vk_instructions"]
    names = subprocess.run(program, stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()
    operations = [line.split("\t") for line in names if arguments.only in line]

    def row(operation):
        name, pixels = operation
        runs = ((arguments.plain, PLAIN), (arguments.build, PLAIN), (arguments.build, NEON))
        plain, built, neon = (instructions(build, name, level) / float(pixels) for build, level in runs)
        return f"| {name} | {plain:.2f} | {built:.2f} | {neon:.2f} | {neon / plain:.2f} |\n"

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
