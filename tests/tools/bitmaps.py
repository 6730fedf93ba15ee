"""BMP files made and taken apart by hand."""
import struct


def packed(row, bits, width):
    """A row of samples, those of up to 8 bits from the highest bits on, padded to 4 bytes."""
    if bits > 8:
        data = b"".join(value.to_bytes(bits // 8, "little") for value in row)
    else:
        text = "".join(format(value, f"0{bits}b") for value in row)
        data = int(text.ljust((len(text) + 7) // 8 * 8, "0"), 2).to_bytes((len(text) + 7) // 8, "big")
    return data.ljust((width * bits + 31) // 32 * 4, b"\0")


def runs(rows, bits, generator):
    """Rows of indices as run lengths, with runs, literals and jumps as chance has it. Rows end, and the picture does, where
    only zeros follow."""
    data, x, y = b"", 0, 0
    for at, row in enumerate(rows[::-1]):
        drawn = [i for i, value in enumerate(row) if value]
        if not drawn:
            continue
        if at > y and 0 <= drawn[0] - x < 256 and at - y < 256 and generator.random() < 0.5:
            data, x = data + bytes([0, 2, drawn[0] - x, at - y]), drawn[0]
        elif at > y:
            data, x = data + b"\0\0" * (at - y), 0
        y, end = at, drawn[-1] + 1
        while x < end:
            room = min(255, end - x)
            same = next((i for i in range(room) if row[x + i] != row[x]), room)
            if row[x] == 0 and generator.random() < 0.7:
                count, code = same, bytes([0, 2, same, 0])
            elif same > 1 or room < 3:
                count, code = same, bytes([same]) + packed([row[x]] * (8 // bits), bits, 0)
            else:
                count = generator.randrange(3, room + 1)
                literal = packed(row[x:x + count], bits, 0)
                code = bytes([0, count]) + literal + b"\0" * (len(literal) % 2)
            data, x = data + code, x + count
    return data + b"\0\1"


def bmp(rows, bits, palette=(), size=40, masks=(), data=None, compression=None, top_down=False, per_metre=2835, gap=b"",
        used=None, image_size=None):
    """A BMP file of rows of pixels, the top one first; `palette` are (blue, green, red). `gap` stands in front of the
    pixels, `used` and `image_size` are what the header says when it is not the truth."""
    width, height = len(rows[0]), len(rows)
    if data is None:
        data = b"".join(packed(row, bits, width) for row in (rows if top_down else rows[::-1]))
    if size == 12:
        head = struct.pack("<IHHHH", 12, width, height, 1, bits)
    elif size < 40:
        head = struct.pack("<IiiHH", size, width, height, 1, bits).ljust(size, b"\0")
    else:
        compression = (3 if masks else 0) if compression is None else compression
        head = struct.pack("<IiiHHIIiiII", size, width, -height if top_down else height, 1, bits, compression,
                           len(data) if image_size is None else image_size,
                           per_metre, per_metre, len(palette) if used is None else used, 0)
        head += b"".join(struct.pack("<I", mask) for mask in masks)
        head = head.ljust(size, b"\0")
    head += b"".join(bytes(entry) + (b"" if size == 12 else b"\0") for entry in palette)
    head += gap
    return b"BM" + struct.pack("<IHHI", 14 + len(head) + len(data), 0, 0, 14 + len(head)) + head + data


def read_bmp(data):
    """Depth, header fields, colour table and rows of bytes (the top one first) of a BMP file with rows bottom up."""
    start, = struct.unpack("<I", data[10:14])
    size, width, height, _, bits, compression, _, x, y, used, _ = struct.unpack("<IiiHHIIiiII", data[14:54])
    table = data[14 + size:14 + size + 4 * used]
    line = (width * bits + 31) // 32 * 4
    rows = [data[start + line * i:start + line * (i + 1)] for i in range(height)][::-1]
    assert len(data) == start + line * height == struct.unpack("<I", data[2:6])[0]
    return bits, {"header": size, "compression": compression, "resolution": (x, y)}, table, rows
