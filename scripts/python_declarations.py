#!/usr/bin/env python3
"""Makes what the Python package knows of the C interface from the public headers. With --check it compares instead.
  python/declarations.h         the declarations as cffi reads them, for people to look at
  python/vkkrnx/_abi.py         what cffi makes of them, so that the package need not read them whenever it is imported
  python/vkkrnx/constants.py    the numbers

The declarations are what the compiler's preprocessor leaves of Vkkrnx.h off Windows. A library on Windows lacks a few of
them (V_Global..., V_DeletePalette), which does no harm, as names are looked up when they are used."""
import argparse
import contextlib
import io
import pathlib
import re
import subprocess
import sys
import tempfile

import cffi

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = ROOT / "include"
PYTHON = ROOT / "python"
MADE = "Made by scripts/python_declarations.py from the public headers; a test compares."


def preprocessed(compiler):
    """The text of our own headers, without what the system's add."""
    command = [compiler, "-std=c99", "-E", "-I", str(INCLUDE), "-x", "c", "-"]
    done = subprocess.run(command, input='#include "Vkkrnx.h"\n', capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(done.stderr)
    lines, ours = [], False
    for line in done.stdout.splitlines():
        place = re.match(r'#\s*(?:line\s+)?\d+\s+"([^"]*)"', line)
        if place:
            ours = pathlib.Path(place[1]).resolve().parent == INCLUDE
        elif ours and line.strip():
            lines.append(line)
    return "\n".join(lines)


def declarations(text):
    """(packed, text) pieces that follow each other."""
    text = re.sub(r'__attribute__\s*\(\(visibility\s*\("default"\)\)\)', "", text)
    text = re.sub(r"static inline int \w+\([^)]*\) \{.*?\}", "", text, flags=re.S)
    pieces = re.split(r"#pragma pack\(\s*(push, 1|pop)\s*\)", text)
    result = [(False, pieces[0])]
    for what, piece in zip(pieces[1::2], pieces[2::2]):
        result.append((what != "pop", piece))
    return [(packed, statements(piece)) for packed, piece in result if piece.strip()]


def statements(text):
    """One statement a line, records with one field a line."""
    flat = re.sub(r"\s+", " ", text).strip()
    lines, depth, start = [], 0, 0
    for at, char in enumerate(flat):
        depth += (char == "{") - (char == "}")
        if char == ";" and depth == 0:
            lines.append(flat[start:at + 1].strip())
            start = at + 1
    lines = [re.sub(r"\s+;", ";", line) for line in lines]
    return [re.sub(r"\{ ", "{\n    ", re.sub(r"; (?!\})", ";\n    ", line)).replace("; }", ";\n}") for line in lines]


def constants():
    """Name -> value of every #define that stands for a number."""
    values = {}
    for header in sorted(INCLUDE.glob("*.h")):
        text = re.sub(r"/\*.*?\*/", "", header.read_text().replace("\\\n", " "), flags=re.S)
        for name, expression in re.findall(r"^#define (\w+)[ \t]+(\S.*)$", text, re.M):
            expression = re.sub(r"\b(0[xX][0-9a-fA-F]+|\d+)[uUlL]+\b", r"\1", expression)
            expression = re.sub(r"\((?:u?int\d+|intptr|size)_t\)", "", expression)
            words = set(re.findall(r"[A-Za-z_]\w*", re.sub(r"\b0[xX][0-9a-fA-F]+", "", expression)))
            if '"' not in expression and words <= values.keys() and not re.search(r"[{};]", expression):
                values[name] = eval(expression, {}, dict(values))
    values["MEMORYSTOCK_DEFAULT"] &= (1 << 64) - 1
    return {name: value for name, value in values.items() if isinstance(value, int)}


def declarations_file(pieces):
    body = "".join(("#pragma pack(push, 1)\n" if packed else "") + "\n".join(lines) + "\n" +
                   ("#pragma pack(pop)\n" if packed else "") for packed, lines in pieces)
    return f"/* The C interface as the Python package knows it. {MADE} */\n" + body


def abi_file(pieces):
    ffi = cffi.FFI()
    for packed, lines in pieces:
        ffi.cdef("\n".join(lines), packed=packed)
    ffi.set_source("vkkrnx._abi", None)
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "_abi.py"
        with contextlib.redirect_stdout(io.StringIO()):
            ffi.emit_python_code(str(path))
        return f"# {MADE}\n" + path.read_text(encoding="utf-8")


def constants_file(values):
    return (f'"""The numbers of the C interface, by their names there.\n\n{MADE}"""\n\n'
            + "".join(f"{name} = {hex(value) if value > 0xFFFF else value}\n" for name, value in values.items()))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", default="cc")
    parser.add_argument("--check", action="store_true", help="fail when a file is not what would be made")
    options = parser.parse_args()
    pieces = declarations(preprocessed(options.compiler))
    made = {PYTHON / "declarations.h": declarations_file(pieces), PYTHON / "vkkrnx/_abi.py": abi_file(pieces),
            PYTHON / "vkkrnx/constants.py": constants_file(constants())}
    for path, text in made.items():
        if not options.check:
            path.write_text(text, encoding="utf-8")
        elif not path.exists() or path.read_text(encoding="utf-8") != text:
            sys.exit(f"{path.relative_to(ROOT)} is not what the headers say: run scripts/python_declarations.py")


if __name__ == "__main__":
    main()
