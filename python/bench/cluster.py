"""How much faster two workers are than one on 200 photographs.

    VKKRNX_LIBRARY=build/native/libVkkrnx.so VKKRNX_VK=build/native/vk PYTHONPATH=python \
        python3 python/bench/cluster.py [PICTURES] [ROUNDS]

The workers exist and have done pictures before the clock runs; each begins a scheduling group of its own (setsid), as on a
machine of its own, since systems share busy processors out by such groups. Rounds of one and two workers take turns; the
figure is the median of the rounds' ratios. On a machine that others use at the same time it tells much of these; the seconds
that processors gave to the command, to the workers around it, and to scheduler and client tell how much of the work is not
the pictures'."""
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from vkkrnx.cluster import connected, run_folder

SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "samples"
CHAIN = "rotate --angle 3 --filter bicubic resize --size 1000x --filter sharp".split()


def make_pictures(folder, count):
    for i in range(count):
        sample = ("rocket.jpg", "astronaut.png")[i % 2]
        subprocess.run([os.environ["VKKRNX_VK"], "resize", SAMPLES / sample, folder / f"{i:03}.jpg", "--size",
                        f"{800 + i}x", "--filter", "bicubic"], check=True, stdout=subprocess.DEVNULL)


def spent(client):
    """Processor seconds so far: of the command, of the workers, of scheduler and client."""
    workers = [tuple(times) for times in client.run(os.times).values()]
    own = os.times()
    return [sum(times[2] + times[3] for times in workers), sum(times[0] + times[1] for times in workers),
            own.user + own.system]


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 200
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    with tempfile.TemporaryDirectory() as name, connected(workers=1) as one, connected(workers=2) as two:
        folder = pathlib.Path(name)
        (folder / "in").mkdir()
        (folder / "few").mkdir()
        make_pictures(folder / "in", count)
        for i in range(4):
            shutil.copy(folder / "in" / "000.jpg", folder / "few" / f"{i}.jpg")
        for client in (one, two):
            client.run(os.setsid)
            run_folder(folder / "few", folder / "warm", CHAIN, scheduler=client)
        ratios = []
        for _ in range(rounds):
            seconds = []
            for client in (one, two):
                shutil.rmtree(folder / "out", ignore_errors=True)
                before = spent(client)
                start = time.monotonic()
                result = run_folder(folder / "in", folder / "out", CHAIN, scheduler=client)
                seconds.append(time.monotonic() - start)
                used = [after - earlier for after, earlier in zip(spent(client), before)]
                assert len(result.written) == count and not result.failures
            ratios.append(seconds[0] / seconds[1])
            print(f"one {seconds[0]:.1f} s, two {seconds[1]:.1f} s, ratio {ratios[-1]:.2f}, load {os.getloadavg()[0]:.1f}; "
                  f"processor seconds: command {used[0]:.1f}, workers {used[1]:.1f}, scheduler and client {used[2]:.1f}")
        print(f"median ratio {statistics.median(ratios):.2f}")


if __name__ == "__main__":
    main()
