# SPDX-License-Identifier: Apache-2.0
"""How two threads that convert at once fare beside one: the interpreter lock is released meanwhile.

    /usr/bin/python3 benchmarks/two_threads.py

One thread converts a frame for a while, then two threads convert a frame each for as long, in turns. Printed
is the median of the ratios of their throughputs: 2 is perfect, 1 would mean that the threads wait for each
other. Needs two idle cores. The frames of both threads fit their caches, so the memory they share does not
decide the outcome.
"""

from __future__ import annotations

import argparse
import pathlib
import statistics
import sys
import threading
import time

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import kivocamutl as kivo  # noqa: E402


def throughput(threads: int, seconds: float, frames: list[np.ndarray], name: str, bayer: str) -> float:
    """Frames per second of all threads together."""
    counts = [0] * threads
    begin = threading.Barrier(threads + 1)

    def work(i: int) -> None:
        out = np.empty((*frames[i].shape, 4), np.uint8)
        kivo.convert(frames[i], name, bayer=bayer, out=out)
        begin.wait()
        end = time.perf_counter() + seconds
        while time.perf_counter() < end:
            kivo.convert(frames[i], name, bayer=bayer, out=out)
            counts[i] += 1

    workers = [threading.Thread(target=work, args=(i,)) for i in range(threads)]
    for worker in workers:
        worker.start()
    begin.wait()
    start = time.perf_counter()
    for worker in workers:
        worker.join()
    return sum(counts) / (time.perf_counter() - start)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", default="640x480", help="frame size (default: %(default)s)")
    parser.add_argument("--rounds", type=int, default=7, help="(default: %(default)s)")
    parser.add_argument("--seconds", type=float, default=0.5, help="per measurement (default: %(default)s)")
    arguments = parser.parse_args()
    width, height = map(int, arguments.size.split("x"))
    rng = np.random.default_rng(1)
    print(f"{'':28} {'1 thread':>12} {'2 threads':>12} {'ratio':>6}   frames of {width} x {height} per second")
    for name, bayer in (("BayerRG8", "standard"), ("BayerRG8", "acpi"), ("BayerRG12", "standard"), ("Mono8", "off")):
        format = kivo.find_format(name)
        dtype = np.uint16 if format.word_bytes == 2 else np.uint8
        frames = [rng.integers(0, 1 << format.depth, (height, width)).astype(dtype) for _ in range(2)]
        pairs = [(throughput(1, arguments.seconds, frames, name, bayer),
                  throughput(2, arguments.seconds, frames, name, bayer)) for _ in range(arguments.rounds)]
        one, two = (statistics.median(column) for column in zip(*pairs))
        ratio = statistics.median(b / a for a, b in pairs)
        print(f"{name + ' ' + bayer:28} {one:12.0f} {two:12.0f} {ratio:6.2f}")


if __name__ == "__main__":
    main()
