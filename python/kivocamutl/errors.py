# SPDX-License-Identifier: Apache-2.0
"""Exceptions of the package.

Everything that is wrong with an argument or with the contents of a file is a :class:`ValueError` as well,
everything that is wrong with the system is an :class:`OSError` as well. Plain failures to open a file stay
the exceptions that Python raises for them (:class:`FileNotFoundError`, :class:`PermissionError`, ...).
"""

from __future__ import annotations

__all__ = [
    "KivoError",
    "UnknownFormatError",
    "FrameSizeError",
    "SampleTypeError",
    "OptionError",
    "RwhError",
    "StatusError",
    "LibraryNotFoundError",
    "FileWriteError",
]


class KivoError(Exception):
    """Base of every exception that the package raises itself."""


class UnknownFormatError(KivoError, ValueError):
    """A pixel format that has no name or code here, or that the operation does not take."""


class FrameSizeError(KivoError, ValueError):
    """A width, height, stride, array shape or buffer length that does not fit the pixel format."""


class SampleTypeError(KivoError, ValueError):
    """An object that is no buffer, or an array whose dtype is not the one of the pixel format."""


class OptionError(KivoError, ValueError):
    """A keyword whose value is not one of those documented."""


class RwhError(KivoError, ValueError):
    """An RWH file whose header is short, contradicts itself or does not fit the length of the file."""


class StatusError(KivoError, ValueError):
    """The library answered with a status other than success."""

    def __init__(self, function: str, status: int) -> None:
        super().__init__(f"{function} returned status {status}")
        self.function = function
        self.status = status

    def __reduce__(self) -> tuple[type["StatusError"], tuple[str, int]]:
        return (type(self), (self.function, self.status))


class LibraryNotFoundError(KivoError, OSError):
    """The shared library is not installed, or is not this library."""


class FileWriteError(KivoError, OSError):
    """A file could not be written whole; nothing is left of it, and what stood in its place still does."""
