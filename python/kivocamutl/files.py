# SPDX-License-Identifier: Apache-2.0
"""RWH raw frames and BMP pictures on disk.

Writers fill a temporary file beside the target and rename it when it is whole and on the disk: a reader, or
a run that is killed, never sees half a file.
"""

from __future__ import annotations

import contextlib
import errno
import fcntl
import io
import itertools
import os
import secrets
import stat
import struct
from typing import Any, Iterator, NamedTuple, Optional, Union

import numpy as np
import numpy.typing as npt

from ._frames import FrameLike, as_frame, byte_rows, packed_source, refuse_masked
from ._library import function
from ._sizes import size_argument
from .errors import FileWriteError, FrameSizeError, RwhError, SampleTypeError, StatusError
from .pixel_formats import Format, FormatLike, PackedFormat, find_any_format

__all__ = ["RawFrame", "RwhHeader", "read_rwh", "read_rwh_header", "write_rwh", "write_bmp", "bmp_bytes"]

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_HEADER = struct.Struct("<4I")
_BMP_HEADER = {1: 1078, 3: 54, 4: 54}
_BMP_WRITER = {1: "SaveBmpMono_S", 3: "SaveBmpRGB_S", 4: "SaveBmpARGB_S"}
TEMPORARY_SUFFIX = ".kivo-part"
_ATTEMPTS = 100


class RawFrame(NamedTuple):
    """A raw frame and the name of its format; fits ``convert(*frame)``."""

    array: npt.NDArray[Any]
    """The pixels, in the shape and dtype that :func:`kivocamutl.convert` takes."""
    format: str
    """PFNC name."""


class RwhHeader(NamedTuple):
    """The 16 bytes at the start of an RWH file, checked against its length."""

    format: Union[Format, PackedFormat]
    width: int
    height: int
    line_bytes: int
    """Bytes from one row to the next."""

    @property
    def data_bytes(self) -> int:
        """Bytes that follow the header."""
        return self.line_bytes * self.height


def _open(path: PathLike) -> "io.FileIO":
    """Opens for reading. A pipe is refused before opening it would wait for a writer."""
    if not stat.S_ISREG(os.stat(path).st_mode):
        raise RwhError(f"{os.fsdecode(path)}: not a regular file")
    return io.FileIO(os.fsdecode(path), "r")


def _header(file: "io.FileIO", shown: str) -> RwhHeader:
    info = os.fstat(file.fileno())
    head = file.read(_HEADER.size)
    if len(head) < _HEADER.size:
        raise RwhError(f"{shown}: {len(head)} bytes are too short for the {_HEADER.size}-byte RWH header")
    code, width, height, line_bytes = _HEADER.unpack(head)
    try:
        format = find_any_format(code)
    except ValueError as error:
        raise RwhError(f"{shown}: {error}") from None
    header = RwhHeader(format, width, height, line_bytes)
    if line_bytes < format.row_bytes(width):
        raise RwhError(f"{shown}: the header gives {line_bytes} bytes to a row, but {format.name} of width {width} "
                       f"takes {format.row_bytes(width)}")
    if info.st_size != _HEADER.size + header.data_bytes:
        raise RwhError(f"{shown}: {info.st_size} bytes long, but {format.name} of {width} x {height} with rows of "
                       f"{line_bytes} bytes makes {_HEADER.size + header.data_bytes}")
    return header


def read_rwh_header(path: PathLike) -> RwhHeader:
    """The header of an RWH file, without its pixels.

    :raises OSError: the file cannot be opened or read.
    :raises RwhError: the file is no RWH file, or not whole.
    """
    with _open(path) as file:
        return _header(file, os.fsdecode(path))


def read_rwh(path: PathLike, *, mmap: bool = False) -> RawFrame:
    """Reads a raw frame.

    :param path: The RWH file.
    :param mmap: Map the pixels read-only instead of reading them: they come from the disk when they are used,
        and the file may not be changed before that.
    :returns: ``(array, format)``: the pixels in the shape and dtype of :meth:`kivocamutl.Format.shape`, and the
        PFNC name. Samples that share bytes are unpacked, and the name is that of the unpacked format;
        :func:`read_rwh_header` tells the file's own.
    :raises OSError: the file cannot be opened or read.
    :raises RwhError: the file is no RWH file, or not whole; checked before memory is taken for it.
    """
    shown = os.fsdecode(path)
    with _open(path) as file:
        header = _header(file, shown)
        size = header.data_bytes
        data: npt.NDArray[np.uint8]
        if mmap and size:
            data = np.memmap(file, np.uint8, "r", _HEADER.size, (size,))
        else:
            data = np.empty(size, np.uint8)
            view, filled = data.data, 0
            while filled < size:
                count = file.readinto(view[filled:])
                if not count:
                    raise RwhError(f"{shown}: ends after {filled} of {size} bytes of pixels")
                filled += count
    try:
        frame = as_frame(data, header.format, header.width, header.height, header.line_bytes)
    except FrameSizeError as error:
        raise RwhError(f"{shown}: {error}") from None
    return RawFrame(frame.pixels, frame.format.name)


def _shortened(name: str) -> str:
    """The start of a name, so that one of the greatest length has room for more: whole characters, 64 bytes."""
    name = name[:64]
    while len(os.fsencode(name)) > 64:
        name = name[:-1]
    return name


def _write_error(error: OSError, path: PathLike) -> FileWriteError:
    """What the system said about the temporary file, said of the file that the caller named."""
    return FileWriteError(error.errno, os.strerror(error.errno or 0), os.fsdecode(path))


def _new_temporary(target: str, tag: str) -> tuple[str, int]:
    """Name and descriptor of an empty file beside the target, locked where the file system has locks.

    The lock tells a file that is written from one whose writer died.
    """
    folder, name = os.path.split(target)
    for attempt in itertools.count():
        temporary = os.path.join(folder, f".{_shortened(name)}.{tag}{secrets.token_hex(6)}{TEMPORARY_SUFFIX}")
        descriptor = os.open(temporary, os.O_RDWR | os.O_CREAT | os.O_EXCL | getattr(os, "O_CLOEXEC", 0), 0o666)
        # Between its creation and its lock another run may have taken the file for a leftover.
        ours = _lock(descriptor) is not False and os.fstat(descriptor).st_nlink != 0
        if ours or attempt >= _ATTEMPTS:
            break
        os.close(descriptor)
        with contextlib.suppress(OSError):
            os.unlink(temporary)
    return temporary, descriptor


def _lock(descriptor: int) -> Optional[bool]:
    """Whether the file is locked now for this descriptor alone; None where the file system has no locks."""
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        return False
    except OSError:
        return None
    return True


@contextlib.contextmanager
def atomic_file(path: PathLike, tag: str = "") -> Iterator[tuple[str, int]]:
    """Name and descriptor of an empty file that takes the place of `path` when the block ends well.

    A symbolic link keeps pointing where it does: the file behind it is replaced. `tag` becomes part of the
    temporary name, which ends in ``.kivo-part``.
    """
    target = os.path.realpath(os.fsdecode(path))
    with contextlib.suppress(FileNotFoundError):
        if not stat.S_ISREG(os.stat(target).st_mode):
            raise FileWriteError(errno.EINVAL, "not a regular file", os.fsdecode(path))
    temporary, descriptor = _new_temporary(target, tag)
    try:
        try:
            yield temporary, descriptor
            try:
                os.fsync(descriptor)
                os.replace(temporary, target)
            except OSError as error:
                raise _write_error(error, path) from None
        finally:
            os.close(descriptor)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(temporary)
        raise


def remove_unwritten(temporary: str, untold: bool) -> bool:
    """Deletes a temporary file that no writer has locked; says whether it did.

    Where no lock can tell, `untold` decides: on a file system without locks, or for a file of another user.

    :raises OSError: the file cannot be deleted, or is gone.
    """
    try:
        descriptor = os.open(temporary, os.O_RDWR | getattr(os, "O_CLOEXEC", 0))
    except OSError:
        descriptor = -1
    try:
        # The lock is held until the file is gone, so that no writer can lock it in between.
        locked = _lock(descriptor) if descriptor >= 0 else None
        if locked is False or (locked is None and not untold):
            return False
        os.unlink(temporary)
        return True
    finally:
        if descriptor >= 0:
            os.close(descriptor)


def _write_all(descriptor: int, data: Any, path: PathLike) -> None:
    view = memoryview(data).cast("B") if len(data) else memoryview(b"")
    while view.nbytes:
        try:
            view = view[os.write(descriptor, view) :]
        except OSError as error:
            raise _write_error(error, path) from None


def write_rwh(
    path: PathLike,
    array: FrameLike,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
) -> None:
    """Writes a raw frame with packed rows.

    :param path: The RWH file; replaced when it exists, untouched when the write fails.
    :param array: The frame, as :func:`kivocamutl.convert` takes it. Written from where it is when contiguous. The
        bytes of a packed format are written as they are, if a row ends on a byte.
    :param format: PFNC name, in any case, or PFNC code; of :func:`kivocamutl.formats` or
        :func:`kivocamutl.packed_formats`.
    :param width: Pixels per row, for a flat buffer and for rows of bytes that are longer than the frame's.
    :param height: Rows, for a flat buffer.
    :param stride: Bytes from one row of a flat buffer to the next, when rows are padded.
    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format, or its packed rows end within a byte.
    :raises SampleTypeError: a dtype does not fit the format, or the array is none.
    :raises FileWriteError: the file could not be written whole, as on a full disk, or is no regular file.
    :raises OSError: the folder does not exist or may not be written to.
    """
    known = find_any_format(format)
    if isinstance(known, PackedFormat):
        _write_packed(path, array, known, width, height, stride)
        return
    frame = as_frame(array, known, width, height, stride)
    line_bytes = size_argument("the length of a row", frame.format.row_bytes(frame.width))
    pixels = frame.pixels.reshape(-1).view(np.uint8) if frame.pixels.size else np.empty(0, np.uint8)
    _write_frame(path, (frame.format.code, frame.width, frame.height, line_bytes), pixels)


def _write_packed(path: PathLike, array: FrameLike, format: PackedFormat, width: Optional[int],
                  height: Optional[int], stride: Optional[int]) -> None:
    """A frame whose samples share bytes, as it is."""
    flat, width, height, stride = packed_source(array, format, width, height, stride)
    row = format.row_bytes(width)
    if row * 8 != width * format.bits_per_pixel:
        raise FrameSizeError(f"a row of {width} {format.name} pixels does not end on a byte, as a row of an RWH "
                             "file does: unpack() the frame first")
    rows = byte_rows(format, flat, width, height, stride)
    _write_frame(path, (format.code, width, height, row), np.ascontiguousarray(rows).reshape(-1))


def _write_frame(path: PathLike, header: tuple[int, int, int, int], data: npt.NDArray[np.uint8]) -> None:
    with atomic_file(path) as (_, descriptor):
        _write_all(descriptor, _HEADER.pack(*header), path)
        if data.size:
            _write_all(descriptor, data, path)


def bmp_bytes(width: int, height: int, channels: int) -> int:
    """Length of the BMP file of a picture with 4 (BGRA), 3 (BGR) or 1 (grey) bytes per pixel."""
    return _BMP_HEADER[channels] + (width * channels + 3) // 4 * 4 * height


def write_bmp(path: PathLike, image: npt.NDArray[np.uint8], *, tag: str = "") -> None:
    """Writes a picture as an uncompressed Windows BMP file.

    :param path: The BMP file; replaced when it exists, untouched when the write fails.
    :param image: uint8 array of shape ``(height, width, 4)`` (B, G, R, A), ``(height, width, 3)`` (B, G, R) or
        ``(height, width)`` (grey). Rows may be apart: they are written from where they are as long as the
        pixels of a row are contiguous.
    :param tag: Part of the name of the temporary file, for those who look for leftovers.
    :raises FrameSizeError: the shape is none of those, or the file would exceed 4 GiB.
    :raises SampleTypeError: the image is no uint8 array, or lacks samples that are masked.
    :raises FileWriteError: the file could not be written whole, as on a full disk, or is no regular file.
    :raises StatusError: the library answered with a status that is not about the file.
    :raises OSError: the folder does not exist or may not be written to.
    """
    if not isinstance(image, np.ndarray) or image.dtype != np.uint8:
        raise SampleTypeError(f"image is an array of uint8, not {getattr(image, 'dtype', type(image).__name__)}")
    refuse_masked(image)
    channels = 1 if image.ndim == 2 else image.shape[2] if image.ndim == 3 else 0
    if channels not in _BMP_WRITER or (image.ndim == 3 and channels == 1):
        raise FrameSizeError(f"image has shape {image.shape}; expected (height, width), (height, width, 3) or "
                             "(height, width, 4)")
    height, width = image.shape[:2]
    size = bmp_bytes(width, height, channels)
    if size > 0xFFFFFFFF or max(width, height) > 0x7FFFFFFF:
        raise FrameSizeError(f"a BMP file of {width} x {height} pixels would take {size} bytes, more than it can say")
    row = width * channels
    pixels = image
    packed = image.strides[1:] == ((1,) if image.ndim == 2 else (channels, 1))
    if not packed or not row <= image.strides[0] <= 0xFFFFFFFF:
        pixels = np.ascontiguousarray(image)
    step = pixels.strides[0] if pixels.size else row
    with atomic_file(path, tag) as (temporary, descriptor):
        name = _BMP_WRITER[channels]
        status = function(name)(pixels.ctypes.data, width, height, step, os.fsencode(temporary))
        if status not in (0, 8194):
            raise StatusError(name, status)
        written = os.fstat(descriptor).st_size
        if status != 0 or written != size:
            raise FileWriteError(_why_short(temporary), f"wrote {written} of {size} bytes", os.fsdecode(path))


def _why_short(path: str) -> int:
    """The library does not say why a file is short: a full disk, or something else."""
    with contextlib.suppress(OSError):
        if os.statvfs(path).f_bavail == 0:
            return errno.ENOSPC
    return errno.EIO
