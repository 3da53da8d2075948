# SPDX-License-Identifier: Apache-2.0
"""guess(): files that nobody described. How often it is right is counted in tests/guess of the project."""

import numpy as np
import pytest

import kivocamutl
from kivocamutl import guess


def mosaic(width, height, seed=3):
    rng = np.random.default_rng(seed)
    patches = np.kron(rng.integers(80, 900, (height // 6 + 1, width // 8 + 1)), np.ones((6, 8)))[:height, :width]
    patches = patches.copy()
    patches[0::2, 0::2] *= 0.5
    patches[1::2, 1::2] *= 0.7
    return (patches + rng.integers(0, 30, patches.shape)).astype(np.uint16)


@pytest.mark.parametrize("big", [False, True])
def test_the_first_is_right(tmp_path, big):
    frame = mosaic(400, 300)
    path = tmp_path / "frame.raw"
    path.write_bytes(bytes(range(64)) + frame.astype(">u2" if big else "<u2").tobytes())
    found = guess(path)
    first = found[0]
    assert (first.format, first.width, first.height, first.offset, first.stride) == ("BayerRG10", 400, 300, 64, 0)
    assert first.byte_order == ("big" if big else "little")
    assert found[1]._replace(format="BayerRG10") == first and found[1].format == "BayerBG10"
    assert first.bits > 0


def test_nothing_to_tell(tmp_path):
    path = tmp_path / "frame.raw"
    for data in (b"", b"ab", bytes(5000)):
        path.write_bytes(data)
        assert guess(path) == []


def test_no_file(tmp_path):
    with pytest.raises(kivocamutl.FileReadError):
        guess(tmp_path / "none.raw")
    with pytest.raises(kivocamutl.RwhError):
        guess(tmp_path)
    with pytest.raises(kivocamutl.RwhError):
        guess("/dev/zero")
