"""PNG and GIF files made and taken apart by hand, so that the vk command is not checked by the libraries it uses itself."""
import struct
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}  # by colour type
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


def pack(samples, depth):
    """Samples of a row as bytes, the first in the highest bits."""
    if depth == 16:
        return struct.pack(f">{len(samples)}H", *samples)
    bits = "".join(format(sample, f"0{depth}b") for sample in samples)
    bits += "0" * (-len(bits) % 8)
    return bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8))


def unpack(row, depth, count):
    if depth == 16:
        return list(struct.unpack(f">{count}H", row))
    bits = "".join(format(byte, "08b") for byte in row)
    return [int(bits[i * depth:(i + 1) * depth], 2) for i in range(count)]


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(rows, depth, colour, extra=b"", interlaced=False):
    """A PNG file of rows of samples; `extra` are chunks to go before the pixels."""
    step = CHANNELS[colour]
    width, height = len(rows[0]) // step, len(rows)
    raw = b""
    for x0, y0, dx, dy in ADAM7 if interlaced else [(0, 0, 1, 1)]:
        for row in rows[y0::dy] if x0 < width else []:
            raw += b"\0" + pack([row[x * step + c] for x in range(x0, width, dx) for c in range(step)], depth)
    header = struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, int(interlaced))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra + chunk(b"IDAT", zlib.compress(raw)) +
            chunk(b"IEND", b""))


def unfilter(kind, row, above, step):
    for i, byte in enumerate(row):
        left = row[i - step] if i >= step else 0
        corner = above[i - step] if i >= step else 0
        p = left + above[i] - corner
        nearest = min((left, above[i], corner), key=lambda value: abs(p - value))
        row[i] = (byte + (0, left, above[i], (left + above[i]) // 2, nearest)[kind]) & 255


def read_png(data):
    """The depth, colour type, rows of samples and remaining chunks of a PNG file that is not interlaced."""
    chunks, at = {}, 8
    while at < len(data):
        size, name = struct.unpack(">I4s", data[at:at + 8])
        chunks[name] = chunks.get(name, b"") + data[at + 8:at + 8 + size]
        at += 12 + size
    width, height, depth, colour = struct.unpack(">IIBB", chunks.pop(b"IHDR")[:10])
    raw = zlib.decompress(chunks.pop(b"IDAT"))
    size = (width * CHANNELS[colour] * depth + 7) // 8
    step = max(1, CHANNELS[colour] * depth // 8)
    above, rows = bytearray(size), []
    for y in range(height):
        line = raw[y * (size + 1):(y + 1) * (size + 1)]
        row = bytearray(line[1:])
        unfilter(line[0], row, above, step)
        rows.append(unpack(row, depth, width * CHANNELS[colour]))
        above = row
    return depth, colour, rows, chunks


def gif(size, colors, frames, loops=None):
    """A GIF file of (place and size, delay, disposal, clear index, rows of indices) frames, four or more colours and no packing."""
    head = b"GIF89a" + struct.pack("<HH3B", *size, 0xF0 | (len(colors) - 1).bit_length() - 1, 0, 0) + bytes(sum(colors, ()))
    data = b"" if loops is None else b"!\xff\x0bNETSCAPE2.0\3\1" + struct.pack("<HB", loops, 0)
    for place, delay, disposal, clear, rows in frames:
        data += b"!\xf9\4" + struct.pack("<BHBB", disposal << 2 | (clear is not None), delay, clear or 0, 0)
        data += b"," + struct.pack("<4HB", *place, 0) + b"\7"
        pixels = bytes(sum(rows, []))
        for i in range(0, len(pixels), 100):  # codes stay at eight bits when they are started over
            part = b"\x80" + pixels[i:i + 100]
            data += bytes([len(part)]) + part
        data += b"\1\x81\0"
    return head + data + b";"


def unpacked(depth, data):
    """What a GIF's packed codes stand for."""
    codes, at, out, clear = int.from_bytes(data, "little"), 0, [], 1 << depth
    table, width, last = [], depth + 1, None
    while (code := codes >> at & (1 << width) - 1) != clear + 1:
        at += width
        if code == clear:
            table, width, last = [[i] for i in range(clear)] + [[], []], depth + 1, None
            continue
        if last is not None and len(table) < 4096:
            table.append(last + (table[code] if code < len(table) else last)[:1])
        last = table[code]
        out += last
        width = min(12, max(width, len(table).bit_length()))
    return out


def read_gif(data):
    """The size, the colours and the blocks of a GIF file with one palette: loops, and frames as gif() takes them."""
    width, height, flags = struct.unpack("<HHB", data[6:11])
    at, blocks, control = 13 + (6 << (flags & 7)), [], None
    colors = [tuple(data[i:i + 3]) for i in range(13, at, 3)]
    def sub_blocks():
        nonlocal at
        found = b""
        while data[at]:
            found += data[at + 1:at + 1 + data[at]]
            at += 1 + data[at]
        at += 1
        return found
    while data[at:] != b";":
        kind = data[at:at + 2]
        if data[at] == 0x21:
            at += 2
            block = sub_blocks()
            if kind == b"!\xf9":
                control = struct.unpack("<BHB", block)
            else:
                blocks.append(struct.unpack("<H", block[12:])[0])
            continue
        place = struct.unpack("<4H", data[at + 1:at + 9])
        depth, at = data[at + 10], at + 11
        pixels = unpacked(depth, sub_blocks())
        rows = [pixels[i:i + place[2]] for i in range(0, len(pixels), place[2])]
        assert len(rows) == place[3] and len(rows[-1]) == place[2]
        blocks.append((place, control[1], control[0] >> 2, control[2] if control[0] & 1 else None, rows))
    return (width, height), colors, blocks
