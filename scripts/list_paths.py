#!/usr/bin/env python3
"""Lists which kernels have vector paths beside their plain ones, from the sources: list_paths.py [--check FILE | FILE].

A kernel is a file's name without ending and instruction set: `Fused.cpp` with `Fused_avx2.cpp` is one. It has a path for
SSE2 where the plain file or its header holds intrinsics, for wider sets where a file of its own does. Families without
any are named too, so that the absence of a path can be read and need not be searched for.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SETS = {"SSE2": None, "AVX2": "_avx2", "AVX-512": "_avx512"}
HEAD = """# Vector paths

Made by `scripts/list_paths.py`; a test compares it with the sources. Each kernel has a plain path for every input; which
others it has is marked here. Wider sets are chosen at run time, and tests force each and compare.

| family | kernel | what it does | SSE2 | AVX2 | AVX-512 |
|---|---|---|---|---|---|
"""


def opening(stem):
    """The first sentence of what a kernel's sources say of themselves, the header's before the others'."""
    for path in [stem.with_suffix(".h"), stem.with_suffix(".cpp"), *sorted(stem.parent.glob(f"{stem.name}_avx*.cpp"))]:
        comment = re.match(r"(?://[^\n]*\n)+", path.read_text()) if path.exists() else None
        if comment:
            text = re.sub(r"\n?// ?", " ", comment.group(0)).strip()
            return re.split(r"(?<=[.:;]) ", text)[0].rstrip(":;. ").replace("|", "\\|")
    return ""


def paths_of(stem):
    """The sets that a kernel has paths for."""
    plain = [p.read_text() for p in (stem.with_suffix(".cpp"), stem.with_suffix(".h")) if p.exists()]
    found = {"SSE2"} if any(re.search(r"#include <[a-z]*mmintrin\.h>", text) for text in plain) else set()
    return found | {name for name, suffix in SETS.items() if suffix and stem.with_name(f"{stem.name}{suffix}.cpp").exists()}


def listing():
    rows, without = [], []
    for family in sorted(p for p in (ROOT / "kernel").iterdir() if p.is_dir()):
        sources = [p for p in family.rglob("*") if p.suffix in (".cpp", ".h")]
        stems = sorted({p.with_name(re.sub(r"_avx(2|512)$", "", p.stem)) for p in sources})
        with_paths = [(stem, paths_of(stem)) for stem in stems if paths_of(stem)]
        for stem, found in with_paths:
            marks = " | ".join("yes" if name in found else "–" for name in SETS)
            rows.append(f"| {family.name} | {stem.relative_to(family)} | {opening(stem)} | {marks} |\n")
        if not with_paths:
            without.append(f"`{family.name}/`")
    return HEAD + "".join(rows) + f"\nPlain code alone: {', '.join(without)}.\n"


def main():
    check = sys.argv[1:2] == ["--check"]
    path = pathlib.Path(sys.argv[-1])
    if not check:
        path.write_text(listing())
    elif path.read_text() != listing():
        sys.exit(f"{path} is not what scripts/list_paths.py makes")


main()
