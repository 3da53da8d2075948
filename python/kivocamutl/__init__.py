# SPDX-License-Identifier: Apache-2.0
"""Raw buffers of machine-vision cameras to numpy pictures.

    >>> import kivocamutl
    >>> picture = kivocamutl.convert(frame, "BayerRG12")           # (height, width, 4) uint8: B, G, R, A
    >>> kivocamutl.write_bmp("frame.bmp", picture)

Everything works on numpy arrays through the installed shared library; no compiler is needed. Functions may be
called from several threads at once, and the interpreter lock is released while the library converts.
"""

from .conversion import convert, reverse
from .errors import (
    FileWriteError,
    FrameSizeError,
    KivoError,
    LibraryNotFoundError,
    OptionError,
    RwhError,
    SampleTypeError,
    StatusError,
    UnknownFormatError,
)
from .files import RawFrame, RwhHeader, read_rwh, read_rwh_header, write_bmp, write_rwh
from .pixel_formats import (
    Format,
    PackedFormat,
    find_format,
    find_packed_format,
    formats,
    packed_formats,
    reversed_format,
)
from .unpacking import unpack

__version__ = "1.0.0"

__all__ = [
    "convert",
    "reverse",
    "reversed_format",
    "unpack",
    "read_rwh",
    "read_rwh_header",
    "write_rwh",
    "write_bmp",
    "formats",
    "packed_formats",
    "find_format",
    "find_packed_format",
    "Format",
    "PackedFormat",
    "RawFrame",
    "RwhHeader",
    "KivoError",
    "UnknownFormatError",
    "FrameSizeError",
    "SampleTypeError",
    "OptionError",
    "RwhError",
    "StatusError",
    "LibraryNotFoundError",
    "FileWriteError",
    "__version__",
]
