#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the benchmarks, runs all of them and writes docs/performance.md and its chart.
#
#   bench/run.sh [--quick] [--out DIR] [BUILD_DIR]
#
# --quick takes short batches of small frames: a smoke test, no measurement. --out writes elsewhere than docs.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/docs
build=$root/build/bench
quick=
cold=/1920x1080/cold
while [ $# -gt 0 ]; do
  case $1 in
    --quick) quick='--quick --size=640x480 --rotate=32' cold=/cold ;;
    --out) out=$2; shift ;;
    -*) echo "usage: bench/run.sh [--quick] [--out DIR] [BUILD_DIR]" >&2; exit 2 ;;
    *) build=$1 ;;
  esac
  shift
done

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCAMUTL_BUILD_BENCH=ON -DCAMUTL_BUILD_TOOLS=OFF
if ! cmake --build "$build" --target help | grep -q bench_convert; then
  echo "bench/run.sh: Google Benchmark is missing (libbenchmark-dev)" >&2
  exit 1
fi
cmake --build "$build" -j "$(nproc)" --target bench_convert bench_plans
results=$build/results
mkdir -p "$results"
rm -f "$results"/*.json

echo "== converters, reversal, files"
"$build/bench/bench_convert" $quick --json="$results/best.json"
set -- --convert "$results/best.json"

# The next lower target too, where the processor has taken a better one.
if grep -q '"target": "Avx512"' "$results/best.json"; then
  echo "== the same with AVX2"
  "$build/bench/bench_convert" $quick --target=Avx2 --filter='/(640x480|1920x1080|5472x3648)/(warm|cold)' \
    --json="$results/avx2.json"
  set -- "$@" "$results/avx2.json"
fi

echo "== cold frames with streaming stores"
"$build/bench/bench_convert" $quick --stores=streaming --filter="$cold" --json="$results/streamed.json"
set -- "$@" --streamed "$results/streamed.json"
if [ -f "$results/avx2.json" ]; then
  "$build/bench/bench_convert" $quick --stores=streaming --target=Avx2 --filter="$cold" \
    --json="$results/streamed2.json"
  set -- "$@" "$results/streamed2.json"
fi

echo "== plans against plans"
"$build/bench/bench_plans" $quick --json="$results/plans.json"
set -- "$@" --plans "$results/plans.json"
if [ -f "$results/avx2.json" ]; then
  "$build/bench/bench_plans" $quick --target=Avx2 --filter='/(640x480|1920x1080|5472x3648)/warm' \
    --json="$results/plans2.json"
  set -- "$@" "$results/plans2.json"
fi

echo "== ordinary and streaming stores"
"$build/bench/bench_convert" $quick --with-read --json="$results/read.json"
set -- "$@" --read "$results/read.json"

if cmake --build "$build" --target help | grep -q bench_peers; then
  cmake --build "$build" -j "$(nproc)" --target bench_peers
  echo "== other libraries"
  "$build/bench/bench_peers" $quick --json="$results/peers.json"
  set -- "$@" --peers "$results/peers.json"
else
  echo "== OpenCV or libyuv is missing: no comparison with other libraries"
fi

python3 "$root/bench/report.py" "$@" --out "$out" --command "bench/run.sh${quick:+ --quick}"
echo "== wrote $out/performance.md"
