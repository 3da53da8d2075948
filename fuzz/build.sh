#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the harnesses with the compiler and the flags of a fuzzing service: CXX, CXXFLAGS, LIB_FUZZING_ENGINE. They go
# to $OUT, each with its dictionary and its corpus; $WORK is for what lies between. Readers of pictures need libpng and
# CLI11, which the tool is built with.
set -eu
: "${OUT:?where the harnesses go}" "${WORK:?a folder to build in}" "${LIB_FUZZING_ENGINE:=-fsanitize=fuzzer}"
cd "$(dirname "$0")/.."
cmake -S . -B "$WORK/kivocamutl" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCAMUTL_BUILD_TESTS=ON -DCAMUTL_INSTALL=OFF \
  "-DCAMUTL_FUZZING_ENGINE=$LIB_FUZZING_ENGINE"
for corpus in fuzz/corpus/*; do
  name=$(basename "$corpus")
  cmake --build "$WORK/kivocamutl" -j "$(nproc)" --target "fuzz_$name"
  cp "$WORK/kivocamutl/fuzz/fuzz_$name" "$OUT/$name"
  [ ! -e "fuzz/dictionaries/$name.dict" ] || cp "fuzz/dictionaries/$name.dict" "$OUT/"
  (cd "$corpus" && /usr/bin/python3 -m zipfile -c "$OUT/${name}_seed_corpus.zip" ./*)
done
