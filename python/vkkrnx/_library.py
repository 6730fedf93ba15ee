"""The shared library: found, loaded, and its result codes turned into exceptions.

It is looked for at the place that the environment variable VKKRNX_LIBRARY names, else beside this package, else where the
system looks for libraries. Exceptions raised by callbacks are kept here, thread by thread, until the call that they stopped
is over."""
from __future__ import annotations

import os
import pathlib
import threading
from typing import Any, NoReturn

from . import _abi
from . import constants as c
from .errors import error_class

NAMES = ("Vkkrnx.dll",) if os.name == "nt" else ("libVkkrnx.so.1", "libVkkrnx.so")
SUCCESS = c.V_SUCCESS

ffi: Any = _abi.ffi
NULL: Any = ffi.NULL


def _places() -> list[str]:
    given = os.environ.get("VKKRNX_LIBRARY")
    if given:
        return [given]
    folder = pathlib.Path(__file__).resolve().parent
    return [str(folder / name) for name in NAMES if (folder / name).exists()] + list(NAMES)


def _load() -> Any:
    reasons = []
    for place in _places():
        try:
            return ffi.dlopen(place)
        except OSError as reason:
            reasons.append(str(reason))
    raise ImportError("the Vkkrnx library cannot be loaded; VKKRNX_LIBRARY may say where it is: " + "; ".join(reasons))


lib: Any = _load()


class CallbackState(threading.local):
    """What callbacks of the running thread have to know."""

    callback: Any = None  # of the status
    callbacks: int = 0  # that run, one inside of the other
    error: BaseException | None = None  # raised in a callback of the call that runs


state = CallbackState()


def error_text(code: int) -> str:
    """The library's English text of a result code."""
    buffer = ffi.new("char[512]")
    lib.V_GetFriendlyErrorMessageA(ffi.cast("int", code), buffer, 512)
    return str(ffi.string(buffer).decode("utf-8", "replace"))


def fail(code: int) -> NoReturn:
    """Raises what a callback raised during the call, else the exception for the code."""
    error, state.error = state.error, None
    if error is not None:
        raise error
    raise error_class(code)(code, error_text(code))


def check(code: int) -> None:
    """Raises an exception unless the code is SUCCESS."""
    if code != SUCCESS:
        fail(code)


def stopped(error: BaseException) -> int:
    """Keeps an exception of a callback for the call it stops, and gives the code to stop it with."""
    if state.error is None:
        state.error = error
    return c.V_ERROR_USER_ABORT


def readable(data: Any, least: int, what: str) -> Any:
    """A buffer's bytes for the library to read; ValueError when there are too few."""
    view = ffi.from_buffer(data)
    if len(view) < least:
        raise ValueError(f"{what}: {least} bytes are needed, {len(view)} were given")
    return view


def writable(data: Any, least: int, what: str) -> Any:
    """A buffer's bytes for the library to write to; BufferError for what is read-only."""
    view = ffi.from_buffer(data, require_writable=True)
    if len(view) < least:
        raise ValueError(f"{what}: {least} bytes are needed, {len(view)} were given")
    return view
