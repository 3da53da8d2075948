# SPDX-License-Identifier: Apache-2.0
"""Which shared library the package takes."""

from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

import kivocamutl
from kivocamutl import _library

_PROGRAM = """\
import kivocamutl, numpy
picture = kivocamutl.convert(numpy.full((2, 2), 7, "u1"), "Mono8")
assert picture[1, 1].tolist() == [7, 7, 7, 255]
kivocamutl.write_bmp("picture.bmp", picture)
print(*sorted({line.split()[-1] for line in open("/proc/self/maps") if "libKivo" in line}))
"""


@pytest.fixture
def places(tmp_path):
    """A copy of the package, and the libraries in the folders that are asked for."""
    if not os.path.exists("/proc/self/maps"):
        pytest.skip("no list of mapped files")
    libraries = {}
    for soname in (_library.CAMUTL, _library.FRAME):
        _library.library(soname)
        libraries[soname] = next(line.split()[-1] for line in open("/proc/self/maps") if soname in line)
    package = tmp_path / "site" / "kivocamutl"
    shutil.copytree(pathlib.Path(kivocamutl.__file__).parent, package,
                    ignore=shutil.ignore_patterns("__pycache__", "*.so.*"))

    def put(folder, *sonames):
        folder.mkdir(exist_ok=True)
        for soname in sonames or libraries:
            shutil.copy(libraries[soname], folder / soname)
        return [str(folder / soname) for soname in sonames or libraries]

    def taken(**settings):
        environment = {name: value for name, value in os.environ.items() if not name.endswith("_LIBRARY")}
        environment.update({"PYTHONPATH": str(package.parent), **settings})
        return subprocess.run([sys.executable, "-B", "-c", _PROGRAM], check=True, capture_output=True, text=True,
                              cwd=tmp_path, env=environment).stdout.split()

    return tmp_path, package, put, taken


def test_the_environment_then_the_package_then_the_system(places):
    folder, package, put, taken = places
    system, named = put(folder / "system"), put(folder / "named")
    searched = str(folder / "system")
    assert taken(LD_LIBRARY_PATH=searched) == system
    own = put(package)
    assert taken(LD_LIBRARY_PATH=searched) == own
    both = {"KIVOCAMUTL_LIBRARY": named[0], "KIVOFRAME_LIBRARY": named[1]}
    assert taken(LD_LIBRARY_PATH=searched, **both) == named
    # The engine comes from where the other library is.
    assert taken(LD_LIBRARY_PATH=searched, KIVOCAMUTL_LIBRARY=named[0]) == named
    assert taken(LD_LIBRARY_PATH=searched, KIVOFRAME_LIBRARY=named[1]) == sorted((named[1], own[0]))
    alone = put(folder / "alone", _library.CAMUTL)
    assert taken(LD_LIBRARY_PATH=searched, KIVOCAMUTL_LIBRARY=alone[0]) == sorted((alone[0], own[1]))
