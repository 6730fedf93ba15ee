"""What every part of the Bitmap class builds on: the record, its life, and calls of the library on it.

The record frees its storage when the last thing that needs it is gone: the bitmap, or an array of its rows. Rows that
arrays look at do not move: operations that would put the pixels elsewhere raise BufferError while there are such arrays,
as `bytearray` does. One operation at a time runs on a bitmap (_guard.py)."""
from __future__ import annotations

from collections.abc import Callable
from typing import Any, TypeVar

from . import constants as c
from ._guard import Guard, all_of
from ._library import NULL, check, fail, ffi, lib
from .colors import Palette
from .errors import ClosedError

SIZE = 284
_T = TypeVar("_T", bound="BitmapBase")
_D = TypeVar("_D")


def new_record(keep: Any = None) -> Any:
    """An empty record that frees what it comes to hold, and keeps an object alive until then."""
    raw = ffi.new("BITMAPHANDLE*")
    raw.StructSize = SIZE
    if keep is None:
        return ffi.gc(raw, lib.V_FreeBitmap)

    def free(record: Any, _keep: Any = keep) -> None:
        lib.V_FreeBitmap(record)

    return ffi.gc(raw, free)


def padded_entries(palette: Palette | None, bits: int) -> Any:
    """A palette's entries, black behind the last, so that every index of so many bits has one."""
    if palette is None or not 1 <= bits <= 8:
        return NULL
    if len(palette) > 1 << bits:
        raise ValueError(f"{len(palette)} colours are more than {bits} bits can number")
    entries = ffi.new("RGBQUAD[]", 1 << bits)
    ffi.memmove(entries, palette._entries, 4 * len(palette))
    return entries


class BitmapBase:
    """A bitmap record and the calls on it."""

    __slots__ = ("_guard", "_record", "_lent", "_rows_open", "_exports", "_returned", "__weakref__")

    _guard: Guard
    _record: Any  # None when closed
    _lent: bool  # the pixels are memory of somebody else's
    _rows_open: bool  # the record is locked for row calls, which may end at any time
    _exports: int  # locks that stand for arrays
    _returned: list[None]  # an item for each of them whose array is gone

    @classmethod
    def _of(cls: type[_T], record: Any, lent: bool = False) -> _T:
        made = cls.__new__(cls)
        made._hold(record, lent)
        return made

    def _hold(self, record: Any, lent: bool = False) -> None:
        self._guard = Guard()
        self._record = record
        self._lent = lent
        self._rows_open = False
        self._exports = 0
        self._returned = []

    def _live(self) -> Any:
        record = self._record
        if record is None:
            raise ClosedError("the bitmap is closed")
        return record

    def _settled(self) -> Any:
        """The record, with no locks but those of arrays that there are. Within the guard."""
        record = self._live()
        if self._rows_open:
            self._rows_open = False
            lib.V_ReleaseBitmap(record)
        while self._returned:
            self._returned.pop()
            self._exports -= 1
            lib.V_ReleaseBitmap(record)
        return record

    def _movable(self) -> Any:
        """The record of a bitmap whose pixels no array looks at. Within the guard."""
        record = self._settled()
        if self._exports:
            raise BufferError("arrays of the bitmap's rows exist: its pixels cannot be put elsewhere")
        return record

    def _write(self: _T, function: Callable[..., int], *arguments: Any) -> _T:
        """Calls a function that leaves the pixels where they are."""
        with self._guard:
            check(function(self._settled(), *arguments))
        return self

    def _replace(self: _T, function: Callable[..., int], *arguments: Any) -> _T:
        """Calls a function that may put the pixels elsewhere."""
        with self._guard:
            check(function(self._movable(), *arguments))
        return self

    def _write_from(self: _T, function: Callable[..., int], others: tuple[BitmapBase | None, ...], arguments: Any) -> _T:
        """Calls a function with this record and others, which `arguments` places: it is given all of them."""
        with all_of(self._guard, *(other._guard for other in others if other is not None)):
            records = [NULL if other is None else other._settled() for other in others]
            check(function(*arguments(self._settled(), *records)))
        return self

    def _derive(self: _T, function: Callable[..., int], *arguments: Any) -> _T:
        """A new bitmap of a function of (destination, source, size of the destination's record, ...)."""
        record = new_record()
        with self._guard:
            check(function(record, self._settled(), SIZE, *arguments))
        return self._of(record)

    def _derive_or_replace(self: _T, copy: bool, function: Callable[..., int], *arguments: Any) -> _T:
        """_derive, or the same in place."""
        if copy:
            return self._derive(function, *arguments)
        with self._guard:
            record = self._movable()
            check(function(record, record, SIZE, *arguments))
        return self

    def _ask(self, function: Callable[..., int], kind: str, *arguments: Any) -> Any:
        """What a function of (record, ..., pointer to the answer) answers."""
        answer = ffi.new(kind + "*")
        with self._guard:
            check(function(self._settled(), *arguments, answer))
        return answer[0]

    def _hand_over(self) -> Any:
        """The record for somebody who copies it and owns its storage from then on. Within the guard; _forget follows."""
        return self._movable()

    def _forget(self) -> None:
        """Closes the bitmap without freeing anything: its storage belongs to somebody else. Within the guard."""
        ffi.memmove(self._record, ffi.new("BITMAPHANDLE*", {"StructSize": SIZE}), SIZE)
        self._record = None

    def close(self) -> None:
        """Frees the bitmap, now or, where arrays look at its rows, with the last of these. May be called again."""
        with self._guard:
            record = self._record
            if record is None:
                return
            self._settled()
            self._record = None
            if not self._exports:
                ffi.release(record)

    @property
    def closed(self) -> bool:
        """Whether the bitmap was closed or handed over."""
        return self._record is None

    # ------------------------------------------------------------------------------------------------ rows

    def _open_rows(self) -> Any:
        record = self._live()
        check(lib.V_AccessBitmap(record))
        self._rows_open = True
        return record

    def _export(self, describe: Callable[[Any], _D]) -> tuple[Any, _D]:
        """The rows in memory as a buffer that keeps them there, and what `describe` says of the record at that moment;
        TypeError for other storage."""
        with self._guard:
            record = self._settled()
            kind = ffi.new("uint32_t*")
            check(lib.V_GetBitmapMemoryInfo(record, kind, NULL, NULL, NULL, NULL, NULL))
            if kind[0] != c.TYPE_CONV or record.DataCallbacks != NULL:
                raise TypeError("the bitmap's rows are not in plain memory: to_array() copies them")
            check(lib.V_AccessBitmap(record))
            size = record.BytesPerLine * record.Height
            returned = self._returned

            def end(_data: Any, _record: Any = record) -> None:
                returned.append(None)

            owner = ffi.gc(ffi.cast("uint8_t*", record.Data), end)
            self._exports += 1
            return ffi.buffer(owner, size), describe(record)


def moved(count: int) -> int:
    """The bytes that a row call moved, or its failure as an exception."""
    if count < 0:
        fail(count)
    return count
