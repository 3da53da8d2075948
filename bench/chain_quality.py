#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What each link of the colour chain brings, and what its place costs, in decibels against the true picture.

    chain_quality.py [--kivocam PROGRAM] [--pictures FOLDER] [--check PAGE] [FILE,FORMAT,WIDTHxHEIGHT,BLACK...]

Made frames show the scene of `kivocam scene`: `sensor` is what `kivocam mosaic --sensor` makes of it, dark and noisy;
`mixed` has no noise, but filters that let other colours through, so that it needs a matrix; `bright` is the same with
three times the light, so that a part of it is saturated. A file has plain samples without a header, and BLACK is the
level of its sensor. Its true picture is not known: each 2 x 2 of it is taken for a pixel that is known in all colours,
and these for the scene that a sensor of half the size sees. Its settings are those that the frame itself suggests.

--pictures writes for each frame what the links make of it, side by side. --check fails unless a page has these rows, to
the tenth of a decibel that a mathematical library may be apart.
"""

import argparse
import dataclasses
import pathlib
import re
import subprocess
import sys
import tempfile

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "python"))
import kivocamutl  # noqa: E402

SIZE = (640, 480)
# What a filter sees of the light of red, green and blue; rows add up to 1.
MIX = np.array([[0.75, 0.20, 0.05], [0.15, 0.75, 0.10], [0.05, 0.25, 0.70]])
TOP, BLACK, GAIN = 4095, 102, np.array([2.2, 1, 1.571])
CELL = (400, 300)
LINKS = ("none", "black level", "gain", "range", "matrix", "sRGB")
PLACES = ("as it is", "gain behind the demosaic", "cut behind the matrix", "tone in front of the demosaic")


@dataclasses.dataclass
class Case:
    """What a sensor saw: red, green and blue of every place in its own numbers, and settings that suit it."""

    name: str
    format: str
    light: np.ndarray  # without black level, unlimited
    colour: kivocamutl.Colour
    top: int
    frame: np.ndarray  # the mosaic


def linear(srgb):
    return np.where(srgb <= 0.04045, srgb / 12.92, ((srgb + 0.055) / 1.055) ** 2.4)


def srgb(light):
    return np.where(light <= 0.0031308, 12.92 * light, 1.055 * np.maximum(light, 0) ** (1 / 2.4) - 0.055)


def finished(light, colour, cut=True):
    """Codes of a screen of what a sensor saw, without rounding. `cut`: the gained light is, before the matrix."""
    gained = (light * colour.gain - colour.low) / (colour.high - colour.low)
    if cut:
        gained = np.clip(gained, 0, 1)
    return 255 * srgb(np.clip(gained @ np.reshape(colour.matrix, (3, 3)).T, 0, 1))


def mosaic(picture, format):
    """What the filters of a Bayer format let through."""
    order = {"RG": "RGGB", "GR": "GRBG", "GB": "GBRG", "BG": "BGGR"}[format[5:7]]
    frame = np.empty(picture.shape[:2], picture.dtype)
    for i, colour in enumerate(order):
        y, x = divmod(i, 2)
        frame[y::2, x::2] = picture[y::2, x::2, "RGB".index(colour)]
    return frame


def halved(light):
    return light.reshape(light.shape[0] // 2, 2, light.shape[1] // 2, 2, 3).mean((1, 3))


def made_cases(kivocam, folder):
    def run(*arguments):
        subprocess.run([kivocam, *arguments], cwd=folder, check=True)

    run("scene", "scene.ppm", "--size", "%dx%d" % SIZE)
    pixels = np.frombuffer((folder / "scene.ppm").read_bytes()[-SIZE[0] * SIZE[1] * 3:], np.uint8)
    light = linear(pixels.reshape(SIZE[1], SIZE[0], 3) / 255)
    # The tool's sensor sees white as a third of what it can hold, in green.
    white = 0.33 * (TOP - BLACK)
    run("mosaic", "scene.ppm", "sensor.rwh", "--format", "BayerRG12", "--sensor")
    frame, name = kivocamutl.read_rwh(folder / "sensor.rwh")
    plain = kivocamutl.Colour(black=TOP / 40, gain=GAIN, high=white, tone="srgb")
    yield Case("sensor", name, light * white / GAIN, plain, TOP, frame)
    matrix = dataclasses.replace(plain, black=BLACK, matrix=np.linalg.inv(MIX))
    for name, times in (("mixed", 1), ("bright", 9)):
        seen = light @ MIX.T * white / GAIN * times
        colour = matrix if times == 1 else dataclasses.replace(matrix, high=TOP - BLACK)
        samples = np.clip(np.rint(seen + BLACK), 0, TOP).astype(np.uint16)
        yield Case(name, "BayerRG12", seen, colour, TOP, mosaic(samples, "BayerRG12"))


def file_case(text):
    path, name, size, black = text.rsplit(",", 3)
    width, height = map(int, size.split("x"))
    whole = np.fromfile(path, "<u2").reshape(height, width)
    start = kivocamutl.Colour(black=float(black), tone="srgb")
    colour = kivocamutl.auto_colour(whole, name, start=start, black=False)
    seen = kivocamutl.convert(whole, name, bayer="half", output="RGB16")
    seen = seen[:seen.shape[0] // 2 * 2, :seen.shape[1] // 2 * 2]
    top = 2 ** int(name[7:]) - 1
    return Case(f"{name}, {size}", name, np.maximum(seen - float(black), 0), colour, top, mosaic(seen, name)), whole


def decibels(got, wanted):
    """Without the outermost pixels, for which the algorithms have rules of their own."""
    error = np.mean((got - wanted)[2:-2, 2:-2] ** 2)
    return 10 * np.log10(255 ** 2 / error)


def inner(mask):
    """What is two pixels or more away from anything that is not in the mask."""
    around = [np.roll(mask, (y, x), (0, 1)) for y in range(-2, 3) for x in range(-2, 3)]
    return np.all(around, 0)


def steps(colour):
    """The settings, one link after the other."""
    step = kivocamutl.Colour()
    yield LINKS[0], step
    for name, links in zip(LINKS[1:], (("black",), ("gain",), ("low", "high"), ("matrix",), ("tone",))):
        step = dataclasses.replace(step, **{link: getattr(colour, link) for link in links})
        if name != "matrix" or colour.matrix != kivocamutl.Colour().matrix:
            yield name, step


def shown(case, bayer, colour):
    return kivocamutl.convert(case.frame, case.format, bayer=bayer, output="RGB", colour=colour)


def links_of(case):
    """A row: the standard algorithm link by link, and the others with all links."""
    wanted, small = finished(case.light, case.colour), finished(halved(case.light), case.colour)
    made = {name: decibels(shown(case, "standard", colour), wanted) for name, colour in steps(case.colour)}
    cells = [f"{made[name]:.1f}" if name in made else "" for name in LINKS]
    cells.append(f"{decibels(shown(case, 'acpi', case.colour), wanted):.1f}")
    cells.append(f"{decibels(shown(case, 'half', case.colour), small):.1f}")
    return [case.name, *cells]


def placed(case, bayer):
    """Pictures for each of PLACES, in floating point where the engine has no such link there."""
    colour, bits = case.colour, case.top.bit_length()
    yield shown(case, bayer, colour).astype(float)
    black = kivocamutl.Colour(black=colour.black)
    light = kivocamutl.convert(case.frame, case.format, bayer=bayer, output="RGB16", levels="spread", colour=black)
    light = light / 65535 * case.top
    yield finished(light, colour)
    yield finished(light, colour, cut=False)
    # The tone in front of the demosaic, where a matrix can only follow it.
    gains = mosaic(np.broadcast_to(np.array(colour.gain), (*case.frame.shape, 3)), case.format)
    gained = (np.maximum(case.frame - colour.black[1], 0.0) * gains - colour.low) / (colour.high - colour.low)
    curved = np.rint(srgb(np.clip(gained, 0, 1)) * (2 ** bits - 1)).astype(np.uint16)
    toned = kivocamutl.convert(curved, case.format, bayer=bayer, output="RGB16", levels="spread") / 65535
    mixed = linear(toned) @ np.reshape(colour.matrix, (3, 3)).T
    yield 255 * srgb(np.clip(mixed, 0, 1))


def places_of(case):
    """A row: standard / ACPI for each place, and how far the colours of what is saturated are apart, in codes."""
    wanted = finished(np.minimum(case.light, case.top - case.colour.black[1]), case.colour)
    white = inner(np.all(finished(case.light, case.colour) > 254.9, 2))
    cells = []
    for standard, acpi in zip(placed(case, "standard"), placed(case, "acpi")):
        cells.append(f"{decibels(standard, wanted):.1f} / {decibels(acpi, wanted):.1f}")
        if white.sum() > 999:
            cells[-1] += f", {np.mean(np.ptp(standard[white], 1)):.0f}"
    return [case.name, *cells]


def table(title, rows):
    return "\n".join(["| " + " | ".join(row) + " |" for row in (title, ["---"] * len(title), *rows)])


def lacks(page, rows):
    """Those of the rows that a page has not."""
    def numbers(cells):
        return [float(number) for number in re.findall(r"[\d.]+", " ".join(cells))]

    there = [[cell.strip() for cell in line.strip("| ").split(" | ")] for line in page.read_text().splitlines()]
    for row in rows:
        wanted = np.array(numbers(row[1:]))
        found = [np.array(numbers(cells[1:])) for cells in there if cells[0] == row[0]]
        if not any(len(have) == len(wanted) and np.all(abs(have - wanted) < 0.11) for have in found):
            yield row


def draw(case, frame, kivocam, folder, to):
    """None, gain, all with the standard algorithm, all with ACPI."""
    made = dict(steps(case.colour))
    for i, (colour, bayer) in enumerate(((made["none"], "standard"), (made["range"], "standard"),
                                         (case.colour, "standard"), (case.colour, "acpi"))):
        picture = kivocamutl.convert(frame, case.format, bayer=bayer, output="RGB", colour=colour)
        header = b"P6 %d %d 255\n" % (picture.shape[1], picture.shape[0])
        (folder / f"{i}.ppm").write_bytes(header + picture.tobytes())
    subprocess.run([kivocam, "sheet", to.resolve(), *(f"{i}.ppm" for i in range(4)), "--columns", "2", "--cell",
                    "%dx%d" % CELL, "--labels", "none", "black, gain, range", "all, standard", "all, ACPI"],
                   cwd=folder, check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kivocam", default="kivocam", help="the tool to draw the scene with")
    parser.add_argument("--pictures", type=pathlib.Path, help="folder for what the links make")
    parser.add_argument("--check", type=pathlib.Path, help="page that has these rows")
    parser.add_argument("frames", nargs="*", metavar="FILE,FORMAT,WIDTHxHEIGHT,BLACK")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        cases = [(case, case.frame) for case in made_cases(arguments.kivocam, folder)]
        cases += [file_case(text) for text in arguments.frames]
        links, places = [links_of(case) for case, _ in cases], [places_of(case) for case, _ in cases]
        print(table(["frame", *LINKS, "ACPI", "half"], links), table(["frame", *PLACES], places), sep="\n\n")
        if arguments.pictures:
            arguments.pictures.mkdir(parents=True, exist_ok=True)
            for case, frame in cases:
                draw(case, frame, arguments.kivocam, folder, arguments.pictures / f"{case.name}.png".replace(", ", "-"))
        wrong = list(lacks(arguments.check, links + places)) if arguments.check else []
        for row in wrong:
            print(f"{arguments.check} does not say: {' | '.join(row)}", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
