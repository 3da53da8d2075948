#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The table of all formats in docs/formats.md: what libKivoFrame says, and `kivocam formats` with it.

    formats_table.py --check LIBRARY KIVOCAM PAGE     fails unless the page has that table
    formats_table.py --write LIBRARY KIVOCAM PAGE     puts it there
"""

import ctypes
import json
import pathlib
import subprocess
import sys

BEGIN, END = "<!-- table -->\n", "<!-- end of table -->\n"
SYSTEMS = ("opencv", "v4l2", "gstreamer", "ros")
NUMBERS = (
    "code",
    "family",
    "order",
    "depth",
    "group_pixels",
    "group_bytes",
    "packing",
    "plain",
    "plain_depth",
    "plain_bytes",
    "channels",
)


class Format(ctypes.Structure):
    """kivo_format."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        *((name, ctypes.c_uint32) for name in NUMBERS),
        *((name, ctypes.c_char_p) for name in SYSTEMS),
    ]


def formats_of(library):
    handle = ctypes.CDLL(library)
    handle.kivo_format_count.restype = ctypes.c_size_t
    handle.kivo_format_at.argtypes = [ctypes.c_size_t]
    handle.kivo_format_at.restype = ctypes.POINTER(Format)
    for i in range(handle.kivo_format_count()):
        yield handle.kivo_format_at(i).contents


def cells_of(f):
    names = [getattr(f, system) for system in SYSTEMS]
    cells = [f.name.decode(), f"0x{f.code:08X}", str(f.depth), str(f.code >> 16 & 255)]
    return cells + ["" if name is None else f"`{name.decode()}`" for name in names]


def table(library, kivocam):
    tool = json.loads(subprocess.run([kivocam, "formats", "--json"], stdout=subprocess.PIPE, check=True).stdout)
    lines = ["| PFNC name | code | bits | bits a pixel | OpenCV | V4L2 | GStreamer | ROS |", "|---" * 8 + "|"]
    rows = [cells_of(f) for f in formats_of(library)]
    theirs = []
    for f in tool:
        names = ["" if f[system] is None else f"`{f[system]}`" for system in SYSTEMS]
        theirs.append([f["name"], f["code"], str(f["depth"]), str(f["bits_per_pixel"]), *names])
    if rows != theirs:
        sys.exit("kivocam formats and the library differ")
    return "\n".join(lines + ["| " + " | ".join(cells) + " |" for cells in rows]) + "\n"


def main():
    mode, library, kivocam, name = sys.argv[1:]
    page = pathlib.Path(name)
    text = table(library, kivocam)
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
