#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The runner of the documents must fail where a document is wrong: one document for each way to be wrong.

    mistakes.py DIR RUNNER OPTION...      the options of run_snippets.py but --source, --work and the documents
"""

import pathlib
import shutil
import subprocess
import sys

MAIN = "#include <KivoCamUtl.h>\nint main(void) {{ {} }}\n"
# What is wrong: the document, and a part of what the runner says of it.
WRONG = {
    "a script that fails": ("```sh\nfalse\necho later\n```\n", "ends with 1"),
    "an option that is not there": ("```sh\nkivocam formats --colour\n```\n", "ends with 1"),
    "another output": ("```console\n$ echo one\ntwo\n```\n", "prints:"),
    "less output": ("```console\n$ echo one\n$ true\n```\n", "prints:"),
    "output of nothing": ("```console\none\n```\n", "begins with"),
    "a console command that fails": ("```console\n$ false\n```\n", "ends with 1"),
    "C that does not compile": (f"```c\n{MAIN.format('return NoSuch();')}```\n", "ends with 1"),
    "C with a warning": (f"```c\n{MAIN.format('int unused; return 0;')}```\n", "unused"),
    "C that returns a failure": (f"```c\n{MAIN.format('return 7;')}```\n", "ends with 7"),
    "C++ that does not compile": (f"```cpp\n{MAIN.format('return kivo::none();')}```\n", "ends with 1"),
    "Python that raises": ("```python\nassert 1 == 2\n```\n", "AssertionError"),
    "CMake without the package": ("```cmake\nfind_package(KivoCamUtl 2 REQUIRED)\n```\n", "find_package"),
    "a hidden script that fails": ("<!-- prepare\nfalse\n-->\n", "ends with 1"),
    "a block of another kind": ("```ruby\nputs 1\n```\n", "which nobody runs"),
    "a block of no kind": ("```\ntrue\n```\n", "of no kind"),
    "a block with an indent": ("- A list\n\n  ```sh\n  true\n  ```\n", "of no kind"),
    "a block that does not end": ("```sh\ntrue\n", "does not end"),
    "no reason": ("<!-- not run: -->\n```sh\nfalse\n```\n", "a reason"),
    "a reason without a block": ("<!-- not run: it is gone -->\n\nText\n\n```sh\ntrue\n```\n", "a reason"),
    "a link to nothing": ("See [there](nowhere.md).\n", "not there"),
    "a link to no heading": ("# Here\n\nSee [there](#elsewhere).\n", "no such heading"),
}
RIGHT = ("# A heading\n\n<!-- not run: it fails -->\n```sh\nfalse\n```\n\n```console\n$ echo one\none\n```\n\n"
         f"```c\n{MAIN.format('return 0;')}```\n[up](#a-heading)\n")


def main():
    folder, runner, *options = sys.argv[1:]
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)

    def run(text):
        document = folder / "document.md"
        document.write_text(text)
        done = subprocess.run([sys.executable, "-B", runner, *options, "--source", folder, "--work", folder / "work",
                               document], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        return done.returncode, done.stdout

    missed = 0
    code, said = run(RIGHT)
    if code != 0 or "2 blocks run, 1 left out" not in said:
        print(f"a document that is right ends with {code}: {said}", file=sys.stderr)
        missed += 1
    for name, (text, part) in WRONG.items():
        code, said = run(text)
        crashed = "run_snippets.py\", line" in said
        if code != 1 or part not in said or crashed:
            print(f"{name}: ends with {code}, expected 1 and '{part}': {said}", file=sys.stderr)
            missed += 1
    print(f"{len(WRONG)} mistakes, {missed} missed")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
