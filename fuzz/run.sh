#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Fuzzes with libFuzzer under AddressSanitizer and UBSan, one harness after the other, every target built in.
#
#   fuzz/run.sh [SECONDS [HARNESS...]]   60 seconds for each of them all; needs clang and libclang-rt
#
# What is found lies in build/fuzz/findings, what is learnt in build/fuzz/corpus, from which the next run goes on; a
# line for each harness, its executions among it, is added to build/fuzz/figures. Exit status: 1 after a finding.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
[ $# -eq 0 ] || shift
names=${*:-names headerless rwh png pnm bmp converters engine}
jobs=${KIVO_FUZZ_JOBS:-$(nproc)}

cmake --preset fuzz >/dev/null
# shellcheck disable=SC2046
cmake --build --preset fuzz -j "$jobs" --target $(printf 'fuzz_%s ' $names) >/dev/null
work=build/fuzz
mkdir -p $work/findings
found=0
for name in $names; do
  learnt=$work/corpus/$name
  mkdir -p "$learnt"
  set -- -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=60 -print_final_stats=1 -verbosity=0 \
    -artifact_prefix="$work/findings/$name-"
  [ ! -e "fuzz/dictionaries/$name.dict" ] || set -- "$@" -dict="fuzz/dictionaries/$name.dict"
  result=clean
  $work/fuzz/fuzz_$name "$@" "$learnt" "fuzz/corpus/$name" >"$work/$name.log" 2>&1 || result=FINDING
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$name.log")
  learnt=$(find "$learnt" -type f | wc -l)
  echo "$(date -u +%Y-%m-%dT%H:%MZ) $name ${executions:-0} executions in $seconds s, $learnt inputs learnt: $result" |
    tee -a "$work/figures"
  if [ $result != clean ]; then
    found=1
    grep -E -A 12 'does not hold|ERROR:|runtime error' "$work/$name.log" | head -n 30
  fi
done
exit $found
