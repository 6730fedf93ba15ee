#!/usr/bin/env python3
"""Makes a 16-bit gray picture of a photograph, as a sensor would have seen it: deep_sample.py VK PHOTOGRAPH OUT.

The photograph is halved in size at 16 bits a channel, so that each sample is the mean of four pixels, and goes from the sRGB
curve (IEC 61966-2-1) back to the light that made it, weighted as by ITU-R BT.709. So shades that an 8-bit picture
has no room for are there: most of them in the shadows, which take the lowest tenth of the range."""
import array
import pathlib
import subprocess
import sys
import tempfile


def light(value):
    value /= 65535
    return value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4


def in_order(samples):
    """To the order of bytes that the files have, or back."""
    if sys.byteorder == "little":
        samples.byteswap()
    return samples


def main():
    command, photograph, out = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        deep, small, gray = (pathlib.Path(folder) / name for name in ("deep.ppm", "small.ppm", "gray.pgm"))
        subprocess.run([command, "convert", photograph, deep, "--bits", "48"], check=True)
        subprocess.run([command, "resize", deep, small, "--scale", "50", "--filter", "area"], check=True)
        _, size, _, data = small.read_bytes().split(b"\n", 3)
        samples = in_order(array.array("H", data))
        levels = [light(i) for i in range(65536)]
        made = array.array("H", (round(65535 * (0.2126 * levels[r] + 0.7152 * levels[g] + 0.0722 * levels[b]))
                                 for r, g, b in zip(samples[0::3], samples[1::3], samples[2::3])))
        gray.write_bytes(b"P5\n" + size + b"\n65535\n" + in_order(made).tobytes())
        subprocess.run([command, "convert", gray, out, "--bits", "16", "--order", "gray"], check=True)


if __name__ == "__main__":
    main()
