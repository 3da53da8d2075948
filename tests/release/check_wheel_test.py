#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_wheel_test.py SOURCE WORK CC: the check of a wheel lets a good one pass and names every fault of a bad one."""

import base64
import hashlib
import pathlib
import platform
import shutil
import subprocess
import sys
import zipfile

source, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]) / "check_wheel"
compiler = sys.argv[3]
if platform.machine() not in ("x86_64", "aarch64"):
    print("skipped: no wheels are made for", platform.machine())
    sys.exit(77)
TAG = f"manylinux_2_17_{platform.machine()}"
shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)


def check(*arguments):
    done = subprocess.run([sys.executable, "-B", source / "packaging/check_wheel.py", *arguments], capture_output=True,
                          text=True, check=False)
    return done.returncode, done.stdout + done.stderr


def library(name, code, *options):
    (work / "code.c").write_text(code)
    path = work / name
    subprocess.run([compiler, "-shared", "-fPIC", "-nostartfiles", f"-Wl,-soname,{name}", work / "code.c", "-o", path,
                    *options], check=True)
    return path


def wheel(path, content, tag=TAG, pure="false", licence=True, altered=False):
    """A wheel with this library content, and the list of its files as they are; or were, if one was altered since."""
    info = "kivocamutl-1.0.0.dist-info/"
    files = {"kivocamutl/__init__.py": b"", "kivocamutl/libKivoCamUtl.so.1": content,
             info + "WHEEL": f"Wheel-Version: 1.0\nRoot-Is-Purelib: {pure}\nTag: py3-none-{tag}\n\n".encode()}
    if licence:
        files[info + "LICENSE"] = b"licence"
    listed = "".join(
        f"{name},sha256={base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b'=').decode()},{len(data)}\n"
        for name, data in files.items())
    if altered:
        files["kivocamutl/__init__.py"] += b"# more"
    files[info + "RECORD"] = (listed + info + "RECORD,,\n").encode()
    with zipfile.ZipFile(work / path, "w") as made:
        for name, data in files.items():
            made.writestr(name, data)
    return work / path


NAME = f"kivocamutl-1.0.0-py3-none-{TAG}.whl"
PLAIN = "int f(int a) { return a + 1; }\n"
good = library("libgood.so.1", PLAIN).read_bytes()
assert check(wheel(NAME, good)) == (0, f"{NAME}: complete\n"), check(work / NAME)
assert check("--platform", work / "libgood.so.1") == (0, TAG + "\n")

other = library("libother.so.1", "int other(int a) { return a; }\n")
CALLS = "int other(int);\nint f(int a) { return other(a); }\n"
# A function that came with version 2.34 of the C library.
NEW = "int pthread_key_create(unsigned *, void *);\nint f(unsigned *k) { return pthread_key_create(k, 0); }\n"
new = library("libnew.so.1", NEW, "-lc")
at_least = check("--platform", new)[1].strip()
assert at_least != TAG and at_least.startswith("manylinux_2_"), at_least
for fault, content, settings in [
    ("needs libother.so.1", library("libcalls.so.1", CALLS, other).read_bytes(), {}),
    ("looks for libraries in /somewhere", library("libpath.so.1", PLAIN, "-Wl,-rpath,/somewhere").read_bytes(), {}),
    ("asks for an executable stack", library("libstack.so.1", PLAIN, "-Wl,-z,execstack").read_bytes(), {}),
    ("of the C library, not " + TAG, new.read_bytes(), {}),
    ("does not say " + TAG, good, {"tag": "any"}),
    ("calls it pure Python", good, {"pure": "true"}),
    ("no licence", good, {"licence": False}),
    ("__init__.py has another checksum", good, {"altered": True}),
]:
    code, said = check(wheel(NAME, content, **settings))
    assert code == 1 and fault in said and said.count("\n") == 1, (fault, said)

# A tag that says nothing of the C library is none for machine code.
code, said = check(wheel("kivocamutl-1.0.0-py3-none-any.whl", good, tag="any"))
assert code == 1 and "the tag any" in said, said

# The content is that of the list.
path = wheel(NAME, good)
with zipfile.ZipFile(path, "a") as made:
    made.writestr("kivocamutl/more.py", b"")
code, said = check(path)
assert code == 1 and "kivocamutl/more.py is in the wheel or in its RECORD alone" in said, said
