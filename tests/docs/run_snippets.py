#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs every fenced block of the documents as it stands there, and follows their links.

    run_snippets.py --source DIR --prefix INSTALLED_TREE --cc CC --cxx CXX --work DIR DOCUMENT...

Blocks of one document run one after another in one folder, with the installed tree as the system's:

    sh        a shell script that must succeed
    console   lines "$ command", each followed by exactly what it prints
    c, cpp    a program (C99, C++17, warnings are errors) that must build, run and return 0
    cmake     a CMakeLists.txt, or the part of one behind add_executable(viewer viewer.c), that must build
    python    a script that must succeed
    text      nothing to run

A comment <!-- prepare ... --> is a shell script that runs there and that no reader needs to see; one that begins
<!-- prepare python goes in front of the next python block; <!-- not run: reason --> above a block leaves it out. A
block of another kind is a mistake, and so is a link to a file or heading that is not there.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys

FENCE = re.compile(r"^\s*(?:```|~~~)(.*)$")
CMAKE = """cmake_minimum_required(VERSION 3.21)
project(viewer C CXX)
add_executable(viewer viewer.c)
"""
VIEWER = "#include <KivoCamUtl.h>\nint main(void) { return PrepareLUT(); }\n"


class Mistake(Exception):
    pass


def parts(text):
    """(line, kind, content) of the comments that concern us and of the fenced blocks, in order."""
    lines = text.splitlines()
    i = 0
    while i < len(lines):
        start = i + 1
        fence = FENCE.match(lines[i])
        if fence:
            if not re.fullmatch(r"```\w+", lines[i]):
                raise Mistake(f"line {start}: a block that begins with '{lines[i]}': neither indented nor of no kind")
            end = next((k for k in range(i + 1, len(lines)) if lines[k].strip() == "```"), None)
            if end is None:
                raise Mistake(f"line {start}: a block that does not end")
            yield start, fence.group(1), "\n".join(lines[i + 1:end]) + "\n"
            i = end
        elif lines[i].startswith("<!-- prepare"):
            end = next((k for k in range(i, len(lines)) if "-->" in lines[k]), None)
            if end is None:
                raise Mistake(f"line {start}: a comment that does not end")
            body = "\n".join(lines[i:end + 1])[len("<!-- prepare"):].rsplit("-->", 1)[0]
            kind = "prepare python" if body.startswith(" python") else "prepare"
            yield start, kind, body.removeprefix(" python") + "\n"
            i = end
        elif lines[i].startswith("<!-- not run"):
            below = lines[i + 1] if i + 1 < len(lines) else ""
            if not re.fullmatch(r"<!-- not run: \S.* -->", lines[i]) or not below.startswith("```"):
                raise Mistake(f"line {start}: a reason, on this line, and right above a block")
            yield start, "not run", lines[i]
        i += 1


class Runner:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        prefix = options.prefix
        lib = next((p.parent for p in sorted(prefix.glob("lib*/**/libKivoCamUtl.so.1"))), prefix / "lib")
        # That of the sources where the package is installed by other means than CMake.
        packages = [str(p) for p in prefix.glob("lib/python3*/*-packages")] or [str(options.source / "python")]
        self.environment = {
            **{k: v for k, v in os.environ.items() if k in ("HOME", "TMPDIR", "LANG")},
            "PATH": f"{prefix}/bin:" + os.environ["PATH"], "CPATH": str(prefix / "include"),
            "LIBRARY_PATH": str(lib), "LD_LIBRARY_PATH": str(lib), "PKG_CONFIG_PATH": str(lib / "pkgconfig"),
            "CMAKE_PREFIX_PATH": str(prefix), "PYTHONPATH": ":".join(packages), "PYTHONDONTWRITEBYTECODE": "1",
            "MANPATH": str(prefix / "share/man"), "LC_ALL": "C.UTF-8", "CC": options.cc, "CXX": options.cxx,
        }
        self.before_python = ""

    def run(self, *command, stdin=None):
        done = subprocess.run(command, cwd=self.folder, env=self.environment, input=stdin, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=240, check=False)
        if done.returncode != 0:
            raise Mistake(f"{' '.join(map(str, command))[:200]}: ends with {done.returncode}:\n{done.stdout[-3000:]}")
        return done.stdout

    def shell(self, script):
        return self.run("sh", "-eu", "-c", script)

    def program(self, name, compiler, standard, text):
        (self.folder / name).write_text(text)
        exe = pathlib.Path(name).stem
        self.run(compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror", name, "-o", f"./{exe}",
                 "-lKivoCamUtl", "-lKivoFrame", "-lpthread")
        self.run(f"./{exe}")

    def console(self, text):
        command, expected = None, []
        for line in [*text.splitlines(), "$ "]:
            if not line.startswith("$ "):
                expected.append(line)
                continue
            if command is None and expected:
                raise Mistake("begins with something else than '$ '")
            if command is not None:
                got = self.shell(command).splitlines()
                if got != expected:
                    raise Mistake("\n".join([f"$ {command}", "prints:", *got, "not:", *expected]))
            command, expected = line[2:], []

    def block(self, kind, text):
        if kind in ("sh", "prepare"):
            self.shell(text)
        elif kind == "console":
            self.console(text)
        elif kind == "c":
            self.program("program.c", self.options.cc, "c99", text)
        elif kind == "cpp":
            self.program("program.cpp", self.options.cxx, "c++17", text)
        elif kind == "python":
            self.run(sys.executable, "-c", self.before_python + text)
            self.before_python = ""
        elif kind == "cmake":
            project = self.folder / "cmake-project"
            project.mkdir(exist_ok=True)
            (project / "viewer.c").write_text(VIEWER)
            whole = "cmake_minimum_required" in text
            (project / "CMakeLists.txt").write_text(text if whole else CMAKE + text)
            self.run("cmake", "-S", project, "-B", project / "build")
            self.run("cmake", "--build", project / "build")
        elif kind == "prepare python":
            self.before_python = text
        elif kind != "text":
            raise Mistake(f"a block of kind '{kind}', which nobody runs")


def anchors(document):
    """Anchors of the headings, as the places that show Markdown make them."""
    names = set()
    outside = re.sub(r"^```.*?^```", "", document.read_text(encoding="utf-8"), flags=re.S | re.M)
    for heading in re.findall(r"^#+ +(.*)$", outside, flags=re.M):
        text = re.sub(r"[^\w\- ]", "", heading.strip().lower())
        names.add(text.replace(" ", "-"))
    return names


def follow_links(document, text):
    outside = re.sub(r"^```.*?^```", "", text, flags=re.S | re.M)
    for target in re.findall(r"\]\(([^)\s]+)\)", outside):
        if re.match(r"\w+:", target):
            continue
        file, _, anchor = target.partition("#")
        linked = (document.parent / file) if file else document
        if not linked.exists():
            raise Mistake(f"a link to {target}, which is not there")
        if anchor and anchor not in anchors(linked):
            raise Mistake(f"a link to {target}, which has no such heading")


def check(document, options):
    """Runs a document; returns how many blocks ran and how many were left out."""
    text = document.read_text(encoding="utf-8")
    follow_links(document, text)
    folder = options.work / document.relative_to(options.source).as_posix().replace("/", "_")
    folder.mkdir(parents=True)
    runner = Runner(options, folder)
    ran = left_out = 0
    skip = False
    for line, kind, content in parts(text):
        if kind == "not run":
            skip = True
            continue
        if skip:
            skip = False
            left_out += 1
            continue
        try:
            runner.block(kind, content)
        except (Mistake, subprocess.TimeoutExpired) as error:
            raise Mistake(f"line {line}: {error}") from None
        ran += kind not in ("text", "prepare", "prepare python")
    return ran, left_out


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for name in ("source", "prefix", "work"):
        parser.add_argument(f"--{name}", required=True, type=lambda p: pathlib.Path(p).resolve())
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    parser.add_argument("documents", nargs="+", type=lambda p: pathlib.Path(p).resolve())
    options = parser.parse_args()
    subprocess.run(["rm", "-rf", options.work], check=True)
    wrong = total = 0
    for document in options.documents:
        name = document.relative_to(options.source)
        try:
            ran, left_out = check(document, options)
            total += ran
            print(f"{name}: {ran} blocks run, {left_out} left out")
        except Mistake as mistake:
            wrong += 1
            print(f"{name}: {mistake}", file=sys.stderr)
    return 1 if wrong or total == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
