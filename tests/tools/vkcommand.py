"""Runs the vk command for its tests."""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

options = argparse.Namespace()


def vk(*arguments, given=b""):
    """Runs the command. Of some ten thousand starts under Wine one ended with code 1 and not a word, which no path of the
    command gives: that is told, with the room that the disk has, and the start repeated once."""
    done = start(arguments, given)
    if os.environ.get("WINEPREFIX") and (done.returncode, done.stdout, done.stderr) == (1, b"", b""):
        print("ended without a word:", *arguments, "; bytes of disk:", shutil.disk_usage(tempfile.gettempdir()).free,
              file=sys.stderr)
        done = start(arguments, given)
    return done


def start(arguments, given):
    """What it prints goes to files: Wine's server inherits pipes and keeps them open for seconds."""
    environment = dict(os.environ, LC_ALL="C.UTF-8")
    with tempfile.TemporaryFile() as input_, tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
        input_.write(given)
        input_.seek(0)
        done = subprocess.run(options.command + [str(a) for a in arguments], env=environment, stdin=input_, stdout=output,
                              stderr=errors, timeout=600, check=False)
        for file in (output, errors):
            file.seek(0)
        return subprocess.CompletedProcess(done.args, done.returncode, output.read(), errors.read())


def formats():
    return vk("--version").stdout.decode().split("reads ")[1].split(";")[0].split(", ")


def by_system():
    """Whether the system's own codecs do formats: they leave some things out that libraries do."""
    return b"imaging component" in vk("--version").stdout


class VkTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name, data=None):
        path = os.path.join(self.folder, name)
        if data is not None:
            with open(path, "wb") as file:
                file.write(data)
        return path

    def hold(self, source, kind, output, *more):
        """Holds a picture and gives the report and the file written."""
        done = vk("hold", source, "--as", kind, "-o", output, "--json", *more)
        self.assertEqual((done.returncode, done.stderr), (0, b""), (source, kind))
        with open(output, "rb") as file:
            return json.loads(done.stdout), file.read()

    def fails(self, code, message, *arguments, given=b""):
        done = vk(*arguments, given=given)
        self.assertEqual(done.returncode, code, (arguments, done))
        self.assertIn(message, done.stderr.decode(), arguments)
        self.assertEqual(done.stdout, b"", arguments)


class GrayTest(VkTest):
    """What the command makes of small gray pictures, as lists of levels. ROWS is the one it is given."""

    ROWS = []

    def pgm(self, name, rows):
        header = f"P5\n{len(rows[0])} {len(rows)}\n255\n".encode()
        return self.path(name, header + b"".join(bytes(row) for row in rows))

    def levels(self, path):
        with open(path, "rb") as file:
            kind, size, _, pixels = file.read().split(b"\n", 3)
        self.assertEqual(kind, b"P5")
        width = int(size.split()[0])
        return [list(pixels[i:i + width]) for i in range(0, len(pixels), width)]

    def run_vk(self, *arguments):
        done = vk(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, b""), arguments)

    def made(self, *arguments, rows=None):
        out = self.path("out.pgm")
        self.run_vk(arguments[0], self.pgm("in.pgm", rows or self.ROWS), out, *arguments[1:])
        return self.levels(out)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vk", required=True)
    parser.add_argument("--runner", default="", help="program that runs the command, such as wine.sh")
    parser.add_argument("--samples", required=True)
    parser.add_argument("--slow", action="store_true", help="try fewer of what is alike: starting the command takes long")
    parser.add_argument("rest", nargs="*")
    parser.parse_args(namespace=options)
    options.command = ([options.runner] if options.runner else []) + [options.vk]
    unittest.main(argv=[sys.argv[0]] + options.rest)
