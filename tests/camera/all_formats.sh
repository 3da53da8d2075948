#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# all_formats.sh KIVOCAM GRAB CAMERA_SIMULATOR WORK_DIR: what arrives from the camera is what it was given, byte for
# byte, and the picture made of the camera's buffer is the one made of the file.
set -eu
kivocam=$1
grab=$2
simulator=$3
work=$4

# In a network of its own, where no other camera answers.
if [ "${KIVO_OWN_NETWORK-}" != yes ]; then
  for options in -n -rn; do
    unshare $options true 2>/dev/null && KIVO_OWN_NETWORK=yes exec unshare $options sh "$0" "$@"
  done
  echo "skipped: no network namespace can be made"
  exit 77
fi
ip link set lo up 2>/dev/null || { echo "skipped: the loopback interface cannot be brought up"; exit 77; }

rm -rf "$work"
mkdir -p "$work/sent" "$work/got"
cd "$work"
width=328
height=246

# word NUMBER: 4 bytes, low byte first.
word() {
  number=$1
  for _ in 1 2 3 4; do
    # The format is the octet.
    # shellcheck disable=SC2059
    printf "\\$(printf %03o $((number % 256)))"
    number=$((number / 256))
  done
}

# Noise in every format, with the header of an RWH file in front.
"$kivocam" formats --json | sed -n 's/.*"name": "\([^"]*\)", "code": "\(0x[0-9A-F]*\)".*"bits_per_pixel": \([0-9]*\).*/\1 \2 \3/p' >names.txt
while read -r name code bits; do
  {
    for number in "$((code))" $width $height $((width * bits / 8)); do word "$number"; done
    head -c $((width * bits * height / 8)) /dev/urandom
  } >"sent/$name.rwh"
done <names.txt

"$simulator" 127.0.0.1 sent/*.rwh >simulator.log &
camera=$!
trap 'kill $camera' EXIT
until grep -q playing simulator.log; do
  kill -0 $camera || { echo "the camera does not start"; exit 1; }
  sleep 0.1
done

checked=0
cd got
while read -r name code bits; do
  rm -f frame-*
  # A busy machine loses a frame now and then; the simulator may still be sending the format before.
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    "$grab" 127.0.0.1 "$name" ${width}x$height 1 >grab.log 2>&1 && cmp -s frame-0.rwh "../sent/$name.rwh" && break
    sleep 0.3
  done
  cmp frame-0.rwh "../sent/$name.rwh" || { echo "$name: another frame arrived"; cat grab.log; exit 1; }
  "$kivocam" convert "../sent/$name.rwh" expected.bmp
  cmp frame-0.bmp expected.bmp || { echo "$name: another picture"; exit 1; }
  checked=$((checked + 1))
done <../names.txt
echo "$checked formats"
test "$checked" -eq 90
