# SPDX-License-Identifier: Apache-2.0
"""unpack() against bytes written by hand and against packers that work bit by bit."""

from __future__ import annotations

import numpy as np
import pytest

import kivocamutl as kivo


PACKED = [f for f in kivo.formats() if f.packing in ("p", "Packed") and f.family in ("mono", "bayer") and f.depth > 8]


def pack(samples, format):
    """Bytes of consecutive samples, one bit (p) or one sample (Packed) at a time, in whole numbers of Python."""
    samples = [int(s) for s in samples]
    if format.packing == "p":
        stream = sum(s << (i * format.depth) for i, s in enumerate(samples))
        return stream.to_bytes((len(samples) * format.depth + 7) // 8, "little")
    low = format.depth - 8
    data = bytearray()
    for i in range(0, len(samples), 2):
        first, second = samples[i], samples[i + 1] if i + 1 < len(samples) else None
        middle = first % (1 << low) | (0 if second is None else second % (1 << low) << 4)
        data += bytes([first >> low, middle]) + (b"" if second is None else bytes([second >> low]))
    return bytes(data)


def luma_first(frame, format):
    """The same groups with luma and chroma in the order of the format."""
    order = {2: [1, 0, 3, 2], 4: [1, 2, 0, 4, 5, 3]}[format.group_pixels]
    return frame.reshape(-1, len(order))[:, order].reshape(frame.shape)


def stored(format, width, height):
    """Plain samples, and the bytes of a frame that holds them; of formats whose rows end on a byte."""
    plain = kivo.find_format(format.plain)
    rng = np.random.default_rng(format.code)
    values = rng.integers(0, 1 << format.depth, plain.shape(width, height)).astype(plain.dtype)
    if format.packing == "plain":
        return values, values.tobytes()
    if format.packing in ("p", "Packed"):
        return values * {1: 255, 2: 85, 4: 17}.get(format.depth, 1), pack(values.reshape(-1), format)
    if format.packing == "p32":
        words = values.astype(np.uint32)
        return values, (words[..., 0] | words[..., 1] << 10 | words[..., 2] << 20).astype("<u4").tobytes()
    if format.packing == "planar":
        return values, np.moveaxis(values, 2, 0).tobytes()
    if format.packing == "signed":
        return values, (values.astype(int) - 128).astype(np.int8).tobytes()
    if format.packing == "alpha":
        return values, np.concatenate([values, rng.integers(0, 256, (height, width, 1), np.uint8)], 2).tobytes()
    return values, luma_first(values, format).tobytes()


def test_by_hand():
    # 0xABC and 0x123 as a stream: BC, then 3 over A, then 12.
    assert kivo.unpack(bytes([0xBC, 0x3A, 0x12]), "Mono12p", 2, 1).tolist() == [[0xABC, 0x123]]
    # The same samples, high bytes outside: AB, then 3 over C, then 12.
    assert kivo.unpack(bytes([0xAB, 0x3C, 0x12]), "Mono12Packed", 2, 1).tolist() == [[0xABC, 0x123]]
    # 10 bits: 0x001, 0x3FF, 0x200, 0x155 in 5 bytes.
    # bits: 01 | FC<<.. -> 0x01, 0xFC, 0x0F, 0x60, 0x55
    assert kivo.unpack(bytes([0x01, 0xFC, 0x0F, 0x60, 0x55]), "BayerRG10p", 4, 1).tolist() == [
        [0x001, 0x3FF, 0x200, 0x155]]
    # 0x3FD = FF and 01, 0x102 = 40 and 10; the unused bits of byte 1 are noise.
    assert kivo.unpack(bytes([0xFF, 0b0010_0001, 0x40]), "Mono10Packed", 2, 1).tolist() == [[0x3FD, 0x102]]
    assert kivo.unpack(bytes([0xFF, 0b1110_1101, 0x40]), "BayerGB10Packed", 2, 1).tolist() == [[0x3FD, 0x102]]


@pytest.mark.parametrize("format", PACKED, ids=lambda f: f.name)
def test_every_format_and_rest(format):
    rng = np.random.default_rng(format.code)
    for width, height in [(w, h) for w in range(1, 12) for h in (1, 2, 3)] + [(640, 4)]:
        want = rng.integers(0, 1 << format.depth, (height, width), dtype=np.uint16)
        data = pack(want.reshape(-1), format)
        assert len(data) == format.frame_bytes(width, height)
        for buffer in (data, bytearray(data) + b"\xff\xff", np.frombuffer(data, np.uint8)):
            got = kivo.unpack(buffer, format.name, width, height)
            assert got.dtype == np.uint16
            np.testing.assert_array_equal(got, want)
        with pytest.raises(kivo.FrameSizeError, match=f"{len(data) - 1} bytes"):
            kivo.unpack(data[:-1], format.name, width, height)

        rows = [pack(row, format) for row in want]
        stride = len(rows[0]) + 5
        padded = b"".join(r + b"\xa5" * 5 for r in rows)[:-5]
        np.testing.assert_array_equal(kivo.unpack(padded, format.code, width, height, stride=stride), want)


@pytest.mark.parametrize("format", PACKED, ids=lambda f: f.name)
def test_unpacked_frames_convert(format):
    unpacked = kivo.find_format(format.plain)
    assert unpacked.depth == format.depth and unpacked.word_bytes == 2
    data = bytes(range(256)) * 2
    frame = kivo.unpack(data, format, 16, 4)
    assert frame.max() < 1 << format.depth
    assert kivo.convert(frame, format.plain).shape == (4, 16, 4)


@pytest.mark.parametrize("format", [f for f in kivo.formats() if f not in PACKED], ids=lambda f: f.name)
def test_every_other_format(format):
    plain = kivo.find_format(format.plain)
    for width, height in ((8, 3), (16, 1), (64, 10)):
        want, data = stored(format, width, height)
        assert len(data) == format.frame_bytes(width, height)
        for buffer in (data, data + b"more"):
            got = kivo.unpack(buffer, format, width, height)
            assert got.dtype == np.dtype(plain.dtype) and got.shape == plain.shape(width, height)
            np.testing.assert_array_equal(got, want)
        as_array = np.frombuffer(data, format.dtype).reshape(format.shape(width, height))
        np.testing.assert_array_equal(kivo.unpack(as_array, format, width), want)
        picture = kivo.convert(want, plain)
        np.testing.assert_array_equal(kivo.convert(as_array, format, width=width), picture)
        mirrored = kivo.reverse(want, plain, True)
        np.testing.assert_array_equal(kivo.reverse(as_array, format, True, width=width), mirrored)


def test_empty_and_wrong():
    assert kivo.unpack(b"", "Mono12p", 0, 4).shape == (4, 0)
    with pytest.raises(kivo.UnknownFormatError, match="'Mono13'"):
        kivo.unpack(b"", "Mono13", 1, 1)
    with pytest.raises(kivo.FrameSizeError, match="stride 2"):
        kivo.unpack(b"123456", "Mono12p", 2, 2, stride=2)
    with pytest.raises(kivo.FrameSizeError, match="-2"):
        kivo.unpack(b"123456", "Mono12p", -2, 2)
    with pytest.raises(kivo.SampleTypeError, match="str"):
        kivo.unpack("123456", "Mono12p", 2, 2)


@pytest.mark.parametrize("width", [8, 7, 5, 1])
@pytest.mark.parametrize("format", PACKED, ids=lambda f: f.name)
def test_rows_of_arrays_begin_on_bytes(format, width, tmp_path):
    """An array of two dimensions holds the same frame for unpack(), convert() and write_rwh(), padded or not."""
    want = np.random.default_rng(width).integers(0, 1 << format.depth, (6, width), dtype=np.uint16)
    row = format.row_bytes(width)
    for padding in (0, 1, 5):
        array = np.full((6, row + padding), 0xA5, np.uint8)
        for line, samples in zip(array, want):
            line[:row] = np.frombuffer(pack(samples, format), np.uint8)
        larger = np.full((8, 40), 0x5A, np.uint8)
        larger[1:7, 3 : 3 + array.shape[1]] = array
        for view in (array, np.asfortranarray(array), larger[1:7, 3 : 3 + array.shape[1]]):
            np.testing.assert_array_equal(kivo.unpack(view, format, width, 6), want)
            np.testing.assert_array_equal(kivo.convert(view, format, width=width),
                                          kivo.convert(want, format.plain))
            if width == 8:  # rows of an RWH file end on a byte
                kivo.write_rwh(tmp_path / "a.rwh", view, format, width=width)
                np.testing.assert_array_equal(kivo.read_rwh(tmp_path / "a.rwh").array, want)


@pytest.mark.parametrize("text, array, options", [
    ("height=5", np.zeros((6, 12), np.uint8), {"height": 5}),
    ("rows of 11 bytes", np.zeros((6, 11), np.uint8), {}),
    ("stride=", np.zeros((6, 12), np.uint8), {"stride": 12}),
    ("(6, 6) and uint16", np.zeros((6, 6), np.uint16), {}),
    ("(6, 12, 1)", np.zeros((6, 12, 1), np.uint8), {}),
])
def test_arrays_that_are_no_packed_frame(text, array, options, tmp_path):
    size = {"width": 8, "height": 6, **options}
    for call in (lambda: kivo.unpack(array, "Mono12p", **size), lambda: kivo.convert(array, "Mono12p", **size),
                 lambda: kivo.write_rwh(tmp_path / "a.rwh", array, "Mono12p", **size)):
        with pytest.raises(kivo.FrameSizeError) as caught:
            call()
        assert text in str(caught.value)
