# SPDX-License-Identifier: Apache-2.0
"""The table of formats against the library's own queries and the public header."""

from __future__ import annotations

import ctypes
import pathlib
import re
from typing import get_args

import pytest

import kivocamutl as kivo
from kivocamutl import _engine, _library, options, pixel_formats

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
    everything = kivo.formats()
    assert len({f.name.lower() for f in everything}) == len(everything) == len({f.code for f in everything})


def test_names_elsewhere():
    rg = kivo.find_format("BayerRG8")
    assert (rg.opencv, rg.v4l2, rg.gstreamer) == ("COLOR_BayerBG2BGR", "SRGGB8", "rggb")
    gb = kivo.find_format("BayerGB12")
    assert (gb.opencv, gb.v4l2, gb.gstreamer) == ("COLOR_BayerGR2BGR", "SGBRG12", "gbrg12le")
    assert kivo.find_format("YUV411_8_UYYVYY").gstreamer == "IYU1"
    for format in kivo.formats():
        if format.order and format.packing == "plain":
            assert format.v4l2 == f"S{format.gstreamer[:4].upper()}{format.depth}"


def test_sizes_and_shapes():
    assert kivo.find_format("YUV411_8_UYYVYY").row_bytes(640) == 960
    assert kivo.find_format("Mono12").frame_bytes(640, 480) == 614400
    assert kivo.find_format("YUV422_8_UYVY").shape(640, 480) == (480, 640, 2)
    assert kivo.find_format("YUV411_8_UYYVYY").shape(640, 480) == (480, 960)
    assert kivo.find_format("BGR12").shape(640, 480) == (480, 640, 3)


def test_a_library_that_is_not_there_is_named(monkeypatch, tmp_path):
    monkeypatch.setattr(_library, "_loaded", {})
    for soname, variable, missing in ((_library.CAMUTL, "KIVOCAMUTL_LIBRARY", "SaveBmpARGB_S"),
                                      (_library.FRAME, "KIVOFRAME_LIBRARY", "kivo_message")):
        monkeypatch.setenv(variable, str(tmp_path / "none.so"))
        with pytest.raises(kivo.LibraryNotFoundError, match=f"none.so.*{variable}") as caught:
            _library.library(soname)
        assert isinstance(caught.value, OSError)
        monkeypatch.setenv(variable, "libc.so.6")
        with pytest.raises(kivo.LibraryNotFoundError, match=f"libc.so.6 has no {missing}"):
            _library.library(soname)
        monkeypatch.delenv(variable)


@pytest.mark.skipif(not HEADER.exists(), reason="the header is not beside the package")
def test_structures_are_those_of_the_header():
    """Names and order of all fields, which are pointers, sizes and 32-bit numbers."""
    text = HEADER.with_name("KivoFrame.h").read_text()
    for name, structure in (("kivo_format", _engine.FormatStruct), ("kivo_options", _engine.OptionsStruct),
                            ("kivo_frame", _engine.Memory), ("kivo_picture", _engine.Memory)):
        body = re.sub(r"/\*.*?\*/", "", text.split(f"typedef struct {name} {{")[1].split("}")[0], flags=re.S)
        fields = re.findall(r"(\w+[\s*]+)(\w+);", body)
        assert [field for _, field in fields] == [field for field, _ in structure._fields_]
        sizes = {"uint32_t": 4, "size_t": 8, "ptrdiff_t": 8}
        assert [sizes.get(kind.strip(), ctypes.sizeof(ctypes.c_void_p)) for kind, _ in fields] == \
            [ctypes.sizeof(kind) for _, kind in structure._fields_]


@pytest.mark.skipif(not HEADER.exists(), reason="the header is not beside the package")
def test_words_are_those_of_the_header():
    """The place of a word is its value in the header, and every status is one kind of error."""
    text = HEADER.with_name("KivoFrame.h").read_text()
    values = {name: int(value) for name, value in re.findall(r"\b(KIVO_\w+) =\s+(\d+)", text)}

    def named(words, prefix, suffix=""):
        return [values[f"KIVO_{prefix}{word.upper()}{suffix}"] for word in words] == list(range(len(words)))

    outputs = [word if word.endswith("16") else f"{word}8" for word in get_args(options.Output)]
    assert named(outputs, "") and len(outputs) == values["KIVO_SAMPLES"] == _engine.SAMPLES
    assert named(get_args(options.Bayer), "BAYER_") and named(get_args(options.Levels), "LEVELS_")
    assert named([word.replace("-", "_") for word in get_args(options.Balance)], "BALANCE_")
    assert named(get_args(options.Tone), "TONE_") and len(get_args(options.Tone)) == values["KIVO_TONE_TABLE"]
    assert named(pixel_formats._FAMILIES, "")
    assert [values[f"KIVO_ORDER_{order or 'NONE'}"] for order in pixel_formats._ORDERS] == list(range(5))
    assert named(pixel_formats._PACKINGS, "")
    for name in ("MIRROR", "FLIP", "WITH_SHIFT", "WITH_RANGE", "EMPTY_IMAGE"):
        assert getattr(_engine, name) == values[f"KIVO_{name}"]
    errors = {
        kivo.UnknownFormatError: ["UNKNOWN_FORMAT"],
        kivo.OptionError: ["UNKNOWN_OPTION", "BAD_SHIFT", "BAD_RANGE", "BAD_LEVELS", "BAD_COLOUR", "BAD_BLACK", "BAD_GAIN",
                           "BAD_MATRIX", "BAD_POINTS", "BAD_GAMMA", "BAD_TABLE", "BAD_PERCENT"],
        kivo.SampleTypeError: ["NO_BYTE_ORDER"],
        MemoryError: ["OUT_OF_MEMORY"],
        kivo.FrameSizeError: ["EMPTY_IMAGE", "TOO_LARGE", "PARTIAL_GROUP", "CROP_OUTSIDE", "SPLIT_GROUP", "ACPI_SIZE",
                              "HALF_SIZE", "SHORT_STRIDE", "SHORT_BUFFER", "SHORT_PICTURE_STRIDE", "SHORT_PICTURE",
                              "OVERLAP"],
    }
    kinds = {values[f"KIVO_{name}"]: kind for kind, names in errors.items() for name in names}
    _engine.check(0, "frame")
    for status in range(1, values["KIVO_SCHEDULER_FAILED"] + 2):
        with pytest.raises(kinds.get(status, kivo.StatusError)) as caught:
            _engine.check(status, "frame")
        if status in kinds:
            assert str(caught.value) == "frame: " + _engine.engine().kivo_message(status).decode()
