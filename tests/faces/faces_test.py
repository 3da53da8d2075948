# SPDX-License-Identifier: Apache-2.0
"""The same requests, good and bad, to the C functions, the C++ layer, the Python package and the tool: the same
bytes, or the same code and text.

    faces_test.py C_PROGRAM CPP_PROGRAM KIVOCAM      (the package and the library are found through the environment)
"""

import collections
import pathlib
import random
import subprocess
import sys
import tempfile

import kivocamutl as kivo

BAYER = ("standard", "acpi", "best", "off", "half")
RGB8 = 3
FIELDS = "format width height stride bayer shift range crop mirror flip big size"
Request = collections.namedtuple(
    "Request", FIELDS, defaults=(0, 0, -1, False, (0, 0, 0, 0), False, False, False, None)
)
# How each code is told: the class of the exception, and how the tool ends.
TOLD = {
    3: (kivo.UnknownFormatError, 4),
    5: (kivo.FrameSizeError, 1),
    6: (kivo.FrameSizeError, 4),
    7: (kivo.SampleTypeError, 4),
    8: (kivo.FrameSizeError, 4),
    9: (kivo.FrameSizeError, 4),
    10: (kivo.FrameSizeError, 4),
    11: (kivo.FrameSizeError, 4),
    12: (kivo.FrameSizeError, 4),
    13: (kivo.OptionError, 4),
    14: (kivo.OptionError, 4),
    16: (kivo.FrameSizeError, 1),
    17: (kivo.FrameSizeError, 2),
}
NAMES = ("BayrRG12p", "mono9", "0x01080077", "0x_0108_0001", "17301505", "YUV", "nothing-like-a-name")


def bad_requests():
    for name in NAMES:
        yield 3, Request(name, 8, 8)
    yield 6, Request("RGB12", 0xFFFFFFFF, 0xFFFFFFFF)
    yield 7, Request("Mono8", 8, 8, big=True)
    yield 7, Request("Mono12p", 8, 8, big=True)
    for name, width in (("YUV422_8_UYVY", 7), ("YCbCr411_8", 6)):
        yield 8, Request(name, width, 8)
    for crop in ((1, 0, 8, 8), (0, 8, 1, 1), (0, 0, 9, 1)):
        yield 9, Request("BayerRG10p", 8, 8, crop=crop)
    yield 10, Request("YUV422_8_UYVY", 8, 8, crop=(1, 0, 2, 2))
    for name, width, height in (("BayerRG8", 7, 8), ("BayerGB12p", 8, 7), ("BayerBG16", 2, 8)):
        yield 11, Request(name, width, height, bayer=1)
    yield 11, Request("BayerRG8", 8, 8, bayer=1, crop=(0, 0, 5, 4))
    yield 12, Request("BayerRG8", 1, 8, bayer=4)
    yield 13, Request("BayerRG8", 8, 8, shift=1)
    yield 13, Request("YUV8_UYV", 8, 8, shift=0)
    yield 14, Request("YUV8_UYV", 8, 8, range=True)
    for name, stride in (("Mono16", 15), ("BayerRG12p", 11), ("RGB8_Planar", 7)):
        yield 16, Request(name, 8, 8, stride=stride)
    for name in ("Mono8", "BayerRG12p", "RGB8_Planar", "YUV422_8", "Mono1p"):
        yield 17, Request(name, 8, 8, size=kivo.find_format(name).frame_bytes(8, 8) - 1)
    yield 17, Request("Mono8", 8, 8, stride=10, size=77)


def good_requests():
    for format in kivo.formats():
        name = format.name
        row = format.row_bytes(12)
        yield Request(name, 12, 8)
        yield Request(name.upper(), 12, 8, stride=row + 5, mirror=True, crop=(4, 1, 8, 6))
        yield Request(f"0x{format.code:08x}", 16, 7, flip=True)
        if format.family != "yuv":
            yield Request(name, 12, 8, range=True)
        if format.family == "bayer":
            for bayer in range(1, 5):
                yield Request(name, 12, 8, bayer=bayer, crop=(1, 1, 10, 6))
        if format.depth > 8:
            yield Request(name, 12, 8, shift=1)
        if format.word_bytes == 2:
            yield Request(name, 12, 8, big=True)
    for name in ("srggb8", "V4L2_PIX_FMT_Y16", "bayer_grbg8", "rggb12le", "UYVY", "CV_8UC3", "GRAY8"):
        yield Request(name, 12, 8, bayer=2)


def ask_programs(program, requests, files):
    lines = []
    for i, r in enumerate(requests):
        flags = [int(r.mirror), int(r.flip), int(r.big), files[i], f"{files[i]}.out"]
        lines.append(" ".join(map(str, [r.format, r.width, r.height, r.stride, RGB8, r.bayer, r.shift,
                                        int(r.range), *r.crop, *flags])))
    done = subprocess.run([program], input="\n".join(lines) + "\n", text=True, stdout=subprocess.PIPE, check=True)
    answers = []
    for i, line in enumerate(done.stdout.splitlines()):
        code, text = line.split(" ", 1)
        out = pathlib.Path(f"{files[i]}.out")
        answers.append((int(code), text, out.read_bytes() if out.exists() else None))
        out.unlink(missing_ok=True)
    return answers


def ask_python(r, data):
    """The exception, or the bytes of the picture."""
    if r.mirror or r.flip:
        return None
    how = {"bayer": BAYER[r.bayer], "output": "RGB", "width": r.width, "height": r.height, "auto_range": r.range}
    if r.stride:
        how["stride"] = r.stride
    if r.shift >= 0:
        how["shift"] = r.shift
    if any(r.crop):
        how["crop"] = r.crop
    array = kivo.conversion.np.frombuffer(data, "u1")
    if r.big:
        array = kivo.conversion.np.frombuffer(data[: len(data) // 2 * 2], ">u2")
    try:
        return kivo.convert(array, r.format, **how).tobytes()
    except kivo.KivoError as error:
        return error


def ask_tool(kivocam, r, file):
    """The exit code and the message, or the bytes of the picture."""
    out = f"{file}.ppm"
    command = [kivocam, "convert", file, out, "--format", r.format, "--size", f"{r.width}x{r.height}",
               "--bayer", BAYER[r.bayer]]
    command += ["--stride", str(r.stride)] if r.stride else []
    command += ["--shift", str(r.shift)] if r.shift >= 0 else []
    command += ["--auto-range"] if r.range else []
    command += ["--crop", "{2}x{3}+{0}+{1}".format(*r.crop)] if any(r.crop) else []
    for option, said in (("--mirror", r.mirror), ("--flip", r.flip), ("--swap-bytes", r.big)):
        command += [option] if said else []
    done = subprocess.run(command, text=True, stderr=subprocess.PIPE, check=False)
    if done.returncode != 0:
        return done.returncode, done.stderr
    return 0, pathlib.Path(out).read_bytes().split(b"\n255\n", 1)[1]


def main():
    face_c, face_cpp, kivocam = sys.argv[1:]
    generator = random.Random(5)
    wrong = 0

    def expect(good, request, face, got):
        nonlocal wrong
        if not good:
            print(f"{face}: {request}: {got!r}")
            wrong += 1

    expected = [*bad_requests(), *((0, r) for r in good_requests())]
    requests = [r for _, r in expected]
    with tempfile.TemporaryDirectory() as folder:
        files, frames = [], []
        for i, r in enumerate(requests):
            size = r.size
            if size is None:
                size = 4096
                if expected[i][0] == 0:
                    known = kivo.find_format(r.format)
                    planes = 3 if known.packing == "planar" else 1
                    size = r.stride * r.height * planes or known.frame_bytes(r.width, r.height)
            frames.append(generator.randbytes(size))
            files.append(f"{folder}/{i}.raw")
            pathlib.Path(files[-1]).write_bytes(frames[-1])
        c, cpp = ask_programs(face_c, requests, files), ask_programs(face_cpp, requests, files)
        for i, (code, r) in enumerate(expected):
            status, text, pixels = c[i]
            expect(status == code, r, "C", c[i])
            expect(cpp[i] == c[i], r, "C++", cpp[i])
            python, (ended, tool) = ask_python(r, frames[i]), ask_tool(kivocam, r, files[i])
            if code == 0:
                expect(python is None or python == pixels, r, "Python", python)
                expect((ended, tool) == (0, pixels), r, "kivocam", (ended, tool))
                continue
            error, exit_code = TOLD[code]
            if code == 3:
                near = text.split(": ", 1)[1] if ": " in text else None
                text = f"unknown pixel format {r.format!r}; " + (f"did you mean {near}?" if near else "")
            # To numpy the order of bytes is a type.
            told = text in str(python) or (code == 7 and ">u2 does not fit" in str(python))
            expect(type(python) is error and told, r, "Python", python)
            expect(ended == exit_code and text in tool and tool.count("\n") == 1, r, "kivocam", (ended, tool))
    # Numbers that no enumeration has reach the C functions and the layer only; words are refused as words.
    request = Request("BayerRG8", 8, 8, bayer=9)
    with tempfile.NamedTemporaryFile() as file:
        file.write(bytes(64))
        file.flush()
        for program in (face_c, face_cpp):
            (answer,) = ask_programs(program, [request], [file.name])
            expect(answer[0] == 4 and "does not exist" in answer[1], request, program, answer)
    try:
        kivo.convert(bytes(64), "BayerRG8", width=8, height=8, bayer="bilinear")
    except kivo.OptionError as error:
        expect("'bilinear'" in str(error), request, "Python", error)
    else:
        expect(False, request, "Python", None)
    print(f"{len(requests)} requests, {wrong} wrong answers")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
