"""The Bitmap class: made, described, stored, copied. What it can do else stands in the classes it is made of."""
from __future__ import annotations

from typing import Any, NamedTuple, TypeVar

from . import constants as c
from ._base import SIZE, BitmapBase, new_record, padded_entries
from ._color import ColorChanges
from ._exchange import Exchange
from ._library import NULL, check, ffi, lib, writable
from ._mixing import Mixing
from ._rows import WHOLE
from ._shape import Shapes
from ._shown import Shown
from .colors import Palette
from .kinds import Order, Storage, chosen
from .region import Region

_T = TypeVar("_T", bound="Bitmap")


class MemoryInfo(NamedTuple):
    """Where a bitmap's pixels are; figures that do not apply are 0."""

    storage: Storage
    tile_size: int
    tiles: int
    tiles_in_memory: int
    tiles_in_file: int
    mapped_tiles: int


def _line(width: int, bits: int) -> int:
    return (width * bits + 31) // 32 * 4


class Bitmap(ColorChanges, Shapes, Mixing, Shown, Exchange):
    """A picture of 1 to 64 bits per pixel, in memory, in tiles, in a file or compressed.

    Operations change the bitmap and return it; `bitmap.copy().flip()` leaves the original as it was. One that fails
    raises VkError, and the bitmap is as it was before. A bitmap is freed by close(), by the end of its with block, or
    when nothing refers to it. Threads that use one bitmap wait for each other; different bitmaps are worked on at once."""

    __slots__ = ()

    def __init__(self, width: int, height: int, bits: int = 24, *, order: Order | str | None = None,
                 storage: Storage | str = Storage.MEMORY, palette: Palette | None = None, perspective: int = 1) -> None:
        """A bitmap of clear pixels. bits: 1 to 8, 12, 16, 24, 32, 48 or 64. order: BGR, or GRAY at 12 bits, when not
        given. palette: up to 1 << bits colours, the fixed one when not given."""
        if not 1 <= perspective <= 8:
            raise ValueError("perspectives are 1 to 8")
        usual = Order.GRAY if bits == 12 else Order.BGR
        record = new_record()
        check(lib.V_CreateBitmap(record, SIZE, chosen(Storage, storage), width, height, bits,
                                 usual if order is None else chosen(Order, order), padded_entries(palette, bits),
                                 perspective, NULL, 0))
        self._hold(record)

    @classmethod
    def wrap(cls: type[_T], data: Any, width: int, height: int, bits: int = 24, *, order: Order | str | None = None,
             palette: Palette | None = None, perspective: int = 1) -> _T:
        """A bitmap whose pixels are a writable buffer's: rows of a multiple of four bytes, (width * bits + 31) // 32 * 4.

        The buffer is kept for as long as it is needed. Operations that change the size or depth leave it for storage of
        the library's."""
        if width < 1 or height < 1 or not 1 <= perspective <= 8:
            raise ValueError("there is no such bitmap")
        size = _line(width, bits) * height
        view = writable(data, size, f"{width} x {height} pixels of {bits} bits")
        usual = Order.GRAY if bits == 12 else Order.BGR
        record = new_record(view)
        check(lib.V_CreateBitmap(record, SIZE, c.TYPE_USER, width, height, bits,
                                 usual if order is None else chosen(Order, order), padded_entries(palette, bits),
                                 perspective, view, size))
        return cls._of(record, lent=True)

    @classmethod
    def from_array(cls: type[_T], array: Any, *, bits: int | None = None, order: Order | str | None = None,
                   palette: Palette | None = None, storage: Storage | str = Storage.MEMORY, copy: bool = True) -> _T:
        """From a NumPy array, or what NumPy makes one of, with the top row first.

        (rows, columns) of bool: 1 bit, True white; of bytes: 8-bit gray, or indices with a palette (of `bits` 1 to 8);
        of uint16 and uint32: gray of 16 and 32 bits (bits=12: of 12). (rows, columns, 3) or 4 channels: colours of 8 or 16
        bits a channel, in the order RGB unless told otherwise.
        copy=False: the bitmap's pixels are the array's; ValueError where its rows are not laid out as a bitmap's."""
        import numpy as np
        array = np.asarray(array)
        depth, form = cls._form_of(array, bits, order, palette)
        height, width = array.shape[:2]
        if not copy:
            if depth not in WHOLE or not array.flags.c_contiguous or array.strides[0] != _line(width, depth):
                raise ValueError("the array's rows are not laid out as a bitmap's: they have to be copied")
            return cls.wrap(array, width, height, depth, order=form, palette=palette)
        made = cls(width, height, depth, order=form, palette=palette, storage=storage)
        if depth in WHOLE and chosen(Storage, storage) == Storage.MEMORY:
            made.array()[...] = array
            return made
        return made.set_rows(0, array)

    @staticmethod
    def _form_of(array: Any, bits: int | None, order: Order | str | None, palette: Palette | None) -> tuple[int, Order]:
        """Depth and order of the bitmap for an array."""
        size = array.dtype.itemsize
        if array.dtype.kind not in "bu" or array.ndim not in (2, 3) or size not in (1, 2, 4):
            raise ValueError(f"no bitmap is like an array of {array.dtype} with shape {array.shape}")
        if array.ndim == 3:
            if array.shape[2] not in (3, 4) or size == 4 or array.dtype.kind == "b":
                raise ValueError(f"no bitmap has {array.shape[2]} channels of {array.dtype}")
            return 8 * size * array.shape[2], Order.RGB if order is None else chosen(Order, order)
        if array.dtype.kind == "b":
            return 1, Order.BGR
        depth = 8 * size if bits is None else bits
        if depth > 8 * size or (depth < 8 * size and depth != 12 and size != 1) or \
                (depth < 8 * size and array.size and int(array.max()) >> depth):
            raise ValueError(f"values of {array.dtype} do not go into {depth} bits")
        is_indexed = palette is not None or depth < 8
        return depth, chosen(Order, order) if order is not None else Order.BGR if is_indexed else Order.GRAY

    def __enter__(self: _T) -> _T:
        self._live()
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def __repr__(self) -> str:
        record = self._record
        if record is None:
            return "<Bitmap, closed>"
        return f"<Bitmap {record.Width} x {record.Height}, {record.BitsPerPixel} bits, {Order(record.Order).name}>"

    # ------------------------------------------------------------------------------------------------- fields

    @property
    def width(self) -> int:
        """Pixels of a stored row."""
        return int(self._live().Width)

    @property
    def height(self) -> int:
        """Stored rows."""
        return int(self._live().Height)

    @property
    def bits(self) -> int:
        """Bits per pixel."""
        return int(self._live().BitsPerPixel)

    @property
    def bytes_per_line(self) -> int:
        """Bytes of a stored row, padding included."""
        return int(self._live().BytesPerLine)

    @property
    def order(self) -> Order:
        """The order of the channels."""
        return Order(self._live().Order)

    @property
    def flags(self) -> int:
        """The record's flags, BITMAPFLAG_ values."""
        return int(self._live().Flags)

    @property
    def resolution(self) -> tuple[int, int]:
        """Dots per inch, along rows and across."""
        record = self._live()
        return record.XResolution, record.YResolution

    @resolution.setter
    def resolution(self, dots: tuple[int, int]) -> None:
        with self._guard:
            record = self._settled()
            record.XResolution, record.YResolution = dots

    @property
    def placement(self) -> tuple[int, int]:
        """Left and top of the bitmap as a frame of an animation."""
        record = self._live()
        return record.Left, record.Top

    @placement.setter
    def placement(self, at: tuple[int, int]) -> None:
        with self._guard:
            record = self._settled()
            record.Left, record.Top = at

    @property
    def delay(self) -> int:
        """How long the bitmap is shown as a frame of an animation."""
        return int(self._live().Delay)

    @delay.setter
    def delay(self, value: int) -> None:
        with self._guard:
            self._settled().Delay = value

    @property
    def region(self) -> Region:
        """The region that operations are confined to."""
        self._live()
        return Region(self)

    # ------------------------------------------------------------------------------------------------- storage

    @property
    def memory_info(self) -> MemoryInfo:
        """Where the pixels are."""
        kind, size, numbers = ffi.new("uint32_t*"), ffi.new("int64_t*"), ffi.new("int32_t[4]")
        self._write(lib.V_GetBitmapMemoryInfo, kind, size, *(numbers + i for i in range(4)))
        return MemoryInfo(Storage(kind[0]), size[0], *numbers)

    @property
    def storage(self) -> Storage:
        """The kind of storage."""
        return self.memory_info.storage

    @property
    def stored_bytes(self) -> int:
        """The bytes that the pixels take where they are."""
        with self._guard:
            record = self._settled()
            check(lib.V_UpdateBitmapSize(record))
            return int(record.Size64)

    def move_to(self: _T, storage: Storage | str, *, tile_size: int = 0) -> _T:
        """Moves the pixels to storage of another kind, or, with a size in bytes, to tiles of another size."""
        flags = c.MEMORYINFO_MEMORY | (c.MEMORYINFO_TILESIZE if tile_size else 0)
        return self._replace(lib.V_SetBitmapMemoryInfo, chosen(Storage, storage), tile_size, 0, 0, 0, 0, flags)

    # ------------------------------------------------------------------------------------------------- copies

    def copy(self: _T) -> _T:
        """A full copy, in storage of the same kind."""
        record = new_record()
        with self._guard:
            check(lib.V_CopyBitmap(record, self._settled(), SIZE))
        return self._of(record)

    def like(self: _T, width: int | None = None, height: int | None = None, bits: int | None = None, *,
             storage: Storage | str | None = None) -> _T:
        """A bitmap like this one, with clear pixels, of this size and depth or another; the palette comes along."""
        own = self._live()
        size = [own.Width if width is None else width, own.Height if height is None else height,
                own.BitsPerPixel if bits is None else bits]
        kind = 0 if storage is None else chosen(Storage, storage)
        return self._derive(lib.V_DupBitmapNewDim, *size, kind, c.DUPFLAG_PALETTE | c.DUPFLAG_ANIMATION)

    def copy_pixels(self: _T, source: BitmapBase) -> _T:
        """Takes over all pixels of a bitmap of the same size and depth."""
        return self._write_from(lib.V_CopyBitmapData, (source,), lambda own, other: (own, other))

    def __copy__(self: _T) -> _T:
        return self.copy()

    def __deepcopy__(self: _T, memo: dict[int, Any]) -> _T:
        return self.copy()
