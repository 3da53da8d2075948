# SPDX-License-Identifier: Apache-2.0
"""What a worker does with one file of an archive. A module of its own, so that every worker can import it."""

from __future__ import annotations

import dataclasses
import os
import socket
import time
from typing import Optional

import numpy as np

from .conversion import convert
from .errors import FrameSizeError
from .files import bmp_bytes, read_rwh, read_rwh_header, write_bmp


@dataclasses.dataclass(frozen=True)
class RawLayout:
    """What a headerless file holds: a known format or a packed one, its size and the distance of its rows."""

    format: str
    width: int
    height: int
    stride: Optional[int] = None


@dataclasses.dataclass(frozen=True)
class Options:
    """What is the same for all files of a run."""

    bayer: str = "standard"
    output: str = "BGR"
    force: bool = False
    tag: str = ""
    """Part of the names of temporary files, by which leftovers of killed workers are found."""
    raw: Optional[RawLayout] = None

    @property
    def channels(self) -> int:
        return len(self.output)


@dataclasses.dataclass(frozen=True)
class Job:
    """One file, by its path relative to the folder of sources."""

    name: str
    source: str
    target: str
    raw: bool = False


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


def _there(path: str, size: int) -> bool:
    try:
        return os.path.isfile(path) and os.path.getsize(path) == size
    except OSError:
        return False


def _convert(job: Job, options: Options, outcome: Outcome) -> None:
    layout = options.raw if job.raw else None
    if layout is not None:
        outcome.format, outcome.width, outcome.height = layout.format, layout.width, layout.height
    else:
        header = read_rwh_header(job.source)
        outcome.format, outcome.width, outcome.height = header.format.name, header.width, header.height
    outcome.bytes = bmp_bytes(outcome.width, outcome.height, options.channels)
    if not options.force and _there(job.target, outcome.bytes):
        outcome.status = "skipped"
        return
    if layout is not None:
        # Bytes behind the frame are ignored.
        data = np.fromfile(job.source, np.uint8)
        picture = convert(data, layout.format, bayer=options.bayer, output=options.output, width=layout.width,
                          height=layout.height, stride=layout.stride)
    else:
        frame = read_rwh(job.source)
        picture = convert(frame.array, frame.format, bayer=options.bayer, output=options.output)
    if picture.shape[:2] != (outcome.height, outcome.width):
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
