"""Vkkrnx, the kernel library of an imaging toolkit, for Python.

    from vkkrnx import Bitmap
    with Bitmap(640, 480) as bitmap:
        bitmap.fill("336699").rotate(30, fill="ffffff", sampling="linear")
        print(bitmap.array().mean(axis=(0, 1)))

`constants` has the numbers of the C interface, `kinds` the choices that operations offer, `cluster` work on many
machines."""
from . import constants, kinds
from .bitmap import Bitmap, MemoryInfo
from ._shown import OverlayAttributes, window_table
from .colors import Palette, color, gray, index, rgb
from .errors import (BusyError, ClosedError, VkAborted, VkError, VkFileError, VkMemoryError, VkValueError)
from .geometry import Matrix, Rect
from .lists import BitmapList
from .region import Region
from .settings import (error_text, set_default_dither, set_default_storage, set_disk_threshold, set_memory_stock,
                       set_thresholds, set_workers, shutdown, status, trim_memory, workers)

__version__ = "1.0.0"

__all__ = ["Bitmap", "BitmapList", "BusyError", "ClosedError", "Matrix", "MemoryInfo", "OverlayAttributes", "Palette",
           "Rect", "Region", "VkAborted", "VkError", "VkFileError", "VkMemoryError", "VkValueError", "color", "constants",
           "error_text", "gray", "index", "kinds", "rgb", "set_default_dither", "set_default_storage",
           "set_disk_threshold", "set_memory_stock", "set_thresholds", "set_workers", "shutdown", "status", "trim_memory",
           "window_table", "workers"]
