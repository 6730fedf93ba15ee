"""Bitmaps changed in depth, order and palette, and their palettes."""
from __future__ import annotations

from typing import Any, TypeVar

from . import constants as c
from ._base import SIZE, BitmapBase, new_record, padded_entries
from ._library import NULL, check, lib
from .colors import ColorLike, Palette, color, rgb
from .kinds import Colors, Dither, Order, chosen

_T = TypeVar("_T", bound="ColorChanges")


class ColorChanges(BitmapBase):
    """Changes of colours. They change the bitmap and return it; with copy=True they return a new one instead."""

    __slots__ = ()

    def convert(self: _T, bits: int | None = None, *, order: Order | str | None = None,
                palette: Palette | Colors | str | None = None, colors: int = 0, dither: Dither | str | None = None,
                copy: bool = False) -> _T:
        """Changes depth (1 to 8, 12, 16, 24, 32, 48, 64), colour order or palette (V_ColorResBitmap).

        order: that of the depth when not given. palette: colours, or FIXED, GRAY, CUBE or OPTIMIZED for the picture, of
        at most `colors` entries. dither: the bitmap's method when not given; NONE takes the nearest colour."""
        flags = 0 if order is None else chosen(Order, order) + 1
        entries: Any = NULL
        if isinstance(palette, Palette):
            entries, colors = palette._entries, len(palette)
            if colors == 0:  # which the library takes for as many as the depth can number
                raise ValueError("a palette of no colours")
        elif palette is not None:
            flags |= chosen(Colors, palette)
        method = None if dither is None else chosen(Dither, dither)
        if method == Dither.NONE:
            flags |= c.COLORRES_NODITHER
        result = new_record() if copy else NULL
        with self._guard:
            record = self._settled() if copy else self._movable()
            before = record.DitheringMethod
            if method is not None:
                record.DitheringMethod = method
            try:
                check(lib.V_ColorResBitmap(record, result, SIZE, record.BitsPerPixel if bits is None else bits, flags,
                                           entries, NULL, colors))
            finally:
                record.DitheringMethod = before
        return self._of(result) if copy else self

    def gray(self: _T, bits: int = 8, *, copy: bool = False) -> _T:
        """Makes the picture gray, of 8, 12 or 16 bits."""
        if copy:
            return self._derive(lib.V_CreateGrayScaleBitmap, bits)
        return self._replace(lib.V_GrayScaleBitmap, bits)

    def count_colors(self) -> int:
        """How many different colours the pixels have."""
        return int(self._ask(lib.V_CountBitmapColors, "uint64_t"))

    @property
    def gray_kind(self) -> int:
        """0: not gray; 1: a ramp from black to white; 2: from white to black; 3: gray samples of more than 8 bits."""
        with self._guard:
            return int(lib.V_IntIsGrayScaleBitmap(self._settled()))

    # --------------------------------------------------------------------------------------------- palette

    @property
    def palette(self) -> Palette | None:
        """A copy of the bitmap's palette."""
        with self._guard:
            record = self._settled()
            return None if record.Palette == NULL else Palette._of(record.Palette, record.Colors)

    @palette.setter
    def palette(self, palette: Palette | None) -> None:
        with self._guard:
            record = self._settled()
            entries = padded_entries(palette, record.BitsPerPixel)
            if palette is not None and entries == NULL:
                raise ValueError("bitmaps of more than 8 bits have no palette")
            check(lib.V_SetBitmapNewPalette(record, entries, 0 if palette is None else len(entries)))

    def nearest(self, value: ColorLike) -> int:
        """The index of the palette's entry that the platform holds nearest to a colour."""
        with self._guard:
            return int(lib.V_GetNearestPaletteIndex(self._settled(), color(value)))

    def gray_palette(self: _T) -> _T:
        """Replaces the palette by the gray ramp of the depth."""
        return self._write(lib.V_CreateBitmapGrayPalette)

    # ------------------------------------------------------------------------------------------------ fields

    @property
    def transparency(self) -> tuple[int, int, int] | None:
        """The transparent colour, or None."""
        record = self._live()
        return rgb(record.Transparency) if record.Flags & c.BITMAPFLAG_TRANSPARENCY else None

    @transparency.setter
    def transparency(self, value: ColorLike | None) -> None:
        with self._guard:
            record = self._settled()
            record.Flags &= ~c.BITMAPFLAG_TRANSPARENCY & 0xFFFFFFFF
            if value is not None:
                record.Transparency = color(value)
                record.Flags |= c.BITMAPFLAG_TRANSPARENCY

    @property
    def dither(self) -> Dither:
        """What reductions to few colours do by themselves."""
        return Dither(self._live().DitheringMethod)

    @dither.setter
    def dither(self, method: Dither | str) -> None:
        with self._guard:
            self._settled().DitheringMethod = chosen(Dither, method)
