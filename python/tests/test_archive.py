# SPDX-License-Identifier: Apache-2.0
"""The archive converter: what it makes of a tree, of rotten files, of a second run and of a killed worker."""

from __future__ import annotations

import collections
import csv
import fcntl
import functools
import json
import os
import signal
import struct
import subprocess
import sys
import termios
import textwrap
import time

import numpy as np
import pytest

import kivocamutl as kivo
import numpy_model as model
from conftest import make_frame
from test_any_buffer import stretch_model

distributed = pytest.importorskip("distributed")
from kivocamutl import _archive_task, archive  # noqa: E402

ENVIRONMENT = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(kivo.__file__))}


def command(*arguments):
    return [sys.executable, "-m", "kivocamutl.archive", *map(str, arguments)]


def run(*arguments):
    """Exit code and report of one run in a process of its own."""
    done = subprocess.run(command(*arguments), env=ENVIRONMENT, capture_output=True, text=True, timeout=600)
    return done


def report_of(folder):
    return json.loads((folder / "archive-report.json").read_text())


def bmp(picture):
    """The bytes of a BMP file with these pixels, of 32 or 24 bits each."""
    height, width, channels = picture.shape
    padding = bytes(-width * channels % 4)
    rows = b"".join(row.tobytes() + padding for row in picture[::-1])
    head = struct.pack("<2sIHHI", b"BM", 54 + len(rows), 0, 0, 54)
    return head + struct.pack("<IiiHHIIiiII", 40, width, height, 1, 8 * channels, 0, len(rows), 16000, 16000, 0, 0) + rows


def make_tree(root, count, width=64, height=48, names=("BayerRG8", "Mono12", "YUV8_UYV", "RGB12", "BayerGB12")):
    """Frames in several folders; returns the bytes that each output has to have, by its relative name."""
    want = {}
    for i in range(count):
        format = kivo.find_format(names[i % len(names)])
        frame = make_frame(format, width, height, seed=i)
        folder = root / f"day{i % 3}" / "camera"
        folder.mkdir(parents=True, exist_ok=True)
        kivo.write_rwh(folder / f"frame{i:04}.rwh", frame, format)
        want[f"day{i % 3}/camera/frame{i:04}.bmp"] = bmp(model.convert(frame, format, "BGRA"))
    return want


def outputs(folder):
    """Every file below a folder but the report, by its relative name."""
    return {str(p.relative_to(folder)): p.read_bytes() for p in folder.rglob("*")
            if p.is_file() and p.name != "archive-report.json"}


def test_a_tree_and_then_again(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 25)
    done = run(source, target)
    assert done.returncode == 0, done.stderr
    assert outputs(target) == want
    report = report_of(target)
    assert report["counts"] == {"converted": 25, "skipped": 0, "failed": 0, "not run": 0}
    assert [f["target"] for f in report["files"]] == [str(target / n) for n in sorted(want)]

    # Again: nothing is touched but what is missing or has another size.
    before = {n: (target / n).stat().st_mtime_ns for n in want}
    missing, short, *kept = sorted(want)
    (target / missing).unlink()
    (target / short).write_bytes(want[short][:-1])
    done = run(source, target, "--quiet", "--resume")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert outputs(target) == want
    assert report_of(target)["counts"] == {"converted": 2, "skipped": 23, "failed": 0, "not run": 0}
    assert all((target / n).stat().st_mtime_ns == before[n] for n in kept)

    # Another algorithm has outputs of the same size.
    assert run(source, target, "--bayer", "off", "--resume").returncode == 0
    assert report_of(target)["counts"]["skipped"] == 25
    assert run(source, target, "--bayer", "off").returncode == 0
    assert report_of(target)["counts"]["converted"] == 25
    frame = kivo.read_rwh(source / "day0/camera/frame0000.rwh").array
    assert outputs(target)["day0/camera/frame0000.bmp"] == bmp(model.grey(frame, "BGRA"))


def test_a_frame_that_is_newer_than_its_output(tmp_path):
    """A frame captured anew under its old name; one that was copied with its old date is not told from the first."""
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    old, new = (make_frame(kivo.find_format("Mono8"), 8, 6, seed=seed) for seed in (1, 2))
    for name in ("newer", "same", "older"):
        kivo.write_rwh(source / f"{name}.rwh", old, "Mono8")
    assert run(source, target).returncode == 0
    for name, later in (("newer", 1), ("same", 0), ("older", -1)):
        kivo.write_rwh(source / f"{name}.rwh", new, "Mono8")
        made = (target / f"{name}.bmp").stat().st_mtime_ns
        os.utime(source / f"{name}.rwh", ns=(made, made + later))
    assert run(source, target, "--resume").returncode == 0
    assert report_of(target)["counts"] == {"converted": 1, "skipped": 2, "failed": 0, "not run": 0}
    want = {name: bmp(model.grey(frame, "BGRA")) for name, frame in
            (("newer.bmp", new), ("same.bmp", old), ("older.bmp", old))}
    assert outputs(target) == want
    assert run(source, target).returncode == 0
    assert set(outputs(target).values()) == {want["newer.bmp"]}


def test_rotten_files_do_not_stop_the_others(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 12)
    good = (source / "day0/camera/frame0000.rwh").read_bytes()
    (source / "cut.rwh").write_bytes(good[:-1])
    (source / "empty.RWH").write_bytes(b"")
    (source / "text.rwh").write_bytes(b"this is no raw frame, just text")
    (source / "notes.txt").write_text("not looked at")
    (source / "gone.rwh").symlink_to("nowhere")
    os.mkfifo(source / "pipe.rwh")
    report = tmp_path / "report.csv"
    done = run(source, target, "--report", report, "--workers", "2")
    assert done.returncode == 5
    assert outputs(target) == want
    with open(report, newline="") as file:
        rows = {row["name"]: row for row in csv.DictReader(file)}
    assert len(rows) == 17
    bad = {name: row for name, row in rows.items() if row["status"] != "converted"}
    assert set(bad) == {"cut.rwh", "empty.RWH", "text.rwh", "gone.rwh", "pipe.rwh"}
    for name, row in bad.items():
        assert row["status"] == "failed" and row["error"] and row["attempts"] == "1"
        assert name in done.stderr
    assert f"it holds {len(good) - 1} bytes" in bad["cut.rwh"]["error"]


def test_frames_without_pixels_are_told(tmp_path):
    """Their BMP files would have a header that no program opens; neither are they taken for there."""
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    target.mkdir()
    for width, height in ((0, 0), (0, 5), (7, 0)):
        kivo.write_rwh(source / f"{width}x{height}.rwh", np.empty((height, width), np.uint8), "Mono8")
        kivo.write_bmp(target / f"{width}x{height}.bmp", np.empty((height, width, 3), np.uint8))
    before = outputs(target)
    done = run(source, target)
    assert done.returncode == 5 and report_of(target)["counts"]["failed"] == 3
    for size in ("0 x 0", "0 x 5", "7 x 0"):
        name = source / f"{size.replace(' ', '')}.rwh"
        assert f"archive: {name}: is not a whole RWH file: its header says {size} pixels" in done.stderr
    assert outputs(target) == before


def test_two_files_with_one_output(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    for name in ("frame.RWH", "frame.rwh", "other.rwh"):
        kivo.write_rwh(source / name, np.full((2, 2), 7, np.uint8), "Mono8")
    done = run(source, target)
    assert done.returncode == 1 and "frame.bmp: two inputs would become this one output: " in done.stderr
    assert not target.exists()


def test_an_output_that_is_an_input(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    make_tree(source, 1)
    frame = source / "day0/camera/frame0000.rwh"
    before = frame.read_bytes()
    for make in (lambda path: path.symlink_to(frame), lambda path: path.hardlink_to(frame)):
        link = target / "day0/camera/frame0000.bmp"
        link.parent.mkdir(parents=True, exist_ok=True)
        make(link)
        done = run(source, target)
        assert done.returncode == 1 and "the output is one of the inputs" in done.stderr
        assert frame.read_bytes() == before
        link.unlink()


@pytest.mark.parametrize("name, stride", [("BayerGR12", None), ("BayerGR12", 90), ("BayerGR12Packed", None)])
def test_headerless_files(name, stride, tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    frame = make_frame(kivo.find_format("BayerGR12"), 40, 6)
    if name.endswith("Packed"):
        pairs = frame.reshape(-1, 2)
        data = np.stack([pairs[:, 0] >> 4, pairs[:, 0] & 15 | (pairs[:, 1] & 15) << 4, pairs[:, 1] >> 4], -1)
        data = data.astype(np.uint8).tobytes()
    else:
        data = b"".join(row.tobytes() + bytes((stride or 80) - 80) for row in frame)
    (source / "long.raw").write_bytes(data + b"trailer")
    (source / "short.raw").write_bytes(data[:100])
    (source / "other.bin").write_bytes(data)
    options = ["--format", name, "--size", "40x6"] + (["--stride", stride] if stride else [])
    done = run(source, target, *options, "--extension", "raw", "--extension", ".bin")
    assert done.returncode == 5 and f"short.raw: {name} frame of 40 x 6 in 100 bytes" in done.stderr
    want = bmp(model.standard(frame, "GR", "BGRA", 4))
    assert outputs(target) == {"long.bmp": want, "other.bmp": want}


def test_what_is_done_to_samples(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    frame = make_frame(kivo.find_format("BayerGR12"), 40, 12) // 3 + 9
    # Rows of an odd number of bytes, the high byte of each word first, behind a header of another program's.
    rows = [row.astype(">u2").tobytes() + b"\xee" * 3 for row in frame]
    (source / "frame.raw").write_bytes(b"header!" + b"".join(rows))
    layout = ["--format", "BayerGR12", "--size", "40x12", "--stride", 83, "--offset", 7, "--swap-bytes"]
    cut = np.ascontiguousarray(frame[3:11, 5:21])
    spread = stretch_model(cut)
    done = run(source, target, *layout, "--crop", "16x8+5+3", "--auto-range", "--bayer", "acpi")
    assert done.returncode == 0, done.stderr
    assert outputs(target) == {"frame.bmp": bmp(model.convert(spread, kivo.find_format("BayerGB8"), "BGRA", "acpi"))}
    # Skipped by the size of the region's picture, not of the frame's.
    assert "0 converted, 1 skipped" in run(source, target, *layout, "--crop", "16x8+5+3", "--resume").stderr
    done = run(source, target, *layout, "--shift", "3")
    assert done.returncode == 0, done.stderr
    assert outputs(target) == {"frame.bmp": bmp(model.convert(frame, kivo.find_format("BayerGR12"), "BGRA", shift=3))}

    kivo.write_rwh(source / "bytes.rwh", np.zeros((4, 4), np.uint8), "Mono8")
    done = run(source, target, *layout, "--shift", "3")
    assert done.returncode == 5 and "bytes.rwh: only formats of 16-bit words" in done.stderr


def test_half_size_as_a_person_wants_to_see_it(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    source.mkdir()
    want = {}
    for name in ("BayerRG12", "Mono8", "YUV422_8_UYVY"):
        frame = make_frame(kivo.find_format(name), 70, 50) // 3
        kivo.write_rwh(source / f"{name}.rwh", frame, name)
        want[f"{name}.bmp"] = bmp(kivo.convert(frame, name, bayer="half", crop=(2, 0, 66, 49), colour="auto"))
    arguments = ("--bayer", "half", "--crop", "66x49+2+0", "--auto")
    done = run(source, target, *arguments)
    assert done.returncode == 0, done.stderr
    assert outputs(target) == want and len(want["BayerRG12.bmp"]) == 54 + 4 * 33 * 24
    # Skipped by the size of half a mosaic, and of a whole picture of what is none.
    assert "0 converted, 3 skipped" in run(source, target, *arguments, "--resume").stderr


FEW = ["in", "out", "--format", "Mono8", "--size"]


@pytest.mark.parametrize("arguments, code, text", [
    (["nowhere", "out"], 2, "nowhere: cannot be opened: No such file or directory"),
    (["in/file.rwh", "out"], 2, "file.rwh: is not a folder"),
    (["empty", "out"], 2, "empty: holds no .rwh files"),
    (["in", "in/file.rwh"], 1, "file.rwh: is a file; several pictures need a folder"),
    (["in", "in/file.rwh/out"], 3, "out: cannot be made: Not a directory"),
    (["in"], 1, "DST"), (["in", "out", "--forc"], 1, "--forc"), (["in", "out", "--retries", "-1"], 1, "-1"),
    (["in", "out", "--crop", "8x8+1"], 1, "8x8+1"), (["in", "out", "--crop", "5x0+1+1"], 1, "5x0"),
    (["in", "out", "--crop", "8x8+1+-1"], 1, "8x8+1+-1"), (["in", "out", "--crop", " 8x8"], 1, "' 8x8'"),
    (["in", "out", "--shift", "16"], 1, "'16'"), (["in", "out", "--shift", "+1"], 1, "'+1'"),
    (["in", "out", "--shift", "2", "--auto-range"], 1, "--auto-range"),
    (["in", "out", "--shift", "2", "--auto"], 1, "--auto"),
    (["in", "out", "--force", "--no-clobber"], 1, "--no-clobber"),
    (["in", "out", "--offset", "2"], 1, "--offset"),
    (["in", "out", "--size", "8x8"], 1, "--format"), (["in", "out", "--format", "Mono8"], 1, "--size"),
    (["in", "out", "--format", "Mono9", "--size", "8x8"], 4, "'Mono9' is not a known pixel format"),
    ([*FEW, "8by8"], 1, "8by8"), ([*FEW, "0x5"], 1, "0x5"), ([*FEW, "8x8x8"], 1, "8x8x8"), ([*FEW, "8"], 1, "'8'"),
    ([*FEW, "4294967296x1"], 1, "4294967296x1"), ([*FEW, "1_0x8"], 1, "1_0x8"), ([*FEW, "\u0668x8"], 1, "\u0668x8"),
    ([*FEW, "8x8", "--stride", "0x10"], 1, "0x10"), ([*FEW, "8x8", "--offset", "1e3"], 1, "1e3"),
    ([*FEW, "8x8", "--offset", "9" * 5000], 1, "is not a number of bytes"),
    (["in", "out", "--scheduler", "tcp://127.0.0.1:1", "--wait", "1"], 7, "tcp://127.0.0.1:1"),
])
def test_wrong_command_lines(arguments, code, text, tmp_path):
    (tmp_path / "in").mkdir()
    kivo.write_rwh(tmp_path / "in" / "file.rwh", np.zeros((2, 2), np.uint8), "Mono8")
    (tmp_path / "empty" / ".hidden").mkdir(parents=True)
    for name in (".frame.rwh", ".hidden/frame.rwh"):
        kivo.write_rwh(tmp_path / "empty" / name, np.zeros((2, 2), np.uint8), "Mono8")
    places = [str(tmp_path / a) if a.split("/")[0] in ("in", "out", "nowhere", "empty") else a for a in arguments]
    done = run(*places)
    assert done.returncode == code
    assert text in done.stderr and len(done.stderr.splitlines()) <= 2, done.stderr
    assert code == 7 or not (tmp_path / "out").exists()


def test_trouble_that_passes_is_tried_again(tmp_path, monkeypatch):
    """The first two writes of every file fail as on a full disk, with two retries and then with one."""
    want = make_tree(tmp_path / "in", 6)
    tries = collections.Counter()

    def write(path, picture, **how):
        tries[path] += 1
        if tries[path] <= 2:
            raise kivo.FileWriteError(28, "No space left on device", path)
        kivo.write_bmp(path, picture, **how)

    monkeypatch.setattr(_archive_task, "write_bmp", write)
    assert archive.main([str(tmp_path / "in"), str(tmp_path / "a"), "--quiet", "--retries", "2"]) == 0
    assert outputs(tmp_path / "a") == want
    assert {f["attempts"] for f in report_of(tmp_path / "a")["files"]} == {3}

    assert archive.main([str(tmp_path / "in"), str(tmp_path / "b"), "--quiet", "--retries", "1"]) == 3
    assert outputs(tmp_path / "b") == {}
    failed = [row for row in report_of(tmp_path / "b")["files"] if row["status"] == "failed"]
    assert len(failed) >= 3
    for row in failed:
        assert row["attempts"] == 2 and row["error"] == "cannot be written: No space left on device"


class TooLate(Exception):
    """A run was done before it could be disturbed."""


def until_disturbed(test):
    """On a busy machine a run may be done before it is disturbed in the middle: the test starts over."""

    @functools.wraps(test)
    def repeated(tmp_path, **parameters):
        for attempt in range(5):
            folder = tmp_path / str(attempt)
            folder.mkdir()
            try:
                return test(tmp_path=folder, **parameters)
            except TooLate:
                pass
        raise AssertionError("every run was done before it could be disturbed")

    return repeated


def wait_until(condition, seconds=300):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, "waited too long"
        time.sleep(0.01)


def count_outputs(folder):
    return sum(name.endswith(".bmp") for _, _, names in os.walk(folder) for name in names)


def test_a_worker_that_is_killed(tmp_path):
    """SIGKILL to one of two worker processes in the middle: every output is there, whole, once."""
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 600, 320, 240)
    marker = tmp_path / "marker"

    def hang_in_the_middle(path):
        """In the victim: the tenth picture is never written, and the file at `path` says so."""
        from kivocamutl import _archive_task

        real, written = _archive_task.write_bmp, []

        def write(name, picture, **how):
            if len(written) == 9:
                open(path, "x").close()
                time.sleep(3600)
            real(name, picture, **how)
            written.append(name)

        _archive_task.write_bmp = write

    cluster = distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                       dashboard_address="127.0.0.1:0", worker_dashboard_address="127.0.0.1:0",
                                       silence_logs=50, local_directory=str(tmp_path / "scratch"))
    with cluster, distributed.Client(cluster) as client:
        client.run(sys.path.insert, 0, ENVIRONMENT["PYTHONPATH"])
        address, victim = sorted(client.run(os.getpid).items())[0]
        client.run(hang_in_the_middle, str(marker), workers=[address])
        process = subprocess.Popen(command(source, target, "--scheduler", cluster.scheduler_address, "--quiet"),
                                   env=ENVIRONMENT, stderr=subprocess.PIPE, text=True)
        try:
            wait_until(marker.exists)
            os.kill(victim, signal.SIGKILL)
            at_kill = count_outputs(target)
            _, errors = process.communicate(timeout=600)
        finally:
            process.kill()
            process.wait()
    assert 9 <= at_kill < len(want)
    assert process.returncode == 0, errors
    assert outputs(target) == want
    report = report_of(target)
    assert [f["target"] for f in report["files"]] == [str(target / n) for n in sorted(want)]
    assert {f["status"] for f in report["files"]} <= {"converted", "skipped"}
    workers = collections.Counter(f["worker"].split(":")[1] for f in report["files"])
    assert sum(count for pid, count in workers.items() if pid != str(victim)) >= len(want) - at_kill


def test_a_worker_that_dies_in_the_middle_of_a_write(tmp_path, monkeypatch):
    """What such a worker leaves is no output, and is swept up; leftovers of others who may still work are not."""
    want = make_tree(tmp_path / "in", 3)
    target = tmp_path / "out"
    target.mkdir()
    old, fresh = target / ".a.bmp.12-34.kivo-part", target / ".b.bmp.56-78.kivo-part"
    for path in (old, fresh):
        path.write_bytes(b"half a picture")
    os.utime(old, (0, 0))
    other = open(fresh, "rb")  # another run, which writes this file at the moment
    fcntl.flock(other, fcntl.LOCK_EX)

    def write(path, picture, tag, **how):
        with open(os.path.join(os.path.dirname(path), f".dead.{tag}abc.kivo-part"), "wb") as file:
            file.write(b"half a picture")
        kivo.write_bmp(path, picture, tag=tag, **how)

    monkeypatch.setattr(_archive_task, "write_bmp", write)
    assert archive.main([str(tmp_path / "in"), str(target), "--quiet"]) == 0
    assert fresh.exists()
    os.utime(fresh, (0, 0))
    assert archive.remove_leftovers(str(target), "56-") == 0  # neither its age nor its run matters
    other.close()
    assert archive.remove_leftovers(str(target), "no tag") == 1
    assert outputs(target) == want


INTERRUPTED = textwrap.dedent("""
    import os, sys, time
    from kivocamutl import _archive_task, archive
    number, real, written = int(sys.argv[1]), _archive_task.write_bmp, []
    def write(path, picture, **how):
        real(path, picture, **how)
        written.append(path)
        if len(written) == 10:
            os.kill(os.getpid(), number)
            while not _archive_task.stopped_runs: time.sleep(0.01)
    _archive_task.write_bmp = write
    sys.argv[1:] = sys.argv[2:]
    archive._program()
    """)


@pytest.mark.parametrize("number, quiet", [(signal.SIGINT, "--quiet"), (signal.SIGTERM, "-q"), (signal.SIGHUP, "-q")])
def test_an_interrupted_run_is_continued(number, quiet, tmp_path):
    """The signal comes behind the tenth picture, whatever else the machine does, and the process ends by it."""
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 60)
    arguments = [str(int(number)), source, target, quiet, "--threads", "1"]
    done = subprocess.run([sys.executable, "-c", INTERRUPTED, *arguments], env=ENVIRONMENT, capture_output=True,
                          text=True, timeout=600)
    assert done.returncode == -number, done.stderr
    assert "Traceback" not in done.stderr
    part = outputs(target)
    assert len(part) == 10
    assert all(want[name] == data for name, data in part.items())
    tally = report_of(target)["counts"]
    assert tally["not run"] >= 50 and sum(tally.values()) == len(want)

    assert run(source, target, "--resume").returncode == 0
    assert outputs(target) == want
    assert report_of(target)["counts"]["skipped"] == len(part)


@until_disturbed
def test_a_rotten_archive_killed_and_run_again(tmp_path):
    """SIGKILL to the whole run in the middle, rotten files among the others; then the same command once more."""
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 1000, 160, 120)
    good = (source / "day0/camera/frame0000.rwh").read_bytes()
    rotten = {f"day1/bad{i}.rwh": data for i, data in enumerate(
        (b"", good[:15], good[:16], good[:-1], good + b"x", b"\xff" * len(good)))}
    for name, data in rotten.items():
        (source / name).write_bytes(data)
    process = subprocess.Popen(command(source, target, "--quiet", "--workers", "2"), env=ENVIRONMENT,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        wait_until(lambda: count_outputs(target) >= 100)
    finally:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
    part = {name: data for name, data in outputs(target).items() if name.endswith(".bmp")}
    if len(part) == len(want):
        raise TooLate
    assert len(part) >= 100
    assert all(want[name] == data for name, data in part.items())
    assert not (target / "archive-report.json").exists()
    (target / ".frame.bmp.12-34.kivo-part").write_bytes(b"what a worker leaves that is killed while it writes")
    done = run(source, target, "--resume")
    assert done.returncode == 5, done.stderr
    assert outputs(target) == want
    report = report_of(target)
    assert report["counts"] == {"converted": len(want) - len(part), "skipped": len(part),
                                "failed": len(rotten), "not run": 0}
    assert [f["name"] for f in report["files"] if f["status"] == "failed"] == sorted(rotten)
    assert len({f["name"] for f in report["files"]}) == len(report["files"]) == len(want) + len(rotten)
    assert all(name in done.stderr for name in rotten)


@pytest.mark.parametrize("retries", [0, 2])
def test_a_file_that_ends_its_task(retries, tmp_path, monkeypatch):
    """As one does that takes its worker along: files of the same task are converted, whatever the retries."""
    want = make_tree(tmp_path / "in", 300)
    culprit = "day1/camera/frame0100"
    tries = []
    run_one = _archive_task.run

    def run(job, options):
        if job.name == culprit + ".rwh":
            tries.append(job)
            raise RuntimeError("the worker died")
        return run_one(job, options)

    monkeypatch.setattr(_archive_task, "run", run)
    assert archive.main([str(tmp_path / "in"), str(tmp_path / "out"), "--quiet", "--retries", str(retries)]) == 5
    del want[culprit + ".bmp"]
    assert outputs(tmp_path / "out") == want
    assert len(tries) == 1 + retries + 1, "once with others, then alone"
    failed = [f for f in report_of(tmp_path / "out")["files"] if f["status"] == "failed"]
    assert [f["name"] for f in failed] == [culprit + ".rwh"]
    assert failed[0]["attempts"] == retries + 1


@pytest.mark.parametrize("files, cores, most", [(10, 2, 1), (640, 2, 20), (100000, 2, 128), (100, 0, 6)])
def test_batches(files, cores, most):
    """All files in their order; no more bytes or files to a task than its limits, and work for every core."""
    tool = archive.Archive(None, _archive_task.Options())
    tool._cores = {"worker": cores}
    for size in (0, 300_000, 3 << 20, 100 << 20):
        jobs = [_archive_task.Job(str(i), "", "", bytes=size) for i in range(files)]
        batches = [batch.jobs for batch in tool._batches(jobs)]
        assert [job for batch in batches for job in batch] == jobs
        assert max(map(len, batches)) == max(1, min(most, (8 << 20) // size if size else most))


def on_a_terminal(columns, *arguments):
    """What a run writes to a terminal of this width as its standard error."""
    parent, child = os.openpty()
    fcntl.ioctl(child, termios.TIOCSWINSZ, struct.pack("4H", 24, columns, 0, 0))
    process = subprocess.Popen(command(*arguments), env=ENVIRONMENT, stderr=child, stdout=subprocess.DEVNULL)
    os.close(child)
    shown = b""
    try:
        while True:
            shown += os.read(parent, 4096)
    except OSError:
        pass  # the other side of the terminal is closed
    finally:
        os.close(parent)
    assert process.wait(60) == 0
    return shown.decode()


def test_a_line_of_progress_on_a_terminal(tmp_path):
    make_tree(tmp_path / "in", 40)
    shown = on_a_terminal(200, tmp_path / "in", tmp_path / "out")
    assert shown.split("\r")[-3].startswith("40/40 files, 0 failed, "), shown
    # The same in a pipe: lines, without anything to rewrite them.
    done = run(tmp_path / "in", tmp_path / "out")
    assert done.stderr.splitlines()[-2].startswith("40/40 files, 0 failed, ")
    assert "\r" not in done.stderr and "\033" not in done.stderr


@pytest.mark.parametrize("columns, last", [(12, "40/40 files"), (24, "40/40 files, 0 failed, ")])
def test_a_line_of_progress_does_not_wrap(columns, last, tmp_path):
    make_tree(tmp_path / "in", 40)
    lines = on_a_terminal(columns, tmp_path / "in", tmp_path / "out").replace("\033[K", "").split("\r")
    assert lines[-3] == last and max(map(len, lines[:-2])) < columns


def test_names_give_a_terminal_no_orders(tmp_path):
    source, report = tmp_path / "in", tmp_path / "\x1b[2Jreport.json"
    source.mkdir()
    name = "\x1b[31mred\nfake line\x7f\u009b1m\u00fcml\udcff.rwh"
    (source / name).write_bytes(b"")
    done = run(source, tmp_path / "out", "--report", report)
    assert done.returncode == 5
    shown = "\\x1b[31mred\\x0afake line\\x7f\\x9b1m\u00fcml\\udcff.rwh"
    assert f"archive: {source}/{shown}: the file is shorter" in done.stderr
    assert done.stderr.endswith(f" s; report in {tmp_path}/\\x1b[2Jreport.json\n")
    assert json.loads(report.read_text())["files"][0]["name"] == name


def test_letters_that_the_terminal_has_not(tmp_path):
    make_tree(tmp_path / "in", 1)
    done = subprocess.run(command(tmp_path / "in", tmp_path / "\u00fc\u4e2d"), capture_output=True, text=True,
                          timeout=120, env={**ENVIRONMENT, "PYTHONIOENCODING": "ascii"})
    assert done.returncode == 0, done.stderr
    assert done.stderr.endswith(f" s; report in {tmp_path}/\\xfc\\u4e2d/archive-report.json\n")


def test_a_report_that_cannot_be_written_is_not_named(tmp_path):
    want = make_tree(tmp_path / "in", 2)
    done = run(tmp_path / "in", tmp_path / "out", "--report", tmp_path / "missing" / "report.json")
    assert done.returncode == 3 and "cannot write the report: " in done.stderr
    assert "archive: 2 converted, 0 skipped, 0 failed in " in done.stderr and "report in" not in done.stderr
    assert outputs(tmp_path / "out") == want


def test_an_offset_behind_the_end(tmp_path):
    (tmp_path / "in").mkdir()
    for length in (9, 10, 11):
        (tmp_path / "in" / f"{length}.raw").write_bytes(bytes(length))
    done = run(tmp_path / "in", tmp_path / "out", "--format", "Mono8", "--size", "1x1", "--offset", "10")
    assert done.returncode == 5
    assert "9.raw: the file has 9 bytes, and the frame begins behind 10" in done.stderr
    assert "10.raw: Mono8 frame of 1 x 1 in 0 bytes: the buffer is shorter" in done.stderr
    assert list(outputs(tmp_path / "out")) == ["11.bmp"]


def test_help_has_examples_and_exit_codes():
    done = run("--help")
    assert done.returncode == 0
    examples = [line.split() for line in done.stdout.splitlines()
                if line.startswith("  python3 -m kivocamutl.archive")]
    assert len(examples) >= 4
    for example in examples:
        # Each of them is a command line that is understood.
        archive._parser().parse_args(example[3:])
    assert all(f"\n  {code}" in done.stdout for code in (0, 1, 2, 3, 4, 5, 7, 129))
