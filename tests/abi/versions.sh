#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# versions.sh SOURCE: whatever names the version says that of the public header, and whatever lists the exported
# functions lists the same ones.
set -eu
cd "$1"
version=$(sed -n 's/^#define CAMUTL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' include/KivoCamUtl.h | paste -sd.)
failed=0

# says WHAT VERSION
says() {
  [ "$2" = "$version" ] || { echo "$1 says version '$2', the header $version"; failed=1; }
}

says debian/changelog "$(sed -n '1s/.*(\([^)-]*\).*/\1/p' debian/changelog)"
says CHANGELOG.md "$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)"
says python/kivocamutl "$(sed -n 's/^__version__ = "\(.*\)"/\1/p' python/kivocamutl/__init__.py)"

# lists FILE NAMES
lists() {
  [ "$2" = "$(sort tests/abi/exported_symbols.txt)" ] || { echo "$1 lists other functions"; failed=1; }
}

lists src/camutl.map "$(sed -n 's/^ *\([A-Z][A-Za-z0-9_]*\);$/\1/p' src/camutl.map | sort)"
lists debian/libkivocamutl1.symbols "$(sed -n 's/^ \([A-Za-z0-9_]*\)@Base .*/\1/p' debian/libkivocamutl1.symbols | sort)"
exit $failed
