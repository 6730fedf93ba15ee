"""Bands beside whole pictures, byte by byte, and folders and pictures on workers of which some die."""
import os
import pathlib
import signal
import subprocess
import sys

import numpy as np
import pytest
from vkkrnx import Bitmap, Rect
from vkkrnx._stream import needed_rows, resized_part
from vkkrnx.cluster import UsageError, connected, run_folder, run_picture
from vkkrnx.cluster.__main__ import main
from vkkrnx.cluster._pnm import PnmSource, encode, header
from vkkrnx.cluster._stages import cut, make_band, make_stages

SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"
VK = os.environ["VKKRNX_VK"]
RANDOM = np.random.default_rng(3)

CHAINS = """
convert --bits 8 --palette gray
convert --bits 4 --palette fixed --dither ordered
convert --bits 1 --palette gray --dither clustered flip
convert --bits 8 --palette cube --dither none resize --scale 130 --filter bicubic
convert --bits 48 resize --size 31x57 --filter sharp
convert --bits 16 --order gray window --center 30000 --width 20000
resize --size 40x23
resize --size x29 --filter nearest
resize --size 200x170 --filter area
resize --size 91x --filter bicubic
resize --size 30x200 --filter bicubic
resize --scale 240 --filter sharp
resize --scale 4 --filter sharp
flip mirror
rotate --angle 180 crop --rect 5,9,40,30
crop --rect -5,20,50,500 convert --bits 2 --palette gray --dither ordered
extend --by 3,40,5,60 --kind edge
extend --by 3,40,5,60 --fill 336699 mirror
extend --by 9,0,2,0 --kind wrap flip
fill --color 102030 --rect 10,10,30,50 resize --size 60x60
resize --size 300x200 flip resize --size 70x90 --filter bicubic extend --by 0,5,0,0 convert --bits 1 --palette gray --dither none
"""


def vk(*words):
    done = subprocess.run([VK, *map(str, words)], capture_output=True, text=True, check=False)
    assert done.returncode == 0, (words, done.stderr)


def write_pictures(folder):
    """A picture of each form that PNM has, and one whose samples do not go as far as bytes do."""
    height, width = 77, 61
    y, x = np.mgrid[:height, :width]
    noise = RANDOM.integers(0, 40, (height, width, 3))
    color = (np.stack((x * 3, y * 2, x + y), axis=2) + noise).astype(np.uint8)
    files = {"p6.ppm": b"P6 61 77 255\n" + color.tobytes(), "p5.pgm": b"P5\n# a comment\n61 77\n255\n" + color[..., 0].tobytes(),
             "p4.pbm": b"P4 61 77\n" + np.packbits(color[..., 1] > 100, axis=1).tobytes(),
             "few.pgm": b"P5 61 77 99\n" + (color[..., 2] // 3).tobytes(),
             "deep.pgm": b"P5 61 77 65535\n" + (color[..., 0].astype(int) * 253).astype(">u2").tobytes(),
             "deep.ppm": b"P6 61 77 1000\n" + (color.astype(int) * 3).astype(">u2").tobytes()}
    for name, data in files.items():
        (folder / name).write_bytes(data)
    return list(files)


def whole(folder, name, chain):
    """The file that the command makes of a picture by `chain`."""
    (folder / "one").mkdir(exist_ok=True)
    (folder / "one" / name).write_bytes((folder / name).read_bytes())
    vk("batch", folder / "one", "-o", folder / "done", "--format", "pnm", "--jobs", 1, *chain)
    (folder / "one" / name).unlink()
    return (folder / "done" / name).with_suffix(".pnm").read_bytes()


def test_bands_are_the_whole(tmp_path):
    for name in write_pictures(tmp_path):
        source = PnmSource(tmp_path / name)
        for line in CHAINS.strip().splitlines():
            chain = line.split()
            stages = make_stages(source.form, chain)
            height = stages[-1].form_out.height
            expected = whole(tmp_path, name, chain)
            for rows in (7, 16, 50):
                bands = b"".join(encode(make_band(stages, source.read, at, min(at + rows, height)))
                                 for at in range(0, height, rows))
                assert header(stages[-1].form_out) + bands == expected, (name, line, rows)


def test_needed_rows_are_what_is_read():
    """A part with one row fewer at either end is not enough, unless it ends where the picture does or weighs nothing."""
    picture = Bitmap.from_array(RANDOM.integers(0, 256, (90, 5), np.uint8))
    for kind in ("nearest", "area"):
        for height in (7, 89, 200):
            first, last = height // 3, height // 2
            begin, end = needed_rows(90, height, first, last, kind)
            for at, to in ((begin + 1, end), (begin, end - 1)):
                if at < to:
                    part = picture.copy().crop(Rect(0, at, 5, to))
                    with pytest.raises(LookupError):
                        resized_part(part, at, 90, 5, height, kind, first, last)


REFUSED = ["rotate --angle 30", "rotate --angle 90", "warp --corners 0,0", "trim", "convert --bits 8", "alpha --value 3",
           "convert --bits 8 --palette fixed", "resize --size 5x5 --filter favor-black", "window", "crop", "resize",
           "extend --by 0,1,0,0 --kind wrap", "fill --color 000000 --flood 3,3", "crop --rect 900,0,5,5", "flip --strong",
           "nonsense", "resize --size axb", "resize --filter", "convert --bits 32", "convert --bits 12"]


def test_refusals(tmp_path):
    write_pictures(tmp_path)
    form = PnmSource(tmp_path / "p6.ppm").form
    for line in REFUSED:
        with pytest.raises(ValueError) as refusal:
            header(make_stages(form, line.split())[-1].form_out)
        assert len(str(refusal.value)) > 15, line
    for data in (b"P3 1 1 255 1 1 1", b"P6 10 10 255\n123", b"P5 0 4 255\n", b"P5 4", b"\x89PNG"):
        (tmp_path / "bad.ppm").write_bytes(data)
        with pytest.raises(ValueError):
            PnmSource(tmp_path / "bad.ppm")
    source = PnmSource(tmp_path / "p6.ppm")
    (tmp_path / "p6.ppm").write_bytes(b"P6 61 77 255\n" + bytes(61 * 77 * 3 + 1))
    with pytest.raises(ValueError, match="changed"):
        source.read(0, 1)


def test_bands_fit_their_memory(tmp_path):
    form = PnmSource(tmp_path / write_pictures(tmp_path)[0]).form
    stages = make_stages(form, ["resize", "--size", "5000x9000", "flip"])
    bands = cut(stages, form, 10 << 20)
    assert bands[0][0] == 0 and bands[-1][1] == 9000 and all(a[1] == b[0] for a, b in zip(bands, bands[1:]))
    assert 9000 * 15000 * 6 / (10 << 20) <= len(bands) <= 3 * 9000 * 15000 * 6 / (10 << 20)


@pytest.fixture(scope="module", name="client")
def two_workers():
    with connected(workers=2) as client:
        yield client


def contents(folder):
    return {path.name: path.read_bytes() for path in folder.iterdir()}


def kill_one(client):
    """Kills one of the workers, which are this test's own."""
    pids = client.run(os.getpid)
    os.kill(min(pids.values()), signal.SIGKILL)
    return pids


def test_folder_while_a_worker_dies(tmp_path, client):
    source = tmp_path / "in"
    source.mkdir()
    for i in range(18):
        vk("resize", SAMPLES / "rocket.jpg", source / f"picture {i:02}.ppm", "--size", f"{300 + i}x")
    (source / "notes.txt").write_text("no picture")
    (source / "bad.png").write_text("no picture either")
    chain = "rotate --angle 7 --filter bicubic resize --size 900x --filter sharp convert --bits 8".split()
    killed = []

    def progress(done, total):
        if done == 3:
            killed.extend(kill_one(client).values())

    result = run_folder(source, tmp_path / "out", chain, scheduler=client, extension="png", progress=progress)
    assert killed and list(result.failures) == ["bad.png"] and "not a picture" in result.failures["bad.png"]
    assert result.written == [f"picture {i:02}.png" for i in range(18)]
    (source / "bad.png").unlink()
    vk("batch", source, "-o", tmp_path / "expected", "--format", "png", *chain)
    assert contents(tmp_path / "out") == contents(tmp_path / "expected")
    client.wait_for_workers(2, timeout=30)
    assert set(client.run(os.getpid).values()) != set(killed)  # another took the dead one's place


def test_picture_while_a_worker_dies(tmp_path, client):
    vk("resize", SAMPLES / "astronaut.png", tmp_path / "in.ppm", "--size", "1500x")
    chain = "resize --size 2500x1700 --filter bicubic flip".split()
    killed = []

    def progress(done, total):
        if done == 2:
            killed.append(kill_one(client))

    bands = run_picture(tmp_path / "in.ppm", tmp_path / "out.ppm", chain, scheduler=client, memory=4 << 20, progress=progress)
    assert bands > 8 and killed
    assert (tmp_path / "out.ppm").read_bytes() == whole(tmp_path, "in.ppm", chain)
    (tmp_path / "in.ppm").write_bytes(b"P6 1500 1500 255\n" + bytes(1500 * 1500 * 3))
    before = set(tmp_path.iterdir())

    def spoil(done, total):
        (tmp_path / "in.ppm").write_bytes(b"P6")

    with pytest.raises(RuntimeError, match="rows .* failed: .*changed"):
        run_picture(tmp_path / "in.ppm", tmp_path / "not.ppm", chain, scheduler=client, memory=1 << 20, progress=spoil)
    assert set(tmp_path.iterdir()) == before


def test_commands(tmp_path, capsys):
    done = subprocess.run([sys.executable, "-m", "vkkrnx.cluster", "--help"], capture_output=True, text=True, check=True)
    assert "folder" in done.stdout and "resize" in done.stdout and not done.stderr
    write_pictures(tmp_path)
    for code, words in ((2, ["folder", tmp_path, "-o", tmp_path / "out", "--workers", 1, "resize", "--sighs", 3]),
                        (2, ["picture", tmp_path / "p6.ppm", tmp_path / "out.ppm", "warp"]),
                        (3, ["picture", tmp_path / "none.ppm", tmp_path / "out.ppm", "flip"])):
        assert main([str(word) for word in words]) == code
        told = capsys.readouterr()
        assert told.out == "" and len(told.err.splitlines()) == 1, told
    with pytest.raises(UsageError):
        run_folder(tmp_path, tmp_path / "out", ["flip"], extension="ppm")  # p5.pgm, ... deep.pgm and deep.ppm
    assert not (tmp_path / "out").exists()
