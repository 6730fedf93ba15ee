"""How bitmaps are shown: windows on gray samples, contrast, what a viewer shows, and overlays."""
from __future__ import annotations

import dataclasses
from typing import Any, TypeVar

from . import constants as c
from ._base import SIZE, BitmapBase, new_record
from ._library import NULL, check, ffi, lib
from .colors import color, rgb
from .geometry import Rect
from .kinds import Show, Window, chosen

_T = TypeVar("_T", bound="Shown")


@dataclasses.dataclass
class OverlayAttributes:
    """What is said of an overlay: what it is drawn in, whether it is, where pictures are laid, its bit of the gray samples
    or None, and a text of up to 63 bytes."""

    color: tuple[int, int, int] = (255, 255, 255)
    visible: bool = True
    origin: tuple[int, int] = (0, 0)
    bit: int | None = None
    label: str = ""


def window_record(center: float, width: float, function: Window | str = Window.LINEAR, *, inverted: bool = False,
                  signed: bool = False) -> Any:
    """A window as the library takes it."""
    flags = (c.WINDOWFLAG_SIGNED if signed else 0) | (c.WINDOWFLAG_INVERTED if inverted else 0)
    return ffi.new("V_WINDOW*", {"StructSize": ffi.sizeof("V_WINDOW"), "Function": chosen(Window, function),
                                 "Flags": flags, "Center": float(center), "Width": float(width)})


def window_table(entries: int, center: float, width: float, function: Window | str = Window.LINEAR, *,
                 inverted: bool = False, signed: bool = False) -> bytes:
    """What a window makes of the samples 0 to entries - 1."""
    if not 0 < entries <= 1 << 24:
        raise ValueError("a table has 1 to 16777216 entries")
    table = ffi.new("uint8_t[]", entries)
    check(lib.V_FillWindowTable(table, entries, window_record(center, width, function, inverted=inverted, signed=signed)))
    return bytes(ffi.buffer(table))


class Shown(BitmapBase):
    """How bitmaps are shown. Methods that change the bitmap return it."""

    __slots__ = ()

    # ------------------------------------------------------------------------------------------------- gray

    def min_max(self) -> tuple[int, int]:
        """The smallest and the largest gray sample."""
        with self._guard:
            record = self._settled()
            check(lib.V_GetBitmapMinMax(record))
            return record.MinVal, record.MaxVal

    @property
    def gray_range(self) -> tuple[int, int]:
        """The lowest and the highest bit of a gray sample that count; -1: the depth's highest."""
        record = self._live()
        return record.LowBit, record.HighBit

    @gray_range.setter
    def gray_range(self, bits: tuple[int, int]) -> None:
        low, high = bits
        with self._guard:
            record = self._settled()
            if not (0 <= low < record.BitsPerPixel and (high == -1 or low <= high < record.BitsPerPixel)):
                raise ValueError(f"there are no bits {low} to {high} in samples of {record.BitsPerPixel}")
            record.LowBit, record.HighBit = low, high

    def set_window(self: _T, center: float | None, width: float = 0, function: Window | str = Window.LINEAR, *,
                   inverted: bool = False, signed: bool = False) -> _T:
        """Shows gray samples through a window, from black to white, without changing them; None: no longer."""
        record = NULL
        if center is not None:
            record = window_record(center, width, function, inverted=inverted, signed=signed)
        return self._write(lib.V_SetBitmapWindow, record)

    def window(self: _T, center: float | None = None, width: float = 0, function: Window | str = Window.LINEAR, *,
               inverted: bool = False, signed: bool = False, bits: int = 8, copy: bool = False) -> _T:
        """Makes the picture what a window shows of it, 8-bit gray or 24-bit colours. Without a window: the one that is
        set, or the whole range of the samples."""
        record = NULL
        if center is not None:
            record = window_record(center, width, function, inverted=inverted, signed=signed)
        return self._derive_or_replace(copy, lib.V_WindowBitmap, record, bits)

    # ---------------------------------------------------------------------------------------------- display

    def paint(self: _T, contrast: int = 0, intensity: int = 0, gamma: int = 100) -> _T:
        """Sets how the bitmap is shown: contrast and intensity -1000 to 1000, gamma times 100. Its pixels stay."""
        return self._write(lib.V_SetBitmapPaint, contrast, intensity, gamma)

    def render(self: _T, rect: Rect | None = None, width: int = 0, height: int = 0, *, show: Show | str = Show.AREA,
               alpha: bool = False) -> _T:
        """A new bitmap of what a viewer shows of this one, upright, of 24 bits, or 32 with alpha. A rectangle of stored
        pixels, or all; in its own size, or another."""
        record = NULL if rect is None else ffi.new("RECT*", tuple(rect))
        flags = chosen(Show, show) | (c.RENDER_32BITS if alpha else 0)
        return self._derive(lib.V_RenderBitmap, record, width, height, flags)

    # --------------------------------------------------------------------------------------------- overlays

    def set_overlay(self: _T, slot: int, picture: Shown) -> _T:
        """Puts a copy of a 1-bit picture into a slot, 0 to 15, at its origin."""
        return self._write_from(lib.V_SetBitmapOverlay, (picture,), lambda own, other: (own, slot, other, c.OVERLAY_COPY))

    def overlay(self: _T, slot: int, *, take: bool = False) -> _T:
        """The picture of a slot, as a new bitmap; with take the slot is empty afterwards."""
        record = new_record()
        with self._guard:
            check(lib.V_GetBitmapOverlay(self._settled(), slot, record, SIZE, c.OVERLAY_MOVE if take else c.OVERLAY_COPY))
        return self._of(record)

    def remove_overlay(self: _T, slot: int) -> _T:
        """Empties a slot."""
        return self._write(lib.V_RemoveBitmapOverlay, slot)

    def overlay_attributes(self, slot: int) -> OverlayAttributes:
        """What is said of a slot."""
        record = ffi.new("V_OVERLAYATTRIBUTES*")
        self._write(lib.V_GetBitmapOverlayAttributes, slot, record, ffi.sizeof("V_OVERLAYATTRIBUTES"))
        return OverlayAttributes(rgb(record.Color), bool(record.Flags & c.OVERLAYFLAG_VISIBLE),
                                 (record.nOriginCol, record.nOriginRow), None if record.nBit < 0 else record.nBit,
                                 ffi.string(record.Label).decode("utf-8", "replace"))

    def set_overlay_attributes(self: _T, slot: int, said: OverlayAttributes) -> _T:
        """Says something of a slot."""
        label = said.label.encode("utf-8")
        if len(label) > 63:
            raise ValueError("a label has up to 63 bytes")
        record = ffi.new("V_OVERLAYATTRIBUTES*", {
            "StructSize": ffi.sizeof("V_OVERLAYATTRIBUTES"), "Flags": c.OVERLAYFLAG_VISIBLE if said.visible else 0,
            "Color": color(said.color), "nOriginCol": said.origin[0], "nOriginRow": said.origin[1],
            "nBit": c.OVERLAY_NOBIT if said.bit is None else said.bit, "Label": label})
        return self._write(lib.V_SetBitmapOverlayAttributes, slot, record)

    def load_overlay_bits(self: _T, slot: int) -> _T:
        """Makes the picture of a slot from its bit of the gray samples."""
        return self._write(lib.V_LoadBitmapOverlayBits, slot)

    def store_overlay_bits(self: _T, slot: int) -> _T:
        """Writes the picture of a slot into its bit of the gray samples."""
        return self._write(lib.V_StoreBitmapOverlayBits, slot)

    def flatten_overlays(self: _T, *, copy: bool = False) -> _T:
        """Draws the visible overlays into the pixels."""
        return self._derive_or_replace(copy, lib.V_FlattenBitmapOverlays)
