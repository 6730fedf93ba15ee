"""The exceptions of the package. Each failure of the library has its result code and the library's text for it."""
from __future__ import annotations

from . import constants as c


class VkError(Exception):
    """A failure of the library: `code` is its result code, `text` the library's words for it."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(f"{text} (code {code})")
        self.code = code
        self.text = text

    def __reduce__(self) -> tuple[type[VkError], tuple[int, str]]:
        return type(self), (self.code, self.text)


class VkValueError(VkError, ValueError):
    """An argument, size, depth or picture that the operation does not take."""


class VkMemoryError(VkError, MemoryError):
    """There is no memory."""


class VkFileError(VkError, OSError):
    """A file behind a bitmap cannot be opened, read, written or sought in."""

    def __str__(self) -> str:
        return f"{self.text} (code {self.code})"


class VkAborted(VkError):
    """A status callback stopped the operation."""


class ClosedError(ValueError):
    """The bitmap or list was closed, or has been handed over."""


class BusyError(RuntimeError):
    """A callback turned to a bitmap or list that an operation is using, its own or another thread's."""


_VALUES = {c.V_ERROR_INVALID_PARAMETER, c.V_ERROR_INVALID_IMAGE, c.V_ERROR_INVALID_WIDTH_HEIGHT, c.V_ERROR_NULL_PTR,
           c.V_ERROR_INVALID_BITS_PER_PIXEL, c.V_ERROR_INVALID_STRUCT_SIZE, c.V_ERROR_BUFFER_TOO_SMALL,
           c.V_ERROR_INVALID_LUT_LENGTH, c.V_ERROR_FEATURE_NOT_SUPPORTED, c.V_ERROR_INVALID_HANDLE}
_FILES = {c.V_ERROR_FILE_SEEK, c.V_ERROR_FILE_WRITE, c.V_ERROR_FILE_GONE, c.V_ERROR_FILE_READ, c.V_ERROR_FILE_NOT_FOUND,
          c.V_ERROR_INVALID_FILENAME, c.V_ERROR_FILE_OPEN, c.V_ERROR_NO_DISK_SPACE}
_MEMORY = {c.V_ERROR_NO_MEMORY, c.V_ERROR_MEMORY_TOO_LARGE}


def error_class(code: int) -> type[VkError]:
    """The exception that stands for a result code."""
    if code in _VALUES:
        return VkValueError
    if code in _FILES:
        return VkFileError
    if code in _MEMORY:
        return VkMemoryError
    return VkAborted if code == c.V_ERROR_USER_ABORT else VkError
