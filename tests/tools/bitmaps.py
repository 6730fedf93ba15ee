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


def bmp(rows, bits, palette=(), size=40, masks=(), data=None, compression=None, top_down=False, per_metre=2835):
    """A BMP file of rows of pixels, the top one first; `palette` are (blue, green, red)."""
    width, height = len(rows[0]), len(rows)
    if data is None:
        data = b"".join(packed(row, bits, width) for row in (rows if top_down else rows[::-1]))
    if size == 12:
        head = struct.pack("<IHHHH", 12, width, height, 1, bits)
    else:
        compression = (3 if masks else 0) if compression is None else compression
        head = struct.pack("<IiiHHIIiiII", size, width, -height if top_down else height, 1, bits, compression, len(data),
                           per_metre, per_metre, len(palette), 0)
        head += b"".join(struct.pack("<I", mask) for mask in masks)
        head = head.ljust(size, b"\0")
    head += b"".join(bytes(entry) + (b"" if size == 12 else b"\0") for entry in palette)
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
