#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Proves the vector formulas for all inputs: means, adaptive colours and the colour matrix with z3, the words that they
# are made of, gains and the YUV matrices by trying everything, on every target that runs here.
#
#   tests/proofs/run.sh [BUILD]   in a configured build folder, build/ci
set -eu
cd "$(dirname "$0")/../.."
build=${1:-build/ci}
cmake --build "$build" -j "$(nproc)" --target proof_formulas proof_words checkkernel >/dev/null
"$build/tests/proofs/proof_words" 1
ctest --test-dir "$build" -R '^checkkernel\..*_exhaustive\.' --output-on-failure | tail -n 4
"$build/tests/proofs/proof_formulas" | /usr/bin/python3 tests/proofs/solve.py --seconds 1800
