# SPDX-License-Identifier: Apache-2.0
"""What the archive converter shares with the command line tool, and what it does on clusters that are not well."""

from __future__ import annotations

import json
import os
import shutil
import stat
import subprocess
import sys
import textwrap

import numpy as np
import pytest

import kivocamutl as kivo

distributed = pytest.importorskip("distributed")
from kivocamutl import _archive_task, archive  # noqa: E402
from test_archive import ENVIRONMENT, command, make_tree, outputs, report_of, run  # noqa: E402

KIVOCAM = os.environ.get("KIVOCAM") or shutil.which("kivocam")


def small(path, value=7):
    path.parent.mkdir(parents=True, exist_ok=True)
    kivo.write_rwh(path, np.full((2, 2), value, np.uint8), "Mono8")


def test_hidden_files_are_left_out(tmp_path):
    for name in ("seen.rwh", ".hidden.rwh", "._seen.rwh", ".folder/a.rwh", "day/.folder/a.rwh", "day/b.RWH"):
        small(tmp_path / "in" / name)
    (tmp_path / "in" / "link").symlink_to(tmp_path / "in" / "day")
    assert run(tmp_path / "in", tmp_path / "out").returncode == 0
    assert set(outputs(tmp_path / "out")) == {"seen.bmp", "day/b.bmp"}


def test_names_that_begin_with_a_dash(tmp_path):
    small(tmp_path / "-in" / "-day" / "-frame.rwh")
    done = subprocess.run(command("--report=-report.json", "--", "-in", "-out"), env=ENVIRONMENT, cwd=tmp_path,
                          capture_output=True, text=True, timeout=240)
    assert done.returncode == 0, done.stderr
    assert set(outputs(tmp_path / "-out")) == {"-day/-frame.bmp"}
    done = subprocess.run(command("--report", "-", "--quiet", "--", "-in", "-out"), env=ENVIRONMENT, cwd=tmp_path,
                          capture_output=True, text=True, timeout=240)
    assert json.loads(done.stdout)["counts"]["converted"] == 1 and done.stderr == ""
    assert sorted(os.listdir(tmp_path)) == ["-in", "-out", "-report.json"]


def test_what_may_be_replaced(tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    names = [f"{name}.bmp" for name in "abcde"]
    for name in "abcde":
        small(source / f"{name}.rwh")
    target.mkdir()
    for name in names[:4]:
        (target / name).write_bytes(b"precious")
        (target / name).chmod(0o440)
    done = run(source, target)
    assert done.returncode == 5
    for name in names[:4]:
        assert f"archive: {target / name}: is read-only (--force replaces it)\n" in done.stderr
        assert (target / name).read_bytes() == b"precious"
    assert report_of(target)["counts"] == {"converted": 1, "skipped": 0, "failed": 4, "not run": 0}
    assert {row["attempts"] for row in report_of(target)["files"]} == {1}

    (target / "e.bmp").unlink()
    assert run(source, target, "--no-clobber").returncode == 0
    assert report_of(target)["counts"] == {"converted": 1, "skipped": 4, "failed": 0, "not run": 0}
    assert [(target / name).read_bytes() == b"precious" for name in names] == [True] * 4 + [False]

    assert run(source, target, "--force").returncode == 0
    assert all((target / name).stat().st_size == 54 + 16 for name in names)
    assert [stat.S_IMODE((target / name).stat().st_mode) for name in names[:4]] == [0o440] * 4


def test_no_sync_makes_the_same_and_waits_for_no_disk(tmp_path, monkeypatch):
    want = make_tree(tmp_path / "in", 3)
    waits = []
    monkeypatch.setattr(os, "fsync", waits.append)
    assert archive.main([str(tmp_path / "in"), str(tmp_path / "a"), "-q"]) == 0
    assert len(waits) == 3 + 1
    assert archive.main([str(tmp_path / "in"), str(tmp_path / "b"), "-q", "--no-sync"]) == 0
    assert len(waits) == 3 + 1 + 1, "that of the report"
    assert outputs(tmp_path / "a") == outputs(tmp_path / "b") == want


@pytest.mark.skipif(KIVOCAM is None, reason="kivocam is not there")
@pytest.mark.parametrize("change", ["nothing", "rotten", "gone", "empty", "no source", "same output", "hidden only"])
def test_the_tool_ends_in_the_same_way(change, tmp_path):
    """Exit code, what is there, and what is said of every file that is not, in the tool and here."""
    make_tree(tmp_path / "in", 4)
    first = tmp_path / "in" / "day0" / "camera" / "frame0000.rwh"
    if change == "rotten":
        good = first.read_bytes()
        for name, data in {"cut": good[:-1], "long": good + b"x", "empty": b"", "text": b"no raw frame, just text",
                           "row": good[:12] + bytes(4) + good[16:], "future": b"\xee" + good[1:],
                           "flat": good[:8] + bytes(4) + good[12:16]}.items():
            (tmp_path / "in" / f"{name}.rwh").write_bytes(data)
        os.mkfifo(tmp_path / "in" / "pipe.rwh")
    elif change == "gone":
        (tmp_path / "in" / "gone.rwh").symlink_to("nowhere")
    elif change in ("empty", "no source", "hidden only"):
        shutil.rmtree(tmp_path / "in")
        if change != "no source":
            (tmp_path / "in").mkdir()
        if change == "hidden only":
            small(tmp_path / "in" / ".a.rwh")
    elif change == "same output":
        shutil.copy(first, first.with_suffix(".RWH"))
    tool = subprocess.run([KIVOCAM, "convert", "in", "tool/", "--to", "bmp", "--quiet"], cwd=tmp_path,
                          capture_output=True, text=True, timeout=240)
    ours = subprocess.run(command("in", "ours/", "--quiet"), env=ENVIRONMENT, cwd=tmp_path, capture_output=True,
                          text=True, timeout=240)
    assert ours.returncode == tool.returncode, ours.stderr + tool.stderr
    pictures = [outputs(tmp_path / name) if (tmp_path / name).exists() else {} for name in ("tool", "ours")]
    assert pictures[0] == pictures[1]
    if change in ("rotten", "gone"):
        said = [sorted(line.split(": ", 1)[1].split(" (headerless data needs", 1)[0]
                       for line in done.stderr.splitlines()) for done in (tool, ours)]
        assert said[0] == said[1] and len(said[0]) == (8 if change == "rotten" else 1)


def test_outputs_that_nobody_sees_are_none(tmp_path, monkeypatch):
    """A worker says that it has written, and nothing is there, or something else."""
    make_tree(tmp_path / "in", 8)
    for lie in (lambda path, picture, **how: None,
                lambda path, picture, **how: kivo.write_bmp(path, picture[:1], **how)):
        with monkeypatch.context() as patch:
            patch.setattr(_archive_task, "write_bmp", lie)
            assert archive.main([str(tmp_path / "in"), str(tmp_path / "out"), "-q"]) == 3
        counts = report_of(tmp_path / "out")["counts"]
        assert counts["converted"] == counts["skipped"] == 0 and counts["failed"] >= 3
    rows = [row for row in report_of(tmp_path / "out")["files"] if row["status"] == "failed"]
    assert all("here it is not to be seen" in row["error"] for row in rows)
    # What runs while three in a row are given up is not tried again.
    assert [row["attempts"] for row in rows].count(3) >= 3


def two_workers(folder):
    return distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                    dashboard_address="127.0.0.1:0", worker_dashboard_address="127.0.0.1:0",
                                    silence_logs=50, local_directory=str(folder))


def elsewhere(folder, parts):
    """In a worker: as if other file systems were mounted, or none, at the folders of the run."""
    import dataclasses
    import shutil

    from kivocamutl import _archive_task

    real = _archive_task._unseen

    def unseen(options):
        copy = os.path.join(folder, "copy")
        os.makedirs(copy, exist_ok=True)
        if "target" in parts:
            options = dataclasses.replace(options, token=os.path.join(copy, "token"))
        if "stale" in parts:
            token = os.path.join(copy, "stale")
            with open(token, "w") as file:
                file.write("another run")
            options = dataclasses.replace(options, token=token)
        if "source" in parts:
            shutil.rmtree(copy)
            os.mkdir(copy)
            options = dataclasses.replace(options, source=copy)
        return real(options)

    _archive_task._unseen = unseen


@pytest.mark.parametrize("parts, blind", [(["target"], 1), (["source"], 1), (["stale"], 1), (["target"], 2)])
def test_a_worker_that_sees_other_folders(parts, blind, tmp_path):
    source, target = tmp_path / "in", tmp_path / "out"
    want = make_tree(source, 120)
    with two_workers(tmp_path / "scratch") as cluster, distributed.Client(cluster) as client:
        client.run(sys.path.insert, 0, ENVIRONMENT["PYTHONPATH"])
        addresses = sorted(client.run(os.getpid))
        client.run(sys.path.insert, 0, os.path.dirname(__file__))
        client.run(elsewhere, str(tmp_path), parts, workers=addresses[:blind])
        done = run(source, target, "--scheduler", cluster.scheduler_address, "--wait", "4")
    for address in addresses[:blind]:
        assert f"archive: {address}: does not see " in done.stderr
    if blind == 2:
        assert done.returncode == 7 and "for 4 s there was no worker that sees both folders" in done.stderr
        assert outputs(target) == {} and report_of(target)["counts"]["not run"] == 120
    else:
        assert done.returncode == 0, done.stderr
        assert outputs(target) == want and report_of(target)["counts"]["converted"] == 120
        folder = tmp_path / "copy" if parts == ["source"] else target
        assert f"does not see {folder} as this machine does: it gets no files\n" in done.stderr


@pytest.mark.parametrize("where", ["worker", "nanny"])
def test_workers_that_die_when_they_begin(where, tmp_path):
    """Each of them, with SIGKILL: the run says that it waits, and why it ends, and soon."""
    make_tree(tmp_path / "in", 3)
    die = tmp_path / "die.py"
    die.write_text(textwrap.dedent("""
        import multiprocessing, os, signal
        if multiprocessing.parent_process() is not None:
            os.kill(os.getpid(), signal.SIGKILL)
        """ if where == "worker" else "raise RuntimeError('no')"))
    environment = {**ENVIRONMENT, f"DASK_DISTRIBUTED__{where.upper()}__PRELOAD": json.dumps([str(die)])}
    done = subprocess.run(command(tmp_path / "in", tmp_path / "out", "--workers", "2", "--wait", "6"), env=environment,
                          capture_output=True, text=True, timeout=240)
    assert done.returncode == 7, done.stderr
    assert "archive: no worker is there; waiting up to 6 s\n" in done.stderr
    assert "archive: for 6 s there was no worker\n" in done.stderr
    assert report_of(tmp_path / "out")["counts"]["not run"] == 3 and len(os.listdir(tmp_path / "out")) == 1


def test_workers_that_all_go_away(tmp_path):
    """In the middle, and none comes back."""
    make_tree(tmp_path / "in", 40)

    with distributed.LocalCluster(n_workers=0, host="127.0.0.1", dashboard_address="127.0.0.1:0",
                                  silence_logs=50) as cluster:
        worker = subprocess.Popen([sys.executable, "-c", textwrap.dedent("""
            import asyncio, os, sys
            from distributed import Worker
            from kivocamutl import _archive_task
            _archive_task.write_bmp = lambda name, picture, **how: os._exit(1)

            async def work():
                async with Worker(sys.argv[1], nthreads=1, dashboard_address="127.0.0.1:0") as worker:
                    await worker.finished()

            asyncio.run(work())
            """), cluster.scheduler_address], env=ENVIRONMENT, stderr=subprocess.DEVNULL)
        try:
            with distributed.Client(cluster.scheduler_address) as client:
                client.wait_for_workers(1, timeout=120)
            done = run(tmp_path / "in", tmp_path / "out", "--scheduler", cluster.scheduler_address, "--wait", "8")
        finally:
            worker.kill()
            worker.wait()
    assert done.returncode == 7 and "for 8 s there was no worker\n" in done.stderr, done.stderr
