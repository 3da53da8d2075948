#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# A million random calls of the engine under AddressSanitizer and UBSan, of g++ and of clang, every target built in.
#
#   tests/random_calls.sh [CALLS [SEED]]   a million, and a seed that each day has another
set -eu
cd "$(dirname "$0")/.."
calls=${1:-1000000}
seed=${2:-$(date -u +%Y%m%d)}
for preset in asan asan-clang; do
  cmake --preset $preset >/dev/null
  cmake --build --preset $preset -j "${KIVO_JOBS:-$(nproc)}" --target frame_random_calls >/dev/null
  began=$(date +%s)
  build/$preset/tests/frame/frame_random_calls "$calls" "$seed"
  echo "$preset: $(($(date +%s) - began)) s"
done
