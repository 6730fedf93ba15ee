"""Operations on bands of a picture: which rows of the picture a band of the result is made of, and the band made of them.

They have the names and options that they have in the vk command, and give the same pixels, to the bit. What a whole
picture has to be looked at for is refused, and the reason told."""
from __future__ import annotations

import dataclasses
from collections.abc import Callable
from typing import Any

from .._stream import needed_rows, resized_part
from ..bitmap import Bitmap
from ..colors import color
from ..geometry import Rect
from ..kinds import Border, Colors, Dither, Filter, Order, Window
from ._pnm import Form

REFUSED = {
    "warp": "a row of the result is made of rows all over the picture",
    "shear": "a row of the result is made of rows all over the picture",
    "trim": "the border is known only when the whole picture was looked at",
    "combine": "the other picture would have to be cut too",
    "region": "shapes are for whole pictures",
    "overlay": "overlays are for whole pictures",
    "scramble": "the scrambling of a row depends on the size of the whole",
    "render": "it is for the part of a picture that a viewer shows: crop and resize make one",
    "orient": "flip, mirror and rotate say what is meant",
    "alpha": "PNM, in which such pictures are kept, has no alpha",
}

COPIES = 6
Options = dict[str, str]


@dataclasses.dataclass
class Stage:
    """One operation. `rows` tells which of the rows of what comes in a band of the result needs; `run` is given these, and
    the number of the first."""

    name: str
    form_in: Form
    form_out: Form
    rows: Callable[[int, int], tuple[int, int]]
    run: Callable[[Bitmap, int, int, int], Bitmap]


def _need(options: Options, name: str, operation: str) -> str:
    if name not in options:
        raise ValueError(f"{operation} needs {name}")
    return options[name]


def _numbers(text: str, count: int, name: str) -> list[int]:
    try:
        numbers = [int(part) for part in text.split(",")]
    except ValueError:
        numbers = []
    if len(numbers) != count:
        raise ValueError(f"{name} needs {count} whole numbers")
    return numbers


def _number(options: Options, name: str, otherwise: float | None = None) -> float:
    try:
        return float(options[name]) if name in options or otherwise is None else otherwise
    except ValueError:
        raise ValueError(f"{name} needs a number") from None


def _choice(kind: Any, options: Options, name: str, otherwise: str) -> Any:
    word = options.get(name, otherwise)
    try:
        return kind[word.upper().replace("-", "_")]
    except KeyError:
        raise ValueError(f"{name} does not know {word}") from None


def _same(first: int, last: int) -> tuple[int, int]:
    return first, last


def _by_pixel(name: str, form: Form, change: Callable[[Bitmap], Any], step: int = 1) -> Stage:
    """A change of pixels each by itself, or in a pattern that begins again after `step` rows."""
    probe = form.bitmap(1)
    change(probe)

    def run(band: Bitmap, at: int, first: int, last: int) -> Bitmap:
        change(band)
        return band if at == first else band.crop(Rect(0, first - at, band.width, last - at))

    return Stage(name, form, Form.of(probe, form.height), lambda first, last: (first - first % step, last), run)


def _convert(form: Form, options: Options) -> Stage:
    bits = int(_number(options, "--bits", form.bits))
    order = {"565": Order.RGB565}.get(options.get("--order", "")) or (
        _choice(Order, options, "--order", "bgr") if "--order" in options else None)
    method = _choice(Dither, options, "--dither", "floyd-steinberg")
    if bits > 8:
        if order is None and bits == form.bits:
            return _by_pixel("convert", form, lambda band: None)
        return _by_pixel("convert", form, lambda band: band.convert(bits, order=order))
    kind = _choice(Colors, options, "--palette", "optimized")
    if kind == Colors.OPTIMIZED:
        raise ValueError("convert: an optimized palette is made for the whole picture; --palette fixed, gray or cube go")
    exact = kind == Colors.GRAY and bits == 8
    if not exact and method not in (Dither.NONE, Dither.ORDERED, Dither.CLUSTERED):
        raise ValueError("convert: what is left over in one row goes into the next ones; --dither none, ordered or clustered "
                         "go from row to row")
    step = 8 if method in (Dither.ORDERED, Dither.CLUSTERED) else 1
    return _by_pixel("convert", form, lambda band: band.convert(bits, order=order, palette=kind, dither=method), step)


def _side(value: float) -> int:
    """A side in pixels: the nearest whole number, halves up."""
    return min(max(int(value + 0.5), 1), 0x7FFFFFFF)


def _sides(form: Form, options: Options) -> tuple[int, int]:
    if ("--size" in options) == ("--scale" in options):
        raise ValueError("resize needs either --size or --scale")
    if "--scale" in options:
        scale = _number(options, "--scale")
        return _side(form.width * scale / 100), _side(form.height * scale / 100)
    wide, _, high = options["--size"].partition("x")
    try:
        width, height = int(wide or 0), int(high or 0)
    except ValueError:
        raise ValueError("--size needs a width, an x and a height") from None
    if min(width, height) < 0 or max(width, height) == 0:
        raise ValueError("--size needs a width, an x and a height")
    return width or _side(form.width * height / form.height), height or _side(form.height * width / form.width)


def _resize(form: Form, options: Options) -> Stage:
    kind = _choice(Filter, options, "--filter", "area")
    if kind in (Filter.FAVOR_BLACK, Filter.GRAY):
        raise ValueError(f"resize: --filter {options['--filter']} is for whole pictures; nearest, area, bicubic and sharp go")
    width, height = _sides(form, options)
    if (width, height) == (form.width, form.height):
        return _by_pixel("resize", form, lambda band: None)
    grows = width > form.width or height > form.height
    return Stage("resize", form, dataclasses.replace(form, width=width, height=height),
                 lambda first, last: needed_rows(form.height, height, first, last, kind, grows=grows),
                 lambda band, at, first, last: resized_part(band, at, form.height, width, height, kind, first, last))


def _reversed_rows(name: str, form: Form, change: Callable[[Bitmap], Any]) -> Stage:
    return Stage(name, form, form, lambda first, last: (form.height - last, form.height - first),
                 lambda band, at, first, last: change(band))


def _rotate(form: Form, options: Options) -> Stage:
    turn = _number(options, "--angle") % 360 if "--angle" in options else 0.5
    if turn == 0:
        return _by_pixel("rotate", form, lambda band: None)
    if turn != 180 or "--center" in options:
        raise ValueError("rotate: a row of the result is made of rows all over the picture; half turns go, --angle 180")
    return _reversed_rows("rotate", form, lambda band: band.flip().mirror())


def _crop(form: Form, options: Options) -> Stage:
    x, y, width, height = _numbers(_need(options, "--rect", "crop"), 4, "--rect")
    part = Rect.at(x, y, width, height) & Rect(0, 0, form.width, form.height)
    if not part:
        raise ValueError("crop: the picture has nothing there")
    return Stage("crop", form, dataclasses.replace(form, width=part.width, height=part.height),
                 lambda first, last: (part.top + first, part.top + last),
                 lambda band, at, first, last: band.crop(Rect(part.left, 0, part.right, band.height)))


def _extend(form: Form, options: Options) -> Stage:
    left, top, right, bottom = _numbers(_need(options, "--by", "extend"), 4, "--by")
    kind = _choice(Border, options, "--kind", "fill")
    fill = color(options.get("--fill", "000000"))
    if min(left, top, right, bottom) < 0:
        raise ValueError("extend: --by needs four numbers of pixels")
    if kind in (Border.MIRROR, Border.WRAP) and (top or bottom):
        raise ValueError(f"extend: rows above and below would come from elsewhere with --kind {options['--kind']}; "
                         "fill and edge go")
    height = form.height + top + bottom

    def rows(first: int, last: int) -> tuple[int, int]:
        start = min(max(first - top, 0), form.height - 1)
        return start, max(min(last - top, form.height), start + 1)

    def run(band: Bitmap, at: int, first: int, last: int) -> Bitmap:
        above, below = max(0, at + top - first), max(0, last - top - at - band.height)
        band.extend(left, above, right, below, kind=kind, fill=fill)
        skipped = first - (at + top - above)
        return band.crop(Rect(0, skipped, band.width, skipped + last - first))

    return Stage("extend", form, dataclasses.replace(form, width=form.width + left + right, height=height), rows, run)


def _fill(form: Form, options: Options) -> Stage:
    if "--color" not in options or options.keys() - {"--color", "--rect"}:
        raise ValueError("fill: --color, with or without --rect, goes; what is connected and patterns are for whole pictures")
    value = color(options["--color"])
    if "--rect" not in options:
        return _by_pixel("fill", form, lambda band: band.fill(value))
    rect = Rect.at(*_numbers(options["--rect"], 4, "--rect"))
    return Stage("fill", form, form, _same, lambda band, at, first, last: band.fill(value, rect.moved(0, -at)))


def _window(form: Form, options: Options) -> Stage:
    if "--center" not in options or "--width" not in options or "--colors" in options:
        raise ValueError("window: the range of a picture is known only when all of it was looked at; --center and --width "
                         "go, without --colors")
    center, width = _number(options, "--center"), _number(options, "--width")
    function = _choice(Window, options, "--function", "linear")
    return _by_pixel("window", form, lambda band: band.window(center, width, function, inverted="--invert" in options,
                                                             signed="--signed" in options))


# Name -> how a stage is made, its options with values, those without.
OPERATIONS: dict[str, tuple[Callable[[Form, Options], Stage], set[str], set[str]]] = {
    "convert": (_convert, {"--bits", "--palette", "--dither", "--order"}, set()),
    "resize": (_resize, {"--size", "--scale", "--filter"}, set()),
    "flip": (lambda form, options: _reversed_rows("flip", form, lambda band: band.flip()), set(), set()),
    "mirror": (lambda form, options: _by_pixel("mirror", form, lambda band: band.mirror()), set(), set()),
    "rotate": (_rotate, {"--angle", "--fill", "--filter", "--center"}, {"--keep"}),
    "crop": (_crop, {"--rect"}, set()),
    "extend": (_extend, {"--by", "--kind", "--fill"}, set()),
    "fill": (_fill, {"--color", "--rect", "--flood", "--pattern", "--tolerance", "--border"}, {"--eight"}),
    "window": (_window, {"--center", "--width", "--function", "--colors"}, {"--signed", "--invert"}),
}


def _read_options(name: str, words: list[str]) -> Options:
    """Takes the operation's options from the front of the words."""
    _, valued, flags = OPERATIONS[name]
    options: Options = {}
    while words and words[0].startswith("--"):
        option = words.pop(0)
        if option in flags:
            options[option] = ""
        elif option in valued and words:
            options[option] = words.pop(0)
        else:
            raise ValueError(f"{name} does not take {option} here" if option not in valued else f"{option} needs a value")
    return options


def make_stages(form: Form, words: list[str]) -> list[Stage]:
    """The stages of a chain of operations on a picture; ValueError says what cannot be done to bands, and why."""
    words = list(words)
    stages: list[Stage] = []
    while words:
        name = words.pop(0)
        if name in REFUSED:
            raise ValueError(f"{name} cannot be done to bands of a picture: {REFUSED[name]}")
        if name not in OPERATIONS:
            raise ValueError(f"unknown operation {name}")
        stages.append(OPERATIONS[name][0](form, _read_options(name, words)))
        form = stages[-1].form_out
    return stages


def rows_needed(stages: list[Stage], first: int, last: int) -> list[tuple[int, int]]:
    """The rows that go into each stage for a band of the result, and at the end that band itself."""
    spans = [(first, last)]
    for stage in reversed(stages):
        spans.insert(0, stage.rows(*spans[0]))
    return spans


def make_band(stages: list[Stage], read: Callable[[int, int], Bitmap], first: int, last: int) -> Bitmap:
    """The rows of the result from `first` to before `last`, of a picture whose rows `read` gives."""
    spans = rows_needed(stages, first, last)
    band = read(*spans[0])
    for stage, (at, _), (begin, end) in zip(stages, spans, spans[1:]):
        band = stage.run(band, at, begin, end)
    return band


def band_bytes(stages: list[Stage], source: Form, first: int, last: int) -> int:
    """About how much memory a band of the result takes while it is made: its largest form as the file's bytes, as pixels
    going in and coming out, and what resizing and the memory's own management keep."""
    forms = [source] + [stage.form_out for stage in stages]
    return max(form.row_bytes * (end - begin) for form, (begin, end) in zip(forms, rows_needed(stages, first, last))) * COPIES


def cut(stages: list[Stage], source: Form, memory: int) -> list[tuple[int, int]]:
    """The result's bands, of equal height, each made within so much memory as far as one row is."""
    height = stages[-1].form_out.height if stages else source.height
    rows = height
    while rows > 1 and any(band_bytes(stages, source, at, min(at + rows, height)) > memory
                           for at in {0, (height - rows) // 2, height - rows}):
        rows = (rows + 1) // 2
    return [(at, min(at + rows, height)) for at in range(0, height, rows)]
