#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# readme_programs.sh SOURCE LIBRARY_DIR CXX WORK_DIR: compiles the C and the C++ program of README.md, runs them, and
# looks at the pictures they write.
set -eu
source=$1
library=$2
cxx=$3
work=$4
rm -rf "$work"
mkdir -p "$work/c" "$work/cpp"
# block LANGUAGE: the first fenced block of that language.
block() { awk -v fence="\`\`\`$1" '$0 == fence {inside = 1; next} inside && /^```$/ {exit} inside' "$source/README.md"; }
block c >"$work/frame.c"
block cpp >"$work/frame.cpp"

case $cxx in
  *clang++*) cc=clang ;;
  *) cc=gcc ;;
esac
"$cc" -std=c99 -Wall -Wextra -Werror -I"$source/include" "$work/frame.c" -o "$work/c/frame" -L"$library" -lKivoCamUtl
"$cxx" -std=c++17 -Wall -Wextra -Werror -I"$source/include" "$work/frame.cpp" -o "$work/cpp/frame" -L"$library" -lKivoCamUtl
export LD_LIBRARY_PATH="$library"
(cd "$work/c" && ./frame)
(cd "$work/cpp" && ./frame)
test "$(wc -c <"$work/c/frame.bmp")" -eq $((54 + 640 * 480 * 4))
test "$(wc -c <"$work/cpp/frame.bmp")" -eq $((54 + 640 * 480 * 3))
