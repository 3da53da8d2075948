#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# run.sh [--release] [WORK_DIR]: makes the tarball of the last commit as a release does, of it the Debian source package
# and the packages; checks them with lintian and what was hardened; makes the Python sdist and wheel. Uses the wheel, and
# then installs the packages in a minimal Debian system of their own, builds and runs every kind of consumer there, and
# removes them again. Needs root for the minimal system; says what it leaves out, and exits with 77 then.
#
# --release runs the tests of the package build, too, and builds once more from the source package, elsewhere and in
# other surroundings: packages are the same byte for byte.
set -eu
release=no
[ "${1-}" != --release ] || { release=yes; shift; }
root=$(cd "$(dirname "$0")/../.." && pwd)
work=${1:-$root/build/packages}
system=$work/system
commit=$(git -C "$root" rev-parse HEAD)
skipped=

say() { echo "packages: $*"; }
leave_out() {
  say "skipped: $*"
  skipped=yes
}

# build NAME UMASK ZONE LOCALE OPTIONS WHAT: the packages of the sources in the directory of that name. Programs are
# the system's, whose interpreter is the one that the Python packages are for.
build() {
  (
    umask "$2"
    cd "$work/$1/kivocamutl-$version"
    # SOURCE_DATE_EPOCH comes from the changelog; the checkout's own settings stay outside.
    env -u MAKEFLAGS -u CXXFLAGS -u CFLAGS PATH=/usr/sbin:/usr/bin:/sbin:/bin TZ="$3" LC_ALL="$4" \
      DEB_BUILD_OPTIONS="$5" dpkg-buildpackage -us -uc "$6"
  ) >"$work/$1.log" 2>&1 || { tail -n 60 "$work/$1.log"; say "the $1 build failed"; exit 1; }
}

rm -rf --one-file-system "$work"
mkdir -p "$work"
if ! (cd "$root" && dpkg-checkbuilddeps) >"$work/missing.log" 2>&1; then
  say "skipped: $(tail -n 1 "$work/missing.log")"
  exit 77
fi
tarball=$(sh "$root/packaging/release.sh" "$work/release" "$commit" 2>/dev/null)
version=${tarball#kivocamutl-}
version=${version%.tar.gz}
mkdir -p "$work/first" "$work/the-second-build"
cp "$work/release/$tarball" "$work/first/kivocamutl_$version.orig.tar.gz"
tar xzf "$work/release/$tarball" -C "$work/first"
if [ $release = no ]; then
  build first 022 UTC C.UTF-8 "nocheck parallel=$(nproc)" -F
  say 'built of the tarball of a release'
else
  build first 022 UTC C.UTF-8 "parallel=$(nproc)" -F
  say 'built of the tarball of a release, tests run'
  (cd "$work/the-second-build" && dpkg-source -x ../first/*.dsc "kivocamutl-$version") >"$work/source.log" 2>&1 ||
    { cat "$work/source.log"; say 'the source package does not unpack'; exit 1; }
  build the-second-build 002 Asia/Kathmandu C "nocheck parallel=$(nproc)" -b
  for package in "$work"/first/*.deb; do
    again=$work/the-second-build/$(basename "$package")
    if ! cmp -s "$package" "$again"; then
      command -v diffoscope >/dev/null && diffoscope --text - "$package" "$again" | head -n 60
      say "$(basename "$package") differs between two builds"
      exit 1
    fi
  done
  say "the source package builds the same byte for byte: $(find "$work/first" -name '*.deb' | wc -l) packages"
fi

status=0
sh "$root/packaging/abi.sh" check "$work/first" || status=$?
case $status in
  0) say 'the binary interface is the stored one' ;;
  77) leave_out 'the binary interface' ;;
  *) say 'the binary interface has changed'; exit 1 ;;
esac

if command -v lintian >/dev/null; then
  lintian --fail-on error --allow-root "$work"/first/*.changes
  say 'lintian has no errors'
else
  leave_out 'lintian is not installed'
fi

# What the compiler was told, and what became of it. That programs are position-independent is its own default. Test
# programs, some of which are made in both ways on purpose, are not in the log of this build.
if command -v blhc >/dev/null && command -v hardening-check >/dev/null; then
  untested=first
  [ $release = no ] || untested=the-second-build
  blhc --bindnow "$work/$untested.log" || { say 'a compiler was not told to harden'; exit 1; }
  mkdir "$work/unpacked"
  for package in "$work"/first/*.deb; do dpkg-deb -x "$package" "$work/unpacked"; done
  # A library that calls no function with a fortified twin has none; control flow is not part of what "all" stands for.
  hardening-check --nofortify --nocfprotection "$work"/unpacked/usr/bin/* "$work"/unpacked/usr/lib/*/lib*.so.? \
    >"$work/hardening.log" || { cat "$work/hardening.log"; say 'something is not hardened'; exit 1; }
  say 'hardened throughout'
else
  leave_out 'blhc or hardening-check is not installed (Debian: blhc devscripts)'
fi

sh "$work/first/kivocamutl-$version/packaging/python.sh" "$work/python" "$work/python-build" >"$work/python.log" 2>&1 ||
  { tail -n 30 "$work/python.log"; say 'the Python packages cannot be made'; exit 1; }
say "made $(cd "$work/python" && echo *.whl)"

# inside COMMAND...: runs it in the minimal system. What is mounted there goes away with the command.
inside() {
  # The settings are words of their own.
  # shellcheck disable=SC2016,SC2046
  env -i $(env | grep -iE '^(https?|no)_proxy=' || true) HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin unshare --mount sh -c \
    'mount --bind /dev "$0/dev" && mount -t proc proc "$0/proc" && exec chroot "$0" "$@"' "$system" "$@"
}

# The system gets its packages from where this one gets them, and in the same way.
minimal_system() {
  for sources in /etc/apt/sources.list.d/debian.sources /etc/apt/sources.list /etc/apt/sources.list.d/*; do
    [ -e "$sources" ] || continue
    mirror=$(sed -n -e 's/^URIs: *\([^ ]*\).*/\1/p' -e 's/^deb  *\(\[[^]]*\] *\)\{0,1\}\([^ ]*\).*/\2/p' "$sources" |
      head -n 1)
    [ -z "$mirror" ] || break
  done
  [ -n "$mirror" ] || return 1
  codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
  debootstrap --variant=minbase "$codename" "$system" "$mirror" || return 1
  rm -f "$system/etc/apt/sources.list"
  cp "$sources" "$system/etc/apt/sources.list.d/"
  apt-config dump | grep '^Acquire' >"$system/etc/apt/apt.conf.d/99acquire"
  mkdir -p "$system/etc/ssl"
  cp -a /etc/ssl/certs "$system/etc/ssl/"
  cp -a /usr/local/share/ca-certificates "$system/usr/local/share/" 2>/dev/null || true
  cp /etc/resolv.conf /etc/hosts "$system/etc/" 2>/dev/null || true
  inside apt-get update
}

if [ "$(id -u)" -ne 0 ]; then
  leave_out 'the minimal system needs root'
elif ! minimal_system >"$work/system.log" 2>&1; then
  tail -n 5 "$work/system.log"
  leave_out 'no minimal system can be made here'
else
  mkdir -p "$system/packages" "$system/source"
  cp -a "$work/first/kivocamutl-$version/tests" "$system/source/"
  cp "$work"/python/* "$system/packages/"
  inside apt-get install -y --no-install-recommends python3 python3-numpy >"$work/install.log" 2>&1 ||
    { tail -n 30 "$work/install.log"; say 'no Python to try the wheel with'; exit 1; }
  inside sh /source/tests/packages/wheel.sh /packages /tmp/wheel
  say 'the wheel runs on a minimal system'
  cp "$work"/first/*.deb "$system/packages/"
  rm -f "$system"/packages/*-dbgsym_*
  inside sh -c 'apt-get install -y --no-install-recommends /packages/*.deb g++ cmake make pkg-config python3-pytest' \
    >"$work/install.log" 2>&1 || { tail -n 30 "$work/install.log"; say 'the packages do not install'; exit 1; }
  inside sh /source/tests/packages/consumers.sh /source /tmp/consumers
  say 'every consumer runs on a minimal system'
  inside sh /source/tests/packages/wheel.sh /packages /tmp/wheel
  say 'the wheel takes its own library where another is installed'
  ours=$(cd "$system/packages" && for file in *.deb; do echo "${file%%_*}"; done)
  # The names are words of their own.
  # shellcheck disable=SC2086
  inside dpkg --purge $ours >"$work/purge.log" 2>&1 || { cat "$work/purge.log"; exit 1; }
  left=$(find "$system/usr" "$system/etc" "$system/var/lib" \( -iname '*kivocam*' -o -iname '*kivoframe*' \) \
    ! -path '*/dpkg/*' ! -path '*/apt/*')
  [ -z "$left" ] || { say "left behind: $left"; exit 1; }
  say 'removed without a trace'
fi
[ -z "$skipped" ] || exit 77
