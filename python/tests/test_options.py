# SPDX-License-Identifier: Apache-2.0
"""Options that are words: their types list what the functions take, and a type checker finds a misspelt one."""

from __future__ import annotations

import inspect
import pathlib
import subprocess
import sys
import typing

import numpy as np
import pytest

import kivocamutl
from kivocamutl import _archive_task, options

_TYPES = {"bayer": options.Bayer, "output": options.Output, "levels": options.Levels}
_PROGRAM = """\
import numpy as np
import kivocamutl

frame = np.zeros((4, 4), np.uint8)
kivocamutl.convert(frame, "BayerRG8", bayer="acpi", output="BGR")
kivocamutl.convert(frame, "BayerRG8", bayer="adaptive")
kivocamutl.convert(frame, "BayerRG8", output="CMYK")
"""


def test_every_listed_value_is_taken():
    frame = np.zeros((4, 4), np.uint8)
    for bayer in typing.get_args(options.Bayer):
        for output in typing.get_args(options.Output):
            picture = kivocamutl.convert(frame, "BayerRG8", bayer=bayer, output=output)
            size = 2 if bayer == "half" else 4
            inner = () if output.startswith("GRAY") else (len(output.replace("16", "")),)
            assert picture.shape == (size, size, *inner)
            assert picture.dtype == (np.uint16 if output.endswith("16") else np.uint8)
    for levels in typing.get_args(options.Levels):
        kivocamutl.convert(frame, "BayerRG8", output="GRAY16", levels=levels)
    for name in _TYPES:
        with pytest.raises(kivocamutl.OptionError, match="'nothing'"):
            kivocamutl.convert(frame, "BayerRG8", **{name: "nothing"})


def test_public_functions_name_the_values():
    seen = set()
    public = [getattr(kivocamutl, name) for name in kivocamutl.__all__]
    for function in [*filter(inspect.isfunction, public), _archive_task.Options]:
        for name, hint in typing.get_type_hints(function).items():
            if name in _TYPES:
                assert hint == _TYPES[name], f"{function.__name__}: {name}"
                seen.add(name)
    assert seen == set(_TYPES)


def test_type_checker(tmp_path):
    pytest.importorskip("mypy", reason="install mypy")
    package = pathlib.Path(kivocamutl.__file__).parent
    program = tmp_path / "program.py"
    program.write_text(_PROGRAM)
    run = subprocess.run([sys.executable, "-m", "mypy", "--config-file", str(package.parent / "pyproject.toml"),
                          "--cache-dir", str(tmp_path / "cache"), str(package), str(program)],
                         capture_output=True, text=True, check=False)
    errors = [line for line in run.stdout.splitlines() if ": error: " in line]
    # The package itself has none, and of the program the two misspelt lines.
    assert [line.split(":")[:2] for line in errors] == [[str(program), "6"], [str(program), "7"]], run.stdout
    assert "Literal['standard', 'acpi', 'best', 'off', 'half']" in errors[0] and "Literal['BGRA', 'BGR', " in errors[1]
