# SPDX-License-Identifier: Apache-2.0
"""The pixel formats and their names in other systems."""

from __future__ import annotations

import dataclasses
import operator
from typing import Optional, SupportsIndex, Union

from ._sizes import size_argument
from .errors import UnknownFormatError

__all__ = [
    "Format",
    "FormatLike",
    "PackedFormat",
    "formats",
    "find_format",
    "find_any_format",
    "packed_formats",
    "find_packed_format",
    "reversed_format",
]


@dataclasses.dataclass(frozen=True)
class Format:
    """One pixel format that :func:`kivocamutl.convert` takes.

    The names in other systems are ``None`` where there is no counterpart with the same bytes. Names of
    Bayer orders need care: OpenCV names an order by the second and third sample of the second row, which
    turns RG here into its BG.
    """

    name: str
    """Name in the GenICam Pixel Format Naming Convention (PFNC)."""
    code: int
    """PFNC code."""
    family: str
    """``"mono"``, ``"bayer"``, ``"rgb"`` (RGB and BGR) or ``"yuv"``."""
    order: Optional[str]
    """Bayer order ``"GR"``, ``"RG"``, ``"GB"`` or ``"BG"``, else ``None``."""
    depth: int
    """Significant bits of a sample."""
    group_pixels: int
    """Pixels that share a group of bytes: 1, or 2 and 4 for the subsampled YUV formats."""
    group_bytes: int
    """Bytes of such a group, as a camera delivers it."""
    word_bytes: int
    """Bytes of a sample: 1, or 2 (little-endian, value in the low bits)."""
    opencv: Optional[str]
    """OpenCV matrix type, or the ``cv2.cvtColor`` code that gives BGR."""
    v4l2: Optional[str]
    """Name of the V4L2 format, without ``V4L2_PIX_FMT_``."""
    gstreamer: Optional[str]
    """GStreamer format of ``video/x-raw``, or of ``video/x-bayer`` for the Bayer formats."""

    @property
    def bits_per_pixel(self) -> int:
        """Bits that a pixel takes in a frame."""
        return self.group_bytes * 8 // self.group_pixels

    def row_bytes(self, width: int) -> int:
        """Bytes of one row without padding."""
        return self.bits_per_pixel * size_argument("width", width) // 8

    def frame_bytes(self, width: int, height: int) -> int:
        """Bytes of one frame with packed rows."""
        return self.row_bytes(width) * size_argument("height", height)

    def shape(self, width: int, height: int) -> tuple[int, ...]:
        """Shape of the array that holds such a frame.

        ``(height, width)`` for mono and Bayer, ``(height, width, 3)`` for RGB, BGR and YUV 4:4:4,
        ``(height, width, 2)`` for YUV 4:2:2 and ``(height, width * 3 // 2)`` for YUV 4:1:1.
        """
        width, height = size_argument("width", width), size_argument("height", height)
        words = self.group_bytes // self.word_bytes
        if words % self.group_pixels:
            return (height, width * words // self.group_pixels)
        words //= self.group_pixels
        return (height, width) if words == 1 else (height, width, words)

    def __str__(self) -> str:
        return self.name


@dataclasses.dataclass(frozen=True)
class PackedFormat:
    """A format whose samples share bytes; :func:`kivocamutl.unpack` turns it into 16-bit samples."""

    name: str
    """PFNC name, or the name of GigE Vision for the ``Packed`` layouts."""
    code: int
    """PFNC code."""
    depth: int
    """Bits of a sample: 10 or 12."""
    layout: str
    """``"p"``: a little-endian stream of bits. ``"Packed"``: two samples in three bytes."""
    unpacked: str
    """Name of the 16-bit format that unpacking gives."""

    @property
    def bits_per_pixel(self) -> int:
        """Bits that a pixel takes in a frame."""
        return 10 if self.layout == "p" and self.depth == 10 else 12

    def row_bytes(self, width: int) -> int:
        """Bytes of one row that begins on a byte."""
        return self.buffer_bytes(size_argument("width", width))

    def buffer_bytes(self, samples: int) -> int:
        """Bytes that hold so many consecutive samples."""
        samples = size_argument("samples", samples, most=None)
        if self.layout == "p":
            return (samples * self.depth + 7) // 8
        return samples // 2 * 3 + samples % 2 * 2

    def __str__(self) -> str:
        return self.name


FormatLike = Union[str, int, Format, PackedFormat]
"""A PFNC name in any case, a PFNC code as a number or as text such as ``"0x01080009"``, or a :class:`Format`."""

_OPENCV_BAYER = {"GR": "COLOR_BayerGB2BGR", "RG": "COLOR_BayerBG2BGR",
                 "GB": "COLOR_BayerGR2BGR", "BG": "COLOR_BayerRG2BGR"}
_ORDERS = ("GR", "RG", "GB", "BG")
_LETTERS = {"GR": "grbg", "RG": "rggb", "GB": "gbrg", "BG": "bggr"}
# First code of each depth; the four orders follow each other as in _ORDERS.
_BAYER_CODES = {8: 0x01080008, 10: 0x0110000C, 12: 0x01100010, 14: 0x01100109, 16: 0x0110002E}


def _mono(name: str, code: int, depth: int, v4l2: Optional[str], gstreamer: Optional[str]) -> Format:
    size = 1 if depth == 8 else 2
    opencv = "CV_8UC1" if depth == 8 else "CV_16UC1"
    return Format(name, code, "mono", None, depth, 1, size, size, opencv, v4l2, gstreamer)


def _bayer(order: str, depth: int) -> Format:
    size = 1 if depth == 8 else 2
    letters = _LETTERS[order]
    gstreamer = letters if depth == 8 else f"{letters}{depth}le"
    return Format(f"Bayer{order}{depth}", _BAYER_CODES[depth] + _ORDERS.index(order), "bayer", order, depth,
                  1, size, size, _OPENCV_BAYER[order], f"S{letters.upper()}{depth}", gstreamer)


def _colour(name: str, code: int, depth: int, opencv: str, v4l2: Optional[str],
            gstreamer: Optional[str]) -> Format:
    word = 1 if depth == 8 else 2
    return Format(name, code, "rgb", None, depth, 1, 3 * word, word, opencv, v4l2, gstreamer)


def _yuv(name: str, code: int, group_pixels: int, group_bytes: int, opencv: Optional[str],
         v4l2: Optional[str], gstreamer: Optional[str]) -> Format:
    return Format(name, code, "yuv", None, 8, group_pixels, group_bytes, 1, opencv, v4l2, gstreamer)


_FORMATS: tuple[Format, ...] = (
    _mono("Mono8", 0x01080001, 8, "GREY", "GRAY8"),
    _mono("Mono10", 0x01100003, 10, "Y10", None),
    _mono("Mono12", 0x01100005, 12, "Y12", None),
    _mono("Mono14", 0x01100025, 14, "Y14", None),
    _mono("Mono16", 0x01100007, 16, "Y16", "GRAY16_LE"),
    *(_bayer(order, depth) for depth in _BAYER_CODES for order in _ORDERS),
    _colour("RGB8", 0x02180014, 8, "COLOR_RGB2BGR", "RGB24", "RGB"),
    _colour("BGR8", 0x02180015, 8, "CV_8UC3", "BGR24", "BGR"),
    _colour("RGB10", 0x02300018, 10, "COLOR_RGB2BGR", None, None),
    _colour("BGR10", 0x02300019, 10, "CV_16UC3", None, None),
    _colour("RGB12", 0x0230001A, 12, "COLOR_RGB2BGR", None, None),
    _colour("BGR12", 0x0230001B, 12, "CV_16UC3", None, None),
    _yuv("YUV411_8_UYYVYY", 0x020C001E, 4, 6, None, None, "IYU1"),
    _yuv("YUV422_8_UYVY", 0x0210001F, 2, 4, "COLOR_YUV2BGR_UYVY", "UYVY", "UYVY"),
    _yuv("YUV8_UYV", 0x02180020, 1, 3, None, None, "IYU2"),
)

_PACKED: tuple[PackedFormat, ...] = (
    PackedFormat("Mono10p", 0x010A0046, 10, "p", "Mono10"),
    PackedFormat("Mono12p", 0x010C0047, 12, "p", "Mono12"),
    PackedFormat("BayerBG10p", 0x010A0052, 10, "p", "BayerBG10"),
    PackedFormat("BayerBG12p", 0x010C0053, 12, "p", "BayerBG12"),
    PackedFormat("BayerGB10p", 0x010A0054, 10, "p", "BayerGB10"),
    PackedFormat("BayerGB12p", 0x010C0055, 12, "p", "BayerGB12"),
    PackedFormat("BayerGR10p", 0x010A0056, 10, "p", "BayerGR10"),
    PackedFormat("BayerGR12p", 0x010C0057, 12, "p", "BayerGR12"),
    PackedFormat("BayerRG10p", 0x010A0058, 10, "p", "BayerRG10"),
    PackedFormat("BayerRG12p", 0x010C0059, 12, "p", "BayerRG12"),
    PackedFormat("Mono10Packed", 0x010C0004, 10, "Packed", "Mono10"),
    PackedFormat("Mono12Packed", 0x010C0006, 12, "Packed", "Mono12"),
    PackedFormat("BayerGR10Packed", 0x010C0026, 10, "Packed", "BayerGR10"),
    PackedFormat("BayerRG10Packed", 0x010C0027, 10, "Packed", "BayerRG10"),
    PackedFormat("BayerGB10Packed", 0x010C0028, 10, "Packed", "BayerGB10"),
    PackedFormat("BayerBG10Packed", 0x010C0029, 10, "Packed", "BayerBG10"),
    PackedFormat("BayerGR12Packed", 0x010C002A, 12, "Packed", "BayerGR12"),
    PackedFormat("BayerRG12Packed", 0x010C002B, 12, "Packed", "BayerRG12"),
    PackedFormat("BayerGB12Packed", 0x010C002C, 12, "Packed", "BayerGB12"),
    PackedFormat("BayerBG12Packed", 0x010C002D, 12, "Packed", "BayerBG12"),
)

_BY_NAME = {f.name.lower(): f for f in _FORMATS}
_BY_CODE = {f.code: f for f in _FORMATS}
_PACKED_BY_NAME = {f.name.lower(): f for f in _PACKED}
_PACKED_BY_CODE = {f.code: f for f in _PACKED}


def formats() -> tuple[Format, ...]:
    """All formats that :func:`kivocamutl.convert` takes, with their names in OpenCV, V4L2 and GStreamer."""
    return _FORMATS


def packed_formats() -> tuple[PackedFormat, ...]:
    """All formats that :func:`kivocamutl.unpack` takes."""
    return _PACKED


def _code(value: object) -> Optional[int]:
    """The number that `value` is or spells, or None when it is a name."""
    if isinstance(value, str):
        if value[:2].lower() != "0x":
            return None
        try:
            return int(value, 16)
        except ValueError:
            raise UnknownFormatError(f"not a pixel format code: {value!r}") from None
    if isinstance(value, bool) or not isinstance(value, SupportsIndex):
        raise UnknownFormatError(f"a pixel format is a name or a code, not {value!r}")
    return operator.index(value)


def find_format(value: FormatLike) -> Format:
    """The format with this PFNC name, in any case, or this code.

    :raises UnknownFormatError: there is none; for a packed format the message says what to do.
    """
    if isinstance(value, Format):
        return value
    code = value.code if isinstance(value, PackedFormat) else _code(value)
    found = _BY_NAME.get(str(value).lower()) if code is None else _BY_CODE.get(code)
    if found is not None:
        return found
    shown = repr(value) if code is None else f"0x{code:08X}"
    packed = _PACKED_BY_NAME.get(str(value).lower()) if code is None else _PACKED_BY_CODE.get(code)
    if packed is not None:
        raise UnknownFormatError(f"{packed.name} shares bytes between samples: unpack() it to "
                                 f"{packed.unpacked} first")
    raise UnknownFormatError(f"unknown pixel format {shown}; formats() lists the known ones")


def find_any_format(value: Union[str, int, Format, PackedFormat]) -> Union[Format, PackedFormat]:
    """The format, packed or not, with this name, in any case, or this code.

    :raises UnknownFormatError: there is none.
    """
    if isinstance(value, PackedFormat):
        return value
    code = _code(value) if not isinstance(value, Format) else value.code
    packed = _PACKED_BY_NAME.get(str(value).lower()) if code is None else _PACKED_BY_CODE.get(code)
    return packed if packed is not None else find_format(value)


def find_packed_format(value: Union[str, int, PackedFormat]) -> PackedFormat:
    """The packed format with this name, in any case, or this code.

    :raises UnknownFormatError: there is none.
    """
    if isinstance(value, PackedFormat):
        return value
    code = _code(value)
    found = _PACKED_BY_NAME.get(str(value).lower()) if code is None else _PACKED_BY_CODE.get(code)
    if found is None:
        shown = repr(value) if code is None else f"0x{code:08X}"
        raise UnknownFormatError(f"unknown packed format {shown}; packed_formats() lists the known ones")
    return found


def exchanged(format: Format, *, columns: bool, rows: bool) -> Format:
    """The format of a Bayer frame whose columns' or rows' colours have changed places; others stay."""
    if format.order is None:
        return format
    order = format.order
    if columns:
        order = {"RG": "GR", "GR": "RG", "GB": "BG", "BG": "GB"}[order]
    if rows:
        order = {"RG": "GB", "GB": "RG", "GR": "BG", "BG": "GR"}[order]
    return _BY_NAME[f"bayer{order}{format.depth}".lower()]


def narrowed(format: Format) -> Optional[Format]:
    """The 8-bit format of the same family and order; none for YUV."""
    name = {"mono": "mono8", "bayer": f"bayer{format.order}8", "rgb": f"{format.name[:3]}8"}.get(format.family)
    return None if name is None else _BY_NAME[name.lower()]


def reversed_format(format: FormatLike, *, horizontal: bool = False, vertical: bool = False,
                    width: int = 2, height: int = 2) -> str:
    """Name of the format of a frame after :func:`kivocamutl.reverse`.

    Mirroring a Bayer frame of even width exchanges the colours of its columns (RG and GR, GB and BG),
    flipping one of even height those of its rows (RG and GB, GR and BG). An odd width or height keeps the
    order, and so do all formats that are not Bayer. Without `width` and `height` the frame counts as
    even-sized. Samples that share bytes are unpacked on the way: the name is that of plain samples.

    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: a width or height is no whole number, negative, or greater than 32 bits can say.
    """
    known = find_any_format(format)
    if isinstance(known, PackedFormat):
        known = find_format(known.unpacked)
    width, height = size_argument("width", width), size_argument("height", height)
    return exchanged(known, columns=horizontal and width % 2 == 0, rows=vertical and height % 2 == 0).name
