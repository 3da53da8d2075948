#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# reuse.sh SOURCE: the checkout follows the rules of REUSE, so that any tool can tell the licence of any file.
set -eu
cd "$1"
git ls-files --error-unmatch CMakeLists.txt >/dev/null 2>&1 || { echo 'skipped: not a checkout'; exit 77; }
command -v reuse >/dev/null || { echo 'skipped: reuse not found (Debian: reuse)'; exit 77; }
exec reuse lint
