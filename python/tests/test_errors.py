# SPDX-License-Identifier: Apache-2.0
"""Whatever the package raises is below KivoError, and a ValueError or an OSError as well."""

from __future__ import annotations

import argparse
import ast
import builtins
import errno
import importlib
import os
import pathlib
import pickle
import subprocess
import sys
import textwrap

import numpy as np
import pytest

import kivocamutl as kivo
from kivocamutl import _library

PACKAGE = pathlib.Path(kivo.__file__).parent
ENVIRONMENT = {**os.environ, "PYTHONPATH": str(PACKAGE.parent)}

# Never seen outside: what argparse turns into a message, a signal on its way to the exit code, and what is raised to
# get into the handler right below it. MemoryError stays what it is.
WITHIN = {"_engine": {"MemoryError"}, "_sizes": {"TypeError"}, "_whole_file": {"FileExistsError"},
          "_archive_files": {"_Done"}, "archive": {"_End"}}


def is_within(module, kind):
    return kind.__name__ in WITHIN.get(module, ()) or issubclass(kind, (argparse.ArgumentTypeError, KeyboardInterrupt))


def raised():
    """(module, line, class) of every raise statement that names what it raises."""
    for path in sorted(PACKAGE.glob("*.py")):
        name = "kivocamutl" + ("" if path.stem == "__init__" else f".{path.stem}")
        tree = ast.parse(path.read_text())
        statements = [node for node in ast.walk(tree) if isinstance(node, ast.Raise) and node.exc is not None]
        if not statements:
            continue
        try:
            module = importlib.import_module(name)
        except ImportError:  # a part whose dependencies are not installed
            continue
        for node in statements:
            thing = node.exc.func if isinstance(node.exc, ast.Call) else node.exc
            kind = eval(compile(ast.Expression(thing), str(path), "eval"), {**vars(builtins), **vars(module)})
            yield path.stem, node.lineno, kind


def test_every_raise_statement():
    found = list(raised())
    assert len(found) > 60
    for module, line, kind in found:
        if not is_within(module, kind):
            assert issubclass(kind, kivo.KivoError), f"{module}.py:{line} raises {kind.__name__}"
            assert issubclass(kind, (ValueError, OSError)), kind


def test_every_error_is_public_and_of_two_kinds():
    from kivocamutl import errors

    classes = {name for name, value in vars(errors).items()
               if isinstance(value, type) and issubclass(value, Exception) and not name.startswith("_")}
    assert classes == set(errors.__all__) and classes <= set(kivo.__all__)
    for name in classes - {"KivoError"}:
        kind = getattr(kivo, name)
        assert issubclass(kind, kivo.KivoError) and issubclass(kind, ValueError) != issubclass(kind, OSError)


def nothing():
    return np.zeros((2, 2), np.uint8)


def good(folder):
    path = folder / "good.rwh"
    kivo.write_rwh(path, nothing(), "Mono8")
    return path


def cut(folder):
    path = good(folder)
    path.write_bytes(path.read_bytes()[:17])
    return path


def foreign(folder):
    path = good(folder)
    data = bytearray(path.read_bytes())
    data[0] = 0xEE
    path.write_bytes(data)
    return path


def around(folder):
    (folder / "a.rwh").symlink_to("b.rwh")
    (folder / "b.rwh").symlink_to("a.rwh")
    return folder / "a.rwh"


def below_a_file(folder):
    return good(folder) / "below.rwh"


NAMES = [None, 5, 1.5, [], object(), "zero\0byte", b"zero\0byte", "\ud800.rwh", ""]
READS = [kivo.read_rwh, kivo.read_rwh_header, lambda path: kivo.read_rwh(path, mmap=True)]
WRITES = [lambda path: kivo.write_rwh(path, nothing(), "Mono8"), lambda path: kivo.write_bmp(path, nothing()),
          lambda path: kivo.write_rwh(path, bytes(3), "Mono12p", width=2, height=1)]
MISTAKES = [
    lambda: kivo.find_format("Mono9"), lambda: kivo.find_format(None), lambda: kivo.find_format([]),
    lambda: kivo.convert("text", "Mono8"), lambda: kivo.convert(nothing(), "Mono8", bayer="worst"),
    lambda: kivo.convert(nothing(), "Mono8", output="CMYK"), lambda: kivo.convert(nothing(), "Mono8", crop=(0, 0)),
    lambda: kivo.convert(nothing(), "Mono8", shift=99), lambda: kivo.convert(nothing(), "Mono12"),
    lambda: kivo.convert(nothing(), "Mono8", width=-1), lambda: kivo.convert(bytes(3), "Mono8", width=2, height=2),
    lambda: kivo.convert(nothing(), "Mono8", out=np.zeros((1, 1, 4), np.uint8)),
    lambda: kivo.reverse(nothing(), "RGB8", horizontal=True), lambda: kivo.reversed_format("Mono9"),
    lambda: kivo.unpack(bytes(3), "Mono12p", 4, 1), lambda: kivo.unpack(bytes(3), "Mono8", 2, 2),
    lambda: kivo.write_rwh("no.rwh", nothing(), "Mono12"), lambda: kivo.write_bmp("no.bmp", nothing().astype(float)),
    lambda: kivo.write_rwh("no.rwh", bytes(2), "Mono12p", width=1, height=1),
    lambda: kivo.write_rwh("no.rwh", bytes(12), "YUV422_8_UYVY", width=3, height=2),
]


def refusal(call, *arguments):
    with pytest.raises(kivo.KivoError) as caught:
        call(*arguments)
    assert isinstance(caught.value, (ValueError, OSError))
    return caught.value


@pytest.mark.parametrize("name", NAMES, ids=repr)
@pytest.mark.parametrize("call", READS + WRITES)
def test_names_of_no_file(call, name, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    refusal(call, name)
    assert not os.listdir(tmp_path)


@pytest.mark.parametrize("call", READS)
@pytest.mark.parametrize("make, plain, text", [
    (cut, ValueError, "it holds 17 bytes"), (foreign, ValueError, "0x010800EE"),
    (around, OSError, "Too many levels"), (below_a_file, NotADirectoryError, "Not a directory"),
    (lambda folder: folder, ValueError, "is a directory"),
    (lambda folder: folder / "gone.rwh", FileNotFoundError, "No such file"),
    (lambda folder: folder / ("n" * 300), OSError, "File name too long"),
])
def test_files_that_cannot_be_read(make, plain, text, call, tmp_path):
    error = refusal(call, make(tmp_path))
    assert isinstance(error, plain) and text in str(error)
    assert isinstance(error, kivo.FileReadError) == (plain is not ValueError)


@pytest.mark.parametrize("call", WRITES)
@pytest.mark.parametrize("make, plain", [
    (around, OSError), (below_a_file, NotADirectoryError), (lambda folder: folder, IsADirectoryError),
    (lambda folder: folder / "gone" / "a.rwh", FileNotFoundError), (lambda folder: folder / ("n" * 300), OSError),
])
def test_files_that_cannot_be_written(make, plain, call, tmp_path):
    error = refusal(call, make(tmp_path))
    assert isinstance(error, plain) and isinstance(error, kivo.FileWriteError)


@pytest.mark.parametrize("call", READS + WRITES)
def test_every_number_of_the_system(call, tmp_path, monkeypatch):
    path, real = good(tmp_path), os.open
    for number in (errno.EACCES, errno.EPERM, errno.EIO, errno.ESTALE, errno.ENOSPC, errno.EROFS, errno.EMFILE,
                   errno.ETIMEDOUT, errno.EINTR, errno.ECONNRESET):
        def refuse(name, *arguments, number=number, **keywords):
            raise OSError(number, os.strerror(number), name)

        with monkeypatch.context() as patch:
            patch.setattr(os, "open", refuse)
            error = refusal(call, path)
        assert error.errno == number and error.filename == str(path)
        assert isinstance(error, type(OSError(number, "")))
        back = pickle.loads(pickle.dumps(error))
        assert type(back) is type(error) and str(back) == str(error)
    assert os.open is real


@pytest.mark.parametrize("number", range(len(MISTAKES)))
def test_wrong_arguments(number, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    refusal(MISTAKES[number])
    assert not os.listdir(tmp_path)


def test_a_library_that_is_another():
    class Empty:
        pass

    assert isinstance(refusal(_library._prepared, "empty.so", Empty(), _library.FRAME), kivo.LibraryNotFoundError)
    script = """
        import numpy as np, kivocamutl
        try:
            kivocamutl.convert(np.zeros((2, 2), np.uint8), "Mono8")
        except kivocamutl.KivoError as error:
            assert isinstance(error, OSError)
            print(error)
        """
    for name in ("/nowhere/lib.so", os.devnull, "libm.so.6"):
        done = subprocess.run([sys.executable, "-c", textwrap.dedent(script)], timeout=120, capture_output=True,
                              text=True, env={**ENVIRONMENT, "KIVOFRAME_LIBRARY": name})
        assert done.returncode == 0 and name in done.stdout, done.stderr
