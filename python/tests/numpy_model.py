# SPDX-License-Identifier: Apache-2.0
"""What every conversion has to give, written in numpy from the rules and without the library.

Channels are arrays of int64 until a pixel is put together, so nothing wraps before it is meant to.
"""

from __future__ import annotations

import fractions

import numpy as np

# Colour of (row parity, column parity).
LAYOUT = {
    "GR": (("G", "R"), ("B", "G")),
    "RG": (("R", "G"), ("G", "B")),
    "GB": (("G", "B"), ("R", "G")),
    "BG": (("B", "G"), ("G", "R")),
}
CROSS = ((-1, 0), (0, -1), (0, 1), (1, 0))
DIAGONAL = ((-1, -1), (-1, 1), (1, -1), (1, 1))
HORIZONTAL = ((0, -1), (0, 1))
VERTICAL = ((-1, 0), (1, 0))


def pixels(blue, green, red, output):
    channels = [blue, green, red] + ([np.full_like(blue, 255)] if output == "BGRA" else [])
    return np.stack([np.asarray(c) & 255 for c in channels], -1).astype(np.uint8)


def sites(order, shape):
    """Mask of the pixels of each colour."""
    y, x = np.indices(shape)
    colour = np.array(LAYOUT[order])[y % 2, x % 2]
    return {c: colour == c for c in "RGB"}


def shifted(plane, dy, dx, fill=0):
    """The plane of neighbours: element (y, x) is plane[y + dy, x + dx], `fill` outside."""
    padded = np.pad(plane, 2, constant_values=fill)
    return padded[2 + dy : padded.shape[0] - 2 + dy, 2 + dx : padded.shape[1] - 2 + dx]


def in_image(shape, neighbours):
    """Sum of ones over the neighbours inside the image."""
    return sum(shifted(np.ones(shape, np.int64), *n) for n in neighbours)


def mean(plane, neighbours, shift=0):
    """Sum over the neighbours inside the image, divided once by their number and by 2 to the shift.

    A pixel with no such neighbour keeps its own sample.
    """
    total = sum(shifted(plane, *n) for n in neighbours)
    count = in_image(plane.shape, neighbours)
    return np.where(count == 0, plane >> shift, total // (np.maximum(count, 1) << shift))


def standard_planes(mosaic, order, shift=0):
    """Blue, green, red of the plain demosaic, for any size."""
    s = np.asarray(mosaic, np.int64)
    site = sites(order, s.shape)
    y = np.indices(s.shape)[0]
    red_row = np.array([("R" in row) for row in LAYOUT[order]])[y % 2]
    own = s >> shift
    cross, diagonal = mean(s, CROSS, shift), mean(s, DIAGONAL, shift)
    horizontal, vertical = mean(s, HORIZONTAL, shift), mean(s, VERTICAL, shift)
    green = np.where(site["G"], own, cross)
    planes = {}
    for colour, in_row in (("R", red_row), ("B", ~red_row)):
        at_green = np.where(in_row, horizontal, vertical)
        planes[colour] = np.where(site[colour], own, np.where(site["G"], at_green, diagonal))
    return planes["B"], green, planes["R"]


def standard(mosaic, order, output, shift=0):
    return pixels(*standard_planes(mosaic, order, shift), output)


def clamp(values):
    return np.clip(values, 0, 255)


def acpi(mosaic, order, output):
    """The adaptive demosaic of an 8-bit frame of even size from 4 x 4 up."""
    s = np.asarray(mosaic, np.int64)
    height, width = s.shape
    assert height % 2 == 0 and width % 2 == 0 and min(height, width) >= 4
    site = sites(order, s.shape)
    y, x = np.indices(s.shape)
    interior = (y >= 2) & (y <= height - 3) & (x >= 2) & (x <= width - 3)
    edge_row, edge_column = (y == 0) | (y == height - 1), (x == 0) | (x == width - 1)
    inner_row = (y >= 2) & (y <= height - 3)

    def at(plane, dy, dx):
        return shifted(plane, dy, dx)

    # Green: along the direction of the smaller gradient.
    up, down, left, right = at(s, -1, 0), at(s, 1, 0), at(s, 0, -1), at(s, 0, 1)
    lv = 2 * s - at(s, -2, 0) - at(s, 2, 0)
    lh = 2 * s - at(s, 0, -2) - at(s, 0, 2)
    dv, dh = abs(lv) + abs(up - down), abs(left - right) + abs(lh)
    adaptive = np.select(
        [dv < dh, dv > dh],
        [(2 * (up + down) + lv) >> 2, (2 * (left + right) + lh) >> 2],
        (lh + 2 * (up + down + left + right) + lv) >> 3,
    )
    # At the border: across the image in the first and last row, along it in the first and last column.
    border = np.select(
        [edge_row & edge_column, edge_row, edge_column],
        [mean(s, CROSS), (left + right) >> 1, (up + down) >> 1],
        (up + down + left + right) >> 2,
    )
    green = np.where(site["G"], s, np.where(interior, clamp(adaptive), border))
    if order == "BG":
        at_end = site["R"] & inner_row & (x == width - 1)
        green = np.where(at_end, (up + down + left) // 3, green)

    red_row = np.array([("R" in row) for row in LAYOUT[order]])[y % 2]
    laplace_v = 2 * green - at(green, -1, 0) - at(green, 1, 0)
    laplace_h = 2 * green - at(green, 0, -1) - at(green, 0, 1)
    vertical = clamp((2 * (up + down) + laplace_v) >> 2)
    horizontal = clamp((2 * (left + right) + laplace_h) >> 2)

    nw, ne, sw, se = (at(s, *n) for n in DIAGONAL)
    lne = 2 * green - at(green, -1, 1) - at(green, 1, -1)
    lnw = 2 * green - at(green, -1, -1) - at(green, 1, 1)
    dne, dnw = abs(lne) + abs(ne - sw), abs(nw - se) + abs(lnw)
    diagonal = clamp(np.select(
        [dne < dnw, dne > dnw],
        [(2 * (ne + sw) + lne) >> 2, (2 * (nw + se) + lnw) >> 2],
        (lnw + 2 * (nw + ne + sw + se) + lne) >> 3,
    ))

    planes = {}
    for colour, in_row in (("R", red_row), ("B", ~red_row)):
        at_green = np.where(
            interior,
            np.where(in_row, horizontal, vertical),
            np.where(in_row, mean(s, HORIZONTAL), mean(s, VERTICAL)),
        )
        at_other = np.where(interior, diagonal, mean(s, DIAGONAL))
        planes[colour] = np.where(site[colour], s, np.where(site["G"], at_green, at_other))

    blue = planes["B"]
    if order == "RG":
        # A tie of the diagonals at a red site is rounded half up and wraps.
        exact = (nw + ne + sw + se) * 0.25 + (lne + lnw) * 0.125 + 0.5
        tie = site["R"] & interior & (dne == dnw)
        blue = np.where(tie, np.trunc(exact).astype(np.int64) & 255, blue)
    if order in ("GR", "RG"):
        column = width - 1 if order == "GR" else 0
        blue = np.where(site["R"] & inner_row & (x == column), (up + down) >> 1, blue)
    return pixels(blue, green, planes["R"], output)


def grey(samples, output, shift=0):
    g = np.asarray(samples, np.int64) >> shift
    return pixels(g, g, g, output)


def colour(samples, first, output, shift=0):
    """(h, w, 3) samples whose first channel is "R" or "B"."""
    c = np.asarray(samples, np.int64) >> shift
    c = c[..., ::-1] if first == "R" else c
    return pixels(c[..., 0], c[..., 1], c[..., 2], output)


def _chroma_tables():
    """Red and blue of (chroma, luma) in exact rationals of the double constants, green offset of (U, V)."""
    luma = np.arange(256)
    red = np.empty((256, 256), np.int64)
    blue = np.empty((256, 256), np.int64)
    for c in range(256):
        # Y is a whole number, so the floor of the rest decides; below zero everything is clamped to 0 anyway.
        half = fractions.Fraction(1, 2)
        red[c] = np.clip(luma + ((c - 128) * fractions.Fraction(1.402) + half).__floor__(), 0, 255)
        blue[c] = np.clip(luma + ((c - 128) * fractions.Fraction(1.772) + half).__floor__(), 0, 255)
    c714, c344 = float(np.float32(0.714)), float(np.float32(0.344))
    u, v = np.meshgrid(np.arange(-128.0, 128.0), np.arange(-128.0, 128.0), indexing="ij")
    offset = np.trunc(v * c714 + u * c344 + 256.5).astype(np.int64)
    return red, blue, offset


RED, BLUE, OFFSET = _chroma_tables()


def yuv(y, u, v, output):
    """Arrays of bytes of one shape."""
    green = np.clip(y.astype(np.int64) + 256 - OFFSET[u, v], 0, 255)
    return pixels(BLUE[u, y], green, RED[v, y], output)


def yuv444(data, output):
    """(h, w, 3) bytes U, Y, V."""
    return yuv(data[..., 1], data[..., 0], data[..., 2], output)


def yuv422(data, output):
    """(h, w, 2) bytes: groups U, Y, V, Y."""
    groups = data.reshape(-1, 4)
    u, v = np.repeat(groups[:, 0], 2), np.repeat(groups[:, 2], 2)
    return yuv(groups[:, (1, 3)].reshape(-1), u, v, output).reshape(*data.shape[:2], -1)


def yuv411(data, output):
    """(h, 3 w / 2) bytes: groups U, Y, Y, V, Y, Y."""
    groups = data.reshape(-1, 6)
    u, v = np.repeat(groups[:, 0], 4), np.repeat(groups[:, 3], 4)
    flat = yuv(groups[:, (1, 2, 4, 5)].reshape(-1), u, v, output)
    return flat.reshape(data.shape[0], data.shape[1] * 2 // 3, -1)


def convert(array, format, output="BGRA", bayer="standard", shift=None):
    """The picture of a whole frame; `format` is a kivocamutl.Format."""
    shift = format.depth - 8 if shift is None else shift
    if format.name == "YUV8_UYV":
        return yuv444(array, output)
    if format.name == "YUV422_8_UYVY":
        return yuv422(array, output)
    if format.name == "YUV411_8_UYYVYY":
        return yuv411(array, output)
    if format.family == "rgb":
        return colour(array, format.name[0], output, shift)
    if format.family == "mono" or bayer == "off":
        return grey(array, output, shift)
    height, width = array.shape
    if bayer == "acpi" and format.depth == 8 and height % 2 == 0 and width % 2 == 0 and min(height, width) >= 4:
        return acpi(array, format.order, output)
    return standard(array, format.order, output, shift)
