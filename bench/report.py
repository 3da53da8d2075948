#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Turns the results of bench_convert, bench_peers and bench_plans into docs/performance.md and a chart.

Usage: report.py --convert FILE... [--streamed FILE...] [--peers FILE] [--plans FILE...] [--read FILE] --out DIRECTORY
                 [--command TEXT]
"""

import argparse
import json
import os
import re
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
    ("plan-colour", "KivoFrame, in colour"),
]


# What the kernels are meant to reach, in fractions of the roofline: a family, the rows of it by a pattern, and the
# aims at 640x480, 1920x1080, the same cold with streaming stores, and 5472x3648. Shown to be possible on a processor
# of another kind; another may be short of some for its memory or its instructions.
AIMS = {
    "Avx512": [
        ("reverse-rows", "flip-[123]byte", (0.65, 0.82, 0.80, 0.92)),
        ("reverse-rows", "flip-6byte", (0.92, 0.89, 0.95, 0.93)),
        ("reverse", "mirror-(1byte|2bytes|yuv422)", (0.65, 0.86, 0.90, 0.95)),
        ("reverse", "mirror-(3bytes|6bytes|yuv411)", (0.75, 0.80, 0.85, 0.85)),
        ("bayer8-bgra", "", (0.59, 0.76, 0.84, 0.90)),
        ("bayer8-bgr", "", (0.52, 0.74, 0.75, 0.88)),
        ("bayer16-bgra", "(10|12)", (0.65, 0.75, 0.78, 0.92)),
        ("bayer16-bgr", "(10|12)", (0.52, 0.68, 0.68, 0.77)),
        ("acpi8-bgra", "", (0.25, 0.31, 0.60, 0.57)),
        ("acpi8-bgr", "", (0.19, 0.26, 0.53, 0.48)),
        ("yuv8-bgra", "411", (0.67, 0.75, 0.94, 0.97)),
        ("yuv8-bgr", "411", (0.52, 0.64, 0.93, 0.95)),
        ("yuv8-bgra", "422", (0.61, 0.68, 0.92, 0.92)),
        ("yuv8-bgr", "422", (0.46, 0.55, 0.80, 0.80)),
        ("rgb16-bgr", "(10|12)", (0.95, 0.93, 0.87, 0.90)),
        ("plan-packed", "Bayer.* to BGRA8", (0.54, 0.55, 0.70, 0.64)),
        ("plan-packed", "Bayer.* to BGR8", (0.39, 0.48, 0.55, 0.55)),
        ("plan-packed", "Mono.* to BGRA8", (0.80, 0.95, 0.88, 0.95)),
        ("plan-colour", "gain$", (0, 0.50, 0, 0.56)),
        ("plan-colour", "sRGB", (0, 0.26, 0, 0.45)),
        ("plan-colour", "matrix", (0, 0.36, 0, 0.55)),
        ("plan-colour", "all links", (0, 0.22, 0, 0.38)),
    ],
    "Avx2": [
        ("bayer8-bgra", "", (0.33, 0.43, 0.65, 0.75)),
        ("bayer8-bgr", "", (0.33, 0.36, 0.62, 0.65)),
        ("bayer16-bgra", "(10|12)", (0.30, 0.32, 0.45, 0.65)),
        ("bayer16-bgr", "(10|12)", (0.25, 0.28, 0.40, 0.50)),
    ],
}
# The aims of a comparison with other libraries at 1920x1080 warm; elsewhere no peer is to be ahead. Nine tenths of the
# roofline are enough.
PEER_AIMS = {"bayer8": 4.0, "bayer16": 4.0, "acpi8": 2.2}

# What a plan is to reach beside another, as a pattern of its row, the target (any if empty), the sizes and the ratio.
PLAN_SIZES = ("640x480", "1920x1080", "5472x3648")
PLAN_AIMS = [
    ("padded", "", PLAN_SIZES, 0.95),
    ("mirrored|flipped|cropped", "", PLAN_SIZES, 0.87),
    ("of the same in words", "Avx2", PLAN_SIZES, 0.74),
    ("BayerRG12 by ACPI", "", PLAN_SIZES, 0.7),
    ("half size", "", PLAN_SIZES, 2.0),
    ("RGB10p|YUV422_8|YCbCr422_8", "", PLAN_SIZES, 0.8),
    ("BayerRG8, two threads", "", ("5472x3648",), 1.5),
    ("BayerRG8 by ACPI, two threads", "", ("5472x3648",), 1.85),
]

# What the first screen is about: the family, and one function of it.
EXAMPLES = [
    ("BayerRG8 to BGRA", "bayer8-bgra", "ConvByrRG8ToBGRA"),
    ("BayerRG8 to BGR", "bayer8-bgr", "ConvByrRG8ToBGR"),
    ("BayerRG12 to BGRA", "bayer16-bgra", "ConvByrRG12ToBGRA"),
    ("BayerRG12p to BGRA", "plan-packed", "kivo_run BayerRG12p to BGRA8"),
    ("BayerRG8 to BGRA, adaptive", "acpi8-bgra", "ConvByrRG8ToBGRAACPI"),
    ("BayerRG12 to BGRA, adaptive", "plan", "kivo_run BayerRG12 to BGRA8, ACPI"),
    ("Mono8 to BGRA", "mono8-bgra", "ConvMono8ToBGRA"),
    ("YUV422 to BGRA", "yuv8-bgra", "ConvYUV422PToBGRA"),
    ("RGB8 to BGRA", "rgb8-bgra", "ConvRGB8PToBGRA"),
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
    """Nanoseconds per pixel of the largest frames against the next size, ours and the roofline's."""
    small, large = ("5472x3648", "warm"), ("10240x7680", "warm")
    rows = []
    for family, title in FAMILIES:
        pairs = []
        for key, row in results.family(family).items():
            other = results.rows.get(key[:2] + large)
            if key[2:] == small and other:
                pairs.append((row, other))
        if pairs:
            ours = [b["ns_per_px"] / a["ns_per_px"] for a, b in pairs]
            limit = [b["ns_per_px"] * b["fraction"] / (a["ns_per_px"] * a["fraction"]) for a, b in pairs]
            rows.append([title, f"{statistics.median(a['ns_per_px'] for a, _ in pairs):.3f}",
                         f"{statistics.median(b['ns_per_px'] for _, b in pairs):.3f}", span(ours), span(limit)])
    if not rows:
        return ""
    return ("Nanoseconds per pixel, median of each family; by how much they grow, as the range over its functions, and"
            " by how much the roofline does.\n\n"
            + table(["family", "5472x3648", "10240x7680", "growth", "roofline's growth"], rows))


def expectations(results, peers):
    """Frames per second of one core."""
    warm, large = ("2592x1944", "warm"), ("5472x3648", "cold")
    rows = []
    for title, family, name in EXAMPLES:
        row = results.rows.get((family, name) + warm)
        if not row:
            continue
        cold = results.rows.get((family, name) + large)
        peer = peers.rows.get((family, name) + warm) if peers else None
        rows.append([title, f"{row['Mpx_per_s'] * 1e6 / (2592 * 1944):.0f}", f"{row['fraction']:.2f}",
                     f"{cold['Mpx_per_s'] * 1e6 / (5472 * 3648):.0f}" if cold else "",
                     f"{peer['ratio']:.1f}" if peer else ""])
    if not rows:
        return ""
    return ("## What to expect\n\n"
            "Frames per second that one core converts, of a camera of 5 megapixels (2592x1944, one pair of buffers) and"
            " of one of 20 (5472x3648, buffers that are not in the cache); the fraction of what memory allows at 5"
            " megapixels; and how many times as fast as the best other library.\n\n"
            + table(["", "5 Mpx, frames/s", "of the roofline", "20 Mpx cold, frames/s", "best other library"], rows))


def below_aims(all_results, streamed, peers, plans):
    """What is short of its aim: rows that differ in the order of a mosaic alone count as one, by the worst."""
    short, checked = {}, set()

    def check(name, target, title, measured, aim):
        key = (re.sub("(Byr)(GR|RG|GB|BG)", r"\1__", name), target, title, aim)
        checked.add(key)
        if measured < aim:
            short[key] = min(measured, short.get(key, aim))

    for results in all_results:
        cold = streamed.get(results.target)
        for family, pattern, aims in AIMS.get(results.target, []):
            names = {key[1] for key in results.family(family)}
            if names and not any(re.search(pattern, name) for name in names):
                sys.exit(f"report.py: no function of {family} matches {pattern}")
            conditions = [(results, ("640x480", "warm")), (results, ("1920x1080", "warm")),
                          (cold, ("1920x1080", "cold")), (results, ("5472x3648", "warm"))]
            for (source, condition), aim in zip(conditions, aims):
                title = condition_title(condition) + (", streaming" if source is cold else "")
                for key, row in source.family(family).items() if source else []:
                    if key[2:] == condition and re.search(pattern, key[1]):
                        check(key[1], results.target, title, row["fraction"], aim)
    for key, row in peers.rows.items() if peers else []:
        source = key[0].rsplit("-", 1)[0]
        aim = PEER_AIMS.get(source, 1.0) if key[2:] == ("1920x1080", "warm") else 1.0
        enough = row["Mpx_per_s"] >= 0.9 * row["limit_Mpx_per_s"]
        check(key[1], peers.target, condition_title(key[2:]) + ", best peer", aim if enough else row["ratio"], aim)
    for results in plans:
        for pattern, target, sizes, aim in PLAN_AIMS:
            for key, row in results.family("pairs").items():
                if (target in ("", results.target) and key[2] in sizes and key[3] == "warm"
                        and re.search(pattern, key[1])):
                    check(key[1], results.target, key[2], row["times"], aim)
    if not short:
        return f"None of {len(checked)} rows is below its aim.\n"
    rows = [[key[0], key[1], key[2], f"{measured:.2f}", f"{key[3]:.2f}"] for key, measured in short.items()]
    return (f"{len(short)} of {len(checked)} rows are below what they are meant to reach, in fractions of the roofline,"
            " times a peer's speed or times another plan's. The aims were shown to be possible on a processor of another"
            " kind.\n\n"
            + folded("Which", table(["function", "target", "frame", "measured", "aim"], rows)))


def folded(title, text):
    return f"<details>\n<summary>{title}</summary>\n\n{text}\n</details>\n" if text else ""


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


def plan_table(results):
    """How many times as fast each plan is as the one that it is compared with."""
    conditions = list(dict.fromkeys(key[2:] for key in results.rows))
    rows = []
    for name in dict.fromkeys(key[1] for key in results.family("pairs")):
        found = [results.rows.get(("pairs", name) + condition) for condition in conditions]
        rows.append([name] + [f"{row['times']:.2f}" if row else "" for row in found])
    return table(["plan"] + [condition_title(c) for c in conditions], rows)


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
    """Horizontal bars: ours, the best peer and the roofline, median of each family."""
    panels = [c for c in [("1920x1080", "warm")] if c in results.conditions()] or results.conditions()[:1]
    others = ("reverse", "reverse-rows", "unpack", "convert")
    families = [(f, t) for f, t in FAMILIES if f not in others and results.family(f)]
    series = [("Mpx_per_s", "this library", "#2a6f97"), ("peer_Mpx_per_s", "best peer", "#e09f3e"),
              ("limit_Mpx_per_s", "roofline", "#c9c9c9")]
    bar, gap, label_width, panel_width, top = 8, 10, 190, 560, 60
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
    peers = Results(arguments.peers) if arguments.peers else None
    plans = [Results(path) for path in arguments.plans]
    streamed = {results.target: results for results in map(Results, arguments.streamed)}
    parts = [
        "# Performance\n\n"
        "Generated by `bench/report.py`; do not edit. "
        f"Measured on {context['date'][:10]} with version {context['version']}, by `{arguments.command}`, with "
        f"{context['compiler']}. Processor: {context['processor']} ({first.target}; {cache_text(context)}).\n",
        expectations(first, peers)]
    if peers:
        parts.append("![Megapixels per second of this library, the best peer and the roofline](performance.svg)\n")
    parts.append("## Below the aims\n\n" + below_aims(convert, streamed, peers, plans))
    parts.append(
        "## How it was measured\n\n"
        "Everything runs in one thread on one processor, timed by that thread's processor time. Megapixels "
        "per second are the median of batches; the things compared with each other take turns, batch by "
        "batch, in the same run, and a ratio is the median of the rounds' own ratios, since the load of a "
        "machine drifts. The roofline is a loop that only reads the source bytes and writes the destination "
        f"bytes of a conversion in step, with {context['roofline_access_bytes']}-byte accesses, the better of"
        " ordinary and streaming stores; the fraction of it stands in parentheses. Copy and flip are held against"
        " `memcpy` of the frame instead. Warm calls reuse one pair of buffers; cold ones rotate through"
        f" {rotate} MiB, as with frames that a camera has just delivered. Frames show a scene with shading, edges"
        " and a little noise. The machine "
        "may have been shared: compare figures within a table, not between runs.\n")
    parts.append("## Tables\n")
    for results in convert:
        parts.append(folded(f"{results.target}: families",
                            "Median of the family's functions in Mpx/s, and the range of their fractions.\n\n"
                            + family_summary(results)))
    parts.append(folded("Growth with the frame", growth(first)))
    if peers:
        parts.append(folded("Against other libraries",
                            f"Ours / best peer = ratio, in Mpx/s, one thread each ({peers.target}). A peer that rounds,"
                            " clamps or demosaics differently does other arithmetic than ours; the second table says"
                            " so.\n\n" + peer_tables(peers)))
    for results in plans:
        parts.append(folded(f"{results.target}: plans against plans",
                            "How many times as fast a plan is as the one that it is compared with, in turns in the same"
                            " run: the plain conversion of the same format to BGRA8 where nothing else is said. Two"
                            " threads are timed by the time that passes.\n\n" + plan_table(results)))
    if arguments.read:
        stores = store_table(Results(arguments.read)) + "\n" + STREAMING_RULE
        parts.append(folded("Ordinary and streaming stores",
                            "The conversion alone, and followed by one pass that reads the result, in Mpx/s. A gain"
                            " above 1 speaks for streaming.\n\n" + stores))
    prepare = [row for key, row in first.rows.items() if key[1] == "PrepareLUT"]
    if prepare:
        parts.append(folded("Lookup tables", "`PrepareLUT`: " + prepare[0]["label"] + ".\n"))
    if first.family("files"):
        parts.append(folded("Files",
                            "In a file system in memory. Saving and loading raw frames is held against one `write` or"
                            " `read` of the same bytes, the image writers against a standard stream that writes row by"
                            " row.\n\n" + file_table(first)))
    for results in convert:
        parts.append(folded(f"{results.target}: every function", "Mpx/s (fraction).\n\n" + function_tables(results)))

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
    parser.add_argument("--plans", nargs="*", default=[], help="results of bench_plans, one per target")
    parser.add_argument("--streamed", nargs="*", default=[], help="results of bench_convert --stores=streaming")
    parser.add_argument("--read", help="results of bench_convert --with-read")
    parser.add_argument("--out", required=True, help="directory to write in")
    parser.add_argument("--command", default="bench/run.sh", help="what repeats the measurement")
    report(parser.parse_args())
    return 0


if __name__ == "__main__":
    sys.exit(main())
