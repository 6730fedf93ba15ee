"""PNM files with rows at known places, so that any machine reads and writes the rows of its own: P4, P5 and P6, read into
the forms that the vk command gives such pictures and written as it writes them."""
from __future__ import annotations

import dataclasses
import os
from typing import Any, BinaryIO

import numpy as np

from ..bitmap import Bitmap
from ..colors import Palette
from ..kinds import Order

WHITE_BLACK = [(255, 255, 255), (0, 0, 0)]


@dataclasses.dataclass(frozen=True)
class Form:
    """What a picture is like: all that a bitmap of some of its rows has to know."""

    width: int
    height: int
    bits: int
    order: Order
    palette: tuple[tuple[int, int, int], ...] | None = None

    def bitmap(self, rows: int) -> Bitmap:
        """A bitmap for some of the rows."""
        return Bitmap(self.width, rows, self.bits, order=self.order, palette=Palette(self.palette) if self.palette else None)

    @staticmethod
    def of(bitmap: Bitmap, height: int) -> Form:
        """The form of a picture of which the bitmap is a part."""
        palette = bitmap.palette
        return Form(bitmap.width, height, bitmap.bits, bitmap.order, tuple(palette) if palette is not None else None)

    @property
    def row_bytes(self) -> int:
        """Bytes of a row in memory."""
        return (self.width * self.bits + 31) // 32 * 4


class PnmSource:
    """A picture's rows in a file, which must not change while they are read."""

    def __init__(self, path: str) -> None:
        self.path = os.path.abspath(path)
        with open(self.path, "rb") as file:
            self._read_header(file)
            self._start = file.tell()
            state = os.fstat(file.fileno())
        self._state = state.st_size, state.st_mtime_ns
        if state.st_size < self._start + self._line * self.form.height:
            raise ValueError(f"{path} is too short for its size")

    def _read_header(self, file: BinaryIO) -> None:
        kind = file.read(2)
        if kind not in (b"P4", b"P5", b"P6"):
            raise ValueError(f"{self.path} is no PNM file of bytes (P4, P5 or P6), whose rows every machine finds: "
                             "'vk hold' makes one of any picture")
        width, height = self._number(file), self._number(file)
        self._most = 1 if kind == b"P4" else self._number(file)
        if width < 1 or height < 1 or not 1 <= self._most <= 65535:
            raise ValueError(f"{self.path} has no pixels, or samples that there are not")
        self._channels = 3 if kind == b"P6" else 1
        self._deep = self._most > 255
        self._line = (width + 7) // 8 if kind == b"P4" else width * self._channels * (1 + self._deep)
        if kind == b"P4":
            self.form = Form(width, height, 1, Order.RGB, ((255, 255, 255), (0, 0, 0)))
        elif kind == b"P6":
            self.form = Form(width, height, 48 if self._deep else 24, Order.BGR)
        elif self._deep:
            self.form = Form(width, height, 16, Order.GRAY)
        else:
            self.form = Form(width, height, 8, Order.RGB, tuple(Palette.gray(8)))

    def _number(self, file: BinaryIO) -> int:
        """The next number of the header, and the one space behind it."""
        digits, char = b"", file.read(1)
        while char and (char.isspace() or char == b"#"):
            if char == b"#":
                file.readline()
            char = file.read(1)
        while char.isdigit() and len(digits) < 10:
            digits, char = digits + char, file.read(1)
        if not digits or not char.isspace():
            raise ValueError(f"{self.path} has a damaged header")
        return int(digits)

    def read(self, first: int, last: int) -> Bitmap:
        """The rows from `first` to before `last`."""
        with open(self.path, "rb") as file:
            state = os.fstat(file.fileno())
            if (state.st_size, state.st_mtime_ns) != self._state:
                raise ValueError(f"{self.path} was changed meanwhile")
            file.seek(self._start + first * self._line)
            data = file.read((last - first) * self._line)
        if len(data) != (last - first) * self._line:
            raise ValueError(f"{self.path} ends too early")
        made = self.form.bitmap(last - first)
        kind = np.dtype(">u2") if self._deep else np.dtype(np.uint8)
        values: Any = np.frombuffer(data, kind).reshape(last - first, -1)
        if self.form.bits == 1:
            made.array()[...] = values
            return made
        if values.max() > self._most:
            raise ValueError(f"{self.path} has samples greater than the greatest that it names")
        full = 65535 if self._deep else 255
        if self._most != full:
            values = (values.astype(np.uint64) * full + self._most // 2) // self._most
        if self._channels == 3:
            values = values.reshape(last - first, -1, 3)[..., ::-1]
        made.array()[...] = values
        return made


def _gray_levels(bits: int) -> list[tuple[int, int, int]]:
    most = (1 << bits) - 1
    return [(level * 255 // most,) * 3 for level in range(most + 1)]


def header(form: Form) -> bytes:
    """How the file of a picture of such pixels begins; ValueError when PNM does not hold them."""
    size = f"{form.width} {form.height}\n"
    colors = list(form.palette) if form.palette else None
    if form.bits <= 8:
        colors = colors or _gray_levels(form.bits)
        if form.bits == 1 and colors in (WHITE_BLACK, WHITE_BLACK[::-1]):
            return f"P4\n{size}".encode()
        if form.bits in (1, 2, 4, 8) and colors == _gray_levels(form.bits):
            return f"P5\n{size}{(1 << form.bits) - 1}\n".encode()
        return f"P6\n{size}255\n".encode()
    if form.bits == 16 and form.order == Order.GRAY:
        return f"P5\n{size}65535\n".encode()
    if form.bits in (24, 48) and form.order in (Order.RGB, Order.BGR):
        return f"P6\n{size}{255 if form.bits == 24 else 65535}\n".encode()
    raise ValueError(f"PNM does not hold pixels of {form.bits} bits in the order {form.order.name}; "
                     "end the chain with a convert to 24 bits, say")


def encode(bitmap: Bitmap) -> bytes:
    """The rows of a bitmap as the file holds them."""
    form = Form.of(bitmap, bitmap.height)
    kind = header(form)[:2]
    pixels: Any = bitmap.to_array()
    if form.bits > 8:
        pixels = pixels[..., ::-1] if form.order == Order.BGR else pixels
        return pixels.astype(">u2" if pixels.dtype.itemsize == 2 else np.uint8).tobytes()
    colors = np.array(form.palette or _gray_levels(form.bits), np.uint8)
    if kind == b"P4":
        is_black = colors[0, 0] == 255
        return np.packbits(pixels if is_black else 1 - pixels, axis=1).tobytes()
    if kind == b"P5":
        return pixels.astype(np.uint8).tobytes()
    return colors[pixels].tobytes()
