#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# release.sh OUT_DIR [COMMIT]: makes the tarball of a release, kivocamutl-VERSION.tar.gz, from what is committed, with
# its checksum. The same commit gives the same bytes, whoever makes it and wherever.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
[ $# -ge 1 ] || { echo 'usage: release.sh OUT_DIR [COMMIT]' >&2; exit 2; }
commit=$(git -C "$root" rev-parse --verify "${2:-HEAD}^{commit}")
version=$(git -C "$root" show "$commit:include/KivoCamUtl.h" |
  sed -n 's/^#define CAMUTL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' | paste -sd.)
name=kivocamutl-$version
mkdir -p "$1"
cd "$1"
# Settings of whoever runs this stay outside. In two steps, as a pipe would hide a failure of the first.
git -C "$root" -c tar.umask=0022 -c core.autocrlf=false -c core.attributesFile=/dev/null \
  archive --format=tar --prefix="$name/" "$commit" >"$name.tar"
gzip -9nf "$name.tar"
sha256sum "$name.tar.gz" >"$name.tar.gz.sha256"
echo "$name.tar.gz"
"$root/packaging/public_home.py" >&2 || true
