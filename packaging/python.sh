#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# python.sh OUT_DIR WORK_DIR: makes the Python packages of this source tree: the sdist, and of it a wheel that has the
# shared libraries in it and needs nothing of a system but its C and C++ libraries. Needs python3-build,
# python3-setuptools and python3-wheel, and no network. The tag of the wheel names the oldest C library that will do.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
[ $# -eq 2 ] || { echo 'usage: python.sh OUT_DIR WORK_DIR' >&2; exit 2; }
mkdir -p "$1" "$2"
out=$(cd "$1" && pwd)
work=$(cd "$2" && pwd)
python=${CAMUTL_PYTHON:-/usr/bin/python3}
cd "$work"
rm -rf python sdist prefix
[ -n "${SOURCE_DATE_EPOCH-}" ] || SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct 2>/dev/null || echo 315532800)
export SOURCE_DATE_EPOCH

# A copy, in which building may leave what it likes, with the licence itself where the tree has a link to it.
cp -RL "$root/python" python
rm -rf python/*.egg-info python/build python/dist
"$python" -m build --no-isolation --skip-dependency-check --sdist --outdir "$out" python
version=$(sed -n 's/^__version__ = "\(.*\)"/\1/p' python/kivocamutl/__init__.py)

cmake -S "$root" -B build -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_LIBDIR=lib -DCAMUTL_BUILD_TOOLS=OFF \
  -DCMAKE_SHARED_LINKER_FLAGS=-Wl,-s
cmake --build build -j "$(nproc)"
cmake --install build --prefix "$work/prefix" --component runtime

mkdir sdist
tar xzf "$out/kivocamutl-$version.tar.gz" -C sdist
for library in prefix/lib/lib*.so.?; do
  cp -L "$library" "sdist/kivocamutl-$version/kivocamutl/"
done
platform=$("$python" "$root/packaging/check_wheel.py" --platform "sdist/kivocamutl-$version"/kivocamutl/lib*.so.*)
"$python" -m build --no-isolation --skip-dependency-check --wheel --outdir "$out" \
  "-C--build-option=--plat-name=$platform" "sdist/kivocamutl-$version"
"$python" "$root/packaging/check_wheel.py" "$out/kivocamutl-$version-py3-none-$platform.whl"
