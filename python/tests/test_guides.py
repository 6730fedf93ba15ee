"""The programs and commands of the guides, run as they stand."""
import pathlib
import re
import shutil
import subprocess
import sys

import pytest
from vkkrnx.cluster.__main__ import main

ROOT = pathlib.Path(__file__).resolve().parents[2]


def blocks(guide, language):
    text = (ROOT / "docs" / guide).read_text(encoding="utf-8")
    return re.findall(rf"^```{language}\n(.*?)^```$", text, re.M | re.S)


@pytest.fixture(name="place")
def pictures(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    shutil.copy(ROOT / "samples" / "astronaut.png", ".")
    pathlib.Path("photos").mkdir()
    for name in ("astronaut.png", "rocket.jpg"):
        shutil.copy(ROOT / "samples" / name, "photos")
    pathlib.Path("large.ppm").write_bytes(b"P6 300 400 255\n" + bytes(range(250)) * 1440)
    return tmp_path


def run(words):
    done = subprocess.run(words, capture_output=True, text=True, timeout=120, check=False)
    assert (done.returncode, done.stderr) == (0, ""), done
    return done.stdout


def test_python_guide(place):
    program = "\n".join(blocks("python.md", "python"))
    (place / "program.py").write_text(program, encoding="utf-8")
    assert run([sys.executable, "program.py"]) == "(0, 0, 0) None MEMORY\n"
    assert (place / "small.png").exists()


def test_cluster_guide(place):
    for line in "".join(blocks("cluster.md", "sh")).splitlines():
        words = line.split()
        assert words[:3] == ["python3", "-m", "vkkrnx.cluster"] and main(words[3:]) == 0
    (program,) = blocks("cluster.md", "python")
    (place / "program.py").write_text(program, encoding="utf-8")
    assert run([sys.executable, "program.py"]) == "2 {}\n"
    made = [sorted(path.name for path in (place / folder).iterdir()) for folder in ("small", "flipped")]
    assert made == [["astronaut.png", "rocket.png"], ["astronaut.png", "rocket.jpg"]]
    assert (place / "result.ppm").read_bytes().startswith(b"P6\n450 600\n")
    assert (place / "half.ppm").read_bytes().startswith(b"P6\n150 200\n")
