# SPDX-License-Identifier: Apache-2.0
"""What convert() costs beside the function of the library that it calls.

    /usr/bin/python3 benchmarks/convert.py

Both convert the same frame to the same picture, in turns; the other one is kivo_run() with a plan, a frame and a
picture that were made once. Printed are the medians in microseconds of processor time, and the median of the rounds'
ratios.
"""

from __future__ import annotations

import argparse
import os
import pathlib
import statistics
import sys
import time
from ctypes import byref
from typing import Any, Callable

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import kivocamutl as kivo  # noqa: E402
from kivocamutl._engine import Plan, engine, memory  # noqa: E402
from kivocamutl._frames import as_frame  # noqa: E402
from kivocamutl.options import Output  # noqa: E402

OUTPUTS: tuple[tuple[str, Output, int], ...] = (("BayerRG12p", "BGRA", 0), ("YUV422_8_UYVY", "BGR", 1),
                                                ("YUV8_UYV", "BGRA", 0), ("BayerRG8", "BGRA", 0))


def seconds(call: Callable[[], Any], calls: int) -> float:
    start = time.thread_time()
    for _ in range(calls):
        call()
    return (time.thread_time() - start) / calls


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=15, help="(default: %(default)s)")
    arguments = parser.parse_args()
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    print(f"{'':16} {'':10} {'convert()':>10} {'kivo_run()':>11} {'ratio':>6}")
    for width, height in ((640, 480), (1920, 1080)):
        for name, output, value in OUTPUTS:
            size = kivo.find_format(name).frame_bytes(width, height)
            frame = np.random.default_rng(1).integers(0, 256, size, dtype=np.uint8)
            out = np.empty((height, width, len(output)), np.uint8)
            known = as_frame(frame, name, width, height, None)
            plan = Plan(name, known.format.code, width, height, (value, *[0] * 12))
            run, picture = engine().kivo_run, memory(out) or known.memory  # a new array has one

            def direct() -> None:
                run(plan.handle, byref(known.memory), byref(picture), None, 0)

            def convert() -> None:
                kivo.convert(frame, name, output=output, width=width, height=height, out=out)

            convert()
            calls = max(4, int(0.01 / seconds(direct, 2)))
            rows = [(seconds(convert, calls), seconds(direct, calls)) for _ in range(arguments.rounds)]
            ours, library = (statistics.median(column) * 1e6 for column in zip(*rows))
            ratio = statistics.median(a / b for a, b in rows)
            print(f"{name:16} {f'{width}x{height}':10} {ours:10.1f} {library:11.1f} {ratio:6.2f}")


if __name__ == "__main__":
    main()
