# SPDX-License-Identifier: Apache-2.0
"""The files of an archive: what there is to convert, what the pictures are called, what dead workers have left."""

from __future__ import annotations

import contextlib
import os
import stat
from typing import Iterator, Sequence

from ._archive_task import Job, Outcome
from ._whole_file import atomic_file, is_temporary, remove_if_stale
from .errors import FileWriteError, OptionError

__all__ = ["HEADERLESS", "find_jobs", "refuse_overlaps", "remove_leftovers", "token_file"]

HEADERLESS = (".raw", ".bin", ".dat")


def find_jobs(source: str, target: str, raw_extensions: Sequence[str] = ()) -> tuple[list[Job], list[Outcome]]:
    """The files below `source` in the order of their names, and those that can be no job at all.

    RWH files are found by the extension ``.rwh``, headerless ones by `raw_extensions`, in any case. The output
    of ``a/b.rwh`` is ``a/b.bmp``. Hidden files and folders are left out, and links to folders are not followed.
    """
    jobs: list[Job] = []
    rejected: list[Outcome] = []
    raw = {e.lower() if e.startswith(".") else f".{e.lower()}" for e in raw_extensions}

    def reject(error: OSError) -> None:
        rejected.append(Outcome(os.path.relpath(error.filename, source), "", "failed",
                                f"cannot be searched: {error.strerror}"))

    for folder, folders, names in os.walk(source, onerror=reject):
        folders[:] = sorted(name for name in folders if not name.startswith("."))
        prefix = "" if folder == source else os.path.relpath(folder, source)
        for name in sorted(names):
            stem, extension = os.path.splitext(name)
            extension = extension.lower()
            if name.startswith(".") or (extension != ".rwh" and extension not in raw):
                continue
            path = os.path.join(folder, name)
            relative = os.path.join(prefix, name)
            full = os.path.join(target, prefix, stem + ".bmp")
            try:
                info = os.stat(path)
            except OSError as error:
                rejected.append(Outcome(relative, full, "failed", f"cannot be opened: {error.strerror}"))
                continue
            if stat.S_ISREG(info.st_mode):
                jobs.append(Job(relative, path, full, extension != ".rwh", info.st_size))
            else:
                rejected.append(Outcome(relative, full, "failed", "not a regular file"))
    return jobs, rejected


def refuse_overlaps(jobs: Sequence[Job]) -> set[str]:
    """The outputs that are there already.

    :raises OptionError: two files would become one picture, or a picture would take the place of a frame.
    """
    taken: dict[str, str] = {}
    for job in jobs:
        other = taken.setdefault(job.target, job.source)
        if other != job.source:
            raise OptionError(f"{job.target}: two inputs would become this one output: {other} and {job.source}")
    there: dict[str, os.stat_result] = {}
    for target in taken:
        with contextlib.suppress(OSError):
            there[target] = os.stat(target)
    if there:
        inputs = set()
        for job in jobs:
            with contextlib.suppress(OSError):
                info = os.stat(job.source)
                inputs.add((info.st_dev, info.st_ino))
        for target, info in there.items():
            if (info.st_dev, info.st_ino) in inputs:
                raise OptionError(f"{target}: the output is one of the inputs")
    return set(there)


def remove_leftovers(folder: str, tag: str) -> int:
    """Deletes temporary files of workers that died, of this run and of any other; returns how many.

    A file that its writer has locked stays.
    """
    removed = 0
    for path, _, names in os.walk(folder):
        for name in names:
            if is_temporary(name):
                with contextlib.suppress(OSError):
                    removed += remove_if_stale(os.path.join(path, name), tag)
    return removed


class _Done(Exception):
    """Ends the block of a file that is not to get its name."""


@contextlib.contextmanager
def token_file(folder: str, tag: str) -> Iterator[str]:
    """Name of a file that has the tag as its content as long as the block lasts.

    A worker that reads it sees the folder. A run that is killed leaves it as a temporary file, which the next one
    removes.

    :raises FileWriteError: nothing can be written there.
    """
    with contextlib.suppress(_Done):
        with atomic_file(os.path.join(folder, "archive"), tag) as (temporary, descriptor):
            try:
                os.write(descriptor, tag.encode("ascii"))
            except OSError as error:
                raise FileWriteError(error.errno, os.strerror(error.errno or 0), folder) from None
            yield temporary
            raise _Done
