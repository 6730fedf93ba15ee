#!/usr/bin/env python3
"""Lists which kernels have vector paths beside their plain ones, from the sources: list_paths.py [--check FILE | FILE].

A kernel is a file's name without ending: `Blend.cpp` with `Blend_vector.cpp` is one. It has a path for what every
processor of a kind has (SSE2, NEON) where the plain file or its header works with vectors, and those for the sets that
are chosen at run time where it has a `_vector` file. Families without any are named too, so that the absence of a path
can be read and need not be searched for.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SETS = ("base", "NEON", "AVX2", "AVX-512")
SETS_OF = {
    "_vector": {"NEON", "AVX2", "AVX-512"},
    "_vector256": {"NEON", "AVX2"},
    "_vector512": {"AVX-512"},
}
VECTORS = re.compile(r"#include \"simd/(?!Level\.h|Ahead\.h|Hints\.h)")
HEAD = """# Vector paths

Made by `scripts/list_paths.py`; a test compares it with the sources. Each kernel has a plain path for every input; which
others it has is marked here: "base" is what every processor of its kind has, SSE2 on x86-64 and NEON on 64-bit ARM, in
the plain files; the other columns are files compiled once a set ([Vectors](simd.md)) and chosen at run time, where there
is a choice. Tests force each and compare.

| family | kernel | what it does | base | NEON | AVX2 | AVX-512 |
|---|---|---|---|---|---|---|
"""


def opening(stem):
    """The first sentence of what a kernel's sources say of themselves, the header's before the others'."""
    for ending in (".h", ".cpp", *(f"{suffix}.cpp" for suffix in SETS_OF)):
        path = stem.with_name(stem.name + ending)
        comment = re.match(r"(?://[^\n]*\n)+", path.read_text()) if path.exists() else None
        if comment:
            text = re.sub(r"\n?// ?", " ", comment.group(0)).strip()
            return re.split(r"(?<=[.:;]) ", text)[0].rstrip(":;. ").replace("|", "\\|")
    return ""


def paths_of(stem):
    """The sets that a kernel has paths for."""
    plain = [p.read_text() for p in (stem.with_suffix(".cpp"), stem.with_suffix(".h")) if p.exists()]
    found = {"base"} if any(VECTORS.search(text) for text in plain) else set()
    for suffix, sets in SETS_OF.items():
        if stem.with_name(f"{stem.name}{suffix}.cpp").exists():
            found |= sets
    return found


def listing():
    rows, without = [], []
    for family in sorted(p for p in (ROOT / "kernel").iterdir() if p.is_dir()):
        sources = [p for p in family.rglob("*") if p.suffix in (".cpp", ".h")]
        stems = sorted({p.with_name(re.sub(f"({'|'.join(SETS_OF)})$", "", p.stem)) for p in sources})
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
