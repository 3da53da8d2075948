# SPDX-License-Identifier: Apache-2.0
"""The command line tool against the models of these tests, in every format, with everything it does to samples.

Needs the tool: its path in the environment variable KIVOCAM, or kivocam in PATH.
"""

from __future__ import annotations

import os
import shutil
import subprocess

import numpy as np
import pytest

import kivocamutl as kivo
from conftest import make_frame, plain_formats
from numpy_model import convert as model
from test_any_buffer import stretch_model
from test_unpack import PACKED, pack

KIVOCAM = os.environ.get("KIVOCAM") or shutil.which("kivocam")
pytestmark = pytest.mark.skipif(KIVOCAM is None, reason="kivocam is not there")
EVERY = [*plain_formats(), *PACKED]


def samples_of(format, width, height, seed=1):
    """A frame, the format of its samples, and the bytes that a camera sends of it."""
    plain = kivo.find_format(format.plain)
    frame = make_frame(plain, width, height, seed=seed)
    data = pack(frame.reshape(-1), format) if format.packing != "plain" else frame.tobytes()
    return frame, plain, data


def picture_of(tmp_path, data, format, width, height, *options):
    """BGR pixels that the tool makes of a headerless frame."""
    (tmp_path / "frame.raw").write_bytes(data)
    subprocess.run([KIVOCAM, "convert", "frame.raw", "frame.ppm", "--format", format.name, "--size",
                    f"{width}x{height}", *options], cwd=tmp_path, check=True)
    magic, size, top, pixels = (tmp_path / "frame.ppm").read_bytes().split(b"\n", 3)
    shown_width, shown_height = map(int, size.split())
    assert magic == b"P6" and top == b"255"
    return np.frombuffer(pixels, np.uint8).reshape(shown_height, shown_width, 3)[..., ::-1]


@pytest.mark.parametrize("format", EVERY, ids=lambda f: f.name)
def test_every_format(format, tmp_path):
    frame, plain, data = samples_of(format, 12, 10)
    want = model(frame, plain, output="BGR")
    for options in ((), ("--bgr",)):
        np.testing.assert_array_equal(picture_of(tmp_path, data, format, 12, 10, *options), want)
    # The same through an RWH file.
    subprocess.run([KIVOCAM, "import", "frame.raw", "frame.rwh", "--format", format.name, "--size", "12x10"],
                   cwd=tmp_path, check=True)
    subprocess.run([KIVOCAM, "convert", "frame.rwh", "again.ppm"], cwd=tmp_path, check=True)
    assert (tmp_path / "again.ppm").read_bytes() == (tmp_path / "frame.ppm").read_bytes()
    array, name = kivo.read_rwh(tmp_path / "frame.rwh")
    np.testing.assert_array_equal(array, frame)
    assert name == plain.name


@pytest.mark.parametrize("format", EVERY, ids=lambda f: f.name)
def test_what_is_done_to_samples(format, tmp_path):
    frame, plain, data = samples_of(format, 16, 12, seed=2)
    if plain.family == "yuv":
        with pytest.raises(subprocess.CalledProcessError):
            picture_of(tmp_path, data, format, 16, 12, "--auto-range")
        return
    # A region from an odd pixel on, spread, adaptively, and mirrored.
    x, y, width, height = 3, 5, 10, 6
    cut = frame[y:y + height, x:x + width]
    name = plain.name
    if plain.order:
        cell = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}[plain.order]
        # The region begins with the last sample of a cell.
        name = f"Bayer{cell[3]}{cell[2]}{plain.depth}"
        if plain.depth != 8:
            shift = picture_of(tmp_path, data, format, 16, 12, "--shift", "1")
            np.testing.assert_array_equal(shift, model(frame, plain, output="BGR", shift=1))
    narrow = kivo.find_format(name.rstrip("0123456789") + "8")
    got = picture_of(tmp_path, data, format, 16, 12, "--crop", f"{width}x{height}+{x}+{y}", "--mirror",
                     "--auto-range", "--bayer", "acpi")
    want = model(stretch_model(np.ascontiguousarray(cut)), narrow, output="BGR", bayer="acpi")
    np.testing.assert_array_equal(got[:, ::-1], want)


@pytest.mark.parametrize("name", [f.name for f in kivo.formats() if f.word_bytes == 2 and f.family != "rgb"])
def test_words_with_the_high_byte_first_and_raw_samples(name, tmp_path):
    format = kivo.find_format(name)
    frame = make_frame(format, 8, 6)
    (tmp_path / "frame.raw").write_bytes(frame.astype(">u2").tobytes())
    subprocess.run([KIVOCAM, "convert", "frame.raw", "frame.pgm", "--format", name, "--size", "8x6", "--swap-bytes",
                    "--raw"], cwd=tmp_path, check=True)
    magic, size, top, pixels = (tmp_path / "frame.pgm").read_bytes().split(b"\n", 3)
    assert (magic, size, int(top)) == (b"P5", b"8 6", 2 ** format.depth - 1)
    np.testing.assert_array_equal(np.frombuffer(pixels, ">u2").reshape(6, 8), frame)


@pytest.mark.parametrize("format", [f for f in kivo.formats() if f.packing == "planar"], ids=lambda f: f.name)
def test_planes_in_rwh_files(format, tmp_path):
    data = np.random.default_rng(4).integers(0, 256, format.frame_bytes(8, 6), np.uint8)
    data.tofile(tmp_path / "frame.raw")
    subprocess.run([KIVOCAM, "import", "frame.raw", "tool.rwh", "--format", format.name, "--size", "8x6"],
                   cwd=tmp_path, check=True)
    kivo.write_rwh(tmp_path / "flat.rwh", data, format, width=8, height=6)
    planes = data.view(format.dtype).reshape(format.shape(8, 6))
    kivo.write_rwh(tmp_path / "planes.rwh", planes, format)
    if format.word_bytes == 2:
        kivo.write_rwh(tmp_path / "big.rwh", planes.astype(">u2"), format)
    row = format.row_bytes(8)
    padded = np.full((18, row + 3), 0xEE, np.uint8)
    padded[:, :row] = data.reshape(18, row)
    kivo.write_rwh(tmp_path / "padded.rwh", padded.reshape(-1), format, width=8, height=6, stride=row + 3)
    want = (tmp_path / "tool.rwh").read_bytes()
    assert want[16:] == data.tobytes()
    for name in ("flat", "planes", "padded", *(["big"] if format.word_bytes == 2 else [])):
        assert (tmp_path / f"{name}.rwh").read_bytes() == want, name
    array, name = kivo.read_rwh(tmp_path / "tool.rwh")
    np.testing.assert_array_equal(array, kivo.unpack(data, format, 8, 6))
    assert name == format.plain
    (tmp_path / "long.rwh").write_bytes(want[:12] + (3 * row + 1).to_bytes(4, "little") + want[16:] + bytes(6))
    with pytest.raises(kivo.RwhError):
        kivo.read_rwh_header(tmp_path / "long.rwh")
