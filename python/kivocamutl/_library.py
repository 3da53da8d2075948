# SPDX-License-Identifier: Apache-2.0
"""The shared libraries: each is found once, on first use."""

from __future__ import annotations

import ctypes
import os
import pathlib
import threading
from ctypes import c_char_p, c_double, c_int32, c_size_t, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Optional

from .errors import LibraryNotFoundError

CAMUTL, FRAME = "libKivoCamUtl.so.1", "libKivoFrame.so.1"
_VARIABLES = {CAMUTL: "KIVOCAMUTL_LIBRARY", FRAME: "KIVOFRAME_LIBRARY"}
_lock = threading.Lock()
_loaded: dict[str, ctypes.CDLL] = {}

_SAVE = (c_int32, c_void_p, c_uint32, c_uint32, c_uint32, c_char_p)
_RUN = (c_int32, c_void_p, c_void_p, c_void_p, c_void_p)
# The type of the result, then those of the arguments.
_PROTOTYPES: dict[str, dict[str, tuple[Any, ...]]] = {
    CAMUTL: {"SaveBmpARGB_S": _SAVE, "SaveBmpRGB_S": _SAVE, "SaveBmpMono_S": _SAVE},
    FRAME: {
        "kivo_message": (c_char_p, c_int32),
        "kivo_format_count": (c_size_t,),
        "kivo_format_at": (c_void_p, c_size_t),
        "kivo_format_find": (c_void_p, c_char_p),
        "kivo_format_suggest": (c_size_t, c_char_p, c_void_p, c_size_t),
        "kivo_format_exchanged": (c_uint32, c_uint32, c_int32, c_int32),
        "kivo_row_bytes": (c_uint64, c_uint32, c_uint32),
        "kivo_frame_bytes": (c_uint64, c_uint32, c_uint32, c_uint32),
        "kivo_guess": (c_int32, c_void_p, c_size_t, c_uint64, c_void_p, c_size_t, c_void_p),
        "kivo_plan_make": (c_int32, c_uint32, c_uint32, c_uint32, c_void_p, c_void_p),
        "kivo_plan_free": (None, c_void_p),
        "kivo_plan_width": (c_uint32, c_void_p),
        "kivo_plan_height": (c_uint32, c_void_p),
        "kivo_plan_samples_format": (c_uint32, c_void_p),
        "kivo_run": (*_RUN, c_size_t),
        "kivo_run_on": (*_RUN, c_void_p),
        "kivo_sample_range": _RUN,
        "kivo_auto_black": _RUN[:4],
        "kivo_auto_balance": (c_int32, c_void_p, c_void_p, c_uint32, c_void_p),
        "kivo_auto_range": (c_int32, c_void_p, c_void_p, c_double, c_double, c_void_p),
        "kivo_pool_make": (c_int32, c_uint32, c_void_p),
        "kivo_pool_free": (None, c_void_p),
        "kivo_pool_run": (c_int32, c_void_p, c_void_p, c_void_p, c_size_t),
    },
}


def _named(soname: str) -> Optional[str]:
    """The file that the environment names. Where it names the other library alone, the engine is the one beside it."""
    named, other = os.environ.get(_VARIABLES[soname]), os.environ.get(_VARIABLES[CAMUTL])
    if not named and other and soname == FRAME:
        beside = pathlib.Path(other).parent / soname
        named = str(beside) if os.path.dirname(other) and beside.exists() else None
    return named


def _in_the_package(soname: str) -> list[str]:
    """The library that the package brought, when it was installed as a wheel for this kind of machine."""
    return [str(path) for path in pathlib.Path(__file__).resolve().parent.glob(soname)]


def _beside_the_package(soname: str) -> list[str]:
    """Where the library is when both were installed below one prefix that the system does not search."""
    folders = pathlib.Path(__file__).resolve().parents
    if len(folders) < 4:
        return []
    lib = folders[3]  # of lib/python3.11/dist-packages/kivocamutl/_library.py
    return [str(path) for path in (*lib.glob(soname), *sorted(lib.glob(f"*/{soname}")))]


def _load(soname: str) -> ctypes.CDLL:
    """The library that the environment names; else the package's own, the system's, or the one beside the package."""
    named = _named(soname)
    problem: Optional[OSError] = None
    for path in [named] if named else [*_in_the_package(soname), soname, *_beside_the_package(soname)]:
        try:
            # CDLL, not PyDLL: the interpreter lock is released while a function of the library runs.
            return _prepared(path, ctypes.CDLL(path), soname)
        except OSError as error:
            if isinstance(error, LibraryNotFoundError):
                raise
            problem = problem or error
    raise LibraryNotFoundError(f"cannot load the shared library {named or soname}: {problem}; install it, or name "
                               f"its file in the environment variable {_VARIABLES[soname]}") from None


def _prepared(path: str, found: ctypes.CDLL, soname: str) -> ctypes.CDLL:
    """The library with the types of what is used of it."""
    for name, (result, *arguments) in _PROTOTYPES[soname].items():
        try:
            function = getattr(found, name)
        except AttributeError:
            raise LibraryNotFoundError(f"{path} has no {name}: it is not {soname}") from None
        function.restype, function.argtypes = result, tuple(arguments)
    return found


def library(soname: str = CAMUTL) -> ctypes.CDLL:
    """One of the libraries. Safe to call from several threads at once."""
    found = _loaded.get(soname)
    if found is None:
        with _lock:
            found = _loaded.get(soname)
            if found is None:
                found = _loaded[soname] = _load(soname)
    return found


def function(name: str) -> Callable[..., int]:
    """A function of libKivoCamUtl that returns a status."""
    return getattr(library(), name)  # type: ignore[no-any-return]
