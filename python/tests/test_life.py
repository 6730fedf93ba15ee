"""Bitmaps and arrays that outlive each other, threads, callbacks, and everything that must be refused rather than crash."""
import gc
import os
import pickle
import resource
import threading

import numpy as np
import pytest
import vkkrnx
from vkkrnx import (Bitmap, BitmapList, BusyError, ClosedError, Palette, Rect, VkAborted, VkError, VkMemoryError,
                    VkValueError, constants)


def resident():
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * resource.getpagesize()


def test_arrays_are_the_pixels():
    bitmap = Bitmap(5, 4)
    array = bitmap.array()
    assert array.shape == (4, 5, 3) and array.strides == (16, 3, 1)
    array[2, 3] = (3, 2, 1)
    assert bitmap.pixel(2, 3) == (1, 2, 3) and bitmap.row(2)[9:12] == b"\x03\x02\x01"
    bitmap.fill("000009")
    assert (array == (9, 0, 0)).all()
    other = np.asarray(bitmap)
    assert np.shares_memory(array, other) and other.flags.writeable
    lent = np.zeros((4, 8), np.uint8)
    lender = Bitmap.from_array(lent, copy=False)
    lender.set_pixel(3, 7, "808080")
    assert lent[3, 7] == 128 and np.shares_memory(lender.array(), lent)
    with pytest.raises(ValueError):
        Bitmap.from_array(np.zeros((4, 7), np.uint8), copy=False)
    with pytest.raises((BufferError, ValueError)):
        Bitmap.wrap(bytes(16), 4, 4, 8)


def test_arrays_hold_pixels_where_they_are():
    bitmap = Bitmap(300, 200)
    view = bitmap.array()[5:, ::2]
    for moves in (lambda: bitmap.resize(10), lambda: bitmap.turn(), lambda: bitmap.convert(8), lambda: bitmap.move_to("disk"),
                  lambda: bitmap.crop(Rect(0, 0, 5, 5)), lambda: BitmapList([bitmap])):
        with pytest.raises(BufferError):
            moves()
    place = bitmap.array().ctypes.data
    for stays in (lambda: bitmap.flip(), lambda: bitmap.mirror(), lambda: bitmap.fill(7), lambda: bitmap.scramble(3),
                  lambda: bitmap.combine(bitmap.copy()), lambda: bitmap.paint(5), lambda: bitmap.flood_fill((0, 0), 1)):
        stays()
        assert bitmap.array().ctypes.data == place
    before = view.copy()
    bitmap.close()
    gc.collect()
    filler = [Bitmap(300, 200).fill("ffffff") for _ in range(20)]
    np.testing.assert_array_equal(view, before)
    view[:] = 1  # and may still be written to
    del filler
    again = Bitmap(300, 200)
    array = again.array()
    del array
    assert again.resize(10).width == 10


def test_copies_say_that_they_are():
    vkkrnx.set_thresholds(tile_size=600)
    for storage in ("disk", "tiled", "super"):
        bitmap = Bitmap(40, 30, 8, order="gray", storage=storage)
        with pytest.raises(TypeError):
            bitmap.array()
        copied = np.asarray(bitmap)
        assert copied.shape == (30, 40) and not copied.flags.writeable
        bitmap.set_rows(3, np.full((2, 40), 9, np.uint8))
        assert bitmap.to_array().sum() == 720 and bitmap.storage.name.lower() == storage
    vkkrnx.set_thresholds(tile_size=0)


def test_nothing_leaks():
    def work():
        for _ in range(300):
            bitmap = Bitmap(256, 256, 32)
            keeper = bitmap.array()[1:]
            dropped = Bitmap.from_array(np.zeros((64, 64), np.uint8))
            pages = BitmapList([dropped, Bitmap(64, 64)])
            pages.pop()
            bitmap.copy().resize(20)
            with pytest.raises(VkError):
                bitmap.copy().convert(13)
            del keeper
    work()
    before = resident()
    for _ in range(4):
        work()
    gc.collect()
    assert resident() - before < 30 << 20  # 300 MB pass through each time


CLOSED = [lambda b: b.width, lambda b: b.fill(0), lambda b: b.row(0), lambda b: b.array(), lambda b: b.copy(),
          lambda b: b.put_row(0, b"1234"), lambda b: b.palette, lambda b: b.region, lambda b: Bitmap(2, 2).combine(b),
          lambda b: b.convert(8), lambda b: b.to_dib(), lambda b: b.memory_info, lambda b: b.__enter__(),
          lambda b: b.pixel(0, 0), lambda b: b.resize(3), lambda b: BitmapList([b]), lambda b: b.to_pillow()]


def test_closed_objects():
    bitmap = Bitmap(4, 4)
    with bitmap:
        pass
    bitmap.close()
    assert bitmap.closed and "closed" in repr(bitmap)
    for use in CLOSED:
        with pytest.raises(ClosedError):
            use(bitmap)
    pages = BitmapList()
    pages.close()
    for use in (len, lambda p: p.append(Bitmap(1, 1)), lambda p: p[0], lambda p: p.palette()):
        with pytest.raises(ClosedError):
            use(pages)


REFUSED = [
    (VkValueError, lambda b: Bitmap(-1, 5)), (VkError, lambda b: Bitmap(5, 5, 9)), (VkError, lambda b: Bitmap(0, 0, 24)),
    (OverflowError, lambda b: Bitmap(1 << 40, 5)), ((VkValueError, VkMemoryError), lambda b: Bitmap(2**31 - 1, 2**31 - 1)),
    (TypeError, lambda b: Bitmap("5", 5)), (ValueError, lambda b: Bitmap(5, 5, order="yellow")),
    (ValueError, lambda b: Bitmap(5, 5, perspective=9)), (VkError, lambda b: Bitmap(5, 5, 32, order="romm")),
    (VkValueError, lambda b: b.get_row(99, bytearray(12))), (VkValueError, lambda b: b.get_row(-1, bytearray(12))),
    (VkValueError, lambda b: b.get_row(3, bytearray(13))), (VkValueError, lambda b: b.put_row(0, bytes(4), 1 << 30)),
    ((BufferError, ValueError), lambda b: b.get_row(0, b"read-only bytes")), (TypeError, lambda b: b.get_row(0, "text")),
    (TypeError, lambda b: b.put_row(0, None)), (BufferError, lambda b: b.get_row(0, memoryview(bytes(12)))),
    (ValueError, lambda b: Bitmap.wrap(bytearray(47), 4, 4)), (ValueError, lambda b: Bitmap.wrap(bytearray(47), -4, 4)),
    (IndexError, lambda b: b.pixel(4, 0)), (VkValueError, lambda b: b.set_pixel(0, -1, 0)),
    (OverflowError, lambda b: b.pixel(1 << 33, 0)), (ValueError, lambda b: b.fill("12345")),
    (ValueError, lambda b: b.fill((1, 2, 300))), (ValueError, lambda b: b.resize()), (VkValueError, lambda b: b.resize(-3, 5)),
    (ValueError, lambda b: b.convert(8, palette=Palette([]))), (VkError, lambda b: b.convert(13)), (VkError, lambda b: b.convert(24, order="gray")),
    (ValueError, lambda b: b.crop(Rect(9, 9, 12, 12))), (VkValueError, lambda b: b.extend(-1)),
    (ValueError, lambda b: b.warp_corners([(0, 0)] * 3)), (VkValueError, lambda b: b.warp_corners([(0, 0)] * 4)),
    (VkValueError, lambda b: b.warp_grid([[(0, 0)]])), (ValueError, lambda b: b.warp_grid([[(0, 0), (1, 1)], [(0, 0)]])),
    (VkValueError, lambda b: b.shear(95)),
    (VkError, lambda b: b.min_max()), (VkError, lambda b: b.alpha()), (VkValueError, lambda b: b.overlay(16)),
    (ValueError, lambda b: b.blend(b.copy(), opacity=2)), (VkError, lambda b: b.blend(b.copy(), mask=Bitmap(4, 4))),
    (ValueError, lambda b: b.combine(b.copy(), operation="nonsense")), (TypeError, lambda b: b.region.polygon([1])),
    (VkValueError, lambda b: Bitmap.from_dib(bytes(60))), (ValueError, lambda b: Bitmap.from_dib(b"")),
    (VkError, lambda b: Bitmap.from_dib(b"\x28" + bytes(3) + b"\xff" * 60)),
    (ValueError, lambda b: Bitmap.from_yuv(bytes(5), "I420", 4, 4)),
    (ValueError, lambda b: Bitmap.from_yuv(bytes(99), "XXXX", 4, 4)),
    (ValueError, lambda b: Bitmap.from_yuv(bytes(99), "I420", -4, 4)), (ValueError, lambda b: b.to_yuv("too long")),
    (KeyError, lambda b: b.to_dib("v9")), (ValueError, lambda b: Bitmap.from_array(np.zeros((2, 2, 5), np.uint8))),
    (ValueError, lambda b: Bitmap.from_array(np.zeros((2, 2)))),
    (VkError, lambda b: Bitmap.from_array(np.zeros((0, 4), np.uint8))),
    (ValueError, lambda b: b.set_rows(3, np.zeros((2, 4, 3), np.uint8))), (ValueError, lambda b: b.resize_from(b)),
    (ValueError, lambda b: Palette.gray(40)), (VkError, lambda b: Palette.fixed(40)), (IndexError, lambda b: Palette.cube()[256]),
    (ValueError, lambda b: setattr(b, "gray_range", (9, 3))), (OverflowError, lambda b: setattr(b, "resolution", (1 << 40, 0))),
    (ValueError, lambda b: vkkrnx.window_table(0, 1, 1)), (TypeError, lambda b: pickle.dumps(b)),
    (TypeError, lambda b: b.combine(None)), (AttributeError, lambda b: b.combine("bitmap")),
]


def test_refusals():
    bitmap = Bitmap(4, 4).fill("102030")
    before = bitmap.to_array()
    for i, (expected, use) in enumerate(REFUSED):
        try:
            use(bitmap)
        except Exception as error:
            kinds = expected if isinstance(expected, tuple) else (expected,)
            if TypeError in kinds or AttributeError in kinds:
                kinds += (TypeError, AttributeError)
            assert isinstance(error, kinds), (i, repr(error))
        else:
            raise AssertionError(f"case {i} is not refused")
        np.testing.assert_array_equal(bitmap.to_array(), before)
    error = pytest.raises(VkValueError, Bitmap, -1, 5).value
    assert error.code == constants.V_ERROR_INVALID_WIDTH_HEIGHT and error.text == vkkrnx.error_text(error.code)
    assert pickle.loads(pickle.dumps(error)).code == error.code


class Halt(Exception):
    """Raised by a callback."""


def test_status_callbacks():
    bitmap = Bitmap(200, 200).fill("123456")
    before = bitmap.to_array()
    seen = []
    larger = bitmap.copy()
    with vkkrnx.status(seen.append):
        larger.resize(900)
    assert seen[0] == 0 and seen[-1] == 100 and seen == sorted(set(seen))

    def raises(percent):
        if percent >= 40:
            raise Halt("enough")

    def touches(percent):
        bitmap.fill(0)

    inner = []
    for callback, error in ((raises, Halt), (lambda percent: percent < 40, VkAborted), (touches, BusyError)):
        with vkkrnx.status(callback):
            with pytest.raises(error):
                bitmap.resize(900)
            with vkkrnx.status(inner.append):
                bitmap.copy().resize(50)
            with pytest.raises(error):
                bitmap.to_dib()
    np.testing.assert_array_equal(bitmap.to_array(), before)
    # Two threads whose callbacks want each other's bitmap do not wait for ever.
    others = [Bitmap(300, 300), Bitmap(300, 300)]
    met = threading.Barrier(2, timeout=60)

    def work(number):
        def callback(percent):
            if percent == 50:
                met.wait()
                outcomes.append(pytest.raises(BusyError, others[1 - number].fill, 0))
                met.wait()
        with vkkrnx.status(callback):
            others[number].resize(400)

    outcomes = []
    threads = [threading.Thread(target=work, args=(number,)) for number in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert len(outcomes) == 2
    count = len(inner)
    bitmap.resize(100)
    assert len(inner) == count > 0


def test_threads():
    """Several threads on bitmaps of their own, one that all share, and pairs taken in both orders."""
    shared, other = Bitmap(64, 64), Bitmap(64, 64)
    failures = []

    def work(number):
        try:
            seen = []
            with vkkrnx.status(seen.append):
                for turn in range(40):
                    own = Bitmap(97, 31, 32).fill(number).resize(50).rotate(turn)
                    assert own.pixel(own.height // 2, own.width // 2) == (number, 0, 0)
                    pair = (shared, other) if number % 2 else (other, shared)
                    pair[0].combine(pair[1], operation="xor")
                    row = bytearray(192)
                    shared.get_row(turn, row)
                    shared.resize(64 + turn % 3)
                    try:
                        array = shared.array()
                        array[0] = number
                        del array
                    except BufferError:
                        pass
            assert seen
        except BufferError:
            pass  # another thread's array
        except BaseException as error:
            failures.append(repr(error))

    threads = [threading.Thread(target=work, args=(number,)) for number in range(6)]
    for thread in threads:
        thread.start()
    closer = threading.Thread(target=lambda: (threads[0].join(), shared.close()))
    for thread in threads:
        thread.join(60)
        assert not thread.is_alive()
    closer.start()
    closer.join()
    assert not failures and shared.closed


def test_settings():
    vkkrnx.set_workers(2)
    assert vkkrnx.workers() == 2
    vkkrnx.set_workers(1)
    vkkrnx.set_default_dither("ordered")
    assert Bitmap(1, 1).dither.name == "ORDERED"
    vkkrnx.set_default_dither("floyd-steinberg")
    vkkrnx.set_thresholds(tile_size=4096)
    tiled = Bitmap(1000, 10, storage="tiled")
    assert tiled.memory_info.tiles == 10 and tiled.move_to("tiled", tile_size=6000).memory_info.tiles == 5
    vkkrnx.set_thresholds(tile_size=0)
    for wrong in (lambda: vkkrnx.set_workers(-1), lambda: vkkrnx.set_thresholds(largest=-500),
                  lambda: vkkrnx.set_disk_threshold(-9)):
        with pytest.raises(VkError):
            wrong()
    if os.name != "nt":
        vkkrnx.trim_memory()
