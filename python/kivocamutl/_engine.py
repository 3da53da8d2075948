# SPDX-License-Identifier: Apache-2.0
"""libKivoFrame for Python: its structures, its errors as exceptions, plans and pools that free themselves."""

from __future__ import annotations

import ctypes
import functools
import os
from ctypes import POINTER, byref, c_char_p, c_double, c_size_t, c_ssize_t, c_uint16, c_uint32, c_void_p
from typing import Any, Callable, Optional, Protocol

import numpy.typing as npt

from ._library import FRAME, library
from .errors import FrameSizeError, OptionError, SampleTypeError, StatusError, UnknownFormatError

SAMPLES = 10
MIRROR, FLIP, WITH_SHIFT, WITH_RANGE = 1, 2, 4, 8
EMPTY_IMAGE = 5

_UNKNOWN_FORMAT, _NO_BYTE_ORDER, _SHORT_PICTURE, _OUT_OF_MEMORY = 3, 7, 19, 23
_OPTION = (4, 13, 14, 15, *range(25, 33))
_SIZE = (EMPTY_IMAGE, 6, 8, 9, 10, 11, 12, 16, 17, 18, _SHORT_PICTURE, 20)


class FormatStruct(ctypes.Structure):
    """kivo_format."""

    _fields_ = [("name", c_char_p),
                *((name, c_uint32) for name in ("code", "family", "order", "depth", "group_pixels", "group_bytes",
                                                "packing", "plain", "plain_depth", "plain_bytes", "channels")),
                *((name, c_char_p) for name in ("opencv", "v4l2", "gstreamer", "ros"))]


class ColourStruct(ctypes.Structure):
    """kivo_colour."""

    _fields_ = [("size", c_size_t), ("tone", c_uint32), ("table_size", c_uint32), ("black", c_double * 4),
                ("gain", c_double * 3), ("matrix", c_double * 9), ("low", c_double), ("high", c_double),
                ("gamma", c_double), ("table", POINTER(c_uint16))]


class Settings(Protocol):
    """What makes a kivo_colour, and can be told apart from others."""

    def struct(self) -> ColourStruct: ...

    def __hash__(self) -> int: ...


class OptionsStruct(ctypes.Structure):
    _fields_ = [("size", c_size_t),
                *((name, c_uint32) for name in ("pixels", "bayer", "levels", "hint", "byte_order", "flags", "shift",
                                                "range_low", "range_high", "crop_x", "crop_y", "crop_width",
                                                "crop_height")),
                ("colour", POINTER(ColourStruct))]


class Memory(ctypes.Structure):
    """kivo_frame and kivo_picture."""

    _fields_ = [("data", c_void_p), ("size", c_size_t), ("stride", c_ssize_t)]


_BYTE = ctypes.c_uint8()
_NO_PICTURE = Memory(ctypes.addressof(_BYTE), 0, 0)


def engine() -> ctypes.CDLL:
    return library(FRAME)


def memory(array: npt.NDArray[Any]) -> Optional[Memory]:
    """Where the rows of an array are; None where bytes of a row are apart, or rows overlap."""
    first, height = array[:1], array.shape[0]
    row = first.nbytes
    step = array.strides[0] if height > 1 else row
    if not first.flags.c_contiguous or abs(step) < row:
        return None
    behind = step * (height - 1)
    return Memory(array.ctypes.data + min(0, behind), abs(behind) + row, step)


def check(status: int, what: object) -> None:
    """Raises what the status stands for; `what` names the frame."""
    if status == 0:
        return
    text = f"{what}: {engine().kivo_message(status).decode()}"
    if status == _UNKNOWN_FORMAT:
        raise UnknownFormatError(text)
    if status in _SIZE:
        raise FrameSizeError(text)
    if status in _OPTION:
        raise OptionError(text)
    if status == _NO_BYTE_ORDER:
        raise SampleTypeError(text)
    if status == _OUT_OF_MEMORY:
        raise MemoryError(text)
    raise StatusError("KivoFrame", status)


class Plan:
    """A kivo_plan, freed with the last reference to it. `options` are the fields of kivo_options behind the size."""

    def __init__(self, name: str, code: int, width: int, height: int, options: tuple[int, ...],
                 colour: Optional[Settings] = None) -> None:
        lib, handle = engine(), c_void_p()
        self._lib, self.handle = lib, handle
        self._what = f"{name} frame of {width} x {height}"
        given = OptionsStruct(ctypes.sizeof(OptionsStruct), *options)
        if colour is not None:
            given.colour = ctypes.pointer(colour.struct())
        check(lib.kivo_plan_make(code, width, height, byref(given), byref(handle)), self._what)
        self.width: int = lib.kivo_plan_width(handle)
        self.height: int = lib.kivo_plan_height(handle)
        self.samples_format: int = lib.kivo_plan_samples_format(handle)

    def __del__(self) -> None:
        self._lib.kivo_plan_free(self.handle)

    def _check(self, status: int, frame: Memory) -> None:
        if status:
            stride = f", stride {frame.stride}" if frame.stride else ""
            check(status, f"{self._what} in {frame.size} bytes{stride}")

    def check_frame(self, frame: Memory) -> None:
        """What running the plan refuses of a frame, before memory is spent on the picture."""
        status = self._lib.kivo_run(self.handle, byref(frame), byref(_NO_PICTURE), None, 0)
        if status != _SHORT_PICTURE:
            self._check(status, frame)

    def run(self, frame: Memory, picture: Memory, threads: int) -> None:
        """Converts, on so many threads; 0 are as many as there are processors."""
        if threads == 1:
            self._check(self._lib.kivo_run(self.handle, byref(frame), byref(picture), None, 0), frame)
            return
        pool = _pool(threads, os.getpid())
        scheduler = ctypes.cast(self._lib.kivo_pool_run, c_void_p)
        self._check(self._lib.kivo_run_on(self.handle, byref(frame), byref(picture), scheduler, pool.handle), frame)

    def sample_range(self, frame: Memory) -> tuple[int, int]:
        """The smallest and the largest sample."""
        least, most = c_uint32(), c_uint32()
        self._check(self._lib.kivo_sample_range(self.handle, byref(frame), byref(least), byref(most)), frame)
        return least.value, most.value

    def suggest(self, function: Callable[..., int], frame: Memory, colour: ColourStruct, *how: object) -> None:
        """Lets kivo_auto_black() or one of its kind change the settings."""
        self._check(function(self.handle, byref(frame), *how, byref(colour)), frame)


@functools.lru_cache(maxsize=32)
def cached_plan(name: str, code: int, width: int, height: int, options: tuple[int, ...],
                colour: Optional[Settings] = None) -> Plan:
    """A plan that is likely to be used again: the next frame of a camera is like the last."""
    return Plan(name, code, width, height, options, colour)


class _Pool:
    """A kivo_pool of this process: in a child of it, the threads are not there."""

    def __init__(self, threads: int) -> None:
        self.handle, self._process = c_void_p(), os.getpid()
        self._free = engine().kivo_pool_free
        check(engine().kivo_pool_make(threads, byref(self.handle)), f"{threads} threads")

    def __del__(self) -> None:
        if os.getpid() == self._process:
            self._free(self.handle)


@functools.lru_cache(maxsize=4)
def _pool(threads: int, process: int) -> _Pool:
    return _Pool(threads)
