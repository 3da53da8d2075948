# SPDX-License-Identifier: Apache-2.0
"""Speed of unpack() beside a copy of the samples that it gives.

    /usr/bin/python3 benchmarks/unpack.py

Printed are, for each layout, the best rate of several rounds in millions of pixels per second, and its ratio to
the best rate at which numpy copies the finished frame to new memory.
"""

from __future__ import annotations

import argparse
import pathlib
import sys
import time
from typing import Any, Callable

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import kivocamutl as kivo  # noqa: E402


def best(call: Callable[[], Any], rounds: int) -> float:
    """Seconds of the fastest of so many calls."""
    times = []
    for _ in range(rounds):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return min(times)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", default="2592x1944", help="frame size (default: %(default)s)")
    parser.add_argument("--rounds", type=int, default=20, help="(default: %(default)s)")
    arguments = parser.parse_args()
    width, height = map(int, arguments.size.split("x"))
    print(f"{width} x {height}: {'':8} {'Mpx/s':>8} {'of a copy':>10}")
    for name in ("Mono10p", "Mono12p", "Mono10Packed", "Mono12Packed"):
        size = kivo.find_format(name).frame_bytes(width, height)
        data = np.random.default_rng(1).integers(0, 256, size, dtype=np.uint8)
        samples = kivo.unpack(data, name, width, height)
        copied = best(lambda: samples.copy(), arguments.rounds)
        unpacked = best(lambda: kivo.unpack(data, name, width, height), arguments.rounds)
        print(f"{name:20} {width * height / unpacked / 1e6:8.0f} {copied / unpacked:10.2f}")


if __name__ == "__main__":
    main()
