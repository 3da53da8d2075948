# SPDX-License-Identifier: Apache-2.0
"""Several threads at once: the first use, conversions, and the interpreter lock."""

from __future__ import annotations

import concurrent.futures
import os
import subprocess
import sys
import textwrap

import numpy as np

import kivocamutl as kivo
import numpy_model as model
from conftest import make_frame

ENVIRONMENT = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(kivo.__file__))}


def run_script(script, *arguments):
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(script), *arguments], env=ENVIRONMENT,
                          capture_output=True, text=True, timeout=240)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_the_first_use_by_many_threads_prepares_once():
    """Every thread's first call is a converter that refuses to work before the tables are ready."""
    output = run_script("""
        import ctypes, threading
        import numpy as np
        import kivocamutl
        loaded, real = [], ctypes.CDLL
        def load(path):
            loaded.append(path)
            return real(path)
        ctypes.CDLL = load
        begin, results = threading.Barrier(16), []
        def work():
            begin.wait()
            results.append(kivocamutl.convert(np.full((4, 4), 9, np.uint8), "Mono8").tolist())
        threads = [threading.Thread(target=work) for _ in range(16)]
        for t in threads: t.start()
        for t in threads: t.join()
        assert results == [[[[9, 9, 9, 255]] * 4] * 4] * 16, results
        print(len(loaded))
        """)
    assert output.strip() == "1"


def test_the_interpreter_lock_is_released(tmp_path):
    """The library writes a picture into a pipe that another thread of Python empties: with the lock held,
    neither would ever get on, and the time limit would end the script."""
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    output = run_script("""
        import os, sys, threading
        import numpy as np
        from kivocamutl._library import function
        picture = np.zeros((1024, 1024), np.uint8)
        received = []
        def read():
            with open(sys.argv[1], "rb") as file:
                received.append(len(file.read()))
        reader = threading.Thread(target=read)
        reader.start()
        status = function("SaveBmpMono_S")(picture.ctypes.data, 1024, 1024, 1024, os.fsencode(sys.argv[1]))
        reader.join()
        print(status, received)
        """, str(pipe))
    assert output.strip() == f"0 [{1078 + 1024 * 1024}]"


def test_conversions_at_once():
    names = ["BayerRG8", "Mono8", "YUV8_UYV", "BayerBG12", "YUV422_8_UYVY", "RGB12", "Mono16", "BayerGB8"]

    def work(i):
        format = kivo.find_format(names[i % len(names)])
        bayer = ("standard", "acpi")[i // len(names) % 2]
        frame = make_frame(format, 128, 64, seed=i)
        picture = kivo.convert(frame, format, bayer=bayer, output=("BGR", "BGRA")[i % 3 == 0])
        return np.array_equal(picture, model.convert(frame, format, ("BGR", "BGRA")[i % 3 == 0], bayer))

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(pool.map(work, range(128)))
