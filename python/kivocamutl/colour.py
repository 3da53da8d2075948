# SPDX-License-Identifier: Apache-2.0
"""Settings that lead from what a sensor counts to what a person wants to see, and settings that a frame suggests."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Literal, Optional, Sequence, Union, get_args

import numpy as np
import numpy.typing as npt

from ._engine import ColourStruct, engine
from ._frames import Frame, FrameLike, as_frame
from ._requests import choice, plan_of, region_of
from .errors import OptionError
from .options import Balance, Tone
from .pixel_formats import FormatLike

__all__ = ["Colour", "auto_colour"]

_TONE, _BALANCE = get_args(Tone), get_args(Balance)
_PERCENT = (0.1, 99.9)
_IDENTITY = (1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0)


def _numbers(label: str, value: object, counts: tuple[int, ...]) -> tuple[float, ...]:
    try:
        array = np.asarray(value)
    except ValueError:  # rows of several lengths
        array = np.empty(0)
    numbers = tuple(float(number) for number in array.reshape(-1)) if array.dtype.kind in "iuf" else ()
    if len(numbers) not in counts:
        raise OptionError(f"{label} has {' or '.join(map(str, counts))} numbers, not {value!r}")
    return numbers


@dataclass(frozen=True)
class Colour:
    """Settings of the colour chain for :func:`kivocamutl.convert`; as they are made they change nothing.

    Each link works on samples at their own depth: the black level is taken away, what is left is multiplied, the
    range is mapped to black and white, the matrix mixes the colours, the tone curve makes of light what screens expect.
    ``dataclasses.replace`` changes some of them.

    :param black: Sample of no light: one number, or four, of red, green of red rows, green of blue rows, blue.
    :param gain: Factors of red, green and blue, 0 to 1024.
    :param matrix: 3 x 3 coefficients between -4 and 4: what of red, green and blue makes red; then green; then blue.
        Rows whose sum is 1 leave grey alone.
    :param low: Black point: becomes 0; in samples above black, times the gain.
    :param high: White point, likewise; 0 is the largest sample of the format.
    :param tone: ``"linear"``, ``"srgb"``, ``"gamma"`` (see `gamma`), or a curve of 256 to 4096 numbers of 16 bits from
        black to white.
    :param gamma: With ``"gamma"``: 0.1 to 10.
    :raises OptionError: a setting has another number of numbers, or is none. Values are checked where they are used.
    """

    black: Union[float, Sequence[float]] = 0.0
    gain: Sequence[float] = (1.0, 1.0, 1.0)
    matrix: Union[Sequence[float], Sequence[Sequence[float]], npt.NDArray[Any]] = _IDENTITY
    low: float = 0.0
    high: float = 0.0
    tone: Union[Tone, Sequence[int], npt.NDArray[Any]] = "linear"
    gamma: float = 1.0

    def __post_init__(self) -> None:
        black = _numbers("black", self.black, (1, 4))
        settings: dict[str, Any] = {name: _numbers(name, getattr(self, name), (1,))[0]
                                    for name in ("low", "high", "gamma")}
        settings["black"] = black * (4 // len(black))
        settings["gain"] = _numbers("gain", self.gain, (3,))
        settings["matrix"] = _numbers("matrix", self.matrix, (9,))
        if isinstance(self.tone, str):
            settings["tone"] = _TONE[choice("tone", self.tone, _TONE)]
        else:
            settings["tone"] = _curve(self.tone)
        for name, value in settings.items():
            object.__setattr__(self, name, value)

    def struct(self) -> ColourStruct:
        """The same as the engine takes it."""
        given = ColourStruct(ctypes.sizeof(ColourStruct))
        given.black[:], given.gain[:], given.matrix[:] = self.black, self.gain, self.matrix
        given.low, given.high, given.gamma = self.low, self.high, self.gamma
        if isinstance(self.tone, str):
            given.tone = _TONE.index(self.tone)
        else:
            given.tone, given.table_size = len(_TONE), len(self.tone)
            given.table = (ctypes.c_uint16 * len(self.tone))(*self.tone)
        return given

    def _suggested(self, given: ColourStruct) -> "Colour":
        """The settings with what the engine has found."""
        return Colour(tuple(given.black), tuple(given.gain), self.matrix, given.low, given.high, self.tone, self.gamma)


def _curve(value: object) -> tuple[int, ...]:
    curve = np.asarray(value)
    if curve.ndim != 1 or curve.dtype.kind not in "iu" or curve.size and not 0 <= curve.min() <= curve.max() < 65536:
        raise OptionError(f"tone is one of {', '.join(map(repr, _TONE))}, or a curve of integers from 0 to 65535")
    return tuple(int(number) for number in curve)


def auto_colour(
    array: FrameLike,
    format: FormatLike,
    *,
    start: Optional[Colour] = None,
    black: bool = True,
    balance: Optional[Balance] = "white-patch",
    percent: Optional[Sequence[float]] = _PERCENT,
    width: Optional[int] = None,
    height: Optional[int] = None,
    stride: Optional[int] = None,
    crop: Optional[Sequence[int]] = None,
) -> Colour:
    """Settings that a frame suggests: for itself, for all of a batch, or to be smoothed from frame to frame.

    Looks at a grid of the frame only, and takes a small part of the time of a conversion. Clipped samples, dead pixels
    and rows of metadata at an edge play no part.

    :param array: The frame, with `format`, `width`, `height`, `stride` and `crop` as for :func:`convert`.
    :param start: Settings that are kept where nothing is to be found; its tone, for one. Without it those that change
        nothing, and the tone ``"srgb"``.
    :param black: Find the black level. A scene without anything black has that above what the sensor says in the dark:
        better ask the camera, give it in `start`, and say False.
    :param balance: What is taken for grey: ``"white-patch"`` (the brightest that is not clipped), ``"grey-world"`` (the
        mean of what is nearly grey) or ``"median"`` (of the ratios of colours). None is right for every scene. None:
        the gains of `start`.
    :param percent: Percentages of the samples for the black and the white point; None: those of `start`.

    :raises UnknownFormatError: the format is not known.
    :raises FrameSizeError: shape, size or length do not fit the format, or the region does not lie within the frame.
    :raises SampleTypeError: a dtype does not fit the format.
    :raises OptionError: YUV, which the camera has balanced; percentages out of order; settings of `start` that make no
        sense.

    Safe to call from several threads at once; the interpreter lock is released while the engine works.
    """
    settings = Colour(tone="srgb") if start is None else start
    kind = None if balance is None else choice("balance", balance, _BALANCE)
    points = None if percent is None else _numbers("percent", percent, (2,))
    frame = as_frame(array, format, width, height, stride)
    return _found(frame, region_of(crop, frame), settings, black, kind, points)


def _found(frame: Frame, region: tuple[int, ...], settings: Colour, black: bool, balance: Optional[int],
           points: Optional[Sequence[float]]) -> Colour:
    plan = plan_of(frame, (0, 0, 0, 0, int(frame.big_endian), 0, 0, 0, 0, *region))
    given = settings.struct()
    if black:
        plan.suggest(engine().kivo_auto_black, frame.memory, given)
    if balance is not None:
        plan.suggest(engine().kivo_auto_balance, frame.memory, given, balance)
    if points is not None:
        plan.suggest(engine().kivo_auto_range, frame.memory, given, *points)
    return settings._suggested(given)


def colour_of(colour: Union[Colour, Literal["auto"], None], frame: Frame, region: tuple[int, ...]) -> Optional[Colour]:
    """The settings for a frame."""
    if colour is None or isinstance(colour, Colour):
        return colour
    choice("colour", colour, ("auto",))
    return None if frame.format.family == "yuv" else _found(frame, region, Colour(tone="srgb"), True, 0, _PERCENT)
