# SPDX-License-Identifier: Apache-2.0
"""The table of formats against the library's own queries and the public header."""

from __future__ import annotations

import ctypes
import pathlib
import re

import pytest

import kivocamutl as kivo
from kivocamutl import _library

HEADER = pathlib.Path(__file__).resolve().parents[2] / "include" / "KivoCamUtl.h"


def test_table_agrees_with_the_library():
    library = _library.library()
    library.BitPerPixel.restype = ctypes.c_uint32
    library.DataDepth.restype = ctypes.c_uint8
    library.IsPixelBayer.restype = ctypes.c_bool
    known = 0
    for format in kivo.formats():
        assert format.bits_per_pixel == library.BitPerPixel(ctypes.c_uint32(format.code))
        depth = library.DataDepth(ctypes.c_uint32(format.code))
        if depth:
            known += 1
            assert format.depth == depth
            assert (format.order is not None) == library.IsPixelBayer(ctypes.c_uint32(format.code))
    assert known == 22


@pytest.mark.skipif(not HEADER.exists(), reason="the header is not beside the package")
def test_codes_and_version_of_the_header():
    text = HEADER.read_text()
    codes = re.findall(r"#define CAMUTL_PFNC_(\w+) UINT32_C\((0x[0-9A-F]+)\)", text)
    assert len(codes) == 25
    for name, code in codes:
        assert kivo.find_format(int(code, 16)).name.upper() == name.replace("BAYER_", "BAYER")
    version = ".".join(re.findall(r"#define CAMUTL_VERSION_\w+ (\d+)", text))
    assert kivo.__version__ == version


def test_names_and_codes_are_unique():
    everything = [*kivo.formats(), *kivo.packed_formats()]
    assert len({f.name.lower() for f in everything}) == len(everything) == len({f.code for f in everything})


def test_names_elsewhere():
    rg = kivo.find_format("BayerRG8")
    assert (rg.opencv, rg.v4l2, rg.gstreamer) == ("COLOR_BayerBG2BGR", "SRGGB8", "rggb")
    gb = kivo.find_format("BayerGB12")
    assert (gb.opencv, gb.v4l2, gb.gstreamer) == ("COLOR_BayerGR2BGR", "SGBRG12", "gbrg12le")
    assert kivo.find_format("YUV411_8_UYYVYY").gstreamer == "IYU1"
    for format in kivo.formats():
        if format.order:
            assert format.v4l2 == f"S{format.gstreamer[:4].upper()}{format.depth}"


def test_sizes_and_shapes():
    assert kivo.find_format("YUV411_8_UYYVYY").row_bytes(640) == 960
    assert kivo.find_format("Mono12").frame_bytes(640, 480) == 614400
    assert kivo.find_format("YUV422_8_UYVY").shape(640, 480) == (480, 640, 2)
    assert kivo.find_format("YUV411_8_UYYVYY").shape(640, 480) == (480, 960)
    assert kivo.find_format("BGR12").shape(640, 480) == (480, 640, 3)


def test_a_library_that_is_not_there_is_named(monkeypatch, tmp_path):
    monkeypatch.setattr(_library, "_loaded", None)
    monkeypatch.setenv("KIVOCAMUTL_LIBRARY", str(tmp_path / "none.so"))
    with pytest.raises(kivo.LibraryNotFoundError, match="none.so") as caught:
        _library.library()
    assert isinstance(caught.value, OSError)
    monkeypatch.setenv("KIVOCAMUTL_LIBRARY", "libc.so.6")
    with pytest.raises(kivo.LibraryNotFoundError, match="PrepareLUT"):
        _library.library()
