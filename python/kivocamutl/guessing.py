# SPDX-License-Identifier: Apache-2.0
"""What a file may be that nobody described."""

from __future__ import annotations

import ctypes
import os
from ctypes import byref, c_double, c_size_t, c_uint32, c_uint64
from typing import NamedTuple

from ._engine import check, engine
from ._whole_file import PathLike
from .files import opened
from .pixel_formats import find_format

__all__ = ["Candidate", "guess"]

_LOOK, _MOST = 16 << 20, 16


class Candidate(NamedTuple):
    """A frame that a file may hold."""

    format: str
    """PFNC name."""
    width: int
    height: int
    offset: int
    """Bytes in front of the frame."""
    stride: int
    """Bytes from row to row; 0 where rows are packed."""
    byte_order: str
    """``"little"`` or ``"big"``."""
    bits: float
    """Bits that a byte of it takes if every sample is predicted from its neighbours."""


class _CandidateStruct(ctypes.Structure):
    _fields_ = [*((name, c_uint32) for name in ("code", "width", "height", "byte_order")), ("offset", c_uint64),
                ("stride", c_uint64), ("bits", c_double)]


def guess(path: PathLike) -> list[Candidate]:
    """What a headerless file may be, the likeliest first; empty where the content does not tell.

    The first 16 MB are looked at. Of a mosaic or a pixel both orders of red and blue are listed.
    """
    with opened(path) as (file, name):
        size = os.fstat(file.fileno()).st_size
        head = file.read(min(size, _LOOK))
    found, count = (_CandidateStruct * _MOST)(), c_size_t()
    check(engine().kivo_guess(head, len(head), size, found, _MOST, byref(count)), name)
    return [Candidate(find_format(c.code).name, c.width, c.height, c.offset, c.stride,
                      "big" if c.byte_order else "little", c.bits) for c in found[:count.value]]
