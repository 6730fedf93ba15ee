"""Bitmaps to and from device-independent bitmaps, YUV pictures and Pillow images."""
from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, TypeVar

from . import constants as c
from ._base import SIZE, new_record
from ._library import NULL, check, fail, ffi, lib, readable, state
from ._rows import Rows
from .colors import Palette
from .errors import VkMemoryError

if TYPE_CHECKING:
    import PIL.Image

_T = TypeVar("_T", bound="Exchange")
_HEADERS = {"info": c.DIB_INFOHEADER, "v4": c.DIB_V4HEADER, "v5": c.DIB_V5HEADER}
_MATRICES = {"601": c.YUVMATRIX_601, "709": c.YUVMATRIX_709, "2020": c.YUVMATRIX_2020}
_SITINGS = {"left": c.YUVSITING_LEFT, "center": c.YUVSITING_CENTER}


def _global_memory() -> tuple[Any, Any]:
    """The library's functions for movable memory, or the system's where it has them, and the cffi they go by."""
    if os.name != "nt":
        return ffi, lib
    import cffi
    system: Any = cffi.FFI()
    system.cdef("void* GlobalAlloc(uint32_t, size_t); void* GlobalLock(void*); int GlobalUnlock(void*);"
                "void* GlobalFree(void*);")
    return system, system.dlopen("kernel32.dll")


def _global_block(data: Any) -> tuple[Any, Any]:
    """A movable block with a copy of the data, and the function that frees it."""
    system, calls = _global_memory()
    prefix = "V_" if os.name != "nt" else ""
    block = getattr(calls, prefix + "GlobalAlloc")(c.GMEM_MOVEABLE, len(data))
    place = getattr(calls, prefix + "GlobalLock")(block)
    if place == system.NULL:
        raise VkMemoryError(c.V_ERROR_NO_MEMORY, "no memory for the picture")
    system.memmove(place, data, len(data))
    getattr(calls, prefix + "GlobalUnlock")(block)
    return ffi.cast("void*", int(system.cast("uintptr_t", block))), lambda: getattr(calls, prefix + "GlobalFree")(block)


def _yuv_picture(code: str, width: int, height: int, matrix: str, full_range: bool, siting: str) -> tuple[Any, int]:
    """A picture in one block without gaps, and the block's bytes."""
    name = code.encode("ascii")
    if len(name) != 4 or matrix not in _MATRICES or siting not in _SITINGS:
        raise ValueError(f"there is no YUV picture {code!r} with matrix {matrix} and siting {siting}")
    picture = ffi.new("V_YUVPICTURE*", {
        "StructSize": ffi.sizeof("V_YUVPICTURE"), "Code": int.from_bytes(name, "little"), "Width": width,
        "Height": height, "Matrix": _MATRICES[matrix], "Range": c.YUVRANGE_FULL if full_range else c.YUVRANGE_VIDEO,
        "Siting": _SITINGS[siting]})
    size = int(lib.V_GetYuvSize(picture))
    if size == 0:
        raise ValueError(f"there is no YUV picture {code!r} of {width} x {height} pixels")
    return picture, size


class Exchange(Rows):
    """The ways in and out."""

    __slots__ = ()

    # ------------------------------------------------------------------------------------------------- DIB

    @classmethod
    def from_dib(cls: type[_T], data: Any) -> _T:
        """From a packed device-independent bitmap: header, colour table or masks, rows. It may come from anywhere."""
        view = readable(data, 12, "a DIB")
        block, free = _global_block(view)
        record = new_record()
        code = lib.V_ChangeFromDIB(record, SIZE, block)
        if code != c.V_SUCCESS:
            free()
            fail(code)
        return cls._of(record)

    def to_dib(self, header: str = "info") -> bytes:
        """A packed device-independent bitmap with an "info", "v4" or "v5" header."""
        kind = _HEADERS[header]
        size = ffi.new("uint32_t*")
        with self._guard:
            block = lib.V_ConvertToDIB2(self._settled(), kind, size, 0)
        if block == NULL:
            if state.error is not None:
                fail(c.V_ERROR_USER_ABORT)
            raise VkMemoryError(c.V_ERROR_NO_MEMORY, "the DIB could not be made")
        try:
            return bytes(ffi.buffer(block, size[0]))
        finally:
            lib.V_FreeMemory(block)

    # ------------------------------------------------------------------------------------------------- YUV

    @classmethod
    def from_yuv(cls: type[_T], data: Any, code: str, width: int, height: int, *, matrix: str = "601",
                 full_range: bool = False, siting: str = "left") -> _T:
        """From a YUV picture of a four-character code, planes one behind the other and rows without gaps."""
        picture, size = _yuv_picture(code, width, height, matrix, full_range, siting)
        view = readable(data, size, f"a {code} picture of {width} x {height}")
        picture.Planes[0] = ffi.cast("void*", view)
        record = new_record()
        check(lib.V_YuvToBitmap(record, SIZE, picture))
        return cls._of(record)

    def to_yuv(self, code: str, *, matrix: str = "601", full_range: bool = False, siting: str = "left") -> bytes:
        """A YUV picture of a four-character code, as from_yuv takes it."""
        record = self._live()
        width, height = record.Width, record.Height
        if record.ViewPerspective >= 5:
            width, height = height, width
        picture, size = _yuv_picture(code, width, height, matrix, full_range, siting)
        made = ffi.new("uint8_t[]", size)
        picture.Planes[0] = made
        with self._guard:
            check(lib.V_BitmapToYuv(self._settled(), picture))
        return bytes(ffi.buffer(made))

    # ---------------------------------------------------------------------------------------------- Pillow

    def to_pillow(self) -> PIL.Image.Image:
        """A Pillow image of the picture as displayed: "1", "L", "P", "RGB", "RGBA", or "I;16" for
        deep gray, whose samples stay as they are. Channels of 16 bits become 8."""
        import numpy as np
        import PIL.Image
        record = self._live()
        bits, is_gray = record.BitsPerPixel, record.Order == c.COLORORDER_GRAY
        if bits in (48, 64) or (bits > 8 and record.Order in (c.COLORORDER_ROMM, c.COLORORDER_RGB565)) or \
                (bits == 16 and not is_gray):
            return self._converted(32 if bits == 64 else 24).to_pillow()
        pixels: Any = self.to_array(displayed=True)
        if bits > 8 and not is_gray:
            pixels = pixels[..., [2, 1, 0, 3][:pixels.shape[2]]] if record.Order == c.COLORORDER_BGR else pixels
            image = PIL.Image.fromarray(np.ascontiguousarray(pixels))
        elif bits > 8:
            samples = pixels >> 16 if bits == 32 else pixels
            image = PIL.Image.fromarray(np.ascontiguousarray(samples.astype(np.uint16)))
        else:
            image = self._indexed_image(np.ascontiguousarray(pixels.astype(np.uint8)), is_gray)
        if record.XResolution > 0 and record.YResolution > 0:
            image.info["dpi"] = (record.XResolution, record.YResolution)
        return image

    def _converted(self, bits: int) -> Exchange:
        result = new_record()
        with self._guard:
            check(lib.V_ColorResBitmap(self._settled(), result, SIZE, bits, 0, NULL, NULL, 0))
        return self._of(result)

    def _indexed_image(self, pixels: Any, is_gray: bool) -> PIL.Image.Image:
        import PIL.Image
        record = self._live()
        levels = Palette.gray(8)
        palette = levels if is_gray or record.Palette == NULL else Palette._of(record.Palette, record.Colors)
        if palette == levels and record.BitsPerPixel == 8:
            return PIL.Image.fromarray(pixels)
        if record.BitsPerPixel == 1 and list(palette) == [(0, 0, 0), (255, 255, 255)]:
            return PIL.Image.fromarray(pixels.astype(bool))
        image = PIL.Image.fromarray(pixels)
        image.putpalette(palette.to_bytes())
        return image

    @classmethod
    def from_pillow(cls: type[_T], image: PIL.Image.Image) -> _T:
        """From a Pillow image: 1, 8 (gray or palette) or 16 bits, 24 or 32; what else there is becomes colours."""
        import numpy as np
        mode = image.mode
        if mode == "P" and "transparency" in image.info or mode in ("LA", "La", "PA", "RGBa"):
            image = image.convert("RGBA")
        elif mode.startswith("I;16") or mode == "I":
            values: Any = np.asarray(image)
            if mode == "I" and values.size and not 0 <= values.min() <= values.max() <= 65535:
                raise ValueError("the image's samples do not fit 16 bits")
            return cls._with_resolution(values.astype(np.uint16), image, None)
        elif mode not in ("1", "L", "P", "RGB", "RGBA"):
            image = image.convert("RGB")
        palette = Palette.from_bytes(image.getpalette() or b"") if image.mode == "P" else None
        return cls._with_resolution(np.asarray(image), image, palette)

    @classmethod
    def _with_resolution(cls: type[_T], pixels: Any, image: PIL.Image.Image, palette: Palette | None) -> _T:
        made: _T = cls.from_array(pixels, palette=palette)  # type: ignore[attr-defined]
        dpi = image.info.get("dpi")
        if dpi and min(dpi) >= 1:
            record = made._live()
            record.XResolution, record.YResolution = round(dpi[0]), round(dpi[1])
        return made
