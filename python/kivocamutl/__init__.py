# SPDX-License-Identifier: Apache-2.0
"""Raw buffers of machine-vision cameras to numpy pictures.

    >>> import kivocamutl
    >>> picture = kivocamutl.convert(frame, "BayerRG12")           # (height, width, 4) uint8: B, G, R, A
    >>> kivocamutl.write_bmp("frame.bmp", picture)

Everything works on numpy arrays through the installed shared library; no compiler is needed. Functions may be
called from several threads at once, and the interpreter lock is released while the library converts.
"""

from .colour import Colour, auto_colour
from .conversion import convert, reverse, unpack
from .errors import (
    ClusterError,
    FileReadError,
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
from .guessing import Candidate, guess
from .pixel_formats import Format, find_format, formats, reversed_format

__version__ = "1.0.0"

__all__ = [
    "Colour",
    "auto_colour",
    "convert",
    "reverse",
    "reversed_format",
    "unpack",
    "read_rwh",
    "read_rwh_header",
    "write_rwh",
    "write_bmp",
    "guess",
    "formats",
    "find_format",
    "Format",
    "Candidate",
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
    "FileReadError",
    "FileWriteError",
    "ClusterError",
    "__version__",
]
