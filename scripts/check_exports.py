#!/usr/bin/env python3
"""Checks what the library exports and needs against its public headers.

The declarations are taken from the headers as the target's own compiler preprocesses them, so that each platform is held
to its own set of names. Four checks, each run when its option is given:
  --library     the library exports every declared function, the members, tables and type information of every declared
                class, and nothing else, and needs system libraries only
  --map         the file is the map of exported names, family by family, that --write-map makes
  --record-test the files name every declared function that takes a bitmap record
  --fault-test  the files have a row for every declared function and class: in its name, and used beside it
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


def has_classes(header):
    return re.search(r"^class V_API ", header.read_text(), re.M) is not None


def declarations(compiler):
    """Name -> parameter list of every exported function of the headers that C can read."""
    headers = sorted(p.name for p in (ROOT / "include").glob("*.h"))
    c_headers = [h for h in headers if not has_classes(ROOT / "include" / h)]
    source = "".join(f'#include "{header}"\n' for header in c_headers)
    text = run([compiler, "-std=c99", "-E", "-P", "-I", str(ROOT / "include"), "-x", "c", "-"], source)
    found = re.findall(MARK + r"[^;(]*?\b(V_\w+)\s*\(([^;]*)\)\s*;", text)
    if not found:
        sys.exit("no exported declarations found in include/")
    return dict(found)


def class_members(compiler):
    """Class -> the names of its member functions, one for every declaration, from the headers that only C++ can read."""
    found = {}
    for header in sorted((ROOT / "include").glob("*.h")):
        if not has_classes(header):
            continue
        text = run([compiler, "-std=c++20", "-E", "-P", "-I", str(ROOT / "include"), "-x", "c++", "-"],
                   f'#include "{header.name}"\n')
        for name, body in re.findall(rf"^class\s+{MARK}\s*(\w+)\s*{{(.*?)^}};", text, re.M | re.S):
            found[name] = re.findall(r"(~?\b\w+|\boperator=)\s*\([^;{}]*\)[\w\s]*;", body)
            if not found[name]:
                sys.exit(f"no members found in class {name}")
    return found


def class_problems(classes, mangled, filter_program):
    """What is wrong with the C++ names of a library."""
    plain = run([filter_program], "\n".join(sorted(mangled)) + "\n").split("\n") if mangled else []
    plain = {name for name in plain if name}
    expected = {f"{kind} for {name}" for name in classes for kind in ("vtable", "typeinfo")}
    problems = [f"declared but not exported: {name}" for name in sorted(expected - plain)]
    expected |= {f"typeinfo name for {name}" for name in classes}  # ELF only
    for name, members in classes.items():
        for member in sorted(set(members)):
            start = f"{name}::{member}("
            exported = {p for p in plain if p.startswith(start)}
            expected |= exported
            if len(exported) != members.count(member):
                problems.append(f"{len(exported)} of {members.count(member)} declared are exported: {name}::{member}")
    return problems + [f"exported but not declared: {name}" for name in sorted(plain - expected)]


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
    mangled = {n for n in names if n.startswith("_Z")}
    names -= mangled
    classes = class_members(options.compiler)
    problems = class_problems(classes, mangled, options.filt)
    problems += [f"declared but not exported: {n}" for n in sorted(declared - names)]
    problems += [f"exported but not declared: {n}" for n in sorted(names - declared)]
    problems += [f"needs a library that is not the system's: {n}" for n in foreign]
    print(f"{options.library}: {len(names)} names exported, {len(declared)} declared; {len(classes)} classes with "
          f"{len(mangled)} names")
    return problems


def export_map(names):
    """The map of exported names: a row for each file of the kernel that defines some."""
    places = {}
    for source in sorted((ROOT / "kernel").rglob("*.cpp")):
        defined = re.findall(r"^[A-Za-z][\w* ]*?\b(V_[A-Z]\w*)\([^;{]*?\) noexcept\s*\{", source.read_text(), re.M | re.S)
        for name in defined:
            places[name] = source.relative_to(ROOT).as_posix()
    rows = {}
    for name in sorted(set(names) | set(places)):
        rows.setdefault(places.get(name, "nowhere"), []).append(f"`{name}`")
    return ("# Where each exported function lives\n\nMade by `scripts/check_exports.py --write-map`; a test compares it with the "
            "sources. `V_Global...` and `V_DeletePalette`\nexist off Windows only, where the system does not have them. The classes "
            "of `Vkthreading.h` are in `kernel/threading/`, that of\n`Vkdllloader.h` in `kernel/system/`. The classes of `Vkkrnx.hpp` are "
            "not exported.\n\n| file | functions |\n|---|---|\n"
            + "".join(f"| `{place}` | {', '.join(found)} |\n" for place, found in sorted(rows.items())))


def check_map(names, path):
    if pathlib.Path(path).read_text() == export_map(names):
        return []
    return [f"{path} is not what --write-map makes"]


def check_mentions(names, paths, what):
    words = set()
    for path in paths:
        words |= set(re.findall(r"\bV_\w+", pathlib.Path(path).read_text()))
    print(f"{paths[0]}: {len(names & words)} of {len(names)} {what} named")
    return [f"{paths[0]} does not name {n}" for n in sorted(names - words)]


def check_rows(names, paths):
    """Rows name what they are there for in their first text; code beside the texts has to use it."""
    named, used = set(), set()
    for path in paths:
        text = re.sub(r"//.*", "", pathlib.Path(path).read_text())
        joined = re.sub(r'"\s*\n\s*"', "", text)
        for row in re.findall(r'\{\s*"([^"]*)"', joined):
            named |= set(re.findall(r"\bV\w+", row))
        used |= set(re.findall(r"\b\w+", re.sub(r'"[^"]*"', "", joined)))
    used |= {"V_" + name for name in used if name.startswith("Global")}  # by their names on Windows
    print(f"{len(names & named & used)} of {len(names)} exported names have a row")
    return [f"no row has {n} in its name" for n in sorted(names - named)] + [
        f"the row of {n} does not use it" for n in sorted((names & named) - used)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--nm")
    parser.add_argument("--objdump")
    parser.add_argument("--filt", default="c++filt", help="the program that gives C++ names back")
    parser.add_argument("--library")
    parser.add_argument("--map")
    parser.add_argument("--write-map")
    parser.add_argument("--record-test", nargs="+")
    parser.add_argument("--fault-test", nargs="+")
    options = parser.parse_args()

    functions = declarations(options.compiler)
    problems = []
    if options.library:
        problems += check_library(set(functions), options)
    if options.write_map:
        pathlib.Path(options.write_map).write_text(export_map(functions))
    if options.map:
        problems += check_map(functions, options.map)
    if options.record_test:
        takers = {name for name, parameters in functions.items() if re.search(r"\bBITMAPHANDLE\s*\*", parameters)}
        problems += check_mentions(takers, options.record_test, "functions that take a record")
    if options.fault_test:
        problems += check_rows(set(functions) | set(class_members(options.compiler)), options.fault_test)
    for problem in problems:
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
