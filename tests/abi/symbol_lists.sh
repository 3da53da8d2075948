#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# symbol_lists.sh LIST MAP SYMBOLS: the version script and the symbols file of the Debian package list the functions of
# LIST, no more and no less.
set -eu
failed=0

# lists FILE NAMES
lists() {
  [ "$2" = "$(sort "$list")" ] || { echo "$1 lists other functions than $list"; failed=1; }
}

list=$1
lists "$2" "$(sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' "$2" | sort)"
lists "$3" "$(sed -n 's/^ \([A-Za-z0-9_]*\)@Base .*/\1/p' "$3" | sort)"
exit $failed
