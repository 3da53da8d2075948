#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# tarball.sh SOURCE WORK_DIR: the tarball of a release holds the committed files and nothing else, and is the same
# whoever makes it.
set -eu
source=$1
work=$2
git -C "$source" ls-files --error-unmatch CMakeLists.txt >/dev/null 2>&1 || { echo 'skipped: not a checkout'; exit 77; }
rm -rf "$work"
mkdir -p "$work/home/.config/git"

name=$(sh "$source/packaging/release.sh" "$work/first" 2>"$work/said")
version=$(sed -n 's/^#define CAMUTL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' "$source/include/KivoCamUtl.h" | paste -sd.)
test "$name" = "kivocamutl-$version.tar.gz"
(cd "$work/first" && sha256sum -c --quiet "$name.sha256")

# Of a clone, by somebody with other settings, at another time.
git clone -q --no-local "$source" "$work/clone"
git -C "$work/clone" checkout -q "$(git -C "$source" rev-parse HEAD)"
echo 'not committed' >"$work/clone/left_over"
printf '[tar]\n\tumask = 0077\n[core]\n\tautocrlf = true\n' >"$work/home/.gitconfig"
echo 'docs export-ignore' >"$work/home/.config/git/attributes"
(
  umask 077
  cd /
  HOME=$work/home XDG_CONFIG_HOME=$work/home/.config TZ=Asia/Kathmandu LC_ALL=C \
    sh "$work/clone/packaging/release.sh" "$work/second" 2>/dev/null
) >/dev/null
cmp "$work/first/$name" "$work/second/$name"

tar tzf "$work/first/$name" | sed -n "s|^kivocamutl-$version/\(.*[^/]\)\$|\1|p" | sort >"$work/holds"
git -C "$source" ls-tree -r --name-only HEAD | sort | diff - "$work/holds"
! tar tzf "$work/first/$name" | grep -v "^kivocamutl-$version/" || { echo 'outside the folder of the release'; exit 1; }
