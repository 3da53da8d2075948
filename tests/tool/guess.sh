# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# guess: what is printed, what the sheet is, and what no frame can be found in. How often it is right is counted in
# tests/guess.
. "$(dirname "$0")/lib.sh"

ok scene scene.png --size 320x240
ok mosaic scene.png plain.raw --format BayerGB10
{ head -c 100 plain.raw && cat plain.raw; } >frame.raw
ok guess frame.raw
says '^frame.raw$'
says '^  format +size +offset +stride byte order bits/byte$'
says '^  BayerG[RB]10 +320x240 +100 +640 little +[0-9.]+$'
says '^  which colour is red and which is blue the content does not tell: --sheet OUT shows both$'
says '^  the first: --format BayerGR10 --size 320x240 --offset 100$'
checks=$((checks + 1))
[ "$(sed -n 4p stdout | cut -c 1-13)" = '  BayerGB10  ' ] || fail "red and blue are not both listed first: $(cat stdout)"
ok guess --json frame.raw
says '^\{"file": "frame.raw", "file_bytes": 153700, "candidates": \[\{"format": "BayerGR10", "code": "0x0110000C", "width": 320, "height": 240, "offset": 100, "stride": 640, "byte_order": "little", "bits": [0-9.]+, "options": "--format BayerGR10 --size 320x240 --offset 100"\}, \{"format": "BayerGB10"'

# What it says can be said to the other commands.
# shellcheck disable=SC2046
"$kivocam" convert frame.raw found.png $("$kivocam" guess frame.raw | sed -n 's/^  the first: //p')
ok convert plain.raw meant.png --format BayerGR10 --size 320x240
same found.png meant.png

# The sheet has a row of four cells, and is whole or absent.
ok guess frame.raw --sheet sheet.png
checks=$((checks + 1))
[ "$(head -c 20 sheet.png | od -An -tu1 -j16 | tr -d ' ')" = 00550 ] ||
  fail "the sheet is not 1330 pixels wide: $(od -An -tu1 -j16 -N4 sheet.png)"
fails 1 'out.txt: name it .png, .ppm, .bmp or .tiff, or say --to' guess frame.raw --sheet out.txt
fails 1 '--sheet: takes the name of a picture' guess frame.raw --sheet -
cp frame.raw frame.png
fails 1 "frame.png: the output is the input itself" guess frame.png --sheet frame.png
fails 3 'sheet.png: is there already' guess frame.raw --sheet sheet.png --no-clobber

# Nothing to go by.
nothing='does not look like a frame: nothing in it repeats from row to row'
printf 'ab' >two.raw && : >none.raw && truncate -s 10G sparse.raw
for file in two none sparse; do
  fails 2 "$file.raw: $nothing" guess "$file.raw"
done
rm sparse.raw
fails 2 '/dev/zero: not a regular file' guess /dev/zero
fails 2 '.: is a directory' guess .
fails 2 'nofile: cannot be opened: No such file or directory' guess nofile
fails 1 'standard input: has no length to guess from: give a file' guess -

# Grey frames have no such question.
ok mosaic scene.png grey.raw --format Mono12
ok guess grey.raw
checks=$((checks + 1))
grep -q 'red and which' stdout && fail 'red and blue of a grey frame'

# Cells of the sheet are pictures as a person wants to see them.
ok mosaic scene.png dark.raw --format BayerRG12 --sensor
ok guess dark.raw --sheet sheet.ppm
ok convert dark.raw first.ppm -q --auto --format "$(sed -n 's/^  the first: --format \([^ ]*\).*/\1/p' stdout)" --size 320x240
ok mosaic sheet.ppm sheet.rwh --format RGB8
ok convert sheet.rwh cell.ppm --crop 320x240+10+10
same cell.ppm first.ppm

# A folder of files without headers: what to do is said.
mkdir camera && cp dark.raw camera/1.raw && cp dark.raw camera/2.raw
fails 2 "camera: holds no .rwh files; files without a header need --format and --size, which 'kivocam guess camera/1.raw' may tell" \
  report camera -o out.html

# info names the likeliest of a file without a header.
"$kivocam" info frame.raw >stdout 2>stderr
checks=$((checks + 1))
case $(cat stderr) in
  *"(headerless data needs --format and --size, which 'kivocam guess' may tell); likely --format BayerGR10 --size 320x240 --offset 100") ;;
  *) fail "info says $(cat stderr)" ;;
esac

finish
