# SPDX-License-Identifier: Apache-2.0
"""Frames for the tests, from seeds that are part of the test's name."""

from __future__ import annotations

import pathlib
import sys

import numpy as np
import pytest

_ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(_ROOT))
sys.path.insert(0, str(_ROOT / "tests"))


def make_frame(format, width, height, content="noise", seed=1, beyond=False):
    """A frame in the shape and dtype of the format.

    "noise" is uniform, "ties" has few values so that gradients meet, "extremes" only the smallest and the
    largest, "scene" smooth shapes with edges. With `beyond`, 16-bit samples use all their bits.
    """
    rng = np.random.default_rng([seed, width, height])
    shape = format.shape(width, height)
    bits = 16 if beyond and format.word_bytes == 2 else format.depth
    top = (1 << bits) - 1
    if content == "noise":
        values = rng.integers(0, top, shape, endpoint=True)
    elif content == "ties":
        values = rng.integers(0, 3, shape) * (top // 2)
    elif content == "extremes":
        values = rng.integers(0, 2, shape) * top
    else:
        y, x = np.indices(shape[:2])
        wave = 0.5 + 0.5 * np.sin(x * x / 90.0 + y / 5.0)
        values = np.where((x // 7 + y // 5) % 3 == 0, 0.9 - 0.8 * wave, wave) * top
        if len(shape) == 3:
            values = np.stack([np.roll(values, i, 1) for i in range(shape[2])], -1)
    dtype = np.uint16 if format.word_bytes == 2 else np.uint8
    return np.ascontiguousarray(values.astype(dtype))


def plain_formats():
    """Those that frames can be made for, and that the model converts to the byte."""
    import kivocamutl

    return [f for f in kivocamutl.formats() if f.packing == "plain" and not f.name.startswith("YCbCr")]


@pytest.fixture
def frame_of():
    return make_frame
