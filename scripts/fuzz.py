#!/usr/bin/env python3
"""Runs the fuzz targets in turn, each from the inputs under fuzz/corpus and those found before, and adds hours and
executions to the table in docs/fuzzing.md.

What is found is kept in a directory of its own (VKKRNX_FUZZ_FOUND, or found/ in the build directory), never in
fuzz/corpus. An input that breaks a target is kept beside it, under findings/; the run goes on with the next target and
fails in the end. Hours are of processor time, as other work may share the machine."""
import argparse
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "docs" / "fuzzing.md"
ROW = re.compile(r"^\| `(\w+)` \| ([\d.]+) \| ([\d ]+) \| (\d+) \|$", re.M)
SLICE = 60.0  # seconds that a target runs at once


def environment():
    return dict(os.environ, ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1:detect_stack_use_after_return=1",
                UBSAN_OPTIONS="print_stacktrace=1")


def processor_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def add_to_table(target, seconds, executions, findings):
    """The row of a target, or a new one; rows stand in the order of their names."""
    text = TABLE.read_text()
    rows = {m[1]: [float(m[2]), int(m[3].replace(" ", "")), int(m[4])] for m in ROW.finditer(text)}
    row = rows.setdefault(target, [0.0, 0, 0])
    row[0] += seconds / 3600
    row[1] += executions
    row[2] += findings
    lines = [f"| `{name}` | {hours:.3f} | {count:,} | {found} |".replace(",", " ")
             for name, (hours, count, found) in sorted(rows.items())]
    total = [sum(row[i] for row in rows.values()) for i in range(3)]
    lines.append(f"| all | {total[0]:.3f} | {total[1]:,} | {total[2]} |".replace(",", " "))
    head, _, tail = text.partition("|---|--:|--:|--:|\n")
    rest = re.sub(r"^(\|.*\n)+", "", tail)
    TABLE.write_text(head + "|---|--:|--:|--:|\n" + "\n".join(lines) + "\n" + rest)


def run_target(program, target, found, seconds):
    """Gives the seconds spent, the executions, and whether it held."""
    own = found / target
    findings = found / "findings"
    own.mkdir(parents=True, exist_ok=True)
    findings.mkdir(parents=True, exist_ok=True)
    command = [str(program), f"-max_total_time={max(1, round(seconds))}", "-print_final_stats=1", "-timeout=30",
               "-rss_limit_mb=2048", f"-artifact_prefix={findings}/{target}-", str(own), str(ROOT / "fuzz/corpus" / target)]
    before = processor_seconds()
    with tempfile.TemporaryDirectory() as temporary:
        result = subprocess.run(command, capture_output=True, text=True, errors="replace",
                                env=dict(environment(), TMPDIR=temporary))
    executions = re.search(r"stat::number_of_executed_units:\s+(\d+)", result.stderr)
    counted = re.findall(r"^#(\d+)", result.stderr, re.M)
    done = int(executions[1]) if executions else int(counted[-1]) if counted else 0
    if result.returncode != 0:
        (findings / f"{target}.log").write_text(result.stderr)
        print(f"{target}: a finding, see {findings}/{target}.log", file=sys.stderr, flush=True)
    return processor_seconds() - before, done, result.returncode == 0


def run_all(options, targets, found):
    left = {target: options.hours * 3600 / len(targets) for target in targets}
    failed = set()
    while left:
        for target in list(left):
            seconds, executions, held = run_target(options.build / f"{target}_fuzz", target, found, min(SLICE, left[target]))
            left[target] -= max(seconds, 1.0)
            print(f"{target}: {executions} executions in {seconds:.0f} s", flush=True)
            if not options.no_table:
                add_to_table(target, seconds, executions, 0 if held else 1)
            if not held:
                failed.add(target)
            if left[target] <= 1.0 or not held:
                del left[target]
    return failed


def merge(options, targets, found):
    """The fewest and smallest inputs that reach what all of them reach."""
    for target in targets:
        source = [str(path) for path in (found / target, ROOT / "fuzz/corpus" / target) if path.is_dir()]
        made = options.merge / target if options.merge else found / (target + ".merged")
        shutil.rmtree(made, ignore_errors=True)
        made.mkdir(parents=True)
        subprocess.run([str(options.build / f"{target}_fuzz"), "-merge=1", f"-max_len={options.max_len}", str(made),
                        *source], check=True, capture_output=True, env=environment())
        print(f"{target}: {len(list(made.iterdir()))} inputs", flush=True)
        if not options.merge:
            shutil.rmtree(found / target, ignore_errors=True)
            made.rename(found / target)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("hours", nargs="?", type=float, help="hours of processor time for all targets together")
    parser.add_argument("targets", nargs="*", help="targets by their names (default: all)")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/fuzz")
    parser.add_argument("--merge", nargs="?", const=None, default=False, type=pathlib.Path, metavar="DIR",
                        help="boil down what was found and the corpus, in place or into DIR, in place of running")
    parser.add_argument("--max-len", type=int, default=4096, help="bytes of the largest input that --merge keeps")
    parser.add_argument("--no-table", action="store_true", help="leave docs/fuzzing.md alone")
    options = parser.parse_args()

    options.build = options.build.resolve()
    all_targets = sorted(path.name[:-len("_fuzz")] for path in options.build.glob("*_fuzz") if path.is_file())
    targets = options.targets or all_targets
    unknown = set(targets) - set(all_targets)
    if unknown or not targets:
        sys.exit(f"no such target: {', '.join(sorted(unknown))}" if unknown else "no targets are built")
    found = pathlib.Path(os.environ.get("VKKRNX_FUZZ_FOUND", options.build / "found")).resolve()
    if options.merge is not False:
        return merge(options, targets, found)
    if not options.hours or options.hours <= 0:
        sys.exit("say for how many hours")
    failed = run_all(options, targets, found)
    if failed:
        sys.exit("findings: " + ", ".join(sorted(failed)))


if __name__ == "__main__":
    main()
