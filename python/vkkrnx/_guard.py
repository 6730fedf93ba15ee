"""One operation at a time on each bitmap and list. Threads wait for each other; a callback does not wait: it gets an
exception for a bitmap that is in use, be it by the operation that called it or by one whose callback waits for this one's."""
from __future__ import annotations

import threading
from contextlib import ExitStack
from threading import get_ident

from ._library import state
from .errors import BusyError


class Guard:
    """A lock that knows when waiting for it may have no end."""

    __slots__ = ("lock", "owner")

    def __init__(self) -> None:
        self.lock = threading.Lock()
        self.owner = 0

    def __enter__(self) -> None:
        me = get_ident()
        if not self.lock.acquire(False):
            if self.owner == me or state.callbacks:
                raise BusyError("the bitmap is in the middle of an operation")
            self.lock.acquire()
        self.owner = me

    def __exit__(self, *unused: object) -> None:
        self.owner = 0
        self.lock.release()


def all_of(*guards: Guard) -> ExitStack:
    """Several guards, always in the same order, so that no two threads wait for each other."""
    stack = ExitStack()
    try:
        for guard in sorted(set(guards), key=id):
            stack.enter_context(guard)
    except BaseException:
        stack.close()
        raise
    return stack
