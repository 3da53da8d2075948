# SPDX-License-Identifier: Apache-2.0
"""Headerless files of known making: frames as sensors deliver them, in formats that are packed here by hand."""

from __future__ import annotations

import dataclasses
import pathlib
import subprocess
import tempfile
from typing import Optional

import numpy as np

ORDERS = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}
SIZES = [(640, 480), (640, 512), (752, 480), (1024, 768), (1280, 720), (1280, 1024), (1440, 1080), (1456, 1088),
         (1600, 1200), (1920, 1080), (1936, 1216), (2048, 1536), (2448, 2048)]
# How often a format is made, of formats whose samples lie alike.
KINDS = [("Mono{d}", (8, 10, 12, 14, 16), 18), ("Bayer{o}{d}", (8, 10, 12, 14, 16), 30), ("Mono{d}p", (10, 12, 14), 9),
         ("Bayer{o}{d}p", (10, 12, 14), 13), ("Mono{d}Packed", (10, 12), 4), ("Bayer{o}{d}Packed", (10, 12), 6),
         ("RGB{d}", (8, 10, 12, 16), 7), ("BGR{d}", (8, 10, 12), 5), ("RGBa8", (8,), 1), ("BGRa8", (8,), 1),
         ("YUV422_8_UYVY", (8,), 3), ("YUV422_8", (8,), 2), ("YUV8_UYV", (8,), 1)]


@dataclasses.dataclass
class Made:
    """What a file is."""

    format: str
    width: int
    height: int
    offset: int
    stride: int  # bytes from row to row, 0 where rows are packed
    big: bool
    source: str
    data: bytes


def read_ppm(path: pathlib.Path) -> np.ndarray:
    data = path.read_bytes()
    magic, width, height, most = data.split(maxsplit=4)[:4]
    assert magic == b"P6" and most == b"255"
    size = int(width) * int(height) * 3
    return np.frombuffer(data[-size:], np.uint8).reshape(int(height), int(width), 3)


def scene(kivocam: str, width: int, height: int) -> np.ndarray:
    """The tool's test scene, in linear light from 0 to 1."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "scene.ppm"
        subprocess.run([kivocam, "scene", str(path), "--size", f"{width}x{height}"], check=True)
        return (read_ppm(path) / 255.0) ** 2.2


def things(rng: np.random.Generator, width: int, height: int) -> np.ndarray:
    """Things of all sizes one in front of the other, lit unevenly, a little out of focus."""
    y, x = np.mgrid[0:height, 0:width].astype(np.float32)
    angle = rng.uniform(0, 2 * np.pi)
    light = 0.45 + 0.35 * np.sin(x / width * np.cos(angle) * 3 + y / height * np.sin(angle) * 3)
    picture = light[..., None] * rng.uniform(0.2, 0.9, 3).astype(np.float32)
    for _ in range(90):
        size = min(width, height) * 0.35 * rng.uniform(0.05, 1) ** 2 + 3
        cx, cy, squeeze = rng.uniform(0, width), rng.uniform(0, height), rng.uniform(0.3, 3)
        left, right = int(max(0, cx - size * 2)), int(min(width, cx + size * 2 + 1))
        top, bottom = int(max(0, cy - size * 2)), int(min(height, cy + size * 2 + 1))
        dx, dy = x[top:bottom, left:right] - cx, y[top:bottom, left:right] - cy
        inside = dx * dx / squeeze + dy * dy * squeeze < size * size if rng.random() < 0.6 else (
            (abs(dx) < size * squeeze / 2) & (abs(dy) < size / 2))
        colour = rng.uniform(0.02, 1, 3) * (1 + 0.15 * np.sin(dx[..., None] * rng.uniform(0.05, 1.5)))
        part = picture[top:bottom, left:right]
        part[inside] = (light[top:bottom, left:right, None] * colour)[inside]
    return np.clip((picture + np.roll(picture, 1, 0) + np.roll(picture, 1, 1)) / 3, 0, 1)


class RealFrames:
    """Real frames, described as their names say: NAME_WIDTHxHEIGHT_ORDER_DEPTHin16le.raw."""

    def __init__(self, folder: Optional[str]) -> None:
        self.frames: list[tuple[pathlib.Path, np.ndarray, str, int]] = []
        for path in sorted(pathlib.Path(folder).glob("*in16le.raw")) if folder else []:
            _, size, order, depth = path.stem.rsplit("_", 3)
            width, height = map(int, size.split("x"))
            samples = np.fromfile(path, "<u2").reshape(height, width)
            order = next(name for name, colours in ORDERS.items() if colours.lower() == order)
            self.frames.append((path, samples, order, int(depth.split("in")[0])))

    def picture(self, rng: np.random.Generator, width: int, height: int) -> Optional[np.ndarray]:
        """A region as R, G, B from 0 to 1, a pixel from each 2 x 2, as large as it can be."""
        _, samples, order, depth = self.frames[rng.integers(len(self.frames))]
        y, x = next((y, x) for y in (0, 1) for x in (0, 1) if ORDERS[order][2 * y + x] == "R")
        plane = samples[4:].astype(np.float32) / (2**depth - 1)
        height2, width2 = plane.shape[0] // 2 * 2, plane.shape[1] // 2 * 2
        red, blue = plane[y:height2:2, x:width2:2], plane[1 - y:height2:2, 1 - x:width2:2]
        green = (plane[y:height2:2, 1 - x:width2:2] + plane[1 - y:height2:2, x:width2:2]) / 2
        picture = np.dstack([red, green, blue])[:, :-8]
        height, width = min(height, picture.shape[0]), min(width, picture.shape[1])
        top, left = rng.integers(picture.shape[0] - height + 1), rng.integers(picture.shape[1] - width + 1)
        return picture[top:top + height, left:left + width]

    def mosaic(self, rng: np.random.Generator, width: int, height: int) -> tuple[np.ndarray, str]:
        """A region of the samples from 0 to 1, and its order."""
        _, samples, order, depth = self.frames[rng.integers(len(self.frames))]
        samples = samples[2:, :-8]
        height, width = min(height, samples.shape[0]), min(width, samples.shape[1])
        top, left = rng.integers(samples.shape[0] - height + 1), rng.integers(samples.shape[1] - width + 1)
        cut = samples[top:top + height, left:left + width].astype(np.float32)
        # Finer steps than the frame has are as random as its noise.
        cut = np.clip(cut + rng.uniform(-0.5, 0.5, cut.shape), 0, 2**depth - 1) / (2**depth - 1)
        colours = ORDERS[order]
        turned = "".join(colours[2 * ((y + top) % 2) + (x + left) % 2] for y in (0, 1) for x in (0, 1))
        return cut, next(name for name, text in ORDERS.items() if text == turned)


def sensed(rng: np.random.Generator, light: np.ndarray, depth: int) -> np.ndarray:
    """Light as a sensor counts it: black level, shot noise, noise of reading, a little of it clipped."""
    top = 2**depth - 1
    black = rng.choice([0.0, 1 / 64, 1 / 16])
    electrons = rng.uniform(4000, 20000)
    light = light * (rng.uniform(0.7, 1.1) / max(np.quantile(light, 0.995), 1e-3))
    light = rng.poisson(np.clip(light, 0, 2) * electrons) / electrons
    light = light + rng.normal(0, rng.uniform(1, 8) / electrons, light.shape)
    return np.clip(np.rint((black + light * (1 - black)) * top), 0, top).astype(np.uint16)


def unbalanced(rng: np.random.Generator, light: np.ndarray) -> np.ndarray:
    return light * np.array([rng.uniform(0.4, 0.75), 1, rng.uniform(0.35, 0.7)])


def mosaic_of(light: np.ndarray, order: str) -> np.ndarray:
    colours = ORDERS[order]
    out = np.empty(light.shape[:2], light.dtype)
    for y in (0, 1):
        for x in (0, 1):
            out[y::2, x::2] = light[y::2, x::2, "RGB".index(colours[2 * y + x])]
    return out


def stream(samples: np.ndarray, depth: int) -> bytes:
    bits = (samples.reshape(-1, 1) >> np.arange(depth, dtype=np.uint16)) & 1
    return np.packbits(bits.astype(np.uint8).reshape(-1), bitorder="little").tobytes()


def packed(samples: np.ndarray, depth: int) -> bytes:
    flat = samples.reshape(-1)
    even = flat if flat.size % 2 == 0 else np.append(flat, np.uint16(0))
    low, mask = depth - 8, (1 << (depth - 8)) - 1
    first, second = even[0::2], even[1::2]
    triples = np.stack([first >> low, (first & mask) | (second & mask) << 4, second >> low], 1)
    return triples.astype(np.uint8).tobytes()[:(flat.size * 3 + 1) // 2]


def yuv(light: np.ndarray, rng: np.random.Generator) -> np.ndarray:
    rgb = sensed(rng, np.clip(light, 0, 1) ** 0.45, 8).astype(np.float32)
    y = rgb @ np.array([0.299, 0.587, 0.114], np.float32)
    planes = np.dstack([y, (rgb[..., 2] - y) / 1.772 + 128, (rgb[..., 0] - y) / 1.402 + 128])
    return np.clip(np.rint(planes), 0, 255).astype(np.uint8)


def header_of(rng: np.random.Generator) -> bytes:
    if rng.random() < 0.4:
        return b""
    size = int(rng.choice([16, 32, 64, 80, 128, 256, 512, 1024, 2048, 4096, 0]))
    size = size or int(rng.integers(1, 6000))
    kind = rng.integers(4)
    if kind == 0:
        return bytes(size)
    if kind == 1:
        return rng.integers(0, 256, size, np.uint8).tobytes()
    if kind == 2:
        return (b"Camera = 7\nExposure = 12000 us\nGain = 1.5\n" * (size // 40 + 1))[:size]
    return (rng.integers(0, 5000, size // 4 + 1).astype("<u4").tobytes())[:size]


def padded(rng: np.random.Generator, rows: list[bytes]) -> tuple[bytes, int]:
    """Rows with the same padding behind each, and the bytes from row to row."""
    row = len(rows[0])
    kind = rng.integers(3)
    if kind == 0:
        stride = row + int(rng.integers(1, 65))
    else:
        to = int(rng.choice([4, 8, 16, 32, 64, 256]))
        stride = (row + to - 1) // to * to
    if stride == row:
        return b"".join(rows), 0
    fill = rng.integers(3)
    pieces = []
    for data in rows:
        extra = stride - row
        pieces.append(data + (bytes(extra) if fill == 0 else b"\xff" * extra if fill == 1 else
                              rng.integers(0, 256, extra, np.uint8).tobytes()))
    if fill != 2 and rng.random() < 0.3:
        pieces[-1] = rows[-1]
    return b"".join(pieces), stride


def size_of(rng: np.random.Generator, name: str) -> tuple[int, int]:
    if rng.random() < 0.5:
        width, height = SIZES[rng.integers(len(SIZES))]
    else:
        step = int(rng.choice([1, 2, 2, 4, 8]))
        width, height = int(rng.integers(200, 2100)) // step * step, int(rng.integers(160, 1500)) // step * step
    return (width // 2 * 2 if "422" in name else width), height


def make(rng: np.random.Generator, kivocam: str, real: RealFrames) -> Made:
    weights = np.array([weight for _, _, weight in KINDS], float)
    pattern, depths, _ = KINDS[rng.choice(len(KINDS), p=weights / weights.sum())]
    depth, order = int(rng.choice(depths)), str(rng.choice(list(ORDERS)))
    name = pattern.format(d=depth, o=order)
    width, height = size_of(rng, name)
    source = str(rng.choice(["scene", "things", "real"] if real.frames else ["scene", "things"]))
    if source == "real" and name.startswith("Bayer"):
        samples, order = real.mosaic(rng, width, height)
        name = pattern.format(d=depth, o=order)
        samples = np.clip(np.rint(samples * (2**depth - 1)), 0, 2**depth - 1).astype(np.uint16)
        light = samples[..., None]
    else:
        light = (real.picture(rng, width, height) if source == "real" else
                 scene(kivocam, width, height) if source == "scene" else things(rng, width, height))
        light = light if source == "real" else unbalanced(rng, light)
        if "422" in name:
            light = light[:, :light.shape[1] // 2 * 2]
        if name.startswith("Bayer"):
            samples = sensed(rng, mosaic_of(light, order), depth)
        elif name.startswith("Mono"):
            samples = sensed(rng, light.mean(2), depth)
        elif name.startswith("YUV"):
            samples = yuv(light, rng)
        else:
            samples = sensed(rng, light / light.mean((0, 1)) * light.mean(), depth)
    height, width = light.shape[:2]
    big = depth > 8 and name.endswith(str(depth)) and rng.random() < 0.25
    data, stride = encoded(rng, name, samples, depth, big)
    header = header_of(rng)
    return Made(name, width, height, len(header), stride, big, source, header + data)


def encoded(rng: np.random.Generator, name: str, samples: np.ndarray, depth: int, big: bool) -> tuple[bytes, int]:
    if name.startswith("BGR"):
        samples = samples[..., ::-1]
    if name.endswith("a8"):
        samples = np.dstack([samples, np.full(samples.shape[:2], 255, samples.dtype)])
    if name == "YUV8_UYV":
        samples = samples[..., [1, 0, 2]]
    if "422" in name:
        y, u, v = samples[..., 0], samples[:, 0::2, 1], samples[:, 0::2, 2]
        quads = np.stack([u, y[:, 0::2], v, y[:, 1::2]] if name.endswith("UYVY") else
                         [y[:, 0::2], u, y[:, 1::2], v], 2)
        samples = quads
    pack = stream if name.endswith("p") else packed if name.endswith("Packed") else None
    wants_padding = rng.random() < 0.4
    if pack and not wants_padding:
        return pack(samples, depth), 0
    if pack:
        rows = [pack(row, depth) for row in samples]
    else:
        kind = np.dtype(np.uint8) if depth == 8 else np.dtype(">u2" if big else "<u2")
        rows = [row.astype(kind).tobytes() for row in samples]
    return padded(rng, rows) if wants_padding else (b"".join(rows), 0)
