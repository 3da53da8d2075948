# SPDX-License-Identifier: Apache-2.0
"""Exceptions of the package: all of them are below :class:`KivoError`.

Everything that is wrong with an argument or with the contents of a file is a :class:`ValueError` as well,
everything that is wrong with the system is an :class:`OSError` as well. What the system says of a file is also the
exception that Python has for it: a :class:`FileReadError` of a file that is not there is a
:class:`FileNotFoundError`. Only :class:`MemoryError` stays what it is.
"""

from __future__ import annotations

from typing import Any

__all__ = [
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
]


class KivoError(Exception):
    """Base of every exception that the package raises."""


class UnknownFormatError(KivoError, ValueError):
    """A pixel format that has no name or code here, or that the operation does not take."""


class FrameSizeError(KivoError, ValueError):
    """A width, height, stride, array shape or buffer length that does not fit the pixel format."""


class SampleTypeError(KivoError, ValueError):
    """An object that is no buffer, or an array whose dtype is not the one of the pixel format."""


class OptionError(KivoError, ValueError):
    """An argument whose value is not one of those documented."""


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


class _FileError(KivoError, OSError):
    """An error that has a number of the system is the class that Python has for the number, too."""

    def __new__(cls, *arguments: Any) -> "_FileError":
        plain = type(OSError(*arguments[:2]))
        if issubclass(cls, plain):
            return super().__new__(cls, *arguments)
        return super().__new__(_CLASSES.get((cls, plain)) or _both(cls, plain), *arguments)

    def __reduce__(self) -> tuple[Any, ...]:
        arguments = self.args if self.filename is None else (*self.args, self.filename)
        return (getattr(type(self), "_general", type(self)), arguments)


_CLASSES: dict[tuple[type, type], type[_FileError]] = {}


def _both(general: type[_FileError], plain: type[OSError]) -> type[_FileError]:
    """The class below both, the same one for each pair."""
    body = {"__module__": general.__module__, "__doc__": general.__doc__, "_general": general}
    return _CLASSES.setdefault((general, plain), type(general.__name__, (general, plain), body))


class FileReadError(_FileError):
    """A file could not be opened or read."""


class FileWriteError(_FileError):
    """A file could not be written whole; nothing is left of it, and what stood in its place still does."""


class ClusterError(KivoError, OSError):
    """There is no cluster to convert an archive, or none of its workers is of use."""
