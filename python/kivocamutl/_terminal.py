# SPDX-License-Identifier: Apache-2.0
"""Lines for a terminal that contain names which others have chosen."""

from __future__ import annotations

import os
from typing import Optional, TextIO

__all__ = ["columns", "one_line", "say"]

# C0, DEL and C1: a terminal obeys them, and a newline would begin a line that nobody wrote.
_CONTROLS = {code: f"\\x{code:02x}" for code in (*range(0x20), *range(0x7F, 0xA0))}


def one_line(text: str, encoding: Optional[str] = None) -> str:
    """`text` with its control characters, and those that the encoding has not, as what Python writes for them."""
    coding = encoding or "utf-8"
    return text.translate(_CONTROLS).encode(coding, "backslashreplace").decode(coding)


def say(text: str, file: TextIO) -> None:
    """Prints one line."""
    print(one_line(text, file.encoding), file=file)


def columns(file: TextIO) -> Optional[int]:
    """How wide the terminal is; None where that is not known."""
    try:
        return os.get_terminal_size(file.fileno()).columns or None
    except (OSError, ValueError):
        return None
