#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The table of all formats in docs/formats.md: what `kivocam formats` says.

    formats_table.py --check KIVOCAM PAGE     fails unless the page has that table
    formats_table.py --write KIVOCAM PAGE     puts it there
"""

import json
import pathlib
import subprocess
import sys

BEGIN, END = "<!-- table -->\n", "<!-- end of table -->\n"


def table(kivocam):
    formats = json.loads(subprocess.run([kivocam, "formats", "--json"], stdout=subprocess.PIPE, check=True).stdout)
    lines = ["| PFNC name | code | bits | bits a pixel | OpenCV | V4L2 | GStreamer |", "|---" * 7 + "|"]
    for f in formats:
        names = [("" if f[system] == "-" else f"`{f[system]}`") for system in ("opencv", "v4l2", "gstreamer")]
        cells = [f["name"], f["code"], str(f["depth"]), str(f["bits_per_pixel"]), *names]
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def main():
    mode, kivocam, name = sys.argv[1:]
    page = pathlib.Path(name)
    text = table(kivocam)
    before, rest = page.read_text(encoding="utf-8").split(BEGIN)
    old, after = rest.split(END)
    if mode == "--write":
        page.write_text(before + BEGIN + "\n" + text + "\n" + END + after, encoding="utf-8")
    elif old.strip() != text.strip():
        print(f"{page.name} has another table; {sys.argv[0]} --write renews it", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
