# SPDX-License-Identifier: Apache-2.0
"""Converts a tree of raw frames to BMP files, on the cores of this machine or of many.

    python3 -m kivocamutl.archive SRC DST

Work is spread by dask.distributed: over threads of this process by default (the interpreter lock is released
while a frame is converted), over processes of this machine with ``--workers``, over a cluster with
``--scheduler``. Workers of a cluster see SRC and DST under the same paths; one that does not gets no files, and every
output is looked for from here.

An output appears under its name only when it is whole. With ``--resume`` outputs that are there with the right size,
no older than their sources, are left alone, so that a run that was cut short is continued. A file that cannot be
converted does not stop the others; trouble of the disk or of a worker is tried again. The report tells what became
of each. Options and exit codes are those of ``kivocam convert`` as far as both have them.
"""

from __future__ import annotations

import argparse
import contextlib
import dataclasses
import logging
import os
import secrets
import signal
import stat
import sys
import threading
import time
from typing import Any, Iterator, NoReturn, Optional, Sequence, get_args

from ._archive_cluster import connected
from ._archive_files import HEADERLESS, find_jobs, refuse_overlaps, remove_leftovers, token_file
from ._archive_report import counts, write_report
from ._archive_run import Archive
from ._archive_task import Job, Options, Outcome, RawLayout
from ._terminal import say
from .errors import ClusterError, FileWriteError, KivoError, OptionError
from .options import Bayer
from .pixel_formats import find_format

__all__ = ["main", "Archive", "find_jobs"]

# Those of the command line tool, and one behind them.
EXIT_OK, EXIT_USAGE, EXIT_INPUT, EXIT_OUTPUT, EXIT_UNSUPPORTED, EXIT_SOME, EXIT_CLUSTER = 0, 1, 2, 3, 4, 5, 7

_MOST_BYTES = (1 << 63) // 4
_MOST_PIXELS = (1 << 32) - 1


def _number(text: str, most: int) -> Optional[int]:
    """Digits of ASCII and nothing else."""
    return int(text) if text.isascii() and text.isdecimal() and len(text) < 25 and int(text) <= most else None


def _size(text: str) -> tuple[int, int]:
    width, _, height = (_number(part, _MOST_PIXELS) if part != "x" else None
                        for part in text.replace("X", "x").partition("x"))
    if not width or not height:
        raise argparse.ArgumentTypeError(f"{text!r} is not WIDTHxHEIGHT in pixels, such as 640x480")
    return width, height


def _region(text: str) -> tuple[int, int, int, int]:
    size, *corner = text.split("+")
    places = [_number(part, _MOST_PIXELS) for part in corner or ("0", "0")]
    with contextlib.suppress(argparse.ArgumentTypeError):
        width, height = _size(size)
        if len(places) == 2 and places[0] is not None and places[1] is not None:
            return (places[0], places[1], width, height)
    raise argparse.ArgumentTypeError(f"{text!r} is not WIDTHxHEIGHT+X+Y in pixels, such as 640x480+16+8")


def _bytes(text: str) -> int:
    number = _number(text, _MOST_BYTES)
    if number is None:
        raise argparse.ArgumentTypeError(f"{text!r} is not a number of bytes")
    return number


def _count(text: str) -> int:
    number = _number(text, 1 << 20)
    if number is None:
        raise argparse.ArgumentTypeError(f"{text!r} is not a number from 0 to {1 << 20}")
    return number


def _shift(text: str) -> int:
    number = _number(text, 15)
    if number is None:
        raise argparse.ArgumentTypeError(f"{text!r} is not a number from 0 to 15")
    return number


_EPILOG = """\
examples:
  python3 -m kivocamutl.archive frames/ pictures/ --bayer acpi
  python3 -m kivocamutl.archive frames/ pictures/ --workers 8 --report report.csv
  python3 -m kivocamutl.archive frames/ pictures/ --scheduler tcp://10.0.0.5:8786 --resume
  python3 -m kivocamutl.archive dumps/ pictures/ --format BayerRG12p --size 1920x1080 --auto-range

The same command with --resume continues a run that was interrupted: what is there with the right size, and is no
older than its source, is skipped, whatever options made it.

exit codes:
  0    every file has its output
  1    the command line makes no sense; nothing was done
  2    SRC cannot be read, or holds no frames
  3    DST or the report cannot be written
  4    a pixel format that does not exist
  5    some files failed, the others are done; the report says why
  7    there is no cluster, or no worker that sees SRC and DST
  129, 130, 143  ended by SIGHUP, SIGINT or SIGTERM; the same command with --resume continues
"""


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        say(f"archive: {message}; see '{self.prog} --help'", sys.stderr)
        sys.exit(EXIT_USAGE)


def _parser() -> argparse.ArgumentParser:
    parser = _Parser(
        prog="python3 -m kivocamutl.archive",
        description="Convert every raw frame below SRC to a BMP file below DST.",
        formatter_class=argparse.RawDescriptionHelpFormatter, allow_abbrev=False,
        epilog=_EPILOG)
    parser.add_argument("source", metavar="SRC", help="folder of .rwh files, at any depth; hidden ones are left out")
    parser.add_argument("target", metavar="DST", help="folder for the outputs; made when it is not there")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="URL", help="address of a dask scheduler, as tcp://host:8786")
    where.add_argument("--workers", type=_count, default=0, metavar="N",
                       help="worker processes on this machine (default: threads of this process)")
    parser.add_argument("--threads", type=_count, default=0, metavar="N",
                        help="threads per process (default: all cores in this process, 2 in a worker)")
    parser.add_argument("--wait", type=_count, default=30, metavar="SECONDS",
                        help="how long to wait for a scheduler, or a worker when there is none (default: %(default)s)")
    parser.add_argument("--bayer", choices=get_args(Bayer), default="standard",
                        help="how Bayer frames are demosaiced (default: %(default)s)")
    parser.add_argument("--output", choices=("BGRA", "BGR"), default="BGRA", type=str.upper,
                        help="24 or 32 bits per pixel (default: %(default)s)")
    parser.add_argument("--crop", type=_region, metavar="WxH+X+Y",
                        help="this region only, as if the camera had sent no more")
    shown = parser.add_mutually_exclusive_group()
    shown.add_argument("--auto-range", action="store_true",
                       help="spread the samples of each frame from black to white")
    shown.add_argument("--auto", action="store_true",
                       help="what a person wants to see: black level, white balance, range and sRGB as each frame "
                            "suggests them (not YUV)")
    shown.add_argument("--shift", type=_shift, metavar="N",
                       help="bits that wide samples lose at the lower end (default: depth - 8)")
    parser.add_argument("--swap-bytes", action="store_true", help="16-bit samples arrive high byte first")
    parser.add_argument("-f", "--format", metavar="NAME",
                        help="pixel format of headerless files, packed ones included")
    parser.add_argument("-s", "--size", type=_size, metavar="WxH", help="size of headerless files")
    parser.add_argument("--stride", type=_bytes, metavar="BYTES", help="distance of their rows, when padded")
    parser.add_argument("--offset", type=_bytes, default=0, metavar="BYTES", help="bytes in front of their frames")
    parser.add_argument("--extension", action="append", metavar="EXT",
                        help="extension of headerless files; may be repeated (default: .raw, .bin and .dat)")
    parser.add_argument("--resume", action="store_true",
                        help="leave out what is there already, whole and not older than its source")
    present = parser.add_mutually_exclusive_group()
    present.add_argument("--force", action="store_true", help="replace read-only files, too")
    present.add_argument("--no-clobber", action="store_true", help="leave out what is there already, whatever it is")
    parser.add_argument("--no-sync", action="store_true",
                        help="do not wait for the disk: faster, but a power cut may leave files that are not whole")
    parser.add_argument("--retries", type=_count, default=2, metavar="N",
                        help="how often to try again after trouble of disk or worker (default: %(default)s)")
    parser.add_argument("--report", metavar="FILE",
                        help="JSON, or CSV when it ends in .csv; - is standard output (default: "
                             "DST/archive-report.json)")
    parser.add_argument("-q", "--quiet", action="store_true", help="no progress, no summary")
    return parser


class _End(Exception):
    """The run ends before it begins: an exit code, and why."""

    def __init__(self, code: int, why: str) -> None:
        super().__init__(why)
        self.code = code


def _layout(arguments: argparse.Namespace) -> Optional[RawLayout]:
    if (arguments.format is None) != (arguments.size is None):
        raise _End(EXIT_USAGE, "headerless files need both --format and --size")
    if arguments.format is None:
        if arguments.stride is not None or arguments.extension or arguments.offset:
            raise _End(EXIT_USAGE, "--stride, --offset and --extension go with --format and --size")
        return None
    try:
        name = find_format(arguments.format).name
    except KivoError:
        raise _End(EXIT_UNSUPPORTED, f"--format: {arguments.format!r} is not a known pixel format; "
                                     "kivocamutl.formats() lists them") from None
    width, height = arguments.size
    return RawLayout(name, width, height, arguments.stride, arguments.offset)


class _Signalled(KeyboardInterrupt):
    """A signal that ends the run, with its number."""


@contextlib.contextmanager
def _signals() -> Iterator[None]:
    """Turns signals into an exception, where Python allows it: in the main thread. A second one ends at once."""
    numbers = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

    def end(number: int, frame: Any) -> None:
        for other in numbers:
            signal.signal(other, signal.SIG_DFL)
        raise _Signalled(number)

    if threading.current_thread() is not threading.main_thread():
        yield
        return
    previous = {number: signal.getsignal(number) for number in numbers}
    for number in numbers:
        # As nohup wants it.
        if previous[number] is not signal.SIG_IGN:
            signal.signal(number, end)
    try:
        yield
    finally:
        for number in numbers:
            signal.signal(number, previous[number])


@dataclasses.dataclass(frozen=True)
class _Plan:
    """What there is to do."""

    source: str
    target: str
    jobs: list[Job]
    outcomes: list[Outcome]
    """Of files that are not converted at all."""


def _plan(arguments: argparse.Namespace, headerless: bool) -> _Plan:
    source, target = os.path.abspath(arguments.source), os.path.abspath(arguments.target)
    try:
        if not stat.S_ISDIR(os.stat(source).st_mode):
            raise _End(EXIT_INPUT, f"{arguments.source}: is not a folder")
    except (OSError, ValueError) as error:
        raise _End(EXIT_INPUT, f"{arguments.source}: cannot be opened: {getattr(error, 'strerror', error)}") from None
    if os.path.exists(target) and not os.path.isdir(target):
        raise _End(EXIT_USAGE, f"{arguments.target}: is a file; several pictures need a folder")
    extensions: Sequence[str] = (arguments.extension or HEADERLESS) if headerless else ()
    jobs, outcomes = find_jobs(source, target, extensions)
    if not jobs and not outcomes:
        raise _End(EXIT_INPUT, f"{arguments.source}: holds no {', '.join(('.rwh', *extensions))} files")
    try:
        there = refuse_overlaps(jobs)
    except OptionError as error:
        raise _End(EXIT_USAGE, str(error)) from None
    if arguments.no_clobber:
        outcomes += [Outcome(job.name, job.target, "skipped") for job in jobs if job.target in there]
        jobs = [job for job in jobs if job.target not in there]
    try:
        os.makedirs(target, exist_ok=True)
    except OSError as error:
        raise _End(EXIT_OUTPUT, f"{arguments.target}: cannot be made: {error.strerror}") from None
    return _Plan(source, target, jobs, outcomes)


def _convert(arguments: argparse.Namespace, options: Options, plan: _Plan) -> tuple[list[Outcome], int]:
    """Converts on the cluster that the arguments ask for: what was done, and the exit code as far as it is known."""
    outcomes: list[Outcome] = []

    def show(path: str) -> str:
        """As the user has named the folder."""
        for folder, given in ((plan.source, arguments.source), (plan.target, arguments.target)):
            if path.startswith(os.path.join(folder, "")):
                return os.path.join(given, os.path.relpath(path, folder))
        return path

    for outcome in plan.outcomes:
        if outcome.status == "failed":
            say(f"archive: {show(os.path.join(plan.source, outcome.name))}: {outcome.error}", sys.stderr)
    if not plan.jobs:
        return outcomes, EXIT_OK
    try:
        with _signals(), token_file(plan.target, options.tag) as token, \
                connected(arguments.scheduler, arguments.workers, arguments.threads, arguments.wait) as client:
            options = dataclasses.replace(options, source=plan.source, target=plan.target, token=token)
            archive = Archive(client, options, arguments.retries, arguments.quiet, arguments.wait, show)
            outcomes = archive.outcomes
            archive.convert(plan.jobs)
            return outcomes, EXIT_OUTPUT if archive.gave_up else EXIT_OK
    except KeyboardInterrupt as error:
        number = error.args[0] if isinstance(error, _Signalled) else signal.SIGINT
        print("archive: interrupted; the same command with --resume continues", file=sys.stderr)
        return outcomes, 128 + number
    except FileWriteError as error:
        say(f"archive: {arguments.target}: cannot be written: {error.strerror}", sys.stderr)
        return outcomes, EXIT_OUTPUT
    except (ClusterError, OSError) as error:
        say(f"archive: {error}", sys.stderr)
        return outcomes, EXIT_CLUSTER


def _tell(outcomes: Sequence[Outcome], report: str, summary: dict[str, Any], quiet: bool) -> bool:
    """Writes the report, and its sum to the terminal; False when there is no report."""
    where = "" if report == "-" else f"; report in {report}"
    written = True
    try:
        write_report(report, outcomes, summary)
    except (OSError, OptionError) as error:
        say(f"archive: cannot write the report: {error}", sys.stderr)
        where, written = "", False
    if not quiet:
        tally = counts(outcomes)
        left = tally.pop("not run")
        text = ", ".join(f"{count} {status}" for status, count in tally.items())
        text += f", {left} not done" if left else ""
        say(f"archive: {text} in {summary['seconds']:.1f} s{where}", sys.stderr)
    return written


def _run(arguments: argparse.Namespace) -> int:
    layout = _layout(arguments)
    plan = _plan(arguments, layout is not None)
    options = Options(arguments.bayer, arguments.output, arguments.resume, arguments.force, arguments.no_clobber,
                      not arguments.no_sync, f"{secrets.token_hex(4)}-", raw=layout, swap_bytes=arguments.swap_bytes,
                      crop=arguments.crop, auto_range=arguments.auto_range, shift=arguments.shift,
                      auto=arguments.auto)
    started, begin = time.time(), time.monotonic()
    done, code = _convert(arguments, options, plan)
    # What workers were writing when they died. One that still writes after an interruption finishes its file.
    remove_leftovers(plan.target, options.tag)

    known = {outcome.name for outcome in done}
    missed = (Outcome(j.name, j.target, "not run", attempts=0) for j in plan.jobs if j.name not in known)
    outcomes = [*plan.outcomes, *done, *missed]
    summary = {"source": plan.source, "target": plan.target, "bayer": options.bayer, "output": options.output,
               "started": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(started)),
               "seconds": round(time.monotonic() - begin, 3)}
    report = arguments.report or os.path.join(plan.target, "archive-report.json")
    told = _tell(outcomes, report, summary, arguments.quiet)
    if code == EXIT_OK and any(outcome.status in ("failed", "not run") for outcome in outcomes):
        code = EXIT_SOME
    return code if code or told else EXIT_OUTPUT


def main(argv: Optional[Sequence[str]] = None) -> int:
    """The command line; returns its exit code."""
    arguments = _parser().parse_args(argv)
    try:
        import distributed  # noqa: F401
    except ImportError:
        print("archive: dask.distributed is missing; install python3-distributed", file=sys.stderr)
        return EXIT_CLUSTER
    # A cluster that goes away leaves calls behind that nobody waits for; its own trouble is reported otherwise.
    logging.getLogger("asyncio").setLevel(logging.CRITICAL)
    try:
        return _run(arguments)
    except _End as end:
        say(f"archive: {end}", sys.stderr)
        return end.code


def _program() -> int:
    """As main(); after a signal the process ends by it, so that a shell ends what it is part of."""
    code = main()
    if code > 128:
        sys.stdout.flush()
        signal.signal(code - 128, signal.SIG_DFL)
        os.kill(os.getpid(), code - 128)
    return code


if __name__ == "__main__":
    sys.exit(_program())
