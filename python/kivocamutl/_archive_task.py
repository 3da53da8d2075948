# SPDX-License-Identifier: Apache-2.0
"""What a worker does with one file of an archive. A module of its own, so that every worker can import it."""

from __future__ import annotations

import dataclasses
import os
import socket
import stat
import time
from typing import Any, Optional, Sequence

import numpy as np

from ._frames import as_frame
from .conversion import convert
from .errors import FrameSizeError, OptionError
from .files import bmp_bytes, read_rwh, read_rwh_header, write_bmp


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

    bayer: str = "standard"
    output: str = "BGR"
    force: bool = False
    tag: str = ""
    """Part of the names of temporary files, by which leftovers of killed workers are found."""
    raw: Optional[RawLayout] = None
    swap_bytes: bool = False
    """Words of 16 bits have the high byte first."""
    crop: Optional[tuple[int, int, int, int]] = None
    auto_range: bool = False
    shift: Optional[int] = None

    @property
    def channels(self) -> int:
        return len(self.output)

    def picture_size(self, width: int, height: int) -> tuple[int, int]:
        """Width and height of the picture of such a frame."""
        return (width, height) if self.crop is None else self.crop[2:]


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
    format: str = ""
    width: int = 0
    height: int = 0
    bytes: int = 0
    seconds: float = 0.0
    worker: str = ""
    attempts: int = 1


# Tags of runs that were interrupted while workers are threads of this process, which nobody can kill.
stopped_runs: set[str] = set()


def _there(job: Job, size: int) -> bool:
    """Whether the output is a file of this size that is no older than its source."""
    try:
        target, source = os.stat(job.target), os.stat(job.source)
    except OSError:
        return False
    return stat.S_ISREG(target.st_mode) and target.st_size == size and target.st_mtime_ns >= source.st_mtime_ns


def _convert(job: Job, options: Options, outcome: Outcome) -> None:
    layout = options.raw if job.raw else None
    if layout is not None:
        outcome.format, outcome.width, outcome.height = layout.format, layout.width, layout.height
    else:
        header = read_rwh_header(job.source)
        outcome.format, outcome.width, outcome.height = header.format.name, header.width, header.height
    if not (outcome.width and outcome.height):
        raise FrameSizeError(f"a frame of {outcome.width} x {outcome.height} pixels has no picture")
    size = options.picture_size(outcome.width, outcome.height)
    outcome.bytes = bmp_bytes(*size, options.channels)
    if not options.force and _there(job, outcome.bytes):
        outcome.status = "skipped"
        return
    how: dict[str, Any] = {"bayer": options.bayer, "output": options.output, "crop": options.crop,
                           "auto_range": options.auto_range, "shift": options.shift}
    if layout is not None:
        length = os.path.getsize(job.source)
        if length < layout.offset:
            raise FrameSizeError(f"the file has {length} bytes, and the frame begins behind {layout.offset}")
        # Bytes behind the frame are ignored.
        data = np.fromfile(job.source, np.uint8, offset=layout.offset)
        raw = as_frame(data, layout.format, layout.width, layout.height, layout.stride)
        array, format = raw.pixels, raw.format.name
    else:
        array, format = read_rwh(job.source)
    if options.swap_bytes:
        if array.dtype.itemsize != 2 or format != outcome.format:
            raise OptionError(f"only formats of 16-bit words can be big-endian, and the frame is {outcome.format}")
        array = array.byteswap()
    picture = convert(array, format, **how)
    if picture.shape[1::-1] != size:
        raise FrameSizeError(f"{job.source} changed its size while it was read")
    os.makedirs(os.path.dirname(job.target), exist_ok=True)
    write_bmp(job.target, picture, tag=options.tag)
    outcome.status = "converted"


def run(job: Job, options: Options) -> Outcome:
    """Converts one file. Never raises for what the file or the disk does: that is part of the outcome."""
    start = time.perf_counter()
    outcome = Outcome(job.name, job.target, "failed", worker=f"{socket.gethostname()}:{os.getpid()}")
    try:
        _convert(job, options, outcome)
    except ValueError as error:
        outcome.error = str(error)
    except (OSError, MemoryError) as error:
        outcome.error = f"{type(error).__name__}: {error}" if str(error) else type(error).__name__
        outcome.final = False
    if outcome.status == "failed":
        outcome.bytes = 0
    outcome.seconds = round(time.perf_counter() - start, 6)
    return outcome


def run_batch(jobs: Sequence[Job], options: Options) -> list[Outcome]:
    """Converts files one after the other. A run that is interrupted gets the outcomes of those done so far."""
    outcomes: list[Outcome] = []
    for job in jobs:
        if options.tag in stopped_runs:
            break
        outcomes.append(run(job, options))
    return outcomes
