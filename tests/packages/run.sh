#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# run.sh [WORK_DIR]: builds the Debian packages of the last commit twice and compares them byte for byte, checks them
# with lintian, installs them in a minimal Debian system of their own, builds and runs every kind of consumer there, and
# removes them again. Needs root for the minimal system; says what it leaves out, and exits with 77 then.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$root/build/packages}
skipped=

say() { echo "packages: $*"; }
leave_out() {
  say "skipped: $*"
  skipped=yes
}

# build NAME UMASK ZONE LOCALE OPTIONS: the packages of the last commit, in a directory of that name.
build() {
  mkdir -p "$work/$1/source"
  git -C "$root" archive HEAD | tar x -C "$work/$1/source"
  (
    umask "$2"
    cd "$work/$1/source"
    # SOURCE_DATE_EPOCH comes from the changelog; the checkout's own settings stay outside.
    env -u MAKEFLAGS -u CXXFLAGS -u CFLAGS TZ="$3" LC_ALL="$4" DEB_BUILD_OPTIONS="$5 parallel=$(nproc)" \
      dpkg-buildpackage -us -uc -b
  ) >"$work/$1.log" 2>&1 || { tail -n 60 "$work/$1.log"; say "the $1 build failed"; exit 1; }
}

rm -rf "$work"
mkdir -p "$work"
build first 022 UTC C.UTF-8 ''
say "built, tests run"
build the-second-build 002 Asia/Kathmandu C nocheck
for package in "$work"/first/*.deb; do
  again=$work/the-second-build/$(basename "$package")
  if ! cmp -s "$package" "$again"; then
    command -v diffoscope >/dev/null && diffoscope --text - "$package" "$again" | head -n 60
    say "$(basename "$package") differs between two builds"
    exit 1
  fi
done
say "two builds are equal byte for byte: $(find "$work/first" -name '*.deb' | wc -l) packages"

if [ "$(dpkg --print-architecture)" = amd64 ]; then
  "$root/packaging/abi.sh" check "$work/first"
  say "the binary interface is the stored one"
else
  leave_out 'the binary interface is stored for amd64 only'
fi

lintian --fail-on error --allow-root "$work"/first/*.changes
say "lintian has no errors"

finish() {
  mountpoint -q "$work/system/proc" && umount "$work/system/proc"
  mountpoint -q "$work/system/dev" && umount "$work/system/dev"
  true
}
trap finish EXIT

inside() {
  # The settings are words of their own.
  # shellcheck disable=SC2046
  env -i $(env | grep -iE '^(https?|no)_proxy=' || true) HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin chroot "$work/system" "$@"
}

# The system gets its packages from where this one gets them.
minimal_system() {
  mirror=$(sed -n -e 's/^URIs: *\([^ ]*\).*/\1/p' -e 's/^deb  *\(\[[^]]*\] *\)\{0,1\}\([^ ]*\).*/\2/p' \
    /etc/apt/sources.list.d/*.sources /etc/apt/sources.list 2>/dev/null | head -n 1)
  [ -n "$mirror" ] || return 1
  debootstrap --no-check-gpg --variant=minbase bookworm "$work/system" "$mirror" || return 1
  rm -f "$work/system/etc/apt/sources.list"
  cp -a /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf.d "$work/system/etc/apt/" 2>/dev/null || true
  mkdir -p "$work/system/etc/ssl" "$work/system/usr/local/share/ca-certificates"
  cp -a /etc/ssl/certs "$work/system/etc/ssl/"
  cp -a /usr/local/share/ca-certificates/. "$work/system/usr/local/share/ca-certificates/" 2>/dev/null || true
  cp /etc/resolv.conf /etc/hosts "$work/system/etc/" 2>/dev/null || true
  mount --bind /dev "$work/system/dev" && mount -t proc proc "$work/system/proc"
}

if [ "$(id -u)" -ne 0 ]; then
  leave_out 'the minimal system needs root'
elif ! minimal_system >"$work/system.log" 2>&1; then
  tail -n 5 "$work/system.log"
  leave_out 'no minimal system can be made here'
else
  mkdir -p "$work/system/packages" "$work/system/source"
  cp "$work"/first/*.deb "$work/system/packages/"
  rm -f "$work"/system/packages/*-dbgsym_*
  cp -a "$work/first/source/tests" "$work/system/source/"
  {
    inside apt-get update
    inside sh -c 'apt-get install -y --no-install-recommends /packages/*.deb g++ cmake make pkg-config'
  } >"$work/install.log" 2>&1 || { tail -n 30 "$work/install.log"; say 'the packages do not install'; exit 1; }
  inside sh /source/tests/packages/consumers.sh /source /tmp/consumers
  say 'every consumer runs on a minimal system'
  ours=$(cd "$work/system/packages" && for file in *.deb; do echo "${file%%_*}"; done)
  # The names are words of their own.
  # shellcheck disable=SC2086
  inside dpkg --purge $ours >"$work/purge.log" 2>&1 || { cat "$work/purge.log"; exit 1; }
  left=$(find "$work/system/usr" "$work/system/etc" "$work/system/var/lib" -iname '*kivocam*' ! -path '*/dpkg/*' \
    ! -path '*/apt/*')
  [ -z "$left" ] || { say "left behind: $left"; exit 1; }
  say 'removed without a trace'
fi
[ -z "$skipped" ] || exit 77
