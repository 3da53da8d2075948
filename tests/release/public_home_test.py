#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""public_home_test.py SOURCE WORK: the facts about the public home stand in one place, and what is left is named."""

import pathlib
import re
import shutil
import subprocess
import sys

source, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]) / "public_home"
FILES = ["debian/control", "debian/changelog", "debian/copyright", ".reuse/dep5", "python/pyproject.toml",
         "SECURITY.md", "packaging/public_home.ini"]
FACTS = {"maintainer": "Some One <one@example.org>", "homepage": "https://example.org/", "contact": "bugs@example.org",
         "repository": "https://example.org/r.git", "browser": "https://example.org/r",
         "releases": "https://example.org/releases", "security": "safe@example.org"}


def run(tree, *options):
    done = subprocess.run([sys.executable, "-B", source / "packaging/public_home.py", "--source", tree, *options],
                          capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


def contents(tree):
    return {str(path.relative_to(tree)): path.read_text() for path in tree.rglob("*") if path.is_file()}


def fill(tree, facts):
    """As by hand: the values behind the names that are there."""
    path = tree / "packaging/public_home.ini"
    path.write_text(re.sub(r"^(\w+) =.*$", lambda m: f"{m[1]} = {facts.get(m[1], '')}", path.read_text(), flags=re.M))


# No file of this tree says anything else than the one place does.
code, said = run(source)
assert code in (0, 1) and "--write" not in said, said

# The same tree with nothing filled in.
shutil.rmtree(work, ignore_errors=True)
for name in FILES:
    (work / name).parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(source / name, work / name)
fill(work, {})
run(work, "--write")
empty = contents(work)
code, said = run(work)
assert code == 1 and all(fact in said for fact in FACTS), said
assert "debian/watch" not in empty
# Who nobody is has no address that mail could reach.
assert all(address.endswith(".invalid") for text in empty.values() for address in re.findall(r"[\w.]+@[\w.]+", text))

# One fact less is named, and nothing else is.
fill(work, {**FACTS, "browser": ""})
code, said = run(work, "--write")
assert code == 1 and said.split(": ")[1] == "browser\n", said

# All of them: everywhere, once, and complete.
fill(work, FACTS)
code, said = run(work)
assert code == 2 and "debian/control" in said, said
assert run(work, "--write") == (0, ""), run(work)
assert run(work) == (0, "")
filled = contents(work)
assert "Maintainer: Some One <one@example.org>\n" in filled["debian/control"]
assert "\nHomepage: https://example.org/\nVcs-Git: https://example.org/r.git\nVcs-Browser: https://example.org/r\n" in (
    filled["debian/control"].split("\n\n")[0] + "\n")
assert "\n -- Some One <one@example.org>  " in filled["debian/changelog"]
for name in ("debian/copyright", ".reuse/dep5"):
    assert "\nUpstream-Contact: bugs@example.org\nSource: https://example.org/\n\n" in filled[name], filled[name]
assert '[project.urls]\nHomepage = "https://example.org/"\nSource = "https://example.org/r"\n' in (
    filled["python/pyproject.toml"])
assert "safe@example.org" in filled["SECURITY.md"]
assert filled["debian/watch"].startswith("version=4\nhttps://example.org/releases ")
assert not any(".invalid" in text for text in filled.values())

# What was changed elsewhere by hand is named, and put right.
path = work / "debian/control"
path.write_text(path.read_text().replace("Homepage: https://example.org/", "Homepage: https://example.org/other"))
code, said = run(work)
assert code == 2 and said.endswith(": debian/control\n"), said
run(work, "--write")
assert contents(work) == filled

# Taken back, the files are as they were, but for the entry of the changelog that was signed.
fill(work, {})
run(work, "--write")
empty["debian/changelog"] = filled["debian/changelog"]
assert contents(work) == empty
