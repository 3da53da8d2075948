#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# old_processor.sh QEMU PROCESSOR TARGET,... CHECKKERNEL GOLDEN: that an emulated processor offers just these targets,
# that every kernel of the last, its own, agrees with its reference there, and that the library, left to choose, runs
# there.
set -eu
qemu=$1
processor=$2
expected=$3
checkkernel=$4
golden=$5

offered=$("$qemu" -cpu "$processor" "$checkkernel" --list | sed -n 's/^target \(.*\): runs here$/\1/p' | paste -sd, -)
if [ "$offered" != "$expected" ]; then
  echo "$processor offers $offered, expected $expected" >&2
  exit 1
fi
"$qemu" -cpu "$processor" "$checkkernel" --target="${expected##*,}" --quick --seed=1
"$qemu" -cpu "$processor" "$golden"
