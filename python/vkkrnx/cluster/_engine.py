"""The machines: a scheduler that the user names, or workers on this machine, and tasks on them that may be done twice.

A worker that dies takes its tasks with it, and the scheduler gives them to others; tasks therefore leave nothing behind
but a result under its name, put there whole, which doing them again replaces by the same."""
from __future__ import annotations

import contextlib
import logging
import os
import tempfile
from collections.abc import Callable, Iterator
from typing import Any

import dask
import distributed

RETRIES = 3

# Workers of this machine: what they would do besides the tasks takes as long as a small picture.
LOCAL = {"distributed.scheduler.allowed-failures": 10, "distributed.scheduler.worker-saturation": 4.0,
         "distributed.worker.daemon": False, "distributed.worker.profile.enabled": False,
         "distributed.admin.tick.interval": "1s", "distributed.admin.system-monitor.interval": "10s"}


@contextlib.contextmanager
def connected(scheduler: str | Any | None = None, workers: int | None = None) -> Iterator[Any]:
    """A client of a scheduler at an address, of a client or cluster that there is, or of workers made for the block."""
    if isinstance(scheduler, distributed.Client):
        yield scheduler
        return
    if scheduler is not None:
        with distributed.Client(scheduler, set_as_default=False) as client:
            yield client
        return
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="vkkrnx-"))
        stack.enter_context(dask.config.set(LOCAL))
        cluster = stack.enter_context(distributed.LocalCluster(
            n_workers=workers or os.cpu_count() or 1, threads_per_worker=1, processes=True, memory_limit=0,
            dashboard_address="127.0.0.1:0", local_directory=folder, silence_logs=logging.CRITICAL))
        yield stack.enter_context(distributed.Client(cluster, set_as_default=False))


def each_done(client: Any, function: Callable[..., Any], tasks: list[Any], job: Any) -> Iterator[tuple[Any, Any]]:
    """Has function(task, job) done for every task, and gives (task, result) as they are done; the result of one that
    failed, also when it was tried again, is its exception."""
    def submit(some: list[Any]) -> list[Any]:
        return client.map(function, some, job=job, pure=False, retries=RETRIES)

    running = {future: (task, 0) for future, task in zip(submit(tasks), tasks)}
    done = distributed.as_completed(list(running), loop=client.loop, raise_errors=False)
    try:
        for future in done:
            task, lost = running.pop(future)
            error = future.exception() if future.status == "error" else None
            if future.status != "finished" and lost < RETRIES and (
                    error is None or isinstance(error, distributed.KilledWorker)):
                (again,) = submit([task])  # its workers died, which is no fault of the task's
                running[again] = (task, lost + 1)
                done.add(again)
            elif future.status == "finished":
                yield task, future.result()
            else:
                yield task, error or RuntimeError("the scheduler gave the task up")
    finally:
        for future in running:
            future.cancel()
