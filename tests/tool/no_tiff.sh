# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The tool without libtiff: TIFF and DNG are refused with one answer before anything is read or written, the rest works.
. "$(dirname "$0")/lib.sh"

checks=$((checks + 1))
! ldd "$kivocam" | grep libtiff || fail 'libtiff is there'
told='TIFF and DNG are left out: this kivocam was built without libtiff'

ok scene scene.png --size 160x160
ok mosaic scene.png frame.rwh --format BayerRG12
mkdir frames && cp frame.rwh frames/one.rwh && cp frame.rwh frames/two.rwh
fails 4 "out.tiff: $told" convert frame.rwh out.tiff
fails 4 "out.TIF: $told" convert frame.rwh out.TIF --wide
fails 4 "out.dng: $told" convert frame.rwh out.dng
fails 4 "--to: $told" convert frame.rwh - --to dng
fails 4 "--to: $told" convert frames/ pictures/ --to tiff --resume --json
fails 4 "out.tiff: $told" scene out.tiff
fails 4 "out.tif: $told" sheet out.tif scene.png
fails 4 "out.tif: $told" guess frame.rwh --sheet out.tif
checks=$((checks + 1))
[ ! -e pictures ] || fail 'a folder was made for nothing'
# What the tool does not know is still that.
fails 1 'out.gif: name it .png, .ppm, .pgm, .bmp, .tiff or .dng, or say --to' convert frame.rwh out.gif

for type in png ppm bmp; do
  ok convert frame.rwh "picture.$type"
  ok sheet "sheet.$type" scene.png
done

finish
