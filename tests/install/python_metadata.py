#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""python_metadata.py PYPROJECT VERSION: what the package that is found in sys.path says of itself."""

import importlib.metadata
import re
import sys

version = importlib.metadata.version("kivocamutl")
assert version == sys.argv[2], version
try:
    import tomllib
except ImportError:  # before Python 3.11
    sys.exit(0)
with open(sys.argv[1], "rb") as file:
    project = tomllib.load(file)["project"]

found = importlib.metadata.metadata("kivocamutl")
for field, value in {"Name": project["name"], "Summary": project["description"],
                     "Requires-Python": project["requires-python"], "License": project["license"]["text"]}.items():
    assert found[field] == value, (field, found[field], value)
needs = {*project["dependencies"]}
for extra in set(project["optional-dependencies"]) & set(found.get_all("Provides-Extra")):
    needs |= {f"{name}; extra == '{extra}'" for name in project["optional-dependencies"][extra]}
listed = {re.sub(r" ?; ?extra == ['\"](\w+)['\"]", r"; extra == '\1'", need)
          for need in importlib.metadata.requires("kivocamutl")}
assert listed == needs, (listed, needs)
