"""Progress of operations, and settings of the running thread or the whole process."""
from __future__ import annotations

import contextlib
from collections.abc import Callable, Iterator
from typing import Any

from . import constants as c
from ._library import NULL, check, error_text, ffi, lib, state, stopped
from .errors import VkAborted
from .kinds import Dither, Storage, chosen

__all__ = ["error_text", "set_default_dither", "set_default_storage", "set_disk_threshold", "set_memory_stock",
           "set_thresholds", "set_workers", "shutdown", "status", "trim_memory", "workers"]

StatusCallback = Callable[[int], Any]


@ffi.callback("int(int, void*)")  # type: ignore[misc]
def _on_status(percent: int, _data: Any) -> int:
    """Hands progress to the running thread's callback, whose exceptions wait for the end of the call."""
    state.callbacks += 1
    try:
        if state.callback is not None and state.callback(percent) is False:
            raise VkAborted(c.V_ERROR_USER_ABORT, error_text(c.V_ERROR_USER_ABORT))
    except BaseException as error:
        return stopped(error)
    finally:
        state.callbacks -= 1
    return c.V_SUCCESS


@contextlib.contextmanager
def status(callback: StatusCallback) -> Iterator[None]:
    """Has a callback told of the progress of this thread's operations while the block runs: 0, each new percentage, 100.

    An operation is stopped when the callback returns False, which raises VkAborted, or raises an exception, which comes
    out of the operation's call. Bitmaps are then as they were."""
    outer = state.callback
    old, old_data = ffi.new("V_STATUSCALLBACK*"), ffi.new("void**")
    check(lib.V_SetStatusCallback(_on_status, NULL, old, old_data))
    state.callback = callback
    try:
        yield
    finally:
        state.callback = outer
        check(lib.V_SetStatusCallback(old[0], old_data[0], NULL, NULL))


def set_workers(count: int) -> None:
    """Sets how many threads one operation of this thread may use; 0: as many as there are processors."""
    check(lib.V_SetWorkers(count))


def workers() -> int:
    """How many threads one operation of this thread may use."""
    return int(lib.V_GetWorkers())


def set_default_storage(storage: Storage | str) -> None:
    """Sets where this thread's new pixels go by themselves: MEMORY or DISK."""
    check(lib.V_SetDefaultMemoryType(chosen(Storage, storage)))


def set_default_dither(method: Dither | str) -> None:
    """Sets the dithering method of this thread's new bitmaps."""
    check(lib.V_DefaultDithering(chosen(Dither, method)))


def set_thresholds(*, reserved: int | None = None, largest: int | None = None, tile_size: int | None = None,
                   tiles_in_memory: int | None = None, mapped_tiles: int | None = None) -> None:
    """Sets the thresholds of this thread that decide where pixels go; those that are not named stay.

    reserved: memory to leave free; largest: largest block of plain memory; both in bytes, or -p for p percent."""
    values = (reserved, largest, tile_size, tiles_in_memory, mapped_tiles)
    flags = sum(1 << i for i, value in enumerate(values) if value is not None)
    check(lib.V_SetMemoryThresholds(*(value or 0 for value in values), flags))


def set_disk_threshold(size: int) -> None:
    """Sets the process's size in bytes beyond which bitmaps go to disk; 0: none, -1: half of the memory."""
    check(lib.V_SetGlobalMemoryThresholds(ffi.new("GLOBALMEMORYTHRESHOLDS*", (16, size))))


def set_memory_stock(size: int | None = None) -> None:
    """Bounds the memory that the process keeps for what is made next; None: the library's own figure."""
    check(lib.V_SetMemoryStock(c.MEMORYSTOCK_DEFAULT if size is None else size))


def trim_memory() -> None:
    """Gives the memory that is kept for what is made next back to the system."""
    check(lib.V_TrimMemory())


def shutdown() -> None:
    """Brings the library's own threads and caches to rest; it may be used again at once."""
    check(lib.V_Shutdown())
