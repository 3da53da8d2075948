# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# What convert does to samples on their way: every byte of these pictures is known.
. "$(dirname "$0")/lib.sh"

# starts FILE "P5 W H MAX": the header of a PNM file.
starts() {
  checks=$((checks + 1))
  [ "$(head -n 3 "$1" | tr '\n' ' ')" = "$2 " ] || fail "$1 starts with $(head -n 3 "$1" | tr '\n' ' ')"
}

# Two bit layouts by hand. Mono10p: 0x3FF 0x001 0x200 0x155 as one stream, lowest bits first:
# FF 07 00 60 55; GigE Mono10Packed: upper 8 bits, low bits (second in the upper half), upper 8 bits.
bytes 377 007 000 140 125 >p.raw
ok convert p.raw p.pgm --format Mono10p --size 4x1 --raw
starts p.pgm 'P5 4 1 1023'
gives p.pgm '003 377 000 001 002 000 001 125'
ok convert p.raw p8.pgm --format Mono10p --size 4x1
gives p8.pgm '377 000 200 125'
bytes 377 023 000 200 020 125 >packed.raw
ok convert packed.raw packed.pgm --format Mono10Packed --size 4x1 --raw && same p.pgm packed.pgm
# Mono12p and Mono12Packed of 0xABC 0x123.
bytes 274 072 022 >p12.raw
bytes 253 074 022 >packed12.raw
ok convert p12.raw a.pgm --format Mono12p --size 2x1 --raw
gives a.pgm '012 274 001 043'
ok convert packed12.raw b.pgm --format Mono12Packed --size 2x1 --raw && same a.pgm b.pgm
# Rows of 3 samples follow each other within bytes; with a stride each begins on one.
bytes 001 010 100 000 005 030 000 000 >rows.raw
ok convert rows.raw rows.pgm --format Mono10p --size 3x2 --stride 4 --raw
gives rows.pgm '000 001 000 002 000 004 000 005 000 006 000 000'

# What mosaic packs, convert unpacks: the samples are those of the plain format, at widths that end anywhere.
ok scene scene.png --size 160x160
printf 'P5 5 3 255\nA\001\377z0123456789\200' >odd.pgm
"$kivocam" formats | awk '$1 ~ /1[024]p$|Packed$/ { print $1 }' >shared
while read -r format; do
  plain=${format%p}
  plain=${plain%Packed}
  for picture in scene.png:160x160 odd.pgm:5x3; do
    ok mosaic ${picture%:*} shared.raw --format "$format" && ok mosaic ${picture%:*} plain.raw --format "$plain"
    ok convert shared.raw shared.png --format "$format" --size ${picture#*:} --raw
    ok convert plain.raw plain.png --format "$plain" --size ${picture#*:} --raw
    same shared.png plain.png
  done
done <shared
checks=$((checks + 1))
[ "$(wc -l <shared)" -eq 29 ] || fail "not 29 formats of wide samples that share bytes"

# The other layouts, there and back: bits, three samples in a word, planes, signs, alpha, luma in front.
there_and_back() {
  ok mosaic "$2" back.raw --format "$1"
  ok convert back.raw back.png --format "$1" --size "$3"
  ok compare back.png "$2" && says '^CPSNR +equal$'
}
for format in RGB8_Planar RGB10_Planar RGB12_Planar RGB16_Planar RGB10p32 RGBa8 BGRa8; do
  there_and_back $format scene.png 160x160
done
there_and_back Mono8s odd.pgm 5x3
for bits in 1:200 2:125 4:021; do # 0 and 255; and what a byte of the highest sample but one is spread to
  bytes 000 377 000 377 "$([ ${bits%:*} = 1 ] && echo 377 || echo ${bits#*:})" >bits.raw
  { printf 'P5 5 1 255\n' && cat bits.raw; } >bits.pgm
  there_and_back Mono${bits%:*}p bits.pgm 5x1
done
bytes 005 >one.raw && ok convert one.raw one.pgm --format Mono1p --size 8x1
gives one.pgm '377 000 377 000 000 000 000 000'
for pair in YUV422_8:YUV422_8_UYVY YCbCr411_8:YCbCr411_8_CbYYCrYY YCbCr709_422_8:YCbCr709_422_8_CbYCrY; do
  ok mosaic scene.png first.raw --format ${pair%:*} && ok mosaic scene.png second.raw --format ${pair#*:}
  ok convert first.raw first.ppm --format ${pair%:*} --size 160x160
  ok convert second.raw second.ppm --format ${pair#*:} --size 160x160 && same first.ppm second.ppm
  checks=$((checks + 1))
  cmp -s first.raw second.raw && fail "$pair: two layouts are one"
done

# Byte order. 0x0123 and 0x4567, high byte first.
bytes 001 043 105 147 >big.raw
ok convert big.raw big.pgm --format Mono16 --size 2x1 --raw --swap-bytes
gives big.pgm '001 043 105 147'
ok convert big.raw big8.pgm --format Mono16 --size 2x1 --swap-bytes && gives big8.pgm '001 105'
ok convert big.raw little8.pgm --format Mono16 --size 2x1 && gives little8.pgm '043 147'
ok import big.raw little.rwh --format Mono16 --size 2x1 --swap-bytes
tail -c 4 little.rwh >a && bytes 043 001 147 105 >b && same a b
swap='only formats of 16-bit words can be big-endian'
fails 4 "--swap-bytes: $swap" convert big.raw out.pgm --format Mono8 --size 2x1 --swap-bytes
fails 4 "--swap-bytes: $swap" convert p.raw out.pgm --format Mono10p --size 4x1 --swap-bytes

# Shift: 0x0FFF, 0x0010 and 0x1234 of 12 bits. What is above 8 bits wraps.
bytes 377 017 020 000 064 022 >wide.raw
for shift in '4 377 001 043' '0 377 020 064' '8 017 000 022' '15 000 000 000'; do
  # shellcheck disable=SC2086
  set -- $shift
  ok convert wide.raw shift.pgm --format Mono12 --size 3x1 --shift "$1" --quiet
  gives shift.pgm "$2 $3 $4"
done
# Auto-range: the least becomes 0, the most 255, in between rounded: 100, 150, 200 of 10 bits; 110 is 25.5.
bytes 144 000 226 000 310 000 156 000 >range.raw
ok convert range.raw range.pgm --format Mono10 --size 4x1 --auto-range
gives range.pgm '000 200 377 032'
# A frame of one value has no range: it stays black.
bytes 007 000 007 000 >flat.raw
ok convert flat.raw flat.pgm --format Mono16 --size 2x1 --auto-range && gives flat.pgm '000 000'
# The adaptive demosaic works at the depth of the samples, or on the 8 bits of the range.
ok mosaic scene.png twelve.rwh --format BayerGB12
ok convert twelve.rwh acpi.ppm --bayer acpi --auto-range --time && says '^BayerGB12 160x160 acpi/RGB8 '
ok convert twelve.rwh deep.ppm --bayer acpi --shift 4 && ok convert twelve.rwh own.ppm --bayer acpi
same deep.ppm own.ppm

# Crop: 4 x 4 of BayerRG8 with every sample its own number, 1 to 16; the filter colours move with the corner.
bytes 001 002 003 004 005 006 007 010 011 012 013 014 015 016 017 020 >sixteen.raw
of='--format BayerRG8 --size 4x4'
# shellcheck disable=SC2086
{
  ok convert sixteen.raw crop.pgm $of --crop 2x3+1+1 --raw
  starts crop.pgm 'P5 2 3 255'
  gives crop.pgm '006 007 012 013 016 017'
  # B at its corner: pixel (0, 0) has blue 6, green (7 + 10) / 2, red 11.
  ok convert sixteen.raw crop.ppm $of --crop 2x2+1+1
  bytes 006 007 012 013 >four.raw
  ok convert four.raw same.ppm --format BayerBG8 --size 2x2 && same crop.ppm same.ppm
  ok convert sixteen.raw all.pgm $of --crop 4x4 --raw && ok convert sixteen.raw whole.pgm $of --raw
  same all.pgm whole.pgm
  # Crop first, then mirror.
  ok convert sixteen.raw turned.pgm $of --crop 2x1+2+3 --mirror --raw && gives turned.pgm '020 017'
  ok convert sixteen.raw turned.ppm $of --crop 2x2+1+0 --mirror --flip
  bytes 007 006 003 002 >four.raw
  ok convert four.raw same.ppm --format BayerGB8 --size 2x2 && same turned.ppm same.ppm
  fails 4 'sixteen.raw: the region does not lie within the frame; it is 4 x 4 pixels of BayerRG8' \
    convert sixteen.raw out.png $of --crop 2x2+3+0
  for bad in 2 2x 2x2+1 2x2+1+ 2x2+1+1+1 0x2+0+0 2x2-1-1 2x2+-1+0 x2+0+0 '2x2+0+0 '; do
    fails 1 "--crop: '$bad' is not WIDTHxHEIGHT+X+Y in pixels, such as 640x480+16+8" \
      convert sixteen.raw out.png $of --crop "$bad"
  done
}
bytes 001 002 003 004 005 006 007 010 >yuv.raw
fails 4 'yuv.raw: the region cuts a group of YUV pixels in two (2 pixels for 4:2:2, 4 for 4:1:1); it is 4 x 1 pixels of YUV422_8_UYVY' \
  convert yuv.raw out.png --format YUV422_8_UYVY --size 4x1 --crop 2x1+1+0
# A packed frame is unpacked for it.
ok convert p.raw c.pgm --format Mono10p --size 4x1 --crop 2x1+1+0 --raw && gives c.pgm '000 001 002 000'

# Raw samples: the same values in a PNG, whatever the depth.
ok convert p.raw p.png --format Mono10p --size 4x1 --raw
checks=$((checks + 1))
# Bit depth 16 and colour type 0 of the PNG header.
[ "$(head -c 26 p.png | tail -c 2 | od -An -to1 | tr -d ' ')" = 020000 ] || fail "p.png is no 16-bit grey PNG"
# Without compression the samples stand in the file, in front of check sums and the end of 20 bytes.
ok convert p.raw p.png --format Mono10p --size 4x1 --raw --png-level 0
tail -c 28 p.png | head -c 8 >a && tail -c 8 p.pgm >b && same a b
bytes 001 002 003 004 005 006 >bgr.raw
ok convert bgr.raw bgr.png --format BGR8 --size 2x1 --raw --png-level 0
tail -c 26 bgr.png | head -c 6 >a && bytes 003 002 001 006 005 004 >b && same a b
ok convert bgr.raw bgr.ppm --format BGR8 --size 2x1 --raw && gives bgr.ppm '003 002 001 006 005 004'
bytes 001 002 003 000 005 001 >wide.raw
ok convert wide.raw bgr.ppm --format BGR12 --size 1x1 --raw && gives bgr.ppm '001 005 000 003 002 001'
starts bgr.ppm 'P6 1 1 4095'
fails 4 'yuv.raw: --raw is for grey, Bayer and RGB samples; it is YUV422_8_UYVY' \
  convert yuv.raw out.png --format YUV422_8_UYVY --size 4x1 --raw
fails 4 'bgr.raw: a PGM is grey and BGR8 becomes a picture in colour: make it a PPM' \
  convert bgr.raw out.pgm --format BGR8 --size 2x1 --raw
fails 4 'p.raw: its raw samples are grey: make it a PGM' convert p.raw out.ppm --format Mono10p --size 4x1 --raw
fails 4 'twelve.rwh: a PGM is grey and BayerGB12 becomes a picture in colour: make it a PPM, or say --bayer off or --raw' \
  convert twelve.rwh out.pgm

# Pictures are compared at the depth that they have: all four samples are 5 apart.
for low in 350 355; do
  bytes $low 003 $low 003 $low 003 $low 003 >flat.raw
  for type in png pgm; do ok convert flat.raw flat$low.$type --format Mono16 --size 2x2 --raw; done
done
for type in png pgm; do
  ok compare flat350.$type flat355.png
  says '^depth +16 bits$' && says '^differing pixels +4 of 4$' && says '^max difference +5 \(R 5, G 5, B 5\)$'
  # 20 log10(65535 / 5)
  says '^CPSNR +82\.35 dB$'
done
ok compare flat350.png flat350.pgm --json
says '"bits": 16, "differing_pixels": 0, "max_difference": 0, .*"cpsnr": null\}$'
printf 'P6 1 1 4095\n\017\377\000\000\000\000' >white.ppm
printf 'P6 1 1 65535\n\377\377\000\001\000\000' >almost.ppm
ok compare white.ppm almost.ppm && says '^max difference +1 \(R 0, G 1, B 0\)$'
ok convert flat.raw flat8.png --format Mono12 --size 2x2
ok compare flat8.png flat8.png && says '^depth +8 bits$'
fails 2 'flat8.png: has 8 bits a sample, flat350.png has 16: only pictures of one depth can be compared' \
  compare flat350.png flat8.png
# Everybody else sees the upper bits.
ok mosaic flat350.png eight.raw --format Mono8 && bytes 004 004 004 004 >a && same eight.raw a

# Options that contradict each other, before any file is looked at.
fails 1 '--shift: does not go with --auto-range' convert no out.png --shift 2 --auto-range
fails 1 '--raw: does not go with --bayer: it does not demosaic' convert no out.png --raw --bayer acpi
fails 1 '--raw: does not go with --bgr: it does not convert' convert no out.png --raw --bgr
fails 1 '--raw: does not go with --shift: it keeps the samples as they are' convert no out.png --raw --shift 2
fails 1 '--raw: does not go with --auto-range: it keeps the samples as they are' convert no out.png --raw --auto-range
fails 1 '--raw: does not go with --time: it does not convert' convert no out.png --raw --time
fails 1 '--raw: does not go with BMP, which has no 16 bits; take png, pgm or ppm' convert no out.bmp --raw
fails 1 "--shift: '16' is not a number from 0 to 15; see 'kivocam convert --help'" convert no out.png --shift 16
fails 4 'bgr.raw: a shift is for samples of more than 8 bits and pictures of 8, and lies between 0 and 15; it is 2 x 1 pixels of BGR8' \
  convert bgr.raw out.png --format BGR8 --size 2x1 --shift 2

# In an RWH file rows begin on a byte: frames of other widths are stored unpacked, the rest keep their code.
ok import p.raw four.rwh --format Mono10p --size 4x1
ok info four.rwh && says '^  format +Mono10p '
bytes 001 010 100 000 005 030 000 000 >rows.raw
ok import rows.raw three.rwh --format Mono10p --size 3x2
ok info three.rwh && says '^  format +Mono10 '
ok convert three.rwh a.pgm --raw && ok convert rows.raw b.pgm --format Mono10p --size 3x2 --raw && same a.pgm b.pgm
printf 'P5 3 1 255\n123' >three.ppm
fails 4 'out.rwh: rows of this width do not end on a byte: unpack the frame first' \
  mosaic three.ppm out.rwh --format Mono10p

# Standard input and output.
ok convert twelve.rwh a.ppm
"$kivocam" convert - b.ppm <twelve.rwh 2>stderr || fail "standard input: $(cat stderr)"
same a.ppm b.ppm
"$kivocam" convert - - --to ppm <twelve.rwh >b.ppm 2>stderr || fail "standard output: $(cat stderr)"
same a.ppm b.ppm
# shellcheck disable=SC2002
cat twelve.rwh | "$kivocam" convert --to ppm -o - - | cmp - a.ppm || fail "a pipe gives another picture"
tail -c +17 twelve.rwh | "$kivocam" convert - b.ppm --format BayerGB12 --size 160x160 2>stderr || fail "$(cat stderr)"
same a.ppm b.ppm
cat p.raw p.raw | "$kivocam" convert - b.pgm --format Mono10p --size 4x1 --raw 2>stderr && same p.pgm b.pgm
[ "$(cat stderr)" = 'kivocam: standard input: note: more bytes behind the frame are ignored' ] || fail "$(cat stderr)"
bytes 001 002 003 004 >four.raw
for pair in "P6 ppm" "P5 pgm" "BM bmp" "PNG png"; do
  # shellcheck disable=SC2086
  set -- $pair
  "$kivocam" convert four.raw - --to "$2" --format Mono8 --size 2x2 >b
  ok convert four.raw "c.$2" --format Mono8 --size 2x2 && same b "c.$2"
  checks=$((checks + 1))
  head -c 4 b | grep -aq "$1" || fail "$2 on standard output is something else"
done
fails 1 'standard output: has no extension: say --to' convert four.raw - --format Mono8 --size 2x2
fails 1 '--json: does not go with a picture on standard output' convert four.raw - --to ppm --json --format Mono8 --size 2x2
fails 1 '--time: does not go with a picture on standard output' convert twelve.rwh - --to ppm --time
fails 1 'standard output: takes the picture of one file' convert twelve.rwh four.rwh - --to ppm
fails 1 'standard input: is one frame without a name: give it alone, and OUT as a file' convert - twelve.rwh -o somewhere
says_error() {
  checks=$((checks + 1))
  [ "$(cat stderr)" = "kivocam: $1" ] || fail "says '$(cat stderr)', not '$1'"
}
head -c 40000 twelve.rwh | "$kivocam" convert - out.png 2>stderr
says_error 'standard input: is not a whole RWH file: it holds 40000 bytes, its header says 51216'
cat twelve.rwh twelve.rwh | "$kivocam" convert - out.png 2>stderr
says_error 'standard input: is not a whole RWH file: more follows behind the 51216 bytes that its header says'
"$kivocam" convert - out.png </dev/null 2>stderr
says_error 'standard input: the file is shorter than the 16-byte RWH header'
bytes 001 | "$kivocam" convert - out.png --format Mono8 --size 2x2 2>stderr
says_error 'standard input: the buffer is shorter than the frame: it holds 1 bytes, too few for 2 x 2 pixels of Mono8 with 2 bytes a row'
nothing_left "standard input"
if [ -c /dev/full ]; then
  "$kivocam" convert twelve.rwh - --to ppm >/dev/full 2>stderr
  says_error 'standard output: cannot be written: No space left on device'
fi

# Pipes that have a name, if it was said: read as standard input is.
mkfifo pipe.rwh pipe.raw pipe.png
# feed FILE: to the pipe of the same kind, if somebody reads it.
feed() {
  # shellcheck disable=SC2016
  timeout 20 sh -c 'cat "$1" >"pipe.${1##*.}"' sh "$1" 2>/dev/null &
}
ok convert twelve.rwh a.ppm
feed twelve.rwh && ok convert pipe.rwh b.ppm && same a.ppm b.ppm
feed twelve.rwh && ok convert pipe.rwh fed/ --to ppm && same a.ppm fed/pipe.ppm
ok info twelve.rwh && sed '1d; /^  path /d' stdout >a
feed twelve.rwh && ok info pipe.rwh && sed '1d; /^  path /d' stdout >b && same a b
feed twelve.rwh && ok report pipe.rwh -o page.html
feed four.raw && ok convert pipe.raw b.pgm --format Mono8 --size 2x2 && tail -c 4 b.pgm >b && same four.raw b
feed four.raw && ok import pipe.raw b.rwh --format Mono8 --size 2x2 && tail -c 4 b.rwh >b && same four.raw b
feed scene.png && ok compare pipe.png scene.png && says '^CPSNR +equal$'
head -c 40000 twelve.rwh >cut.rwh
feed cut.rwh && fails 2 'pipe.rwh: is not a whole RWH file: it holds 40000 bytes, its header says 51216' \
  convert pipe.rwh out.png
wait
fails 2 'pipe.rwh: not a regular file' convert 'pip[e].rwh' out/
if [ -e /dev/stdin ]; then
  # shellcheck disable=SC2002
  cat twelve.rwh | "$kivocam" convert /dev/stdin b.ppm 2>stderr || fail "/dev/stdin: $(cat stderr)"
  same a.ppm b.ppm
  "$kivocam" convert /dev/stdin b.ppm <twelve.rwh 2>stderr || fail "/dev/stdin: $(cat stderr)"
  same a.ppm b.ppm
fi
"$kivocam" convert twelve.rwh /dev/stdout --to ppm 2>stderr | cat >b.ppm
same a.ppm b.ppm
"$kivocam" import four.raw /dev/stdout --format Mono8 --size 2x2 2>stderr | tail -c 4 >b
same four.raw b

finish
