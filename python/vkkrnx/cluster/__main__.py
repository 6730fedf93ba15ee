"""python3 -m vkkrnx.cluster: work on many machines, or on all processors of this one."""
from __future__ import annotations

import argparse
import sys

from . import UsageError, run_folder, run_picture
from ._large import MEMORY
from ._stages import OPERATIONS, REFUSED

DONE, FAILED, WRONG_USAGE, NO_FILE = 0, 1, 2, 3  # as of the vk command
MANY = """Operations are those of the vk command with their options: resize --size 800x convert --bits 8.

Folders: any operations of 'vk batch'. Each picture is done once; one that fails hinders no other. What is written does not
depend on the workers, of which some may die meanwhile.

Pictures: files are PNM (P4, P5, P6), and operations those that bands can be cut for: """


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m vkkrnx.cluster", description=__doc__, epilog=MANY + ", ".join(OPERATIONS) + ".\n",
        formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    folder = commands.add_parser("folder", help="a chain of operations for every picture of a folder")
    folder.add_argument("source", metavar="DIR")
    folder.add_argument("-o", dest="target", metavar="DIR", required=True, help="where the results go")
    folder.add_argument("--format", metavar="EXT", help="write every picture as this")
    folder.add_argument("--vk", metavar="PROGRAM", help="the vk command on the workers")
    picture = commands.add_parser("picture", help="operations on one picture that need not fit into memory")
    picture.add_argument("source", metavar="FILE")
    picture.add_argument("target", metavar="OUT")
    picture.add_argument("--memory", metavar="MIB", type=int, default=MEMORY >> 20,
                         help="for a band on a worker (default: %(default)s)")
    for command in (folder, picture):
        command.add_argument("--scheduler", metavar="ADDRESS", help="of a Dask scheduler: tcp://host:8786")
        command.add_argument("--workers", metavar="N", type=int,
                             help="without a scheduler: processes on this machine (default: one for each processor)")
        command.usage = command.format_usage().removeprefix("usage: ").rstrip() + " OPERATION [OPTION]..."
    return parser


def _split(words: list[str]) -> tuple[list[str], list[str]]:
    """The words before the first operation, and those from it on."""
    names = OPERATIONS.keys() | REFUSED.keys()
    for at, word in enumerate(words):
        if word in names and not words[max(0, at - 1)].startswith("-"):
            return words[:at], words[at:]
    return words, []


def _show(done: int, total: int) -> None:
    if sys.stderr.isatty():
        print(f"\r{done} of {total}", end="\n" if done == total else "", file=sys.stderr, flush=True)


def _run_folder(options: argparse.Namespace) -> int:
    result = run_folder(options.source, options.target, options.chain, scheduler=options.scheduler, workers=options.workers,
                        extension=options.format, command=options.vk, progress=_show)
    for name, failure in sorted(result.failures.items()):
        print(failure if failure.startswith(name) else f"{name}: {failure}", file=sys.stderr)
    print(f"{len(result.written)} of {len(result.written) + len(result.failures)} pictures written to {options.target} in "
          f"{result.seconds:.1f} s")
    return FAILED if result.failures else DONE


def _run_picture(options: argparse.Namespace) -> int:
    bands = run_picture(options.source, options.target, options.chain, scheduler=options.scheduler, workers=options.workers,
                        memory=max(1, options.memory) << 20, progress=_show)
    print(f"{options.target} written, in {bands} bands")
    return DONE


def main(words: list[str] | None = None) -> int:
    """Runs the command; the result is its exit code."""
    own, chain = _split(sys.argv[1:] if words is None else words)
    options = _parser().parse_args(own)
    options.chain = chain
    try:
        return _run_folder(options) if options.command == "folder" else _run_picture(options)
    except (UsageError, ValueError) as error:
        print(f"vkkrnx.cluster: {error}", file=sys.stderr)
        return WRONG_USAGE
    except OSError as error:
        print(f"vkkrnx.cluster: {error}", file=sys.stderr)
        return NO_FILE
    except RuntimeError as error:
        print(f"vkkrnx.cluster: {error}", file=sys.stderr)
        return FAILED


if __name__ == "__main__":
    sys.exit(main())
