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
    """Channels of 8 bits, or of 16 where the name of the output ends so, as they are."""
    deep = output.endswith("16")
    values = {"B": blue, "G": green, "R": red, "A": np.full_like(blue, 65535 if deep else 255)}
    channels = [values[c] for c in output.replace("16", "")]
    return (np.stack(channels, -1) & (0xFFFF if deep else 255)).astype(np.uint16 if deep else np.uint8)


def luma(blue, green, red):
    return (19595 * red + 38470 * green + 7471 * blue + 32768) >> 16


def spread(values, depth):
    """The upper 16 bits of a value of so many bits, written as often as it takes."""
    v = values & (1 << depth) - 1
    total, bits = v, depth
    while bits < 16:
        total, bits = total << depth | v, bits + depth
    return total >> (bits - 16)


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


def acpi_planes(mosaic, order, depth=8):
    """Blue, green, red of the adaptive demosaic of a frame of even size from 4 x 4 up."""
    top = (1 << depth) - 1
    s = np.asarray(mosaic, np.int64) & top

    def clamp(values):
        return np.clip(values, 0, top)

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
        blue = np.where(tie, np.trunc(exact).astype(np.int64) & top, blue)
    if order in ("GR", "RG"):
        column = width - 1 if order == "GR" else 0
        blue = np.where(site["R"] & inner_row & (x == column), (up + down) >> 1, blue)
    return blue, green, planes["R"]


def acpi(mosaic, order, output):
    return pixels(*acpi_planes(mosaic, order), output)


def grey(samples, output, shift=0):
    g = np.asarray(samples, np.int64) >> shift
    return pixels(g, g, g, output)


def half_planes(mosaic, order):
    """Blue, green, red of the whole 2 x 2 squares."""
    s = np.asarray(mosaic, np.int64)
    s = s[: s.shape[0] // 2 * 2, : s.shape[1] // 2 * 2]
    at = {}
    for y in (0, 1):
        for x in (0, 1):
            at.setdefault(LAYOUT[order][y][x], []).append(s[y::2, x::2])
    return at["B"][0], sum(at["G"]) // 2, at["R"][0]


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


def yuv(y, u, v):
    """Blue, green, red of arrays of bytes of one shape."""
    return BLUE[u, y], np.clip(y.astype(np.int64) + 256 - OFFSET[u, v], 0, 255), RED[v, y]


def ycbcr(y, cb, cr, red, blue, limited):
    """The same in real numbers, by the weights of red and blue."""
    y, cb, cr = (np.asarray(c, np.float64) for c in (y, cb, cr))
    y, scale = ((y - 16) * 255 / 219, 255 / 224) if limited else (y, 1.0)
    cb, cr = (cb - 128) * scale, (cr - 128) * scale
    r, b = y + 2 * (1 - red) * cr, y + 2 * (1 - blue) * cb
    g = (y - red * r - blue * b) / (1 - red - blue)
    return [np.floor(np.clip(c, 0, 255) + 0.5).astype(np.int64) for c in (b, g, r)]


def yuv_samples(array, group_pixels):
    """Luma and the two chroma values of every pixel, of groups that have chroma first."""
    height = array.shape[0]
    if group_pixels == 1:
        return array[..., 1], array[..., 0], array[..., 2]
    second = group_pixels // 2 + 1
    groups = array.reshape(-1, 2 * second)
    lumas = [i for i in range(1, groups.shape[1]) if i != second]
    u, v = (np.repeat(groups[:, i], group_pixels).reshape(height, -1) for i in (0, second))
    return groups[:, lumas].reshape(height, -1), u, v


def planes(array, format, bayer="standard"):
    """Blue, green, red of a frame of plain samples, each as deep as they are."""
    if format.family == "yuv":
        samples = yuv_samples(array, format.group_pixels)
        if format.name.startswith("YUV"):
            return yuv(*samples)
        weights = (0.2126, 0.0722) if "709" in format.name else (0.299, 0.114)
        return ycbcr(*samples, *weights, "601" in format.name or "709" in format.name)
    c = np.asarray(array, np.int64)
    if format.family == "rgb":
        return (c[..., 2], c[..., 1], c[..., 0]) if format.name[0] == "R" else (c[..., 0], c[..., 1], c[..., 2])
    if format.family == "mono" or bayer == "off":
        return c, c, c
    height, width = array.shape
    if bayer == "best":
        bayer = "acpi" if height % 2 == 0 and width % 2 == 0 and min(height, width) >= 4 else "standard"
    if bayer == "acpi":
        return acpi_planes(array, format.order, format.depth)
    return half_planes(array, format.order) if bayer == "half" else standard_planes(array, format.order)


def convert(array, format, output="BGRA", bayer="standard", shift=None, levels="own"):
    """The picture of a frame of plain samples; `format` is a kivocamutl.Format."""
    b, g, r = planes(array, format, bayer)
    if not output.endswith("16"):
        by = format.depth - 8 if shift is None else shift
        b, g, r = (c >> by & 255 for c in (b, g, r))
    elif levels == "spread":
        b, g, r = (spread(c, format.depth) for c in (b, g, r))
    if not output.startswith("GRAY"):
        return pixels(b, g, r, output)
    grey = g if format.family == "mono" or format.family == "bayer" and bayer == "off" else luma(b, g, r)
    return grey.astype(np.uint16 if output.endswith("16") else np.uint8)
