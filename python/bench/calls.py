"""What a call of the library costs from Python, beside the same call from C in the same run, in turns.

    VKKRNX_LIBRARY=build/native/libVkkrnx.so PYTHONPATH=python python3 python/bench/calls.py

Each figure is the least of many short rounds, which the work of others on the machine disturbs least."""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import cffi
import vkkrnx

ROOT = pathlib.Path(__file__).resolve().parents[2]
ROUNDS, CALLS = 400, 500


def c_side(folder):
    library = pathlib.Path(os.environ["VKKRNX_LIBRARY"]).resolve()
    made = str(pathlib.Path(folder) / "calls.so")
    subprocess.run(["cc", "-O2", "-shared", "-fPIC", f"-I{ROOT / 'include'}", str(pathlib.Path(__file__).with_name("calls.c")),
                    "-o", made, str(library), f"-Wl,-rpath,{library.parent}"], check=True)
    ffi = cffi.FFI()
    ffi.cdef("double time_workers(int); double time_row(void*, void*, size_t, int);")
    return ffi, ffi.dlopen(made)


def python_time(call):
    start = time.perf_counter_ns()
    for _ in range(CALLS):
        call()
    return (time.perf_counter_ns() - start) / CALLS


def main():
    bitmap = vkkrnx.Bitmap(4096, 16)
    row = bytearray(4096 * 3)
    bitmap.get_row(0, row)
    array = bitmap.array()
    with tempfile.TemporaryDirectory() as folder:
        ffi, calls = c_side(folder)
        record, view = ffi.cast("void*", int(vkkrnx._library.ffi.cast("uintptr_t", bitmap._record))), ffi.from_buffer(row)
        measured = {
            "a call that does next to nothing": (lambda: calls.time_workers(CALLS), lambda: python_time(vkkrnx.workers)),
            "a row of 4,096 pixels, copied": (lambda: calls.time_row(record, view, len(row), CALLS),
                                              lambda: python_time(lambda: bitmap.get_row(3, row))),
            "a row of 4,096 pixels, looked at": (lambda: 0.0, lambda: python_time(lambda: array[3])),
        }
        print(f"{'':36}{'C':>10}{'Python':>10}{'more':>10}  ns; load {os.getloadavg()[0]:.1f}")
        for name, (in_c, in_python) in measured.items():
            times = [(in_c(), in_python()) for _ in range(ROUNDS)]
            least = [min(column) for column in zip(*times)]
            print(f"{name:36}{least[0]:10.0f}{least[1]:10.0f}{least[1] - least[0]:10.0f}")


if __name__ == "__main__":
    sys.exit(main())
