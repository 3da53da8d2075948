#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# spdx_headers.sh SOURCE: every source file names its licence in its first lines.
set -eu
cd "$1"
git rev-parse --git-dir >/dev/null 2>&1 || { echo 'skipped: not a checkout'; exit 77; }
missing=0
files=0
for file in $(git ls-files); do
  case $file in
    # What has no comments, what others read, and texts.
    *.md | *.json | *.png | *.svg | *.txt | *.abi | *.map | debian/* | LICENSE | LICENSES/* | .reuse/* | .gitignore | *.typed) continue ;;
  esac
  [ -e "$file" ] || continue
  files=$((files + 1))
  head -n 5 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0' || { echo "no SPDX header: $file"; missing=1; }
done
echo "$files files"
[ "$files" -gt 100 ] && [ $missing -eq 0 ]
