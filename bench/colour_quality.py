#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""How far the colours of a photographed colour checker are from what they should be, link by link of the chain.

    colour_quality.py LIBRARY FRAME FORMAT WIDTHxHEIGHT BLACK CORNERS

LIBRARY is libKivoFrame.so.1; FRAME has plain samples without a header; BLACK is the sensor's level. CORNERS are the
centres of the four corner patches in pixels, as x,y of the dark skin, the bluish green, the white and the black one: 8
numbers with commas. Prints the mean and the largest CIEDE2000 of the 24 patches for each set of settings, after the
brightness of all was made that of the checker, and the cast that is left on the six greys.
"""

import argparse
import ctypes
import math
import pathlib

import numpy as np

# The checker in sRGB, 8 bits, row by row.
CHECKER = np.array([
    (115, 82, 68), (194, 150, 130), (98, 122, 157), (87, 108, 67), (133, 128, 177), (103, 189, 170),
    (214, 126, 44), (80, 91, 166), (193, 90, 99), (94, 60, 108), (157, 188, 64), (224, 163, 46),
    (56, 61, 150), (70, 148, 73), (175, 54, 60), (231, 199, 31), (187, 86, 149), (8, 133, 161),
    (243, 243, 242), (200, 200, 200), (160, 160, 160), (122, 122, 121), (85, 85, 85), (52, 52, 52)], float)
GREYS = slice(18, 24)
TO_XYZ = np.array([[0.4124564, 0.3575761, 0.1804375], [0.2126729, 0.7151522, 0.0721750],
                   [0.0193339, 0.1191920, 0.9503041]])
BALANCES = ("white patch", "grey world", "median")
BGR16, SPREAD = 6, 1


class Colour(ctypes.Structure):
    """kivo_colour."""

    _fields_ = [("size", ctypes.c_size_t), ("tone", ctypes.c_uint32), ("table_size", ctypes.c_uint32),
                ("black", ctypes.c_double * 4), ("gain", ctypes.c_double * 3), ("matrix", ctypes.c_double * 9),
                ("low", ctypes.c_double), ("high", ctypes.c_double), ("gamma", ctypes.c_double),
                ("table", ctypes.c_void_p)]


class Options(ctypes.Structure):
    """kivo_options."""

    _fields_ = [("size", ctypes.c_size_t),
                *((name, ctypes.c_uint32) for name in ("pixels", "bayer", "levels", "hint", "byte_order", "flags",
                                                       "shift", "range_low", "range_high", "crop_x", "crop_y",
                                                       "crop_width", "crop_height")),
                ("colour", ctypes.POINTER(Colour))]


class Memory(ctypes.Structure):
    """kivo_frame and kivo_picture."""

    _fields_ = [("data", ctypes.c_void_p), ("size", ctypes.c_size_t), ("stride", ctypes.c_ssize_t)]


class Engine:
    """The library, for frames of one format and size."""

    def __init__(self, library, name, width, height):
        self.lib = ctypes.CDLL(str(library))
        self.lib.kivo_message.restype = ctypes.c_char_p
        self.lib.kivo_format_find.restype = ctypes.POINTER(ctypes.c_uint64)
        found = self.lib.kivo_format_find(name.encode())
        if not found:
            raise SystemExit(f"no format is called {name}")
        # The code is behind the pointer to the name.
        self.code = found[1] & 0xFFFFFFFF
        self.width, self.height = width, height

    def check(self, status):
        if status:
            raise SystemExit(self.lib.kivo_message(status).decode())

    def plan(self, colour=None):
        options = Options(ctypes.sizeof(Options), pixels=BGR16, levels=SPREAD)
        if colour is not None:
            options.colour = ctypes.pointer(colour)
        plan = ctypes.c_void_p()
        self.check(self.lib.kivo_plan_make(self.code, self.width, self.height, ctypes.byref(options),
                                           ctypes.byref(plan)))
        return plan

    def balance(self, frame, kind, colour):
        plan = self.plan()
        self.check(self.lib.kivo_auto_balance(plan, ctypes.byref(memory(frame)), ctypes.c_uint32(kind),
                                              ctypes.byref(colour)))
        self.lib.kivo_plan_free(plan)

    def picture(self, frame, colour):
        """Red, green, blue from 0 to 1."""
        plan = self.plan(colour)
        out = np.empty((self.height, self.width, 3), np.uint16)
        self.check(self.lib.kivo_run(plan, ctypes.byref(memory(frame)), ctypes.byref(memory(out)), None,
                                     ctypes.c_size_t(0)))
        self.lib.kivo_plan_free(plan)
        return out[..., ::-1] / 65535


def memory(array):
    return Memory(array.ctypes.data, array.nbytes, 0)


def linear(srgb):
    return np.where(srgb <= 0.04045, srgb / 12.92, ((srgb + 0.055) / 1.055) ** 2.4)


def lab(rgb):
    """CIE L*a*b* of linear red, green, blue, relative to white."""
    xyz = rgb @ TO_XYZ.T / TO_XYZ.sum(1)
    f = np.where(xyz > 216 / 24389, np.cbrt(np.maximum(xyz, 0)), (24389 / 27 * xyz + 16) / 116)
    return np.stack([116 * f[:, 1] - 16, 500 * (f[:, 0] - f[:, 1]), 200 * (f[:, 1] - f[:, 2])], 1)


def ciede2000(first, second):
    """The colour difference of one pair, by the steps of the recommendation."""
    (l1, a1, b1), (l2, a2, b2) = first, second
    c7 = ((math.hypot(a1, b1) + math.hypot(a2, b2)) / 2) ** 7
    g = (1 - math.sqrt(c7 / (c7 + 25 ** 7))) / 2
    c1, c2 = math.hypot(a1 * (1 + g), b1), math.hypot(a2 * (1 + g), b2)
    h1 = math.degrees(math.atan2(b1, a1 * (1 + g))) % 360 if c1 else 0
    h2 = math.degrees(math.atan2(b2, a2 * (1 + g))) % 360 if c2 else 0
    dh = 0 if c1 * c2 == 0 else (h2 - h1 + 180) % 360 - 180
    d_hue = 2 * math.sqrt(c1 * c2) * math.sin(math.radians(dh / 2))
    l_mean, c_mean = (l1 + l2) / 2, (c1 + c2) / 2
    if c1 * c2 == 0:
        h_mean = h1 + h2
    elif abs(h1 - h2) <= 180:
        h_mean = (h1 + h2) / 2
    else:
        h_mean = (h1 + h2 + (360 if h1 + h2 < 360 else -360)) / 2
    cos = [math.cos(math.radians(k * h_mean + o)) for k, o in ((1, -30), (2, 0), (3, 6), (4, -63))]
    t = 1 - 0.17 * cos[0] + 0.24 * cos[1] + 0.32 * cos[2] - 0.20 * cos[3]
    turn = 2 * math.sqrt(c_mean ** 7 / (c_mean ** 7 + 25 ** 7)) * math.sin(
        math.radians(60 * math.exp(-((h_mean - 275) / 25) ** 2)))
    s_l = 1 + 0.015 * (l_mean - 50) ** 2 / math.sqrt(20 + (l_mean - 50) ** 2)
    s_c, s_h = 1 + 0.045 * c_mean, 1 + 0.015 * c_mean * t
    dl, dc, dhue = (l2 - l1) / s_l, (c2 - c1) / s_c, d_hue / s_h
    return math.sqrt(dl * dl + dc * dc + dhue * dhue - turn * dc * dhue)


def patches(picture, corners):
    """The mean of the middle of each patch."""
    first, right, white, black = np.array(corners, float).reshape(4, 2)
    means = []
    for row in range(4):
        for column in range(6):
            u, v = column / 5, row / 3
            x, y = (1 - v) * ((1 - u) * first + u * right) + v * ((1 - u) * white + u * black)
            means.append(picture[int(y) - 12:int(y) + 12, int(x) - 12:int(x) + 12].reshape(-1, 3).mean(0))
    return np.array(means)


def report(name, found, wanted):
    """`found` is linear."""
    scale = (found[GREYS].mean(1) @ wanted[GREYS].mean(1)) / (found[GREYS].mean(1) ** 2).sum()
    errors = [ciede2000(a, b) for a, b in zip(lab(np.clip(found * scale, 0, 1)), lab(wanted))]
    ratios = found[GREYS] / found[GREYS][:, 1:2]
    print(f"{name:34} {np.mean(errors):6.2f} {max(errors):6.2f} {100 * abs(ratios - 1).max(1).mean():7.1f} %")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for name in ("library", "frame", "format", "size", "black", "corners"):
        parser.add_argument(name)
    options = parser.parse_args()
    width, height = map(int, options.size.split("x"))
    frame = np.frombuffer(pathlib.Path(options.frame).read_bytes(), np.uint8)
    engine = Engine(options.library, options.format, width, height)
    corners = [float(number) for number in options.corners.split(",")]
    wanted = linear(CHECKER / 255)

    def settings(**values):
        return Colour(ctypes.sizeof(Colour), matrix=(1, 0, 0, 0, 1, 0, 0, 0, 1),
                      **{"gain": (1, 1, 1), "gamma": 1, **values})

    def measure(name, colour):
        found = patches(engine.picture(frame, colour), corners)
        report(name, linear(found) if colour.tone == 1 else found, wanted)
        return found

    print(f"{'settings':34} {'mean':>6} {'most':>6} {'cast':>9}")
    measure("none", settings())
    black = (float(options.black),) * 4
    measure("black level", settings(black=black))
    for kind, name in enumerate(BALANCES):
        colour = settings(black=black)
        engine.balance(frame, kind, colour)
        measure(f"black, {name}", colour)
    colour = settings(black=black)
    engine.balance(frame, 0, colour)
    found = patches(engine.picture(frame, colour), corners)
    # The matrix that brings the patches nearest, of those that leave grey alone.
    rows = []
    for c in range(3):
        others = [i for i in range(3) if i != c]
        differences = found[:, others] - found[:, c:c + 1]
        scale = (found[GREYS].mean(1) @ wanted[GREYS].mean(1)) / (found[GREYS].mean(1) ** 2).sum()
        solved = np.linalg.lstsq(differences, wanted[:, c] / scale - found[:, c], rcond=None)[0]
        row = np.zeros(3)
        row[others], row[c] = solved, 1 - solved.sum()
        rows.append(row)
    colour.matrix = (ctypes.c_double * 9)(*np.clip(np.concatenate(rows), -3.99, 3.99))
    measure("black, white patch, fitted matrix", colour)
    colour.tone = 1
    measure("the same and sRGB, seen through it", colour)


if __name__ == "__main__":
    main()
