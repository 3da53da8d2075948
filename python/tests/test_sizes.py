# SPDX-License-Identifier: Apache-2.0
"""Widths, heights and lengths that are none, wherever they are passed."""

from __future__ import annotations

import numpy as np
import pytest

import kivocamutl as kivo

DATA = bytes(256)
MONO, PACKED = kivo.find_format("Mono8"), kivo.find_format("Mono12p")
TAKERS = {
    "convert": lambda value: kivo.convert(DATA, "Mono8", width=value, height=4),
    "convert height": lambda value: kivo.convert(DATA, "Mono8", width=4, height=value),
    "convert stride": lambda value: kivo.convert(DATA, "Mono8", width=0, height=4, stride=value),
    "convert packed": lambda value: kivo.convert(DATA, "Mono12p", width=value, height=4),
    "convert rows": lambda value: kivo.convert(np.zeros((4, 8), np.uint8), "Mono8", width=8, height=value),
    "reverse": lambda value: kivo.reverse(DATA, "Mono8", True, width=value, height=4),
    "unpack": lambda value: kivo.unpack(DATA, "Mono12p", value, 4),
    "unpack height": lambda value: kivo.unpack(DATA, "Mono12p", 4, value),
    "reversed_format": lambda value: kivo.reversed_format("BayerRG8", horizontal=True, width=value),
    "reversed_format height": lambda value: kivo.reversed_format("BayerRG8", height=value),
    "row_bytes": MONO.row_bytes,
    "frame_bytes": lambda value: MONO.frame_bytes(4, value),
    "shape": lambda value: MONO.shape(value, 4),
    "packed row_bytes": PACKED.row_bytes,
    "packed frame_bytes": lambda value: PACKED.frame_bytes(value, 1),
}


@pytest.mark.parametrize("value", ["8", 2.5, 4.0, True, np.True_, -1, b"8", [4]], ids=repr)
@pytest.mark.parametrize("taker", TAKERS)
def test_sizes_that_are_none(taker, value):
    with pytest.raises(kivo.FrameSizeError) as caught:
        TAKERS[taker](value)
    assert repr(value) in str(caught.value)


@pytest.mark.parametrize("taker", TAKERS)
def test_sizes_that_are_greater_than_any(taker):
    with pytest.raises(kivo.FrameSizeError, match="4294967296"):
        TAKERS[taker](1 << 32)


def test_numbers_of_numpy_are_sizes():
    for number in (np.uint8(4), np.int64(4), np.array(4)):
        assert kivo.convert(DATA, "Mono8", width=number, height=number).shape == (4, 4, 4)
        assert kivo.unpack(DATA, "Mono12p", number, number).shape == (4, 4)
        assert MONO.shape(number, number) == (4, 4)
