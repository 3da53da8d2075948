# SPDX-License-Identifier: Apache-2.0
"""How two threads that convert at once fare beside one: the interpreter lock is released meanwhile.

    /usr/bin/python3 benchmarks/two_threads.py

One thread converts a frame for a while, then two threads convert a frame each for as long, then two processes
do, in turns. Printed are the medians, and the medians of the ratios to one thread. Two processes share no
lock: their ratio is what the machine can give at the moment, 2 when both cores are idle and memory keeps up.
"""

from __future__ import annotations

import argparse
import multiprocessing
import pathlib
import statistics
import sys
import threading
import time
from typing import Any

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import kivocamutl as kivo  # noqa: E402


def work(seed: int, size: tuple[int, int], name: str, bayer: str, begin: Any, seconds: float, rates: Any) -> None:
    """Converts one frame again and again; puts the conversions per second into rates[seed]."""
    format = kivo.find_format(name)
    dtype = np.uint16 if format.word_bytes == 2 else np.uint8
    frame = np.random.default_rng(seed).integers(0, 1 << format.depth, size).astype(dtype)
    out = np.empty((*size, 4), np.uint8)
    kivo.convert(frame, name, bayer=bayer, out=out)
    begin.wait()
    count, start = 0, time.perf_counter()
    while (now := time.perf_counter()) - start < seconds:
        kivo.convert(frame, name, bayer=bayer, out=out)
        count += 1
    rates[seed] = count / (now - start)


def measure(kind: Any, number: int, *what: Any, seconds: float) -> float:
    """Conversions per second of so many threads or processes together."""
    threads = kind is threading.Thread
    begin = (threading if threads else multiprocessing).Barrier(number)
    rates = [0.0] * number if threads else multiprocessing.Array("d", number)
    workers = [kind(target=work, args=(i, *what, begin, seconds, rates)) for i in range(number)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    return sum(rates)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", default="1920x1080", help="frame size (default: %(default)s)")
    parser.add_argument("--rounds", type=int, default=7, help="(default: %(default)s)")
    parser.add_argument("--seconds", type=float, default=0.5, help="per measurement (default: %(default)s)")
    arguments = parser.parse_args()
    width, height = map(int, arguments.size.split("x"))
    print(f"frames of {width} x {height} per second, and ratios to one thread")
    print(f"{'':20} {'1 thread':>10} {'2 threads':>16} {'2 processes':>16}")
    for name, bayer in (("BayerRG8", "standard"), ("BayerRG8", "acpi"), ("BayerRG12", "standard"), ("Mono8", "off")):
        what = ((height, width), name, bayer)
        rows = [(measure(threading.Thread, 1, *what, seconds=arguments.seconds),
                 measure(threading.Thread, 2, *what, seconds=arguments.seconds),
                 measure(multiprocessing.Process, 2, *what, seconds=arguments.seconds))
                for _ in range(arguments.rounds)]
        one, two, processes = (statistics.median(column) for column in zip(*rows))
        by_threads, by_processes = (statistics.median(row[i] / row[0] for row in rows) for i in (1, 2))
        print(f"{name + ' ' + bayer:20} {one:10.0f} {two:10.0f} {by_threads:5.2f} {processes:10.0f} {by_processes:5.2f}")


if __name__ == "__main__":
    main()
