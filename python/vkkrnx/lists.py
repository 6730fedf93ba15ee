"""Ordered lists of bitmaps, such as the pages of a document."""
from __future__ import annotations

import contextlib
from collections.abc import Iterable, Iterator
from typing import Any

from . import constants as c
from ._base import SIZE, new_record
from ._guard import Guard, all_of
from ._library import check, ffi, lib
from .bitmap import Bitmap
from .colors import Palette
from .errors import ClosedError


class BitmapList:
    """A list that owns its bitmaps: one that is put in is closed for its caller, one that is taken out is the caller's.

    Looking at an item gives a copy of it; `with list.edit(i) as bitmap` works on the item itself."""

    __slots__ = ("_guard", "_list", "__weakref__")

    def __init__(self, bitmaps: Iterable[Bitmap] = ()) -> None:
        made = ffi.new("HBITMAPLIST*")
        check(lib.V_CreateBitmapList(made))
        self._hold(made[0])
        for bitmap in bitmaps:
            self.append(bitmap)

    def _hold(self, made: Any) -> None:
        self._guard = Guard()
        self._list: Any = ffi.gc(made, lib.V_DestroyBitmapList)

    @classmethod
    def _of(cls, made: Any) -> BitmapList:
        result = cls.__new__(cls)
        result._hold(made)
        return result

    def _live(self) -> Any:
        if self._list is None:
            raise ClosedError("the list is closed")
        return self._list

    def _count(self) -> int:
        count = ffi.new("uint32_t*")
        check(lib.V_GetBitmapListCount(self._live(), count))
        return int(count[0])

    def _place(self, index: int) -> int:
        count = self._count()
        if not -count <= index < count:
            raise IndexError("list index out of range")
        return index % count

    def close(self) -> None:
        """Frees the list and its bitmaps. May be called again."""
        with self._guard:
            if self._list is not None:
                ffi.release(self._list)
                self._list = None

    def __enter__(self) -> BitmapList:
        self._live()
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def __len__(self) -> int:
        with self._guard:
            return self._count()

    def insert(self, index: int, bitmap: Bitmap) -> None:
        """Puts a bitmap in front of an item, or at the end. The bitmap is closed then: the list owns it."""
        with all_of(self._guard, bitmap._guard):
            count = self._count()
            place = min(max(index + count if index < 0 else index, 0), count)
            record = bitmap._hand_over()
            if bitmap._lent:  # the memory's owner may take it away
                own = new_record()
                check(lib.V_CopyBitmap(own, record, SIZE))
                check(lib.V_InsertBitmapListItem(self._live(), place, own))
                ffi.memmove(own, ffi.new("BITMAPHANDLE*", {"StructSize": SIZE}), SIZE)
                ffi.release(record)
                bitmap._record = None
                return
            check(lib.V_InsertBitmapListItem(self._live(), place, record))
            bitmap._forget()

    def append(self, bitmap: Bitmap) -> None:
        """Puts a bitmap at the end."""
        self.insert(len(self), bitmap)

    def pop(self, index: int = -1) -> Bitmap:
        """Takes a bitmap out."""
        record = new_record()
        with self._guard:
            check(lib.V_RemoveBitmapListItem(self._live(), self._place(index), record))
        return Bitmap._of(record)

    @contextlib.contextmanager
    def edit(self, index: int) -> Iterator[Bitmap]:
        """Lends an item to the block, which must not close it; it is back in its place afterwards."""
        place = index % max(1, len(self)) if index < 0 else index
        bitmap = self.pop(index)
        try:
            yield bitmap
        finally:
            self.insert(place, bitmap)

    def __getitem__(self, index: int) -> Bitmap:
        """A copy of an item."""
        return self.copy(index, 1).pop()

    def __delitem__(self, index: int) -> None:
        with self._guard:
            check(lib.V_DeleteBitmapListItems(self._live(), self._place(index), 1))

    def copy(self, first: int = 0, count: int | None = None) -> BitmapList:
        """A new list of copies of items."""
        return self._part(lib.V_CopyBitmapListItems, first, count)

    def move(self, first: int = 0, count: int | None = None) -> BitmapList:
        """A new list of items taken out of this one."""
        return self._part(lib.V_MoveBitmapListItems, first, count)

    def _part(self, function: Any, first: int, count: int | None) -> BitmapList:
        made = ffi.new("HBITMAPLIST*")
        with self._guard:
            place = self._place(first)
            check(function(made, self._live(), place, self._count() - place if count is None else count))
        return self._of(made[0])

    def palette(self, colors: int = 256, *, black_white: bool = False, skip_transparent: bool = False) -> Palette:
        """One palette of at most so many colours for all the bitmaps."""
        entries, count = ffi.new("RGBQUAD[256]"), ffi.new("uint32_t*", colors)
        flags = (c.LISTPAL_BLACKWHITE if black_white else 0) | (c.LISTPAL_SKIPTRANSPARENT if skip_transparent else 0)
        with self._guard:
            check(lib.V_CreateBitmapListOptPal(self._live(), entries, count, flags))
        return Palette._of(entries, count[0])
