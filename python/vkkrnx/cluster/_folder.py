"""A folder of pictures through a chain of the vk command's operations. Each picture is a task of its own, done by the
command on a worker, into a folder of the task's own; then the result takes its place by being renamed."""
from __future__ import annotations

import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import uuid
from collections.abc import Callable, Sequence
from typing import Any

from ._engine import connected, each_done

EXTENSIONS = {"jpeg": (".jpg", ".jpeg"), "pnm": (".pnm", ".pbm", ".pgm", ".ppm"), "tiff": (".tif", ".tiff")}
USAGE = 2  # the command's exit code for a wrong command line


class UsageError(ValueError):
    """The operations, or their options, are not those of the vk command."""


@dataclasses.dataclass
class FolderResult:
    """What became of a folder."""

    written: list[str]  # names in the folder of results
    failures: dict[str, str]  # name of a picture -> what is wrong with it
    seconds: float


@dataclasses.dataclass(frozen=True)
class _Job:
    """What all pictures of a folder share."""

    source: str
    target: str
    scratch: str
    chain: tuple[str, ...]
    options: tuple[str, ...]
    folder: str  # where the paths in the chain begin
    command: str | None


def find_command(given: str | None = None) -> str:
    """The vk command: the one named, or by the environment variable VKKRNX_VK, or in the PATH."""
    found = given or os.environ.get("VKKRNX_VK") or shutil.which("vk")
    if not found:
        raise FileNotFoundError("the vk command was not found; VKKRNX_VK may say where it is")
    return found


def _batch(job: _Job, source: str, target: str) -> subprocess.CompletedProcess[str]:
    words = [find_command(job.command), "batch", source, "-o", target, "--jobs", "1", *job.options, *job.chain]
    return subprocess.run(words, cwd=job.folder if os.path.isdir(job.folder) else None, capture_output=True, text=True,
                          errors="replace", stdin=subprocess.DEVNULL, check=False)


def _message(done: subprocess.CompletedProcess[str], source: str) -> str:
    line = (done.stderr.strip().splitlines() or ["the command ended without a word"])[0]
    return line.removeprefix("vk: ").replace(source + os.sep, "")


def do_picture(name: str, job: _Job) -> tuple[str | None, str]:
    """Does one picture; gives the result's name, or None and what is wrong. May be done again at any time."""
    with tempfile.TemporaryDirectory(dir=job.scratch) as folder:
        source, target = os.path.join(folder, "in"), os.path.join(folder, "out")
        os.mkdir(source)
        picture = os.path.join(job.source, name)
        try:
            os.symlink(picture, os.path.join(source, name))
        except OSError:  # where links are for administrators
            shutil.copyfile(picture, os.path.join(source, name))
        done = _batch(job, source, target)
        if done.returncode < 0:
            raise RuntimeError(f"the command was ended by signal {-done.returncode}")
        made = os.listdir(target) if done.returncode == 0 else []
        if len(made) != 1:
            return None, _message(done, source)
        os.replace(os.path.join(target, made[0]), os.path.join(job.target, made[0]))
        return made[0], ""


def _check_chain(job: _Job) -> None:
    """Has the command read the chain, which says what is wrong with it before there is any work."""
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(os.path.join(folder, "none"))
        done = _batch(job, os.path.join(folder, "none"), os.path.join(folder, "out"))
        if done.returncode != 0:
            raise (UsageError if done.returncode == USAGE else RuntimeError)(_message(done, folder))


def _formats(command: str | None) -> tuple[list[str], list[str]]:
    """The extensions of what the command reads, and of what it writes."""
    said = subprocess.run([find_command(command), "--version"], capture_output=True, text=True, check=True).stdout
    lists = re.findall(r"(?:reads|writes) ([^;\n]*)", said)
    formats = [[name.strip().lower() for name in words.split(",")] for words in lists]
    reads, writes = ([end for name in names for end in EXTENSIONS.get(name, ("." + name,))] for names in formats)
    return reads, writes


def _check_names(names: list[str], extension: str | None, writes: list[str]) -> None:
    """No two pictures may become one."""
    taken: dict[str, str] = {}
    for name in names:
        path = pathlib.PurePath(name)
        target = name if path.suffix.lower() in writes else path.stem + (".png" if ".png" in writes else ".pnm")
        target = path.stem + "." + extension if extension else target
        if target in taken:
            raise UsageError(f"{taken[target]} and {name} would both become {target}")
        taken[target] = name


def run_folder(source: str | os.PathLike[str], target: str | os.PathLike[str], chain: Sequence[str], *,
               scheduler: Any = None, workers: int | None = None, extension: str | None = None,
               options: Sequence[str] = (), command: str | None = None,
               progress: Callable[[int, int], Any] | None = None) -> FolderResult:
    """Does a chain of operations, in the words of `vk batch`, to every picture of a folder.

    scheduler: the address of a Dask scheduler, or a client; without one `workers` processes on this machine (as many as
    processors) do the work. The workers see the folders under the same names. extension: write every picture as this.
    options: of the command, for writing. command: the vk command on the workers. progress is told (done, of how many).
    Pictures that fail are named in the result, and hinder no other."""
    begun = time.monotonic()
    target = os.path.abspath(target)
    flags = [*options, "--format", extension] if extension else list(options)
    scratch = os.path.join(target, f".vkkrnx-{uuid.uuid4().hex}")
    job = _Job(os.path.abspath(source), target, scratch, tuple(chain), tuple(flags), os.getcwd(), command)
    reads, writes = _formats(command)
    names = sorted(entry.name for entry in os.scandir(source)
                   if entry.is_file() and pathlib.PurePath(entry.name).suffix.lower() in reads)
    _check_names(names, extension, writes)
    _check_chain(job)
    os.makedirs(scratch)
    result = FolderResult([], {}, 0.0)
    try:
        with connected(scheduler, workers) as client:
            for count, (name, outcome) in enumerate(each_done(client, do_picture, names, job), 1):
                made, failure = (None, str(outcome)) if isinstance(outcome, BaseException) else outcome
                if made is None:
                    result.failures[name] = failure
                else:
                    result.written.append(made)
                if progress is not None:
                    progress(count, len(names))
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    result.written.sort()
    result.seconds = time.monotonic() - begun
    return result
