#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# header_standards.sh CC CXX INCLUDE_DIR WORK_DIR: the C headers, each alone and included twice, in every standard that
# they are for, with warnings as errors.
set -eu
cc=$1 cxx=$2 include=$3 work=$4
mkdir -p "$work"
failed=0

# compile COMPILER LANGUAGE STANDARDS HEADER TEXT
compile() {
  for standard in $3; do
    printf '#include <%s>\n#include <%s>\n%s\n' "$4" "$4" "$5" |
      "$1" -x "$2" -std="$standard" -Wall -Wextra -Wpedantic -Werror -I"$include" -c -o "$work/header.o" - ||
      { echo "$4 is no $standard"; failed=1; }
  done
}

c='c99 c11 c17 c2x'
frame='kivo_options made(void); kivo_options made(void) { kivo_options options = KIVO_OPTIONS_INIT; return options; }'
compile "$cc" c "$c" KivoCamUtl.h ''
compile "$cxx" c++ 'c++11 c++14 c++17 c++20' KivoCamUtl.h ''
compile "$cc" c "$c" KivoFrame.h "$frame"
compile "$cxx" c++ 'c++11 c++14 c++17 c++20' KivoFrame.h "$frame"
exit $failed
