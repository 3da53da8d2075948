#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the software bill of materials of a source tree: SPDX 2.3, JSON.

    packaging/bill_of_materials.py --source DIR --version VERSION --output FILE

Names every source file with its licence and checksums, and what each part of the project is built with. The same
tree gives the same bytes: the date is that of SOURCE_DATE_EPOCH, of the last commit without it, or 1970.
"""

import argparse
import datetime
import hashlib
import json
import os
import re
import subprocess
import sys

LICENCE = "Apache-2.0"
# Part of the project, what it needs at run time, and that one's licence.
PARTS = [
    ("libKivoCamUtl", "the shared library", [("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1")]),
    ("kivocam", "the command line tool", [("libKivoCamUtl", None), ("libpng", "libpng-2.0"), ("libtiff", "libtiff"),
                                          ("CLI11", "BSD-3-Clause")]),
    ("kivocamutl", "the Python package", [("libKivoCamUtl", None), ("numpy", "BSD-3-Clause"),
                                          ("distributed", "BSD-3-Clause")]),
]
LICENCE_TAG = b"SPDX-License-Identifier"
# What building leaves in a source tree, and settings of the checkout that no package has.
NOT_SOURCE = re.compile(r"""
    ^(build[^/]*|out|obj-[^/]*|python/(build|dist))/ | (^|/)(\.[^/]*|__pycache__|[^/]*\.egg-info)(/|$)
    | ^debian/(?!(source|tests)/)[^/]*/ | ^debian/(files|.*debhelper.*|.*\.substvars)$""", re.VERBOSE)


def source_files(source):
    """Relative paths of the source files: those under version control, or all of a tree without it."""
    listed = subprocess.run(["git", "-C", source, "ls-files", "-z"], capture_output=True, check=False)
    if listed.returncode == 0 and listed.stdout:
        # What is deleted but not yet committed is still in the list.
        found = [name for name in listed.stdout.decode().split("\0") if os.path.isfile(os.path.join(source, name))]
    else:
        found = [os.path.relpath(os.path.join(folder, name), source)
                 for folder, _, names in os.walk(source) for name in names]
    return sorted(name for name in found if not NOT_SOURCE.search(name))


def date(source):
    epoch = os.environ.get("SOURCE_DATE_EPOCH")
    if epoch is None:
        commit = subprocess.run(["git", "-C", source, "log", "-1", "--format=%ct"], capture_output=True, text=True,
                                check=False)
        epoch = commit.stdout.strip() if commit.returncode == 0 else ""
    moment = datetime.datetime.fromtimestamp(int(epoch or 0), datetime.timezone.utc)
    return moment.strftime("%Y-%m-%dT%H:%M:%SZ")


def identifier(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.]+", "-", name).strip("-")


def file_entry(source, name):
    with open(os.path.join(source, name), "rb") as file:
        content = file.read()
    header = re.search(LICENCE_TAG + rb": ([A-Za-z0-9.+-]+)", content[:2000])
    return {
        "SPDXID": identifier("File", name),
        "fileName": "./" + name,
        "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
                      {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
        "licenseConcluded": LICENCE,
        # Files that cannot carry a header, such as pictures, are under the licence of the project.
        "licenseInfoInFiles": [header.group(1).decode() if header else "NONE"],
        "copyrightText": "KivoCamUtl developers",
    }


def package(name, version, licence, summary=None):
    entry = {
        "SPDXID": identifier("Package", name),
        "name": name,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
    }
    if version:
        entry["versionInfo"] = version
    if summary:
        entry["summary"] = summary
    return entry


def document(source, version):
    files = [file_entry(source, name) for name in source_files(source)]
    checksum = hashlib.sha1("".join(sorted(f["checksums"][0]["checksumValue"] for f in files)).encode()).hexdigest()
    packages = {}
    relations = []

    def relate(left, kind, right):
        relations.append({"spdxElementId": left, "relationshipType": kind, "relatedSpdxElement": right})

    for part, summary, needs in PARTS:
        packages[part] = package(part, version, LICENCE, summary)
        relate("SPDXRef-DOCUMENT", "DESCRIBES", identifier("Package", part))
        for name, licence in needs:
            if licence is not None:
                packages.setdefault(name, package(name, None, licence))
            relate(identifier("Package", part), "DEPENDS_ON", identifier("Package", name))
    for entry in files:
        relate("SPDXRef-DOCUMENT", "DESCRIBES", entry["SPDXID"])
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"KivoCamUtl-{version}",
        "documentNamespace": f"urn:sha1:{checksum}",
        "creationInfo": {"created": date(source), "creators": ["Tool: bill_of_materials.py"]},
        "packages": list(packages.values()),
        "files": files,
        "relationships": relations,
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--source", default=".", help="root of the source tree")
    parser.add_argument("--version", required=True, help="version of the project")
    parser.add_argument("--output", required=True, help="file to write")
    arguments = parser.parse_args()
    text = json.dumps(document(arguments.source, arguments.version), indent=1) + "\n"
    with open(arguments.output, "w", encoding="utf-8") as file:
        file.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
