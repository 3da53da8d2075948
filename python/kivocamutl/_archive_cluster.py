# SPDX-License-Identifier: Apache-2.0
"""The cluster that converts an archive: one that is there, or one of this machine for the time of the run."""

from __future__ import annotations

import contextlib
import logging
import os
import tempfile
from typing import Any, Iterator, Optional

from .errors import ClusterError

__all__ = ["connected"]

_END_SECONDS = 5.0

# While one file waits for the disk, another one is converted.
_THREADS_PER_WORKER = 2


@contextlib.contextmanager
def connected(scheduler: Optional[str], workers: int, threads: int, wait: float) -> Iterator[Any]:
    """A client of the cluster at this address; without one, of `workers` processes of this machine, or of threads of
    this process. Nothing but loopback is used for those. Workers may come later than the client.

    :raises ClusterError: there is no such cluster.
    """
    import distributed

    if scheduler:
        try:
            client = distributed.Client(scheduler, timeout=wait)
        except (OSError, ValueError) as error:  # a host that does not answer, an address that is none
            raise ClusterError(f"no cluster at {scheduler}: {error}") from None
        with client:
            yield client
        return
    cores = len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count() or 1
    with tempfile.TemporaryDirectory(prefix="kivocamutl-") as scratch:
        # Scheduler and workers each serve a status page, on every interface unless told otherwise.
        common = {"dashboard_address": "127.0.0.1:0", "worker_dashboard_address": "127.0.0.1:0",
                  "silence_logs": logging.CRITICAL, "local_directory": scratch}
        if workers:
            # It waits for the workers that it is made with, even for those that died.
            cluster = distributed.LocalCluster(n_workers=0, processes=True, host="127.0.0.1",
                                               threads_per_worker=threads or _THREADS_PER_WORKER, **common)
            cluster.scale(workers)
        else:
            cluster = distributed.LocalCluster(n_workers=1, processes=False, threads_per_worker=threads or cores,
                                               **common)
        try:
            # A client of the cluster itself waits for the workers, too.
            with distributed.Client(cluster.scheduler_address) as client:
                yield client
        finally:
            # A worker that never began does not end either.
            with contextlib.suppress(Exception):
                cluster.close(timeout=_END_SECONDS)
