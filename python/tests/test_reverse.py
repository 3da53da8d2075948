# SPDX-License-Identifier: Apache-2.0
"""reverse() and reversed_format() against slices of numpy."""

from __future__ import annotations

import numpy as np
import pytest

import kivocamutl as kivo
import numpy_model as model
from conftest import make_frame, plain_formats

FORMATS = plain_formats()
FLAGS = [(h, v) for h in (False, True) for v in (False, True)]


def expected(frame, format, horizontal, vertical):
    """Rows and groups in reverse order; the luma bytes of a YUV group, all but the first, as well."""
    height = frame.shape[0]
    words = format.group_bytes // format.word_bytes
    groups = frame.reshape(height, -1, words)
    if horizontal:
        groups = groups[:, ::-1]
        if format.group_pixels > 1:
            groups = np.concatenate([groups[..., :1], groups[..., :0:-1]], -1)
    if vertical:
        groups = groups[::-1]
    return groups.reshape(frame.shape)


@pytest.mark.parametrize("horizontal, vertical", FLAGS)
@pytest.mark.parametrize("format", FORMATS, ids=lambda f: f.name)
def test_every_format(format, horizontal, vertical):
    for width, height in ((4, 1), (4, 4), (8, 3), (36, 5), (132, 7), (256, 4)):
        frame = make_frame(format, width, height, beyond=True)
        got = kivo.reverse(frame, format.name, horizontal, vertical)
        np.testing.assert_array_equal(got, expected(frame, format, horizontal, vertical))
        assert got.dtype == frame.dtype and got.shape == frame.shape


@pytest.mark.parametrize("format", [f for f in FORMATS if f.group_pixels == 1], ids=lambda f: f.name)
def test_odd_sizes(format):
    for width, height in ((1, 1), (1, 5), (3, 2), (31, 3), (65, 2)):
        frame = make_frame(format, width, height)
        for flags in FLAGS:
            np.testing.assert_array_equal(kivo.reverse(frame, format, *flags), expected(frame, format, *flags))


def test_worked_examples():
    uyvy = np.array([[10, 20, 30, 40]], np.uint8)
    assert kivo.reverse(uyvy, "YUV422_8_UYVY", horizontal=True).reshape(-1).tolist() == [10, 40, 30, 20]
    uyyvyy = np.array([[1, 2, 3, 4, 5, 6]], np.uint8)
    assert kivo.reverse(uyyvyy, "YUV411_8_UYYVYY", horizontal=True).reshape(-1).tolist() == [1, 6, 5, 4, 3, 2]
    words = np.array([[1, 2], [3, 4]], np.uint16)
    assert kivo.reverse(words, "Mono16", vertical=True).tolist() == [[3, 4], [1, 2]]
    assert kivo.reverse(words, "Mono16", True, True).tolist() == [[4, 3], [2, 1]]


def test_views_buffers_and_out():
    format = kivo.find_format("BayerRG12")
    whole = make_frame(format, 40, 12)
    part = whole[2:10, 4:36]
    want = part[:, ::-1]
    np.testing.assert_array_equal(kivo.reverse(part, format, True), want)
    np.testing.assert_array_equal(kivo.reverse(part.tobytes(), format, True, width=32, height=8), want)
    out = np.zeros((8, 40), np.uint16)
    assert kivo.reverse(part, format, True, out=out[:, 4:36]).base is out
    np.testing.assert_array_equal(out[:, 4:36], want)
    assert not out[:, :4].any() and not out[:, 36:].any()
    with pytest.raises(kivo.FrameSizeError, match="overlap"):
        kivo.reverse(whole, format, True, out=whole)


@pytest.mark.parametrize("depth", [8, 10, 12, 14, 16])
@pytest.mark.parametrize("order", ["GR", "RG", "GB", "BG"])
def test_reversed_format_follows_the_colours(order, depth):
    """The mosaic of a frame, reversed, is the mosaic that the new name stands for."""
    for width, height in ((6, 4), (7, 4), (6, 5), (7, 5)):
        colours = np.select([model.sites(order, (height, width))[c] for c in "RGB"], [1, 2, 3])
        for horizontal, vertical in FLAGS:
            name = kivo.reversed_format(f"Bayer{order}{depth}", horizontal=horizontal, vertical=vertical,
                                        width=width, height=height)
            turned = colours[:: -1 if vertical else 1, :: -1 if horizontal else 1]
            want = np.select([model.sites(name[5:7], (height, width))[c] for c in "RGB"], [1, 2, 3])
            np.testing.assert_array_equal(turned, want)
            assert name.endswith(str(depth))


def test_reversed_format_of_even_frames_and_others():
    assert kivo.reversed_format("BayerRG8", horizontal=True) == "BayerGR8"
    assert kivo.reversed_format("BayerRG8", vertical=True) == "BayerGB8"
    assert kivo.reversed_format(0x01080009, horizontal=True, vertical=True) == "BayerBG8"
    assert kivo.reversed_format("YUV8_UYV", horizontal=True) == "YUV8_UYV"
    assert kivo.reversed_format("BayerRG12p", horizontal=True) == "BayerGR12"
    assert kivo.reversed_format("Mono10Packed", vertical=True) == "Mono10"
    with pytest.raises(kivo.UnknownFormatError, match="Bayer8"):
        kivo.reversed_format("Bayer8", horizontal=True)


def test_convert_after_reverse_is_reverse_after_convert():
    """The border rules are symmetric: a mirrored frame gives the mirrored picture."""
    frame = make_frame(kivo.find_format("BayerGR10"), 30, 14)
    picture = kivo.convert(frame, "BayerGR10")
    for horizontal, vertical in FLAGS:
        name = kivo.reversed_format("BayerGR10", horizontal=horizontal, vertical=vertical)
        got = kivo.convert(kivo.reverse(frame, "BayerGR10", horizontal, vertical), name)
        np.testing.assert_array_equal(got, picture[:: -1 if vertical else 1, :: -1 if horizontal else 1])
