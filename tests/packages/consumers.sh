#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# consumers.sh SOURCE WORK_DIR: builds and runs what users build on an installed system: C, C++, CMake, pkg-config and
# Python, the tool, its manual. Only the tests' own sources are taken from SOURCE.
set -eu
source=$1
work=$2
mkdir -p "$work"
cd "$work"

done_with() { echo "consumer ok: $1"; }

cc -std=c99 -Wall -Werror "$source/tests/abi/consumer.c" -o c_program -lKivoCamUtl
./c_program .
cc -std=c99 -Wall -Werror "$source/tests/abi/frame_consumer.c" -o frame_c_program -lKivoFrame
./frame_c_program
done_with C

c++ -std=c++17 -Wall -Werror "$source/tests/abi/consumer_cpp.cpp" -o cpp_program -lKivoCamUtl
./cpp_program
c++ -std=c++11 -Wall -Werror "$source/tests/abi/frame_consumer_cpp.cpp" -o frame_cpp_program -lKivoFrame
./frame_cpp_program
c++ -std=c++17 -Wall -Werror "$source/tests/packages/layer_consumer.cpp" -o layer_program -lKivoCamUtl -lKivoFrame
./layer_program frame.rwh frame.bmp
test "$(wc -c <frame.bmp)" -eq $((54 + 64 * 48 * 4))
done_with 'C++'

cmake -S "$source/tests/install/consumer" -B cmake_build -DSOURCES="$source/tests/abi" >cmake.log
cmake --build cmake_build >>cmake.log
./cmake_build/consumer .
./cmake_build/consumer_cpp
./cmake_build/frame_consumer
./cmake_build/frame_consumer_cpp
done_with CMake

# The flags are words of their own.
# shellcheck disable=SC2046
cc -std=c99 "$source/tests/abi/consumer.c" -o pkg_program $(pkg-config --cflags --libs KivoCamUtl)
./pkg_program .
# shellcheck disable=SC2046
cc -std=c99 "$source/tests/abi/frame_consumer.c" -o frame_pkg_program $(pkg-config --cflags --libs kivoframe)
./frame_pkg_program
done_with pkg-config

kivocam convert frame.rwh tool.bmp
cmp frame.bmp tool.bmp
kivocam convert frame.rwh tool.png
kivocam compare tool.png tool.bmp | grep -q '^differing pixels  0 of 3072$'
kivocam info frame.rwh | grep -q BayerRG12p
kivocam formats --json >formats.json
done_with kivocam

/usr/bin/python3 - <<'EOF'
import importlib.metadata, json, pathlib
import kivocamutl

assert importlib.metadata.version("kivocamutl") == kivocamutl.__version__

# Read, the samples do not share bytes any more.
samples, name = kivocamutl.read_rwh("frame.rwh")
assert name == "BayerRG12" and samples.shape == (48, 64), (name, samples.shape)
picture = kivocamutl.convert(samples, name)
kivocamutl.write_bmp("python.bmp", picture)
assert pathlib.Path("python.bmp").read_bytes() == pathlib.Path("frame.bmp").read_bytes()
kivocamutl.write_rwh("again.rwh", samples, "BayerRG12")
again, name = kivocamutl.read_rwh("again.rwh")
assert str(name) == "BayerRG12" and (again == samples).all()
assert len(json.load(open("formats.json"))) == 90
EOF
done_with Python

for file in /usr/share/man/man1/kivocam.1.gz /usr/share/bash-completion/completions/kivocam \
  /usr/share/doc/libkivocamutl-doc/html/index.html /usr/share/doc/libkivocamutl-doc/KivoCamUtl.spdx.json; do
  # A minimal system may have been told to leave manuals out.
  case $file in
    */man/*) grep -qs 'path-exclude.*/man/' /etc/dpkg/dpkg.cfg.d/* && continue ;;
    */doc/*) grep -qs 'path-exclude.*/doc/' /etc/dpkg/dpkg.cfg.d/* && continue ;;
  esac
  test -s "$file" || { echo "missing: $file"; exit 1; }
done
done_with 'manual, completion, reference, bill of materials'
