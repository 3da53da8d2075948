# SPDX-License-Identifier: Apache-2.0
"""Files that are whole or absent.

Writers fill a temporary file beside the target and rename it when it is whole and on the disk: a reader, or a run that
is killed, never sees half a file. The temporary file of a writer that died is removed by the next one that writes into
the folder.
"""

from __future__ import annotations

import contextlib
import errno
import fcntl
import itertools
import os
import secrets
import stat
import threading
import time
from typing import Any, Iterator, Optional, Union

from .errors import FileWriteError, KivoError, OptionError

__all__ = ["PathLike", "atomic_file", "file_name", "is_temporary", "remove_if_stale", "write_all"]

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_SUFFIX = ".kivo-part"
_STALE_SECONDS = 3600
_ATTEMPTS = 100
_EVERYBODY_MAY_WRITE = 0o222

_swept: set[str] = set()
_sweeping = threading.Lock()


def file_name(path: PathLike) -> str:
    """The name as text, where it can be one of a file.

    :raises OptionError: it cannot.
    """
    try:
        name = os.fsdecode(path)
        possible = b"\0" not in os.fsencode(name)
    except (TypeError, UnicodeError):
        possible = False
    if not possible:
        raise OptionError(f"a file is named by text, bytes or a path without zero bytes, not by {path!r}")
    return name


@contextlib.contextmanager
def _written(name: str) -> Iterator[None]:
    """What the system says about a temporary file is said of the file that the caller named."""
    try:
        yield
    except OSError as error:
        if isinstance(error, KivoError):
            raise
        raise FileWriteError(error.errno, os.strerror(error.errno or 0), name) from None


def is_temporary(name: str) -> bool:
    """Whether a file is called as temporary ones are."""
    return name.startswith(".") and name.endswith(_SUFFIX)


def _shortened(name: str) -> str:
    """The start of a name, so that one of the greatest length has room for more: whole characters, 64 bytes."""
    name = name[:64]
    while len(os.fsencode(name)) > 64:
        name = name[:-1]
    return name


def _lock(descriptor: int) -> Optional[bool]:
    """Whether the file is locked now for this descriptor alone; None where the file system has no locks."""
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        return False
    except OSError:
        return None
    return True


def _new_temporary(target: str, tag: str) -> tuple[str, int]:
    """Name and descriptor of an empty file beside the target, locked where the file system has locks.

    The lock tells a file that is written from one whose writer died.
    """
    folder, name = os.path.split(target)
    for attempt in itertools.count():
        temporary = os.path.join(folder, f".{_shortened(name)}.{tag}{secrets.token_hex(6)}{_SUFFIX}")
        descriptor = os.open(temporary, os.O_RDWR | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o666)
        # Between its creation and its lock another run may have taken the file for a leftover.
        ours = _lock(descriptor) is not False and os.fstat(descriptor).st_nlink != 0
        if ours or attempt >= _ATTEMPTS:
            break
        os.close(descriptor)
        with contextlib.suppress(OSError):
            os.unlink(temporary)
    return temporary, descriptor


def remove_if_stale(temporary: str, tag: str = "") -> bool:
    """Deletes a temporary file whose writer died; says whether it did.

    A file that its writer has locked stays. Where no lock tells, on a file system without locks or for a file of
    another user, a file counts as written until it is an hour old; one with this tag in its name as left behind.

    :raises OSError: the file cannot be deleted, or is gone.
    """
    info = os.lstat(temporary)
    if not stat.S_ISREG(info.st_mode):
        return False
    try:
        descriptor = os.open(temporary, os.O_RDWR | os.O_CLOEXEC | os.O_NOFOLLOW | os.O_NONBLOCK)
    except OSError:
        descriptor = -1
    try:
        # The lock is held until the file is gone, so that no writer can lock it in between.
        locked = _lock(descriptor) if descriptor >= 0 else None
        if locked is None:
            tagged = bool(tag) and f".{tag}" in os.path.basename(temporary)
            locked = tagged or time.time() - info.st_mtime > _STALE_SECONDS
        if locked:
            os.unlink(temporary)
        return locked
    finally:
        if descriptor >= 0:
            os.close(descriptor)


def _sweep(folder: str) -> None:
    """Removes what writers that died have left in the folder; once in a process, which does not meet its own."""
    with _sweeping:
        if folder in _swept:
            return
        _swept.add(folder)
    with contextlib.suppress(OSError):
        for name in os.listdir(folder or "."):
            if is_temporary(name):
                with contextlib.suppress(OSError):
                    remove_if_stale(os.path.join(folder, name))


def _target(name: str, force: bool, no_clobber: bool) -> tuple[str, Optional[os.stat_result]]:
    """The file that is written, behind symbolic links, and what is known of it if it is there."""
    target = os.path.realpath(name) if os.path.islink(name) else name
    try:
        info = os.stat(target)
    except FileNotFoundError:
        return target, None
    if not stat.S_ISREG(info.st_mode):
        if stat.S_ISDIR(info.st_mode):
            raise FileWriteError(errno.EISDIR, "is a directory", name)
        raise FileWriteError(errno.EINVAL, "is not a regular file", name)
    if no_clobber:
        raise FileWriteError(errno.EEXIST, "is there already", name)
    if not force and not (info.st_mode & _EVERYBODY_MAY_WRITE and os.access(target, os.W_OK)):
        raise FileWriteError(errno.EACCES, "is read-only (force=True replaces it)", name)
    return target, info


def _take_over(descriptor: int, old: os.stat_result) -> int:
    """Gives a new file owner and group of the one that it replaces, as far as that is allowed; returns its mode.

    Until it is whole it can be written by its owner, too, and read by nobody else than in the end.
    """
    new = os.fstat(descriptor)
    mode = old.st_mode & 0o777
    group_kept = old.st_gid == new.st_gid
    if not group_kept or old.st_uid != new.st_uid:
        for owner in (old.st_uid, -1):
            with contextlib.suppress(OSError):
                os.fchown(descriptor, owner, old.st_gid)
                group_kept = True
                break
    if not group_kept:
        # Another group than the one that was meant may do no more than everybody.
        mode &= ~0o070 | (mode & 0o007) << 3
    # A file system without permissions has nothing to keep.
    with contextlib.suppress(OSError):
        os.fchmod(descriptor, mode | 0o200)
    return mode


def _synchronise(descriptor: int, sync: bool) -> None:
    """Network file systems may notice only now that a disk is full; closing a second descriptor makes them look."""
    if sync:
        os.fsync(descriptor)
    else:
        os.close(os.dup(descriptor))


def _give_name(temporary: str, target: str, no_clobber: bool) -> None:
    if not no_clobber:
        os.replace(temporary, target)
        return
    try:
        os.link(temporary, target)  # unlike a renamed file, a link replaces none that has come in the meantime
    except FileExistsError:
        raise
    except OSError:  # a file system without links
        if os.path.lexists(target):
            raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST)) from None
        os.replace(temporary, target)
    else:
        os.unlink(temporary)


@contextlib.contextmanager
def atomic_file(path: PathLike, tag: str = "", *, force: bool = False, no_clobber: bool = False,
                sync: bool = True) -> Iterator[tuple[str, int]]:
    """Name and descriptor of an empty file that takes the place of `path` when the block ends well.

    A symbolic link keeps pointing where it does: the file behind it is replaced. A file that is replaced passes on
    its permissions and, where the system allows it, its owner and group.

    :param tag: Part of the temporary name, which ends in ``.kivo-part``.
    :param force: Replace a read-only file, too.
    :param no_clobber: Replace no file at all.
    :param sync: Wait until the file is on the disk.
    :raises OptionError: `path` cannot be the name of a file, or `force` and `no_clobber` contradict each other.
    :raises FileWriteError: the file cannot be written.
    """
    name = file_name(path)
    if force and no_clobber:
        raise OptionError("force=True does not go with no_clobber=True")
    with _written(name):
        target, old = _target(name, force, no_clobber)
        _sweep(os.path.dirname(target))
        temporary, descriptor = _new_temporary(target, tag)
    try:
        try:
            mode = None
            if old is not None:
                with _written(name):
                    mode = _take_over(descriptor, old)
            yield temporary, descriptor
            with _written(name):
                if mode is not None and not mode & 0o200:
                    os.fchmod(descriptor, mode)
                _synchronise(descriptor, sync)
                _give_name(temporary, target, no_clobber)
        finally:
            os.close(descriptor)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(temporary)
        raise


def write_all(descriptor: int, data: Any, path: PathLike) -> None:
    """Writes every byte; what the system says is said of `path`."""
    view = memoryview(data).cast("B") if len(data) else memoryview(b"")
    with _written(file_name(path)):
        while view.nbytes:
            view = view[os.write(descriptor, view) :]
