#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds a wheel against what its name promises: to run on every system whose C library is as new as its tag says.

    packaging/check_wheel.py WHEEL
    packaging/check_wheel.py --platform LIBRARY...     the tag of the platform that these libraries need

Every shared library in it needs nothing but the C and C++ libraries, of versions that the tag allows, carries no path
to look for others but its own folder, and asks for no executable stack. Reads them with readelf.
"""

import argparse
import base64
import hashlib
import os
import re
import subprocess
import sys
import tempfile
import zipfile

MACHINES = {"Advanced Micro Devices X86-64": "x86_64", "AArch64": "aarch64"}
SYSTEM = re.compile(r"(libc|libm|libpthread|libdl|librt)\.so\.[0-9]+|ld-linux-[a-z0-9-]+\.so\.[0-9]+"
                    r"|libstdc\+\+\.so\.6|libgcc_s\.so\.1")
# Versions of the C library, and the newest of the C++ library and of its ABI that systems with each have at least.
LEVELS = [((2, 17), (3, 4, 19), (1, 3, 7)), ((2, 28), (3, 4, 24), (1, 3, 11)), ((2, 31), (3, 4, 28), (1, 3, 12)),
          ((2, 34), (3, 4, 29), (1, 3, 13)), ((2, 35), (3, 4, 30), (1, 3, 13))]


def readelf(path, *options):
    return subprocess.run(["readelf", "--wide", *options, path], capture_output=True, text=True, check=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


def machine(path):
    name = re.search(r"Machine: *(.*)", readelf(path, "--file-header"))[1].strip()
    if name not in MACHINES:
        raise ValueError(f"{path} is for {name}")
    return MACHINES[name]


def needed_versions(path):
    """The newest versions of symbols that a library takes from others, by owner: {"GLIBC": (2, 14)}."""
    needs = readelf(path, "--version-info").partition("Version needs section")[2]
    newest = {}
    for owner, version in re.findall(r"Name: ([A-Z]+)_([0-9A-Z._]+)", needs):
        # A feature of the loader instead of a version: it came with 2.36.
        number = (2, 36) if version == "ABI_DT_RELR" else tuple(int(part) for part in version.split("."))
        newest[owner] = max(newest.get(owner, ()), number)
    return newest


def level(path):
    """The oldest C library of a system that has everything a library needs, as (2, 17)."""
    newest = needed_versions(path)
    for c_library, cxx, abi in LEVELS:
        if newest.get("GLIBCXX", ()) <= cxx and newest.get("CXXABI", ()) <= abi:
            return max(c_library, newest.get("GLIBC", ()))
    raise ValueError(f"{path} needs a C++ library that is too new: {newest}")


def platform(libraries):
    machines = {machine(library) for library in libraries}
    if len(machines) != 1:
        raise ValueError(f"libraries for {sorted(machines)}")
    major, minor = max(level(library)[:2] for library in libraries)
    return f"manylinux_{major}_{minor}_{machines.pop()}"


def library_faults(path, name, tag):
    """What keeps a library from running everywhere that the tag names."""
    promised = re.fullmatch(r"manylinux_(\d+)_(\d+)_(\w+)", tag)
    if promised is None:
        yield f"{name} is machine code, and the tag {tag} says for which C library no word"
        return
    if machine(path) != promised[3]:
        yield f"{name} is for {machine(path)}"
    for kind, value in re.findall(r"\((NEEDED|RPATH|RUNPATH)\)[^\[]*\[(.*)\]", dynamic := readelf(path, "--dynamic")):
        if kind == "NEEDED" and not SYSTEM.fullmatch(value):
            yield f"{name} needs {value}"
        elif kind != "NEEDED" and value != "$ORIGIN":
            yield f"{name} looks for libraries in {value}"
    if "(TEXTREL)" in dynamic:
        yield f"{name} has text relocations"
    if re.search(r"GNU_STACK.* RWE ", readelf(path, "--program-headers")):
        yield f"{name} asks for an executable stack"
    newest = needed_versions(path)
    for owner in sorted(set(newest) - {"GLIBC", "GLIBCXX", "CXXABI", "GCC"}):
        yield f"{name} needs {owner}"
    if newest.get("GCC", ()) > (4, 8):
        yield f"{name} needs a version of libgcc_s that is too new"
    if level(path) > (int(promised[1]), int(promised[2])):
        yield f"{name} needs what came with version {'.'.join(map(str, level(path)))} of the C library, not {tag}"


def record_faults(wheel):
    """Differences between the files and their list."""
    names = {name for name in wheel.namelist() if not name.endswith("/")}
    record = next(name for name in names if name.endswith(".dist-info/RECORD"))
    listed = {}
    for line in wheel.read(record).decode().splitlines():
        name, checksum, _ = line.rsplit(",", 2)
        listed[name] = checksum
    for name in sorted(names ^ set(listed)):
        yield f"{name} is in the wheel or in its RECORD alone"
    for name in sorted(names & set(listed) - {record}):
        digest = base64.urlsafe_b64encode(hashlib.sha256(wheel.read(name)).digest()).rstrip(b"=").decode()
        if listed[name] != f"sha256={digest}":
            yield f"{name} has another checksum than its RECORD says"


def wheel_faults(path):
    tag = os.path.basename(path).removesuffix(".whl").split("-")[-1]
    with zipfile.ZipFile(path) as wheel, tempfile.TemporaryDirectory() as folder:
        yield from record_faults(wheel)
        said = wheel.read(next(name for name in wheel.namelist() if name.endswith(".dist-info/WHEEL"))).decode()
        if f"\nTag: py3-none-{tag}\n" not in said:
            yield f"the file WHEEL does not say {tag}"
        if not any(re.search(r"\.dist-info/(licenses/)?LICENSE$", name) for name in wheel.namelist()):
            yield "there is no licence in it"
        libraries = [name for name in wheel.namelist() if re.search(r"\.so(\.|$)", name)]
        if not libraries:
            yield "there is no library in it"
        elif "\nRoot-Is-Purelib: false\n" not in said:
            yield "the file WHEEL calls it pure Python"
        for name in libraries:
            yield from library_faults(wheel.extract(name, folder), name, tag)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--platform", action="store_true", help="print the tag that the libraries need")
    parser.add_argument("files", nargs="+", metavar="FILE")
    arguments = parser.parse_args()
    if arguments.platform:
        print(platform(arguments.files))
        return 0
    faults = [fault for path in arguments.files for fault in wheel_faults(path)]
    print("\n".join(faults) or "\n".join(f"{os.path.basename(path)}: complete" for path in arguments.files))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
