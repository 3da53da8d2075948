# SPDX-License-Identifier: Apache-2.0
"""Conversion of frames to BGRA and BGR, and their reversal."""

from __future__ import annotations

from typing import Any, Callable, Optional, Sequence

import numpy as np
import numpy.typing as npt

from ._frames import Frame, FrameLike, as_frame
from ._library import function
from ._sizes import size_argument
from .errors import FrameSizeError, OptionError, SampleTypeError, StatusError
from .pixel_formats import Format, FormatLike, exchanged, narrowed

__all__ = ["convert", "reverse"]

_CHANNELS = {"BGRA": 4, "BGR": 3}
_BAYER = ("standard", "acpi", "off")
_MAX_SHIFT = 15

# Converters without neighbourhoods take a frame as one run of pixels and count its bytes in 32 bits, so a
# run is handed over in blocks. Both block sizes are whole numbers of YUV groups; that of a source that is
# re-spaced first stays in the processor's cache.
_BLOCK = 1 << 26
_SPACED_BLOCK = 1 << 15

# Group bytes that a YUV converter reads, where a camera delivers fewer.
_SPACED = {("YUV8_UYV", "BGRA"): 4, ("YUV8_UYV", "BGR"): 4, ("YUV422_8_UYVY", "BGR"): 5}
_YUV = {"YUV411_8_UYYVYY": "YUV411", "YUV422_8_UYVY": "YUV422", "YUV8_UYV": "YUV444"}

# What the library reverses a format as, where it does not know the format itself: another one whose pixels
# have as many bytes.
_REVERSED_AS = {"RGB12": 0x0230001B, "YUV8_UYV": 0x02180014}
_MONO16 = 0x01100007


def _converter(format: Format, bayer: str, output: str, shift: Optional[int]) -> tuple[str, Optional[int]]:
    """Name of the function that converts, and its shift when it takes one."""
    demosaic = format.family == "bayer" and bayer != "off"
    if format.family == "yuv":
        return f"Conv{_YUV[format.name]}PTo{output}", None
    if format.family == "rgb":
        source, packed = format.name[:3], "P"
    else:
        source, packed = (f"Byr{format.order}" if demosaic else "Mono"), ""
    if format.depth == 8:
        adaptive = "ACPI" if demosaic and bayer == "acpi" else ""
        return f"Conv{source}8{packed}To{output}{adaptive}", None
    natural = format.depth - 8
    if shift is None and (format.depth in (10, 12) or (format.depth == 16 and source == "Mono")):
        return f"Conv{source}{format.depth}{packed}To{output}", None
    return f"Conv{source}NTo{output}", natural if shift is None else shift


def _call(name: str, destination: int, source: int, width: int, height: int, shift: Optional[int]) -> None:
    if shift is None:
        status = function(name)(destination, source, width, height)
    else:
        status = function(name, worker=True)(destination, source, width, height, shift)
    if status != 0:
        raise StatusError(name, status)


def _convert_run(frame: Frame, name: str, shift: Optional[int], result: npt.NDArray[np.uint8]) -> None:
    """Pixels (or YUV groups) one after the other, rows play no part."""
    group_pixels, group_bytes = frame.format.group_pixels, frame.format.group_bytes
    channels = result.shape[2]
    pixels = frame.width * frame.height
    wider = _SPACED.get((frame.format.name, "BGRA" if channels == 4 else "BGR"))
    source, destination = frame.address, int(result.ctypes.data)
    if wider is None:
        for first in range(0, pixels, _BLOCK):
            count = min(_BLOCK, pixels - first)
            _call(name, destination + first * channels, source + first // group_pixels * group_bytes, count, 1, shift)
        return
    groups = frame.pixels.reshape(-1, group_bytes)
    spaced = np.zeros((min(_SPACED_BLOCK, pixels) // group_pixels, wider), np.uint8)
    for first in range(0, pixels, _SPACED_BLOCK):
        count = min(_SPACED_BLOCK, pixels - first)
        block = groups[first // group_pixels : (first + count) // group_pixels]
        spaced[: len(block), :group_bytes] = block
        _call(name, destination + first * channels, int(spaced.ctypes.data), count, 1, shift)


def _overlap(a: npt.NDArray[Any], b: npt.NDArray[Any]) -> bool:
    return bool(np.may_share_memory(a, b))


def _destination(out: Optional[npt.NDArray[Any]], shape: tuple[int, ...],
                 dtype: "np.dtype[Any]") -> npt.NDArray[Any]:
    """`out` when the library can write into it, else a new array."""
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise SampleTypeError(f"out is an array, not {type(out).__name__}")
    if out.dtype != dtype:
        raise SampleTypeError(f"out has dtype {out.dtype}, the result {dtype}")
    if out.shape != shape:
        raise FrameSizeError(f"out has shape {out.shape}, the result {shape}")
    if not out.flags.writeable:
        raise SampleTypeError("out is read-only")
    return out if out.flags.c_contiguous else np.empty(shape, dtype)


def _cropped(frame: Frame, crop: Sequence[int]) -> Frame:
    """The region as if the camera had sent no more; a Bayer order follows its first pixel."""
    try:
        x, y, width, height = (size_argument("crop", value) for value in crop)
    except (TypeError, ValueError):
        raise OptionError(f"crop is (x, y, width, height) in pixels, not {crop!r}") from None
    if not (width and height and x + width <= frame.width and y + height <= frame.height):
        raise FrameSizeError(f"crop {tuple(crop)} does not lie within {frame.width} x {frame.height} pixels")
    group = frame.format.group_pixels
    if x % group or width % group:
        raise FrameSizeError(f"crop {tuple(crop)} cuts a group of {group} {frame.format.name} pixels in two")
    words = frame.format.group_bytes // frame.format.word_bytes
    rows = frame.pixels.reshape(frame.height, -1)[y : y + height, x // group * words : (x + width) // group * words]
    format = exchanged(frame.format, columns=x % 2 == 1, rows=y % 2 == 1)
    return Frame(format, width, height, np.ascontiguousarray(rows).reshape(format.shape(width, height)))


def _stretched(frame: Frame) -> Frame:
    """The frame in 8 bits, its smallest sample at 0 and its largest at 255, rounded to nearest, halves up."""
    format = narrowed(frame.format)
    if format is None:
        raise OptionError(f"auto_range=True is not for YUV, and the frame is {frame.format.name}")
    if frame.pixels.size == 0:
        return Frame(format, frame.width, frame.height, frame.pixels.astype(np.uint8))
    least, most = int(frame.pixels.min()), int(frame.pixels.max())
    span = most - least
    steps = np.arange(span + 1, dtype=np.int64)
    table = ((steps * 510 + span) // (2 * span) if span else steps).astype(np.uint8)
    return Frame(format, frame.width, frame.height, table[frame.pixels - frame.pixels.dtype.type(least)])


def convert(
    array: FrameLike,
    format: FormatLike,
    *,
    bayer: str = "standard",
    output: str = "BGRA",
    out: Optional[npt.NDArray[np.uint8]] = None,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    crop: Optional[Sequence[int]] = None,
    auto_range: bool = False,
    shift: Optional[int] = None,
) -> npt.NDArray[np.uint8]:
    """Converts a raw camera frame to 8-bit colour.

    :param array: The frame: an array of shape ``(height, width)`` for mono and Bayer formats,
        ``(height, width, 3)`` for RGB, BGR and YUV 4:4:4, ``(height, width, 2)`` for YUV 4:2:2 and
        ``(height, 3 * width / 2)`` for YUV 4:1:1, of dtype uint8, or uint16 for formats of more than 8 bits.
        Or a flat array or buffer of bytes with `width` and `height`, and with `stride` where rows are padded;
        bytes behind the frame are ignored. Rows may have any strides: what is not contiguous is copied first,
        everything else is read where it is. Samples of packed formats (``"BayerRG12p"``, ``"Mono10Packed"``)
        are unpacked first, as :func:`unpack` does. Words with the high byte first are of dtype ``">u2"``, as
        ``numpy.frombuffer(buffer, ">u2")`` makes them.
        A buffer that knows the type and the shape of its items, as a memoryview of an array does, is taken as that
        array; a masked array may have no masked sample.
    :param format: PFNC name, in any case, or PFNC code of the frame; of :func:`formats` or
        :func:`packed_formats`.
    :param bayer: ``"standard"`` (mean of the neighbours), ``"acpi"`` (adaptive; for 8-bit Bayer frames of
        even size from 4 x 4 up, all others are converted as with ``"standard"``, so that one call suits
        every frame of a mixed archive; `auto_range` makes 8 bits of wider ones) or ``"off"`` (the mosaic as grey).
        Without effect on other formats.
    :param output: ``"BGRA"`` (alpha 255) or ``"BGR"``.
    :param out: Array for the result, of shape ``(height, width, 4)`` or ``(height, width, 3)`` and dtype uint8.
        It may not overlap the frame. It may be a part of a larger picture.
    :param width: Pixels per row, for a flat buffer.
    :param height: Rows, for a flat buffer.
    :param stride: Bytes from one row of a flat buffer to the next, when rows are padded.
    :param crop: ``(x, y, width, height)`` in pixels: this region only, as if the camera had sent no more. The
        Bayer order follows an odd x or y.
    :param auto_range: Spread the samples from the smallest to the largest of the frame (or region) linearly over
        0 to 255 before conversion. The frame then has 8 bits, so that ``"acpi"`` is possible. Not for YUV.
    :param shift: Bits, 0 to 15, to drop from the right of 16-bit samples instead of the format's own count (2 for 10
        bits, 4 for 12, 8 for 16). The low 8 bits of what remains are kept: a sample above the nominal range
        wraps.
    :returns: uint8 array of shape ``(height, width, 4)`` or ``(height, width, 3)``, channels B, G, R(, A).
    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format, the region does not lie within the frame,
        or `out` has another shape than the result or overlaps the frame.
    :raises SampleTypeError: a dtype does not fit the format, `out` is read-only, or an argument is no array.
    :raises OptionError: an option has a value that is not listed here, or does not go with the format.
    :raises StatusError: the library answered with a status other than success.

    Safe to call from several threads at once; the interpreter lock is released while the library converts.
    """
    kind = output.upper() if isinstance(output, str) else ""
    if kind not in _CHANNELS:
        raise OptionError(f"output is 'BGRA' or 'BGR', not {output!r}")
    if bayer not in _BAYER:
        raise OptionError(f"bayer is 'standard', 'acpi' or 'off', not {bayer!r}")
    frame = as_frame(array, format, width, height, stride)
    if shift is not None and auto_range:
        raise OptionError(f"shift={shift!r} does not go with auto_range=True")
    if crop is not None:
        frame = _cropped(frame, crop)
    if auto_range:
        frame = _stretched(frame)
    if shift is not None:
        if frame.format.word_bytes == 1:
            raise OptionError(f"shift={shift!r} goes with 16-bit samples, not with {frame.format.name}")
        if isinstance(shift, bool) or not hasattr(shift, "__index__") or not 0 <= shift <= _MAX_SHIFT:
            raise OptionError(f"shift is 0 to {_MAX_SHIFT}, not {shift!r}")
    result = _destination(out, (frame.height, frame.width, _CHANNELS[kind]), np.dtype(np.uint8))
    if result.size == 0:
        return result if out is None else out
    if _overlap(result, frame.pixels):
        raise FrameSizeError("out overlaps the frame")
    name, taken = _converter(frame.format, bayer, kind, shift)
    if "Byr" in name:
        _call(name, int(result.ctypes.data), frame.address, frame.width, frame.height, taken)
        if name == "ConvByrBG8ToBGRAACPI" and _is_adaptive(frame):
            # The library leaves the red byte of this red sample as the destination held it.
            result[1, -1, 2] = frame.pixels[1, -1]
    else:
        _convert_run(frame, name, taken, result)
    if out is not None and result is not out:
        out[...] = result
        return out
    return result


def _is_adaptive(frame: Frame) -> bool:
    """Whether the library runs ACPI on a frame of this size."""
    return frame.width % 2 == 0 and frame.height % 2 == 0 and min(frame.width, frame.height) >= 4


def reverse(
    array: FrameLike,
    format: FormatLike,
    horizontal: bool = False,
    vertical: bool = False,
    *,
    out: Optional[npt.NDArray[Any]] = None,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
) -> npt.NDArray[Any]:
    """Mirrors (`horizontal`) or flips (`vertical`) a raw frame, or turns it half round with both.

    Pixels keep the order of their bytes; the luma samples of a YUV group change places, its chroma stays.
    The format of the result is that of :func:`kivocamutl.reversed_format`.

    :param array: The frame, as :func:`convert` takes it. Samples of packed formats are unpacked first.
    :param format: PFNC name, in any case, or PFNC code of the frame; of :func:`formats` or
        :func:`packed_formats`.
    :param horizontal: Exchange left and right.
    :param vertical: Exchange top and bottom. With neither, the result is a copy of the frame.
    :param out: Array for the result, of the shape and dtype that is returned. It may not overlap the frame. It
        may be a part of a larger frame.
    :param width: Pixels per row, for a flat buffer and for rows of bytes that are longer than the frame's.
    :param height: Rows, for a flat buffer.
    :param stride: Bytes from one row of a flat buffer to the next, when rows are padded.
    :returns: `out`, or a new array: of shape ``(height, width)`` for mono and Bayer formats,
        ``(height, width, 3)`` for RGB, BGR and YUV 4:4:4, ``(height, width, 2)`` for YUV 4:2:2 and
        ``(height, 3 * width / 2)`` for YUV 4:1:1, of dtype uint8, or uint16 for formats of more than 8 bits.

    The format is checked first, then the frame, then `out`:

    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format, or `out` has another shape than the
        result or overlaps the frame.
    :raises SampleTypeError: a dtype does not fit the format, `out` is read-only, or an argument is no array.
    :raises StatusError: the library answered with a status other than success.

    Safe to call from several threads at once; the interpreter lock is released while the library works.
    """
    frame = as_frame(array, format, width, height, stride)
    result = _destination(out, frame.pixels.shape, frame.pixels.dtype)
    if result.size == 0:
        return result if out is None else out
    if _overlap(result, frame.pixels):
        raise FrameSizeError("out overlaps the frame")
    code = frame.format.code
    if frame.format.name in _REVERSED_AS:
        code = _REVERSED_AS[frame.format.name]
    elif frame.format.word_bytes == 2 and frame.format.family != "rgb":
        code = _MONO16
    call: Callable[..., int] = function("ReverseImg")
    status = call(int(result.ctypes.data), frame.address, code, frame.width, frame.height, 1 if horizontal else 0,
                  1 if vertical else 0)
    if status != 0:
        raise StatusError("ReverseImg", status)
    if out is not None and result is not out:
        out[...] = result
        return out
    return result
