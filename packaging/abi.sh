#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# abi.sh check|store LIBRARY|PACKAGES_DIR: compares the binary interface of a library that has debug information, or of
# the libkivocamutl1 package with its debug package beside it, with the stored one of its machine, or stores it anew,
# for a release that changes it on purpose. Exit code 77: nothing to compare with, and it says what.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

skip() {
  echo "skipped: $*"
  exit 77
}

command -v abidiff >/dev/null || skip 'abidiff not found (Debian: abigail-tools)'
if [ -d "$2" ]; then
  for package in "$2"/libkivocamutl1_*.deb "$2"/libkivocamutl1-dbgsym_*.deb; do
    dpkg-deb -x "$package" "$work"
  done
  library=$(find "$work/usr/lib" -name 'libKivoCamUtl.so.1')
else
  library=$2
fi
machine=$(LC_ALL=C readelf -h "$library" | sed -n 's/.*Machine: *//p')
case $machine in
  *X86-64) stored=$root/tests/abi/libKivoCamUtl.amd64.abi ;;
  *) skip "no interface is stored for $machine" ;;
esac
debug=$work/usr/lib/debug
if ! LC_ALL=C readelf -S "$library" | grep -q '\.debug_info' && [ ! -d "$debug" ]; then
  skip "$library has no debug information"
fi
mkdir -p "$debug"

case $1 in
  check) abidiff --drop-private-types --debug-info-dir2 "$debug" "$stored" "$library" ;;
  store)
    abidw --exported-interfaces-only --headers-dir "$root/include" --drop-private-types --drop-undefined-syms \
      --no-corpus-path --no-show-locs --no-comp-dir-path --no-elf-needed --debug-info-dir "$debug" \
      "$library" >"$stored"
    ;;
  *) echo "usage: abi.sh check|store LIBRARY|PACKAGES_DIR" >&2; exit 2 ;;
esac
