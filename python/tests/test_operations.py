"""What operations make of pixels, beside NumPy's arithmetic on the same numbers, in every storage that there is."""
import numpy as np
import pytest
import vkkrnx
from vkkrnx import Bitmap, BitmapList, Matrix, OverlayAttributes, Palette, Rect, VkValueError, window_table

RANDOM = np.random.default_rng(7)
COLOR = RANDOM.integers(0, 256, (37, 53, 3), np.uint8)
GRAY = RANDOM.integers(0, 256, (37, 53), np.uint8)
DEEP = RANDOM.integers(0, 65536, (37, 53), np.uint16)
ALPHA = RANDOM.integers(0, 256, (37, 53, 4), np.uint8)
STORAGES = ["memory", "tiled", "disk", "super"]


def made(array, storage="memory", **more):
    return Bitmap.from_array(array, storage=storage, **more)


def equal(bitmap, expected):
    np.testing.assert_array_equal(bitmap.to_array(), expected)


def over(source, alpha, target):
    """Source over target, rounded once."""
    return np.floor((source * 1.0 * alpha + target * 1.0 * (255 - alpha)) / 255 + 0.5).astype(np.uint8)


def area_half(array):
    """The means of two by two pixels, halves up."""
    wide = array[:36, :52].astype(np.uint32)
    return ((wide[0::2, 0::2] + wide[0::2, 1::2] + wide[1::2, 0::2] + wide[1::2, 1::2] + 2) // 4).astype(array.dtype)


EXACT = [
    ("flip", COLOR, lambda b: b.flip(), COLOR[::-1]),
    ("mirror", DEEP, lambda b: b.mirror(), DEEP[:, ::-1]),
    ("turn", COLOR, lambda b: b.turn(), np.rot90(COLOR, -1)),
    ("turn back", GRAY, lambda b: b.turn(clockwise=False), np.rot90(GRAY)),
    ("half turn", COLOR, lambda b: b.rotate(180), COLOR[::-1, ::-1]),
    ("crop", COLOR, lambda b: b.crop(Rect.at(3, 4, 20, 10)), COLOR[4:14, 3:23]),
    ("crop copy", GRAY, lambda b: b.crop(Rect(-5, 30, 9, 99), copy=True), GRAY[30:, :9]),
    ("edge", GRAY, lambda b: b.extend(2, 1, 3, 4, kind="edge"), np.pad(GRAY, ((1, 4), (2, 3)), "edge")),
    ("mirrored edge", COLOR, lambda b: b.extend(2, 1, 3, 4, kind="mirror"),
     np.pad(COLOR, ((1, 4), (2, 3), (0, 0)), "symmetric")),
    ("nearest", COLOR, lambda b: b.resize(80, 20, filter="nearest"),
     COLOR[np.arange(20) * 37 // 20][:, np.arange(80) * 53 // 80]),
    ("area", COLOR, lambda b: b.crop(Rect(0, 0, 52, 36)).resize(26), area_half(COLOR)),
    ("deep area", DEEP, lambda b: b.crop(Rect(0, 0, 52, 36)).resize(height=18), area_half(DEEP)),
    ("fill", COLOR, lambda b: b.fill("0a141e"), np.full_like(COLOR, (10, 20, 30))),
    ("add", GRAY, lambda b: b.combine(made(GRAY[::-1]), operation="add"),
     np.minimum(GRAY.astype(int) + GRAY[::-1], 255)),
    ("xor part", GRAY, lambda b: b.combine(made(GRAY), (1, 2), rect=Rect(0, 0, 9, 9), operation="xor").crop(Rect(1, 2, 10, 11)),
     GRAY[2:11, 1:10] ^ GRAY[:9, :9]),
    ("opaque blend", COLOR, lambda b: b.blend(made(COLOR[::-1]), opacity=0.0), COLOR),
    ("masked blend", COLOR, lambda b: b.blend(made(COLOR[::-1]), mask=made(GRAY)),
     over(COLOR[::-1], GRAY[..., None], COLOR)),
    ("alpha", ALPHA, lambda b: b.alpha(), ALPHA[..., 3]),
    ("one alpha", ALPHA, lambda b: b.set_alpha(9).alpha(), np.full((37, 53), 9)),
    ("premultiply", ALPHA, lambda b: b.premultiply(), np.concatenate(
        [(2 * ALPHA[..., :3].astype(int) * ALPHA[..., 3:] + 255) // 510, ALPHA[..., 3:]], axis=2)),
    ("pattern", GRAY, lambda b: b.fill_pattern(made(GRAY[:5, :7])), np.tile(GRAY[:5, :7], (8, 8))[:37, :53]),
    ("scramble", DEEP, lambda b: b.scramble(5).scramble(5, show=True), DEEP),
    ("48 bits", COLOR, lambda b: b.convert(48, order="rgb"), COLOR.astype(np.uint16) * 257),
    ("swapped", COLOR, lambda b: b.convert(24, order="bgr"), COLOR[..., ::-1]),
    ("window", DEEP, lambda b: b.window(30000, 20000), np.frombuffer(window_table(65536, 30000, 20000), np.uint8)[DEEP]),
    ("rendered", GRAY, lambda b: b.render(Rect(1, 2, 11, 22)), np.repeat(GRAY[2:22, 1:11, None], 3, axis=2)),
    ("warp", COLOR, lambda b: b.warp(Matrix().translated(3, 5), 53, 37, fill=0),
     np.pad(COLOR, ((5, 0), (3, 0), (0, 0)))[:37, :53]),
    ("corners", COLOR, lambda b: b.warp_corners([(3, 4), (23, 4), (23, 14), (3, 14)]), COLOR[4:14, 3:23]),
    ("grid", GRAY, lambda b: b.warp_grid([[(53, 0), (0, 0)], [(53, 37), (0, 37)]]), GRAY[:, ::-1]),
    ("height", COLOR, lambda b: b.set_height(40), np.pad(COLOR, ((0, 3), (0, 0), (0, 0)))),
]


@pytest.mark.parametrize("storage", STORAGES)
def test_exact_results(storage):
    vkkrnx.set_thresholds(tile_size=400)
    for name, pixels, operation, expected in EXACT:
        if storage == "super" and pixels is not COLOR and pixels is not GRAY:
            continue
        with made(pixels, storage) as bitmap:
            result = operation(bitmap)
            np.testing.assert_array_equal(result.to_array(), expected, name)
    vkkrnx.set_thresholds(tile_size=0)


@pytest.mark.parametrize("bits", [1, 2, 3, 4, 5, 6, 7, 8, 12])
def test_packed_values(bits):
    values = RANDOM.integers(0, 1 << bits, (9, 21)).astype(np.uint16 if bits == 12 else np.uint8)
    bitmap = made(values, bits=bits)
    equal(bitmap, values)
    equal(bitmap.copy().flip().mirror(), values[::-1, ::-1])
    if bits == 1:
        equal(bitmap.copy().move_to("compressed"), values)
    row = bitmap.pixel_data(3, 0)
    if bits < 8:
        assert row[0] >> 8 - bits == values[3, 0]
    elif bits == 12:
        assert row[0] | (row[1] & 15) << 8 == values[3, 0]
    with pytest.raises(ValueError):
        made(np.full((2, 2), 1 << bits, np.uint16), bits=bits)


@pytest.mark.parametrize("perspective", range(1, 9))
def test_displayed_arrays(perspective):
    bitmap = made(COLOR)
    bitmap.perspective = perspective
    shown = bitmap.array(displayed=True)
    assert np.shares_memory(shown, bitmap.array())
    equal(bitmap.orient(copy=True), shown)
    rect = bitmap.from_stored(Rect(2, 3, 9, 5))
    np.testing.assert_array_equal(shown[rect.top:rect.bottom, rect.left:rect.right].reshape(-1, 3).sum(axis=0),
                                  COLOR[3:5, 2:9].reshape(-1, 3).sum(axis=0))
    assert bitmap.to_stored(rect) == Rect(2, 3, 9, 5)


def test_palettes():
    cube = Palette.cube()
    assert cube[36 * 3 + 6 * 2 + 1] == (153, 102, 51) and len(Palette.gray(4)) == 16
    few = Palette(["ff0000", (0, 255, 0), 0xFF0000])
    assert few.nearest("fa0505") == 0 and list(few) == [(255, 0, 0), (0, 255, 0), (0, 0, 255)]
    picture = made(np.array([[0, 1, 2, 1]], np.uint8), bits=2, palette=few)
    assert [picture.pixel(0, x) for x in range(4)] == [few[0], few[1], few[2], few[1]]
    assert picture.count_colors() == 3
    assert len(made(COLOR).convert(8, palette="optimized", colors=16, dither="none").palette) <= 256
    distance = ((COLOR[:, :, None].astype(int) - np.array(list(few))) ** 2).sum(axis=3)
    near = made(COLOR).convert(2, palette=few, dither="none").to_array()
    chosen = np.take_along_axis(distance, near[..., None].astype(int), 2)[..., 0]
    assert (chosen - distance.min(axis=2)).max() < 13 * 255 * 3  # a user's palette is matched by five bits a channel
    with pytest.raises(ValueError):
        picture.palette = Palette(range(5))
    with pytest.raises(ValueError):
        made(COLOR).palette = few


def test_regions():
    bitmap = made(COLOR)
    region = bitmap.region.ellipse(Rect(5, 5, 25, 25)).rect(Rect(0, 0, 53, 15), "andnot")
    assert bool(region) and (14, 20) in region and (14, 10) not in region
    mask = region.to_mask().to_array().astype(bool)
    assert region.area == mask.sum() and region.bounds == Rect(5, 15, 25, 25)
    assert sum(end - first for first, end in region.runs(20)) == mask[20].sum()
    equal(bitmap.fill("ffffff"), np.where(mask[..., None], 255, COLOR))
    bitmap.flip()
    np.testing.assert_array_equal(bitmap.region.to_mask().to_array(), mask[::-1])
    inside = bitmap.region.invert().area
    assert inside == mask.size - mask.sum()
    bitmap.region.clear()
    assert not bitmap.region


def test_overlays():
    bitmap = made(DEEP)
    drawn = GRAY[:10, :12] > 128
    bitmap.set_overlay_attributes(3, OverlayAttributes((255, 0, 0), origin=(4, 2), bit=0, label="märk"))
    bitmap.set_overlay(3, made(drawn))
    assert bitmap.overlay_attributes(3) == OverlayAttributes((255, 0, 0), True, (4, 2), 0, "märk")
    whole = np.pad(drawn, ((2, 25), (4, 37)))
    equal(bitmap.overlay(3), whole)
    flat = bitmap.flatten_overlays(copy=True).to_array()
    assert (flat[whole] == (0, 0, 255)).all()
    bitmap.store_overlay_bits(3)
    equal(bitmap, DEEP & 0xFFFE | whole)


def test_lists():
    pages = BitmapList(made(np.full((4, 4), level, np.uint8)) for level in (10, 20, 30))
    assert len(pages) == 3 and pages[-1].pixel(0, 0) == (30, 30, 30)
    with pages.edit(1) as page:
        page.fill("010101")
    moved = pages.move(1)
    assert (len(pages), len(moved)) == (1, 2) and moved[0].pixel(3, 3) == (1, 1, 1)
    assert list(moved.palette(2)) == [(1, 1, 1), (30, 30, 30)]
    given = made(COLOR)
    moved.insert(0, given)
    assert given.closed and moved.pop(0).to_array().shape == COLOR.shape
    del moved[0]
    with pytest.raises(IndexError):
        moved[1]
    lent = bytearray(16 * 4)
    moved.append(Bitmap.wrap(lent, 16, 4, 8, order="gray"))
    lent.clear()
    assert moved[-1].to_array().sum() == 0


def test_rectangles_and_matrices():
    a, b = Rect.at(0, 0, 10, 10), Rect(5, 5, 20, 8)
    assert (a & b, a | b, (a & Rect(30, 0, 40, 9))) == (Rect(5, 5, 10, 8), Rect(0, 0, 20, 10), Rect(0, 0, 0, 0))
    assert not a & Rect(30, 0, 40, 9) and (9, 9) in a and (10, 9) not in a and a & b in a
    assert Rect(5, 9, 2, 1).normalized().inflated(1, 0).moved(0, 2) == Rect(1, 3, 6, 11)
    matrix = Matrix().scaled(2, 3).rotated(90).translated(1, 1)
    point = matrix.transform((5, 7))
    assert point == (-20, 11) and matrix.inverse().transform(point) == pytest.approx((5, 7))
    np.testing.assert_allclose((matrix @ matrix.inverse()).rows, np.eye(3), atol=1e-12)
    corners = [(1, 2), (30, 3), (28, 40), (0, 33)]
    square = [(0, 0), (1, 0), (1, 1), (0, 1)]
    assert Matrix.from_corners(corners, square).transform((28, 40)) == pytest.approx((1, 1))
    with pytest.raises(VkValueError):
        Matrix([[1, 2, 3], [2, 4, 6], [0, 0, 1]]).inverse()
