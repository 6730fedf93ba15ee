"""Bitmaps put into bitmaps, filled, and their alpha."""
from __future__ import annotations

from typing import Any, TypeVar

from . import constants as c
from ._base import SIZE, BitmapBase
from ._library import check, ffi, lib
from .colors import ColorLike, color
from .geometry import Rect
from .kinds import Blend, Combine, chosen

_T = TypeVar("_T", bound="Mixing")
OPAQUE = 65535


def _flags(*given: tuple[bool, int]) -> int:
    """The flags of those that are set."""
    return sum(flag for is_set, flag in given if is_set)


class Mixing(BitmapBase):
    """Changes of pixels where they are, inside of the bitmap's region where it has one. They return the bitmap. Places are
    (column, row) of stored pixels."""

    __slots__ = ()

    def _part(self, rect: Rect | None) -> Rect:
        record = self._live()
        return Rect(0, 0, record.Width, record.Height) if rect is None else Rect(*rect)

    def combine(self: _T, source: Mixing, at: tuple[int, int] = (0, 0), *, rect: Rect | None = None,
                operation: int | str = "copy", keyed: bool = False, raw: bool = False, invert_source: bool = False,
                invert: bool = False) -> _T:
        """Puts a bitmap, or a rectangle of it, into this one by an operation on bits or channels (kinds.Combine).

        keyed: its transparent colour is left out. raw: pixels are taken as numbers. invert_source, invert: its pixels, or
        this bitmap's, are inverted first."""
        part = source._part(rect)
        flags = chosen(Combine, operation) | _flags((keyed, c.COMBINE_KEYED), (raw, c.COMBINE_RAW),
                                                    (invert_source, c.COMBINE_NOT_SRC), (invert, c.COMBINE_NOT_DST))
        return self._write_from(lib.V_CombineBitmap, (source,), lambda own, other: (
            own, at[0], at[1], part.width, part.height, other, part.left, part.top, flags))

    def blend(self: _T, source: Mixing, at: tuple[int, int] = (0, 0), *, rect: Rect | None = None,
              mode: int | str = "normal", opacity: float = 1.0, mask: Mixing | None = None,
              mask_at: tuple[int, int] = (0, 0), premultiplied_source: bool = False, premultiplied: bool = False,
              opaque_source: bool = False, opaque: bool = False) -> _T:
        """Blends a bitmap, or a rectangle of it, with this one by a mode (kinds.Blend).

        mask: how much of it counts, pixel by pixel, from mask_at on; opacity: everywhere, 0 to 1. premultiplied and opaque
        say what its alpha, and this bitmap's, is."""
        if not 0 <= opacity <= 1:
            raise ValueError("an opacity is 0 to 1")
        part = source._part(rect)
        flags = chosen(Blend, mode) | _flags(
            (premultiplied_source, c.BLEND_PREMULTIPLIED_SRC), (premultiplied, c.BLEND_PREMULTIPLIED_DST),
            (opaque_source, c.BLEND_OPAQUE_SRC), (opaque, c.BLEND_OPAQUE_DST))
        return self._write_from(lib.V_BlendBitmap, (source, mask), lambda own, other, masked: (
            own, at[0], at[1], part.width, part.height, other, part.left, part.top, masked, mask_at[0], mask_at[1],
            flags, round(opacity * OPAQUE)))

    # --------------------------------------------------------------------------------------------- filling

    def fill(self: _T, value: ColorLike, rect: Rect | None = None) -> _T:
        """Gives all pixels, or those of a rectangle, a colour."""
        if rect is None:
            return self._write(lib.V_FillBitmap, color(value))
        return self._write(lib.V_FillBitmapRect, ffi.new("RECT*", tuple(rect)), color(value))

    def fill_pattern(self: _T, pattern: Mixing, at: tuple[int, int] = (0, 0)) -> _T:
        """Covers the picture with copies of another, one of which is at the place."""
        return self._write_from(lib.V_FillBitmapPattern, (pattern,), lambda own, other: (own, other, at[0], at[1]))

    def flood_fill(self: _T, at: tuple[int, int], value: ColorLike, *, tolerance: int = 0,
                   border: ColorLike | None = None, eight: bool = False) -> _T:
        """Gives what is connected to a pixel, and within the tolerance of it, a colour; with a border everything up to
        that colour. eight: pixels are connected by their corners too."""
        flags = _flags((eight, c.FLOOD_EIGHT), (border is not None, c.FLOOD_BORDER))
        return self._write(lib.V_FloodFillBitmap, at[0], at[1], color(value), color(border or 0), tolerance, flags)

    def scramble(self: _T, key: int, rect: Rect | None = None, *, show: bool = False, copy: bool = False) -> _T:
        """Makes a part unrecognisable, or brings it back with the same key and place. It keeps no secret."""
        part = self._part(rect)
        arguments: tuple[Any, ...] = (part.left, part.top, part.width, part.height, key,
                                      c.SCRAMBLE_SHOW if show else c.SCRAMBLE_HIDE)
        if copy:
            return self._derive(lib.V_ScrambleBitmap, *arguments)
        with self._guard:
            record = self._settled()
            check(lib.V_ScrambleBitmap(record, record, SIZE, *arguments))
        return self

    # ----------------------------------------------------------------------------------------------- alpha

    def alpha(self: _T) -> _T:
        """A new gray bitmap of the alpha, of 8 bits or of 16."""
        return self._derive(lib.V_GetBitmapAlpha)

    def set_alpha(self: _T, alpha: Mixing | int) -> _T:
        """Puts another bitmap's gray in as alpha, or one number everywhere: up to 255, or 65535 at 64 bits."""
        if isinstance(alpha, int):
            return self._write(lib.V_SetBitmapAlphaValue, alpha)
        return self._write_from(lib.V_SetBitmapAlpha, (alpha,), lambda own, other: (own, other))

    def premultiply(self: _T) -> _T:
        """Multiplies colours by their alpha."""
        return self._write(lib.V_PremultiplyBitmap)

    def unpremultiply(self: _T) -> _T:
        """Divides colours by their alpha."""
        return self._write(lib.V_UnpremultiplyBitmap)
