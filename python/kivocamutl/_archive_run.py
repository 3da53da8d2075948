# SPDX-License-Identifier: Apache-2.0
"""One run over the files of an archive, on a cluster that may lose workers and win others."""

from __future__ import annotations

import asyncio
import collections
import contextlib
import dataclasses
import errno
import itertools
import os
import queue
import time
from typing import Any, Iterator, Optional, Sequence, Union

from ._archive_report import Progress
from ._archive_task import Blind, Job, Options, Outcome, run_batch, stopped_runs
from .errors import ClusterError, FileWriteError

__all__ = ["Archive"]

# A task costs the scheduler milliseconds, as much as several small frames: it gets files up to a limit of their
# bytes. Every core gets several tasks all the same, so that none is idle at the end for long.
_BATCH_BYTES = 8 << 20
_BATCH_FILES = 128
_BATCHES_PER_CORE = 16

_LOOK_SECONDS = 1.0
_NOTE_SECONDS = 3.0

# What fails on the side of the output fails for every file: that many in a row are enough to give up.
_LOST_OUTPUTS = 3


@dataclasses.dataclass(frozen=True)
class _Batch:
    """Files that one task converts, how often they have been tried, and whether a worker died of it or near it."""

    jobs: list[Job]
    attempt: int = 1
    again: bool = False


@dataclasses.dataclass(frozen=True)
class _Task:
    batch: _Batch
    future: Any
    workers: Optional[frozenset[str]]
    """Those that may do it; None for all."""


def _seen(path: str, size: int) -> bool:
    """Whether there is a file of this size, where a network file system may remember what was there before."""
    try:
        if os.stat(path).st_size == size:
            return True
    except OSError:
        pass
    try:
        os.listdir(os.path.dirname(path))
        with open(path, "rb") as file:
            return os.fstat(file.fileno()).st_size == size
    except OSError:
        return False


class Archive:
    """One run over a list of jobs on one cluster.

    :param wait: Seconds without any worker of use after which the run is given up.
    :param show: How the name of a file is written in messages.
    """

    def __init__(self, client: Any, options: Options, retries: int = 2, quiet: bool = True, wait: float = 30.0,
                 show: Any = str) -> None:
        self._client, self._options, self._retries, self._quiet = client, options, retries, quiet
        self._wait, self._show = wait, show
        self._cores: dict[str, int] = {}
        self._blind: dict[str, str] = {}
        self._next_look, self._idle_since, self._noted = 0.0, time.monotonic(), False
        self._waiting: collections.deque[_Batch] = collections.deque()
        self._running: dict[str, _Task] = {}
        self._answers: queue.SimpleQueue[Any] = queue.SimpleQueue()
        self._serial = itertools.count()
        self._failed = self._lost_in_a_row = 0
        self._progress = Progress(0, True)
        self.gave_up = False
        self.outcomes: list[Outcome] = []

    def convert(self, jobs: Sequence[Job]) -> list[Outcome]:
        """Converts all jobs and returns one outcome for each; on an interruption, `outcomes` has those so far.

        Only a window of the jobs is handed to the scheduler at a time, so that an archive of millions of files
        costs it no more memory than one of thousands.

        :raises ClusterError: the scheduler went away, or no worker is left that sees the folders.
        """
        self._progress = Progress(len(jobs), self._quiet)
        try:
            while not self._cores:
                self._look()
                time.sleep(0.02)
            self._waiting.extend(self._batches(jobs))
            while self._waiting or self._running:
                self._look()
                self._fill()
                with contextlib.suppress(queue.Empty):
                    self._take(self._answers.get(timeout=_LOOK_SECONDS))
                self._progress.update(len(self.outcomes), self._failed)
        except BaseException:
            stopped_runs.add(self._options.tag)
            raise
        self._progress.update(len(self.outcomes), self._failed, last=True)
        return self.outcomes

    def _usable(self) -> frozenset[str]:
        return frozenset(self._cores.keys() - self._blind.keys())

    def _look(self) -> None:
        """Once a second: which workers there are, and whether the run can go on with them."""
        now = time.monotonic()
        if now < self._next_look:
            return
        try:
            # Not client.ncores(), which waits for a silent scheduler without end.
            self._cores = dict(self._client.sync(self._client.scheduler.ncores, callback_timeout=self._wait or 1))
        except Exception as error:  # whatever a connection can break with
            raise ClusterError("the scheduler went away") from error
        usable = self._usable()
        self._next_look = now + (_LOOK_SECONDS if usable else 0.1)
        if usable:
            self._idle_since, self._noted = now, False
        elif now - self._idle_since > self._wait:
            raise ClusterError(f"for {self._wait:g} s there was no worker" +
                               (" that sees both folders" if self._blind else ""))
        elif now - self._idle_since > _NOTE_SECONDS and not self._noted:
            self._noted = True
            self._progress.line(f"no worker is there; waiting up to {self._wait:g} s")
        for key, task in list(self._running.items()):
            if task.workers is not None and not task.workers & usable:
                # Nobody else may do it, and the scheduler waits for them.
                del self._running[key]
                task.future.cancel()
                self._waiting.appendleft(dataclasses.replace(task.batch, again=True))

    def _fill(self) -> None:
        usable = self._usable()
        window = max(8, 4 * sum(self._cores[worker] for worker in usable))
        while usable and self._waiting and len(self._running) < window:
            batch = self._waiting.popleft()
            options = self._options
            if batch.again and options.no_clobber:
                # What is there now was not when the run began: the worker that was lost has made it.
                options = dataclasses.replace(options, resume=True)
            key = f"kivocamutl-{options.tag}{next(self._serial)}"
            workers = usable if self._blind else None
            future = self._client.submit(run_batch, batch.jobs, options, key=key, pure=False,
                                         workers=None if workers is None else sorted(workers))
            self._running[key] = _Task(batch, future, workers)
            future.add_done_callback(self._answers.put)

    def _take(self, future: Any) -> None:
        task = self._running.pop(future.key, None)
        if task is None:
            return
        batch = task.batch
        answer = self._answer(future, batch.jobs)
        if isinstance(answer, Blind):
            if not os.path.exists(self._options.token):
                raise FileWriteError(errno.ENOENT, "somebody has taken away what was there", self._options.target)
            if answer.worker not in self._blind:
                self._blind[answer.worker] = answer.folder
                self._progress.line(f"{answer.worker}: does not see {answer.folder} as this machine does: "
                                    "it gets no files")
                self._next_look = 0.0
            self._waiting.appendleft(batch)
            return
        if answer is None:
            # One of them may have taken the worker along: alone, it does not take the others along.
            self._waiting.extend(_Batch([job], batch.attempt, again=True) for job in batch.jobs)
            return
        for job, outcome in zip(batch.jobs, answer):
            self._judge(job, outcome, batch)

    def _judge(self, job: Job, outcome: Outcome, batch: _Batch) -> None:
        outcome.attempts = batch.attempt
        done = outcome.status in ("converted", "skipped")
        if done and not _seen(outcome.target, outcome.bytes):
            outcome.error = f"{outcome.worker} has written it, but here it is not to be seen"
            outcome.status, outcome.final, outcome.output, outcome.bytes = "failed", False, True, 0
        if outcome.status == "failed":
            if not outcome.final and batch.attempt <= self._retries and not self.gave_up:
                self._waiting.appendleft(_Batch([job], batch.attempt + 1, again=batch.again))
                return
            self._failed += 1
            self._progress.line(f"{self._show(job.target if outcome.output else job.source)}: {outcome.error}")
            self._lost_in_a_row += outcome.output and not outcome.final
            if self._lost_in_a_row >= _LOST_OUTPUTS and not self.gave_up:
                self.gave_up = True
                if self._waiting:
                    self._progress.line(f"{_LOST_OUTPUTS} outputs in a row could not be written: given up")
                self._waiting.clear()
        elif outcome.status == "converted":
            self._lost_in_a_row = 0
        self.outcomes.append(outcome)

    def _batches(self, jobs: Sequence[Job]) -> Iterator[_Batch]:
        """The jobs in their order, so many to a task."""
        cores = max(1, sum(self._cores.values()))
        most = min(_BATCH_FILES, max(1, len(jobs) // (_BATCHES_PER_CORE * cores)))
        batch: list[Job] = []
        size = 0
        for job in jobs:
            if batch and (len(batch) >= most or size + job.bytes > _BATCH_BYTES):
                yield _Batch(batch)
                batch, size = [], 0
            batch.append(job)
            size += job.bytes
        if batch:
            yield _Batch(batch)

    def _answer(self, future: Any, jobs: Sequence[Job]) -> Union[list[Outcome], Blind, None]:
        """What the worker said; when none survived the file, or the cluster gave it up, what that was.

        None when that happened to several files, of which one may be the culprit.
        """
        try:
            result: Union[list[Outcome], Blind] = future.result()
        except (Exception, asyncio.CancelledError) as error:  # whatever a cluster can do to a task
            if self._client.status != "running":
                raise ClusterError("the scheduler went away") from error
            if len(jobs) > 1:
                return None
            text = f"{type(error).__name__}: {error}" if str(error) else type(error).__name__
            return [Outcome(job.name, job.target, "failed", text, final=False) for job in jobs]
        return result
