#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Lets a writer meet a failure at every single operation in turn, and every power cut.

    faults.py SHIM [--kivocam FILE [--tiff]] [--writer FILE] [--python] [--stride N] [--self-test]

Of each run: the file under the final name is the old one or the new one, whole; a failure is told, with a line and an
exit code that the manual has; success means the new file; nothing else is left. Then the recorded operations of a run
without failures are cut off after each of them, and what was not synchronised is lost in every way that a file system
may lose it: the file is the old one or the new one again. A report meets SIGTERM before each of its operations: its
page and the folder with its pictures are both there or neither is.

Exit status: 0 all of that holds, 1 something does not.
"""

import argparse
import collections
import os
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile

OLD = b"the old file, which nobody may lose\n" * 40
O_TMPFILE = 0o20000000


class Writer:
    """A command that writes one file; `codes` are those of its failures."""

    def __init__(self, name, command, codes, environment=None, memory=True, last=12):
        self.name, self.command, self.codes = name, command, codes
        self.environment = environment or {}
        self.memory = memory  # whether every allocation is to fail in turn, too
        self.last = last  # of these, whatever the stride

    def run(self, folder, shim, **fault):
        """The finished process, and the lines of its record."""
        log = folder + ".log"
        if os.path.exists(log):
            os.unlink(log)
        environment = {**os.environ, **self.environment, "LD_PRELOAD": shim, "KIVO_FAULT_LOG": log}
        environment.update({f"KIVO_FAULT_{key.upper()}": str(value) for key, value in fault.items()})
        done = subprocess.run([word.replace("OUT", os.path.join(folder, "out")) for word in self.command],
                              env=environment, capture_output=True, timeout=120)
        with open(log, encoding="latin-1") as file:
            return done, file.read().splitlines()


class Judge:
    """Runs writers in a folder of their own and counts what does not hold."""

    def __init__(self, shim, work, stride):
        self.shim, self.folder, self.stride = shim, os.path.join(work, "folder"), stride
        self.work = work
        self.checks, self.wrong = 0, []

    def expect(self, holds, what):
        self.checks += 1
        if not holds:
            self.wrong.append(what)
            print("WRONG:", what, flush=True)

    def prepare(self, old):
        shutil.rmtree(self.folder, ignore_errors=True)
        os.mkdir(self.folder)
        if old:
            with open(os.path.join(self.folder, "out"), "wb") as file:
                file.write(OLD)

    def there(self):
        """The file under the final name, or None, and the names of others."""
        names = sorted(os.listdir(self.folder))
        if "out" not in names:
            return None, names
        names.remove("out")
        with open(os.path.join(self.folder, "out"), "rb") as file:
            return file.read(), names

    def faults(self, writer, old):
        """Every operation fails in turn, alone and with all after it."""
        self.prepare(old)
        done, record = writer.run(self.folder, self.shim, **{"class": "files"})
        new, others = self.there()
        title = f"{writer.name}{' over an old file' if old else ''}"
        self.expect(done.returncode == 0 and new not in (None, OLD) and not others,
                    f"{title}: without failures: exit {done.returncode}, leaves {others}: {done.stderr[-300:]!r}")
        before = OLD if old else None
        operations = sum(line.split(" ")[0] in ("open", "write", "fsync", "truncate", "rename", "link", "unlink",
                                                "mkdir", "close") for line in record)
        self.expect(operations >= 3, f"{title}: only {operations} operations are seen")
        for origin in (0, 1):
            for at in range(1, operations + 1):
                self.one(writer, title, before, new, {"class": "files", "at": at, "from": origin})
        if writer.memory:
            _, record = writer.run(self.folder, self.shim, **{"class": "memory"})
            allocations = record.count("memory")
            self.expect(allocations > 0, f"{title}: only {allocations} allocations are seen")
            # At the end names are given, without which nothing can be left.
            last = range(max(1, allocations - writer.last), allocations + 1)
            tried = {*range(1, allocations + 1, self.stride), *last}
            for origin in (0, 1):
                for at in sorted(tried):
                    self.one(writer, title, before, new, {"class": "memory", "at": at, "from": origin})
        else:
            allocations = 0
        print(f"{title}: {operations} operations on files, {allocations} allocations", flush=True)
        return new

    def one(self, writer, title, before, new, fault):
        self.prepare(before is not None)
        done, record = writer.run(self.folder, self.shim, **fault)
        now, others = self.there()
        failed = [line for line in record if line.startswith("failed ")]
        where = f"{title}: {fault}: {failed[:1]}: exit {done.returncode}"
        self.expect(now in (before, new), f"{where}: the file is neither the old nor the new one")
        if done.returncode == 0:
            self.expect(now == new, f"{where}: success without the new file")
        else:
            self.expect(done.returncode in writer.codes, f"{where}: {done.stderr[-300:]!r}")
            self.expect(done.stderr.strip() != b"", f"{where}: nothing is said")
        # What cannot be removed stays, and the next run removes it.
        removable = not any(line.startswith("failed unlink") for line in failed)
        self.expect(not others or not removable, f"{where}: leaves {others}")

    def power_cuts(self, writer, old):
        """The recorded operations of a good run, cut off after each."""
        self.prepare(old)
        done, record = writer.run(self.folder, self.shim, **{"class": "files"})
        new, _ = self.there()
        self.expect(done.returncode == 0, f"{writer.name}: power cuts: exit {done.returncode}")
        before = OLD if old else None
        bad = cut(record, os.path.join(self.folder, "out"), before, new)
        self.checks += len(record)
        for line in bad[:3]:
            self.expect(False, f"{writer.name}{' over an old file' if old else ''}: power cut {line}")
        return bad

    def signals(self, writer):
        """SIGTERM just before every operation of a page with its pictures beside it: until it gets its name neither
        stays, from then on both do."""
        def there():
            return sorted(os.path.relpath(os.path.join(folder, name), self.folder)
                          for folder, folders, names in os.walk(self.folder) for name in folders + names)

        self.prepare(False)
        done, record = writer.run(self.folder, self.shim, **{"class": "files"})
        both = there()
        self.expect(done.returncode == 0 and "out.html.pictures" in both and len(both) >= 3,
                    f"{writer.name}: without a signal: exit {done.returncode}, leaves {both}")
        naming = [number for number, line in enumerate(record, 1) if re.match(r"(link|rename) .*/out\.html$", line)]
        self.expect(len(naming) == 1, f"{writer.name}: the page gets {len(naming)} names")
        for at in range(1, len(record) + 1):
            self.prepare(False)
            done, _ = writer.run(self.folder, self.shim, **{"class": "files", "at": at, "signal": int(signal.SIGTERM)})
            where = f"{writer.name}: SIGTERM before {record[at - 1][:40]!r}, operation {at}"
            if at < naming[-1]:
                self.expect(done.returncode == -signal.SIGTERM, f"{where}: exit {done.returncode}")
                self.expect(not there(), f"{where}: leaves {there()}")
            else:
                self.expect(done.returncode in (0, -signal.SIGTERM), f"{where}: exit {done.returncode}")
                self.expect(there() == both, f"{where}: leaves {there()} of {both}")
        print(f"{writer.name}: SIGTERM before each of {len(record)} operations", flush=True)


class Inode:
    """Bytes of a file: those in memory, and those that have surely reached the disk."""

    def __init__(self, data=b""):
        self.data = data
        self.safe = data

    def may_be(self):
        """What a crash may make of it: what is safe; all; the size of all with some or none of the rest."""
        yield self.data
        if self.safe != self.data:
            yield self.safe
            yield self.data[: len(self.data) // 2]
            yield self.safe[: len(self.data)].ljust(len(self.data), b"\0")
            yield b""


def cut(record, target, before, new):
    """Where a power cut leaves something other than the old or the new file under the name `target`.

    Names reach the disk in the order of their changes, any number of the last ones not at all; bytes reach it when
    they are synchronised, or earlier, or never.
    """
    names = {} if before is None else {target: Inode(before)}
    states = [dict(names)]  # of names, one for each change
    files, offsets = {}, {}
    bad = []
    for number, line in enumerate(record):
        word, _, rest = line.partition(" ")
        if word == "open":
            descriptor, flags, path = rest.split(" ", 2)
            descriptor, flags = int(descriptor), int(flags)
            if flags & O_TMPFILE == O_TMPFILE:
                inode = Inode()
            else:
                inode = names.get(path)
                if inode is None:
                    inode = Inode()
                    names = {**names, path: inode}
                    states.append(names)
                elif flags & os.O_TRUNC:
                    inode.data = b""
                    inode.safe = b"" if inode.safe == b"" else inode.safe
            files[descriptor] = inode
            offsets[descriptor] = 0
        elif word == "write":
            descriptor, at, data = rest.split(" ")
            descriptor, at, data = int(descriptor), int(at), bytes.fromhex(data)
            inode = files[descriptor]
            if at < 0:
                at = offsets[descriptor]
                offsets[descriptor] += len(data)
            inode.data = inode.data[:at].ljust(at, b"\0") + data + inode.data[at + len(data):]
        elif word == "truncate":
            descriptor, size = map(int, rest.split(" "))
            files[descriptor].data = files[descriptor].data[:size].ljust(size, b"\0")
        elif word == "fsync":
            files[int(rest)].safe = files[int(rest)].data
        elif word in ("rename", "link"):
            source, _, to = rest.partition("\t")
            if source.startswith("/proc/self/fd/"):
                inode = files[int(source.rsplit("/", 1)[1])]
            else:
                inode = names[source]
            names = {**names, to: inode}
            if word == "rename":
                names.pop(source, None)
            states.append(names)
        elif word == "unlink":
            names = {path: inode for path, inode in names.items() if path != rest}
            states.append(names)
        elif word not in ("close", "mkdir"):
            bad.append(f"after operation {number}: {line[:60]!r} is not understood")
        for state in states:
            inode = state.get(target)
            for data in [None] if inode is None else inode.may_be():
                if data not in (before, new):
                    bad.append(f"after operation {number} ({line[:40]}): neither the old nor the new file")
                    break
    return bad


def self_test(judge):
    """Writers that do it wrong are found out."""
    code = {
        "in place": "import sys; f = open(sys.argv[1], 'wb'); f.write(b'new' * 500); f.close()",
        "not synchronised": "import os, sys; f = open(sys.argv[1] + '.part', 'wb'); f.write(b'new' * 500); f.close(); "
                            "os.rename(sys.argv[1] + '.part', sys.argv[1])",
        "told to nobody": "import os, sys\ntry:\n  f = open(sys.argv[1] + '.part', 'wb'); f.write(b'new' * 500); "
                          "f.flush(); os.fsync(f.fileno()); f.close(); os.rename(sys.argv[1] + '.part', sys.argv[1])\n"
                          "except OSError: pass",
    }
    for name, text in code.items():
        writer = Writer(name, [sys.executable, "-S", "-c", text, "OUT"], {1}, memory=False)
        inner = Judge(judge.shim, judge.work, 1)
        inner.expect = lambda holds, what, seen=inner: seen.wrong.append(what) if not holds else None
        inner.power_cuts(writer, True)
        cuts = bool(inner.wrong)
        inner.wrong.clear()
        inner.faults(writer, True)
        judge.expect(cuts == (name != "told to nobody"), f"a writer {name} passes the power cuts" if not cuts else
                     f"a writer {name} fails the power cuts")
        judge.expect(bool(inner.wrong), f"a writer {name} passes the failures")


def writers(options, work):
    """All that were asked for."""
    raw = bytes((i * 7) % 251 for i in range(64 * 48))
    frame = os.path.join(work, "frame.rwh")
    with open(frame, "wb") as file:
        file.write(struct.pack("<4I", 0x01080009, 64, 48, 64) + raw)
    if options.kivocam:
        codes = {1, 2, 3, 4, 5, 6}
        # libtiff is told tag by tag, and does not always say that memory did not suffice for one.
        kinds = {"png": 12, "bmp": 12, "ppm": 12, **({"tiff": 100, "dng": 100} if options.tiff else {})}
        for kind, last in kinds.items():
            yield Writer(f"kivocam convert --to {kind}", [options.kivocam, "convert", frame, "OUT", "--to", kind],
                         codes, last=last)
        yield Writer("kivocam scene", [options.kivocam, "scene", "OUT", "--to", "png", "--size", "160x160"], codes,
                     memory=False)
        # Hidden names, where the system has no unnamed files.
        yield Writer("kivocam convert, named", [options.kivocam, "convert", frame, "OUT", "--to", "bmp"], codes,
                     {"KIVO_FAULT_NAMED": "1"})
    if options.writer:
        for kind in ("bmp", "rwh"):
            yield Writer(f"C++ {kind}", [options.writer, kind, "OUT"], {1})
    if options.python:
        for call in ("write_rwh(sys.argv[1], frame, 'BayerRG8')",
                     "write_bmp(sys.argv[1], kivo.convert(frame, 'BayerRG8'))"):
            code = ("import sys, numpy as np, kivocamutl as kivo\n"
                    "frame = np.arange(64 * 48, dtype=np.uint8).reshape(48, 64)\n"
                    f"try:\n  kivo.{call}\nexcept kivo.KivoError as error:\n  sys.exit(str(error))\n")
            yield Writer("Python " + call.split("(")[0], [sys.executable, "-B", "-c", code, "OUT"], {1}, memory=False)


def pages(options, work):
    """Reports of one frame, and of a folder of frames."""
    if not options.kivocam:
        return
    folder = os.path.join(work, "frames")
    os.mkdir(folder)
    for name in ("a.rwh", "b.rwh"):
        shutil.copy(os.path.join(work, "frame.rwh"), os.path.join(folder, name))
    for name, source, named in (("one frame", os.path.join(folder, "a.rwh"), {}), ("a folder", folder, {}),
                                ("a folder, named", folder, {"KIVO_FAULT_NAMED": "1"})):
        command = [options.kivocam, "report", source, "-o", "OUT.html", "--pictures", "beside", "-j", "1", "-q"]
        yield Writer(f"kivocam report of {name}", command, set(), named)


def main():
    """Exit status."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("shim")
    parser.add_argument("--kivocam")
    parser.add_argument("--tiff", action="store_true", help="the tool writes TIFF and DNG, too")
    parser.add_argument("--writer")
    parser.add_argument("--python", action="store_true")
    parser.add_argument("--stride", type=int, default=1, help="of the allocations every Nth fails, and the last")
    parser.add_argument("--self-test", action="store_true", dest="self_test")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as work:
        judge = Judge(os.path.abspath(options.shim), work, options.stride)
        if options.self_test:
            self_test(judge)
        for writer in writers(options, work):
            for old in (False, True):
                judge.faults(writer, old)
                judge.power_cuts(writer, old)
        for writer in pages(options, work):
            judge.signals(writer)
        counts = collections.Counter(line.split(":")[0] for line in judge.wrong)
        print(f"{judge.checks} checks, {len(judge.wrong)} wrong {dict(counts) if counts else ''}")
        return 1 if judge.wrong or not judge.checks else 0


if __name__ == "__main__":
    sys.exit(main())
