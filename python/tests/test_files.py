# SPDX-License-Identifier: Apache-2.0
"""RWH and BMP files, byte by byte, and what a write that fails leaves behind."""

from __future__ import annotations

import ctypes
import errno
import fcntl
import os
import pickle
import signal
import stat
import struct
import subprocess
import sys
import textwrap
import time

import numpy as np
import pytest

import kivocamutl as kivo
from conftest import make_frame
from kivocamutl import _library, _whole_file, files
from test_unpack import stored

FORMATS = [f for f in kivo.formats() if f.packing == "plain"]


@pytest.mark.parametrize("format", [f for f in kivo.formats() if f not in FORMATS], ids=lambda f: f.name)
def test_rwh_of_other_samples(format, tmp_path):
    """Written as they are, padded rows or not, and read as plain samples; a row of the file has all of its planes."""
    want, data = stored(format, 16, 5)
    path, row = tmp_path / "frame.rwh", len(data) // 5
    if format.packing == "planar":
        kivo.write_rwh(path, data, format, width=16, height=5)
        assert path.read_bytes() == np.array([format.code, 16, 5, row], "<u4").tobytes() + data
        np.testing.assert_array_equal(kivo.read_rwh(path).array, want)
        path.write_bytes(np.array([format.code, 16, 5, row // 3], "<u4").tobytes() + data[: len(data) // 3])
        with pytest.raises(kivo.RwhError, match="too few for 16 pixels"):
            kivo.read_rwh(path)
        return
    rows = np.full((5, row + 3), 0xA5, np.uint8)
    rows[:, :row] = np.frombuffer(data, np.uint8).reshape(5, -1)
    for frame, how in ((data, {"height": 5}), (rows.tobytes(), {"height": 5, "stride": row + 3}),
                       (rows, {}) if format.shares_bytes else (data + b"more", {"height": 5})):
        kivo.write_rwh(path, frame, format, width=16, **how)
        assert path.read_bytes() == np.array([format.code, 16, 5, row], "<u4").tobytes() + data
        array, name = kivo.read_rwh(path)
        assert name == format.plain
        np.testing.assert_array_equal(array, want)
    path.write_bytes(np.array([format.code, 16, 5, row + 3], "<u4").tobytes() + rows.tobytes())
    np.testing.assert_array_equal(kivo.read_rwh(path).array, want)


@pytest.mark.parametrize("format", FORMATS, ids=lambda f: f.name)
def test_rwh_round_trip_and_bytes(format, tmp_path):
    frame = make_frame(format, 12, 5)
    path = tmp_path / "frame.rwh"
    kivo.write_rwh(path, frame, format.name)
    data = path.read_bytes()
    assert struct.unpack("<4I", data[:16]) == (format.code, 12, 5, format.bits_per_pixel * 12 // 8)
    assert data[16:] == frame.tobytes()
    for mmap in (False, True):
        back = kivo.read_rwh(path, mmap=mmap)
        assert back.format == format.name
        assert back.array.dtype == frame.dtype
        np.testing.assert_array_equal(back.array, frame)
    np.testing.assert_array_equal(kivo.convert(*back), kivo.convert(frame, format))
    assert os.listdir(tmp_path) == ["frame.rwh"]


def test_the_library_writes_the_same_rwh(tmp_path):
    frame = make_frame(kivo.find_format("BayerGB12"), 20, 6)
    ours, theirs = tmp_path / "ours.rwh", tmp_path / "theirs.rwh"
    kivo.write_rwh(ours, frame[::-1], "BayerGB12")
    save = _library.library().SaveRWH
    save.argtypes = (ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32, ctypes.c_uint32, ctypes.c_char_p)
    turned = np.ascontiguousarray(frame[::-1])
    assert save(turned.ctypes.data, 0x01100012, 20, 6, os.fsencode(theirs)) == 0
    assert ours.read_bytes() == theirs.read_bytes()


def test_rwh_with_padded_rows_is_read(tmp_path):
    path = tmp_path / "padded.rwh"
    rows = b"".join(bytes([y * 10 + x for x in range(4)]) + b"\xee\xee" for y in range(3))
    path.write_bytes(struct.pack("<4I", 0x01080001, 4, 3, 6) + rows)
    assert kivo.read_rwh(path).array.tolist() == [[y * 10 + x for x in range(4)] for y in range(3)]


def test_empty_rwh(tmp_path):
    path = tmp_path / "empty.rwh"
    kivo.write_rwh(path, np.empty((0, 640), np.uint8), "Mono8")
    assert path.stat().st_size == 16
    assert kivo.read_rwh(path).array.shape == (0, 640)


@pytest.mark.parametrize("content, text", [
    (b"", "shorter than the 16-byte RWH header"),
    (struct.pack("<3I", 0x01080001, 4, 4), "shorter than the 16-byte RWH header"),
    (struct.pack("<4I", 0xDEADBEEF, 4, 4, 4) + bytes(15), "0xDEADBEEF at its start is no known pixel format"),
    (struct.pack("<4I", 0x010C0047, 3, 4, 4) + bytes(16), "4 bytes a row are too few for 3 pixels of Mono12p"),
    (struct.pack("<4I", 0x01080001, 4, 4, 3) + bytes(12), "3 bytes a row are too few for 4 pixels of Mono8"),
    (struct.pack("<4I", 0x01080001, 4, 4, 4) + bytes(15), "it holds 31 bytes, its header says 32"),
    (struct.pack("<4I", 0x01080001, 4, 4, 4) + bytes(17), "it holds 33 bytes, its header says 32"),
    (struct.pack("<4I", 0x01080001, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF),
     "it holds 16 bytes, its header says 18446744065119617041"),
    (struct.pack("<4I", 0x0210001F, 3, 2, 6) + bytes(12), "3 x 2: the width is not a whole number"),
])
def test_rotten_rwh(content, text, tmp_path):
    path = tmp_path / "rotten.rwh"
    path.write_bytes(content)
    with pytest.raises(kivo.RwhError) as caught:
        kivo.read_rwh(path)
    assert text in str(caught.value) and "rotten.rwh" in str(caught.value)


def test_rwh_of_a_format_that_is_not_known(tmp_path):
    """As long as its header says: it may well be one."""
    path = tmp_path / "future.rwh"
    path.write_bytes(struct.pack("<4I", 0xDEADBEEF, 4, 4, 4) + bytes(16))
    with pytest.raises(kivo.UnknownFormatError, match="future.rwh: pixel format 0xDEADBEEF is not supported"):
        kivo.read_rwh(path)


def test_reading_what_is_no_file(tmp_path):
    with pytest.raises(FileNotFoundError, match="nothing.rwh"):
        kivo.read_rwh(tmp_path / "nothing.rwh")
    os.mkfifo(tmp_path / "pipe.rwh")
    with pytest.raises(kivo.RwhError, match="pipe.rwh: not a regular file"):
        kivo.read_rwh(tmp_path / "pipe.rwh")
    with pytest.raises(kivo.RwhError, match=f"{tmp_path}: is a directory"):
        kivo.read_rwh(tmp_path)


def bmp_model(image):
    """The file of a picture, put together by hand."""
    height, width = image.shape[:2]
    channels = 1 if image.ndim == 2 else image.shape[2]
    padding = -width * channels % 4
    palette = b"".join(bytes([i, i, i, 0]) for i in range(256)) if channels == 1 else b""
    size = (width * channels + padding) * height
    resolution, colours = (160000, 256) if channels == 1 else (16000, 0)
    offset = 54 + len(palette)
    return (struct.pack("<2sIHHI", b"BM", offset + size, 0, 0, offset) +
            struct.pack("<IiiHHIIiiII", 40, width, height, 1, 8 * channels, 0, size, resolution, resolution, colours,
                        colours) + palette +
            b"".join(row.tobytes() + bytes(padding) for row in image[::-1]))


@pytest.mark.parametrize("shape", [(h, w, *c) for h in (0, 1, 3) for w in (1, 2, 3, 4, 7) for c in ((), (3,), (4,))])
def test_bmp_bytes(shape, tmp_path):
    image = np.random.default_rng(5).integers(0, 256, shape, dtype=np.uint8)
    path = tmp_path / "picture.bmp"
    kivo.write_bmp(path, image)
    assert path.read_bytes() == bmp_model(image)
    assert path.stat().st_size == files.bmp_bytes(shape[1], shape[0], 1 if len(shape) == 2 else shape[2])
    assert os.listdir(tmp_path) == ["picture.bmp"]


@pytest.mark.parametrize("channels", [(), (3,), (4,)])
def test_bmp_of_views(channels, tmp_path):
    whole = np.random.default_rng(6).integers(0, 256, (20, 30, *channels), dtype=np.uint8)
    for view in (whole[2:9, 3:14], whole[::-1], whole[::2, 1:], whole[:, ::2], np.asfortranarray(whole), whole[3:3],
                 whole[5:6]):
        kivo.write_bmp(tmp_path / "view.bmp", view)
        assert (tmp_path / "view.bmp").read_bytes() == bmp_model(view)


@pytest.mark.parametrize("error, text, image", [
    (kivo.SampleTypeError, "float64", np.zeros((2, 2))),
    (kivo.SampleTypeError, "list", [[1]]),
    (kivo.SampleTypeError, "masked", np.ma.masked_equal(np.array([[1, 2]], np.uint8), 2)),
    (kivo.FrameSizeError, "(2, 2, 2)", np.zeros((2, 2, 2), np.uint8)),
    (kivo.FrameSizeError, "(4,)", np.zeros(4, np.uint8)),
    (kivo.FrameSizeError, "4294967350", np.broadcast_to(np.uint8(0), (32768, 32768, 4))),
])
def test_wrong_pictures(error, text, image, tmp_path):
    with pytest.raises(error) as caught:
        kivo.write_bmp(tmp_path / "no.bmp", image)
    assert text in str(caught.value)
    assert not os.listdir(tmp_path)


def test_names_that_are_not_utf8_or_long(tmp_path):
    frame = make_frame(kivo.find_format("Mono8"), 4, 4)
    for name in (os.fsencode(tmp_path) + b"/\xff\xfe.rwh", os.fsencode(tmp_path) + b"/" + b"n" * 251 + b".rwh",
                 os.fsencode(tmp_path) + b"/" + b"\xf0\x9f\x98\x80" * 62 + b".rwh",
                 os.fsencode(tmp_path) + b"/a" + b"\xff" * 250 + b".rwh"):
        kivo.write_rwh(name, frame, "Mono8")
        np.testing.assert_array_equal(kivo.read_rwh(name).array, frame)
        kivo.write_bmp(name[:-3] + b"bmp", kivo.convert(frame, "Mono8"))
        assert os.path.getsize(name[:-3] + b"bmp") == 54 + 64


def test_temporary_names_are_short_and_whole_characters(tmp_path):
    for name in ("n" * 255, "a" + "\U0001F600" * 63, "ab" + "\u00e9" * 126):
        with _whole_file.atomic_file(tmp_path / name, "0123abcd-") as (temporary, _):
            start = os.path.basename(temporary).split(".")[1]
            assert name.startswith(start) and 60 < len(start.encode()) <= 64
        assert os.listdir(tmp_path) == [name]
        (tmp_path / name).unlink()


def test_links_stay_links_and_devices_devices(tmp_path):
    frame = make_frame(kivo.find_format("Mono8"), 4, 4)
    (tmp_path / "folder").mkdir()
    (tmp_path / "link.rwh").symlink_to("folder/file.rwh")
    kivo.write_rwh(tmp_path / "link.rwh", frame, "Mono8")
    assert (tmp_path / "link.rwh").is_symlink() and (tmp_path / "folder" / "file.rwh").stat().st_size == 32
    with pytest.raises(kivo.FileWriteError, match="/dev/null"):
        kivo.write_rwh("/dev/null", frame, "Mono8")
    with pytest.raises(FileNotFoundError):
        kivo.write_rwh(tmp_path / "missing" / "file.rwh", frame, "Mono8")


def test_new_files_get_the_usual_permissions(tmp_path):
    mask = os.umask(0o027)
    try:
        kivo.write_rwh(tmp_path / "file.rwh", b"", "Mono8", width=0, height=0)
    finally:
        os.umask(mask)
    assert (tmp_path / "file.rwh").stat().st_mode & 0o777 == 0o640


@pytest.mark.parametrize("call", ["write_rwh(path, big, 'Mono8')", "write_bmp(path, big)"])
def test_a_file_that_cannot_grow_leaves_the_old_one(call, tmp_path):
    """A file size limit of 100 KB stands in for a full disk."""
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    script = textwrap.dedent(f"""
        import resource, sys
        import numpy as np
        from kivocamutl import *
        big, path = np.zeros((1000, 1000), np.uint8), sys.argv[1]
        resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000))
        try:
            {call}
        except FileWriteError as error:
            assert isinstance(error, OSError) and error.errno, error
            print("refused:", error)
        """)
    environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(kivo.__file__))}
    done = subprocess.run([sys.executable, "-c", script, str(path)], env=environment, capture_output=True, text=True,
                          timeout=240)
    assert done.stdout.startswith("refused:") and str(path) in done.stdout, done.stderr
    assert path.read_bytes() == b"what was there"
    assert os.listdir(tmp_path) == ["target"]


def test_full_disk_has_its_own_number(tmp_path, monkeypatch):
    """write() answers as on a full disk after the first part of the file."""
    real, calls = os.write, []

    def write(descriptor, data):
        calls.append(len(data))
        if len(calls) > 2:
            raise OSError(errno.ENOSPC, "No space left on device")
        return real(descriptor, data[:100])

    monkeypatch.setattr(os, "write", write)
    with pytest.raises(kivo.FileWriteError) as caught:
        kivo.write_rwh(tmp_path / "file.rwh", bytes(400), "Mono8", width=20, height=20)
    assert caught.value.errno == errno.ENOSPC and len(calls) == 3
    assert not os.listdir(tmp_path)


def test_errors_survive_pickling():
    for error in (kivo.StatusError("ConvImage", 13), kivo.FileWriteError(28, "full", "a.bmp"), kivo.RwhError("x")):
        back = pickle.loads(pickle.dumps(error))
        assert type(back) is type(error) and str(back) == str(error)


@pytest.fixture
def fresh(monkeypatch):
    """As in a process that has not written into any folder yet."""
    monkeypatch.setattr(_whole_file, "_swept", set())


def leftover(folder, name="a.bmp", age=0):
    path = folder / f".{name}.12.kivo-part"
    path.write_bytes(b"half a picture")
    os.utime(path, (time.time() - age,) * 2)
    return path


@pytest.mark.parametrize("write", [lambda path: kivo.write_rwh(path, bytes(4), "Mono8", width=2, height=2),
                                   lambda path: kivo.write_bmp(path, np.zeros((2, 2), np.uint8))])
def test_what_a_dead_writer_left_is_removed_by_the_next(write, tmp_path, fresh):
    """Whatever its age; not what a living one writes, and nothing but files of such names."""
    left, written = leftover(tmp_path), leftover(tmp_path, "b.bmp", age=7200)
    others = [tmp_path / name for name in (".kivo-part.bmp", "a.kivo-part", ".a.bmp.kivo-partial")]
    for path in others:
        path.write_bytes(b"something else")
    folder, pipe, link = (tmp_path / f".{name}.kivo-part" for name in ("folder", "pipe", "link"))
    folder.mkdir()
    os.mkfifo(pipe)
    link.symlink_to(others[0])
    kept = {path.name for path in (written, folder, pipe, link, *others)}
    with open(written, "rb") as living:
        fcntl.flock(living, fcntl.LOCK_EX)
        write(tmp_path / "new")
        assert not left.exists() and set(os.listdir(tmp_path)) == {*kept, "new"}
    # Once for a folder in a process; the next process finds what this one has not.
    write(tmp_path / "new")
    assert written.exists()


def test_a_process_that_is_killed_leaves_nothing_for_long(tmp_path, fresh):
    script = """
        import os, signal, sys
        from kivocamutl import _whole_file
        with _whole_file.atomic_file(sys.argv[1]) as (_, descriptor):
            os.write(descriptor, b"half a picture")
            os.kill(os.getpid(), signal.SIGKILL)
        """
    environment = {**os.environ, "PYTHONPATH": os.path.dirname(os.path.dirname(kivo.__file__))}
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(script), str(tmp_path / "a.bmp")], env=environment,
                          timeout=240)
    assert done.returncode == -signal.SIGKILL
    left, = os.listdir(tmp_path)
    assert _whole_file.is_temporary(left)
    kivo.write_bmp(tmp_path / "b.bmp", np.zeros((2, 2), np.uint8))
    assert os.listdir(tmp_path) == ["b.bmp"]


def test_leftovers_without_locks(tmp_path, monkeypatch, fresh):
    """On a file system without locks age and tag decide, and files are written all the same."""

    def flock(descriptor, operation):
        raise OSError(errno.ENOLCK, "No locks available")

    monkeypatch.setattr(fcntl, "flock", flock)
    old, young = leftover(tmp_path, "old.bmp", age=3700), leftover(tmp_path, "young.bmp", age=3500)
    with _whole_file.atomic_file(tmp_path / "a.bmp") as (temporary, descriptor):
        os.write(descriptor, b"whole")
        assert not old.exists() and young.exists()
        assert not _whole_file.remove_if_stale(temporary)
    assert (tmp_path / "a.bmp").read_bytes() == b"whole"
    assert not _whole_file.remove_if_stale(str(young), tag="34") and young.exists()
    assert _whole_file.remove_if_stale(str(young), tag="12") and not young.exists()
    with pytest.raises(FileNotFoundError):
        _whole_file.remove_if_stale(str(young))


@pytest.mark.parametrize("moment", ["deleted", "locked"])
def test_a_file_that_is_swept_up_before_its_lock(moment, tmp_path, monkeypatch):
    """Another run looks for leftovers between the creation of a temporary file and its lock."""
    real, others = os.open, []

    def sweep(name, *arguments, **keywords):
        descriptor = real(name, *arguments, **keywords)
        if not others and _whole_file.is_temporary(os.path.basename(name)):
            others.append(open(name, "rb"))
            fcntl.flock(others[0], fcntl.LOCK_EX)
            if moment == "deleted":
                os.unlink(name)
                fcntl.flock(others[0], fcntl.LOCK_UN)
        return descriptor

    monkeypatch.setattr(os, "open", sweep)
    kivo.write_rwh(tmp_path / "a.rwh", bytes(4), "Mono8", width=2, height=2)
    assert len(others) == 1
    others[0].close()
    assert os.listdir(tmp_path) == ["a.rwh"]
    assert kivo.read_rwh(tmp_path / "a.rwh").array.shape == (2, 2)


@pytest.mark.parametrize("write", [lambda path: kivo.write_rwh(path, bytes(4), "Mono8", width=2, height=2),
                                   lambda path: kivo.write_bmp(path, np.zeros((2, 2), np.uint8))])
@pytest.mark.parametrize("call, number", [("fsync", errno.ENOSPC), ("fsync", errno.EIO), ("replace", errno.EDQUOT)])
def test_trouble_at_the_end_of_a_write(call, number, write, tmp_path, monkeypatch):
    """A disk may say so late that it is full: when the file goes to it, or when it gets its name."""

    def refuse(*arguments):
        raise OSError(number, os.strerror(number), "a temporary name")

    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    monkeypatch.setattr(os, call, refuse)
    with pytest.raises(kivo.FileWriteError) as caught:
        write(path)
    assert (caught.value.errno, caught.value.filename) == (number, str(path))
    assert path.read_bytes() == b"what was there"
    assert os.listdir(tmp_path) == ["target"]



def grey(path, **how):
    kivo.write_bmp(path, np.zeros((2, 2), np.uint8), **how)


def rwh(path, **how):
    kivo.write_rwh(path, bytes(4), "Mono8", width=2, height=2, **how)


def packed(path, **how):
    kivo.write_rwh(path, bytes(3), "Mono12p", width=2, height=1, **how)


WRITERS = pytest.mark.parametrize("write", [grey, rwh, packed])


@WRITERS
@pytest.mark.parametrize("mode", [0o600, 0o640, 0o664, 0o755, 0o222])
def test_a_file_that_is_replaced_passes_on_its_permissions(mode, write, tmp_path):
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    path.chmod(mode)
    (tmp_path / "link").symlink_to("target")
    for name in ("target", "link"):
        write(tmp_path / name)
        assert stat.S_IMODE(path.stat().st_mode) == mode and path.read_bytes() != b"what was there"
    assert (tmp_path / "link").is_symlink()


def test_a_secret_is_none_for_a_moment(tmp_path):
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    path.chmod(0o600)
    with _whole_file.atomic_file(path) as (temporary, _):
        assert stat.S_IMODE(os.stat(temporary).st_mode) == 0o600


def test_a_file_that_is_replaced_passes_on_owner_and_group(tmp_path, monkeypatch):
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    path.chmod(0o674)
    old, asked = os.stat(path), []

    class Other:
        st_mode, st_uid, st_gid = old.st_mode, old.st_uid + 1, old.st_gid + 1

    def fchown(refused):
        def call(descriptor, owner, group):
            asked.append((owner, group))
            if owner in refused:
                raise PermissionError(errno.EPERM, "Operation not permitted")
        return call

    owner, group = Other.st_uid, Other.st_gid
    for refused, calls, mode in (((), [(owner, group)], 0o674),
                                 ((owner,), [(owner, group), (-1, group)], 0o674),
                                 ((owner, -1), [(owner, group), (-1, group)], 0o644)):
        monkeypatch.setattr(os, "fchown", fchown(refused))
        asked.clear()
        with open(path, "r+b") as file:
            assert _whole_file._take_over(file.fileno(), Other) == mode
        assert asked == calls


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may give files away")
def test_root_replaces_the_file_of_a_user(tmp_path):
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    os.chown(path, 12345, 23456)
    grey(path)
    info = path.stat()
    assert (info.st_uid, info.st_gid) == (12345, 23456)


@WRITERS
def test_a_read_only_file_is_replaced_by_force_only(write, tmp_path):
    path = tmp_path / "target"
    path.write_bytes(b"what was there")
    path.chmod(0o444)
    with pytest.raises(kivo.FileWriteError, match="is read-only") as caught:
        write(path)
    assert isinstance(caught.value, PermissionError) and caught.value.filename == str(path)
    assert path.read_bytes() == b"what was there" and os.listdir(tmp_path) == ["target"]
    write(path, force=True)
    assert path.read_bytes() != b"what was there" and stat.S_IMODE(path.stat().st_mode) == 0o444
    assert os.listdir(tmp_path) == ["target"]


@WRITERS
@pytest.mark.parametrize("links", [True, False])
def test_no_clobber_replaces_nothing(links, write, tmp_path, monkeypatch):
    """Neither what is there when the write begins nor what comes in the meantime, with hard links and without."""
    if not links:
        def link(*arguments):
            raise PermissionError(errno.EPERM, "Operation not permitted")
        monkeypatch.setattr(os, "link", link)
    path = tmp_path / "target"
    write(path, no_clobber=True)
    assert path.stat().st_size > 4 and os.listdir(tmp_path) == ["target"]
    path.write_bytes(b"what was there")
    with pytest.raises(kivo.FileWriteError, match="is there already") as caught:
        write(path, no_clobber=True)
    assert isinstance(caught.value, FileExistsError)
    with pytest.raises(kivo.OptionError, match="no_clobber"):
        write(path, no_clobber=True, force=True)
    path.unlink()
    with pytest.raises(kivo.FileWriteError) as caught:
        with _whole_file.atomic_file(path, no_clobber=True):
            path.write_bytes(b"what was there")
    assert isinstance(caught.value, FileExistsError) and caught.value.filename == str(path)
    assert path.read_bytes() == b"what was there" and os.listdir(tmp_path) == ["target"]
