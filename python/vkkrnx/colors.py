"""Colour values, and palettes."""
from __future__ import annotations

from collections.abc import Iterable, Iterator, Sequence
from typing import Any, Union, overload

from ._library import NULL, check, ffi, lib

ColorLike = Union[int, str, tuple[int, int, int]]
INDEX = 0x01000000
GRAY = 0x04000000


def color(value: ColorLike) -> int:
    """A colour as the library takes it, from (red, green, blue), "RRGGBB" with or without #, or such a number."""
    if isinstance(value, int):
        return value & 0xFFFFFFFF
    if isinstance(value, str):
        digits = value.removeprefix("#")
        if len(digits) != 6:
            raise ValueError(f"{value!r} is no colour: six hexadecimal digits are")
        whole = int(digits, 16)
        value = (whole >> 16, whole >> 8 & 0xFF, whole & 0xFF)
    red, green, blue = value
    for channel in value:
        if not 0 <= channel <= 255:
            raise ValueError(f"{value} is no colour: channels are 0 to 255")
    return red | green << 8 | blue << 16


def index(entry: int) -> int:
    """The colour that is an entry of the bitmap's palette."""
    if not 0 <= entry <= 255:
        raise ValueError(f"{entry} is no palette index")
    return INDEX | entry


def gray(level: int) -> int:
    """The colour that is a gray level, 0 to 255."""
    if not 0 <= level <= 255:
        raise ValueError(f"{level} is no gray level")
    return GRAY | level << 8


def rgb(value: int) -> tuple[int, int, int]:
    """Red, green and blue of a colour value."""
    return value & 0xFF, value >> 8 & 0xFF, value >> 16 & 0xFF


class Palette(Sequence[tuple[int, int, int]]):
    """Up to 256 colours, or as many as a look-up table has: a sequence of (red, green, blue) that does not change."""

    __slots__ = ("_entries",)

    def __init__(self, colors: Iterable[ColorLike]) -> None:
        values = [rgb(color(value)) for value in colors]
        self._entries: Any = ffi.new("RGBQUAD[]", [(blue, green, red, 0) for red, green, blue in values])

    @classmethod
    def _of(cls, entries: Any, count: int) -> Palette:
        """A copy of entries of the library's."""
        made = cls.__new__(cls)
        made._entries = ffi.new("RGBQUAD[]", count)
        if count:
            ffi.memmove(made._entries, entries, 4 * count)
        return made

    @classmethod
    def fixed(cls, bits: int) -> Palette:
        """The fixed palette of 1 to 8 bits, or the 256 grays for 0."""
        entries = ffi.new("RGBQUAD[]", 1 << min(max(bits, 0), 8) if bits else 256)
        check(lib.V_GetFixedPalette(entries, bits))
        return cls._of(entries, len(entries))

    @classmethod
    def gray(cls, bits: int = 8) -> Palette:
        """A ramp of 1 << bits grays, up to 16 bits."""
        entries = lib.V_CreateGrayPalette(bits)
        if entries == NULL:
            raise ValueError(f"there is no gray palette of {bits} bits")
        try:
            return cls._of(entries, 1 << (bits or 8))
        finally:
            lib.V_FreePalette(entries)

    @classmethod
    def cube(cls) -> Palette:
        """The 216-colour cube, and 40 times black behind it."""
        return cls._of(lib.V_IntGetNetscapePalette(), 256)

    @classmethod
    def from_bytes(cls, data: Any) -> Palette:
        """From red, green and blue bytes of one entry after the other."""
        octets = bytes(data)
        if len(octets) % 3:
            raise ValueError("a palette has three bytes an entry")
        return cls((octets[i], octets[i + 1], octets[i + 2]) for i in range(0, len(octets), 3))

    def __len__(self) -> int:
        return len(self._entries)

    @overload
    def __getitem__(self, at: int) -> tuple[int, int, int]: ...

    @overload
    def __getitem__(self, at: slice) -> list[tuple[int, int, int]]: ...

    def __getitem__(self, at: int | slice) -> tuple[int, int, int] | list[tuple[int, int, int]]:
        if isinstance(at, slice):
            return [self[i] for i in range(*at.indices(len(self)))]
        if not -len(self) <= at < len(self):
            raise IndexError("palette index out of range")
        entry = self._entries[at % len(self)]
        return entry.rgbRed, entry.rgbGreen, entry.rgbBlue

    def __iter__(self) -> Iterator[tuple[int, int, int]]:
        return ((entry.rgbRed, entry.rgbGreen, entry.rgbBlue) for entry in self._entries)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Palette) and list(self) == list(other)

    def __hash__(self) -> int:
        return hash(self.to_bytes())

    def __repr__(self) -> str:
        return f"<Palette of {len(self)} colours>"

    def to_bytes(self) -> bytes:
        """Red, green and blue of one entry after the other."""
        return bytes(channel for entry in self for channel in entry)

    def nearest(self, value: ColorLike) -> int:
        """The index of the entry nearest to a colour."""
        return int(lib.V_FindPaletteIndex(self._entries, len(self), *rgb(color(value))))


__all__ = ["ColorLike", "Palette", "color", "gray", "index", "rgb"]
