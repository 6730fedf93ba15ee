"""Rows of a resized picture of which only a part is at hand: exactly those that resizing the whole picture gives."""
from __future__ import annotations

import math
from typing import Any

from . import constants as c
from ._base import SIZE, new_record, padded_entries
from ._library import NULL, check, ffi, lib, stopped
from .bitmap import Bitmap
from .kinds import Filter, chosen

_FLAGS = {Filter.NEAREST: c.STREAMFLAG_NEAREST, Filter.AREA: c.STREAMFLAG_AREA,
          Filter.BICUBIC: c.STREAMFLAG_BICUBIC | c.STREAMFLAG_AREA, Filter.SHARP: c.STREAMFLAG_ALTERNATIVE}
_LOBES = {Filter.BICUBIC: 2, Filter.SHARP: 3}
_OWNED = 2  # what a data callback answers that did all there is to do


def needed_rows(source: int, target: int, first: int, last: int, filter: Filter | str, *,
                grows: bool = True) -> tuple[int, int]:
    """Which of `source` rows those from `first` to before `last` of `target` rows are made of. grows: whether a side of
    the picture does, as bicubic resizing takes means otherwise."""
    kind = chosen(Filter, filter)
    if kind == Filter.NEAREST:
        return first * source // target, (last - 1) * source // target + 1
    if kind == Filter.AREA or (kind == Filter.BICUBIC and not grows):
        return first * source // target, -(-last * source // target)
    scale = source / target
    reach = _LOBES[kind] * max(1.0, scale) + 1
    return (max(0, math.floor((first + 0.5) * scale - reach)), min(source, math.ceil((last - 0.5) * scale + reach)))


@ffi.callback("int(BITMAPHANDLE*, ALLOCATEBITMAPCALLBACKDATA*, void*)")  # type: ignore[misc]
def _allocate(_record: Any, _request: Any, _data: Any) -> int:
    return _OWNED


@ffi.callback("int(BITMAPHANDLE*, void*)")  # type: ignore[misc]
def _free(_record: Any, _data: Any) -> int:
    return _OWNED


class _Part:
    """A record of the whole picture whose rows are those of a part; others cannot be read."""

    def __init__(self, part: Bitmap, first: int, height: int) -> None:
        buffer, self._line = part._export(lambda record: record.BytesPerLine)
        self._rows: Any = ffi.from_buffer(buffer)
        self._range = range(first, first + part.height)
        self._calls = ffi.new("BITMAPDATACALLBACKS*", {
            "StructSize": ffi.sizeof("BITMAPDATACALLBACKS"), "AllocateBitmapDataCallback": _allocate,
            "FreeBitmapDataCallback": _free})
        self._get = ffi.callback("intptr_t(BITMAPHANDLE*, void*, int32_t, int32_t, size_t, void*)", self._read)
        self._calls.GetBitmapRowColCallback = self._get
        self.entries = padded_entries(part.palette, part.bits)
        self.record = new_record()
        check(lib.V_CreateBitmapWithCallbacks(self.record, SIZE, c.TYPE_CONV, part.width, height, part.bits, part.order,
                                              self.entries, part.perspective, NULL, 0, self._calls))
        self.record.DitheringMethod = c.DITHER_NONE

    def _read(self, record: Any, into: Any, row: int, column: int, size: int, _data: Any) -> int:
        try:
            start = (row - self._range.start) * self._line + column * record.BitsPerPixel // 8
            if row < self._range.start or start + size > len(self._rows):
                raise LookupError(f"row {row} is needed, but there are {self._range.start} to {self._range.stop - 1}")
            ffi.memmove(into, self._rows + start, size)
            return size
        except BaseException as error:
            return stopped(error)


def resized_part(part: Bitmap, at: int, source_height: int, width: int, height: int, filter: Filter | str,
                 first: int, last: int) -> Bitmap:
    """The rows from `first` to before `last` of a picture of `source_height` rows that is resized to width x height.
    `part` has its rows from `at` on, at least the needed_rows, in plain memory."""
    flags = _FLAGS[chosen(Filter, filter)]
    result = Bitmap(width, last - first, part.bits, order=part.order, palette=part.palette)
    source = _Part(part, at, source_height)
    stream = ffi.new("void**")
    check(lib.V_StartResizeBitmap2(source.record, width, height, part.bits, source.entries, part.order, flags, NULL, NULL,
                                   stream, 0, 0))
    try:
        row = bytearray(result.bytes_per_line)
        view = ffi.from_buffer(row)
        for y in range(first, last):
            check(lib.V_GetResizedRowCol(stream[0], view, y, 0, width))
            result.put_row(y - first, row)
    finally:
        lib.V_StopResizeBitmap(stream[0])
        ffi.release(source.record)
    return result
