# SPDX-License-Identifier: Apache-2.0
"""Frames to pictures and to plain samples."""

from __future__ import annotations

from typing import Any, Literal, Optional, Sequence, Union, get_args

import numpy as np
import numpy.typing as npt

from ._engine import FLIP, MIRROR, SAMPLES, WITH_RANGE, WITH_SHIFT, Plan, memory
from ._frames import Frame, FrameLike, as_frame
from ._requests import WHOLE, choice, number, plan_of, region_of
from .colour import Colour, colour_of
from .errors import FrameSizeError, SampleTypeError
from .options import Bayer, Levels, Output
from .pixel_formats import FormatLike, find_format

__all__ = ["check_frame", "convert", "pixels_of", "reverse", "unpack"]

_OUTPUT, _BAYER, _LEVELS = get_args(Output), get_args(Bayer), get_args(Levels)


def _result(out: Optional[npt.NDArray[Any]], shape: tuple[int, ...], dtype: str) -> npt.NDArray[Any]:
    """`out` if it can be the result, else a new array."""
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise SampleTypeError(f"out is an array, not {type(out).__name__}")
    if out.dtype != np.dtype(dtype):
        raise SampleTypeError(f"out has dtype {out.dtype}, the result {np.dtype(dtype)}")
    if out.shape != shape:
        raise FrameSizeError(f"out has shape {out.shape}, the result {shape}")
    if not out.flags.writeable:
        raise SampleTypeError("out is read-only")
    return out


def _made(plan: Plan, frame: Frame, shape: tuple[int, ...], dtype: str, out: Optional[npt.NDArray[Any]],
          threads: int) -> npt.NDArray[Any]:
    """The picture, in `out` or a new array."""
    if out is None:
        plan.check_frame(frame.memory)
    result = _result(out, shape, dtype)
    where = memory(result)
    if where is not None:
        plan.run(frame.memory, where, threads)
    else:
        result[...] = _made(plan, frame, shape, dtype, None, threads)
    return result


def _samples_plan(frame: Frame, flags: int = 0, region: tuple[int, ...] = WHOLE) -> Plan:
    return plan_of(frame, (SAMPLES, 0, 0, 0, frame.big_endian, flags, 0, 0, 0, *region))


def _samples(frame: Frame, flags: int = 0, out: Optional[npt.NDArray[Any]] = None) -> npt.NDArray[Any]:
    """The plain samples of a frame, mirrored and flipped."""
    plain = find_format(frame.format.plain)
    shape = plain.shape(frame.width, frame.height)
    if not (frame.width and frame.height):
        return _result(out, shape, plain.dtype)
    return _made(_samples_plan(frame, flags), frame, shape, plain.dtype, out, 1)


def check_frame(frame: Frame) -> None:
    """Refuses a frame that is too short, or whose width its format does not have."""
    if frame.width and frame.height:
        _samples_plan(frame).check_frame(frame.memory)


def pixels_of(frame: Frame) -> npt.NDArray[Any]:
    """The plain samples of a frame; where it holds them in packed rows, without a copy."""
    format, size = frame.format, (frame.width, frame.height)
    packed = frame.memory.stride in (0, format.row_bytes(frame.width)) and frame.array.flags.c_contiguous
    if format.packing != "plain" or frame.big_endian or not packed or 0 in size:
        return _samples(frame)
    check_frame(frame)
    flat = frame.array.reshape(-1).view(np.uint8)[: format.frame_bytes(*size)]
    return flat.view(format.dtype).reshape(format.shape(*size))


def convert(
    array: FrameLike,
    format: FormatLike,
    *,
    bayer: Bayer = "standard",
    output: Output = "BGRA",
    levels: Levels = "own",
    out: Optional[npt.NDArray[Any]] = None,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    crop: Optional[Sequence[int]] = None,
    auto_range: bool = False,
    shift: Optional[int] = None,
    colour: Union[Colour, Literal["auto"], None] = None,
    threads: int = 1,
) -> npt.NDArray[Any]:
    """Converts a raw camera frame to a picture.

    :param array: The frame: an array of the shape and dtype of :meth:`Format.shape` and :attr:`Format.dtype`, or a
        flat array or buffer of bytes with `width` and `height`, and with `stride` where rows are padded; bytes
        behind the frame are ignored. Rows may have any strides, and are read where they are as long as the bytes of
        each are one behind the other. Samples that share bytes (``"BayerRG12p"``, ``"Mono10Packed"``) come in a
        flat buffer too, or in an array of uint8 with two dimensions, each of its rows a row of the frame. Words
        with the high byte first are of dtype ``">u2"``, as ``numpy.frombuffer(buffer, ">u2")`` makes them.
        A buffer that knows the type and the shape of its items, as a memoryview of an array does, is taken as that
        array; a masked array may have no masked sample.
    :param format: Name, in any case, or PFNC code of the frame, see :func:`find_format`.
    :param bayer: ``"standard"`` (mean of the neighbours), ``"acpi"`` (adaptive, for even sizes from 4 x 4 up),
        ``"best"`` (``"acpi"`` for such sizes, ``"standard"`` for others, so that one call suits every frame of a
        mixed archive), ``"off"`` (the mosaic as grey) or ``"half"`` (a pixel for each 2 x 2 of the frame). Without
        effect on other formats.
    :param output: ``"BGRA"``, ``"RGBA"`` (alpha 255), ``"BGR"``, ``"RGB"`` or ``"GRAY"``, of 8 bits a channel; with 16
        behind it (``"BGR16"``) of 16 (alpha 65535).
    :param levels: For 16 bits: ``"own"``, the values of the samples, or ``"spread"``, those over 0 to 65535.
    :param out: Array for the result, of its shape and dtype. It may not overlap the frame. It may be a part of a
        larger picture.
    :param width: Pixels per row, for a flat buffer and for rows of bytes.
    :param height: Rows, for a flat buffer.
    :param stride: Bytes from one row of a flat buffer to the next, when rows are padded; 0 as without it.
    :param crop: ``(x, y, width, height)`` in pixels: this region only, as if the camera had sent no more. The
        Bayer order follows an odd x or y.
    :param auto_range: Spread the samples from the smallest to the largest of the frame (or region) linearly over
        0 to 255 before conversion. Not for YUV, nor for 16 bits.
    :param shift: Bits, 0 to 15, to drop from the right of 16-bit samples instead of the format's own count (2 for 10
        bits, 4 for 12, 8 for 16). The low 8 bits of what remains are kept: a sample above the nominal range
        wraps.
    :param colour: Settings from black level to tone, see :class:`Colour`; ``"auto"`` for those of :func:`auto_colour`,
        found in this frame: what a person wants to see. YUV frames stay as the camera has made them with ``"auto"``
        and have no settings. Not with `auto_range` or `shift`.
    :param threads: How many threads to use, 1 to 1024; 0 for one a processor. They wait for the next frame.
    :returns: uint8 or uint16 array of shape ``(height, width, 4)``, ``(height, width, 3)`` or, for grey,
        ``(height, width)``.

    Words are checked first, then format and frame, options, the length of the frame, and `out`:

    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format or the way to convert it, the region does
        not lie within the frame, or `out` has another shape than the result or overlaps the frame.
    :raises SampleTypeError: a dtype does not fit the format, `out` is read-only, or an argument is no array.
    :raises OptionError: an option has a value that is not listed here, or does not go with the format.

    Safe to call from several threads at once; the interpreter lock is released while the engine converts.
    """
    how = (choice("output", output, _OUTPUT), choice("bayer", bayer, _BAYER), choice("levels", levels, _LEVELS), 0)
    kind = _OUTPUT[how[0]]
    shift_by = 0 if shift is None else number("shift", shift)
    threads = number("threads", threads)
    frame = as_frame(array, format, width, height, stride)
    channels = len(kind.replace("16", ""))
    inner, dtype = () if kind.startswith("GRAY") else (channels,), "u2" if "16" in kind else "u1"
    if crop is None and not (frame.width and frame.height):
        return _result(out, (frame.height, frame.width, *inner), dtype)
    region = region_of(crop, frame)
    settings = colour_of(colour, frame, region)
    flags, big_endian = 0 if shift is None else WITH_SHIFT, int(frame.big_endian)
    if auto_range:
        low, high = _samples_plan(frame, region=region).sample_range(frame.memory)
        options = (*how, big_endian, flags | WITH_RANGE, shift_by, low, high, *region)
        # The range is that of this frame: nothing for the cache.
        plan = Plan(frame.format.name, frame.format.code, frame.width, frame.height, options, settings)
    else:
        plan = plan_of(frame, (*how, big_endian, flags, shift_by, 0, 0, *region), settings)
    return _made(plan, frame, (plan.height, plan.width, *inner), dtype, out, threads)


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
    """Mirrors (`horizontal`) or flips (`vertical`) a raw frame, or turns it half round with both; copies with neither.

    Pixels keep the order of their bytes; the luma samples of a YUV group change places, its chroma stays.
    The format of the result is that of :func:`kivocamutl.reversed_format`.

    The arguments are those of :func:`convert`. Samples that are not plain are unpacked on the way.

    :param out: Array for the result, of the shape and dtype that is returned. It may not overlap the frame. It
        may be a part of a larger frame.
    :returns: `out`, or a new array, of the shape and dtype of the plain format.

    Errors are those of :func:`convert`: the format is checked first, then the frame, then `out`. Safe to call from
    several threads at once; the interpreter lock is released while the engine works.
    """
    frame = as_frame(array, format, width, height, stride)
    return _samples(frame, (MIRROR if horizontal else 0) | (FLIP if vertical else 0), out)


def unpack(
    buffer: FrameLike,
    format: FormatLike,
    width: Optional[int] = None,
    height: Optional[int] = None,
    *,
    stride: Optional[int] = None,
) -> npt.NDArray[Any]:
    """The plain samples of a frame: a byte or a 16-bit word for each, value in the low bits, as an array of its own.

    Samples that share bytes, planes, and luma in front of chroma become what the format ``find_format(format).plain``
    has. Values stay what they are, but for samples of 1, 2 and 4 bits, which are spread over 0 to 255, and those of
    Mono8s, to which 128 is added; a fourth byte of alpha is left out. The two families of layouts look alike in a
    buffer and differ in every third byte:

    * ``Mono10p``, ``Mono12p``, ``BayerRG10p``, ...: a little-endian stream of bits, 4 samples in 5 bytes or 2
      in 3; a sample's low bits come first.
    * ``Mono10Packed``, ``Mono12Packed``, ``BayerRG12Packed``, ...: 2 samples in 3 bytes; bytes 0 and 2 hold
      their high 8 bits, byte 1 the low bits of the first sample from bit 0 and those of the second from bit 4.

    The arguments and errors are those of :func:`convert`. Where samples share bytes, the rows of a flat buffer follow
    each other without a gap, one in the middle of a byte where the one before ends there, unless there is a stride;
    those of an array of bytes each begin on a byte.

    :returns: uint8 or uint16 array of the shape of the plain format.
    """
    return _samples(as_frame(buffer, format, width, height, stride), 0, None)
