"""Bitmaps resized, turned, warped, cut and extended."""
from __future__ import annotations

from collections.abc import Sequence
from typing import TypeVar

from . import constants as c
from ._base import SIZE, BitmapBase
from ._library import NULL, check, ffi, lib
from .colors import ColorLike, color
from .geometry import Matrix, Point, Rect, points_record
from .kinds import Border, Filter, Sampling, chosen

_T = TypeVar("_T", bound="Shapes")
_ROTATION = {Sampling.NEAREST: 0, Sampling.LINEAR: c.ROTATEFLAG_RESAMPLE, Sampling.CUBIC: c.ROTATEFLAG_BICUBIC}


def _warp_flags(sampling: Sampling | str, area: bool, edge: bool) -> int:
    return chosen(Sampling, sampling) | (c.WARP_AREA if area else 0) | (c.WARP_EDGE if edge else 0)


class Shapes(BitmapBase):
    """Changes of geometry. They change the bitmap and return it; regions and overlays go where the pixels go. Rows,
    columns and rectangles are stored pixels."""

    __slots__ = ()

    def resize(self: _T, width: int = 0, height: int = 0, *, filter: Filter | str = Filter.AREA,
               alpha_aware: bool = False) -> _T:
        """Changes the size; a side of 0, or not given, keeps the shape."""
        record = self._live()
        if width == 0 and height == 0:
            raise ValueError("resize needs a width or a height")
        if min(record.Width, record.Height) > 0:
            width = width or max(1, round(record.Width * height / record.Height))
            height = height or max(1, round(record.Height * width / record.Width))
        flags = chosen(Filter, filter) | (c.SIZEFLAG_ALPHAAWARE if alpha_aware else 0)
        return self._replace(lib.V_SizeBitmap, width, height, flags)

    def resize_from(self: _T, source: Shapes, *, filter: Filter | str = Filter.AREA) -> _T:
        """Fills this bitmap with another, brought to its size, depth and perspective."""
        if source is self:
            raise ValueError("a bitmap cannot be filled with itself")
        flags = chosen(Filter, filter)
        return self._write_from(lib.V_ResizeBitmap, (source,), lambda own, other: (other, own, flags))

    def flip(self: _T) -> _T:
        """Exchanges top and bottom, as displayed."""
        return self._write(lib.V_FlipBitmap)

    def mirror(self: _T) -> _T:
        """Exchanges left and right, as displayed."""
        return self._write(lib.V_ReverseBitmap)

    def turn(self: _T, *, clockwise: bool = True) -> _T:
        """Turns the displayed picture by a quarter."""
        return self._replace(lib.V_RotateBitmap90, int(clockwise))

    def rotate(self: _T, degrees: float, *, fill: ColorLike = 0, sampling: Sampling | str = Sampling.NEAREST,
               grow: bool = True, center: Point | None = None) -> _T:
        """Turns the displayed picture clockwise; hundredths of a degree count.

        grow: the canvas grows to hold all of it. center: about this point instead of the middle."""
        flags = _ROTATION[chosen(Sampling, sampling)] | (c.ROTATEFLAG_GROW if grow else 0)
        x, y = center or (0.0, 0.0)
        flags |= c.ROTATEFLAG_CENTER if center is not None else 0
        return self._replace(lib.V_IntRotateBitmap, round(degrees * 100), flags, color(fill), 0, 100, x, y)

    def shear(self: _T, degrees: float, *, vertical: bool = False, linear: bool = False, fill: ColorLike = 0) -> _T:
        """Leans upright lines, or level ones, clockwise; by whole pixels or, linear, by parts."""
        flags = (c.SHEAR_VERTICAL if vertical else 0) | (c.SHEAR_LINEAR if linear else 0)
        return self._replace(lib.V_ShearBitmap, round(degrees * 100), flags, color(fill))

    def warp(self: _T, matrix: Matrix, width: int = 0, height: int = 0, *, sampling: Sampling | str = Sampling.NEAREST,
             area: bool = False, edge: bool = False, fill: ColorLike = 0) -> _T:
        """Takes the picture through a projective map; a canvas of 0 takes what the warped picture needs.

        area: means where the picture shrinks. edge: its outermost pixels go on instead of being mixed with the fill."""
        flags = _warp_flags(sampling, area, edge)
        return self._replace(lib.V_WarpBitmap, matrix._record, width, height, flags, color(fill))

    def warp_corners(self: _T, corners: Sequence[Point], width: int = 0, height: int = 0, *,
                     sampling: Sampling | str = Sampling.NEAREST, area: bool = False, edge: bool = False,
                     fill: ColorLike = 0) -> _T:
        """Makes an upright rectangle of the part with four corners, the first one's neighbours being the second and last."""
        flags = _warp_flags(sampling, area, edge)
        return self._replace(lib.V_WarpBitmapCorners, points_record(corners, 4), width, height, flags, color(fill))

    def warp_grid(self: _T, grid: Sequence[Sequence[Point]], width: int = 0, height: int = 0, *,
                  sampling: Sampling | str = Sampling.NEAREST, area: bool = False, edge: bool = False,
                  fill: ColorLike = 0) -> _T:
        """Warps by rows of points, each the place of the picture that the canvas's comes from."""
        columns = len(grid[0]) if grid else 0
        points = points_record((point for row in grid for point in row), columns * len(grid))
        flags = _warp_flags(sampling, area, edge)
        return self._replace(lib.V_WarpBitmapGrid, points, columns, len(grid), width, height, flags, color(fill))

    # ------------------------------------------------------------------------------------------------- parts

    def crop(self: _T, rect: Rect, *, copy: bool = False) -> _T:
        """Keeps a part of the picture, as far as the picture has it; ValueError where it has nothing there."""
        rect = Rect(*rect)
        record = self._live()
        part = rect & Rect(0, 0, record.Width, record.Height)
        if not part:
            raise ValueError("the picture has nothing there")
        sides = (part.left, part.top, part.width, part.height)
        if copy:
            return self._derive(lib.V_CopyBitmapRect, *sides)
        return self._replace(lib.V_TrimBitmap, *sides)

    def inner_rect(self, border: ColorLike, *, tolerance: int = 0) -> Rect:
        """The smallest rectangle of all that is not border, empty where all is."""
        rect = ffi.new("RECT*")
        with self._guard:
            check(lib.V_GetTrimRect(self._settled(), color(border), tolerance, rect))
        return Rect._of(rect)

    def extend(self: _T, left: int = 0, top: int = 0, right: int = 0, bottom: int = 0, *,
               kind: Border | str = Border.FILL, fill: ColorLike = 0) -> _T:
        """Adds pixels around the picture."""
        return self._replace(lib.V_ExtendBitmap, left, top, right, bottom, chosen(Border, kind), color(fill))

    def set_height(self: _T, height: int) -> _T:
        """Cuts off the last rows, or adds clear ones."""
        return self._replace(lib.V_ChangeBitmapHeight, height)

    # ------------------------------------------------------------------------------------------- perspectives

    @property
    def perspective(self) -> int:
        """Where the stored rows start, as displayed: 1 to 8 as cameras count them. Setting it moves no pixel."""
        return int(self._live().ViewPerspective)

    @perspective.setter
    def perspective(self, value: int) -> None:
        if not 1 <= value <= 8:
            raise ValueError("perspectives are 1 to 8")
        with self._guard:
            self._settled().ViewPerspective = value

    def orient(self: _T, perspective: int = 1, *, copy: bool = False) -> _T:
        """Moves the pixels for another perspective, so that the picture is displayed as before."""
        if copy:
            return self._derive(lib.V_ChangeBitmapViewPerspective, perspective)
        with self._guard:
            check(lib.V_ChangeBitmapViewPerspective(NULL, self._movable(), SIZE, perspective))
        return self

    def to_stored(self, rect: Rect, perspective: int = 1) -> Rect:
        """The stored pixels of a rectangle that is given as displayed, or in another perspective."""
        record = ffi.new("RECT*", tuple(rect))
        self._write(lib.V_RectToBitmap, perspective, record)
        return Rect._of(record)

    def from_stored(self, rect: Rect, perspective: int = 1) -> Rect:
        """A rectangle of stored pixels as displayed, or in another perspective."""
        record = ffi.new("RECT*", tuple(rect))
        self._write(lib.V_RectFromBitmap, perspective, record)
        return Rect._of(record)
