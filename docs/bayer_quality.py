#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""How near demosaiced pictures come to the scene that their mosaics were made of.

    docs/bayer_quality.py [--kivocam PROGRAM] [--check | --write]

Draws the test scene with kivocam, makes of it a frame of every Bayer order and depth, converts each with the Python
package, and prints the table of docs/bayer-quality.md. --check compares with the table of the page, --write puts it
there and draws the enlarged crops beside it. The same on every machine: conversion is exact.
"""

import argparse
import pathlib
import subprocess
import sys
import tempfile

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "python"))
import kivocamutl  # noqa: E402

DOCS = pathlib.Path(__file__).resolve().parent
PAGE = DOCS / "bayer-quality.md"
CROPS = DOCS / "bayer-quality.png"
SIZE = (640, 480)
BEGIN, END = "<!-- table -->\n", "<!-- end of table -->\n"
# Upper left corners of what is enlarged, and how large it is: pixels, and times.
CORNERS = ((384, 168), (500, 258), (150, 116))
CROP, SCALE, GAP = 40, 6, 12


def read_ppm(path):
    """RGB pixels, (height, width, 3), of a binary PPM file without comments."""
    magic, size, top, pixels = path.read_bytes().split(b"\n", 3)
    if magic != b"P6" or top != b"255":
        magic, width, height, top, pixels = path.read_bytes().split(None, 4)
        size = width + b" " + height
    width, height = map(int, size.split())
    return np.frombuffer(pixels[-width * height * 3:], np.uint8).reshape(height, width, 3)


def psnr(a, b):
    error = np.mean((a.astype(np.float64) - b) ** 2)
    return 10 * np.log10(255 * 255 / error)


def ring(picture):
    """The outermost pixels, in a row."""
    return np.concatenate([picture[0], picture[-1], picture[1:-1, 0], picture[1:-1, -1]])


class Scene:
    def __init__(self, kivocam, folder):
        self.kivocam, self.folder = kivocam, pathlib.Path(folder)
        self.run("scene", "scene.ppm", "--size", "%dx%d" % SIZE)
        self.pixels = read_ppm(self.folder / "scene.ppm")

    def run(self, *arguments):
        subprocess.run([self.kivocam, *arguments], cwd=self.folder, check=True)

    def developed(self, name, algorithm):
        """RGB pixels of a frame of the scene."""
        self.run("mosaic", "scene.ppm", f"{name}.rwh", "--format", name)
        frame, _ = kivocamutl.read_rwh(self.folder / f"{name}.rwh")
        return kivocamutl.convert(frame, name, bayer=algorithm, output="BGR")[..., ::-1]


def table(scene):
    lines = ["| format | algorithm | R | G | B | all (CPSNR) | inside | border |", "|---" * 8 + "|"]
    for depth, algorithms in ((8, ("standard", "acpi")), (10, ("standard",)), (12, ("standard",))):
        for algorithm in algorithms:
            for order in ("GR", "RG", "GB", "BG"):
                name = f"Bayer{order}{depth}"
                got, want = scene.developed(name, algorithm), scene.pixels
                values = [psnr(got[..., c], want[..., c]) for c in range(3)]
                values += [psnr(got, want), psnr(got[1:-1, 1:-1], want[1:-1, 1:-1]), psnr(ring(got), ring(want))]
                shown = {"standard": "standard", "acpi": "ACPI"}[algorithm]
                lines.append(f"| {name} | {shown} | " + " | ".join(f"{v:.2f}" for v in values) + " |")
    return "\n".join(lines) + "\n"


def draw_crops(scene):
    """Rows of crops, enlarged: the scene, standard, ACPI."""
    pictures = [scene.pixels, scene.developed("BayerRG8", "standard"), scene.developed("BayerRG8", "acpi")]
    side = CROP * SCALE
    sheet = np.full((len(CORNERS) * (side + GAP) - GAP, 3 * (side + GAP) - GAP, 3), 255, np.uint8)
    for row, (x, y) in enumerate(CORNERS):
        for column, picture in enumerate(pictures):
            crop = picture[y:y + CROP, x:x + CROP].repeat(SCALE, 0).repeat(SCALE, 1)
            top, left = row * (side + GAP), column * (side + GAP)
            sheet[top:top + side, left:left + side] = crop
    raw = scene.folder / "crops.raw"
    raw.write_bytes(sheet.tobytes())
    scene.run("convert", str(raw), str(CROPS), "--png-level", "9", "--format", "RGB8", "--size",
              f"{sheet.shape[1]}x{sheet.shape[0]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kivocam", default="kivocam", help="the tool to draw the scene with")
    parser.add_argument("--check", action="store_true", help="fail unless the page has this table")
    parser.add_argument("--write", action="store_true", help="put the table into the page, and draw the crops")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        scene = Scene(arguments.kivocam, folder)
        text = table(scene)
        print(text, end="")
        if arguments.write:
            draw_crops(scene)
    page = PAGE.read_text(encoding="utf-8") if arguments.check or arguments.write else ""
    if page:
        before, rest = page.split(BEGIN)
        old, after = rest.split(END)
        if arguments.check and old.strip() != text.strip():
            print(f"{PAGE.name} has another table:\n{old}", file=sys.stderr)
            return 1
        if arguments.write:
            PAGE.write_text(before + BEGIN + "\n" + text + "\n" + END + after, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
