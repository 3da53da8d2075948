# SPDX-License-Identifier: Apache-2.0
"""How often 'kivocam guess' is right in its first line.

    count.py KIVOCAM [--files 100] [--seed 1] [--real FOLDER] [--least 90]

Makes headerless files of random formats, sizes, headers and paddings, of the tool's scene, of made things, and, where a
folder is named, of real frames (called NAME_WIDTHxHEIGHT_ORDER_DEPTHin16le.raw), which are then guessed themselves too.
Fails below --least per cent. Whether red or blue comes first is counted apart.
"""

from __future__ import annotations

import argparse
import json
import pathlib
import subprocess
import sys
import tempfile
from typing import Any

import numpy as np
from headerless import Made, RealFrames, make

SWAPPED = {"GR": "GB", "GB": "GR", "RG": "BG", "BG": "RG"}


def guessed(kivocam: str, path: str) -> list[dict[str, Any]]:
    done = subprocess.run([kivocam, "guess", "--json", path], capture_output=True, text=True)
    if done.returncode != 0:
        print(done.stderr.strip())
        return []
    return json.loads(done.stdout)["candidates"]


def other(name: str) -> str:
    """The format with red and blue exchanged."""
    if name.startswith("Bayer"):
        return name[:5] + SWAPPED[name[5:7]] + name[7:]
    return {"RGB": "BGR", "BGR": "RGB"}.get(name[:3], name[:3]) + name[3:]


def is_right(made: Made, found: dict[str, Any]) -> bool:
    same = (found["width"], found["height"], found["offset"], found["byte_order"]) == (
        made.width, made.height, made.offset, "big" if made.big else "little")
    stride = made.stride == 0 or found["stride"] == made.stride
    padded = made.stride != 0 or "--stride" not in found["options"]
    return same and stride and padded and found["format"] in (made.format, other(made.format))


def text(made: Made) -> str:
    return (f"{made.source}: {made.format} {made.width}x{made.height}, offset {made.offset}, stride {made.stride}, "
            f"{'big' if made.big else 'little'}")


def main() -> int:
    arguments = argparse.ArgumentParser()
    arguments.add_argument("kivocam")
    arguments.add_argument("--files", type=int, default=100)
    arguments.add_argument("--seed", type=int, default=1)
    arguments.add_argument("--real", default=None)
    arguments.add_argument("--least", type=float, default=90)
    given = arguments.parse_args()
    real = RealFrames(given.real)
    right = red_first = both = 0
    with tempfile.TemporaryDirectory() as folder:
        path = str(pathlib.Path(folder) / "frame.raw")
        for i in range(given.files):
            made = make(np.random.default_rng([given.seed, i]), given.kivocam, real)
            pathlib.Path(path).write_bytes(made.data)
            found = guessed(given.kivocam, path)
            if found and is_right(made, found[0]):
                right += 1
                red_first += found[0]["format"] == made.format
                names = [c["format"] for c in found if is_right(made, c)]
                both += made.format in names and other(made.format) in names
            else:
                print(f"file {i} is {text(made)}; guessed: {found[0]['options'] if found else 'nothing'}", flush=True)
    print(f"{right} of {given.files} right; of these red or blue first as in the file {red_first}, both listed {both}")
    good = 100 * right >= given.least * given.files and both == right
    for file, samples, order, depth in real.frames:
        made = Made(f"Bayer{order}{depth}", samples.shape[1], samples.shape[0], 0, 0, False, file.name, b"")
        found = guessed(given.kivocam, str(file))
        fine = bool(found) and is_right(made, found[0])
        print(f"{text(made)}: {'right' if fine else 'WRONG'}, {found[0]['options'] if found else 'nothing'}")
        good = good and fine
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
