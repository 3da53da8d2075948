#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bill_of_materials_test.py SOURCE WORK: the bill of materials of a tree is complete, true and the same every time."""

import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import sys

source, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]) / "bill_of_materials"
GENERATOR = source / "packaging" / "bill_of_materials.py"


def generate(tree, name, **settings):
    output = work / name
    subprocess.run([sys.executable, "-B", GENERATOR, "--source", tree, "--version", "1.2.3", "--output", output],
                   env={**os.environ, "SOURCE_DATE_EPOCH": "86400", **settings}, check=True)
    return output.read_bytes()


# A small tree, with what a build leaves in it.
shutil.rmtree(work, ignore_errors=True)
tree = work / "tree"
TAG = b"SPDX-License-Identifier"
CONTENT = {
    "src/a.cpp": b"// " + TAG + b": Apache-2.0\nint a;\n",
    "src/a_cpp": b"no header",
    "debian/rules": b"#!/usr/bin/make -f\n# " + TAG + b": Apache-2.0\n",
    "debian/tests/control": b"Tests: all\n",
}
LEFT_OVERS = ["build/x.o", "build-2/x.o", "obj-x86_64-linux-gnu/x.o", "out/x.png", "debian/tmp/usr/x", "debian/files",
              "debian/debhelper-build-stamp", "debian/.debhelper/x", "debian/some.substvars", "a/__pycache__/x.pyc",
              "python/build/lib/x.py", "python/dist/x.whl", "python/kivocamutl.egg-info/PKG-INFO"]
for name, content in [*CONTENT.items(), *((name, b"left over") for name in LEFT_OVERS)]:
    (tree / name).parent.mkdir(parents=True, exist_ok=True)
    (tree / name).write_bytes(content)

# Outside version control, whatever tree is around it.
first = generate(tree, "first.json", GIT_CEILING_DIRECTORIES=str(work))
assert first == generate(tree, "second.json", GIT_CEILING_DIRECTORIES=str(work), TZ="Asia/Kathmandu")
bill = json.loads(first)
assert {f["fileName"][2:] for f in bill["files"]} == set(CONTENT), bill["files"]
for entry in bill["files"]:
    sums = {c["algorithm"]: c["checksumValue"] for c in entry["checksums"]}
    content = CONTENT[entry["fileName"][2:]]
    assert sums == {"SHA1": hashlib.sha1(content).hexdigest(), "SHA256": hashlib.sha256(content).hexdigest()}
    stated = "Apache-2.0" if TAG in content else "NONE"
    assert entry["licenseInfoInFiles"] == [stated], entry
assert bill["spdxVersion"] == "SPDX-2.3" and bill["creationInfo"]["created"] == "1970-01-02T00:00:00Z"
packages = {p["SPDXID"]: p for p in bill["packages"]}
assert {p["name"] for p in bill["packages"] if p.get("versionInfo") == "1.2.3"} == {
    "libKivoCamUtl", "kivocam", "kivocamutl"}

# Every element has a name of its own, and relations lead to elements that exist.
ids = [e["SPDXID"] for e in [bill, *bill["files"], *bill["packages"]]]
assert len(ids) == len(set(ids)), ids
for relation in bill["relationships"]:
    assert relation["spdxElementId"] in ids and relation["relatedSpdxElement"] in ids, relation
needs = {(packages[r["spdxElementId"]]["name"], packages[r["relatedSpdxElement"]]["name"])
         for r in bill["relationships"] if r["relationshipType"] == "DEPENDS_ON"}
assert {("libKivoCamUtl", "libstdc++"), ("kivocam", "libpng"), ("kivocam", "libtiff"),
        ("kivocamutl", "libKivoCamUtl")} <= needs, needs

# A changed byte is another document.
(tree / "src/a.cpp").write_bytes(CONTENT["src/a.cpp"] + b"\n")
assert json.loads(generate(tree, "third.json"))["documentNamespace"] != bill["documentNamespace"]

# The sources of this very tree: every file of the library is in it.
whole = {f["fileName"][2:] for f in json.loads(generate(source, "whole.json"))["files"]}
library = {str(f.relative_to(source)) for f in (source / "src").rglob("*.*")}
assert library <= whole, library - whole
print(f"{len(whole)} files")
