#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# abi.sh check|store LIBRARY...|PACKAGES_DIR: compares the binary interface of libraries that have debug information,
# or of those in Debian packages with their debug packages beside them, with the stored one of their machine, or stores
# it anew, for a release that changes it on purpose. Exit code 77: something has nothing to be compared with, and it
# says what.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
action=$1
shift
debug=$work/usr/lib/debug
skipped=

command -v abidiff >/dev/null || { echo 'skipped: abidiff not found (Debian: abigail-tools)'; exit 77; }
if [ -d "$1" ]; then
  for package in "$1"/lib*.deb; do dpkg-deb -x "$package" "$work"; done
  # Of the development package, by which each library is linked.
  # shellcheck disable=SC2046
  set -- $(find "$work/usr/lib" -name 'lib*.so' | sort)
fi
mkdir -p "$debug"

for library in "$@"; do
  name=$(basename "$library")
  name=${name%%.so*}
  machine=$(LC_ALL=C readelf -h "$library" | sed -n 's/.*Machine: *//p')
  case $machine in
    *X86-64) stored=$root/tests/abi/$name.amd64.abi ;;
    *)
      echo "skipped: no interface is stored for $machine"
      skipped=yes
      continue
      ;;
  esac
  if ! LC_ALL=C readelf -S "$library" | grep -q '\.debug_info' && [ -z "$(find "$debug" -type f)" ]; then
    echo "skipped: $library has no debug information"
    skipped=yes
    continue
  fi
  case $action in
    check) abidiff --drop-private-types --debug-info-dir2 "$debug" "$stored" "$library" ;;
    store)
      abidw --exported-interfaces-only --headers-dir "$root/include" --drop-private-types --drop-undefined-syms \
        --no-corpus-path --no-show-locs --no-comp-dir-path --no-elf-needed --debug-info-dir "$debug" \
        "$library" >"$stored"
      ;;
    *) echo "usage: abi.sh check|store LIBRARY...|PACKAGES_DIR" >&2; exit 2 ;;
  esac
done
[ -z "$skipped" ] || exit 77
