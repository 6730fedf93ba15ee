#!/usr/bin/env python3
"""Kills a program at its system calls, one after the other, and looks at the directory of temporary files each time:
nothing may lie there. The program is one that is the same on every run; strace (and leave to use it) is needed.

  scripts/power_loss.py [--most N] PROGRAM [ARGUMENT...]"""
import argparse
import collections
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

# What touches files, and what may happen while they are open.
CALLS = ["openat", "unlink", "close", "ftruncate", "pwrite64", "pread64", "fallocate", "mmap", "munmap", "fstat",
         "newfstatat", "flock", "lseek", "read", "write", "exit_group"]
SKIP = 77  # what a test says that could not be run


def run(command, directory, options):
    return subprocess.run(["strace", "-f", "-qq", *options, *command], capture_output=True, text=True,
                          env=dict(os.environ, TMPDIR=str(directory)))


def count_calls(command, directory):
    """How often the program makes each call when nobody kills it."""
    log = directory.parent / "calls"
    result = run(command, directory, ["-o", str(log), "-e", "trace=" + ",".join(CALLS)])
    if result.returncode != 0 or not log.exists():
        print(f"cannot trace {command[0]}: {result.stderr.strip()[:200]}")
        sys.exit(SKIP)
    return collections.Counter(re.findall(r"^(?:\d+\s+)?(\w+)\(", log.read_text(errors="replace"), re.M))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--most", type=int, default=40, help="of each call, evenly spread over all of them")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    if not shutil.which("strace"):
        print("strace is missing")
        sys.exit(SKIP)
    kills, left = 0, []
    with tempfile.TemporaryDirectory() as scratch:
        directory = pathlib.Path(scratch) / "tmp"
        directory.mkdir()
        for call, count in sorted(count_calls(options.command, directory).items()):
            step = max(1, count // options.most)
            for number in range(1, count + 1, step):
                run(options.command, directory, ["-o", "/dev/null", "-e", f"trace={call}", "-e",
                                                 f"inject={call}:signal=SIGKILL:when={number}"])
                kills += 1
                for file in directory.iterdir():
                    left.append(f"{call} {number}: {file.name}, {file.stat().st_size} bytes")
                    file.unlink()
    print(f"killed {kills} times")
    for line in left:
        print("left behind at", line, file=sys.stderr)
    sys.exit(1 if left else 0)


if __name__ == "__main__":
    main()
