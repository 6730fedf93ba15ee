"""The region of a bitmap: the set of pixels that operations are confined to."""
from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any

from . import constants as c
from ._base import new_record
from ._library import NULL, check, ffi, lib
from .colors import ColorLike, color
from .geometry import Point, Rect, points_record
from .kinds import Mode, chosen

if TYPE_CHECKING:
    from .bitmap import Bitmap


class Region:
    """The region of one bitmap, which goes where the bitmap's pixels go. Each shape is combined with what there is: it
    replaces it (mode="set") unless told otherwise. Methods return the region."""

    __slots__ = ("_bitmap",)

    def __init__(self, bitmap: Bitmap) -> None:
        self._bitmap = bitmap

    def _shape(self, function: Any, *arguments: Any) -> Region:
        self._bitmap._write(function, *arguments)
        return self

    def rect(self, rect: Rect, mode: Mode | str = Mode.SET) -> Region:
        """A rectangle."""
        return self._shape(lib.V_SetBitmapRegionRect, ffi.new("RECT*", tuple(rect)), chosen(Mode, mode))

    def ellipse(self, rect: Rect, mode: Mode | str = Mode.SET) -> Region:
        """The ellipse that touches a rectangle's sides."""
        return self._shape(lib.V_SetBitmapRegionEllipse, ffi.new("RECT*", tuple(rect)), chosen(Mode, mode))

    def round_rect(self, rect: Rect, width: int, height: int, mode: Mode | str = Mode.SET) -> Region:
        """A rectangle with corners that are quarters of an ellipse of width x height."""
        return self._shape(lib.V_SetBitmapRegionRoundRect, ffi.new("RECT*", tuple(rect)), width, height, chosen(Mode, mode))

    def polygon(self, points: Iterable[Point], mode: Mode | str = Mode.SET, *, winding: bool = False) -> Region:
        """A polygon: what is behind an odd number of sides, or what its outline goes around."""
        record = points_record(points)
        rule = c.REGION_WINDING if winding else c.REGION_ALTERNATE
        return self._shape(lib.V_SetBitmapRegionPolygon, record, len(record), rule, chosen(Mode, mode))

    def mask(self, mask: Bitmap, mode: Mode | str = Mode.SET) -> Region:
        """The pixels of another bitmap that are not 0."""
        how = chosen(Mode, mode)
        self._bitmap._write_from(lib.V_SetBitmapRegionMask, (mask,), lambda own, other: (own, other, how))
        return self

    def colors(self, lower: ColorLike, upper: ColorLike, mode: Mode | str = Mode.SET) -> Region:
        """The pixels of a range of colours."""
        return self._shape(lib.V_SetBitmapRegionColor, color(lower), color(upper), chosen(Mode, mode))

    def wand(self, at: tuple[int, int], below: ColorLike = 0, above: ColorLike = 0, mode: Mode | str = Mode.SET) -> Region:
        """What is connected to a pixel (column, row) and whose channels are no further from its."""
        return self._shape(lib.V_SetBitmapRegionMagicWand, at[0], at[1], color(below), color(above), chosen(Mode, mode))

    def clear(self) -> Region:
        """No region: the whole picture counts."""
        return self._shape(lib.V_FreeBitmapRegion)

    def invert(self) -> Region:
        """What it leaves out."""
        return self._shape(lib.V_InvertBitmapRegion)

    def move(self, columns: int, rows: int) -> Region:
        """To another place; what leaves the bitmap is gone."""
        return self._shape(lib.V_OffsetBitmapRegion, columns, rows)

    def copy_from(self, other: Bitmap) -> Region:
        """The region of another bitmap."""
        self._bitmap._write_from(lib.V_CopyBitmapRegion, (other,), lambda own, source: (own, source))
        return self

    def _answer(self, function: Any, *arguments: Any) -> bool:
        with self._bitmap._guard:
            result = function(self._bitmap._settled(), *arguments)
        if result < 0:
            check(result)
        return bool(result)

    def __bool__(self) -> bool:
        """Whether the bitmap has a region, be it empty."""
        return self._answer(lib.V_BitmapHasRegion)

    def __contains__(self, at: tuple[int, int]) -> bool:
        """Whether a pixel (column, row) is in it."""
        return self._answer(lib.V_IsPointInBitmapRegion, at[0], at[1])

    @property
    def bounds(self) -> Rect:
        """The smallest rectangle around its pixels."""
        record = ffi.new("RECT*")
        self._shape(lib.V_GetBitmapRegionBounds, record)
        return Rect._of(record)

    @property
    def area(self) -> int:
        """The number of its pixels."""
        return int(self._bitmap._ask(lib.V_GetBitmapRegionArea, "uint64_t"))

    def to_mask(self) -> Bitmap:
        """A new 1-bit bitmap, 1 inside."""
        record = new_record()
        with self._bitmap._guard:
            check(lib.V_GetBitmapRegionMask(record, self._bitmap._settled(), 284))
        return self._bitmap._of(record)

    def runs(self, row: int) -> list[tuple[int, int]]:
        """The runs of a row in it, as first pixel and the one behind the last."""
        room = ffi.new("int32_t*")
        with self._bitmap._guard:
            record = self._bitmap._settled()
            check(lib.V_GetBitmapRegionRow(record, row, room, NULL))
            runs = ffi.new("V_REGIONRUN[]", max(1, room[0]))
            check(lib.V_GetBitmapRegionRow(record, row, room, runs))
        return [(runs[i].nFirst, runs[i].nEnd) for i in range(room[0])]
