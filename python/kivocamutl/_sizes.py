# SPDX-License-Identifier: Apache-2.0
"""The one check of widths, heights and lengths that callers pass."""

from __future__ import annotations

import operator
from typing import Any, Optional

import numpy as np

from .errors import FrameSizeError

__all__ = ["size_argument"]

_MAX_SIZE = 0xFFFFFFFF


def size_argument(label: str, value: Any, most: Optional[int] = _MAX_SIZE) -> int:
    """`value` as a number of pixels or bytes; by default one that the library can take."""
    try:
        if isinstance(value, (bool, np.bool_)):  # they are numbers to Python
            raise TypeError
        number = operator.index(value)
    except TypeError:
        raise FrameSizeError(f"{label} is not a whole number: {value!r}") from None
    if number < 0 or (most is not None and number > most):
        raise FrameSizeError(f"{label} is {'negative' if number < 0 else f'greater than {most}'}: {number}")
    return number
