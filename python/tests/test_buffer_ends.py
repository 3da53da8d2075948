# SPDX-License-Identifier: Apache-2.0
"""Frames that end at a page nobody may read: a buffer of the camera's own length is enough for every format."""

from __future__ import annotations

import os
import subprocess
import sys
import textwrap

import kivocamutl as kivo

SCRIPT = textwrap.dedent("""
    import ctypes, mmap, sys
    import numpy as np
    import kivocamutl as kivo

    libc = ctypes.CDLL(None, use_errno=True)
    libc.mprotect.argtypes = (ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int)
    size = 1 << 16
    memory = mmap.mmap(-1, size + mmap.PAGESIZE)
    whole = np.frombuffer(memory, np.uint8)
    whole[:] = np.arange(len(whole)) * 7 % 251
    assert libc.mprotect(whole.ctypes.data + size, mmap.PAGESIZE, 0) == 0
    if "--read-behind" in sys.argv:
        whole[size]  # dies here: the guard is in place
    done = 0
    for format in [f for f in kivo.formats() if not f.shares_bytes]:
        for width, height in ((4, 4), (36, 6), (100, 50)):
            frame = whole[size - format.frame_bytes(width, height) : size]
            for output in ("BGRA", "BGR"):
                for bayer in ("standard", "acpi", "off"):
                    got = kivo.convert(frame, format, width=width, height=height, output=output, bayer=bayer)
                    want = kivo.convert(frame.copy(), format, width=width, height=height, output=output, bayer=bayer)
                    assert np.array_equal(got, want)
                    done += 1
            for flags in ((0, 0), (0, 1), (1, 0), (1, 1)):
                kivo.reverse(frame, format, *flags, width=width, height=height)
    for format in [f for f in kivo.formats() if f.shares_bytes]:
        for width, height in ((1, 1), (5, 3), (64, 9)):
            kivo.unpack(whole[size - format.frame_bytes(width, height) : size], format, width, height)
    print(done)
    """)


def run(*arguments):
    environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(kivo.__file__))}
    return subprocess.run([sys.executable, "-c", SCRIPT, *arguments], env=environment, capture_output=True, text=True,
                          timeout=240)


def test_nothing_behind_the_frame_is_read():
    done = run()
    assert done.returncode == 0, done.stderr
    assert int(done.stdout) == len([f for f in kivo.formats() if not f.shares_bytes]) * 3 * 2 * 3
    assert run("--read-behind").returncode < 0, "the page behind the frames is readable"
