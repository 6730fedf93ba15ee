#!/usr/bin/env python3
"""Compiles and runs the code of the guides (docs/guide/*.md, docs/cpp.md) and gathers the pictures it makes:
guides.py --vk VK --library FOLDER OUT. Pictures go to OUT/pictures, as PNG.

A guide is one program: its ```c (or ```cpp) blocks in their order, put into main() unless they begin with a preprocessor
line or with "/* file scope */". A block that begins with "/* NAME.h */" is a header for all guides. What the program
prints has to be what the guide's ```text blocks say, and the pictures it saves those that the guide shows."""
import argparse
import dataclasses
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLES = {"astronaut": "astronaut.png", "rocket": "rocket.jpg", "page": "page.png"}
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
COMPILERS = {"c": ["cc", "-std=c99"], "cpp": ["c++", "-std=c++20"]}


@dataclasses.dataclass
class Block:
    language: str
    line: int
    text: str


def blocks_of(path):
    blocks, block = [], None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if block is None and (fence := re.fullmatch(r"```(\w+)", line)):
            block = Block(fence[1], number + 1, "")
        elif line == "```":
            if block:
                blocks.append(block)
            block = None
        elif block:
            block.text += line + "\n"
    return blocks


def header_name(block):
    match = re.match(r"/\* (\w+\.h) \*/\n", block.text)
    return match[1] if match else None


class Guide:
    def __init__(self, path):
        self.path = path
        blocks = blocks_of(path)
        self.headers = {header_name(b): b for b in blocks if header_name(b)}
        self.code = [b for b in blocks if b.language in COMPILERS and not header_name(b)]
        self.printed = "".join(b.text for b in blocks if b.language == "text")
        self.shown = set(re.findall(r"!\[[^\]]*\]\(pictures/([\w-]+)\.png\)", path.read_text(encoding="utf-8")))

    def program(self):
        def lines(block):
            return f'#line {block.line} "{self.path}"\n{block.text}'

        outer = [b for b in self.code if re.match(r"#|/\* file scope \*/", b.text)]
        inner = [b for b in self.code if b not in outer]
        return '#include "pictures.h"\n' + "".join(map(lines, outer)) + "int main(void)\n{\n" + "".join(map(lines, inner)) + "return 0;\n}\n"

    def run(self, folder, library):
        """Gives what is wrong, or nothing."""
        language = "cpp" if any(b.language == "cpp" for b in self.code) else "c"
        source, program = folder / f"{self.path.stem}.{language}", folder / self.path.stem
        source.write_text(self.program(), encoding="utf-8")
        build = [*COMPILERS[language], *WARNINGS, f"-I{folder}", f"-I{ROOT / 'include'}", str(source), "-o", str(program),
                 f"-L{library}", "-lVkkrnx", f"-Wl,-rpath,{library}"]
        compiled = subprocess.run(build, capture_output=True, text=True)
        if compiled.returncode:
            return compiled.stderr
        done = subprocess.run([program], cwd=folder, capture_output=True, text=True, timeout=60)
        if done.returncode:
            return f"ended with {done.returncode}: {done.stderr}"
        if done.stdout != self.printed:
            return f"prints\n{done.stdout}and is said to print\n{self.printed}"
        return ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vk", required=True, type=pathlib.Path)
    parser.add_argument("--library", required=True, type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    arguments = parser.parse_args()
    vk, library, out = arguments.vk.resolve(), arguments.library.resolve(), arguments.out.resolve()
    pictures = out / "pictures"
    pictures.mkdir(parents=True, exist_ok=True)
    for old in [*out.glob("*.bmp"), *pictures.glob("*.png")]:
        old.unlink()
    for name, file in SAMPLES.items():
        subprocess.run([vk, "hold", ROOT / "samples" / file, "-o", out / f"{name}.bmp"], check=True, stdout=subprocess.DEVNULL)

    guides = [Guide(path) for path in [*sorted((ROOT / "docs/guide").glob("*.md")), ROOT / "docs/cpp.md"]]
    for guide in guides:
        for name, block in guide.headers.items():
            (out / name).write_text(block.text, encoding="utf-8")
    wrong, there = 0, {f"{name}.bmp" for name in SAMPLES}
    for guide in (guide for guide in guides if guide.code):
        problem = guide.run(out, library)
        saved = {path.name for path in out.glob("*.bmp")} - there
        there |= saved
        if not problem and (differs := {name.removesuffix(".bmp") for name in saved} ^ guide.shown):
            problem = "either saved or shown, not both: " + ", ".join(sorted(differs))
        if problem:
            wrong += 1
            print(f"{guide.path.name}: {problem}", file=sys.stderr)
    for name in sorted(there - {f"{name}.bmp" for name in SAMPLES}):
        subprocess.run([vk, "hold", out / name, "-o", (pictures / name).with_suffix(".png")], check=True, stdout=subprocess.DEVNULL)
    print(f"{len(guides)} guides, {len(there) - len(SAMPLES)} pictures")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
