# SPDX-License-Identifier: Apache-2.0
"""convert() against the numpy model: every format, output, algorithm and way to hand a frame over."""

from __future__ import annotations

import os

import numpy as np
import pytest

import kivocamutl as kivo
import numpy_model as model
from conftest import make_frame, plain_formats
from test_unpack import luma_first

FORMATS = plain_formats()
NAMES = [f.name for f in FORMATS]
BAYER = [f for f in FORMATS if f.family == "bayer"]
ORDERS = ("GR", "RG", "GB", "BG")


def check(array, format, **options):
    got = kivo.convert(array, format, **options)
    want = model.convert(np.asarray(array), kivo.find_format(format), **options)
    assert got.dtype == want.dtype
    np.testing.assert_array_equal(got, want)
    return got


@pytest.mark.parametrize("output", ["BGRA", "BGR"])
@pytest.mark.parametrize("bayer", ["standard", "acpi", "best", "off", "half"])
@pytest.mark.parametrize("format", FORMATS, ids=NAMES)
def test_every_format(format, bayer, output):
    for content in ("noise", "ties", "extremes", "scene"):
        low = () if bayer == "acpi" else ((4, 2),)
        for width, height in ((4, 4), *low, (8, 6), (36, 10), (68, 34), (132, 18), (640, 24)):
            check(make_frame(format, width, height, content), format.name, bayer=bayer, output=output)


@pytest.mark.parametrize("output", ["BGRA", "BGR"])
@pytest.mark.parametrize("format", FORMATS, ids=NAMES)
def test_odd_and_tiny_sizes(format, output):
    step = format.group_pixels
    for width in [step * i for i in (1, 2, 3, 5, 7, 31, 33, 65)]:
        for height in (1, 2, 3, 5):
            for bayer in ("standard", "best", "off"):
                check(make_frame(format, width, height), format.name, bayer=bayer, output=output)
            if width > 1 and height > 1:
                check(make_frame(format, width, height), format.name, bayer="half", output=output)


@pytest.mark.parametrize("levels", ["own", "spread"])
@pytest.mark.parametrize("format", FORMATS, ids=NAMES)
def test_every_output(format, levels):
    frame = make_frame(format, 36, 10, beyond=True)
    for output in ("BGRA16", "BGR16", "RGBA16", "RGB16", "GRAY16"):
        for bayer in ("standard", "off", "half"):
            check(frame, format.name, output=output, bayer=bayer, levels=levels)
        check(make_frame(format, 36, 10), format.name, output=output, bayer="acpi", levels=levels)
    for output in ("RGBA", "RGB", "GRAY"):
        for bayer in ("standard", "acpi", "off", "half"):
            check(make_frame(format, 36, 10), format.name, output=output, bayer=bayer)


@pytest.mark.parametrize("format", [f for f in kivo.formats() if f.name.startswith("YCbCr")], ids=lambda f: f.name)
def test_ycbcr(format):
    """By one of the real-valued formula, which no integers give."""
    for width in (4, 36):
        frame = make_frame(kivo.find_format(format.plain), width, 10)
        data = frame if format.packing == "plain" else luma_first(frame, format)
        for output in ("BGRA", "RGB"):
            got = kivo.convert(data, format, output=output)
            want = model.convert(frame, kivo.find_format(format.plain), output)
            assert abs(got.astype(int) - want).max() <= 1


@pytest.mark.parametrize("threads", [0, 1, 2, 7])
def test_threads(threads):
    for name in ("BayerRG12", "YUV422_8_UYVY"):
        format = kivo.find_format(name)
        for _ in range(2):
            check_threads(make_frame(format, 640, 100), format, threads)


def check_threads(frame, format, threads):
    got = kivo.convert(frame, format, threads=threads)
    np.testing.assert_array_equal(got, model.convert(frame, format))


def test_threads_after_a_fork():
    """The threads of a pool are not in a child: it starts its own."""
    format = kivo.find_format("BayerRG8")
    frame = make_frame(format, 640, 100)
    check_threads(frame, format, 2)
    child = os.fork()
    if child == 0:
        code = 1
        try:
            check_threads(frame, format, 2)
            code = 0
        finally:
            os._exit(code)
    assert os.waitpid(child, 0)[1] == 0


@pytest.mark.parametrize("output", ["BGRA", "BGR"])
@pytest.mark.parametrize("order", ORDERS)
def test_acpi_many_sizes(order, output):
    for depth, step in ((8, 2), (12, 6), (16, 14)):
        name = f"Bayer{order}{depth}"
        for height in (4, 6, 8, 10):
            for width in range(4, 80, step):
                for content in ("noise", "ties"):
                    check(make_frame(kivo.find_format(name), width, height, content, seed=height), name,
                          bayer="acpi", output=output)


@pytest.mark.parametrize("format", [f for f in FORMATS if f.word_bytes == 2], ids=lambda f: f.name)
def test_samples_beyond_their_depth_wrap(format):
    for output in ("BGRA", "BGR"):
        check(make_frame(format, 38, 12, beyond=True), format.name, output=output)


@pytest.mark.parametrize("format", [f for f in FORMATS if f.word_bytes == 2], ids=lambda f: f.name)
@pytest.mark.parametrize("shift", [0, 1, 3, 6, 8, 15])
def test_shift(format, shift):
    check(make_frame(format, 20, 6, beyond=True), format.name, shift=shift)
    check(make_frame(format, 20, 6, beyond=True), format.name, shift=shift, output="BGR")


def test_worked_examples():
    frame = np.array([[10, 20], [30, 40]], np.uint8)
    expected = {
        "GR": [(30, 10, 20), (30, 25, 20), (30, 25, 20), (30, 40, 20)],
        "RG": [(40, 25, 10), (40, 20, 10), (40, 30, 10), (40, 25, 10)],
        "GB": [(20, 10, 30), (20, 25, 30), (20, 25, 30), (20, 40, 30)],
        "BG": [(10, 25, 40), (10, 20, 40), (10, 30, 40), (10, 25, 40)],
    }
    for order, want in expected.items():
        assert [tuple(p) for p in kivo.convert(frame, f"Bayer{order}8", output="BGR").reshape(-1, 3)] == want
    wide = frame.astype(np.uint16) * 4
    assert [tuple(p) for p in kivo.convert(wide, "BayerGR10", output="BGR").reshape(-1, 3)] == expected["GR"]

    assert kivo.convert(np.array([[0x1234]], np.uint16), "Mono16").tolist() == [[[0x12, 0x12, 0x12, 255]]]
    assert kivo.convert(np.array([[[0x0FFF, 0x800, 0x10]]], np.uint16), "RGB12").tolist() == [[[1, 128, 255, 255]]]
    assert kivo.convert(np.array([[[4, 8, 1020]]], np.uint16), "BGR10", output="BGR").tolist() == [[[1, 2, 255]]]
    assert kivo.convert(np.array([[0x03FF, 0x0400]], np.uint16), "Mono10", output="BGR")[0, :, 0].tolist() == [255, 0]
    uyv = np.array([[[100, 200, 150], [0, 128, 255], [128, 100, 128]]], np.uint8)
    assert kivo.convert(uyv, "YUV8_UYV").tolist() == [[[0x96, 0xC2, 0xE7, 255], [0, 0x51, 255, 255],
                                                      [100, 100, 100, 255]]]
    uyyvyy = np.array([[128, 0, 255, 128, 100, 200]], np.uint8)
    assert kivo.convert(uyyvyy, "YUV411_8_UYYVYY", output="BGR")[0, :, 1].tolist() == [0, 255, 100, 200]


def test_every_yuv_colour():
    """All 2^24 combinations, a sixteenth of the U values at a time."""
    for first in range(0, 256, 16):
        u, y, v = np.meshgrid(np.arange(first, first + 16, dtype=np.uint8), np.arange(256, dtype=np.uint8),
                              np.arange(256, dtype=np.uint8), indexing="ij")
        frame = np.stack([u, y, v], -1).reshape(1024, 1024, 3)
        check(frame, "YUV8_UYV", output="BGR" if first % 32 else "BGRA")


@pytest.mark.parametrize("output", ["BGRA", "BGR"])
def test_bayer_order_names(output):
    """One red scene gives red in all four orders, and blue when the name is wrong."""
    for order in ORDERS:
        frame = np.where(model.sites(order, (8, 8))["R"], 200, 0).astype(np.uint8)
        picture = kivo.convert(frame, f"Bayer{order}8", output=output)
        assert (picture[..., 2] == 200).all() and not picture[..., :2].any()
        wrong = {"GR": "GB", "RG": "BG", "GB": "GR", "BG": "RG"}[order]
        assert (kivo.convert(frame, f"Bayer{wrong}8", output=output)[..., 0] == 200).all()


def test_byte_that_acpi_leaves_open_is_the_sample():
    frame = make_frame(kivo.find_format("BayerBG8"), 8, 8)
    for fill in (0, 0x77, 255):
        out = np.full((8, 8, 4), fill, np.uint8)
        kivo.convert(frame, "BayerBG8", bayer="acpi", out=out)
        assert out[1, 7, 2] == frame[1, 7]
        np.testing.assert_array_equal(out, model.acpi(frame, "BG", "BGRA"))


@pytest.mark.parametrize("format", FORMATS, ids=NAMES)
def test_flat_buffers_read_no_further_than_the_camera_wrote(format):
    """bytes, bytearray, memoryview, memmap-like arrays, exactly as long as the frame; then longer, then padded."""
    frame = make_frame(format, 24, 6)
    want = {o: model.convert(frame, format, o) for o in ("BGRA", "BGR")}
    data = frame.tobytes()
    assert len(data) == format.frame_bytes(24, 6)
    for output in ("BGRA", "BGR"):
        for buffer in (data, bytearray(data), memoryview(data), np.frombuffer(data, np.uint8), frame.reshape(-1),
                       data + b"trailer"):
            got = kivo.convert(buffer, format.name, output=output, width=24, height=6)
            np.testing.assert_array_equal(got, want[output])
        row = format.row_bytes(24)
        padded = b"".join(data[i : i + row] + b"\xee" * 10 for i in range(0, len(data), row))[:-10]
        got = kivo.convert(padded, format.code, output=output, width=24, height=6, stride=row + 10)
        np.testing.assert_array_equal(got, want[output])


@pytest.mark.parametrize("name", ["Mono8", "Mono12", "BayerRG8", "BayerGB12", "RGB8", "BGR12", "YUV422_8_UYVY",
                                  "YUV8_UYV", "YUV411_8_UYYVYY"])
def test_strides_of_arrays(name):
    format = kivo.find_format(name)
    whole = make_frame(format, 64, 20)
    before = whole.copy()
    per_pixel = whole.shape[1] / 64
    views = [whole[2:12, int(8 * per_pixel) : int(40 * per_pixel)], whole[::-1], whole[::2], np.asfortranarray(whole)]
    for view in views:
        assert not view.flags.c_contiguous
        check(view, name)
    np.testing.assert_array_equal(whole, before)


def test_rows_that_overlap_are_copied():
    """All rows are one in memory, or begin within the one before: no frame has such strides."""
    row = make_frame(kivo.find_format("Mono12"), 20, 1)
    check(np.broadcast_to(row, (6, 20)), "Mono12")
    check(np.lib.stride_tricks.as_strided(row, (6, 15), (2, 2)), "Mono12")


def test_padded_rows_of_bytes():
    frame = make_frame(kivo.find_format("BayerRG12"), 20, 6)
    rows = np.full((6, 50), 0xEE, np.uint8)
    rows[:, :40] = frame.view(np.uint8)
    got = kivo.convert(rows, "BayerRG12", width=20)
    np.testing.assert_array_equal(got, model.standard(frame, "RG", "BGRA", 4))


def test_big_endian_samples():
    frame = make_frame(kivo.find_format("Mono12"), 20, 6)
    np.testing.assert_array_equal(kivo.convert(frame.astype(">u2"), "Mono12"), kivo.convert(frame, "Mono12"))


def test_misaligned_words():
    frame = make_frame(kivo.find_format("BayerGR10"), 66, 8)
    data = np.frombuffer(b"x" + frame.tobytes(), np.uint8)[1:]
    got = kivo.convert(data, "BayerGR10", width=66, height=8)
    np.testing.assert_array_equal(got, model.standard(frame, "GR", "BGRA", 2))


def test_read_only_source_is_fine_and_unchanged():
    frame = make_frame(kivo.find_format("BayerGR8"), 32, 8)
    before = frame.copy()
    frame.flags.writeable = False
    check(frame, "BayerGR8", bayer="acpi")
    np.testing.assert_array_equal(frame, before)


def test_nothing_is_copied_when_nothing_needs_to_be(monkeypatch):
    """The engine gets the addresses of the caller's own arrays, and the strides of their rows."""
    from kivocamutl import _engine

    seen = []
    run = _engine.Plan.run

    def spy(plan, frame, picture, threads):
        seen.append((picture.data, picture.stride, frame.data, frame.stride))
        run(plan, frame, picture, threads)

    monkeypatch.setattr(_engine.Plan, "run", spy)
    for name in ("Mono8", "BayerRG12", "RGB8", "YUV422_8_UYVY"):
        format = kivo.find_format(name)
        frame = make_frame(format, 32, 8)
        row = format.row_bytes(32)
        out = np.empty((8, 32, 4), np.uint8)
        assert kivo.convert(frame, name, out=out) is out
        assert seen.pop() == (out.ctypes.data, 128, frame.ctypes.data, row)
        data = frame.tobytes()
        kivo.convert(data, name, width=32, height=8, out=out)
        assert seen.pop() == (out.ctypes.data, 128, np.frombuffer(data, np.uint8).ctypes.data, 0)
        canvas = np.empty((8, 50, 4), np.uint8)
        part = canvas[::-1, 3:35]
        np.testing.assert_array_equal(kivo.convert(frame[::-1], name, out=part), model.convert(frame[::-1], format))
        assert seen.pop() == (canvas.ctypes.data + 12, -200, frame.ctypes.data, -row)


def test_plans_are_used_again_and_freed(monkeypatch):
    from kivocamutl import _engine

    frame = make_frame(kivo.find_format("BayerRG8"), 32, 8)
    made, freed = [], []
    start, end = _engine.Plan.__init__, _engine.Plan.__del__
    monkeypatch.setattr(_engine.Plan, "__init__", lambda plan, *rest: (made.append(rest), start(plan, *rest))[1])
    monkeypatch.setattr(_engine.Plan, "__del__", lambda plan: (freed.append(plan.width), end(plan))[1])
    _engine.cached_plan.cache_clear()
    freed.clear()
    for _ in range(3):
        kivo.convert(frame, "BayerRG8")
    assert len(made) == 1 and not freed
    for width in range(1, 41):
        kivo.convert(frame, "BayerRG8", crop=(0, 0, 1 + width % 32, 1 + width // 32))
    assert len(made) == 41 and len(freed) == 41 - 32
    made.clear()
    kivo.convert(frame, "BayerRG8", auto_range=True)
    kivo.convert(frame // 2, "BayerRG8", auto_range=True)
    # The plan that finds the range is kept; those of one range are not.
    assert len(made) == 3 and len(freed) == 41 - 32 + 3


def test_frames_that_are_too_short_cost_no_memory():
    for call in (lambda: kivo.convert(b"short", "Mono8", width=1 << 20, height=1 << 20),
                 lambda: kivo.unpack(b"short", "Mono12p", 1 << 20, 1 << 20),
                 lambda: kivo.reverse(b"short", "Mono8", width=1 << 20, height=1 << 20)):
        with pytest.raises(kivo.FrameSizeError, match="5 bytes: the buffer is shorter than the frame"):
            call()


def test_out_as_part_of_a_larger_picture():
    canvas = np.full((20, 40, 3), 7, np.uint8)
    frame = make_frame(kivo.find_format("BayerRG8"), 10, 8)
    part = canvas[4:12, 6:16]
    assert kivo.convert(frame, "BayerRG8", output="BGR", out=part) is part
    np.testing.assert_array_equal(part, model.standard(frame, "RG", "BGR"))
    outside = np.ones((20, 40), bool)
    outside[4:12, 6:16] = False
    assert (canvas[outside] == 7).all()


def test_empty_frames():
    assert kivo.convert(np.empty((0, 8), np.uint8), "BayerRG8").shape == (0, 8, 4)
    assert kivo.convert(b"", "YUV8_UYV", width=0, height=5, output="BGR").shape == (5, 0, 3)


def test_case_and_codes_of_names():
    frame = make_frame(kivo.find_format("BayerRG8"), 8, 4)
    want = kivo.convert(frame, "BayerRG8")
    for name in ("bayerrg8", 0x01080009, "0x01080009", np.uint32(0x01080009), kivo.find_format("BayerRG8")):
        np.testing.assert_array_equal(kivo.convert(frame, name, output="bgra"), want)


@pytest.mark.parametrize("error, text, call", [
    (kivo.UnknownFormatError, "'Mono9'", lambda a: kivo.convert(a, "Mono9")),
    (kivo.UnknownFormatError, "0x00000007", lambda a: kivo.convert(a, 7)),
    (kivo.UnknownFormatError, "None", lambda a: kivo.convert(a, None)),
    (kivo.UnknownFormatError, "'0xzz'", lambda a: kivo.convert(a, "0xzz")),
    (kivo.FrameSizeError, "Mono12p needs width=", lambda a: kivo.convert(a, "Mono12p")),
    (kivo.UnknownFormatError, "did you mean Mono8", lambda a: kivo.convert(a, "Mono9")),
    (kivo.UnknownFormatError, "0x100000000", lambda a: kivo.convert(a, 1 << 32)),
    (kivo.UnknownFormatError, "'Mono8\\x00'", lambda a: kivo.convert(a, "Mono8\0")),
    (kivo.OptionError, "'CMYK'", lambda a: kivo.convert(a, "Mono8", output="CMYK")),
    (kivo.OptionError, "['BGR']", lambda a: kivo.convert(a, "Mono8", output=["BGR"])),
    (kivo.OptionError, "'max'", lambda a: kivo.convert(a, "Mono8", levels="max")),
    (kivo.OptionError, "16 bits only", lambda a: kivo.convert(a, "Mono8", levels="spread")),
    (kivo.OptionError, "threads", lambda a: kivo.convert(a, "Mono8", threads=-1)),
    (kivo.OptionError, "1025 threads", lambda a: kivo.convert(a, "Mono8", threads=1025)),
    (kivo.OptionError, "4294967296", lambda a: kivo.convert(a, "Mono8", threads=1 << 32)),
    (kivo.OptionError, "not a whole number", lambda a: kivo.convert(a.astype(np.uint16), "Mono12", shift=1.5)),
    (kivo.OptionError, "negative", lambda a: kivo.convert(a.astype(np.uint16), "Mono12", shift=-1)),
    (kivo.FrameSizeError, "even width", lambda a: kivo.convert(a[:5], "BayerRG8", bayer="acpi")),
    (kivo.FrameSizeError, "2 x 2", lambda a: kivo.convert(a[:1], "BayerRG8", bayer="half")),
    (kivo.SampleTypeError, "big-endian", lambda a: kivo.convert(np.zeros(36, ">u2"), "Mono12p", width=8, height=6)),
    (kivo.OptionError, "'vng'", lambda a: kivo.convert(a, "Mono8", bayer="vng")),
    (kivo.OptionError, "between 0 and 15", lambda a: kivo.convert(a.astype(np.uint16), "Mono12", shift=16)),
    (kivo.OptionError, "Mono8", lambda a: kivo.convert(a, "Mono8", shift=2)),
    (kivo.SampleTypeError, "float64", lambda a: kivo.convert(a.astype(float), "Mono8")),
    (kivo.SampleTypeError, "int8", lambda a: kivo.convert(a.astype(np.int8), "Mono8")),
    (kivo.SampleTypeError, "uint16", lambda a: kivo.convert(a.astype(np.uint16), "BayerRG8")),
    (kivo.SampleTypeError, "uint8", lambda a: kivo.convert(a, "BayerRG12")),
    (kivo.SampleTypeError, "list", lambda a: kivo.convert(a.tolist(), "Mono8")),
    (kivo.FrameSizeError, "(6, 8)", lambda a: kivo.convert(a, "RGB8")),
    (kivo.FrameSizeError, "(1, 6, 8)", lambda a: kivo.convert(a[None], "Mono8")),
    (kivo.FrameSizeError, "width=9", lambda a: kivo.convert(a, "Mono8", height=6, width=9)),
    (kivo.FrameSizeError, "height=7", lambda a: kivo.convert(a, "Mono8", height=7)),
    (kivo.FrameSizeError, "width= and height=", lambda a: kivo.convert(a.tobytes(), "Mono8")),
    (kivo.FrameSizeError, "48", lambda a: kivo.convert(a.tobytes(), "Mono8", width=8, height=7)),
    (kivo.FrameSizeError, "stride 7: the row stride",
     lambda a: kivo.convert(a.tobytes(), "Mono8", width=8, height=6, stride=7)),
    (kivo.FrameSizeError, "-1", lambda a: kivo.convert(a.tobytes(), "Mono8", width=8, height=-1)),
    (kivo.FrameSizeError, "4294967296", lambda a: kivo.convert(a.tobytes(), "Mono8", width=1 << 32, height=0)),
    (kivo.FrameSizeError, "2.5", lambda a: kivo.convert(a.tobytes(), "Mono8", width=2.5, height=1)),
    (kivo.FrameSizeError, "3 x 2: the width is not a whole number of YUV groups",
     lambda a: kivo.convert(a.tobytes(), "YUV422_8_UYVY", width=3, height=2)),
    (kivo.FrameSizeError, "(6, 8, 3)", lambda a: kivo.convert(a, "Mono8", out=np.empty((6, 8, 3), np.uint8))),
    (kivo.SampleTypeError, "uint16", lambda a: kivo.convert(a, "Mono8", out=np.empty((6, 8, 4), np.uint16))),
])
def test_errors_name_the_wrong_value(error, text, call):
    with pytest.raises(error) as caught:
        call(make_frame(kivo.find_format("Mono8"), 8, 6))
    assert text in str(caught.value)
    assert isinstance(caught.value, ValueError) and isinstance(caught.value, kivo.KivoError)


def test_short_camera_buffers_of_the_wide_reading_formats_are_refused():
    for name in ("YUV8_UYV", "YUV422_8_UYVY"):
        size = kivo.find_format(name).frame_bytes(64, 48)
        for output in ("BGRA", "BGR"):
            kivo.convert(bytes(size), name, width=64, height=48, output=output)
            with pytest.raises(kivo.FrameSizeError):
                kivo.convert(bytes(size - 1), name, width=64, height=48, output=output)


def test_out_must_be_apart_from_the_frame_and_writable():
    memory = np.zeros(4 * 64, np.uint8)
    frame, out = memory[:64].reshape(8, 8), memory.reshape(8, 8, 4)
    with pytest.raises(kivo.FrameSizeError, match="overlap"):
        kivo.convert(frame, "Mono8", out=out)
    out.flags.writeable = False
    with pytest.raises(kivo.SampleTypeError, match="read-only"):
        kivo.convert(frame.copy(), "Mono8", out=out)
