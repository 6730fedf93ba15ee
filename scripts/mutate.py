#!/usr/bin/env python3
"""Finds out what the tests notice: changes the library's code in small ways, one at a time, and runs the tests.

  mutate.py [--seed N] [--count N] PATH...          of files, or of a sample from folders (kernel/resize, kernel)
  mutate.py [--seed N] [--count N] --change [REV]   of the lines that differ from REV (HEAD)

Nothing in the source tree or in a build is touched: a changed file is compiled aside, with the command that the build
(--build, build/native) has for it, and linked with copies of the build's objects. The tests of the file's own folder run
first, then the whole of vk_tests, then vk_abi_tests with a changed library. A mutant is caught when any of them fails,
ends by a signal, takes far too long or far too much memory. One that the compiler turns into the same code is no mutant.

Left out are headers, platform/win32 and files for wider vectors. scripts/mutants.txt lists the equivalent ones: those
that change the code and not what it does, each with the reason. What survives and is not listed there makes the result
1, and is the last that is printed.
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
LISTED = ROOT / "scripts" / "mutants.txt"
MOST_MEMORY = 6 << 30
SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "), (" != ", " == "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), (" * ", " / "), (" / ", " * "),
         (" % ", " / "), (" & ", " | "), (" | ", " & "), (" ^ ", " | "), (" << ", " >> "), (" >> ", " << "),
         (" += ", " -= "), (" -= ", " += "), (" |= ", " &= "), (" &= ", " |= "), ("++", "--"), ("std::min", "std::max"),
         ("std::max", "std::min"), ("true", "false"), ("false", "true"), ("break;", ";"), ("continue;", ";")]
NOT_CODE = re.compile(r"\s*(#|//|static_assert|using |template|namespace|friend |typedef )")
STATEMENT = re.compile(r"\s*[a-z_][\w.:>\[\]-]*(\(| [+|&^-]?= |\+\+|--).*;$")
DECLARES = re.compile(r"\s*(return|const|constexpr|auto|static|delete|case|default|goto)\b|\s*[\w:<>, ]+[&*]? \w+( = |\(|\{).*;$")


def code_of(line):
    """The line with comments and texts blanked out, so that columns stay."""
    blank = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])*\'', lambda found: " " * len(found[0]), line)
    return re.sub(r"//.*", lambda found: " " * len(found[0]), blank)


def mutants_of_line(line, before):
    """What a line may become."""
    code = code_of(line)
    if NOT_CODE.match(code):
        return
    for old, new in SWAPS:
        at = code.find(old)
        while at >= 0:
            yield line[:at] + new + line[at + len(old):]
            at = code.find(old, at + len(old))
    for number in re.finditer(r"(?<![\w.'])\d+(?=[uUlL]*\b)(?![\w]*[.'xXbB])", code):
        value = int(number[0])
        for other in (value + 1, value - 1)[:2 if value else 1]:
            yield line[:number.start()] + str(other) + line[number.end():]
    if condition := re.match(r"(\s*(?:} else )?if \()([^;]*)(\)(?: \{)?\s*)$", code.rstrip()):
        yield line[:condition.end(1)] + "!(" + line[condition.start(2):condition.end(2)] + ")" + line[condition.start(3):]
    if failure := re.search(r"return (?:V_ERROR_\w+|ERROR_\w+|Status::(?!ok)\w+);", code):
        good = "return Status::ok;" if "Status" in failure[0] else "return V_SUCCESS;"
        yield line[:failure.start()] + good + line[failure.end():]
    whole = before.rstrip().endswith((";", "{", "}", ")", "else", ":")) and code.count("(") == code.count(")")
    if whole and STATEMENT.match(code.rstrip()) and not DECLARES.match(code.rstrip()):
        yield re.match(r"\s*", line)[0] + ";"


class Mutant:
    def __init__(self, path, number, old, new):
        self.path, self.number, self.old, self.new = path, number, old, new

    def __str__(self):
        return f"{self.path}:{self.number}: {self.old.strip()}  ->  {self.new.strip()}"

    def key(self):
        return self.path, self.old.strip(), self.new.strip()


def mutants_of(path, only_lines=None):
    text = (ROOT / path).read_text(encoding="utf-8")
    if re.search(r'_avx(2|512)\.cpp$', path) or re.search(r'#include [<"](immintrin\.h|simd/(?!Level\.h))', text):
        return []
    lines = text.split("\n")
    return [Mutant(path, at + 1, line, new) for at, line in enumerate(lines) if not only_lines or at + 1 in only_lines
            for new in mutants_of_line(line, lines[at - 1] if at else "{")]


def changed_lines(revision):
    """path -> numbers of the lines that differ from a revision."""
    text = subprocess.run(["git", "diff", "-U0", revision, "--", "kernel", "platform"], cwd=ROOT, capture_output=True,
                          text=True, check=True).stdout
    found, path = {}, None
    for line in text.splitlines():
        if line.startswith("+++ "):
            path = line[6:]
        elif range_ := re.match(r"@@ \S+ \+(\d+)(?:,(\d+))?", line):
            first, count = int(range_[1]), int(range_[2] or 1)
            found.setdefault(path, set()).update(range(first, first + count))
    return found


def candidates(options):
    if options.change:
        wanted = changed_lines(options.change)
    else:
        wanted = {}
        for name in options.paths:
            place = (ROOT / name).resolve()
            for file in [place] if place.is_file() else sorted(place.rglob("*.cpp")):
                wanted[file.relative_to(ROOT).as_posix()] = None
    code = re.compile(r"(kernel|platform/posix)/.*\.cpp$|platform/\w+\.cpp$")
    return [mutant for path, lines in sorted(wanted.items()) if code.match(path) for mutant in mutants_of(path, lines)]


def listed():
    entries = {}
    for line in LISTED.read_text(encoding="utf-8").splitlines() if LISTED.exists() else []:
        if line and not line.startswith("#"):
            path, old, new, reason = (part.strip() for part in line.split(" ## "))
            entries[path, old, new] = reason
    return entries


class Build:
    """Copies of a build's objects, and what is done to make its programs."""

    def __init__(self, build, home):
        subprocess.run(["cmake", "--build", str(build), "--target", "vk_tests", "vk_abi_tests", "--", "--quiet"], check=True)
        self.build, self.home = build, home
        entries = json.loads((build / "compile_commands.json").read_text())
        self.commands = {str(pathlib.Path(e["file"]).relative_to(ROOT)): shlex.split(e["command"]) for e in entries
                         if pathlib.Path(e["file"]).is_relative_to(ROOT)}
        self.links = {name: self.link_command(name) for name in ("vk_tests", "libVkkrnx.so")}
        self.abi_tests, self.tests = home / "vk_abi_tests", home / "vk_tests"
        for file in [build / "vk_abi_tests", build / "vk_tests", *build.glob("*.so")]:
            shutil.copy2(file, home)
        self.failing = set()
        self.base = {}
        self.lock = threading.Lock()

    def link_command(self, target):
        said = subprocess.run(["ninja", "-C", str(self.build), "-t", "commands", target], capture_output=True, text=True,
                              check=True).stdout.splitlines()
        wanted = "libVkkrnx.so.1" if target.endswith(".so") else target
        line = [line for line in said if re.search(rf" -o {re.escape(wanted)}[\d.]* ", line)][-1]
        command = [part for part in line.split("&&") if " -o " in part][0]
        words = shlex.split(command)
        for word in words:
            source = self.build / word
            if re.search(r"\.(o|a)$", word) and not os.path.isabs(word) and not (self.home / word).exists():
                (self.home / word).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(source, self.home / word)
        return words

    def compile(self, path, text, folder):
        """The object of a file with another text; None when it does not compile."""
        source = folder / pathlib.Path(path).name
        source.write_text(text, encoding="utf-8")
        command = list(self.commands[path])
        made = folder / "made.o"
        command[command.index("-o") + 1] = str(made)
        command[command.index("-c") + 1] = str(source)
        command += ["-O2", "-g0", "-w", "-Wno-error", "-iquote", str((ROOT / path).parent)]
        done = subprocess.run(command, cwd=self.build, capture_output=True, timeout=600)
        return made if done.returncode == 0 else None

    def base_object(self, path, folder):
        with self.lock:
            if path not in self.base:
                made = self.compile(path, (ROOT / path).read_text(encoding="utf-8"), folder)
                if made is None:
                    sys.exit(f"{path} does not compile")
                self.base[path] = made.read_bytes()
            return self.base[path]

    def is_news(self, noticed, program, folder, seconds):
        """Whether a test that failed passes with nothing changed; one that does not is left out from then on."""
        if "." not in noticed:
            return True
        if noticed not in self.failing and run_tests([program, "--gtest_filter=" + noticed], folder, seconds) is None:
            return True
        print(f"           {noticed} fails whatever is changed")
        self.failing.add(noticed)
        return False

    def link(self, target, path, made, folder):
        place = self.commands[path][self.commands[path].index("-o") + 1]
        words = [str(made) if word == place else word for word in self.links[target]]
        if str(made) not in words:
            return None
        output = folder / target
        words[words.index("-o") + 1] = str(output)
        done = subprocess.run(words, cwd=self.home, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"linking {target} failed:\n{done.stderr}")
        return output


def resident(process):
    try:
        return int(pathlib.Path(f"/proc/{process.pid}/statm").read_text().split()[1]) * resource.getpagesize()
    except (OSError, IndexError):
        return 0


def run_tests(command, folder, seconds, library=None):
    """None when the tests pass, or what was noticed."""
    scratch = pathlib.Path(tempfile.mkdtemp(dir=folder))
    environment = dict(os.environ, GTEST_BRIEF="1", GTEST_FAIL_FAST="1", TMPDIR=str(scratch))
    if library:
        environment["LD_PRELOAD"] = str(library)
    log = folder / "log"
    with open(log, "wb") as output:
        process = subprocess.Popen(command, cwd=scratch, env=environment, stdin=subprocess.DEVNULL, stdout=output,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        end = time.monotonic() + seconds
        noticed = None
        while process.poll() is None and noticed is None:
            time.sleep(0.05)
            if time.monotonic() > end:
                noticed = "takes too long"
            elif resident(process) > MOST_MEMORY:
                noticed = "takes too much memory"
        if noticed:
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
    shutil.rmtree(scratch, ignore_errors=True)
    if noticed is None and process.returncode != 0:
        failed = re.findall(rb"\[  FAILED  \] (\w+\.\w+)", log.read_bytes())
        noticed = failed[0].decode() if failed else f"ends with {process.returncode}"
    return noticed


def suites_of(path):
    """A filter for the tests of a file's folder."""
    folder = ROOT / "tests" / (path.split("/")[1] if path.startswith("kernel/") else "platform")
    names = {name for file in folder.glob("*.cpp")
             for name in re.findall(r"^TEST(?:_F|_P)?\((\w+),", file.read_text(encoding="utf-8"), re.M)}
    return ":".join(f"{name}.*" for name in sorted(names))


def find_failure(build, command, unchanged, tests, folder, seconds, library=None):
    """The first failure that the change makes, or None."""
    while True:
        left_out = ":".join(sorted(build.failing))
        filter_ = tests + ((":" if "-" in tests else "-") + left_out if left_out else "")
        noticed = run_tests(command + ["--gtest_filter=" + filter_], folder, seconds, library)
        if noticed is None or build.is_news(noticed, unchanged, folder, seconds):
            return noticed


def try_mutant(build, mutant, seconds):
    """(what became of it, how it was noticed)"""
    folder = pathlib.Path(tempfile.mkdtemp(dir=build.home))
    try:
        base = build.base_object(mutant.path, folder)
        lines = (ROOT / mutant.path).read_text(encoding="utf-8").split("\n")
        if lines[mutant.number - 1] != mutant.old:
            return "gone", "the source has changed"
        lines[mutant.number - 1] = mutant.new
        made = build.compile(mutant.path, "\n".join(lines), folder)
        if made is None:
            return "none", "does not compile"
        if made.read_bytes() == base:
            return "none", "is the same code"
        program = build.link("vk_tests", mutant.path, made, folder)
        if program:
            for module in build.home.glob("*.so"):
                if not (folder / module.name).exists():
                    shutil.copy2(module, folder)
            own = suites_of(mutant.path)
            for tests in ([own] if own else []) + ["*-" + own]:
                if noticed := find_failure(build, [program], build.tests, tests, folder, seconds):
                    return "caught", noticed
        if library := build.link("libVkkrnx.so", mutant.path, made, folder):
            if noticed := find_failure(build, [build.abi_tests], build.abi_tests, "*-", folder, seconds, library):
                return "caught", noticed
        return "survived", ""
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def time_of_tests(build):
    """Of the programs as they are, which have to pass."""
    folder = pathlib.Path(tempfile.mkdtemp(dir=build.home))
    start = time.monotonic()
    for program in (build.tests, build.abi_tests):
        if noticed := run_tests([program], folder, 7200):
            sys.exit(f"{program.name} fails as it is: {noticed}")
    return time.monotonic() - start


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", metavar="PATH")
    parser.add_argument("--change", nargs="?", const="HEAD", metavar="REV")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=50, help="mutants that are tried; those that are none do not count")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/native")
    parser.add_argument("--seconds", type=float, help="after which tests take too long; worked out by running them")
    parser.add_argument("--list", action="store_true", help="only say what would be tried")
    options = parser.parse_args()
    if bool(options.paths) == bool(options.change):
        parser.error("either paths or --change")

    signal.signal(signal.SIGTERM, signal.default_int_handler)
    found = candidates(options)
    random.Random(options.seed).shuffle(found)
    if options.list:
        print(*found[:options.count], sep="\n")
        return 0
    known = listed()
    home = pathlib.Path(tempfile.mkdtemp(prefix="mutants", dir=options.build.resolve().parent))
    counts = {"caught": 0, "survived": 0, "equivalent": 0, "none": 0, "gone": 0}
    survivors = []
    try:
        build = Build(options.build.resolve(), home)
        seconds = options.seconds or 60 + 6 * time_of_tests(build)
        waiting = iter(found)
        guard = threading.Lock()

        def work():
            while True:
                with guard:
                    tried = counts["caught"] + counts["survived"] + counts["equivalent"]
                    mutant = next(waiting, None) if tried < options.count else None
                if mutant is None:
                    return
                if mutant.key() in known:
                    result, noticed = "equivalent", known[mutant.key()]
                else:
                    result, noticed = try_mutant(build, mutant, seconds)
                with guard:
                    counts[result] += 1
                    if result == "survived":
                        survivors.append(mutant)
                    if result != "none":
                        print(f"{result:10} {mutant}  [{noticed}]", flush=True)

        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            workers = [pool.submit(work) for _ in range(options.jobs)]
            try:
                for worker in workers:
                    worker.result()
            except KeyboardInterrupt:
                print("interrupted: finishing the mutants in hand", flush=True)
                options.count = 0
    finally:
        shutil.rmtree(home, ignore_errors=True)
    judged = counts["caught"] + counts["survived"]
    print(f"\n{judged} mutants, {counts['caught']} caught ({100 * counts['caught'] / max(judged, 1):.1f} %), "
          f"{counts['equivalent']} listed as equivalent; {counts['none']} more that are none")
    if survivors:
        print("survived:", *sorted(map(str, survivors)), sep="\n")
    return 1 if survivors else 0


if __name__ == "__main__":
    sys.exit(main())
