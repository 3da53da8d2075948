# SPDX-License-Identifier: Apache-2.0
"""The shared library: found once, on first use, with its tables prepared."""

from __future__ import annotations

import ctypes
import os
import pathlib
import threading
from typing import Any, Callable, Optional

from .errors import LibraryNotFoundError, StatusError

_SONAME = "libKivoCamUtl.so.1"
_lock = threading.Lock()
_loaded: Optional[ctypes.CDLL] = None

_CONVERTER = (ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32)
_WORKER = (*_CONVERTER, ctypes.c_uint32)
_PROTOTYPES: dict[str, tuple[Any, ...]] = {
    "ReverseImg": (ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32, ctypes.c_uint32,
                   ctypes.c_uint8, ctypes.c_uint8),
    **{f"SaveBmp{kind}_S": (ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32, ctypes.c_uint32,
                            ctypes.c_char_p) for kind in ("ARGB", "RGB", "Mono")},
}


def _beside_the_package() -> list[str]:
    """Where the library is when both were installed below one prefix that the system does not search."""
    folders = pathlib.Path(__file__).resolve().parents
    if len(folders) < 4:
        return []
    lib = folders[3]  # of lib/python3.11/dist-packages/kivocamutl/_library.py
    return [str(path) for path in (*lib.glob(_SONAME), *sorted(lib.glob(f"*/{_SONAME}")))]


def _open() -> tuple[str, ctypes.CDLL]:
    """The library that the environment names; else the system's; else the one beside the package."""
    named = os.environ.get("KIVOCAMUTL_LIBRARY")
    problem: Optional[OSError] = None
    for path in [named] if named else [_SONAME, *_beside_the_package()]:
        try:
            # CDLL, not PyDLL: the interpreter lock is released while a function of the library runs.
            return path, ctypes.CDLL(path)
        except OSError as error:
            problem = problem or error
    raise LibraryNotFoundError(f"cannot load the shared library {named or _SONAME}: {problem}; install it, or name "
                               "its file in the environment variable KIVOCAMUTL_LIBRARY") from None


def _load() -> ctypes.CDLL:
    path, library = _open()
    try:
        prepare = library.PrepareLUT
    except AttributeError:
        raise LibraryNotFoundError(f"{path} is a shared library without PrepareLUT") from None
    prepare.argtypes = ()
    prepare.restype = ctypes.c_int32
    status = prepare()
    if status != 0:
        raise StatusError("PrepareLUT", status)
    return library


def library() -> ctypes.CDLL:
    """The library, ready to convert. Safe to call from several threads at once."""
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                _loaded = _load()
    return _loaded


def function(name: str, worker: bool = False) -> Callable[..., int]:
    """An exported function with its argument types; `worker` for one that takes a shift."""
    found = getattr(library(), name)
    if found.argtypes is None:
        found.restype = ctypes.c_int32
        found.argtypes = _PROTOTYPES.get(name, _WORKER if worker else _CONVERTER)
    return found  # type: ignore[no-any-return]
