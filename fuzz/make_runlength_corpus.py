#!/usr/bin/env python3
"""Writes the starting inputs of RunLength_fuzz into fuzz/corpus/RunLength: one of each kind that matters."""

import pathlib
import struct


def head(offset=0, scale=0, width=100, start=0, rows=2):
    return struct.pack("<BBHHBB", offset, scale, width, start, rows, 0)


def words(*runs):
    return struct.pack("<%dH" % len(runs), *runs)


def row(*runs, count=None):
    return struct.pack("<I", len(runs) if count is None else count) + words(*runs)


INPUTS = {
    "pixels": head(offset=3, width=60) + bytes([0x0F, 0xFF, 0x00, 0xA5, 0x18, 0x00, 0x00, 0xFF]),
    "clear": head(scale=5, width=4000) + bytes(500),
    "set": head(offset=7, scale=5, width=3000) + b"\xff" * 376,
    "words": head(width=300, start=17, rows=4) + words(5, 7, 0, 3, 64, 64, 1, 1, 100, 55),
    "splice": head(scale=6, width=35000) + words(65528, 0, 4472),
    "splice_set": head(scale=7, width=44827, start=65535) + words(0, 65528, 0, 65528, 0, 3425),
    "overrun": head(width=100, start=99) + words(65535, 65535, 65535),
    "short": head(scale=5, width=5000) + words(3, 4),
    "row": head(width=99) + row(10, 20, 70),
    "row_cut": head(width=99, start=50) + row(10, 20, 70, count=4000000000),
    "row_zeros": head(width=2000) + row(*[0] * 64, 100, 1900),
    "empty": head(),
}

if __name__ == "__main__":
    corpus = pathlib.Path(__file__).parent / "corpus" / "RunLength"
    corpus.mkdir(parents=True, exist_ok=True)
    for name, data in INPUTS.items():
        (corpus / name).write_bytes(data)
