#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# spdx_headers.sh SOURCE: every source file names its licence in its first lines, once, as a line of its own.
set -eu
cd "$1"
git ls-files --error-unmatch CMakeLists.txt >/dev/null 2>&1 || { echo 'skipped: not a checkout'; exit 77; }
tag=SPDX-License-Identifier
missing=0
files=0
for file in $(git ls-files); do
  case $file in
    # What has no comments, what others read, and texts.
    *.md | *.json | *.png | *.svg | *.abi | *.map | *.typed) continue ;;
    packaging/METADATA.in | tests/*.txt | docs/*.txt | fuzz/corpus/* | LICENSES/* | .reuse/* | .gitignore) continue ;;
    LICENSE | python/LICENSE) continue ;;
    debian/rules | debian/tests/consumers) ;;
    debian/*) continue ;;
  esac
  [ -e "$file" ] || continue
  files=$((files + 1))
  head -n 5 "$file" | grep -Eq "^(//|/\*|#|\.\\\\\"|<!--) $tag: Apache-2\.0( \*/| -->)?\$" || {
    echo "no licence named: $file"
    missing=1
  }
done
echo "$files files"
[ "$files" -gt 100 ] && [ $missing -eq 0 ]
