#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Says which facts about the public home of the project are left to be filled in, and which files lack one.

    packaging/public_home.py [--source DIR] [--write]

The facts stand in packaging/public_home.ini, and nowhere else by hand: --write puts them into the files that name
them, and takes them out again where they are empty. Exit code 0: all are there; 1: something is left; 2: a file says
something else.
"""

import argparse
import configparser
import pathlib
import sys

NOBODY = "KivoCamUtl developers <maintainers@kivocamutl.invalid>"
# File, the line in front, and what the lines behind it are: their beginning, the fact, their end.
LINES = [
    ("debian/control", "Rules-Requires-Root:", [("Homepage: ", "homepage", ""), ("Vcs-Git: ", "repository", ""),
                                                ("Vcs-Browser: ", "browser", "")]),
    ("debian/copyright", "Upstream-Name:", [("Upstream-Contact: ", "contact", ""), ("Source: ", "homepage", "")]),
    (".reuse/dep5", "Upstream-Name:", [("Upstream-Contact: ", "contact", ""), ("Source: ", "homepage", "")]),
    ("python/pyproject.toml", "[project.urls]", [('Homepage = "', "homepage", '"'), ('Source = "', "browser", '"')]),
    ("SECURITY.md", "before you publish it,", [("The place for it: ", "security", "")]),
]
WATCH = "version=4\n{} .*/kivocamutl-@ANY_VERSION@@ARCHIVE_EXT@\n"


def with_lines(text, anchor, lines, facts):
    """The text with a line for each fact that is known, behind the one that begins with `anchor`."""
    kept = [line for line in text.splitlines() if not any(line.startswith(begin) for begin, _, _ in lines)]
    places = [number for number, line in enumerate(kept) if line.startswith(anchor)]
    if len(places) != 1:
        raise ValueError(f"{len(places)} lines begin with {anchor}")
    known = [begin + facts[fact] + end for begin, fact, end in lines if facts[fact]]
    return "\n".join(kept[:places[0] + 1] + known + kept[places[0] + 1:]) + "\n"


def with_maintainer(name, text, facts):
    """The package's maintainer; of the changelog's entries, those that nobody has signed yet."""
    maintainer = facts["maintainer"] or NOBODY
    if name == "debian/changelog":
        return text.replace(NOBODY, maintainer)
    return "".join(f"Maintainer: {maintainer}\n" if line.startswith("Maintainer: ") else line
                   for line in text.splitlines(keepends=True))


def wanted(source, facts):
    """What each file that names a fact should hold; None for a file that should not be there."""
    texts = {name: (source / name).read_text(encoding="utf-8") for name, _, _ in LINES}
    for name, anchor, lines in LINES:
        try:
            texts[name] = with_lines(texts[name], anchor, lines, facts)
        except ValueError as error:
            raise ValueError(f"{name}: {error}") from None
    texts["debian/changelog"] = (source / "debian/changelog").read_text(encoding="utf-8")
    for name in ("debian/control", "debian/changelog"):
        texts[name] = with_maintainer(name, texts[name], facts)
    texts["debian/watch"] = WATCH.format(facts["releases"]) if facts["releases"] else None
    return texts


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--source", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent,
                        help="root of the source tree")
    parser.add_argument("--write", action="store_true", help="put the facts into the files")
    arguments = parser.parse_args()
    settings = configparser.ConfigParser(interpolation=None)
    with open(arguments.source / "packaging/public_home.ini", encoding="utf-8") as file:
        settings.read_file(file)
    facts = settings["home"]
    differing = []
    for name, text in wanted(arguments.source, facts).items():
        path = arguments.source / name
        found = path.read_text(encoding="utf-8") if path.exists() else None
        if found == text:
            continue
        if not arguments.write:
            differing.append(name)
        elif text is None:
            path.unlink()
        else:
            path.write_text(text, encoding="utf-8")
    left = [fact for fact, value in facts.items() if not value]
    if left:
        print("left to fill in, in packaging/public_home.ini: " + ", ".join(left))
    if differing:
        print("not what packaging/public_home.ini says (--write puts it there): " + ", ".join(differing))
    return 2 if differing else 1 if left else 0


if __name__ == "__main__":
    sys.exit(main())
