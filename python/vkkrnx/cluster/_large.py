"""One picture that no machine's memory has to hold: its result is made band by band, each from the rows it needs, on
whichever worker is free, and the bands' files are put one behind the other."""
from __future__ import annotations

import dataclasses
import os
import shutil
import tempfile
import uuid
from collections.abc import Callable, Sequence
from typing import Any

from ..settings import trim_memory
from ._engine import connected, each_done
from ._pnm import PnmSource, encode, header
from ._stages import cut, make_band, make_stages

MEMORY = 256 << 20
Span = tuple[int, int]


@dataclasses.dataclass(frozen=True)
class _Job:
    """What all bands of a picture share."""

    source: PnmSource
    chain: tuple[str, ...]
    folder: str

    def band_file(self, span: Span) -> str:
        return os.path.join(self.folder, f"{span[0]:010}")


def do_band(span: Span, job: _Job) -> Span:
    """Makes a band's file. May be done again at any time."""
    band = make_band(make_stages(job.source.form, list(job.chain)), job.source.read, *span)
    handle, name = tempfile.mkstemp(dir=job.folder, prefix="part-")
    with open(handle, "wb") as file:
        file.write(encode(band))
    os.replace(name, job.band_file(span))
    trim_memory()
    return span


def _put_together(job: _Job, spans: list[Span], first: bytes, target: str) -> None:
    """Writes the picture's file; each band's goes when its bytes are there."""
    whole = os.path.join(job.folder, "whole")
    with open(whole, "wb") as file:
        file.write(first)
        for span in spans:
            with open(job.band_file(span), "rb") as band:
                shutil.copyfileobj(band, file, 1 << 20)
            os.unlink(job.band_file(span))
    os.replace(whole, target)


def run_picture(source: str | os.PathLike[str], target: str | os.PathLike[str], chain: Sequence[str], *,
                scheduler: Any = None, workers: int | None = None, memory: int = MEMORY,
                progress: Callable[[int, int], Any] | None = None) -> int:
    """Does a chain of operations, in the words of the vk command, to a picture in a PNM file of any size, and gives the
    number of bands it was cut into. The result, a PNM file, is the whole operation's to the bit.

    scheduler, workers: as for run_folder. memory: bytes that a worker may use for a band. progress is told (done, of how
    many). ValueError tells what cannot be done to bands, and why. The first band that fails ends it."""
    picture = PnmSource(os.fspath(source))
    stages = make_stages(picture.form, list(chain))
    form = stages[-1].form_out if stages else picture.form
    first = header(form)
    spans = cut(stages, picture.form, memory)
    target = os.path.realpath(target)
    folder = os.path.join(os.path.dirname(target), f".vkkrnx-{uuid.uuid4().hex}")
    os.mkdir(folder)
    job = _Job(picture, tuple(chain), folder)
    try:
        with connected(scheduler, workers) as client:
            for count, (span, outcome) in enumerate(each_done(client, do_band, spans, job), 1):
                if isinstance(outcome, BaseException):
                    raise RuntimeError(f"rows {span[0]} to {span[1] - 1} failed: {outcome}") from outcome
                if progress is not None:
                    progress(count, len(spans))
        _put_together(job, spans, first, target)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return len(spans)
