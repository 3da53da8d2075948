#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Both libraries, and the C++ layer as the corpora of fuzzers try it, under MemorySanitizer: nothing that they answer or
# write depends on memory that nobody has written. Needs clang.
#
#   tests/msan.sh [CTEST OPTION...]
#
# What checkkernel lays out for it: of a source only its own bytes are known, and all of a result has to be. With
# -fsanitize-memory-track-origins among the flags a report says where the unknown value was made.
#
# Three limits. The standard library is the system's, without the sanitizer: its templates are compiled anew, and tests
# that use more of it, as GoogleTest and all that saves files do, are left out. Scratch memory on the stack is known
# (CMakeLists.txt says why); what the model gives instead is random, and judged by the pictures. A file that is mapped
# is known.
set -eu
cd "$(dirname "$0")/.."
cmake --preset msan >/dev/null
cmake --build --preset msan -j "$(nproc)" --target checkkernel frame_model_test fuzz_names fuzz_headerless \
  fuzz_engine fuzz_converters >/dev/null
ctest --preset msan -j "$(nproc)" -R \
  '^(checkkernel\..*|frame\.model\..*|fuzz\.(names|headerless|engine|converters))$' "$@"
