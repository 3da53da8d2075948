#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# A harness under another fuzzer than libFuzzer: AFL++, with AddressSanitizer and UBSan.
#
#   fuzz/afl.sh [SECONDS [HARNESS]]   60 seconds for rwh; needs afl++ and libclang-rt
#
# It begins with the corpus and goes on where the last run ended. What is found lies in build/afl/found/HARNESS, a line
# for each run is added to build/afl/figures. Exit status: 1 after a crash or a hang.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
name=${2:-rwh}
work=build/afl
# The compiler says much, and afl-fuzz asks for a processor of its own and for other settings of the system.
export AFL_QUIET=1 AFL_NO_UI=1 AFL_NO_AFFINITY=1 AFL_SKIP_CPUFREQ=1 AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1
export AFL_AUTORESUME=1

cmake --preset afl >/dev/null
cmake --build --preset afl -j "${KIVO_FUZZ_JOBS:-$(nproc)}" --target "fuzz_$name" >/dev/null
mkdir -p $work/found
set -- -i "fuzz/corpus/$name" -o "$work/found/$name" -m none -t 5000
[ ! -e "fuzz/dictionaries/$name.dict" ] || set -- "$@" -x "fuzz/dictionaries/$name.dict"
ASAN_OPTIONS=abort_on_error=1:symbolize=0:detect_leaks=0 UBSAN_OPTIONS=halt_on_error=1:abort_on_error=1 \
  afl-fuzz -V "$seconds" "$@" -- "$work/fuzz/fuzz_$name" >"$work/$name.log" 2>&1 ||
  { tail -n 20 "$work/$name.log"; exit 1; }

stat() { sed -n "s/^$1 *: //p" "$work/found/$name/default/fuzzer_stats"; }
crashes=$(stat saved_crashes)
hangs=$(stat saved_hangs)
echo "$(date -u +%Y-%m-%dT%H:%MZ) $name $(stat execs_done) executions, $crashes crashes, $hangs hangs," \
  "$(stat corpus_count) inputs learnt, $(stat edges_found) of $(stat total_edges) edges" | tee -a $work/figures
[ "$crashes$hangs" = 00 ]
