#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Holds the sources against .clang-tidy.
#
#   tests/tidy.sh BUILD [PATTERN]   with the commands of a build folder; of files whose paths have the pattern in them
#
# A kernel text is looked at once, for one target. Exit status: 0, 1 for a finding, 77 without clang-tidy.
set -eu
build=$1
pattern=${2-}
command -v run-clang-tidy >/dev/null || { echo 'tidy: no run-clang-tidy (Debian: clang-tidy)'; exit 77; }
commands=$build/tidy
mkdir -p "$commands"
/usr/bin/python3 - "$build/compile_commands.json" "$commands/compile_commands.json" "$PWD" "$pattern" <<'END'
import json
import sys

everything, ours, root, pattern = sys.argv[1:]
chosen = {}
with open(everything, encoding="utf-8") as file:
    entries = json.load(file)
kernels = [entry for entry in entries if "KIVO_TARGET=" in entry["command"]]
target = "Avx2" if any("KIVO_TARGET=Avx2" in entry["command"] for entry in kernels) else "Baseline"
for entry in entries:
    path, command = entry["file"].removeprefix(root + "/"), entry["command"]
    if not path.startswith(("src/", "tools/", "examples/")) or pattern not in path:
        continue
    if "KIVO_TARGET=" in command and f"KIVO_TARGET={target} " not in command:
        continue
    if path.endswith(".cpp") and "-std=" not in command:
        # g++ has the standard by default that is asked for; clang has another.
        entry["command"] = command.replace(" -c ", " -std=c++17 -c ", 1)
    chosen.setdefault(path, entry)
with open(ours, "w", encoding="utf-8") as file:
    json.dump(list(chosen.values()), file)
print(f"{len(chosen)} files, kernels of {target}")
sys.exit(0 if chosen else 1)
END
run-clang-tidy -j "$(nproc)" -p "$commands" -quiet >"$commands/log" 2>&1 && exit 0
grep -E -A 3 'warning:|error:' "$commands/log"
exit 1
