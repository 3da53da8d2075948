#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# includes.sh TOOLS: the folders of the tool know each other in one direction only. Files name what they include from
# TOOLS on, so that the lines themselves say which folder knows which.
set -eu
export LC_ALL=C
cd "$1"

includes=$(grep -rEo --include='*.cpp' --include='*.h' '^ *# *include *"[^"]*"' . |
  sed 's,^\./\([^:]*\):.*"\([^"]*\)"$,\1 \2,')
[ "$(printf '%s\n' "$includes" | wc -l)" -gt 100 ] || { echo 'hardly any includes found' >&2; exit 1; }

printf '%s\n' "$includes" | while read -r source header; do
  [ -e "$header" ] || { echo "$source includes $header, which is not below tools/" >&2; exit 1; }
done

arrows=$(printf '%s\n' "$includes" | while read -r source header; do
  echo "$(dirname "$source") $(dirname "$header")"
done | sort -u | awk '$1 != $2')
# tsort names the folders of a circle and fails.
if order=$(printf '%s\n' "$arrows" | tsort 2>&1); then
  echo "each knows only those behind it:" $order
else
  printf '%s\n' "$order" >&2
  printf '%s\n' "$includes" | sed 's/ / includes /' | sort >&2
  exit 1
fi
