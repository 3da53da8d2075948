#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# wheel.sh PACKAGES WORK_DIR: unpacks the wheel in PACKAGES as an installer does and uses it: it brings its own libraries
# and takes that one, whatever the system has. Runs tests of the sdist against it where there is pytest.
set -eu
packages=$1
work=$2
rm -rf "$work"
mkdir -p "$work"
cd "$work"
/usr/bin/python3 -m zipfile -e "$packages"/kivocamutl-*.whl site
env -u KIVOCAMUTL_LIBRARY PYTHONPATH="$PWD/site" /usr/bin/python3 - <<'EOF'
import importlib.metadata
import os
import kivocamutl
import numpy

assert os.path.dirname(kivocamutl.__file__) == os.path.join(os.getcwd(), "site/kivocamutl")
assert importlib.metadata.version("kivocamutl") == kivocamutl.__version__
picture = kivocamutl.convert(numpy.arange(64, dtype="u1").reshape(8, 8), "BayerRG8", bayer="acpi")
assert picture.shape == (8, 8, 4) and (picture[..., 3] == 255).all()
kivocamutl.write_bmp("picture.bmp", picture)
with open("/proc/self/maps") as maps:
    libraries = {line.split()[-1] for line in maps if "libKivo" in line}
assert len(libraries) == 2 and all(library.startswith(os.getcwd()) for library in libraries), libraries
EOF
echo 'wheel ok: its own libraries'

tar xzf "$packages"/kivocamutl-*.tar.gz
cd kivocamutl-*/
test -s LICENSE
if /usr/bin/python3 -c 'import pytest' 2>/dev/null; then
  KIVOCAMUTL_LIBRARY=$(ls "$work"/site/kivocamutl/libKivoCamUtl.so.?) \
    /usr/bin/python3 -B -m pytest -q tests/test_convert.py tests/test_files.py tests/test_library.py \
    >../tests.log 2>&1 ||
    { tail -n 40 ../tests.log; exit 1; }
  echo "wheel ok: tests of the sdist, $(tail -n 1 ../tests.log)"
fi
