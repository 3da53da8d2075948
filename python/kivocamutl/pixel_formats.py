# SPDX-License-Identifier: Apache-2.0
"""The pixel formats and their names in other systems: the table of libKivoFrame."""

from __future__ import annotations

import dataclasses
import functools
import operator
from ctypes import c_void_p
from typing import Optional, SupportsIndex, Union

from ._engine import FormatStruct, engine
from ._sizes import size_argument
from .errors import UnknownFormatError

__all__ = ["Format", "FormatLike", "formats", "find_format", "reversed_format"]

# In the order of the enumerations in KivoFrame.h.
_FAMILIES = ("mono", "bayer", "rgb", "yuv")
_ORDERS = (None, "GR", "RG", "GB", "BG")
_PACKINGS = ("plain", "p", "Packed", "p32", "planar", "signed", "alpha", "luma_first")
_SHARING = ("p", "Packed", "p32")


@dataclasses.dataclass(frozen=True)
class Format:
    """One pixel format.

    The names in other systems are ``None`` where there is no counterpart with the same bytes. Names of
    Bayer orders need care: OpenCV names an order by the second and third sample of the second row, which
    turns RG here into its BG.
    """

    name: str
    """Name in the GenICam Pixel Format Naming Convention (PFNC), or of GigE Vision for the ``Packed`` layouts."""
    code: int
    """PFNC code."""
    family: str
    """``"mono"``, ``"bayer"``, ``"rgb"`` (RGB and BGR) or ``"yuv"``."""
    order: Optional[str]
    """Bayer order ``"GR"``, ``"RG"``, ``"GB"`` or ``"BG"``, else ``None``."""
    depth: int
    """Significant bits of a sample."""
    group_pixels: int
    """Pixels that share a group of bytes; 1 where every pixel has its own."""
    group_bytes: int
    """Bytes of such a group; of a planar format in one plane."""
    packing: str
    """How samples lie in memory: ``"plain"``, a byte or a little-endian 16-bit word each, value in the low bits;
    ``"p"``, a little-endian stream of bits; ``"Packed"``, two samples in three bytes; ``"p32"``, three in four;
    ``"planar"``, ``"signed"``, ``"alpha"`` or ``"luma_first"``."""
    plain: str
    """Name of the format that :func:`kivocamutl.unpack` gives; its own where samples are plain."""
    word_bytes: int
    """Bytes of an item of the array that holds a frame: 2 for samples of 16-bit words, else 1."""
    opencv: Optional[str]
    """OpenCV matrix type, or the ``cv2.cvtColor`` code that gives BGR."""
    v4l2: Optional[str]
    """Name of the V4L2 format, without ``V4L2_PIX_FMT_``."""
    gstreamer: Optional[str]
    """GStreamer format of ``video/x-raw``, or of ``video/x-bayer`` for the Bayer formats."""
    ros: Optional[str]
    """Encoding of ``sensor_msgs/Image``."""

    @property
    def bits_per_pixel(self) -> int:
        """Bits that a pixel takes in a frame."""
        return self.code >> 16 & 0xFF

    @property
    def dtype(self) -> str:
        """The dtype of the array that holds a frame."""
        return "i1" if self.packing == "signed" else f"<u{self.word_bytes}"

    @property
    def shares_bytes(self) -> bool:
        """Whether samples have bytes in common, so that an array holds rows of bytes."""
        return self.packing in _SHARING

    def row_bytes(self, width: int) -> int:
        """Bytes of one row without padding, that begins on a byte; of one plane of a planar format."""
        return int(engine().kivo_row_bytes(self.code, size_argument("width", width)))

    def frame_bytes(self, width: int, height: int) -> int:
        """Bytes of one frame with packed rows."""
        return int(engine().kivo_frame_bytes(self.code, size_argument("width", width),
                                             size_argument("height", height)))

    def shape(self, width: int, height: int) -> tuple[int, ...]:
        """Shape of the array that holds such a frame.

        ``(height, width)`` for mono and Bayer, ``(height, width, 3)`` for RGB, BGR and YUV 4:4:4, with 4 instead of 3
        for those with alpha, ``(3, height, width)`` for planar formats, ``(height, width, 2)`` for YUV 4:2:2 and
        ``(height, width * 3 // 2)`` for YUV 4:1:1. Where samples share bytes ``(height, row_bytes(width))``.
        """
        width, height = size_argument("width", width), size_argument("height", height)
        if self.packing == "planar":
            return (3, height, width)
        words, rest = divmod(self.group_bytes, self.group_pixels * self.word_bytes)
        if self.shares_bytes or rest:
            return (height, self.row_bytes(width))
        return (height, width) if words == 1 else (height, width, words)

    def __str__(self) -> str:
        return self.name


FormatLike = Union[str, int, Format]
"""A name in any case, a PFNC code as a number or as text such as ``"0x01080009"``, or a :class:`Format`."""


def _format(address: int) -> Format:
    s = FormatStruct.from_address(address)
    plain = FormatStruct.from_address(engine().kivo_format_find(b"0x%08x" % s.plain))
    packing = _PACKINGS[s.packing]
    names = (None if name is None else name.decode() for name in (s.opencv, s.v4l2, s.gstreamer, s.ros))
    return Format(s.name.decode(), s.code, _FAMILIES[s.family], _ORDERS[s.order], s.depth, s.group_pixels,
                  s.group_bytes, packing, plain.name.decode(),
                  s.plain_bytes if packing in ("plain", "planar") else 1, *names)


@functools.lru_cache(maxsize=None)
def _table() -> dict[int, Format]:
    lib = engine()
    all_formats = (_format(lib.kivo_format_at(i)) for i in range(lib.kivo_format_count()))
    return {format.code: format for format in all_formats}


def formats() -> tuple[Format, ...]:
    """All formats, with their names in OpenCV, V4L2, GStreamer and ROS."""
    return tuple(_table().values())


def _named(name: str) -> Format:
    """The format that a text names. What no encoding has is in no name."""
    text = b"?" if "\0" in name else name.encode("utf-8", "replace")
    address = engine().kivo_format_find(text)
    if address is not None:
        return _table()[FormatStruct.from_address(address).code]
    near = (c_void_p * 3)()
    count = engine().kivo_format_suggest(text, near, len(near))
    hint = " or ".join(FormatStruct.from_address(a).name.decode() for a in near[:count] if a is not None)
    raise UnknownFormatError(f"unknown pixel format {name!r}; " +
                             (f"did you mean {hint}?" if hint else "formats() lists the known ones"))


def find_format(value: FormatLike) -> Format:
    """The format with this name, in any case, or this code.

    Names are those of PFNC and, for the same bytes, of OpenCV's Mat types, V4L2, GStreamer and ROS.

    :raises UnknownFormatError: there is none; the message names those that are spelt most alike.
    """
    if isinstance(value, Format):
        return value
    if isinstance(value, str):
        return _named(value)
    if isinstance(value, bool) or not isinstance(value, SupportsIndex):
        raise UnknownFormatError(f"a pixel format is a name or a code, not {value!r}")
    try:
        return _table()[operator.index(value)]
    except (KeyError, TypeError):
        shown = f"0x{value:08X}" if isinstance(value, int) else repr(value)
        raise UnknownFormatError(f"unknown pixel format {shown}; formats() lists the known ones") from None


def reversed_format(format: FormatLike, *, horizontal: bool = False, vertical: bool = False,
                    width: int = 2, height: int = 2) -> str:
    """Name of the format of a frame after :func:`kivocamutl.reverse`.

    Mirroring a Bayer frame of even width exchanges the colours of its columns (RG and GR, GB and BG),
    flipping one of even height those of its rows (RG and GB, GR and BG). An odd width or height keeps the
    order, and so do all formats that are not Bayer. Without `width` and `height` the frame counts as
    even-sized. Samples that are not plain are unpacked on the way: the name is that of plain samples.

    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: a width or height is no whole number, negative, or greater than 32 bits can say.
    """
    known = find_format(find_format(format).plain)
    width, height = size_argument("width", width), size_argument("height", height)
    columns, rows = bool(horizontal) and width % 2 == 0, bool(vertical) and height % 2 == 0
    return _table()[engine().kivo_format_exchanged(known.code, columns, rows)].name
