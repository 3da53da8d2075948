# SPDX-License-Identifier: Apache-2.0
"""Converts a tree of raw frames to BMP files, on the cores of this machine or of many.

    python3 -m kivocamutl.archive SRC DST

Work is spread by dask.distributed: over threads of this process by default (the interpreter lock is released
while a frame is converted), over processes of this machine with ``--workers``, over a cluster with
``--scheduler``. Workers of a cluster see SRC and DST under the same paths.

An output appears under its name only when it is whole. Outputs that are there with the right size, no older
than their sources, are left alone, so a run that was cut short is continued by the same command; options that
were changed take effect on them with ``--force`` only. A file that cannot be converted does not stop the
others; trouble of the disk or of a worker is tried again. The report tells what became of each.
"""

from __future__ import annotations

import argparse
import asyncio
import collections
import contextlib
import csv
import dataclasses
import errno
import io
import itertools
import json
import logging
import os
import secrets
import signal
import stat
import sys
import tempfile
import threading
import time
from typing import Any, Iterator, Optional, Sequence

from ._archive_task import Job, Options, Outcome, RawLayout, run_batch, stopped_runs
from ._terminal import columns, say
from .errors import KivoError
from .files import TEMPORARY_SUFFIX, atomic_file, remove_unwritten
from .pixel_formats import find_any_format

__all__ = ["main", "Archive", "find_jobs"]

EXIT_OK, EXIT_FAILED, EXIT_USAGE, EXIT_CLUSTER = 0, 1, 2, 3
_STALE_SECONDS = 3600

# A task costs the scheduler milliseconds, as much as several small frames: it gets files up to a limit of their
# bytes. Every core gets several tasks all the same, so that none is idle at the end for long.
_BATCH_BYTES = 8 << 20
_BATCH_FILES = 64
_BATCHES_PER_CORE = 16


def find_jobs(source: str, target: str, raw_extensions: Sequence[str] = ()) -> tuple[list[Job], list[Outcome]]:
    """The files below `source` in the order of their names, and those that can be no job at all.

    RWH files are found by the extension ``.rwh``, headerless ones by `raw_extensions`, in any case. The output
    of ``a/b.rwh`` is ``a/b.bmp``.
    """
    jobs: list[Job] = []
    rejected: list[Outcome] = []
    taken: dict[str, str] = {}
    raw = {e.lower() if e.startswith(".") else f".{e.lower()}" for e in raw_extensions}

    def reject(error: OSError) -> None:
        rejected.append(Outcome(os.path.relpath(error.filename, source), "", "failed",
                                f"{type(error).__name__}: {error}"))

    for folder, folders, names in os.walk(source, onerror=reject):
        folders.sort()
        for name in sorted(names):
            stem, extension = os.path.splitext(name)
            extension = extension.lower()
            if extension != ".rwh" and extension not in raw:
                continue
            path = os.path.join(folder, name)
            relative = os.path.relpath(path, source)
            output = os.path.join(os.path.dirname(relative), stem + ".bmp")
            full = os.path.join(target, output)
            try:
                info = os.stat(path)
            except OSError:
                info = None
            if info is None or not stat.S_ISREG(info.st_mode):
                rejected.append(Outcome(relative, full, "failed", "not a regular file"))
            elif output in taken:
                rejected.append(Outcome(relative, full, "failed", f"{taken[output]} has the same output"))
            else:
                taken[output] = relative
                jobs.append(Job(relative, path, full, extension != ".rwh", info.st_size))
    return jobs, rejected


def remove_leftovers(folder: str, tag: str) -> int:
    """Deletes temporary files of workers that died, of this run and of any other; returns how many.

    A file that its writer has locked stays. Where no lock tells, a file of another run counts as written until
    it is an hour old, and one of this run as left behind.
    """
    removed = 0
    for path, _, names in os.walk(folder):
        for name in names:
            if not (name.startswith(".") and name.endswith(TEMPORARY_SUFFIX)):
                continue
            full = os.path.join(path, name)
            with contextlib.suppress(OSError):
                old = time.time() - os.stat(full).st_mtime > _STALE_SECONDS
                removed += remove_unwritten(full, untold=old or f".{tag}" in name)
    return removed


class _Progress:
    """One line that is rewritten on a terminal, a line every few seconds elsewhere."""

    def __init__(self, total: int, quiet: bool) -> None:
        self.total, self.quiet = total, quiet
        self.terminal = sys.stderr.isatty()
        self.start = self.shown = time.monotonic()

    def update(self, done: int, failed: int, last: bool = False) -> None:
        now = time.monotonic()
        if self.quiet or (not last and now - self.shown < (0.1 if self.terminal else 5.0)):
            return
        self.shown = now
        rate = done / max(now - self.start, 1e-9)
        left = (self.total - done) / rate if rate else 0.0
        line = f"{done}/{self.total} files, {failed} failed, {rate:.0f}/s"
        line += "" if done == self.total else f", {left:.0f} s left"
        if self.terminal:
            # In the last column it would wrap, and a line that wraps is not rewritten as a whole.
            width = columns(sys.stderr)
            line = f"\r{line if width is None else line[: width - 1]}\033[K"
        print(line, end="" if self.terminal and not last else "\n", file=sys.stderr, flush=True)


@dataclasses.dataclass(frozen=True)
class _Batch:
    """Files that one task converts, and how often they have been tried with it."""

    jobs: list[Job]
    attempt: int = 1


class Archive:
    """One run over a list of jobs on one cluster."""

    def __init__(self, client: Any, options: Options, retries: int = 2, quiet: bool = True) -> None:
        self._client, self._options, self._retries, self._quiet = client, options, retries, quiet
        self._window, self._window_until = 0, 0.0
        self.outcomes: list[Outcome] = []

    def _capacity(self) -> int:
        """How many tasks the scheduler may hold; asked of it once a second, as workers come and go."""
        if time.monotonic() > self._window_until:
            self._window = max(8, 4 * sum(self._client.ncores().values()))
            self._window_until = time.monotonic() + 1.0
        return self._window

    def convert(self, jobs: Sequence[Job]) -> list[Outcome]:
        """Converts all jobs and returns one outcome for each; on an interruption, `outcomes` has those so far.

        Only a window of the jobs is handed to the scheduler at a time, so that an archive of millions of files
        costs it no more memory than one of thousands.
        """
        from distributed import as_completed

        waiting = collections.deque(self._batches(jobs))
        running: dict[str, _Batch] = {}
        completed = as_completed()
        progress = _Progress(len(jobs), self._quiet)
        serial = itertools.count()
        failed = 0

        def fill() -> None:
            while waiting and len(running) < self._capacity():
                batch = waiting.popleft()
                key = f"kivocamutl-{self._options.tag}{next(serial)}"
                running[key] = batch
                completed.add(self._client.submit(run_batch, batch.jobs, self._options, key=key, pure=False))

        try:
            fill()
            for future in completed:
                batch = running.pop(future.key)
                outcomes = self._outcomes(future, batch.jobs)
                if outcomes is None:
                    # One of them may have taken the worker along: alone, it does not take the others along.
                    waiting.extend(_Batch([job], batch.attempt) for job in batch.jobs)
                    outcomes = []
                for job, outcome in zip(batch.jobs, outcomes):
                    outcome.attempts = batch.attempt
                    if outcome.status == "failed" and not outcome.final and batch.attempt <= self._retries:
                        waiting.append(_Batch([job], batch.attempt + 1))
                    else:
                        failed += outcome.status == "failed"
                        self.outcomes.append(outcome)
                fill()
                progress.update(len(self.outcomes), failed)
        except BaseException:
            stopped_runs.add(self._options.tag)
            raise
        progress.update(len(self.outcomes), failed, last=True)
        return self.outcomes

    def _batches(self, jobs: Sequence[Job]) -> Iterator[_Batch]:
        """The jobs in their order, so many to a task."""
        cores = max(1, sum(self._client.ncores().values()))
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

    def _outcomes(self, future: Any, jobs: Sequence[Job]) -> Optional[list[Outcome]]:
        """What the worker said; when none survived the file, or the cluster gave it up, what that was.

        None when that happened to several files, of which one may be the culprit.
        """
        try:
            result: list[Outcome] = future.result()
        except (Exception, asyncio.CancelledError) as error:  # whatever a cluster can do to a task
            if self._client.status != "running":
                raise ConnectionError("the scheduler went away") from error
            if len(jobs) > 1:
                return None
            text = f"{type(error).__name__}: {error}" if str(error) else type(error).__name__
            return [Outcome(job.name, job.target, "failed", text, final=False) for job in jobs]
        return result


def _report_rows(outcomes: Sequence[Outcome]) -> list[dict[str, Any]]:
    rows = []
    for outcome in sorted(outcomes, key=lambda o: o.name):
        row = dataclasses.asdict(outcome)
        del row["final"]
        rows.append(row)
    return rows


def counts(outcomes: Sequence[Outcome]) -> dict[str, int]:
    """How many files there are of each status."""
    tally = collections.Counter(outcome.status for outcome in outcomes)
    return {status: tally.get(status, 0) for status in ("converted", "skipped", "failed", "not run")}


def write_report(path: str, outcomes: Sequence[Outcome], summary: dict[str, Any]) -> None:
    """Writes one row per file: as CSV when the name ends in ``.csv``, else as JSON with the summary."""
    rows = _report_rows(outcomes)
    text = io.StringIO(newline="")
    if path.lower().endswith(".csv"):
        writer = csv.DictWriter(text, [f.name for f in dataclasses.fields(Outcome) if f.name != "final"])
        writer.writeheader()
        writer.writerows(rows)
    else:
        json.dump({**summary, "counts": counts(outcomes), "files": rows}, text, indent=1)
        text.write("\n")
    with atomic_file(path) as (_, descriptor), open(descriptor, "wb", closefd=False) as file:
        file.write(text.getvalue().encode("utf-8", "backslashreplace"))


@contextlib.contextmanager
def _cluster(arguments: argparse.Namespace) -> Iterator[Any]:
    """A client of the cluster that the arguments ask for. Nothing but loopback is used without --scheduler."""
    import distributed

    if arguments.scheduler:
        with distributed.Client(arguments.scheduler, timeout=arguments.wait) as client:
            client.wait_for_workers(1, timeout=arguments.wait)
            yield client
        return
    with tempfile.TemporaryDirectory(prefix="kivocamutl-") as scratch:
        # Scheduler and workers each serve a status page, on every interface unless told otherwise.
        common = {"host": "127.0.0.1", "dashboard_address": "127.0.0.1:0", "silence_logs": logging.CRITICAL,
                  "worker_dashboard_address": "127.0.0.1:0", "local_directory": scratch}
        cores = len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count() or 1
        if arguments.workers:
            cluster = distributed.LocalCluster(n_workers=arguments.workers, processes=True,
                                               threads_per_worker=arguments.threads or 1, **common)
        else:
            del common["host"]
            cluster = distributed.LocalCluster(n_workers=1, processes=False,
                                               threads_per_worker=arguments.threads or cores, **common)
        with cluster, distributed.Client(cluster) as client:
            yield client


def _size(text: str) -> tuple[int, int]:
    width, _, height = text.lower().partition("x")
    if not (width.isdecimal() and height.isdecimal() and int(width) and int(height)):
        raise argparse.ArgumentTypeError(f"a size is WIDTHxHEIGHT, both from 1 up, not {text!r}")
    return int(width), int(height)


def _region(text: str) -> tuple[int, int, int, int]:
    size, *corner = text.split("+")
    if len(corner) not in (0, 2) or not all(c.isdecimal() for c in corner):
        raise argparse.ArgumentTypeError(f"a region is WIDTHxHEIGHT+X+Y, not {text!r}")
    x, y = map(int, corner or ("0", "0"))
    return (x, y, *_size(size))


def _count(text: str) -> int:
    if not text.isdecimal():
        raise argparse.ArgumentTypeError(f"a number from 0 up, not {text!r}")
    return int(text)


def _shift(text: str) -> int:
    if not text.isdecimal() or int(text) > 15:
        raise argparse.ArgumentTypeError(f"a number from 0 to 15, not {text!r}")
    return int(text)


_EPILOG = """\
examples:
  python3 -m kivocamutl.archive frames/ pictures/ --bayer acpi
  python3 -m kivocamutl.archive frames/ pictures/ --workers 8 --report report.csv
  python3 -m kivocamutl.archive frames/ pictures/ --scheduler tcp://10.0.0.5:8786
  python3 -m kivocamutl.archive dumps/ pictures/ --format BayerRG12p --size 1920x1080 --auto-range

The same command once more continues a run that was interrupted: what is there with the right size, and is no
older than its source, is skipped. Options that were changed take effect on it with --force only.

exit codes:
  0    every file has its output
  1    some have not; the report says why
  2    the command line or SRC is wrong
  3    there is no cluster
  130  interrupted (143: terminated); the same command continues
"""


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m kivocamutl.archive",
        description="Convert every raw frame below SRC to a BMP file below DST.",
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog=_EPILOG)
    parser.add_argument("source", metavar="SRC", help="folder of .rwh files, at any depth")
    parser.add_argument("target", metavar="DST", help="folder for the outputs; made when it is not there")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="URL", help="address of a dask scheduler, as tcp://host:8786")
    where.add_argument("--workers", type=_count, default=0, metavar="N",
                       help="worker processes on this machine (default: threads of this process)")
    parser.add_argument("--threads", type=_count, default=0, metavar="N",
                        help="threads per process (default: all cores in this process, 1 in a worker)")
    parser.add_argument("--wait", type=_count, default=30, metavar="SECONDS",
                        help="how long to wait for the scheduler and its first worker (default: %(default)s)")
    parser.add_argument("--bayer", choices=("standard", "acpi", "off"), default="standard",
                        help="how Bayer frames are demosaiced (default: %(default)s)")
    parser.add_argument("--output", choices=("BGR", "BGRA"), default="BGR", type=str.upper,
                        help="24 or 32 bits per pixel (default: %(default)s)")
    parser.add_argument("--crop", type=_region, metavar="WxH+X+Y",
                        help="this region only, as if the camera had sent no more")
    shown = parser.add_mutually_exclusive_group()
    shown.add_argument("--auto-range", action="store_true",
                       help="spread the samples of each frame from black to white")
    shown.add_argument("--shift", type=_shift, metavar="N",
                       help="bits that wide samples lose at the lower end (default: depth - 8)")
    parser.add_argument("--swap-bytes", action="store_true", help="16-bit samples arrive high byte first")
    parser.add_argument("--format", metavar="NAME", help="pixel format of headerless files, packed ones included")
    parser.add_argument("--size", type=_size, metavar="WxH", help="size of headerless files")
    parser.add_argument("--stride", type=_count, metavar="BYTES", help="distance of their rows, when padded")
    parser.add_argument("--offset", type=_count, default=0, metavar="BYTES", help="bytes in front of their frames")
    parser.add_argument("--extension", action="append", metavar="EXT",
                        help="extension of headerless files; may be repeated (default: .raw)")
    parser.add_argument("--force", action="store_true",
                        help="convert again what is there already, as after a change of options")
    parser.add_argument("--retries", type=_count, default=2, metavar="N",
                        help="how often to try again after trouble of disk or worker (default: %(default)s)")
    parser.add_argument("--report", metavar="FILE",
                        help="JSON, or CSV when it ends in .csv (default: DST/archive-report.json)")
    parser.add_argument("--quiet", action="store_true", help="print errors only")
    return parser


def _layout(parser: argparse.ArgumentParser, arguments: argparse.Namespace) -> Optional[RawLayout]:
    if (arguments.format is None) != (arguments.size is None):
        parser.error("headerless files need both --format and --size")
    if arguments.format is None:
        if arguments.stride is not None or arguments.extension or arguments.offset:
            parser.error("--stride, --offset and --extension go with --format and --size")
        return None
    try:
        name = find_any_format(arguments.format).name
    except KivoError as error:
        parser.error(str(error))
    width, height = arguments.size
    return RawLayout(name, width, height, arguments.stride, arguments.offset)


class _Terminated(KeyboardInterrupt):
    """SIGTERM, handled as Ctrl-C is."""


@contextlib.contextmanager
def _termination() -> Iterator[None]:
    """Turns SIGTERM into an exception, where Python allows it: in the main thread."""

    def terminate(number: int, frame: Any) -> None:
        raise _Terminated

    if threading.current_thread() is not threading.main_thread():
        yield
        return
    previous = signal.signal(signal.SIGTERM, terminate)
    try:
        yield
    finally:
        signal.signal(signal.SIGTERM, previous)


def _folders(arguments: argparse.Namespace) -> tuple[str, str]:
    """Where the frames are, and where their pictures go: a folder that is made when it is not there."""
    source, target = os.path.abspath(arguments.source), os.path.abspath(arguments.target)
    if not stat.S_ISDIR(os.stat(source).st_mode):
        raise NotADirectoryError(errno.ENOTDIR, "not a folder", source)
    os.makedirs(target, exist_ok=True)
    return source, target


def _convert(arguments: argparse.Namespace, options: Options, jobs: Sequence[Job]) -> tuple[list[Outcome], int]:
    """Converts on the cluster that the arguments ask for: what was done, and the exit code as far as it is known."""
    outcomes: list[Outcome] = []
    try:
        with _termination(), _cluster(arguments) as client:
            archive = Archive(client, options, arguments.retries, arguments.quiet)
            outcomes = archive.outcomes
            archive.convert(jobs)
    except KeyboardInterrupt as error:
        print("archive: interrupted; the same command continues", file=sys.stderr)
        return outcomes, 143 if isinstance(error, _Terminated) else 130
    except (OSError, TimeoutError) as error:
        say(f"archive: no cluster at {arguments.scheduler or 'this machine'}: {error}", sys.stderr)
        return outcomes, EXIT_CLUSTER
    return outcomes, EXIT_OK


def _tell(outcomes: Sequence[Outcome], report: str, summary: dict[str, Any], quiet: bool) -> bool:
    """Writes the report, and the failures and the sum of it to the terminal; False when there is no report."""
    where = f"; report in {report}"
    try:
        write_report(report, outcomes, summary)
    except OSError as error:
        say(f"archive: cannot write the report: {error}", sys.stderr)
        where = ""
    tally = counts(outcomes)
    for outcome in outcomes[: len(outcomes) if tally["failed"] <= 20 else 0]:
        if outcome.status == "failed":
            say(f"archive: {outcome.name}: {outcome.error}", sys.stderr)
    if not quiet:
        text = ", ".join(f"{count} {status}" for status, count in tally.items() if count) or "no files"
        say(text + where, sys.stdout)
    return bool(where)


def main(argv: Optional[Sequence[str]] = None) -> int:
    """The command line; returns its exit code."""
    parser = _parser()
    arguments = parser.parse_args(argv)
    try:
        import distributed  # noqa: F401
    except ImportError:
        print("archive: dask.distributed is missing; install python3-distributed", file=sys.stderr)
        return EXIT_CLUSTER
    # A cluster that goes away leaves calls behind that nobody waits for; its own trouble is reported otherwise.
    logging.getLogger("asyncio").setLevel(logging.CRITICAL)
    layout = _layout(parser, arguments)
    try:
        source, target = _folders(arguments)
    except OSError as error:
        say(f"archive: {error}", sys.stderr)
        return EXIT_USAGE

    options = Options(arguments.bayer, arguments.output, arguments.force, f"{secrets.token_hex(4)}-", layout,
                      arguments.swap_bytes, arguments.crop, arguments.auto_range, arguments.shift)
    jobs, rejected = find_jobs(source, target, (arguments.extension or [".raw"]) if layout else ())
    started = time.time()
    done, code = _convert(arguments, options, jobs)
    # What workers were writing when they died. One that still writes after an interruption finishes its file.
    remove_leftovers(target, options.tag)

    known = {outcome.name for outcome in done}
    missed = (Outcome(j.name, j.target, "not run", attempts=0) for j in jobs if j.name not in known)
    outcomes = [*rejected, *done, *missed]
    summary = {"source": source, "target": target, "bayer": options.bayer, "output": options.output,
               "started": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(started)),
               "seconds": round(time.time() - started, 3)}
    told = _tell(outcomes, arguments.report or os.path.join(target, "archive-report.json"), summary, arguments.quiet)
    if not told or any(outcome.status in ("failed", "not run") for outcome in outcomes):
        return code or EXIT_FAILED
    return code


if __name__ == "__main__":
    sys.exit(main())
