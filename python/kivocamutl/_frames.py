# SPDX-License-Identifier: Apache-2.0
"""From what a caller passes as a frame to bytes that the library may read."""

from __future__ import annotations

import dataclasses
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from ._sizes import size_argument
from .errors import FrameSizeError, SampleTypeError
from .pixel_formats import Format, FormatLike, PackedFormat, find_any_format, find_format

__all__ = ["FrameLike", "Frame", "as_array", "as_frame", "byte_rows", "flat_bytes", "packed_source",
           "refuse_masked"]

FrameLike = Union[npt.NDArray[Any], bytes, bytearray, memoryview]
"""An array, or any object with the buffer protocol.

Buffers of bytes are flat buffers. Those that say more of their items, as a memoryview of an array does, are taken as
the array of the same dtype, shape and strides.
"""


@dataclasses.dataclass(frozen=True)
class Frame:
    """A frame with packed rows. `pixels` is C-contiguous and has the shape and dtype of the format."""

    format: Format
    width: int
    height: int
    pixels: npt.NDArray[Any]

    @property
    def address(self) -> int:
        return int(self.pixels.ctypes.data)


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


def flat_bytes(array: npt.NDArray[Any]) -> npt.NDArray[np.uint8]:
    """The bytes of an array, copied only where it is not contiguous."""
    if array.dtype.kind not in "ui":
        raise SampleTypeError(f"a frame has unsigned samples, not dtype {array.dtype}")
    flat: npt.NDArray[np.uint8] = np.ascontiguousarray(array).reshape(-1).view(np.uint8)
    return flat


def _dtype(format: Format) -> np.dtype[Any]:
    return np.dtype("<u2") if format.word_bytes == 2 else np.dtype(np.uint8)


def _expected(format: Format) -> str:
    """How an array of this format looks, for messages."""
    name = {"mono": "(height, width)", "bayer": "(height, width)", "rgb": "(height, width, 3)"}.get(format.family)
    if name is None:
        name = {1: "(height, width, 3)", 2: "(height, width, 2)", 4: "(height, 3 * width / 2)"}[format.group_pixels]
    return f"{name} of uint{8 * format.word_bytes}"


def _array_size(format: Format, array: npt.NDArray[Any]) -> Optional[tuple[int, int]]:
    """Width and height that an array of samples has in this format; None when its shape does not fit."""
    if array.ndim not in (2, 3):
        return None
    height = array.shape[0]
    words = array.shape[1] * (array.shape[2] if array.ndim == 3 else 1)
    group_words = format.group_bytes // format.word_bytes
    if format.family in ("mono", "bayer"):
        fits = array.ndim == 2 or array.shape[2] == 1
    elif format.family == "rgb":
        fits = array.ndim == 3 and array.shape[2] == 3
    else:
        per_pixel = group_words // format.group_pixels if group_words % format.group_pixels == 0 else 0
        fits = array.ndim == 2 or array.shape[2] in (per_pixel, group_words)
    if not fits or words * format.group_pixels % group_words:
        return None
    return words * format.group_pixels // group_words, height


def byte_rows(format: Union[Format, PackedFormat], flat: npt.NDArray[np.uint8], width: int, height: int,
              stride: Optional[int]) -> npt.NDArray[np.uint8]:
    """The rows at the start of `flat`, of shape (height, bytes of a row), which begin every `stride` bytes."""
    row = format.row_bytes(width)
    step = row if stride is None else size_argument("stride", stride)
    if step < row:
        raise FrameSizeError(f"stride {step} is smaller than a {format.name} row of width {width} ({row} bytes)")
    needed = step * (height - 1) + row if height and row else 0
    if flat.size < needed:
        raise FrameSizeError(f"the buffer has {flat.size} bytes, a {format.name} frame of {width} x {height}"
                             f"{'' if step == row else f' with stride {step}'} takes {needed}")
    return np.ndarray((height if needed else 0, row), np.uint8, flat, strides=(step, 1))


def _padded_rows(format: Format, flat: npt.NDArray[np.uint8], width: int, height: int,
                 stride: Optional[int]) -> npt.NDArray[Any]:
    """The packed frame at the start of `flat`, whose rows begin every `stride` bytes."""
    rows = byte_rows(format, flat, width, height, stride)
    if rows.size == 0:
        return np.empty(format.shape(width, height), _dtype(format))
    return np.ascontiguousarray(rows).reshape(-1).view(_dtype(format)).reshape(format.shape(width, height))


def as_frame(array: FrameLike, format: FormatLike, width: Optional[int], height: Optional[int],
             stride: Optional[int]) -> Frame:
    """The frame that `array` holds, copied only where its rows are not packed or its words are big-endian.

    Arrays of two and three dimensions know their size; `width` and `height` may repeat it. A flat array or a
    buffer needs both, and may have padded rows (`stride`) and bytes behind the frame. An array of uint8 with
    two dimensions and an explicit width may have longer rows than the frame: their ends are padding.
    """
    any_format = find_any_format(format)
    if isinstance(any_format, PackedFormat):
        return _unpacked(array, any_format, width, height, stride)
    known = any_format
    width = None if width is None else size_argument("width", width)
    height = None if height is None else size_argument("height", height)
    array = as_array(array)
    if array.ndim == 1:
        _check_dtype(known, array, bytes_allowed=True)
        flat = flat_bytes(array.astype("<u2", copy=False) if array.dtype.itemsize == 2 else array)
        if width is None or height is None:
            raise FrameSizeError("a flat buffer needs width= and height=")
        pixels = _padded_rows(known, flat, width, height, stride)
        return _checked(Frame(known, width, height, pixels))

    if stride is not None:
        raise FrameSizeError("stride= goes with a flat buffer; an array has its own strides")
    size = _array_size(known, array)
    if array.ndim == 2 and array.dtype == np.uint8 and width is not None and (
            known.word_bytes == 2 or size is None or size[0] > width):
        row = known.row_bytes(width)
        if array.shape[1] < row:
            raise FrameSizeError(f"rows of {array.shape[1]} bytes are too short for a {known.name} row of "
                                 f"width {width} ({row} bytes)")
        array = np.ascontiguousarray(array[:, :row]).view(_dtype(known))
        array = array.reshape(known.shape(width, array.shape[0]))
        size = (width, array.shape[0])
    _check_dtype(known, array, bytes_allowed=False)
    if size is None:
        raise FrameSizeError(f"an array of shape {array.shape} is no {known.name} frame; expected {_expected(known)}")
    if width is not None and width != size[0]:
        raise FrameSizeError(f"width={width}, but the array is {size[0]} pixels wide")
    if height is not None and height != size[1]:
        raise FrameSizeError(f"height={height}, but the array has {size[1]} rows")
    pixels = np.ascontiguousarray(array, _dtype(known)).reshape(known.shape(*size))
    return _checked(Frame(known, size[0], size[1], pixels))


def packed_source(array: FrameLike, format: PackedFormat, width: Optional[int], height: Optional[int],
                  stride: Optional[int]) -> tuple[npt.NDArray[np.uint8], int, int, Optional[int]]:
    """Bytes, width, height and stride of a frame whose samples share bytes.

    It comes flat, or as an array of two dimensions that has a row of bytes in each of its rows: every row of the
    frame then begins on a byte, and what an array's row has beyond the frame's is padding.
    """
    if width is None:
        raise FrameSizeError(f"a frame of {format.name} needs width=: its samples share bytes")
    width = size_argument("width", width)
    height = None if height is None else size_argument("height", height)
    array = as_array(array)
    if array.ndim > 1:
        if array.ndim != 2 or array.dtype != np.uint8:
            raise FrameSizeError(f"an array of shape {array.shape} and {array.dtype} is no {format.name} frame; "
                                 "expected rows of bytes, or a flat buffer")
        if stride is not None:
            raise FrameSizeError("stride= goes with a flat buffer; an array has its own strides")
        if height is not None and height != array.shape[0]:
            raise FrameSizeError(f"height={height}, but the array has {array.shape[0]} rows")
        height, stride = array.shape[0], array.shape[1]
        if stride < format.row_bytes(width):
            raise FrameSizeError(f"rows of {stride} bytes are too short for a {format.name} row of width {width} "
                                 f"({format.row_bytes(width)} bytes)")
    elif height is None:
        raise FrameSizeError("a flat buffer needs width= and height=")
    return flat_bytes(array), width, height, stride


def _unpacked(array: FrameLike, format: PackedFormat, width: Optional[int], height: Optional[int],
              stride: Optional[int]) -> Frame:
    """The frame whose samples share the bytes of `array`."""
    from .unpacking import unpack_frame

    samples = unpack_frame(array, format, width, height, stride)
    return _checked(Frame(find_format(format.unpacked), samples.shape[1], samples.shape[0], samples))


def _check_dtype(format: Format, array: npt.NDArray[Any], bytes_allowed: bool) -> None:
    if array.dtype.kind == "u" and (array.dtype.itemsize == format.word_bytes or
                                    (bytes_allowed and array.dtype.itemsize == 1)):
        return
    raise SampleTypeError(f"dtype {array.dtype} does not fit {format.name}; expected {_expected(format)}")


def _checked(frame: Frame) -> Frame:
    size_argument("width", frame.width)
    size_argument("height", frame.height)
    if frame.width % frame.format.group_pixels:
        raise FrameSizeError(f"width {frame.width} is not a multiple of {frame.format.group_pixels}, the pixels "
                             f"that share their chroma in {frame.format.name}")
    return frame
