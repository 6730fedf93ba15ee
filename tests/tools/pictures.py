"""PNG files made and taken apart by hand, so that the vk command is not checked by the libraries it uses itself."""
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
