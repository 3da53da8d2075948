# SPDX-License-Identifier: Apache-2.0
"""RWH raw frames and BMP pictures on disk. What is written is whole or absent, see :mod:`._whole_file`."""

from __future__ import annotations

import contextlib
import errno
import io
import os
import stat
import struct
from typing import Any, Iterator, NamedTuple, Optional, Union

import numpy as np
import numpy.typing as npt

from ._engine import Memory
from ._frames import Frame, FrameLike, as_frame, refuse_masked
from ._library import function
from ._sizes import size_argument
from ._whole_file import PathLike, atomic_file, file_name, write_all
from .conversion import check_frame, pixels_of
from .errors import (
    FileReadError,
    FileWriteError,
    FrameSizeError,
    KivoError,
    RwhError,
    SampleTypeError,
    StatusError,
    UnknownFormatError,
)
from .pixel_formats import Format, FormatLike, find_format

__all__ = ["RawFrame", "RwhHeader", "read_rwh", "read_rwh_header", "write_rwh", "write_bmp", "bmp_bytes"]

_HEADER = struct.Struct("<4I")
_BMP_HEADER = {1: 1078, 3: 54, 4: 54}
_BMP_WRITER = {1: "SaveBmpMono_S", 3: "SaveBmpRGB_S", 4: "SaveBmpARGB_S"}


class RawFrame(NamedTuple):
    """A raw frame and the name of its format; fits ``convert(*frame)``."""

    array: npt.NDArray[Any]
    """The pixels, in the shape and dtype that :func:`kivocamutl.convert` takes."""
    format: str
    """PFNC name."""


class RwhHeader(NamedTuple):
    """The 16 bytes at the start of an RWH file, checked against its length."""

    format: Format
    width: int
    height: int
    line_bytes: int
    """Bytes from one row to the next."""

    @property
    def data_bytes(self) -> int:
        """Bytes that follow the header."""
        return self.line_bytes * self.height


def _open_now(name: str, flags: int) -> int:
    """Without O_NONBLOCK, opening a pipe waits for somebody who writes into it."""
    return os.open(name, flags | os.O_NONBLOCK | os.O_NOCTTY)


@contextlib.contextmanager
def opened(path: PathLike) -> Iterator[tuple["io.FileIO", str]]:
    """A regular file for reading, and its name. What the system says of it in the block is a FileReadError."""
    name = file_name(path)
    try:
        with io.FileIO(name, "r", opener=_open_now) as file:
            if not stat.S_ISREG(os.fstat(file.fileno()).st_mode):
                raise RwhError(f"{name}: not a regular file")
            yield file, name
    except IsADirectoryError:
        raise RwhError(f"{name}: is a directory") from None
    except OSError as error:
        if isinstance(error, KivoError):
            raise
        raise FileReadError(error.errno, os.strerror(error.errno or 0), name) from None


def read_header(file: "io.FileIO", name: str) -> RwhHeader:
    """The header of an open RWH file, checked against its length."""
    length = os.fstat(file.fileno()).st_size
    head = file.read(_HEADER.size)
    if len(head) < _HEADER.size:
        raise RwhError(f"{name}: the file is shorter than the {_HEADER.size}-byte RWH header")
    code, width, height, line_bytes = _HEADER.unpack(head)
    expected = _HEADER.size + line_bytes * height
    try:
        format = find_format(code)
    except UnknownFormatError:
        if length == expected and line_bytes:
            raise UnknownFormatError(f"{name}: pixel format 0x{code:08X} is not supported") from None
        raise RwhError(f"{name}: is not a whole RWH file: 0x{code:08X} at its start is no known pixel format") from None
    bits, planar = width * format.bits_per_pixel, format.packing == "planar"
    if line_bytes * 8 < bits or (planar and line_bytes * 8 != bits):
        raise RwhError(f"{name}: is not a whole RWH file: {line_bytes} bytes a row are too few for {width} pixels of "
                       f"{format.name}")
    if length != expected:
        raise RwhError(f"{name}: is not a whole RWH file: it holds {length} bytes, its header says {expected}")
    return RwhHeader(format, width, height, line_bytes)


def read_bytes(file: "io.FileIO", name: str, size: int) -> npt.NDArray[np.uint8]:
    """The next `size` bytes of an open file."""
    data = np.empty(size, np.uint8)
    view, filled = data.data, 0
    while filled < size:
        count = file.readinto(view[filled:])
        if not count:
            raise RwhError(f"{name}: cannot be read completely")
        filled += count
    return data


def as_raw_frame(data: npt.NDArray[np.uint8], name: str, header: RwhHeader) -> RawFrame:
    """The bytes behind a header as a frame."""
    try:
        stride = 0 if header.format.packing == "planar" else header.line_bytes
        pixels = pixels_of(as_frame(data, header.format, header.width, header.height, stride))
    except FrameSizeError as error:
        raise RwhError(f"{name}: {error}") from None
    return RawFrame(pixels, header.format.plain)


def read_rwh_header(path: PathLike) -> RwhHeader:
    """The header of an RWH file, without its pixels.

    :raises FileReadError: the file cannot be opened or read; FileNotFoundError, PermissionError and so on as well.
    :raises RwhError: the file is no RWH file, or not whole.
    :raises UnknownFormatError: it is one as far as its length tells, of a pixel format that is not known.
    :raises OptionError: `path` cannot be the name of a file.
    """
    with opened(path) as (file, name):
        return read_header(file, name)


def read_rwh(path: PathLike, *, mmap: bool = False) -> RawFrame:
    """Reads a raw frame.

    :param path: The RWH file.
    :param mmap: Map the pixels read-only instead of reading them: they come from the disk when they are used,
        and the file may not be changed before that.
    :returns: ``(array, format)``: the pixels in the shape and dtype of :meth:`kivocamutl.Format.shape`, and the
        PFNC name. Samples that are not plain are unpacked, and the name is that of the plain format;
        :func:`read_rwh_header` tells the file's own.
    :raises FileReadError: the file cannot be opened or read; FileNotFoundError, PermissionError and so on as well.
    :raises RwhError: the file is no RWH file, or not whole; checked before memory is taken for it.
    :raises UnknownFormatError: it is one as far as its length tells, of a pixel format that is not known.
    :raises OptionError: `path` cannot be the name of a file.
    """
    with opened(path) as (file, name):
        header = read_header(file, name)
        size = header.data_bytes
        data: npt.NDArray[np.uint8]
        if mmap and size:
            data = np.memmap(file, np.uint8, "r", _HEADER.size, (size,))
        else:
            data = read_bytes(file, name, size)
    return as_raw_frame(data, name, header)


def write_rwh(
    path: PathLike,
    array: FrameLike,
    format: FormatLike,
    *,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    force: bool = False,
    no_clobber: bool = False,
) -> None:
    """Writes a raw frame with packed rows.

    :param path: The RWH file; replaced when it exists, untouched when the write fails. What replaces a file has its
        permissions and, where the system allows it, its owner and group.
    :param array: The frame, as :func:`kivocamutl.convert` takes it. Written from where it is when contiguous. Bytes
        are written as they are; where samples share them, a row has to end on a byte.
    :param format: Name, in any case, or PFNC code, see :func:`kivocamutl.find_format`.
    :param width: Pixels per row, for a flat buffer and for rows of bytes that are longer than the frame's.
    :param height: Rows, for a flat buffer.
    :param stride: Bytes from one row of a flat buffer to the next, when rows are padded.
    :param force: Replace a read-only file, too.
    :param no_clobber: Replace no file at all.
    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format, or its packed rows end within a byte.
    :raises SampleTypeError: a dtype does not fit the format, or the array is none.
    :raises OptionError: `path` cannot be the name of a file, or `force` and `no_clobber` contradict each other.
    :raises FileWriteError: the file could not be written whole, as on a full disk, may not be replaced, is no regular
        file, or its folder is not there; FileNotFoundError, FileExistsError, PermissionError and so on as well.
    """
    frame = as_frame(array, format, width, height, stride)
    known = frame.format
    row, rest = divmod(frame.width * known.bits_per_pixel, 8)
    if rest:
        raise FrameSizeError(f"a row of {frame.width} {known.name} pixels does not end on a byte, as a row of an RWH "
                             "file does: unpack() the frame first")
    header = _HEADER.pack(known.code, frame.width, frame.height, size_argument("the length of a row", row))
    check_frame(frame)
    data = _packed_rows(frame)
    with atomic_file(path, force=force, no_clobber=no_clobber) as (_, descriptor):
        write_all(descriptor, header, path)
        if data.size:
            write_all(descriptor, data, path)


def _packed_rows(frame: Frame) -> npt.NDArray[np.uint8]:
    """The bytes of a frame, words with the low byte first; where they are, if nothing is between them."""
    if not (frame.width and frame.height):
        return np.empty(0, np.uint8)
    # Whatever a row holds, its bytes or words are the samples of a grey one.
    row, words = frame.format.row_bytes(frame.width), frame.big_endian
    where = Memory(frame.memory.data, frame.memory.size, frame.memory.stride or row)
    grey = Frame(find_format("Mono16" if words else "Mono8"), row // 2 if words else row,
                 frame.height * (3 if frame.format.packing == "planar" else 1), frame.array, where)
    flat: npt.NDArray[np.uint8] = pixels_of(grey).reshape(-1).view(np.uint8)
    return flat


def bmp_bytes(width: int, height: int, channels: int) -> int:
    """Length of the BMP file of a picture with 4 (BGRA), 3 (BGR) or 1 (grey) bytes per pixel."""
    return _BMP_HEADER[channels] + (width * channels + 3) // 4 * 4 * height


def write_bmp(path: PathLike, image: npt.NDArray[np.uint8], *, force: bool = False, no_clobber: bool = False,
              tag: str = "", sync: bool = True) -> None:
    """Writes a picture as an uncompressed Windows BMP file.

    :param path: The BMP file; replaced when it exists, untouched when the write fails. What replaces a file has its
        permissions and, where the system allows it, its owner and group.
    :param image: uint8 array of shape ``(height, width, 4)`` (B, G, R, A), ``(height, width, 3)`` (B, G, R) or
        ``(height, width)`` (grey). Rows may be apart: they are written from where they are as long as the
        pixels of a row are contiguous.
    :param force: Replace a read-only file, too.
    :param no_clobber: Replace no file at all.
    :param tag: Part of the name of the temporary file, for those who look for leftovers.
    :param sync: Wait until the file is on the disk: without, a power cut may leave one that is not whole.
    :raises FrameSizeError: the shape is none of those, or the file would exceed 4 GiB.
    :raises SampleTypeError: the image is no uint8 array, or lacks samples that are masked.
    :raises OptionError: `path` cannot be the name of a file, or `force` and `no_clobber` contradict each other.
    :raises FileWriteError: the file could not be written whole, as on a full disk, may not be replaced, is no regular
        file, or its folder is not there; FileNotFoundError, FileExistsError, PermissionError and so on as well.
    :raises StatusError: the library answered with a status that is not about the file.
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
    with atomic_file(path, tag, force=force, no_clobber=no_clobber, sync=sync) as (temporary, descriptor):
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
