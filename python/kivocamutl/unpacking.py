# SPDX-License-Identifier: Apache-2.0
"""Packed 10- and 12-bit samples to 16-bit words, in numpy alone."""

from __future__ import annotations

from typing import Optional, Union

import numpy as np
import numpy.typing as npt

from ._frames import FrameLike, flat_bytes, size_argument
from .errors import FrameSizeError
from .pixel_formats import PackedFormat, find_packed_format

__all__ = ["unpack"]

# Bytes of the smallest group that begins and ends on a byte, and its samples.
_GROUPS = {("p", 10): (5, 4), ("p", 12): (3, 2), ("Packed", 10): (3, 2), ("Packed", 12): (3, 2)}


def _samples(format: PackedFormat, groups: npt.NDArray[np.uint8]) -> npt.NDArray[np.uint16]:
    """Samples of whole groups: (..., groups, bytes) to (..., groups, samples)."""
    _, per_group = _GROUPS[format.layout, format.depth]
    result = np.empty((*groups.shape[:-1], per_group), np.uint16)
    byte = [groups[..., i].astype(np.uint16) for i in range(groups.shape[-1])]
    if format.layout == "p":
        # Sample i takes the bits from i * depth on, counted from the lowest bit of byte 0.
        mask = (1 << format.depth) - 1
        for i in range(per_group):
            first, bit = divmod(i * format.depth, 8)
            result[..., i] = (byte[first] >> bit | byte[first + 1] << (8 - bit)) & mask
    elif format.depth == 12:
        result[..., 0] = byte[0] << 4 | byte[1] & 15
        result[..., 1] = byte[2] << 4 | byte[1] >> 4
    else:
        result[..., 0] = byte[0] << 2 | byte[1] & 3
        result[..., 1] = byte[2] << 2 | byte[1] >> 4 & 3
    return result


def _rows(format: PackedFormat, rows: npt.NDArray[np.uint8], samples: int) -> npt.NDArray[np.uint16]:
    """So many samples from the start of each row of bytes."""
    group_bytes, group_samples = _GROUPS[format.layout, format.depth]
    whole, rest = divmod(samples, group_samples)
    result = np.empty((len(rows), samples), np.uint16)
    if whole:
        groups = rows[:, : whole * group_bytes].reshape(len(rows), whole, group_bytes)
        result[:, : whole * group_samples] = _samples(format, groups).reshape(len(rows), -1)
    if rest:
        tail = np.zeros((len(rows), group_bytes), np.uint8)
        left = rows[:, whole * group_bytes : format.buffer_bytes(samples)]
        tail[:, : left.shape[1]] = left
        result[:, whole * group_samples :] = _samples(format, tail)[:, :rest]
    return result


def unpack(
    buffer: FrameLike,
    format: Union[str, int, PackedFormat],
    width: int,
    height: int,
    *,
    stride: Optional[int] = None,
) -> npt.NDArray[np.uint16]:
    """Unpacks a frame whose samples share bytes.

    The two families of layouts look alike in a buffer and differ in every third byte:

    * ``Mono10p``, ``Mono12p``, ``BayerRG10p``, ...: a little-endian stream of bits, 4 samples in 5 bytes or 2
      in 3; a sample's low bits come first.
    * ``Mono10Packed``, ``Mono12Packed``, ``BayerRG12Packed``, ...: 2 samples in 3 bytes; bytes 0 and 2 hold
      their high 8 bits, byte 1 the low bits of the first sample from bit 0 and those of the second from bit 4.

    :param buffer: Bytes, or an array, that holds the frame; bytes behind it are ignored.
    :param format: Name, in any case, or PFNC code.
    :param width: Pixels per row.
    :param height: Rows.
    :param stride: Bytes from one row to the next, when every row begins on a byte of its own. Without it, rows
        follow each other without a gap, a row in the middle of a byte where the one before ends there.
    :returns: uint16 array of shape ``(height, width)``, value in the low bits; the format to convert it with is
        ``find_packed_format(format).unpacked``.
    :raises UnknownFormatError: the format is not one of :func:`kivocamutl.packed_formats`.
    :raises FrameSizeError: the buffer is too short, or the stride smaller than a row.
    """
    known = find_packed_format(format)
    width = size_argument("width", width)
    height = size_argument("height", height)
    flat = flat_bytes(buffer)
    if stride is None:
        rows, samples = 1, width * height
        step = row = known.buffer_bytes(samples)
    else:
        rows, samples = height, width
        step, row = size_argument("stride", stride), known.buffer_bytes(width)
        if step < row:
            raise FrameSizeError(f"stride {step} is smaller than a {known.name} row of width {width} ({row} bytes)")
    if width == 0 or height == 0:
        return np.empty((height, width), np.uint16)
    needed = step * (rows - 1) + row
    if flat.size < needed:
        raise FrameSizeError(f"the buffer has {flat.size} bytes, a {known.name} frame of {width} x {height} "
                             f"takes {needed}")
    view: npt.NDArray[np.uint8] = np.ndarray((rows, row), np.uint8, flat, strides=(step, 1))
    return _rows(known, view, samples).reshape(height, width)
