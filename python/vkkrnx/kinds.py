"""The choices that operations offer, as enumerations. Wherever one is asked for its name does too, in any case and with
- for _: `filter="area"`."""
from __future__ import annotations

import enum
from typing import TypeVar

from . import constants as c


class Order(enum.IntEnum):
    """In which order the channels of a pixel are stored, or that it is gray."""

    RGB = c.COLORORDER_RGB
    BGR = c.COLORORDER_BGR
    GRAY = c.COLORORDER_GRAY
    ROMM = c.COLORORDER_ROMM
    RGB565 = c.COLORORDER_RGB565


class Storage(enum.IntEnum):
    """Where a bitmap's pixels are: memory, tiles, a temporary file, or compressed rows."""

    MEMORY = c.TYPE_CONV
    TILED = c.TYPE_TILED
    DISK = c.TYPE_DISK
    COMPRESSED = c.TYPE_COMPRESSED
    SUPER = c.TYPE_SUPERCOMPRESSED


class Filter(enum.IntEnum):
    """How pixels are taken where the size changes."""

    NEAREST = c.SIZEFLAG_NORMAL
    AREA = c.SIZEFLAG_RESAMPLE
    BICUBIC = c.SIZEFLAG_BICUBIC
    SHARP = c.SIZEFLAG_ALTRESAMPLE
    FAVOR_BLACK = c.SIZEFLAG_FAVORBLACK
    GRAY = c.SIZEFLAG_SCALETOGRAY


class Sampling(enum.IntEnum):
    """How pixels are taken where a picture is turned or warped."""

    NEAREST = 0
    LINEAR = c.WARP_LINEAR
    CUBIC = c.WARP_CUBIC


class Show(enum.IntEnum):
    """How pixels are taken for a display."""

    NEAREST = c.RENDER_NEAREST
    AREA = c.RENDER_AREA
    CUBIC = c.RENDER_CUBIC


class Dither(enum.IntEnum):
    """What is done where a palette lacks a colour."""

    NONE = c.DITHER_NONE
    FLOYD_STEINBERG = c.DITHER_FLOYD_STEINBERG
    STUCKI = c.DITHER_STUCKI
    BURKES = c.DITHER_BURKES
    SIERRA = c.DITHER_SIERRA
    STEVENSON_ARCE = c.DITHER_STEVENSON_ARCE
    JARVIS = c.DITHER_JARVIS
    ORDERED = c.DITHER_ORDERED
    CLUSTERED = c.DITHER_CLUSTERED


class Colors(enum.IntEnum):
    """Palettes that a change of depth can make by itself."""

    DEFAULT = c.COLORRES_PALETTE_DEFAULT
    FIXED = c.COLORRES_PALETTE_FIXED
    GRAY = c.COLORRES_PALETTE_GRAY
    CUBE = c.COLORRES_PALETTE_CUBE
    OPTIMIZED = c.COLORRES_PALETTE_OPTIMIZED


class Border(enum.IntEnum):
    """What is put around a picture."""

    FILL = c.EXTEND_FILL
    EDGE = c.EXTEND_EDGE
    MIRROR = c.EXTEND_MIRROR
    WRAP = c.EXTEND_WRAP


def _named(kind: str, prefix: str, below: int) -> type[enum.IntEnum]:
    names = {name.removeprefix(prefix): value for name, value in vars(c).items()
             if name.startswith(prefix) and value < below}
    made: type[enum.IntEnum] = enum.IntEnum(kind, names, module=__name__)  # type: ignore[misc]
    made.__doc__ = f"{kind}: Vkcombine.h says what each does."
    return made


Combine = _named("Combine", "COMBINE_", c.COMBINE_OPERATIONS)
Blend = _named("Blend", "BLEND_", c.BLEND_MODES)


class Mode(enum.IntEnum):
    """How a shape is combined with the region that there is."""

    SET = c.REGION_SET
    AND = c.REGION_AND
    OR = c.REGION_OR
    XOR = c.REGION_XOR
    ANDNOT = c.REGION_ANDNOT


class Window(enum.IntEnum):
    """The function of a window on gray samples."""

    LINEAR = c.WINDOW_LINEAR
    LINEAR_EXACT = c.WINDOW_LINEAREXACT
    SIGMOID = c.WINDOW_SIGMOID


_E = TypeVar("_E", bound=enum.IntEnum)


def chosen(kind: type[_E], value: _E | str | int) -> _E:
    """The member that is meant; ValueError when there is none."""
    if isinstance(value, str):
        try:
            return kind[value.upper().replace("-", "_")]
        except KeyError:
            names = ", ".join(name.lower() for name in kind.__members__)
            raise ValueError(f"{kind.__name__} does not know {value}; there are {names}") from None
    return kind(value)
