# SPDX-License-Identifier: Apache-2.0
"""What a worker does with the files of an archive. A module of its own, so that every worker can import it."""

from __future__ import annotations

import contextlib
import dataclasses
import errno
import functools
import os
import socket
import stat
import time
from typing import Any, Optional, Sequence, Union

import numpy.typing as npt

from ._frames import as_frame
from .conversion import convert, pixels_of
from .errors import FileReadError, FileWriteError, FrameSizeError, OptionError, RwhError
from .files import as_raw_frame, bmp_bytes, opened, read_bytes, read_header, write_bmp
from .options import Bayer, Output
from .pixel_formats import find_format


@dataclasses.dataclass(frozen=True)
class RawLayout:
    """What a headerless file holds: a known format or a packed one, its size and the distance of its rows."""

    format: str
    width: int
    height: int
    stride: Optional[int] = None
    offset: int = 0
    """Bytes in front of the frame."""


@dataclasses.dataclass(frozen=True)
class Options:
    """What is the same for all files of a run."""

    bayer: Bayer = "standard"
    output: Output = "BGRA"
    resume: bool = False
    """Leave out what is there, whole and not older than its source."""
    force: bool = False
    no_clobber: bool = False
    sync: bool = True
    tag: str = ""
    """Part of the names of temporary files, by which leftovers of killed workers are found."""
    source: str = ""
    target: str = ""
    """The folders of the run; empty where nobody asks whether a worker sees them."""
    token: str = ""
    """A file below `target` that has the tag as its content."""
    raw: Optional[RawLayout] = None
    swap_bytes: bool = False
    """Words of 16 bits have the high byte first."""
    crop: Optional[tuple[int, int, int, int]] = None
    auto_range: bool = False
    shift: Optional[int] = None
    auto: bool = False
    """Colour settings that each frame suggests for itself."""

    @property
    def channels(self) -> int:
        return len(self.output)

    def picture_size(self, format: str, width: int, height: int) -> tuple[int, int]:
        """Width and height of the picture of such a frame."""
        if self.crop is not None:
            width, height = self.crop[2:]
        half = self.bayer == "half" and find_format(format).family == "bayer"
        return (width // 2, height // 2) if half else (width, height)


@dataclasses.dataclass(frozen=True)
class Job:
    """One file, by its path relative to the folder of sources."""

    name: str
    source: str
    target: str
    raw: bool = False
    bytes: int = 0
    """Length of the source."""


@dataclasses.dataclass
class Outcome:
    """What became of one file; a row of the report."""

    name: str
    target: str
    status: str
    """``converted``, ``skipped`` (it was there already), ``failed`` or ``not run``."""
    error: str = ""
    final: bool = True
    """Whether trying again is pointless."""
    output: bool = False
    """Whether it is the output that failed."""
    format: str = ""
    width: int = 0
    height: int = 0
    bytes: int = 0
    seconds: float = 0.0
    worker: str = ""
    attempts: int = 1


@dataclasses.dataclass(frozen=True)
class Blind:
    """The answer of a worker that does not see the folders of the run: it has done nothing."""

    worker: str
    """Its address."""
    folder: str


# Tags of runs that were interrupted while workers are threads of this process, which nobody can kill.
stopped_runs: set[str] = set()



@functools.lru_cache(maxsize=None)
def _whoami(process: int) -> str:
    return f"{socket.gethostname()}:{process}"


def _there(target: str, source: str, size: int) -> bool:
    """Whether the output is a file of this size that is no older than its source."""
    try:
        to, origin = os.stat(target), os.stat(source)
    except OSError:
        return False
    return stat.S_ISREG(to.st_mode) and to.st_size == size and to.st_mtime_ns >= origin.st_mtime_ns


def _make_folder(job: Job) -> None:
    """Makes the folder of an output, but never the one that all are in: without it, what was done is gone, too."""
    folder = os.path.dirname(job.target)
    if os.path.isdir(folder):
        return
    depth = job.name.count(os.sep)
    missing = []
    for _ in range(depth):
        missing.append(folder)
        folder = os.path.dirname(folder)
    for path in reversed(missing):
        with contextlib.suppress(FileExistsError):
            os.mkdir(path)


def _load(job: Job, options: Options, outcome: Outcome) -> Optional[tuple[npt.NDArray[Any], str]]:
    """The samples and the name of their format; None where the picture is there already."""
    layout = options.raw if job.raw else None
    with opened(job.source) as (file, name):
        if layout is not None:
            outcome.format, outcome.width, outcome.height = layout.format, layout.width, layout.height
        else:
            header = read_header(file, name)
            outcome.format, outcome.width, outcome.height = header.format.name, header.width, header.height
        if not (outcome.width and outcome.height):
            raise RwhError(f"is not a whole RWH file: its header says {outcome.width} x {outcome.height} pixels")
        outcome.bytes = bmp_bytes(*options.picture_size(outcome.format, outcome.width, outcome.height),
                                  options.channels)
        if options.resume and _there(job.target, job.source, outcome.bytes):
            return None
        if layout is None:
            return as_raw_frame(read_bytes(file, name, header.data_bytes), name, header)
        length = os.fstat(file.fileno()).st_size
        if length < layout.offset:
            raise FrameSizeError(f"the file has {length} bytes, and the frame begins behind {layout.offset}")
        file.seek(layout.offset)
        # Bytes behind the frame are ignored.
        data = read_bytes(file, name, length - layout.offset)
    raw = as_frame(data, layout.format, layout.width, layout.height, layout.stride)
    return pixels_of(raw), raw.format.plain


def _convert(job: Job, options: Options, outcome: Outcome) -> None:
    loaded = _load(job, options, outcome)
    if loaded is None:
        outcome.status = "skipped"
        return
    array, format = loaded
    if options.swap_bytes:
        if array.dtype.itemsize != 2 or format != outcome.format:
            raise OptionError(f"only formats of 16-bit words can be big-endian, and the frame is {outcome.format}")
        array = array.byteswap()
    picture = convert(array, format, bayer=options.bayer, output=options.output, crop=options.crop,
                      auto_range=options.auto_range, shift=options.shift, colour="auto" if options.auto else None)
    outcome.output = True
    try:
        _make_folder(job)
    except OSError as error:
        raise FileWriteError(error.errno, f"its folder cannot be made: {os.strerror(error.errno or 0)}",
                             job.target) from None
    write_bmp(job.target, picture, force=options.force, no_clobber=options.no_clobber, tag=options.tag,
              sync=options.sync)
    outcome.output = False
    outcome.status = "converted"


def _said(error: Exception, job: Job) -> str:
    """What is wrong, without the name of the file that it is said of."""
    if isinstance(error, FileReadError):
        return f"cannot be {'read' if error.errno in (errno.EIO, errno.ESTALE) else 'opened'}: {error.strerror}"
    if isinstance(error, FileWriteError):
        text = error.strerror or str(error)
        if "cannot be" in text or text.startswith("is "):
            return text.replace("force=True", "--force")
        return f"cannot be written: {text}"
    text = str(error) or type(error).__name__
    return text[len(job.source) + 2 :] if text.startswith(f"{job.source}: ") else text


def run(job: Job, options: Options) -> Outcome:
    """Converts one file. Never raises for what the file or the disk does: that is part of the outcome."""
    start = time.perf_counter()
    outcome = Outcome(job.name, job.target, "failed", worker=_whoami(os.getpid()))
    try:
        _convert(job, options, outcome)
    except FileWriteError as error:
        outcome.error = _said(error, job)
        # That a file may not be replaced is no trouble that passes.
        outcome.final = outcome.error.startswith("is ")
    except OSError as error:
        outcome.error = _said(error, job)
        outcome.final = isinstance(error, FileReadError) and error.errno in (errno.EACCES, errno.ELOOP)
    except MemoryError:
        outcome.error, outcome.final, outcome.output = "not enough memory", False, False
    except ValueError as error:
        outcome.error, outcome.output = _said(error, job), False
    if outcome.status == "failed":
        outcome.bytes = 0
    outcome.seconds = round(time.perf_counter() - start, 6)
    return outcome


def _unseen(options: Options) -> str:
    """The folder of the run that is not here what it is where the run began, or nothing.

    The mount point of a file system that is not mounted is an empty folder.
    """
    if not options.token:
        return ""
    try:
        with open(options.token, encoding="ascii") as file:
            if file.read() != options.tag:
                return options.target
    except (OSError, ValueError):
        return options.target
    try:
        with os.scandir(options.source) as entries:
            return "" if next(entries, None) else options.source
    except OSError:
        return options.source


def run_batch(jobs: Sequence[Job], options: Options) -> Union[list[Outcome], Blind]:
    """Converts files one after the other. A run that is interrupted gets the outcomes of those done so far."""
    unseen = _unseen(options)
    if unseen:
        from distributed import get_worker

        return Blind(get_worker().address, unseen)
    outcomes: list[Outcome] = []
    for job in jobs:
        if options.tag in stopped_runs:
            break
        outcomes.append(run(job, options))
    return outcomes
