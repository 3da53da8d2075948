# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# DNG and TIFF, and what the programs that people use find in them, where those are there.
. "$(dirname "$0")/lib.sh"

ok scene scene.png --size 322x240

# read_samples FILE: what libraw has of it before it demosaics, as FILE.pgm.
if command -v unprocessed_raw >warnings; then
  for format in Mono8 Mono12 BayerBG8 BayerGB10 BayerRG12p BayerGR14 BayerRG16; do
    ok mosaic scene.png "$format.rwh" --format "$format"
    ok convert "$format.rwh" "$format.dng"
    ok convert "$format.rwh" "$format.pgm" --raw
    rm -f "$format.dng.pgm"
    unprocessed_raw -q "$format.dng" >warnings 2>&1 || fail "libraw cannot read $format.dng: $(cat warnings)"
    # libraw writes all samples as 16 bits.
    if [ "${format%8}" != "$format" ]; then
      checks=$((checks + 1))
      tail -c 77280 "$format.pgm" | od -An -v -tu1 -w1 >samples
      tail -c 154560 "$format.dng.pgm" | od -An -v -tu1 -w2 | awk '{ printf " %3d\n", 256 * $1 + $2 }' >found
      cmp samples found || fail "$format: libraw has other samples"
    else
      # It says of all that 65535 is white.
      tail -c 154560 "$format.pgm" >samples
      tail -c 154560 "$format.dng.pgm" >found
      same samples found
    fi
  done
  # The order of what is cut out or mirrored is that of its own samples.
  ok convert BayerGB10.rwh part.dng --crop 101x64+3+5 --mirror
  ok convert BayerGB10.rwh part.pgm --crop 101x64+3+5 --mirror --raw
  unprocessed_raw -q part.dng >warnings 2>&1
  tail -c $((2 * 101 * 64)) part.pgm >samples
  tail -c $((2 * 101 * 64)) part.dng.pgm >found
  same samples found
  checks=$((checks + 1))
  raw-identify -v part.dng | grep -q 'Filter pattern: GRBGGRBG' || fail "part.dng: $(raw-identify -v part.dng | grep Filter)"
else
  echo 'libraw-bin is not there: its samples are not compared'
fi

# coloured PICTURE WHAT: the red, the green and the blue patch of the scene are that in a picture that a program has
# made of a sensor's frame of it, and the white field has no colour. Some programs cut up to 4 pixels off every edge,
# and RawTherapee takes no file below 100 kB.
coloured() {
  checks=$((checks + 1))
  [ -s "$1" ] || { fail "$2 makes nothing: $(tail -n 3 warnings)" && return; }
  "$kivocam" mosaic "$1" coloured.rwh --format RGB8 || fail "$2 has made something else"
  colours=
  for place in 383+51 430+51 477+51 377+160; do
    "$kivocam" convert coloured.rwh coloured.ppm --crop "1x1+$place"
    colours="$colours $(tail -c 3 coloured.ppm | od -An -tu1)"
  done
  # shellcheck disable=SC2086
  set -- $colours "$2"
  { [ "$1" -gt $((2 * $2)) ] && [ "$1" -gt $((2 * $3)) ] && [ "$5" -gt $((2 * $4)) ] && [ "$5" -gt $((2 * $6)) ] &&
    [ "$9" -gt $((2 * $7)) ] && [ "$9" -gt $((2 * $8)) ]; } || fail "${13} sees the colours$colours"
  shift 9
  { [ "$1" -gt 60 ] && [ $((10 * $1)) -gt $((9 * $2)) ] && [ $((10 * $2)) -gt $((9 * $3)) ] &&
    [ $((10 * $3)) -gt $((9 * $1)) ]; } || fail "$4 sees white as $1 $2 $3"
}

ok scene larger.png
for format in BayerBG8 BayerGR12; do
  ok mosaic larger.png seen.rwh --format $format --sensor
  ok convert seen.rwh seen.dng
  if command -v dcraw_emu >warnings; then
    rm -f seen.dng.ppm
    dcraw_emu -w -Z seen.dng.ppm seen.dng >warnings 2>&1
    coloured seen.dng.ppm "libraw, of $format,"
  fi
  for program in rawtherapee-cli darktable-cli; do
    rm -rf seen.png settings
    command -v $program >warnings || { echo "$program is not there: nobody looks at $format with it" && continue; }
    case $program in
      raw*) HOME=$work/settings timeout 120 $program -n -Y -o seen.png -c seen.dng >warnings 2>&1 ;;
      *) timeout 120 $program seen.dng seen.png --core --configdir settings --library :memory: --disable-opencl >warnings 2>&1 ;;
    esac
    coloured seen.png "$program, of $format,"
  done
done

ok mosaic scene.png frame.rwh --format BayerGB12
ok convert frame.rwh frame.dng
ok convert frame.rwh wide.tiff --wide
ok convert frame.rwh wide.png --wide
ok convert frame.rwh narrow.tif
if command -v tiffinfo >warnings; then
  for file in frame.dng wide.tiff narrow.tif; do
    checks=$((checks + 1))
    tiffinfo -D "$file" >stdout 2>complaints || fail "tiffinfo cannot read $file"
    [ ! -s complaints ] || fail "tiffinfo of $file: $(cat complaints)"
  done
  tiffinfo frame.dng >stdout 2>&1
  says 'CFAPattern: 1,2,0,1'
  says 'WhiteLevel: 4095'
  says 'AsShotNeutral: '
  tiffinfo wide.tiff >stdout 2>&1
  says 'Bits/Sample: 16'
fi
if command -v exiftool >warnings; then
  for file in frame.dng wide.tiff narrow.tif; do
    exiftool -validate -warning -a "$file" >stdout
    says '^Validate +: OK$'
  done
fi
# The samples of a TIFF are those of the PNG: big-endian, behind everything else.
ok convert frame.rwh wide.ppm --wide
tail -c 463680 wide.ppm >expected
tail -c 463680 wide.tiff >found
same expected found
ok convert frame.rwh narrow.ppm
tail -c 231840 narrow.ppm >expected
tail -c 231840 narrow.tif >found
same expected found

# Refused, with nothing written.
ok mosaic scene.png rgb.rwh --format RGB8
fails 4 'rgb.rwh: a DNG is of grey or Bayer samples; it is RGB8' convert rgb.rwh out.dng
fails 1 '--auto-range: does not go with DNG, which keeps the samples as they are' convert frame.rwh out.dng --auto-range
fails 1 'DNG: does not go with colour settings: it keeps the samples as they are' convert frame.rwh out.dng --auto
fails 1 '--wide: does not go with BMP, which has no 16 bits' convert frame.rwh out.bmp --wide
fails 1 '--wide: does not go with --raw: it keeps the samples as they are' convert frame.rwh out.png --wide --raw
fails 3 'frame.dng: is there already' convert frame.rwh frame.dng --no-clobber

# A run that is continued leaves out whole ones only.
mkdir in && cp frame.rwh in/a.rwh && cp frame.rwh in/b.rwh
"$kivocam" convert in many --to dng --quiet
head -c 1000 many/a.dng >cut && cp cut many/a.dng
"$kivocam" convert in many --to dng --resume --json >stdout
says '"output": "many/a.dng", "status": "converted"'
says '"output": "many/b.dng", "status": "skipped"'
same many/a.dng frame.dng

finish
