# SPDX-License-Identifier: Apache-2.0
"""From what a caller passes as a frame to memory that the engine may read."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Union

import numpy as np
import numpy.typing as npt

from ._engine import Memory, memory
from ._sizes import size_argument
from .errors import FrameSizeError, SampleTypeError
from .pixel_formats import Format, FormatLike, find_format

__all__ = ["FrameLike", "Frame", "as_array", "as_frame", "refuse_masked"]

FrameLike = Union[npt.NDArray[Any], bytes, bytearray, memoryview]
"""An array, or any object with the buffer protocol.

Buffers of bytes are flat buffers. Those that say more of their items, as a memoryview of an array does, are taken as
the array of the same dtype, shape and strides.
"""


class Frame(NamedTuple):
    """A frame in the memory of `array`."""

    format: Format
    width: int
    height: int
    array: npt.NDArray[Any]
    memory: Memory

    @property
    def big_endian(self) -> bool:
        """Whether words have the high byte first, by their dtype."""
        return self.array.dtype.str[0] == ">"


def as_array(frame: FrameLike) -> npt.NDArray[Any]:
    """What a caller passes, without a copy: with its own dtype, shape and strides if it has them, else as bytes."""
    if isinstance(frame, np.ndarray):
        array: npt.NDArray[Any] = frame
    elif hasattr(frame, "__array_interface__") or hasattr(frame, "__array__"):
        array = np.asarray(frame)
    else:
        try:
            view = memoryview(frame)
        except TypeError:
            raise SampleTypeError(f"a frame is an array or a buffer of bytes, not {type(frame).__name__}") from None
        try:
            array = np.asarray(view)
        except ValueError:
            raise SampleTypeError("a frame has unsigned samples, not items of buffer format "
                                  f"{view.format!r}") from None
        if view.format.lstrip("@=<>!") in ("b", "c"):
            array = array.view(np.uint8)  # plain char of C, a byte as any other
    refuse_masked(array)
    return array


def refuse_masked(array: npt.NDArray[Any]) -> None:
    """A masked sample has no value that could be converted or written."""
    if isinstance(array, np.ma.MaskedArray) and np.any(array.mask):
        raise SampleTypeError("a masked array lacks samples: fill them in, as array.filled(0) does")


def _expected(format: Format) -> str:
    """How an array of this format looks, for messages."""
    words, rest = divmod(format.group_bytes, format.group_pixels * format.word_bytes)
    shape = "(height, 3 * width / 2)" if rest else "(height, width)" if words == 1 else f"(height, width, {words})"
    if format.packing == "planar":
        shape = "(3, height, width)"
    return f"{'rows of bytes' if format.shares_bytes else shape} of {np.dtype(format.dtype)}"


def _check_dtype(format: Format, array: npt.NDArray[Any]) -> None:
    """Flat buffers may be bytes; where samples share bytes, of items of any size."""
    flat, dtype = array.ndim == 1, array.dtype
    if dtype.kind == "u" and (dtype.itemsize == format.word_bytes or flat and (dtype.itemsize == 1 or
                                                                               format.shares_bytes)):
        return
    if dtype != np.dtype(format.dtype):
        raise SampleTypeError(f"dtype {dtype} does not fit {format.name}; expected {_expected(format)}")


def _array_size(format: Format, array: npt.NDArray[Any]) -> Optional[tuple[int, int]]:
    """Width and height that an array of samples has in this format; None when its shape does not fit."""
    if format.packing == "planar":
        return (array.shape[2], array.shape[1]) if array.ndim == 3 and array.shape[0] == 3 else None
    if array.ndim not in (2, 3):
        return None
    words = format.group_bytes // format.word_bytes
    each, rest = divmod(words, format.group_pixels)
    if array.ndim == 3:
        fits = array.shape[2] in (0 if rest else each, words)
    else:
        fits = each == 1 or format.family == "yuv"
    columns = array.shape[1] * (array.shape[2] if array.ndim == 3 else 1)
    if not fits or columns % words:
        return None
    return columns // words * format.group_pixels, array.shape[0]


def _rows_of_bytes(format: Format, array: npt.NDArray[Any], width: Optional[int]) -> npt.NDArray[Any]:
    """The frame's part of an array that has a row of bytes in each of its rows; their ends are padding."""
    if width is None:
        raise FrameSizeError(f"a frame of {format.name} needs width=: its samples share bytes")
    if array.ndim != 2 or array.dtype != np.uint8:
        raise FrameSizeError(f"an array of shape {array.shape} and {array.dtype} is no {format.name} frame; "
                             "expected rows of bytes, or a flat buffer")
    row = format.row_bytes(width)
    if array.shape[1] < row:
        raise FrameSizeError(f"rows of {array.shape[1]} bytes are too short for a {format.name} row of width {width} "
                             f"({row} bytes)")
    return array[:, :row]


def as_frame(frame: FrameLike, format: FormatLike, width: Optional[int], height: Optional[int],
             stride: Optional[int]) -> Frame:
    """The frame where it is; copied only where the bytes of a row are apart.

    Arrays of two and three dimensions know their size; `width` and `height` may repeat it. A flat array or a
    buffer needs both, and may have padded rows (`stride`) and bytes behind the frame. An array of uint8 with
    two dimensions and an explicit width may have longer rows than the frame: their ends are padding.
    """
    known = find_format(format)
    width = None if width is None else size_argument("width", width)
    height = None if height is None else size_argument("height", height)
    array = as_array(frame)
    if array.ndim == 1:
        _check_dtype(known, array)
        if width is None or height is None:
            raise FrameSizeError(f"{known.name} in a flat buffer needs width= and height=")
        step = 0 if stride is None else size_argument("stride", stride)
        array = np.ascontiguousarray(array)
        return Frame(known, width, height, array, Memory(array.ctypes.data, array.nbytes, step))

    if stride is not None:
        raise FrameSizeError("stride= goes with a flat buffer; an array has its own strides")
    size = None if known.shares_bytes else _array_size(known, array)
    if known.shares_bytes or (array.ndim == 2 and array.dtype == np.uint8 and width is not None and
                              (known.word_bytes == 2 or size is None or size[0] > width)):
        array = _rows_of_bytes(known, array, width)
        size = (width or 0, array.shape[0])
    else:
        _check_dtype(known, array)
    if size is None:
        raise FrameSizeError(f"an array of shape {array.shape} is no {known.name} frame; expected {_expected(known)}")
    if width is not None and width != size[0]:
        raise FrameSizeError(f"width={width}, but the array is {size[0]} pixels wide")
    if height is not None and height != size[1]:
        raise FrameSizeError(f"height={height}, but the array has {size[1]} rows")
    width, height = size_argument("width", size[0]), size_argument("height", size[1])
    where = memory(array) if known.packing != "planar" and height else None
    if where is None:
        array = np.ascontiguousarray(array)
        where = Memory(array.ctypes.data, array.nbytes, array.strides[0] if known.shares_bytes else 0)
    return Frame(known, width, height, array, where)
