#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the reference of the headers and fails on whatever has no documentation.

    reference.py DOXYGEN SOURCE OUTPUT

Doxygen's warnings are errors by docs/Doxyfile. It has none for values of enumerations, which are looked up in what it
writes.
"""

import pathlib
import shutil
import subprocess
import sys
import xml.etree.ElementTree


def is_documented(element):
    parts = [element.find(name) for name in ("briefdescription", "detaileddescription")]
    return any("".join(part.itertext()).strip() for part in parts if part is not None)


def main():
    doxygen, source, output = sys.argv[1:]
    output = pathlib.Path(output)
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    settings = (pathlib.Path(source) / "docs/Doxyfile").read_text(encoding="utf-8")
    settings += f"OUTPUT_DIRECTORY = {output}\nGENERATE_XML = YES\nXML_PROGRAMLISTING = NO\n"
    if subprocess.run([doxygen, "-"], input=settings, text=True, cwd=source, check=False).returncode != 0:
        return 1
    values, missing = 0, set()
    for file in (output / "xml").glob("*.xml"):
        for value in xml.etree.ElementTree.parse(file).iter("enumvalue"):
            values += 1
            if not is_documented(value):
                missing.add(value.findtext("name"))
    for name in sorted(missing):
        print(f"the value {name} is not documented", file=sys.stderr)
    if not values:
        print("no enumeration was found", file=sys.stderr)
    return 1 if missing or not values else 0


if __name__ == "__main__":
    sys.exit(main())
