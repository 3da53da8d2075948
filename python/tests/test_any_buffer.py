# SPDX-License-Identifier: Apache-2.0
"""What convert() does before it converts: packed samples, regions, and the range of the frame."""

from __future__ import annotations

import array
import ctypes

import numpy as np
import pytest

import kivocamutl as kivo
from conftest import make_frame, plain_formats
from numpy_model import convert as model
from test_unpack import PACKED, pack


def stretch_model(samples):
    """One sample at a time, in whole numbers of Python: 255 (s - least) / span, halves up."""
    least, most = int(samples.min()), int(samples.max())
    span = most - least
    values = [(510 * (int(s) - least) + span) // (2 * span) if span else 0 for s in samples.reshape(-1)]
    return np.array(values, np.uint8).reshape(samples.shape)


@pytest.mark.parametrize("format", PACKED, ids=lambda f: f.name)
def test_packed_formats(format):
    unpacked = kivo.find_format(format.plain)
    samples = make_frame(unpacked, 10, 6, seed=format.code)
    want = model(samples, unpacked)
    data = pack(samples.reshape(-1), format)
    np.testing.assert_array_equal(kivo.convert(data + b"\xee" * 9, format.name, width=10, height=6), want)
    rows = [pack(row, format) for row in samples]
    padded = b"".join(row + b"\xa5" * 3 for row in rows)
    np.testing.assert_array_equal(
        kivo.convert(padded, format, width=10, height=6, stride=len(rows[0]) + 3), want)
    array = np.frombuffer(padded, np.uint8).reshape(6, -1)
    np.testing.assert_array_equal(kivo.convert(array, format, width=10), want)
    with pytest.raises(kivo.FrameSizeError, match="width="):
        kivo.convert(data, format)
    with pytest.raises(kivo.FrameSizeError, match=f"{len(data) - 1} bytes"):
        kivo.convert(data[:-1], format, width=10, height=6)
    turned = kivo.reverse(data, format, True, width=10, height=6)
    np.testing.assert_array_equal(turned, samples[:, ::-1])


@pytest.mark.parametrize("format", plain_formats(), ids=lambda f: f.name)
def test_crop(format):
    frame = make_frame(format, 16, 12)
    group = format.group_pixels
    for x in range(0, 5, group):
        for y in range(4):
            got = kivo.convert(frame, format, crop=(x, y, 8, 6), output="BGR")
            words = frame.reshape(12, -1).shape[1] // 16 if format.group_pixels != 4 else None
            if words:
                cut = frame.reshape(12, -1)[y:y + 6, x * words:(x + 8) * words]
            else:
                cut = frame.reshape(12, -1)[y:y + 6, x // 4 * 6:(x + 8) // 4 * 6]
            name = format.name
            if format.order:
                # Colours of the four corners of a cell, and the one that the region begins with.
                cell = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}[format.order]
                first = cell[y % 2 * 2 + x % 2] + cell[y % 2 * 2 + (x + 1) % 2]
                name = f"Bayer{first}{format.depth}"
            cut = np.ascontiguousarray(cut).reshape(format.shape(8, 6))
            np.testing.assert_array_equal(got, model(cut, kivo.find_format(name), output="BGR"))


def test_wrong_crops():
    frame = np.zeros((6, 8), np.uint8)
    for crop in ((0, 0, 0, 0), (0, 0, 9, 6), (1, 0, 8, 6), (0, 1, 8, 6), (8, 0, 1, 1), (0, 0, 0, 1)):
        with pytest.raises(kivo.FrameSizeError, match="8 x 6"):
            kivo.convert(frame, "Mono8", crop=crop)
    for crop in ((0, 0, 8), "abcd", 7, (0, 0, -1, 1), (0, 0, True, 1)):
        with pytest.raises(kivo.OptionError, match="crop"):
            kivo.convert(frame, "Mono8", crop=crop)
    with pytest.raises(kivo.FrameSizeError, match="in two"):
        kivo.convert(np.zeros((4, 8, 2), np.uint8), "YUV422_8_UYVY", crop=(1, 0, 4, 4))


@pytest.mark.parametrize("name", ["Mono8", "Mono12", "Mono16", "BayerGR8", "BayerRG10", "BayerBG16", "RGB8", "BGR12"])
def test_auto_range(name):
    format = kivo.find_format(name)
    frame = make_frame(format, 10, 8) // 3 + 5
    letters = name.rstrip("0123456789")
    narrow = kivo.find_format(letters + "8")
    for bayer in ("standard", "acpi"):
        got = kivo.convert(frame, format, auto_range=True, bayer=bayer)
        np.testing.assert_array_equal(got, model(stretch_model(frame), narrow, bayer=bayer))
    # The range is that of the region.
    got = kivo.convert(frame, format, auto_range=True, crop=(2, 2, 4, 4))
    cut = np.ascontiguousarray(frame[2:6, 2:6])
    np.testing.assert_array_equal(got, model(stretch_model(cut), narrow))


def test_auto_range_of_flat_frames_and_others():
    assert kivo.convert(np.full((2, 2), 700, np.uint16), "Mono12", auto_range=True)[..., :3].max() == 0
    assert kivo.convert(np.empty((0, 4), np.uint16), "Mono12", auto_range=True).shape == (0, 4, 4)
    with pytest.raises(kivo.OptionError, match="YUV8_UYV"):
        kivo.convert(np.zeros((2, 2, 3), np.uint8), "YUV8_UYV", auto_range=True)
    with pytest.raises(kivo.OptionError, match="not beside a shift"):
        kivo.convert(np.zeros((2, 2), np.uint16), "Mono12", auto_range=True, shift=2)


def test_big_endian_buffers_by_their_dtype():
    frame = make_frame(kivo.find_format("BayerRG12"), 8, 6)
    buffer = frame.astype(">u2").tobytes()
    got = kivo.convert(np.frombuffer(buffer, ">u2"), "BayerRG12", width=8, height=6)
    np.testing.assert_array_equal(got, kivo.convert(frame, "BayerRG12"))


def test_packed_rwh(tmp_path):
    format = kivo.find_format("BayerGB12p")
    samples = make_frame(kivo.find_format("BayerGB12"), 8, 4)
    data = pack(samples.reshape(-1), format)
    kivo.write_rwh(tmp_path / "a.rwh", data + b"more", format, width=8, height=4)
    assert (tmp_path / "a.rwh").read_bytes() == np.array([format.code, 8, 4, 12], "<u4").tobytes() + data
    assert kivo.read_rwh_header(tmp_path / "a.rwh").format is format
    array, name = kivo.read_rwh(tmp_path / "a.rwh")
    assert name == "BayerGB12"
    np.testing.assert_array_equal(array, samples)
    with pytest.raises(kivo.FrameSizeError, match="end on a byte"):
        kivo.write_rwh(tmp_path / "b.rwh", data, format, width=7, height=4)
    with pytest.raises(kivo.FrameSizeError, match="47 bytes: the buffer is shorter"):
        kivo.write_rwh(tmp_path / "b.rwh", data[:-1], format, width=8, height=4)
    with pytest.raises(kivo.FrameSizeError, match="width="):
        kivo.write_rwh(tmp_path / "b.rwh", data, format)
    assert not (tmp_path / "b.rwh").exists()


def test_buffers_keep_the_type_and_strides_of_their_items(tmp_path):
    """A view of an array, and buffers of other makers, give what the array gives."""
    for name in ("BayerRG12", "BayerRG8"):
        frame = make_frame(kivo.find_format(name), 8, 6)
        want = kivo.convert(frame, name)
        swapped = frame.astype(frame.dtype.newbyteorder(">"))
        for samples in (frame, swapped, np.asfortranarray(frame), frame[::-1].copy()[::-1]):
            view, flat = memoryview(samples), memoryview(samples.reshape(-1))
            np.testing.assert_array_equal(kivo.convert(view, name), want)
            np.testing.assert_array_equal(kivo.convert(view, name, width=8, height=6), want)
            np.testing.assert_array_equal(kivo.convert(flat, name, width=8, height=6), want)
            kivo.write_rwh(tmp_path / "a.rwh", view, name)
            np.testing.assert_array_equal(kivo.read_rwh(tmp_path / "a.rwh").array, frame)
    frame = make_frame(kivo.find_format("BayerRG12"), 8, 6)
    want = kivo.convert(frame, "BayerRG12")
    numbers = frame.reshape(-1).tolist()
    big = (ctypes.c_uint16.__ctype_be__ * 48)(*numbers)
    grid = np.ctypeslib.as_ctypes(frame)
    chars = ctypes.create_string_buffer(frame.tobytes(), 96)
    for buffer in (array.array("H", numbers), big, grid, chars, array.array("b", frame.tobytes())):
        np.testing.assert_array_equal(kivo.convert(buffer, "BayerRG12", width=8, height=6), want)


def test_views_of_packed_rows():
    format = kivo.find_format("Mono12p")
    samples = make_frame(kivo.find_format("Mono12"), 5, 4)
    rows = np.stack([np.frombuffer(pack(row, format) + b"\xa5" * 3, np.uint8) for row in samples])
    for buffer in (memoryview(rows), memoryview(np.asfortranarray(rows)), np.ctypeslib.as_ctypes(rows)):
        np.testing.assert_array_equal(kivo.unpack(buffer, format, 5, 4), samples)
        np.testing.assert_array_equal(kivo.convert(buffer, format, width=5), kivo.convert(samples, "Mono12"))


@pytest.mark.parametrize("buffer, text", [
    (array.array("f", [0.0] * 48), "float32"),
    (memoryview(np.zeros((6, 8))), "float64"),
    (memoryview(np.zeros((6, 8), bool)), "bool"),
    (array.array("h", [0] * 48), "int16"),
    (array.array("I", [0] * 24), "uint32"),
    ((ctypes.c_void_p * 12)(), "'<P'"),
    (np.ma.masked_equal(np.zeros((6, 8), np.uint16), 0), "masked"),
])
def test_buffers_of_other_things(buffer, text):
    for name in ("Mono12", "Mono8"):
        with pytest.raises(kivo.SampleTypeError) as caught:
            kivo.convert(buffer, name, width=8, height=6)
        assert text in str(caught.value)


def test_packed_samples_in_buffers_of_other_things():
    for buffer, text in ((array.array("f", [0.0] * 18), "float32"), ((ctypes.c_void_p * 9)(), "'<P'"),
                         (np.ma.masked_equal(np.zeros(72, np.uint8), 0), "masked")):
        with pytest.raises(kivo.SampleTypeError, match=text):
            kivo.unpack(buffer, "Mono12p", 8, 6)


def test_masked_arrays_without_a_masked_sample_are_arrays():
    frame = make_frame(kivo.find_format("Mono8"), 8, 6)
    np.testing.assert_array_equal(kivo.convert(np.ma.array(frame), "Mono8"), kivo.convert(frame, "Mono8"))
