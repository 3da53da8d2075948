# SPDX-License-Identifier: Apache-2.0
"""Packed 10- and 12-bit samples to 16-bit words, in numpy alone."""

from __future__ import annotations

import dataclasses
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from ._frames import FrameLike, packed_source
from ._sizes import size_argument
from .errors import FrameSizeError
from .pixel_formats import PackedFormat, find_packed_format

__all__ = ["unpack"]


@dataclasses.dataclass(frozen=True)
class _Group:
    """The smallest run of samples that begins and ends on a byte, and how a word that it is read as becomes them.

    Words are longer than groups, so they overlap. Each term is a shift (to the left when positive) and a mask;
    all of them together are the samples, one in 16 bits, the first in the lowest.
    """

    size: int
    """Bytes."""
    word: str
    """Type of the word, which has as many bytes as the samples of the group."""
    terms: tuple[tuple[int, int], ...]


_GROUPS = {
    ("p", 10): _Group(5, "<u8", ((0, 0x3FF), (6, 0x3FF << 16), (12, 0x3FF << 32), (18, 0x3FF << 48))),
    ("p", 12): _Group(3, "<u4", ((0, 0xFFF), (4, 0xFFF << 16))),
    ("Packed", 10): _Group(3, "<u4", ((2, 0x3FC | 0x3FC << 16), (-8, 3), (4, 3 << 16))),
    ("Packed", 12): _Group(3, "<u4", ((4, 0xFF0 | 0xFFF << 16), (-8, 0xF))),
}

# Groups that go through one step after the other together: what they take stays in the processor's cache.
_BLOCK = 1 << 14


def _spread(group: _Group, words: npt.NDArray[Any], result: npt.NDArray[Any]) -> None:
    """Samples of whole groups, which words overlap: (rows, groups) to (rows, groups)."""
    dtype = np.dtype(group.word)
    wide = max(1, min(_BLOCK, words.shape[1]))
    high = max(1, min(_BLOCK // wide, words.shape[0]))
    word, term, total = (np.empty((high, wide), dtype) for _ in range(3))
    for top in range(0, words.shape[0], high):
        for left in range(0, words.shape[1], wide):
            part = words[top : top + high, left : left + wide]
            if part.shape != word.shape:
                word, term, total = (np.empty(part.shape, dtype) for _ in range(3))
            word[...] = part
            for i, (shift, mask) in enumerate(group.terms):
                out = term if i else total
                if shift < 0:
                    np.right_shift(word, dtype.type(-shift), out=out)
                else:
                    np.left_shift(word, dtype.type(shift), out=out)
                np.bitwise_and(out, dtype.type(mask), out=out)
                if i:
                    np.bitwise_or(total, term, out=total)
            result[top : top + high, left : left + wide] = total


def _rows(format: PackedFormat, flat: npt.NDArray[np.uint8], height: int, step: int,
          samples: int) -> npt.NDArray[np.uint16]:
    """So many samples from the start of each row; rows begin every `step` bytes."""
    group = _GROUPS[format.layout, format.depth]
    word_bytes = np.dtype(group.word).itemsize
    row = format.buffer_bytes(samples)
    result = np.empty((height, samples), "<u2")

    # The last words of a row would reach beyond it: its end is copied to where there is more behind it.
    whole = max(0, (row - word_bytes) // group.size + 1)
    rest = row - whole * group.size
    tail = np.zeros((height, 3 * word_bytes), np.uint8)
    tail[:, :rest] = np.ndarray((height, rest), np.uint8, flat, whole * group.size, (step, 1))
    tail_groups = -(-rest // group.size)
    ends = np.empty((height, tail_groups), group.word)
    _spread(group, np.ndarray(ends.shape, group.word, tail, strides=(tail.shape[1], group.size)), ends)
    done = whole * word_bytes // 2
    result[:, done:] = ends.view("<u2")[:, : samples - done]

    if whole:
        words: npt.NDArray[Any] = np.ndarray((height, whole), group.word, flat, strides=(step, group.size))
        _spread(group, words, np.ndarray(words.shape, group.word, result, strides=(2 * samples, word_bytes)))
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

    :param buffer: A flat buffer or array of bytes that holds the frame; bytes behind it are ignored. Or an array of
        uint8 with two dimensions, each of its rows a row of the frame that begins on a byte; what it has beyond
        the frame's is padding.
    :param format: Name, in any case, or PFNC code.
    :param width: Pixels per row.
    :param height: Rows.
    :param stride: Bytes from one row of a flat buffer to the next, when every row begins on a byte of its own.
        Without it, rows follow each other without a gap, a row in the middle of a byte where the one before ends
        there.
    :returns: uint16 array of shape ``(height, width)``, value in the low bits; the format to convert it with is
        ``find_packed_format(format).unpacked``.
    :raises UnknownFormatError: the format is not one of :func:`kivocamutl.packed_formats`.
    :raises FrameSizeError: width or height are no sizes, an array has another shape or dtype, the buffer is too
        short, or the stride smaller than a row.
    :raises SampleTypeError: the buffer has no unsigned samples, or is no buffer.
    """
    return unpack_frame(buffer, find_packed_format(format), width, height, stride)


def unpack_frame(array: FrameLike, format: PackedFormat, width: Optional[int], height: Optional[int],
                 stride: Optional[int]) -> npt.NDArray[np.uint16]:
    """What :func:`unpack` does, with a height that an array of two dimensions may give."""
    flat, width, height, stride = packed_source(array, format, width, height, stride)
    if stride is None:
        rows, samples = 1, width * height
        step = row = format.buffer_bytes(samples)
    else:
        rows, samples = height, width
        step, row = size_argument("stride", stride), format.buffer_bytes(width)
        if step < row:
            raise FrameSizeError(f"stride {step} is smaller than a {format.name} row of width {width} ({row} bytes)")
    if width == 0 or height == 0:
        return np.empty((height, width), np.uint16)
    needed = step * (rows - 1) + row
    if flat.size < needed:
        raise FrameSizeError(f"the buffer has {flat.size} bytes, a {format.name} frame of {width} x {height} "
                             f"takes {needed}")
    return _rows(format, flat, rows, step, samples).reshape(height, width)
