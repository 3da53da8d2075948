# SPDX-License-Identifier: Apache-2.0
"""Settings of the colour chain, and those that frames suggest."""
import dataclasses

import numpy as np
import pytest

import kivocamutl as kivo


def scene(colours=(0.35, 1.0, 0.6), black=64, size=(96, 128), seed=3):
    """A BayerRG12 frame of grey things under light of some colour, with noise."""
    random = np.random.default_rng(seed)
    height, width = size
    light = random.integers(1, 13, (height // 8, width // 8)).repeat(8, 0).repeat(8, 1) * 240.0
    frame = np.empty(size)
    for y, x, colour in ((0, 0, 0), (0, 1, 1), (1, 0, 1), (1, 1, 2)):
        frame[y::2, x::2] = light[y::2, x::2] * colours[colour]
    return np.clip(frame + black + random.normal(0, 3, size), 0, 4095).astype(np.uint16)


def test_settings_that_change_nothing_give_the_plain_picture():
    frame = scene()
    for output in ("BGRA", "RGB16", "GRAY"):
        plain = kivo.convert(frame, "BayerRG12", output=output)
        np.testing.assert_array_equal(kivo.convert(frame, "BayerRG12", output=output, colour=kivo.Colour()), plain)


@pytest.mark.parametrize("sample", [0, 63, 64, 65, 500, 2000, 4095])
def test_every_link_by_its_formula(sample):
    frame = np.full((4, 6), sample, np.uint16)
    light = np.clip((sample - 64) * np.array([2.0, 1.0, 1.5]) / 3000, 0, 1)
    settings = kivo.Colour(black=64, gain=(2, 1, 1.5), high=3000)
    linear = kivo.convert(frame, "BayerRG12", output="RGB", colour=settings)
    np.testing.assert_allclose(linear[1, 2], light * 255, atol=1.01)
    curve = np.where(light <= 0.0031308, 12.92 * light, 1.055 * np.maximum(light, 1e-9) ** (1 / 2.4) - 0.055) * 255
    srgb = kivo.convert(frame, "BayerRG12", output="RGB", colour=dataclasses.replace(settings, tone="srgb"))
    np.testing.assert_allclose(srgb[1, 2], curve, atol=1.01)
    power = kivo.convert(frame, "BayerRG12", output="RGB",
                         colour=dataclasses.replace(settings, tone="gamma", gamma=2.2))
    np.testing.assert_allclose(power[1, 2], light ** (1 / 2.2) * 255, atol=1.5)
    inverse = np.linspace(65535, 0, 1024).astype(int)
    negative = kivo.convert(frame, "BayerRG12", output="RGB", colour=dataclasses.replace(settings, tone=inverse))
    np.testing.assert_allclose(negative[1, 2], (1 - light) * 255, atol=1.5)
    swapped = dataclasses.replace(settings, matrix=[[0, 0, 1], [0, 1, 0], [1, 0, 0]])
    np.testing.assert_array_equal(kivo.convert(frame, "BayerRG12", output="RGB", colour=swapped), linear[..., ::-1])


def test_the_light_is_found_and_taken_away():
    frame = scene()
    for balance in ("white-patch", "grey-world", "median"):
        found = kivo.auto_colour(frame, "BayerRG12", balance=balance)
        assert found.tone == "srgb" and 0 <= found.black[0] <= 256
        exact = kivo.auto_colour(frame, "BayerRG12", balance=balance, black=False, start=kivo.Colour(black=64))
        np.testing.assert_allclose(exact.gain, (1 / 0.35, 1, 1 / 0.6), rtol=0.03)
        assert exact.black == (64, 64, 64, 64) and exact.tone == "linear"
    picture = kivo.convert(frame, "BayerRG12", output="RGB", colour="auto").astype(int)
    inner = picture[12:-12:8, 12:-12:8]
    assert np.abs(inner - inner.mean(2, keepdims=True)).mean() < 4 and picture.max() == 255
    np.testing.assert_array_equal(picture, kivo.convert(frame, "BayerRG12", output="RGB",
                                                        colour=kivo.auto_colour(frame, "BayerRG12")))


def test_rows_of_metadata_and_dead_pixels_do_not_count():
    frame = scene()
    found = kivo.auto_colour(frame, "BayerRG12")
    frame[:2] = 4095
    frame[40, 40], frame[50, 61] = 4095, 0
    again = kivo.auto_colour(frame, "BayerRG12")
    np.testing.assert_allclose(again.gain, found.gain, rtol=0.02)
    np.testing.assert_allclose(again.high, found.high, rtol=0.02)


def test_a_region_and_a_flat_buffer_suggest_what_the_same_frame_does():
    frame = scene()
    region = kivo.auto_colour(frame, "BayerRG12", crop=(16, 32, 64, 48))
    assert region == kivo.auto_colour(np.ascontiguousarray(frame[32:80, 16:80]), "BayerRG12")
    assert region == kivo.auto_colour(frame.tobytes(), "BayerRG12", width=128, height=96, stride=256,
                                      crop=(16, 32, 64, 48))
    big = frame.astype(">u2")
    assert kivo.auto_colour(big, "BayerRG12") == kivo.auto_colour(frame, "BayerRG12")


def test_what_is_not_asked_for_stays():
    start = kivo.Colour(black=10, gain=(3, 2, 1), low=5, high=900, tone="gamma", gamma=1.8)
    assert kivo.auto_colour(scene(), "BayerRG12", start=start, black=False, balance=None, percent=None) == start


def test_yuv_stays_as_the_camera_made_it():
    frame = np.arange(6 * 16, dtype=np.uint8).reshape(6, 8, 2)
    plain = kivo.convert(frame, "YUV422_8_UYVY")
    np.testing.assert_array_equal(kivo.convert(frame, "YUV422_8_UYVY", colour="auto"), plain)
    with pytest.raises(kivo.OptionError):
        kivo.convert(frame, "YUV422_8_UYVY", colour=kivo.Colour(gain=(2, 1, 1)))
    with pytest.raises(kivo.OptionError):
        kivo.auto_colour(frame, "YUV422_8_UYVY")


@pytest.mark.parametrize("settings", [
    {"black": -1}, {"black": float("nan")}, {"black": (1, 2, 3, 1e6)}, {"gain": (-1, 1, 1)},
    {"gain": (1, float("inf"), 1)}, {"matrix": [float("nan")] * 9}, {"matrix": [9] * 9}, {"low": 5, "high": 4},
    {"tone": "gamma", "gamma": 0}, {"tone": [0] * 255}, {"tone": [0] * 4097}])
def test_settings_that_make_no_sense(settings):
    colour = kivo.Colour(**settings)
    with pytest.raises(kivo.OptionError):
        kivo.convert(scene(), "BayerRG12", colour=colour)


@pytest.mark.parametrize("settings", [
    {"black": (1, 2)}, {"black": "dark"}, {"gain": 2}, {"gain": (1, 2)}, {"matrix": [1, 2, 3]}, {"tone": "film"},
    {"tone": [0.5] * 256}, {"tone": [-1] * 256}, {"tone": [65536] * 256}, {"tone": None}, {"tone": []}, {"high": None}])
def test_settings_of_the_wrong_shape(settings):
    with pytest.raises(kivo.OptionError):
        kivo.Colour(**settings)


def test_options_that_do_not_go_together():
    frame = scene()
    for options in ({"auto_range": True}, {"shift": 4}):
        with pytest.raises(kivo.OptionError):
            kivo.convert(frame, "BayerRG12", colour="auto", **options)
    for options in ({"colour": "automatic"}, {"colour": 1}):
        with pytest.raises(kivo.OptionError):
            kivo.convert(frame, "BayerRG12", **options)
    for options in ({"percent": (60, 40)}, {"percent": (1,)}, {"percent": (0, 101)}, {"balance": "brown"}):
        with pytest.raises(kivo.OptionError):
            kivo.auto_colour(frame, "BayerRG12", **options)
