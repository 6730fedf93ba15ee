#!/usr/bin/env python3
"""Branch coverage, folder by folder, from the counters that a build of the preset `coverage` left:
coverage_report.py [--missed FOLDER] BUILD. Fails when a folder is below its limit.

A branch is a way out of a condition. Those of the instances of a template are one: it is taken when any instance takes
it. Ways out of calls by exceptions are not counted. A line that ends in "// untaken: <reason>" has branches that no test
can take, and is left out; how many there are is told. With --missed, the lines of a folder (or file) that have branches
which were not taken are listed instead.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COUNTED = re.compile(r"(kernel/\w+|platform/posix|tools)/")
MARK = "// untaken: "
LIMIT = 95.0
LIMITS = {}


def documents(build):
    """What gcov says, one document for each object that ran."""
    counters = sorted(p for p in build.rglob("*.gcda") if re.search(r"/(vk_kernel|vk_backend|vk_pictures|vk)\.dir/", str(p)))
    if not counters:
        sys.exit(f"{build} has no counters: run scripts/coverage.sh")

    def read(batch):
        command = ["gcov", "--json-format", "--stdout", "--branch-probabilities", *map(str, batch)]
        lines = subprocess.run(command, capture_output=True, text=True, check=True, cwd=build).stdout.splitlines()
        return [json.loads(line) for line in lines if line.startswith("{")]

    batches = [counters[at:at + 10] for at in range(0, len(counters), 10)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(read, batches):
            yield from found


def branches_of(line):
    """Whether each branch of a line was taken. Of a call that may throw gcov tells two, first the way that it returns."""
    taken = []
    for branch in line["branches"]:
        if branch["throw"]:
            del taken[-1:]
        else:
            taken.append(branch["count"] > 0)
    return taken


def collect(build):
    """file -> line -> number of branches -> whether each was taken by any instance."""
    files = collections.defaultdict(lambda: collections.defaultdict(dict))
    for document in documents(build):
        for file in document["files"]:
            path = pathlib.Path(os.path.normpath(os.path.join(document["current_working_directory"], file["file"])))
            if not path.is_relative_to(ROOT) or not COUNTED.match(path.relative_to(ROOT).as_posix()):
                continue
            lines = files[path.relative_to(ROOT).as_posix()]
            for line in file["lines"]:
                taken = branches_of(line)
                if taken:
                    groups = lines[line["line_number"]]
                    known = groups.get(len(taken), [False] * len(taken))
                    groups[len(taken)] = [a or b for a, b in zip(known, taken)]
    return files


class Folder:
    def __init__(self):
        self.all = self.taken = self.marked = 0
        self.missed = []

    def add(self, path, lines):
        source = (ROOT / path).read_text(encoding="utf-8").splitlines()
        self.marked += sum(MARK in text for text in source)
        for number, groups in sorted(lines.items()):
            if MARK in source[number - 1]:
                continue
            ways = [way for group in groups.values() for way in group]
            self.all += len(ways)
            self.taken += sum(ways)
            if not all(ways):
                self.missed.append(f"{path}:{number}: {ways.count(False)} of {len(ways)}: {source[number - 1].strip()}")

    def percent(self):
        return 100.0 * self.taken / self.all if self.all else 100.0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--missed", metavar="FOLDER")
    options = parser.parse_args()

    folders = collections.defaultdict(Folder)
    for path, lines in sorted(collect(options.build.resolve()).items()):
        folders[COUNTED.match(path)[1]].add(path, lines)
    if options.missed:
        found = [text for folder in folders.values() for text in folder.missed if text.startswith(options.missed)]
        print("\n".join(found))
        return 0

    print(f"{'folder':20}{'branches':>9}{'taken':>8}{'%':>7}{'limit':>7}  lines marked")
    low = []
    whole = Folder()
    for name, folder in folders.items():
        limit = LIMITS.get(name, LIMIT)
        if folder.percent() < limit:
            low.append(name)
        print(f"{name:20}{folder.all:9}{folder.taken:8}{folder.percent():7.1f}{limit:7.1f}{folder.marked or '':>6}")
        if name.startswith("kernel/"):
            whole.all, whole.taken, whole.marked = (
                whole.all + folder.all, whole.taken + folder.taken, whole.marked + folder.marked)
    print(f"{'kernel':20}{whole.all:9}{whole.taken:8}{whole.percent():7.1f}{'':7}{whole.marked or '':>6}")
    if low:
        print("below their limits: " + ", ".join(low), file=sys.stderr)
    return 1 if low else 0


if __name__ == "__main__":
    sys.exit(main())
