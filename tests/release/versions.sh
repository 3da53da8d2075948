#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# versions.sh SOURCE: whatever names the version says that of the public header.
set -eu
cd "$1"

# version_of HEADER PREFIX: the numbers of its three macros.
version_of() {
  sed -n "s/^#define $2_VERSION_\(MAJOR\|MINOR\|PATCH\) //p" "$1" | paste -sd.
}

version=$(version_of include/KivoCamUtl.h CAMUTL)
failed=0

# says WHAT VERSION
says() {
  [ "$2" = "$version" ] || { echo "$1 says version '$2', the header $version"; failed=1; }
}

says include/KivoFrame.h "$(version_of include/KivoFrame.h KIVO)"
says debian/changelog "$(sed -n '1s/.*(\([^)-]*\).*/\1/p' debian/changelog)"
says CHANGELOG.md "$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)"
says python/kivocamutl "$(sed -n 's/^__version__ = "\(.*\)"/\1/p' python/kivocamutl/__init__.py)"
exit $failed
