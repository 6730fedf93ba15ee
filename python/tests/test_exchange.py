"""Ways in and out: Pillow, device-independent bitmaps, YUV, and the package itself as pip installs it."""
import pathlib
import struct
import subprocess
import sys
import os

import numpy as np
import PIL.Image
import pytest
from vkkrnx import Bitmap, Palette

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"
RANDOM = np.random.default_rng(9)


@pytest.mark.parametrize("mode, bits", [("1", 1), ("L", 8), ("P", 8), ("RGB", 24), ("RGBA", 32), ("I;16", 16)])
def test_pillow_both_ways(mode, bits):
    if mode == "I;16":
        image = PIL.Image.fromarray(RANDOM.integers(0, 65536, (19, 23), np.uint16))
    else:
        image = PIL.Image.open(SAMPLES / "astronaut.png").resize((123, 77)).convert(mode)
    image.info["dpi"] = (300, 200)
    bitmap = Bitmap.from_pillow(image)
    assert (bitmap.bits, bitmap.width, bitmap.resolution) == (bits, image.width, (300, 200))
    back = bitmap.to_pillow()
    assert back.mode == mode and back.info["dpi"] == (300, 200)
    np.testing.assert_array_equal(np.asarray(back.convert("RGBA") if mode == "P" else back),
                                  np.asarray(image.convert("RGBA") if mode == "P" else image))
    bitmap.perspective = 6
    np.testing.assert_array_equal(np.asarray(bitmap.to_pillow()), np.rot90(np.asarray(back), -1))


def test_pillow_of_every_depth():
    picture = Bitmap.from_pillow(PIL.Image.open(SAMPLES / "rocket.jpg"))
    for bits in (1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64):
        bitmap = picture.convert(bits, copy=True)
        image = bitmap.to_pillow()
        shown = np.asarray(image.convert("RGB")) if bits != 12 else None
        if shown is not None:
            np.testing.assert_array_equal(shown[20, 30], bitmap.pixel(20, 30))
    for mode in ("CMYK", "LA", "F", "HSV"):
        other = PIL.Image.new("L", (5, 4), 100).convert(mode)
        assert Bitmap.from_pillow(other).width == 5


def test_dibs():
    pixels = RANDOM.integers(0, 256, (7, 5, 3), np.uint8)
    dib = Bitmap.from_array(pixels).to_dib()
    assert struct.unpack_from("<IiiHH", dib) == (40, 5, 7, 1, 24)
    rows = np.frombuffer(dib, np.uint8, 16 * 7, 40).reshape(7, 16)[::-1, :15].reshape(7, 5, 3)
    np.testing.assert_array_equal(rows, pixels[..., ::-1])
    bitmap = Bitmap.from_dib(dib)
    np.testing.assert_array_equal(bitmap.array(displayed=True), pixels[..., ::-1])
    bitmap.array()[0, 0] = 9  # a movable block, locked while there is an array
    assert bitmap.flip().pixel(6, 0) == (9, 9, 9) and bitmap.resize(10).width == 10
    assert Bitmap.from_dib(Bitmap(9, 9, 4, palette=Palette(range(9))).to_dib("v5")).palette[8] == (8, 0, 0)


def test_yuv():
    gray = np.repeat(RANDOM.integers(0, 256, (6, 8, 1), np.uint8), 3, axis=2)
    planes = Bitmap.from_array(gray).to_yuv("I420", full_range=True)
    assert len(planes) == 8 * 6 * 3 // 2 and set(planes[48:]) == {128}
    np.testing.assert_array_equal(np.frombuffer(planes[:48], np.uint8).reshape(6, 8), gray[..., 0])
    np.testing.assert_array_equal(Bitmap.from_yuv(planes, "I420", 8, 6, full_range=True).to_array(), gray)
    red = Bitmap(2, 2).fill("ff0000").to_yuv("Y410", matrix="709")
    word = struct.unpack_from("<I", red)[0]
    assert (word & 1023, word >> 10 & 1023, word >> 20 & 1023) == (409, 250, 960)


def test_made_files_are_fresh():
    done = subprocess.run([sys.executable, ROOT / "scripts" / "python_declarations.py", "--check"], check=False)
    assert done.returncode == 0
    cmake = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    import vkkrnx
    assert f"VERSION {vkkrnx.__version__} " in cmake


def test_installed_without_network(tmp_path):
    """pip makes a wheel of the checkout with nothing at hand, the library in it; it works from where it was put."""
    pytest.importorskip("pip")
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-index", "--no-deps", "--no-cache-dir",
                    "--disable-pip-version-check", "--root-user-action=ignore", "--target", tmp_path / "site",
                    ROOT / "python"], check=True, env=environment, cwd=tmp_path)
    environment.pop("VKKRNX_LIBRARY")
    program = "import vkkrnx, vkkrnx.cluster; print(vkkrnx.__file__, vkkrnx.Bitmap(3, 2).fill(255).pixel(1, 2))"
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=True,
                          env=environment | {"PYTHONPATH": str(tmp_path / "site")}, cwd=tmp_path)
    assert done.stdout == f"{tmp_path}/site/vkkrnx/__init__.py (255, 0, 0)\n"
