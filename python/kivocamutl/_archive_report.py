# SPDX-License-Identifier: Apache-2.0
"""What a run over an archive tells: its progress, and what became of each file."""

from __future__ import annotations

import collections
import csv
import dataclasses
import io
import json
import sys
import time
from typing import Any, Sequence

from ._archive_task import Outcome
from ._terminal import columns, say
from ._whole_file import atomic_file, write_all

__all__ = ["Progress", "counts", "write_report"]

_COLUMNS = [field.name for field in dataclasses.fields(Outcome) if field.name not in ("final", "output")]


class Progress:
    """One line that is rewritten on a terminal, a line every few seconds elsewhere."""

    def __init__(self, total: int, quiet: bool) -> None:
        self.total, self.quiet = total, quiet
        self.terminal = sys.stderr.isatty()
        self.start = self.shown = time.monotonic()

    def update(self, done: int, failed: int, last: bool = False) -> None:
        now = time.monotonic()
        if self.quiet or (not last and now - self.shown < (0.1 if self.terminal else 5.0)):
            return
        self.shown = now
        rate = done / max(now - self.start, 1e-9)
        left = (self.total - done) / rate if rate else 0.0
        line = f"{done}/{self.total} files, {failed} failed, {rate:.0f}/s"
        line += "" if done == self.total else f", {left:.0f} s left"
        if self.terminal:
            # In the last column it would wrap, and a line that wraps is not rewritten as a whole.
            width = columns(sys.stderr)
            line = f"\r{line if width is None else line[: width - 1]}\033[K"
        print(line, end="" if self.terminal and not last else "\n", file=sys.stderr, flush=True)

    def line(self, text: str) -> None:
        """A line of its own above that of the progress, quiet or not."""
        if self.terminal and not self.quiet:
            print("\r\033[K", end="", file=sys.stderr)
        say(f"archive: {text}", sys.stderr)


def counts(outcomes: Sequence[Outcome]) -> dict[str, int]:
    """How many files there are of each status."""
    tally = collections.Counter(outcome.status for outcome in outcomes)
    return {status: tally.get(status, 0) for status in ("converted", "skipped", "failed", "not run")}


def write_report(path: str, outcomes: Sequence[Outcome], summary: dict[str, Any]) -> None:
    """Writes one row per file: as CSV when the name ends in ``.csv``, else as JSON with the summary. ``-`` is
    standard output."""
    rows = [{name: getattr(outcome, name) for name in _COLUMNS}
            for outcome in sorted(outcomes, key=lambda outcome: outcome.name)]
    text = io.StringIO(newline="")
    if path.lower().endswith(".csv"):
        writer = csv.DictWriter(text, _COLUMNS)
        writer.writeheader()
        writer.writerows(rows)
    else:
        json.dump({**summary, "counts": counts(outcomes), "files": rows}, text, indent=1)
        text.write("\n")
    if path == "-":
        sys.stdout.write(text.getvalue())
        sys.stdout.flush()
        return
    with atomic_file(path) as (_, descriptor):
        write_all(descriptor, text.getvalue().encode("utf-8", "backslashreplace"), path)
