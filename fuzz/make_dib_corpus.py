#!/usr/bin/env python3
"""Writes the starting inputs of the DIB fuzz targets into fuzz/corpus: one of each kind that matters."""
import pathlib
import struct

YUV = {"YUY2": (16, 2), "UYVY": (16, 2), "YVYU": (16, 2), "cyuv": (16, 2), "Y41P": (12, 2), "Y211": (8, 1),
       "I420": (12, 2), "YV12": (12, 2), "YVU9": (9, 2)}


def header(bits, width=9, height=3, compression=0, image=0, used=0, size=40):
    head = struct.pack("<IiiHHIIiiII", size, width, height, 1, bits, compression, image, 2835, 0, used, 0)
    return head + bytes(size - 40)


def pixels(bits, width=9, height=3):
    return bytes(i * 7 & 255 for i in range((width * bits + 31) // 32 * 4 * height))


def code(text):
    return struct.unpack("<I", text.encode())[0]


RUNS = {
    "runs": b"\x05\x07\0\0\0\x03\x01\x02\x03\0\x02\x09\0\0\0\x01", "jump": b"\x02\x07\0\x02\x01\x01\x03\x08\0\0\x05\x01",
    "literal": b"\0\x05\x01\x02\x03\x04\x05\0\0\0\x05\x05\x06", "padding": b"\x08\x07\0\0\x05\x07\0\x01",
    "long": b"\x09\x07\0\0", "short": b"\x04\x07\0\0", "cut": b"\0\x09\x01", "early": b"\x05\x07\0\x01",
}

blocks, heads = {}, {}
for bits in (1, 4, 8, 16, 24, 32):
    table = bytes(range(4 << bits & 1023)) if bits < 8 else bytes(i & 255 for i in range(1024)) if bits == 8 else b""
    for size in (40, 108, 124):
        blocks[f"plain{bits}_{size}"] = header(bits, size=size) + table + pixels(bits)
    blocks[f"top{bits}"] = header(bits, height=-3) + table + pixels(bits)
    if bits in (1, 4, 8, 24):
        core = struct.pack("<IHHHH", 12, 9, 3, 1, bits)
        blocks[f"core{bits}"] = core + table[:len(table) // 4 * 3] + pixels(bits)
    heads[f"plain{bits}"] = (header(bits) + table).ljust(1064, b"\0") + pixels(bits)
for bits, masks in ((16, (0xF800, 0x7E0, 0x1F)), (16, (0x1F, 0x3E0, 0x7C00)), (32, (0xFF, 0xFF00, 0xFF0000)),
                    (32, (0x3FF00000, 0xFFC00, 3)), (32, (0, 0xFFFFFFFF, 0x80000001))):
    words = struct.pack("<3I", *masks)
    blocks[f"fields{bits}_{masks[2]:x}"] = header(bits, compression=3) + words + pixels(bits)
    heads[f"fields{bits}_{masks[2]:x}"] = header(bits, compression=3) + words + pixels(bits)
    blocks[f"own{bits}_{masks[2]:x}"] = header(bits, compression=3, size=108)[:40] + words + bytes(56) + pixels(bits)
for name, (bits, _) in YUV.items():
    blocks[name] = header(bits, 16, 16, code(name)) + bytes(i & 255 for i in range(16 * 16 * 2))
    heads[name] = header(bits, 16, 16, code(name)).ljust(1064, b"\0") + bytes(i & 255 for i in range(512))
for bits in (8, 4):
    for name, data in RUNS.items():
        blocks[f"rle{bits}_{name}"] = header(bits, 5, 2, 2 if bits == 4 else 1, len(data), 1) + data + bytes(4)
        heads[f"rle{bits}_{name}"] = header(bits, 5, 2, 2 if bits == 4 else 1, len(data), 1) + bytes(12) + data
blocks["jpeg"] = header(24, 8, 8, code("JPEG"), 4) + b"\xff\xd8\xff\xd9"
runs = {f"{name}_{bits}": bytes([bits == 4, 4, 1]) + data for bits in (8, 4) for name, data in RUNS.items()}

for family, inputs in (("ChangeFromDib", blocks), ("ConvertFromDib", heads), ("DibRunLength", runs)):
    folder = pathlib.Path(__file__).parent / "corpus" / family
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in inputs.items():
        (folder / name).write_bytes(data)
