# SPDX-License-Identifier: Apache-2.0
"""What a caller asks for, in the numbers of the engine."""

from __future__ import annotations

from typing import Optional, Sequence

from ._engine import EMPTY_IMAGE, Plan, Settings, cached_plan, check
from ._frames import Frame
from ._sizes import size_argument
from .errors import FrameSizeError, OptionError

WHOLE = (0, 0, 0, 0)


def choice(label: str, value: object, words: tuple[str, ...]) -> int:
    """The place of a word among those that may stand here."""
    for place, word in enumerate(words):
        if isinstance(value, str) and value.lower() == word.lower():
            return place
    raise OptionError(f"{label} is one of {', '.join(map(repr, words))}, not {value!r}")


def number(label: str, value: object) -> int:
    try:
        return size_argument(label, value)
    except FrameSizeError as error:
        raise OptionError(str(error)) from None


def region_of(crop: Optional[Sequence[int]], frame: Frame) -> tuple[int, ...]:
    """The region of a frame; without one all of it."""
    if crop is None:
        return WHOLE
    try:
        x, y, width, height = (size_argument("crop", value) for value in crop)
    except (TypeError, ValueError):
        raise OptionError(f"crop is (x, y, width, height) in pixels, not {crop!r}") from None
    if not (width and height):
        check(EMPTY_IMAGE, f"region of {width} x {height} of {frame.width} x {frame.height}")
    return x, y, width, height


def plan_of(frame: Frame, options: tuple[int, ...], colour: Optional[Settings] = None) -> Plan:
    return cached_plan(frame.format.name, frame.format.code, frame.width, frame.height, options, colour)
