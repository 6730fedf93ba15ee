#!/usr/bin/env python3
"""Writes the table of all cases of a run of vk_bench, a line for each with every form that was measured beside it.

    performance.py [--bench PROGRAM | --json FILE...] [--only REGULAR_EXPRESSION] [--write DOCUMENT]

Runs the program (build/native/vk_bench), or takes what runs with --benchmark_format=json left; of several the median
counts. --write puts the table into its section of a document, else it is printed.
"""
import argparse
import json
import pathlib
import re
import statistics
import subprocess
from collections import defaultdict

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADING = "## All cases of one run\n"
TEXT = """
Written by `scripts/performance.py` from a whole run of `vk_bench`: the time as a multiple of `memcpy` of the same bytes. "AVX2" is
what a processor without AVX-512 gets, "plain" one without either; "limit" is a bare streaming copy of the same bytes in the
same run. Peers are the fastest that the run had. The aim is met where ours is at or below it, or within 1.1 of the limit.

| case | ours | AVX2 | plain | peer | limit | aim | |
|---|---|---|---|---|---|---|---|
"""
PEERS = ("libyuv", "OpenCV", "pixman", "Leptonica", "libtiff", "libpng", "FreeImage")
VARIANTS = {"plain": "plain", "AVX2": "AVX2", "avx2": "AVX2", "limit": "limit", **{name: name for name in PEERS}}
METHODS = ("not dithered", "Floyd-Steinberg", "Stucki", "Burkes", "Sierra", "Stevenson-Arce", "Jarvis", "ordered", "clustered")
MIXES = {"0": "nearest", "2": "linear", "4": "cubic"}
LEVELS = {"0": "plain", "1": "AVX2", "2": "ours"}
PLAIN_OR_OURS = {"0": "ours", "1": "plain"}

# What a name says: the case and the form of it; in this order, the first that fits.
NAMES = (
    (r"(combine|convert|fill)/(.+)", lambda m: split_last(f"{m[1]}: {m[2]}", ", ")),
    (r"dib/yuv/([^/]+)(?:/(.+))?", lambda m: (f"{m[1]} DIB to 24", VARIANTS.get(m[2], "ours"))),
    (r"yuv/(to|from)_24/limit, (.+)", lambda m: (f"yuv: limit, {m[1]} 24, {m[2]}", "limit")),
    (r"yuv/(to|from)_24/([^/]+)(?:/(.+))?",
     lambda m: (f"yuv: 24 to {m[2]}" if m[1] == "to" else f"yuv: {m[2]} to 24", VARIANTS.get(m[3], "ours"))),
    (r"(resize)_(nearest_without_avx2|nearest|plain_loop|libyuv|leptonica)/bits:(\d+)/percent:(\d+)",
     lambda m: (f"nearest resize to {m[4]} %, {m[3]}", {"nearest": "ours", "nearest_without_avx2": "SSE2", "plain_loop": "plain",
                                                        "libyuv": "libyuv", "leptonica": "Leptonica"}[m[2]])),
    (r"quarter_turn_to_old_block/(\d+)", lambda m: (f"quarter turn into a block that exists, {m[1]}", "ours")),
    (r"(yuv_)?(flip|mirror|half_turn|quarter_turn)(_plain)?/(\d+)",
     lambda m: (f"{m[2].replace('_', ' ')}, {m[4]}", "libyuv" if m[1] else "plain" if m[3] else "ours")),
    (r"resample/bits:(\d+)/scale:(\d+)/filter:(\d)/plain:(\d)/opaque:(\d)",
     lambda m: (f"{('area', 'bicubic', 'alternative filter')[int(m[3])]} to {int(m[2]) / 10:g} %, {m[1]}"
                f"{'' if m[5] == '1' else ', with alpha'}", PLAIN_OR_OURS[m[4]])),
    (r"rotate_opencv/bits:(\d+)/flags:(\d)", lambda m: (f"rotate 7.3 degrees, {MIXES[m[2]]}, {m[1]}", "OpenCV")),
    (r"rotate/bits:(\d+)/flags:(\d)/angle:(\d+)/level:(\d)",
     lambda m: (f"rotate {int(m[3]) / 100:g} degrees, {MIXES[m[2]]}, {m[1]}", LEVELS[m[4]])),
    (r"warp(_opencv)?/bits:(\d+)/flags:(\d)/kind:(\d)(?:/level:(\d))?",
     lambda m: (f"warp, {('affine', 'perspective', 'grid')[int(m[4])]}, {MIXES[m[3]]}, {m[2]}",
                "OpenCV" if m[1] else LEVELS[m[5]])),
    (r"shear(_limit|_leptonica)?/bits:(\d+)(?:/flags:(\d+))?",
     lambda m: (f"shear by 5 degrees, {m[2]}{'' if m[3] in (None, '0') else ', flags ' + m[3]}",
                {None: "ours", "_limit": "limit", "_leptonica": "Leptonica"}[m[1]])),
    (r"dither/method:(\d)/bits:(\d+)/colors:(\d+)/custom:(\d)/way:(\d)",
     lambda m: (f"{METHODS[int(m[1])]}, {m[2]} to {m[3]} {('fixed', 'given')[int(m[4])]}{', by rows' if m[5] == '1' else ''}",
                "plain" if m[5] == "2" else "ours")),
    (r"(encode|decode)/(text|dense)_(fast|avx2|plain)",
     lambda m: (f"run lengths, {m[1]}, {m[2]} page", {"fast": "ours", "avx2": "AVX2", "plain": "plain"}[m[3]])),
    (r"(encode|decode)_libtiff", lambda m: (f"run lengths, {m[1]}, text page", "libtiff")),
    (r"(.+)", lambda m: split_last(m[1], ", ")),
)

# From what others reach, and from what the machine gives.
AIMS = {
    "convert: 24 to 32": 0.62, "convert: 24 BGR to RGB": 0.62, "convert: 32 to 24": 0.62, "convert: 24 to gray": 0.64,
    "convert: gray to 24": 0.60, "convert: 24 to 48": 0.65, "convert: 8 to 24": 1.2, "convert: 1 to gray": 0.63,
    "convert: 24 to 5-6-5": 0.65, "convert: 5-6-5 to 24": 0.62, "convert: gray to 1": 1.4,
    "convert: 24 to nearest of 256": 4,
    "combine: copy 24 to 32": 0.62, "combine: copy 24 BGR to RGB": 0.62, "combine: copy 32 to 24": 0.62,
    "combine: copy 24 to gray": 0.64, "combine: copy gray to 24": 0.60, "combine: copy 24 to 48": 0.65,
    "combine: copy 8 to 24": 1.2, "combine: copy 1 to gray": 0.63, "combine: copy 24 to 5-6-5": 0.65,
    "combine: copy 5-6-5 to 24": 0.62, "combine: inner rectangle": 0.5, "combine: over, premultiplied": 0.65,
    "combine: over, straight": 0.75, "combine: mix by a mask, gray": 0.5, "combine: mix by a mask, 24": 0.8,
    "combine: or, 1 bit": 0.7, "combine: xor, 1 bit": 0.7, "combine: add, gray": 0.3,
    "fill: 24": 0.6, "fill: 32": 0.6, "fill: flood, gray": 7, "fill: flood, 1 bit": 15,
    "fill: premultiply": 0.8, "fill: unpremultiply": 0.9, "fill: take alpha": 0.65,
    "nearest resize to 200 %, 1": 1.7, "nearest resize to 200 %, 8": 0.65, "nearest resize to 200 %, 24": 0.75,
    "nearest resize to 200 %, 32": 0.72, "nearest resize to 150 %, 1": 24, "nearest resize to 150 %, 8": 1.1,
    "nearest resize to 150 %, 24": 0.9, "nearest resize to 150 %, 32": 0.75, "nearest resize to 37 %, 1": 38,
    "nearest resize to 37 %, 8": 3, "nearest resize to 37 %, 24": 4, "nearest resize to 37 %, 32": 1.6,
    "area to 37 %, 24": 5, "area to 37 %, 16": 2.5, "alternative filter to 37 %, 24": 12, "bicubic to 200 %, 24": 9,
    "bicubic to 200 %, 16": 3, "bicubic to 200 %, 48": 6,
    "rotate 7.3 degrees, nearest, 1": 100, "rotate 7.3 degrees, nearest, 8": 14, "rotate 7.3 degrees, nearest, 24": 4.5,
    "rotate 7.3 degrees, nearest, 32": 2.2, "rotate 7.3 degrees, linear, 8": 15, "rotate 7.3 degrees, linear, 24": 5,
    "rotate 7.3 degrees, linear, 32": 4.5, "rotate 7.3 degrees, cubic, 8": 60, "rotate 7.3 degrees, cubic, 24": 25,
    "rotate 7.3 degrees, cubic, 32": 23,
    "quarter turn, 1": 8, "quarter turn, 8": 2.2, "quarter turn, 24": 2.1, "quarter turn, 32": 1.2,
    "half turn, 1": 2, "half turn, 8": 0.95, "half turn, 24": 0.62, "half turn, 32": 0.62,
    "flip, 1": 1.05, "flip, 8": 0.9, "flip, 24": 0.6, "flip, 32": 0.62,
    "mirror, 1": 2, "mirror, 8": 1.0, "mirror, 24": 0.65, "mirror, 32": 0.64,
    "warp, affine, linear, 24": 5, "warp, affine, linear, 8": 15, "warp, affine, nearest, 24": 2.2,
    "warp, affine, nearest, 8": 8, "warp, perspective, linear, 24": 6, "warp, perspective, linear, 8": 15,
    "warp, perspective, nearest, 24": 3, "warp, perspective, nearest, 8": 11, "warp, perspective, nearest, 1": 60,
    "warp, grid, linear, 24": 5.5, "shear by 5 degrees, 1": 1.2, "shear by 5 degrees, 24": 0.65,
    "Floyd-Steinberg, 24 to 16 given": 30, "Floyd-Steinberg, 24 to 256 given": 24, "ordered, 24 to 256 given": 20,
    "Floyd-Steinberg, 8 to 2 fixed": 15, "ordered, 8 to 2 fixed": 1.7,
    "run lengths, encode, text page": 6, "run lengths, decode, text page": 5, "dib/runs/8": 5,
    "YUY2 DIB to 24": 0.8, "UYVY DIB to 24": 0.8, "I420 DIB to 24": 0.75,
    "yuv: 24 to I420": 0.8, "yuv: 24 to NV12": 0.8, "yuv: 24 to YUY2": 0.8, "yuv: NV12 to 24": 0.7, "yuv: I444 to 24": 0.7,
    "conventional_get": 1.02, "conventional_put": 1.02,
}
LIMITS = {"yuv: 24 to NV12": "yuv: limit, to 24, I420", "yuv: 24 to I420": "yuv: limit, to 24, I420",
          "yuv: NV12 to 24": "yuv: limit, from 24, I420", "yuv: I420 to 24": "yuv: limit, from 24, I420",
          "yuv: 24 to YUY2": "yuv: limit, to 24, packed", "yuv: YUY2 to 24": "yuv: limit, from 24, packed",
          "yuv: I444 to 24": "yuv: limit, from 24, 4:4:4", "yuv: 24 to I444": "yuv: limit, to 24, 4:4:4"}
# Cases with tables of their own, and those whose figure is not by bytes.
ELSEWHERE = re.compile(r".*(, small|, row in place)|(row|workers|set_mask|fill_inside|fill_rectangles|copy_region|store)/.*|combine_.*"
                       r"|(new|made|batch|plain_pool|async|optimized_palette|transpose|lives).*")


def split_last(name, separator):
    """A name and the form at its end, which is ours where it names none."""
    head, _, tail = name.rpartition(separator)
    return (head, VARIANTS[tail]) if tail in VARIANTS else (name, "ours")


def case_of(name):
    name = re.sub(r"(/iterations:1|/manual_time)+$", "", name)
    for pattern, described in NAMES:
        if found := re.fullmatch(pattern, name):
            return described(found)
    raise ValueError(name)


def figures_of(runs):
    """Multiples of memcpy by case and form, in the order of the run."""
    figures = defaultdict(lambda: defaultdict(list))
    for run in runs:
        for entry in run["benchmarks"]:
            if "x_memcpy" in entry:
                case, form = case_of(entry["name"])
                figures[case][form].append(entry["x_memcpy"])
    return {case: {form: statistics.median(times) for form, times in forms.items()} for case, forms in figures.items()}


def shown(value):
    return "–" if value is None else f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:.0f}"


def row(case, forms, figures):
    ours = forms["ours"]
    limit = forms.get("limit", figures.get(LIMITS.get(case), {}).get("limit"))
    peers = sorted((forms[name], name) for name in PEERS if name in forms)
    aim = AIMS.get(case)
    verdict = ""
    if aim is not None and ours > aim:
        verdict = "at the limit" if limit is not None and ours <= 1.1 * limit else f"{ours / aim:.2f} of the aim"
    if peers and peers[0][0] < ours:
        verdict += f"{', ' if verdict else ''}{peers[0][1]} is faster"
    return (f"| {case} | {shown(ours)} | {shown(forms.get('AVX2'))} | {shown(forms.get('plain'))} "
            f"| {f'{shown(peers[0][0])} {peers[0][1]}' if peers else '–'} | {shown(limit)} | {aim or '–'} | {verdict} |\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bench", type=pathlib.Path, default=ROOT / "build/native/vk_bench")
    parser.add_argument("--json", type=pathlib.Path, nargs="+")
    parser.add_argument("--only", default=".")
    parser.add_argument("--write", type=pathlib.Path)
    arguments = parser.parse_args()
    if arguments.json:
        runs = [json.loads(path.read_text()) for path in arguments.json]
    else:
        command = [arguments.bench, "--benchmark_format=json", f"--benchmark_filter={arguments.only}"]
        runs = [json.loads(subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True).stdout)]
    figures = figures_of(runs)
    table = TEXT + "".join(row(case, forms, figures) for case, forms in figures.items()
                           if "ours" in forms and not ELSEWHERE.fullmatch(case)) + "\n"
    if not arguments.write:
        print(table, end="")
        return
    document = arguments.write.read_text()
    before, _, rest = document.partition(HEADING)
    after = re.search(r"^## ", rest, re.MULTILINE)
    arguments.write.write_text(before.rstrip("\n") + "\n\n" + HEADING + table + (rest[after.start():] if after else ""))


if __name__ == "__main__":
    main()
