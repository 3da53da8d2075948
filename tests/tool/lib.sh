# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Shared by the tests of the command line tool. Usage of each test: sh NAME.sh KIVOCAM WORKDIR
set -u
kivocam=$1
work=$2
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
failures=0
checks=0
LC_ALL=C
export LC_ALL

fail() {
  failures=$((failures + 1))
  printf 'FAILED: %s\n' "$*"
}

# ok ARG...: the command succeeds and complains about nothing.
ok() {
  checks=$((checks + 1))
  "$kivocam" "$@" >stdout 2>stderr
  code=$?
  [ $code -eq 0 ] || fail "kivocam $*: exit code $code: $(cat stderr)"
  [ ! -s stderr ] || fail "kivocam $*: complains: $(cat stderr)"
}

# fails CODE LINE ARG...: the command ends with this code and with exactly this line, and leaves nothing behind.
fails() {
  expected=$1
  line=$2
  shift 2
  checks=$((checks + 1))
  "$kivocam" "$@" >stdout 2>stderr
  code=$?
  [ $code -eq "$expected" ] || fail "kivocam $*: exit code $code, not $expected"
  [ "$(cat stderr)" = "kivocam: $line" ] || fail "kivocam $*: says '$(cat stderr)', not 'kivocam: $line'"
  nothing_left "$*"
}

# nothing_left WHAT: neither the output nor a temporary file.
nothing_left() {
  for file in out.* .kivocam-*; do
    [ ! -e "$file" ] || fail "$1: left $file behind"
    rm -f "$file"
  done
}

same() {
  checks=$((checks + 1))
  cmp "$1" "$2" || fail "$1 and $2 differ"
}

# bytes VALUE...: octets in octal, such as 377, to standard output.
bytes() {
  for value; do
    # The format is the octet.
    # shellcheck disable=SC2059
    printf "\\$value"
  done
}

# pixels FILE BYTES: the last BYTES bytes of a PNM file, in octal.
pixels() {
  tail -c "$2" "$1" | od -An -v -to1 | tr -s ' \n' ' ' | sed 's/^ //; s/ $//'
}

# gives FILE "OCTETS": the picture ends in these bytes, and its header is right before them.
gives() {
  checks=$((checks + 1))
  # shellcheck disable=SC2086
  set -- "$1" "$2" $2
  actual=$(pixels "$1" $(($# - 2)))
  [ "$actual" = "$2" ] || fail "$1 has $actual, not $2"
}

# says PATTERN: the last command's standard output has a line that matches.
says() {
  checks=$((checks + 1))
  grep -Eq -- "$1" stdout || fail "no line '$1' in: $(cat stdout)"
}

finish() {
  [ $failures -eq 0 ] || { printf '%s of %s checks failed\n' "$failures" "$checks"; exit 1; }
  printf '%s checks passed\n' "$checks"
  rm -rf "$work"
}
