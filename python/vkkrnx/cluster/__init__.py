"""Work on many machines, by Dask distributed: a folder of pictures through a chain of operations (run_folder), and one
picture larger than any machine's memory (run_picture). `python3 -m vkkrnx.cluster --help` tells of both as commands.

A program that has workers made on this machine starts with `if __name__ == "__main__":`, as they begin by reading it."""
from ._engine import connected
from ._folder import FolderResult, UsageError, run_folder
from ._large import run_picture

__all__ = ["FolderResult", "UsageError", "connected", "run_folder", "run_picture"]
