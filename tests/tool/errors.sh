# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Wrong input of every kind: the exit code, the one line, and no output.
. "$(dirname "$0")/lib.sh"

# header CODE WIDTH HEIGHT LINE: four words, each given as four octal octets in one argument.
header() {
  for word; do
    # shellcheck disable=SC2086
    bytes $word
  done
}
mono8='001 000 010 001'
four='004 000 000 000'
huge='377 377 377 377'

ok scene scene.png --size 160x160
ok mosaic scene.png good.rwh --format BayerRG8
size=$(wc -c <good.rwh)
mkdir dir
: >empty
printf 'hello world, this is no frame' >junk
hint='headerless data needs --format and --size'
guess=", which 'kivocam guess' may tell"

# RWH files
fails 2 "nofile: cannot be opened: No such file or directory" convert nofile out.png
fails 2 "dir: holds no .rwh files" convert dir out.png
fails 2 "dir: holds no .rwh files" info dir
fails 2 "/dev/null: not a regular file" convert /dev/null out.png
fails 2 "/dev/null: not a regular file" convert /dev/null out.png --format Mono8 --size 2x2
fails 2 "/dev/null: not a regular file" info /dev/null
fails 2 "empty: the file is shorter than the 16-byte RWH header" convert empty out.png
head -c 15 good.rwh >cut.rwh
fails 2 "cut.rwh: the file is shorter than the 16-byte RWH header" convert cut.rwh out.png
for cut in 16 17 5000 $((size - 1)); do
  head -c "$cut" good.rwh >cut.rwh
  fails 2 "cut.rwh: is not a whole RWH file: it holds $cut bytes, its header says $size" convert cut.rwh out.png
done
cat good.rwh empty junk >long.rwh
fails 2 "long.rwh: is not a whole RWH file: it holds $((size + 29)) bytes, its header says $size" convert long.rwh out.bmp
fails 2 "junk: is not a whole RWH file: 0x6C6C6568 at its start is no known pixel format ($hint$guess)" convert junk out.ppm
fails 2 "scene.png: is not a whole RWH file: 0x474E5089 at its start is no known pixel format ($hint$guess)" \
  convert scene.png out.ppm
header "$mono8" "$huge" "$huge" "$huge" >hostile.rwh
fails 2 "hostile.rwh: is not a whole RWH file: it holds 16 bytes, its header says 18446744065119617041" \
  convert hostile.rwh out.png
header "$mono8" "$huge" '001 000 000 000' "$four" >hostile.rwh && bytes 1 2 3 4 >>hostile.rwh
fails 2 "hostile.rwh: is not a whole RWH file: 4 bytes a row are too few for 4294967295 pixels of Mono8" \
  convert hostile.rwh out.png
header "$mono8" '000 000 000 000' "$four" '000 000 000 000' >hostile.rwh
fails 2 "hostile.rwh: is not a whole RWH file: its header says 0 x 4 pixels" convert hostile.rwh out.png
header '377 000 010 001' "$four" '001 000 000 000' "$four" >unknown.rwh && bytes 1 2 3 4 >>unknown.rwh
fails 4 "unknown.rwh: pixel format 0x010800FF is not supported" convert unknown.rwh out.png

# Headerless data
tail -c +17 good.rwh >good.raw
raw='good.raw out.png --format'
# shellcheck disable=SC2086
{
  fails 1 "--format: $hint" convert good.rwh out.png --size 4x4
  fails 1 "--format: $hint" convert good.rwh out.png --stride 4
  fails 1 "--size: $hint" convert $raw Mono8
  short='the buffer is shorter than the frame'
  list="'kivocam formats' lists the known ones"
  fails 4 "--format: unknown pixel format 'Foo'; $list" convert $raw Foo --size 4x4
  fails 4 "--format: unknown pixel format '0x1'; $list" convert $raw 0x1 --size 4x4
  fails 4 "--format: unknown pixel format 'BayrRG12p'; did you mean BayerRG12p or BayerRG12 or BayerRG10p?" \
    convert $raw BayrRG12p --size 4x4
  for bad in 0x0 0x4 4x0 -1x5 1x-5 4 x 4x 4x4x4 ' 4x4' 4.5x4 99999999999x1 1e3x4; do
    fails 1 "--size: '$bad' is not WIDTHxHEIGHT in pixels, such as 640x480" convert $raw Mono8 "--size=$bad"
  done
  fails 1 "--size: '-1x5' is not WIDTHxHEIGHT in pixels, such as 640x480" convert $raw Mono8 --size -1x5
  fails 1 "--stride: the row stride is smaller than a row: 7 bytes, 4 pixels of Mono16 take 8" convert $raw Mono16 --size 4x4 --stride 7
  for bad in -1 x 1.5 99999999999999999999; do
    fails 1 "--stride: '$bad' is not a number of bytes" convert $raw Mono8 --size 4x4 "--stride=$bad"
    fails 1 "--offset: '$bad' is not a number of bytes" convert $raw Mono8 --size 4x4 "--offset=$bad"
  done
  fails 4 "--size: the frame is too large to address" convert $raw RGB12 --size 4294967295x4294967295
  fails 2 "good.raw: $short: it holds $((size - 16)) bytes, too few for 160 x 162 pixels of Mono8 with 160 bytes a row" \
    convert $raw Mono8 --size 160x162
  fails 2 "good.raw: $short: it holds 0 bytes behind the offset, too few for 1 x 1 pixels of Mono8 with 1 bytes a row" \
    convert $raw Mono8 --size 1x1 --offset 99999999
  fails 2 "empty: $short: it holds 0 bytes, too few for 1 x 1 pixels of Mono8 with 1 bytes a row" \
    convert empty out.png --format Mono8 --size 1x1
  fails 2 "nofile: cannot be opened: No such file or directory" convert nofile out.png --format Mono8 --size 1x1
  fails 2 "dir: holds no .raw, .bin or .dat files" convert dir out.png --format Mono8 --size 1x1
}
fails 1 "import: $hint" import good.rwh out.rwh

# Conversions that do not exist
groups='the width is not a whole number of YUV groups (2 pixels for 4:2:2, 4 for 4:1:1)'
fails 4 "--size: $groups" convert good.raw out.png --format YUV411_8_UYYVYY --size 6x4
acpi='ACPI demosaicing needs an even width and an even height of at least 4 each'
for size in 5x4 4x5 2x4; do
  fails 4 "good.raw: $acpi; it is ${size%x*} x ${size#*x} pixels of BayerGR12" \
    convert good.raw out.png --format BayerGR12 --size $size --bayer acpi
done
fails 4 "good.raw: half size needs at least 2 x 2 pixels; it is 1 x 4 pixels of BayerGR8" \
  convert good.raw out.png --format BayerGR8 --size 1x4 --bayer half
fails 4 "good.rwh: a shift is for samples of more than 8 bits and pictures of 8, and lies between 0 and 15; it is 160 x \
160 pixels of BayerRG8" convert good.rwh out.png --shift 1
fails 1 "--bayer: 'bilinear' is not standard, acpi, best, half or off" convert good.rwh out.png --bayer bilinear

# A whole RWH file is one, whatever is said of it; what contradicts it is refused.
said="which is not what the options say (--offset 16 leaves its header out)"
for how in '--format Mono8 --size 160x160' '--format BayerRG8 --size 160x80' '--format BayerRG8 --size 160x160 --stride 161'; do
  # shellcheck disable=SC2086
  fails 1 "good.rwh: is an RWH file of 160 x 160 pixels of BayerRG8 in rows of 160 bytes, $said" \
    convert good.rwh out.png $how
done
ok convert good.rwh with.ppm && ok convert good.rwh same.ppm --format srggb8 --size 160x160 && same with.ppm same.ppm
ok convert - same.ppm --format BayerRG8 --size 160x160 <good.rwh && same with.ppm same.ppm
ok convert - same.ppm --format BayerRG8 --size 160x160 --offset 16 <good.rwh && same with.ppm same.ppm
ok convert - same.ppm --format BayerRG8 --size 160x160 <good.raw && same with.ppm same.ppm
rm with.ppm same.ppm
fails 1 "--to: 'gif' is not png, ppm, pgm, bmp, tiff or dng" convert good.rwh out.png --to gif
fails 1 "out.gif: name it .png, .ppm, .pgm, .bmp, .tiff or .dng, or say --to" convert good.rwh out.gif
fails 1 "out: name it .png, .ppm, .bmp or .tiff, or say --to" scene out

# Pictures
head -c 1000 scene.png >cut.png
fails 2 "cut.png: is a damaged PNG picture: the file ends too early" mosaic cut.png out.rwh --format Mono8
head -c 20 scene.png >cut.png
fails 2 "cut.png: is a damaged PNG picture: the file ends too early" compare cut.png scene.png
{ head -c 16 scene.png && bytes 000 000 000 000 && tail -c +21 scene.png; } >zero.png
checks=$((checks + 1))
"$kivocam" compare zero.png scene.png 2>stderr >stdout
code=$?
{ [ $code -eq 2 ] && grep -q '^kivocam: zero.png: is a damaged PNG picture: ' stderr; } || fail "zero.png: $(cat stderr)"
# IHDR with a valid check sum for 16000 x 16000 pixels of 8-bit grey, and nothing behind it but an empty IDAT.
{
  bytes 211 120 116 107 015 012 032 012 000 000 000 015 111 110 104 122 && bytes 000 000 076 200 000 000 076 200
  bytes 010 000 000 000 000 144 025 200 002
  bytes 000 000 000 000 111 104 101 124 065 257 006 036
} >claim.png
fails 2 "claim.png: is a damaged PNG picture: 45 bytes cannot hold 16000 x 16000 pixels" compare claim.png scene.png
for file in junk empty good.rwh; do
  fails 2 "$file: is not a PNG, binary PPM or PGM, or BMP picture" mosaic $file out.rwh --format Mono8
done
printf 'P6 2 2 255\n123' >cut.ppm
fails 2 "cut.ppm: ends too early: 3 bytes of pixels, 12 needed" mosaic cut.ppm out.rwh --format Mono8
for text in 'P6' 'P6 2' 'P6 2 2' 'P6 2 2 255' 'P6 2 2 0 ' 'P6 2 2 70000 ' 'P6 -1 2 255 ' 'P6 x y 255 ' 'P6 # 2 2 255 '; do
  printf '%s' "$text" >bad.ppm
  fails 2 "bad.ppm: has a damaged PPM header" mosaic bad.ppm out.rwh --format Mono8
done
printf 'P6 0 2 255 ' >bad.ppm
fails 2 "bad.ppm: is an empty picture" mosaic bad.ppm out.rwh --format Mono8
printf 'P5 99999 99999 255 ' >bad.ppm
fails 2 "bad.ppm: claims 99999 x 99999 pixels, more than this tool takes (268435456)" \
  mosaic bad.ppm out.rwh --format Mono8
ok scene scene.bmp --size 160x160
head -c 40 scene.bmp >cut.bmp
fails 2 "cut.bmp: is a damaged BMP picture: its header is cut short" mosaic cut.bmp out.rwh --format Mono8
head -c 4000 scene.bmp >cut.bmp
fails 2 "cut.bmp: is a damaged BMP picture: 4000 bytes are too few for 160 x 160 pixels" \
  mosaic cut.bmp out.rwh --format Mono8
printf 'P5 3 1 255\n123' >three.ppm
fails 4 "three.ppm: $groups" mosaic three.ppm out.rwh --format YUV422_8_UYVY
fails 4 "--format: unknown pixel format 'Foo'; $list" mosaic scene.png out.rwh --format Foo
fails 1 "--to: 'png' is not rwh or raw" mosaic scene.png out.rwh --format Mono8 --to png
fails 2 "three.ppm: is 3 x 1 pixels, scene.png is 160 x 160" compare scene.png three.ppm
fails 1 "--size: the scene can be drawn from 160x160 to 16384x16384 pixels" scene out.png --size 10x1000
fails 1 "--labels: 2 labels for 1 pictures" sheet out.png scene.png --labels a b
fails 1 "--cell: a cell can be 16x16 to 4096x4096 pixels" sheet out.png scene.png --cell 8x8
fails 2 "junk: is not a PNG, binary PPM or PGM, or BMP picture, nor an RWH frame (headerless frames need --format and --size)" sheet \
  out.png scene.png junk

# An output that would replace its own input.
cp good.rwh own.rwh
fails 1 'own.rwh: the output is the input itself' convert own.rwh own.rwh --to png
fails 1 './own.rwh: the output is the input itself' import own.rwh ./own.rwh --format Mono8 --size 4x4
cmp good.rwh own.rwh || { echo "own.rwh was changed" >&2; exit 1; }

# The command line itself
fails 1 "A subcommand is required; see 'kivocam --help'"
fails 1 "'frobnicate' is not a command; see 'kivocam --help'" frobnicate
fails 1 "OUT is required; see 'kivocam convert --help'" convert good.rwh
fails 1 "The following argument was not expected: --fast; see 'kivocam convert --help'" convert good.rwh out.png --fast
fails 1 "--format is required; see 'kivocam mosaic --help'" mosaic scene.png out.rwh
# Numbers are decimal and without sign, whichever option has them.
for bad in -1 +7 ' 7' 7x 0x7 7.0 99999999999999999999; do
  fails 1 "--columns: '$bad' is not a number from 1 to 64; see 'kivocam sheet --help'" sheet out.png scene.png "--columns=$bad"
  fails 1 "--png-level: '$bad' is not a number from 0 to 9; see 'kivocam convert --help'" \
    convert good.rwh out.png "--png-level=$bad"
  fails 1 "--jobs: '$bad' is not a number from 1 to 256; see 'kivocam report --help'" report good.rwh -o out.html "-j$bad"
  fails 1 "--shift: '$bad' is not a number from 0 to 15; see 'kivocam convert --help'" \
    convert good.rwh out.png "--shift=$bad"
done
fails 1 "--columns: '0' is not a number from 1 to 64; see 'kivocam sheet --help'" sheet out.png scene.png --columns 0
fails 1 "--png-level: '10' is not a number from 0 to 9; see 'kivocam convert --help'" convert good.rwh out.png --png-level 010
fails 1 "'frobnicate' is not a command; see 'kivocam --help'" help frobnicate
ok --help && cp stdout help && ok help && same stdout help
ok convert --help && cp stdout help && ok help convert && same stdout help
# A name can be missing, too: it is seen nevertheless.
fails 2 "'': cannot be opened: No such file or directory" convert '' out.png
fails 2 "'': cannot be opened: No such file or directory" compare '' scene.png
fails 3 "'': cannot be written: No such file or directory" import good.rwh '' --format Mono8 --size 160x160 --offset 16
# A file name cannot break the line.
name=$(printf 'two\nlines')
fails 2 'two\x0alines: cannot be opened: No such file or directory' convert "$name" out.png

# A name that says another format than is written is a slip.
other='is called like another format than is written,'
cp good.rwh named.rwh
ok scene named.png --size 160x160
fails 1 "out.bmp: $other png" convert named.rwh out.bmp --to png
fails 1 "out.rwh: is called like a raw frame, not like a picture" convert named.rwh out.rwh --to png
fails 1 "out.raw: $other png" convert named.rwh out.raw --to png
fails 1 "out.html: $other ppm" scene out.html --to ppm
fails 1 "out.png: $other samples without a header" mosaic named.png out.png --format Mono8
fails 1 "out.raw: $other rwh" mosaic named.png out.raw --format Mono8 --to rwh
fails 1 "out.rwh: $other samples without a header" mosaic named.png out.rwh --format Mono8 --to raw
fails 1 "out.raw: $other rwh" import named.rwh out.raw --format Mono8 --size 4x4 --offset 16
fails 1 "out.png: $other html" report named.rwh -o out.png

finish
