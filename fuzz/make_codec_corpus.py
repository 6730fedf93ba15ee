#!/usr/bin/env python3
"""Writes the starting inputs of the codec fuzzers into fuzz/corpus/CodecGray and fuzz/corpus/CodecBits."""

import pathlib
import random
import struct


def head(width, rows, form=0, extra=0):
    return struct.pack("<HBBB", width - 1, rows - 1, form, extra)


def shades(count):
    return bytes((i // 7 + i * i // 900) & 255 for i in range(count))


def noise(count):
    return random.Random(1).randbytes(count)


GRAY = {
    "clear": head(40, 17) + bytes(4),
    "shades": head(50, 20) + shades(1000),
    "shades_24": head(21, 17, form=1) + shades(1100),
    "shades_padded": head(33, 18, form=1, extra=5) + shades(1900),
    "noise": head(30, 9, extra=2) + noise(288),
    "lengths": head(20, 16) + bytes([1]) + bytes([0xEE, 0xFF, 0x11] * 12) + noise(200),
    "mapped": head(200, 3) + bytes([2, 0xFF, 0xFF, 0xFF]) + bytes([0x2E] * 60) + noise(90),
    "streams": head(64, 2) + bytes([1]) + bytes([0x11] + [0xEE, 0xF] * 3) * 6 + struct.pack("<4I", 2, 3, 4, 2**31),
}
BITS = {
    "clear": head(2900, 17) + bytes(4),
    "text": head(300, 20) + bytes([0, 0x3C, 0x66, 0x66, 0, 0x81, 0xFF] * 160),
    "stripes": head(2000, 20) + bytes([0, 0, 0xFF, 0, 0, 0, 0x18] * 90),
    "tails": head(77, 20, extra=3) + noise(260),
    "noise": head(100, 9) + noise(117),
    "lengths": head(64, 16) + bytes([0x11] + [0xEE, 0x04] * 2) * 6 + struct.pack("<I", 20) + noise(40),
}

if __name__ == "__main__":
    for family, inputs in (("CodecGray", GRAY), ("CodecBits", BITS)):
        corpus = pathlib.Path(__file__).parent / "corpus" / family
        corpus.mkdir(parents=True, exist_ok=True)
        for name, data in inputs.items():
            (corpus / name).write_bytes(data)
