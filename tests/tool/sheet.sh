# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# sheet of raw frames: each as convert makes it, and as convert --auto does, beside one another.
. "$(dirname "$0")/lib.sh"

ok scene scene.png --size 640x480
ok mosaic scene.png dark.rwh --format BayerRG12 --sensor
ok mosaic scene.png grey.rwh --format Mono10p --sensor
ok mosaic scene.png seen.rwh --format YUV422_8_UYVY

# settings FILE: what convert --auto says of it, as captions have it.
settings() {
  "$kivocam" convert "$1" auto.png --auto 2>&1 | awk '{
    for (i = 1; i < NF; ++i) value[$i] = $(i + 1)
    split(value["--range"], range, ",")
    split(value["--white-balance"], gain, ",")
    printf "black %.4g, range %.4g to %.4g", value["--black"], range[1], range[2]
    if (gain[1] != 1 || gain[3] != 1) printf "\\ngains %.3g, %.3g, %.3g", gain[1], gain[2], gain[3]
  }'
}

# The sheet of a frame is the sheet of the pictures that convert makes of it, whatever is larger than a cell or not.
for cell in 640x480 200x300; do
  for name in dark grey; do
    said=$(settings $name.rwh)
    format=$([ $name = dark ] && echo BayerRG12 || echo Mono10p)
    ok convert $name.rwh plain.png
    ok sheet frame.png $name.rwh --cell $cell
    ok sheet pictures.png plain.png auto.png --cell $cell --labels "$name\\n$format 640x480" "$name, --auto\\n$said"
    same frame.png pictures.png
  done
done
ok convert seen.rwh seen.png
ok sheet frame.png seen.rwh
ok sheet pictures.png seen.png --labels 'seen\nYUV422_8_UYVY 640x480'
same frame.png pictures.png

# One label for both; without a header, from pipes, with the high byte first: the same.
ok convert dark.rwh plain.png
ok convert dark.rwh auto.png --auto --quiet
ok sheet pictures.png plain.png auto.png --labels 'night\nno lamp' 'night, --auto\nno lamp'
ok sheet frame.png dark.rwh --labels 'night\nno lamp'
same frame.png pictures.png
tail -c 614400 dark.rwh >dark.raw
dd if=dark.raw of=big.raw conv=swab 2>warnings
for from in 'dark.raw --format BayerRG12 --size 640x480' 'dark.raw --format 0x01100011 -s 640x480' \
  'big.raw --format BayerRG12 --size 640x480 --swap-bytes' 'dark.rwh --format BayerRG12 --size 640x480' \
  'dark.rwh --format BayerRG12 --size 640x480 --offset 16'; do
  # shellcheck disable=SC2086
  ok sheet frame.png $from --labels 'night\nno lamp'
  same frame.png pictures.png
done
checks=$((checks + 2))
"$kivocam" sheet frame.png - --labels 'night\nno lamp' <dark.rwh || fail 'an RWH frame through a pipe'
same frame.png pictures.png
cat dark.raw | "$kivocam" sheet - - --to png --format BayerRG12 --size 640x480 --labels 'night\nno lamp' >frame.png ||
  fail 'a headerless frame through a pipe'
same frame.png pictures.png

# The two stay in one row: the third picture begins one with three columns.
ok sheet apart.png plain.png plain.png dark.rwh --columns 3 --cell 100x75 --labels a b c
ok mosaic apart.png apart.rwh --format RGB8
for place in '10 107 plain' '120 107 auto'; do
  # shellcheck disable=SC2086
  set -- $place
  ok convert apart.rwh cell.png --crop "100x75+$1+$2"
  ok sheet small.png "$3.png" --cell 100x75 --labels x
  ok mosaic small.png small.rwh --format RGB8
  ok convert small.rwh wanted.png --crop 100x75+10+10
  same cell.png wanted.png
done
# In one column they cannot.
ok sheet column.png dark.rwh --columns 1 --cell 100x75 --labels c
ok sheet pictures.png plain.png auto.png --columns 1 --cell 100x75 --labels c 'c, --auto'
same column.png pictures.png

# Pictures between headerless frames are known by name; a frame that begins like a picture is a frame.
ok sheet frame.png scene.png dark.raw --format BayerRG12 --size 640x480
{ printf BM && tail -c 614398 dark.raw; } >picture.raw
ok sheet begins.png picture.raw --format BayerRG16 --size 640x480 --labels x
ok import picture.raw picture.rwh --format BayerRG16 --size 640x480
ok sheet wanted.png picture.rwh --labels x
same begins.png wanted.png

for type in bmp ppm; do
  ok convert dark.rwh plain.$type
  ok sheet frame.png plain.$type --labels x
  ok sheet pictures.png plain.png --labels x
  same frame.png pictures.png
done

# What is odd is told, what is wrong refused.
head -c 614406 /dev/zero >long.raw
"$kivocam" sheet long.png long.raw --format BayerRG12 --size 640x480 2>stdout || fail 'long.raw'
says '^kivocam: long.raw: note: 6 bytes behind the frame are ignored$'
"$kivocam" sheet deep.png dark.raw --format BayerRG10 --size 640x480 2>stdout || fail 'dark.raw of 10 bits'
says '^kivocam: dark.raw: .* above 1023'
no='is not a PNG, binary PPM or PGM, or BMP picture, nor an RWH frame (headerless frames need --format and --size)'
fails 2 "dark.raw: $no" sheet out.png scene.png dark.raw
: >empty && fails 2 "empty: $no" sheet out.png empty
mkdir frames && fails 2 'frames: is a directory' sheet out.png frames
head -c 5000 dark.rwh >cut.rwh
fails 2 'cut.rwh: is not a whole RWH file: it holds 5000 bytes, its header says 614416' sheet out.png cut.rwh
fails 1 '--size: headerless data needs --format and --size' sheet out.png dark.raw --format Mono8
fails 1 '--labels: 2 labels for 1 pictures' sheet out.png dark.rwh --labels a b
cp dark.rwh own.png && fails 1 'own.png: the output is the input itself' sheet own.png own.png

finish
