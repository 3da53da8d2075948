#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# abi.sh check|store PACKAGES_DIR: compares the binary interface of the built libkivocamutl1 package (amd64, with its
# debug package beside it) with the stored one, or stores it anew, for a release that changes it on purpose.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
stored=$root/tests/abi/libKivoCamUtl.amd64.abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for package in "$2"/libkivocamutl1_*_amd64.deb "$2"/libkivocamutl1-dbgsym_*_amd64.deb; do
  dpkg-deb -x "$package" "$work"
done
library=$work/usr/lib/x86_64-linux-gnu/libKivoCamUtl.so.1
case $1 in
  check) abidiff --drop-private-types --debug-info-dir2 "$work/usr/lib/debug" "$stored" "$library" ;;
  store)
    abidw --exported-interfaces-only --headers-dir "$root/include" --drop-private-types --drop-undefined-syms \
      --no-corpus-path --no-show-locs --no-comp-dir-path --no-elf-needed --debug-info-dir "$work/usr/lib/debug" \
      "$library" >"$stored"
    ;;
  *) echo "usage: abi.sh check|store PACKAGES_DIR" >&2; exit 2 ;;
esac
