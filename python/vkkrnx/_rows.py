"""Rows of bitmaps: copied one by one, and all of them as NumPy arrays."""
from __future__ import annotations

import sys
from typing import TYPE_CHECKING, Any, TypeVar

from . import constants as c
from ._base import BitmapBase, moved
from ._library import check, ffi, lib
from .colors import ColorLike, color, rgb
from .errors import VkValueError

if TYPE_CHECKING:
    import numpy

_T = TypeVar("_T", bound="Rows")
_ENDIAN = "<" if sys.byteorder == "little" else ">"
_from_buffer = ffi.from_buffer
_get = lib.V_GetBitmapRowCol
_put = lib.V_PutBitmapRowCol
NO_COLOR = 0x80000000

# Bits -> bytes of a channel and channels of colours.
WHOLE = {8: (1, 1), 16: (2, 1), 24: (1, 3), 32: (1, 4), 48: (2, 3), 64: (2, 4)}


def unpacked(rows: Any, width: int, bits: int) -> Any:
    """The pixel values of packed rows of 1 to 7 or 12 bits."""
    import numpy as np
    if bits == 12:  # two pixels in three bytes, the low byte first
        padded = np.zeros((rows.shape[0], (width + 1) // 2 * 3), np.uint16)
        padded[:, :rows.shape[1]] = rows
        first, middle, last = padded[:, 0::3], padded[:, 1::3], padded[:, 2::3]
        pairs = np.stack((first | (middle & 15) << 8, middle >> 4 | last << 4), axis=2)
        return pairs.reshape(rows.shape[0], -1)[:, :width].copy()
    digits = np.unpackbits(rows, axis=1)[:, :width * bits].reshape(rows.shape[0], width, bits)
    return digits @ (1 << np.arange(bits - 1, -1, -1)).astype(np.uint8)


def packed(values: Any, bits: int) -> Any:
    """Rows of 1 to 7 or 12 bits from pixel values."""
    import numpy as np
    height, width = values.shape
    if bits == 12:
        pairs = np.zeros((height, (width + 1) // 2 * 2), np.uint16)
        pairs[:, :width] = values
        first, second = pairs[:, 0::2], pairs[:, 1::2]
        rows = np.stack((first & 255, first >> 8 | (second & 15) << 4, second >> 4), axis=2).astype(np.uint8)
        return rows.reshape(height, -1)[:, :(width * 12 + 7) // 8]
    digits = (values.astype(np.uint8)[:, :, None] >> np.arange(bits - 1, -1, -1, dtype=np.uint8)) & 1
    return np.packbits(digits.reshape(height, width * bits), axis=1)


def upright(array: Any, perspective: int) -> Any:
    """The view of an array of stored pixels that is as displayed."""
    import numpy as np
    if perspective in (4, 5, 7):
        array = array[::-1]
    elif perspective == 2:
        array = array[:, ::-1]
    turns = {3: 2, 5: 3, 6: 3, 7: 1, 8: 1}.get(perspective, 0)
    return np.rot90(array, turns) if turns else array


def layout(record: Any) -> tuple[str, tuple[int, ...], tuple[int, ...]]:
    """How an array describes the stored rows: type, shape and strides."""
    width, height, bits, line = record.Width, record.Height, record.BitsPerPixel, record.BytesPerLine
    if bits not in WHOLE:
        return "|u1", (height, (width * bits + 7) // 8), (line, 1)
    size, channels = WHOLE[bits]
    if bits == 32 and record.Order == c.COLORORDER_GRAY:
        size, channels = 4, 1
    kind = f"{_ENDIAN}u{size}" if size > 1 else "|u1"
    if channels == 1:
        return kind, (height, width), (line, size)
    return kind, (height, width, channels), (line, channels * size, size)


class Rows(BitmapBase):
    """Access to rows and pixels. Rows and columns are those stored, whatever the perspective."""

    __slots__ = ()

    def get_row(self, row: int, into: Any, column: int = 0) -> int:
        """Fills a writable buffer with the bytes of stored rows, from one pixel on, and gives their number."""
        view = _from_buffer(into, require_writable=True)
        size = len(view)
        with self._guard:
            if not self._rows_open:
                self._open_rows()
            count: int = _get(self._record, view, row, column, size)
        return count if count >= 0 else moved(count)

    def put_row(self, row: int, data: Any, column: int = 0) -> int:
        """Writes a buffer's bytes into stored rows, from one pixel on, and gives their number."""
        view = _from_buffer(data)
        size = len(view)
        with self._guard:
            if not self._rows_open:
                self._open_rows()
            count: int = _put(self._record, view, row, column, size)
        return count if count >= 0 else moved(count)

    def row(self, row: int) -> bytes:
        """The bytes of a stored row, padding included."""
        into = bytearray(self._live().BytesPerLine)
        self.get_row(row, into)
        return bytes(into)

    def pixel(self, row: int, column: int) -> tuple[int, int, int]:
        """Red, green and blue of a pixel."""
        with self._guard:
            value = lib.V_GetPixelColor(self._settled(), row, column)
        if value == NO_COLOR:
            raise IndexError(f"there is no colour at row {row}, column {column}")
        return rgb(value)

    def set_pixel(self: _T, row: int, column: int, value: ColorLike) -> _T:
        """Gives a pixel a colour, or the nearest that its palette has."""
        return self._write(lib.V_PutPixelColor, row, column, color(value))

    def pixel_data(self, row: int, column: int) -> bytes:
        """The bytes that hold a pixel; below 8 bits its neighbours too."""
        bits = self._live().BitsPerPixel
        into = bytearray(((column + 1) * bits + 7) // 8 - column * bits // 8)
        with self._guard:
            if not self._rows_open:
                self._open_rows()
            check(lib.V_GetPixelData(self._record, _from_buffer(into), row, column, len(into)))
        return bytes(into)

    # ---------------------------------------------------------------------------------------------- arrays

    @property
    def __array_interface__(self) -> dict[str, Any]:
        """The stored rows for NumPy and whatever knows its protocol, without copying."""
        try:
            buffer, (kind, shape, strides) = self._export(layout)
        except (TypeError, ValueError) as reason:
            raise AttributeError(str(reason)) from reason
        return {"version": 3, "typestr": kind, "shape": shape, "strides": strides, "data": buffer}

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> Any:
        """A copy where there is no memory to look at: read-only, as what is written to it would be lost."""
        if copy is False:
            raise ValueError("the bitmap's rows are not in plain memory, an array of them is a copy")
        array = self._copied_rows()[0]
        array.flags.writeable = False
        return array if dtype is None else array.astype(dtype)

    def array(self, *, displayed: bool = False) -> numpy.ndarray[Any, Any]:
        """The stored rows as a NumPy array, without copying: what is written to it is in the bitmap.

        Shape (rows, columns) or (rows, columns, channels) in the bitmap's colour order, of bytes or 16-bit samples (32-bit
        ones for gray of that depth); pixels of 1 to 7 and 12 bits are packed bytes, (rows, bytes). The array keeps the
        pixels alive and where they are; TypeError when they are not in plain memory.
        displayed: the view of the rows that is upright, whatever the perspective."""
        import numpy as np
        buffer, ((kind, shape, strides), bits, perspective) = self._export(
            lambda record: (layout(record), record.BitsPerPixel, record.ViewPerspective))
        stored: Any = np.ndarray(shape, np.dtype(kind), buffer, strides=strides)
        if not displayed:
            return stored
        if bits not in WHOLE and perspective not in (1, 4):
            raise TypeError("packed pixels cannot be looked at from another side: to_array() unpacks them")
        return upright(stored, perspective)

    def _copied_rows(self) -> tuple[Any, int, int, int]:
        """A copy of the rows in the shape of array(), and the width, depth and perspective that they had."""
        import numpy as np
        with self._guard:
            record = self._live() if self._rows_open else self._open_rows()
            kind, shape, strides = layout(record)
            data = np.empty(shape[0] * strides[0], np.uint8)
            moved(lib.V_GetBitmapRow(record, _from_buffer(data), 0, data.size))
            facts = record.Width, record.BitsPerPixel, record.ViewPerspective
        return np.ndarray(shape, np.dtype(kind), data, strides=strides).copy(), *facts

    def to_array(self, *, displayed: bool = False) -> numpy.ndarray[Any, Any]:
        """A copy of the pixels, from every storage, a number for each pixel or channel at every depth."""
        rows, width, bits, perspective = self._copied_rows()
        if bits not in WHOLE:
            rows = unpacked(rows, width, bits)
        return upright(rows, perspective) if displayed else rows

    def set_rows(self: _T, first: int, rows: Any) -> _T:
        """Writes the rows of an array, shaped as to_array() gives them, into stored rows from `first` on."""
        import numpy as np
        record = self._live()
        kind, shape, _ = layout(record)
        if record.BitsPerPixel not in WHOLE:
            shape = (shape[0], record.Width)
        rows = np.asarray(rows)
        if rows.shape[1:] != shape[1:] or not 0 <= first <= shape[0] - rows.shape[0]:
            raise VkValueError(c.V_ERROR_INVALID_WIDTH_HEIGHT,
                               f"rows of shape {rows.shape} do not fit into {shape} from {first} on")
        if record.BitsPerPixel not in WHOLE:
            rows = packed(rows, record.BitsPerPixel)
        rows = np.ascontiguousarray(rows.astype(np.dtype(kind), copy=False))
        for offset in range(rows.shape[0]):
            self.put_row(first + offset, rows[offset])
        return self
