#!/usr/bin/env python3
"""Checks what the library exports and needs against its public headers.

The declarations are taken from the headers as the target's own compiler preprocesses them, so that each platform is held
to its own set of names. Three checks, each run when its option is given:
  --library     the library exports every declared function and nothing else, and needs system libraries only
  --document    the document names every declared function
  --record-test the files name every declared function that takes a bitmap record
"""
import argparse
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SYSTEM_DLLS = {"kernel32.dll", "ntdll.dll", "msvcrt.dll", "user32.dll", "gdi32.dll", "advapi32.dll", "psapi.dll",
               "shell32.dll", "ole32.dll"}
SYSTEM_SHARED = re.compile(r"(libc|libm|libstdc\+\+|libgcc_s|ld-linux-x86-64)\.so(\.\d+)+$")
MARK = r'(?:__attribute__\s*\(\(visibility\s*\("default"\)\)\)|__declspec\s*\(dllimport\)|__attribute__\s*\(\(dllimport\)\))'


def run(command, text=None):
    result = subprocess.run(command, input=text, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(command)} failed:\n{result.stderr}")
    return result.stdout


def declarations(compiler):
    """Name -> parameter list of every exported function of the headers that C can read."""
    headers = sorted(p.name for p in (ROOT / "include").glob("*.h"))
    c_headers = [h for h in headers if "class " not in (ROOT / "include" / h).read_text()]
    source = "".join(f'#include "{header}"\n' for header in c_headers)
    text = run([compiler, "-std=c99", "-E", "-P", "-I", str(ROOT / "include"), "-x", "c", "-"], source)
    found = re.findall(MARK + r"[^;(]*?\b(V_\w+)\s*\(([^;]*)\)\s*;", text)
    if not found:
        sys.exit("no exported declarations found in include/")
    return dict(found)


def elf_facts(nm, objdump, library):
    names = {line.split()[-1] for line in run([nm, "-D", "--defined-only", library]).splitlines() if line.strip()}
    needed = re.findall(r"^\s*NEEDED\s+(\S+)", run([objdump, "-p", library]), re.M)
    return names, [n for n in needed if not SYSTEM_SHARED.match(n)]


def pe_facts(objdump, library):
    text = run([objdump, "-p", library])
    table = text.split("[Ordinal/Name Pointer] Table", 1)[-1].split("\n\n", 1)[0]
    names = set(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\S+)$", table, re.M))
    needed = re.findall(r"DLL Name:\s*(\S+)", text)
    return names, [n for n in needed if n.lower() not in SYSTEM_DLLS]


def check_library(declared, options):
    if options.library.endswith(".dll"):
        names, foreign = pe_facts(options.objdump, options.library)
    else:
        names, foreign = elf_facts(options.nm, options.objdump, options.library)
    problems = [f"declared but not exported: {n}" for n in sorted(declared - names)]
    problems += [f"exported but not declared: {n}" for n in sorted(names - declared)]
    problems += [f"needs a library that is not the system's: {n}" for n in foreign]
    print(f"{options.library}: {len(names)} names exported, {len(declared)} declared")
    return problems


def check_mentions(names, paths, what):
    words = set()
    for path in paths:
        words |= set(re.findall(r"\bV_\w+", pathlib.Path(path).read_text()))
    print(f"{paths[0]}: {len(names & words)} of {len(names)} {what} named")
    return [f"{paths[0]} does not name {n}" for n in sorted(names - words)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--nm")
    parser.add_argument("--objdump")
    parser.add_argument("--library")
    parser.add_argument("--document")
    parser.add_argument("--record-test", nargs="+")
    options = parser.parse_args()

    functions = declarations(options.compiler)
    problems = []
    if options.library:
        problems += check_library(set(functions), options)
    if options.document:
        problems += check_mentions(set(functions), [options.document], "functions")
    if options.record_test:
        takers = {name for name, parameters in functions.items() if re.search(r"\bBITMAPHANDLE\s*\*", parameters)}
        problems += check_mentions(takers, options.record_test, "functions that take a record")
    for problem in problems:
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
