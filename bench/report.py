#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Turns the results of bench_convert and bench_peers into docs/performance.md and a chart.

Usage: report.py --convert FILE... [--peers FILE] [--read FILE] --out DIRECTORY [--command TEXT]
"""

import argparse
import json
import os
import statistics
import sys

# How src/simd/targets.cpp came by its threshold; the tables show the ends of the range only.
STREAMING_RULE = """\
The library streams where what a conversion reads and writes is together more than 59 % of the last-level cache, of
which it counts no more than 32 MiB: one core keeps little of a larger one, which many share. Found on a processor with
32 MiB by timing 19 conversions and reversals with both kinds of stores on one reused pair of buffers of 6 to 100 MB,
with AVX-512 and AVX2, in several short interleaved runs on a shared machine: at 6 MB streaming costs up to 40 %; flips,
mirrors and demosaics gain from 13 to 17 MB on, most others from 18 to 21 MB. 4:2:2 to BGRA is the exception: streaming
ran at 0.75 to 1.03 of ordinary stores in single runs with AVX2 and SSE4.1.
"""

FAMILIES = [
    ("mono8-bgra", "Mono8 to BGRA"),
    ("mono8-bgr", "Mono8 to BGR"),
    ("rgb8-bgra", "RGB8, BGR8 to BGRA"),
    ("rgb8-bgr", "RGB8, BGR8 to BGR"),
    ("mono16-bgra", "Mono 10/12/16 to BGRA"),
    ("mono16-bgr", "Mono 10/12/16 to BGR"),
    ("rgb16-bgra", "RGB, BGR 10/12 to BGRA"),
    ("rgb16-bgr", "RGB, BGR 10/12 to BGR"),
    ("yuv8-bgra", "YUV to BGRA"),
    ("yuv8-bgr", "YUV to BGR"),
    ("bayer8-bgra", "Bayer 8 to BGRA"),
    ("bayer8-bgr", "Bayer 8 to BGR"),
    ("bayer16-bgra", "Bayer 10/12 to BGRA"),
    ("bayer16-bgr", "Bayer 10/12 to BGR"),
    ("acpi8-bgra", "ACPI to BGRA"),
    ("acpi8-bgr", "ACPI to BGR"),
    ("reverse", "ReverseImg, mirror and half turn"),
    ("reverse-rows", "ReverseImg, copy and flip"),
    ("unpack", "C++ layer, unpacking"),
    ("convert", "C++ layer, packed to BGRA"),
    ("plan", "KivoFrame, plain samples"),
    ("plan-packed", "KivoFrame, samples that share bytes"),
]


class Results:
    """One JSON file: its context, and its rows by (family, name, size, condition)."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            data = json.load(file)
        self.context = data["context"]
        self.target = self.context.get("target", "?")
        self.rows = {}
        for row in data["benchmarks"]:
            if row.get("error_occurred"):
                continue
            parts = row["name"].split("/iterations:")[0].split("/")
            parts += [""] * (4 - len(parts))
            self.rows[tuple(parts[:4])] = row

    def family(self, family):
        return {key: row for key, row in self.rows.items() if key[0] == family}

    def conditions(self):
        """(size, condition) pairs in the order in which they were run, frames only."""
        seen = []
        for key in self.rows:
            if key[2:] not in seen and "Mpx_per_s" in self.rows[key]:
                seen.append(key[2:])
        return seen


def condition_title(condition):
    return condition[0] + (" cold" if condition[1] == "cold" else "")


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def span(values):
    low, high = min(values), max(values)
    return f"{low:.2f}" if f"{low:.2f}" == f"{high:.2f}" else f"{low:.2f} to {high:.2f}"


def family_summary(results):
    """Median speed and range of fractions per family and condition."""
    conditions = results.conditions()
    rows = []
    for family, title in FAMILIES:
        cells = [title]
        for condition in conditions:
            found = [row for key, row in results.family(family).items() if key[2:] == condition]
            if found:
                speed = statistics.median(row["Mpx_per_s"] for row in found)
                cells.append(f"{speed:.0f} ({span([row['fraction'] for row in found])})")
            else:
                cells.append("")
        if any(cells[1:]):
            rows.append(cells)
    return table(["family"] + [condition_title(c) for c in conditions], rows)


def function_tables(results):
    conditions = results.conditions()
    parts = []
    for family, title in FAMILIES:
        names = list(dict.fromkeys(key[1] for key in results.family(family)))
        if not names:
            continue
        rows = []
        for name in names:
            cells = [name]
            for condition in conditions:
                row = results.rows.get((family, name) + condition)
                cells.append(f"{row['Mpx_per_s']:.0f} ({row['fraction']:.2f})" if row else "")
            rows.append(cells)
        parts.append(f"### {title}\n\n" + table(["function"] + [condition_title(c) for c in conditions], rows))
    return "\n".join(parts)


def growth(results):
    """Nanoseconds per pixel of the largest frames against the next size."""
    small, large = ("5472x3648", "warm"), ("10240x7680", "warm")
    rows = []
    for family, title in FAMILIES:
        pairs = []
        for key, row in results.family(family).items():
            other = results.rows.get(key[:2] + large)
            if key[2:] == small and other:
                pairs.append((row["ns_per_px"], other["ns_per_px"]))
        if pairs:
            ratios = [b / a for a, b in pairs]
            rows.append([title, f"{statistics.median(a for a, _ in pairs):.3f}",
                         f"{statistics.median(b for _, b in pairs):.3f}", span(ratios)])
    if not rows:
        return ""
    return ("## Growth with the frame\n\nNanoseconds per pixel, median of each family, and the range of the ratio"
            " over its functions.\n\n" + table(["family", "5472x3648", "10240x7680", "ratio"], rows))


def peer_tables(results):
    conditions = results.conditions()
    rows = []
    for family, _ in FAMILIES:
        for name in dict.fromkeys(key[1] for key in results.family(family)):
            cells = [name]
            for condition in conditions:
                row = results.rows.get((family, name) + condition)
                if not row:
                    cells.append("")
                    continue
                cells.append(f"{row['Mpx_per_s']:.0f} / {row['peer_Mpx_per_s']:.0f} = **{row['ratio']:.2f}**")
            rows.append(cells)
    text = table(["function"] + [condition_title(c) for c in conditions], rows)

    details = []
    chosen = ("1920x1080", "warm") if ("1920x1080", "warm") in conditions else conditions[0]
    for family, _ in FAMILIES:
        for key, row in results.family(family).items():
            if key[2:] == chosen:
                details.append([key[1], row.get("label", "")])
    text += (f"\nWho was measured, in Mpx/s at {condition_title(chosen)}, and how the picture differs from ours"
             " on the benchmark's scene, borders included:\n\n")
    return text + table(["function", "peers"], details)


def store_table(results):
    rows = []
    for key, row in results.rows.items():
        rows.append([key[1], condition_title(key[2:]), f"{row['ordinary']:.0f}", f"{row['streaming']:.0f}",
                     f"{row['gain']:.2f}", f"{row['ordinary_read']:.0f}", f"{row['streaming_read']:.0f}",
                     f"{row['gain_read']:.2f}"])
    return table(["function", "frame", "ordinary", "streaming", "gain", "ordinary, read", "streaming, read", "gain"],
                 rows)


def file_table(results):
    rows = []
    for key, row in results.family("files").items():
        rows.append([key[1], key[2], f"{row['MB_per_s']:.0f}", f"{row['limit_MB_per_s']:.0f}", f"{row['fraction']:.2f}",
                     row.get("label", "").replace("against ", ""),
                     f"{row['write_MB_per_s']:.0f}" if "write_MB_per_s" in row else ""])
    return table(["function", "frame", "MB/s", "compared", "fraction", "with", "one plain write"], rows)


def cache_text(context):
    names = []
    for cache in context.get("caches", []):
        if cache.get("type") != "Instruction":
            size = cache["size"] // 1024
            names.append(f"L{cache['level']} {size // 1024} MiB" if size >= 1024 else f"L{cache['level']} {size} KiB")
    return ", ".join(names)


def chart(results):
    """Two panels of horizontal bars: ours, the best peer and the roofline, median of each family."""
    panels = [c for c in [("1920x1080", "warm"), ("5472x3648", "warm")] if c in results.conditions()]
    panels = panels or results.conditions()[:1]
    others = ("reverse", "reverse-rows", "unpack", "convert")
    families = [(f, t) for f, t in FAMILIES if f not in others and results.family(f)]
    series = [("Mpx_per_s", "this library", "#2a6f97"), ("peer_Mpx_per_s", "best peer", "#e09f3e"),
              ("limit_Mpx_per_s", "roofline", "#c9c9c9")]
    bar, gap, label_width, panel_width, top = 8, 10, 190, 330, 60
    row_height = bar * len(series) + gap
    width = label_width + len(panels) * (panel_width + 60) + 10
    height = top + row_height * len(families) + 20
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           f'viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="#ffffff"/>']
    for i, (_, name, colour) in enumerate(series):
        x = label_width + i * 130
        out.append(f'<rect x="{x}" y="10" width="12" height="12" fill="{colour}"/>'
                   f'<text x="{x + 18}" y="20">{name}</text>')
    for p, condition in enumerate(panels):
        left = label_width + p * (panel_width + 60)
        medians = {}
        for family, _ in families:
            found = [row for key, row in results.family(family).items() if key[2:] == condition]
            if found:
                medians[family] = [statistics.median(row[s[0]] for row in found) for s in series]
        largest = max(max(values) for values in medians.values())
        out.append(f'<text x="{left}" y="{top - 14}" font-weight="bold">{condition_title(condition)},'
                   ' megapixels per second</text>')
        for r, (family, title) in enumerate(families):
            y = top + r * row_height
            if p == 0:
                out.append(f'<text x="{label_width - 8}" y="{y + 1.5 * bar + 4}" text-anchor="end">{title}</text>')
            for s, value in enumerate(medians.get(family, [])):
                length = value / largest * panel_width
                y_bar = y + s * bar
                out.append(f'<rect x="{left}" y="{y_bar}" width="{length:.1f}" height="{bar - 1}" '
                           f'fill="{series[s][2]}"/>'
                           f'<text x="{left + length + 4:.1f}" y="{y_bar + bar - 1}" font-size="8">{value:.0f}</text>')
    out.append("</svg>\n")
    return "\n".join(out)


def report(arguments):
    convert = [Results(path) for path in arguments.convert]
    first = convert[0]
    context = first.context
    rotate = int(context["rotate_bytes"]) >> 20
    parts = [
        "# Performance\n\n"
        "Generated by `bench/report.py`; do not edit. "
        f"Measured on {context['date'][:10]} with version {context['version']}.\n\n"
        f"- Processor: {context['processor']}, {context['num_cpus']} seen by the system; {cache_text(context)}\n"
        f"- Compiler: {context['compiler']}, Release\n"
        f"- Repeat: `{arguments.command}`\n\n"
        "Everything runs in one thread on one processor, timed by that thread's processor time. Megapixels "
        "per second are the median of batches; the things compared with each other take turns, batch by "
        "batch, in the same run, and a ratio is the median of the rounds' own ratios, since the load of a "
        "machine drifts. The roofline is a loop that only reads the source bytes and writes the destination "
        f"bytes of a conversion in step, with {context['roofline_access_bytes']}-byte accesses, the better of"
        " ordinary and streaming stores; the fraction of it stands in parentheses. Copy and flip are held against"
        " `memcpy` of the frame instead. Warm calls reuse one pair of buffers; cold ones rotate through"
        f" {rotate} MiB, as with frames that a camera has just delivered. Frames show a scene with shading, edges"
        " and a little noise. The machine "
        "may have been shared: compare figures within a table, not between runs.\n"]
    if arguments.peers:
        parts.append("![Megapixels per second of this library, the best peer and the roofline](performance.svg)\n")
    for results in convert:
        parts.append(f"## {results.target}: families\n\nMedian of the family's functions in Mpx/s, and the range of"
                     " their fractions.\n\n" + family_summary(results))
    parts.append(growth(first))
    if arguments.peers:
        peers = Results(arguments.peers)
        parts.append("## Against other libraries\n\nOurs / best peer = ratio, in Mpx/s, one thread each"
                     f" ({peers.target}). A peer that rounds, clamps or demosaics differently does other arithmetic"
                     " than ours; the second table says so.\n\n" + peer_tables(peers))
    if arguments.read:
        parts.append("## Ordinary and streaming stores\n\nThe conversion alone, and followed by one pass that reads the"
                     " result, in Mpx/s. A gain above 1 speaks for streaming.\n\n"
                     + store_table(Results(arguments.read)) + "\n" + STREAMING_RULE)
    prepare = [row for key, row in first.rows.items() if key[1] == "PrepareLUT"]
    if prepare:
        parts.append("## Tables\n\n`PrepareLUT`: " + prepare[0]["label"] + ".\n")
    if first.family("files"):
        parts.append("## Files\n\nIn a file system in memory. Saving and loading raw frames is held against one"
                     " `write` or `read` of the same bytes, the image writers against a standard stream that writes"
                     " row by row.\n\n" + file_table(first))
    for results in convert:
        parts.append(f"## {results.target}: every function\n\nMpx/s (fraction).\n\n" + function_tables(results))

    os.makedirs(arguments.out, exist_ok=True)
    with open(os.path.join(arguments.out, "performance.md"), "w", encoding="utf-8") as file:
        file.write("\n".join(part for part in parts if part))
    if arguments.peers:
        with open(os.path.join(arguments.out, "performance.svg"), "w", encoding="utf-8") as file:
            file.write(chart(peers))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--convert", nargs="+", required=True, help="results of bench_convert, one per target")
    parser.add_argument("--peers", help="results of bench_peers")
    parser.add_argument("--read", help="results of bench_convert --with-read")
    parser.add_argument("--out", required=True, help="directory to write in")
    parser.add_argument("--command", default="bench/run.sh", help="what repeats the measurement")
    report(parser.parse_args())
    return 0


if __name__ == "__main__":
    sys.exit(main())
