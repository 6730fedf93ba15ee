"""The life of a small picture from Python, here and in Pillow: made of pixels, averaged down, turned gray and freed.

    VKKRNX_LIBRARY=build/native/libVkkrnx.so PYTHONPATH=python python3 python/bench/icons.py

Lives a second, of the best of some rounds in turns. bench/Icons_bench.cpp does the same from C++."""
import os
import time

import numpy as np
import vkkrnx
from PIL import Image

SIDE, SMALL, ROUNDS, LIVES = 32, 24, 15, 2000
PIXELS = os.urandom(3 * SIDE * SIDE)
ARRAY = np.frombuffer(PIXELS, np.uint8).reshape(SIDE, SIDE, 3)


def ours():
    with vkkrnx.Bitmap.from_array(ARRAY) as icon:
        icon.resize(SMALL, SMALL, filter="area").gray()


def pillow():
    Image.frombytes("RGB", (SIDE, SIDE), PIXELS).resize((SMALL, SMALL), Image.Resampling.BOX).convert("L")


def seconds(life):
    start = time.perf_counter()
    for _ in range(LIVES):
        life()
    return time.perf_counter() - start


def main():
    lives = (ours, pillow)
    best = {life: min(times) for life, times in zip(lives, zip(*([seconds(life) for life in lives] for _ in range(ROUNDS))))}
    for life, time_taken in best.items():
        print(f"{life.__name__}: {LIVES / time_taken:,.0f} a second")


main()
