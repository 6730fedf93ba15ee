#!/usr/bin/env python3
"""Holds the manual pages and the bash completion against the help of the vk command: every command has a page with all of
its options, and completes them. vk_manual_test.py VK FOLDER."""
import pathlib
import re
import subprocess
import sys
import unittest

VK, FOLDER = sys.argv[1], pathlib.Path(sys.argv[2])


def said(*words):
    return subprocess.run([VK, *words], check=True, capture_output=True, text=True).stdout


def options(text):
    return set(re.findall(r"(?m)^  (--?[a-z][\w-]*)", text))


COMMANDS = re.findall(r"(?m)^  ([a-z]\S*)", said("--help").split("Commands:")[1].split("Options:")[0])


def completed(*words):
    """What the completion offers for the last of the words."""
    line = " ".join(f"'{word}'" for word in ("vk", *words))
    script = f"""source '{FOLDER}/completion/vk'; COMP_WORDS=({line}); COMP_CWORD={len(words)}; _vk
        printf '%s\\n' "${{COMPREPLY[@]}}" """
    done = subprocess.run(["bash", "--norc", "-ec", script], check=True, capture_output=True, text=True)
    return set(done.stdout.split())


class ManualTest(unittest.TestCase):
    def test_each_command_has_a_page_with_its_options(self):
        self.assertEqual({page.stem for page in (FOLDER / "man1").iterdir()}, {"vk"} | {f"vk-{c}" for c in COMMANDS})
        for words, page in [((), "vk")] + [((command,), f"vk-{command}") for command in COMMANDS]:
            text = (FOLDER / "man1" / f"{page}.1").read_text()
            tagged = set(re.findall(r"(?m)^\.TP\n\\fB(\\-\S+?)\\fR", text))
            self.assertEqual({tag.replace("\\", "") for tag in tagged}, options(said(*words, "--help")), page)
        main = (FOLDER / "man1" / "vk.1").read_text()
        for command in COMMANDS:
            self.assertIn(f"\\fBvk\\-{command}\\fR(1)", main)


class CompletionTest(unittest.TestCase):
    def test_each_command_completes_its_options(self):
        for command in COMMANDS:
            self.assertEqual(completed(command, "--"), {o for o in options(said(command, "--help")) if o[:2] == "--"}, command)

    def test_words_by_their_place(self):
        self.assertLessEqual(set(COMMANDS), completed(""))
        for words, wanted in (
            (("res",), {"resize"}),
            (("--workers", "2", "info", "--js"), {"--json"}),
            (("rotate", "in.png", "out.png", "--filter", "b"), {"bilinear", "bicubic"}),
            (("convert", "--palette", ""), {"fixed", "gray", "cube", "optimized"}),
            (("fill", "--pattern", "resi"), set()),  # a file's name
            (("batch", "in", "-o", "out", "conv"), {"convert"}),
            (("batch", "in", "-o", "out", "resize", "--size", "9x9", "--filter", "are"), {"area"}),
            (("batch", "in", "-o", "out", "crop", "--r"), {"--rect"}),
        ):
            self.assertEqual(completed(*words), wanted, words)


unittest.main(argv=sys.argv[:1])
