# SPDX-License-Identifier: Apache-2.0
"""The values of options that are words, as types, so that a type checker knows a misspelt one."""

from __future__ import annotations

from typing import Literal

__all__ = ["Balance", "Bayer", "Levels", "Output", "Tone"]

# Each in the order of its enumeration in KivoFrame.h: the place of a word is its value.

Bayer = Literal["standard", "acpi", "best", "off", "half"]
"""How the colours of a Bayer frame are made: :func:`kivocamutl.convert` says what each does."""

Balance = Literal["white-patch", "grey-world", "median"]
"""What :func:`kivocamutl.auto_colour` takes for grey."""

Output = Literal["BGRA", "BGR", "RGBA", "RGB", "GRAY", "BGRA16", "BGR16", "RGBA16", "RGB16", "GRAY16"]
"""The channels of a picture, in their order, and 16 where each has 16 bits."""

Levels = Literal["own", "spread"]
"""What the values of a picture of 16 bits are."""

Tone = Literal["linear", "srgb", "gamma"]
"""The last link of the colour chain, :class:`kivocamutl.Colour`."""
