#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# From what a sensor counts to what a person wants to see: the colour options of convert, and frames like a sensor's.
. "$(dirname "$0")/lib.sh"

ok scene scene.png --size 160x160
ok mosaic scene.png dark.rwh --format BayerRG12 --sensor
ok mosaic scene.png again.rwh --format BayerRG12 --sensor && same dark.rwh again.rwh
ok mosaic scene.png packed.rwh --format BayerRG12p --sensor
# decibels A B: how near two pictures are, whole decibels.
decibels() { "$kivocam" compare "$1" "$2" | sed -n 's/^CPSNR *\([0-9]*\).*/\1/p'; }

# A sensor's frame is dark; seen by itself, most of the scene comes back.
ok convert dark.rwh plain.png -q
ok convert dark.rwh auto.png --auto -q
ok convert packed.rwh auto2.png --auto -q && same auto.png auto2.png
[ "$(decibels scene.png plain.png)" -lt 12 ] || fail "a sensor's frame is not dark: $(decibels scene.png plain.png) dB"
[ "$(decibels scene.png auto.png)" -ge 17 ] || fail "--auto: $(decibels scene.png auto.png) dB"

# It says what it has found, in options that give the same again.
"$kivocam" convert dark.rwh auto3.png --auto 2>found || fail 'convert --auto'
words=$(sed -n 's/^kivocam: dark.rwh: \(--black .*\)/\1/p' found)
[ -n "$words" ] || fail "--auto says '$(cat found)'"
# shellcheck disable=SC2086
ok convert dark.rwh same.png $words && same auto.png same.png
ok convert dark.rwh auto4.png --auto --json && says '"colour": {"black": \[[0-9., ]*\], "gain": \[[0-9., ]*\]'
ok convert dark.rwh plain2.png --json && same plain.png plain2.png
grep -q colour stdout && fail 'colour settings of a frame that has none'

# Single links. 0, 64, 1064, 4095 of 12 bits: black 64, then 1000 of 2000 is half of white.
bytes 000 000 100 000 050 004 377 017 >four.raw
of='--format Mono12 --size 4x1'
# shellcheck disable=SC2086
{
  ok convert four.raw a.pgm $of --black 64 && gives a.pgm '000 000 076 373'
  ok convert four.raw a.pgm $of --black 64 --range 0,2000 && gives a.pgm '000 000 177 377'
  ok convert four.raw a.pgm $of --black 64 --range 0,2000 --tone srgb && gives a.pgm '000 000 274 377'
  ok convert four.raw a.pgm $of --black 64 --range 0,2000 --tone 2.0 && gives a.pgm '000 000 264 377'
  ok convert four.raw a.pgm $of --black 64 --white-balance 9,2,9 && gives a.pgm '000 000 175 377'
}
# A flat frame of four colours: the matrix exchanges red and blue.
bytes 020 040 040 100 >rggb.raw
# shellcheck disable=SC2086
for half in 'RG 020 040 100' 'BG 100 040 020'; do
  # shellcheck disable=SC2086
  set -- $half
  ok convert rggb.raw a.ppm --format "Bayer${1}8" --size 2x2 --bayer half --matrix 0,0,1,0,1,0,1,0,0
  tail -c 3 a.ppm >a && bytes "$4" "$3" "$2" >b && same a b
done

# One frame's settings for all.
ok mosaic scene.png bright.rwh --format BayerRG12
ok convert bright.rwh own.png --auto -q
ok convert bright.rwh like.png --auto --colour-of dark.rwh -q
# shellcheck disable=SC2086
ok convert bright.rwh expected.png $words -q && same like.png expected.png
cmp -s own.png like.png && fail '--colour-of changes nothing'

# What the camera has balanced stays as it is.
ok mosaic scene.png yuv.rwh --format YUV422_8_UYVY
ok convert yuv.rwh a.png && ok convert yuv.rwh b.png --auto -q && same a.png b.png
fails 4 'yuv.rwh: colour settings are not for YUV or samples, nor beside a range or a shift; it is 160 x 160 pixels of YUV422_8_UYVY' \
  convert yuv.rwh out.png --black 4
fails 4 'scene.png: YUV422_8_UYVY is what a camera makes of a sensor'"'"'s samples, not what the sensor gives' \
  mosaic scene.png out.raw --format YUV422_8_UYVY --sensor

# What makes no sense is refused before any file is touched.
gains='is not white-patch, grey-world, median, none, or the gains RED,GREEN,BLUE'
for wrong in 1,2 1,2,x brown ,1,1,1; do
  fails 1 "--white-balance: '$wrong' $gains" convert no.rwh out.png --white-balance "$wrong"
done
fails 1 "--black: '1,2' is not auto, one level, or those of red, both greens and blue with commas" \
  convert no.rwh out.png --black 1,2
fails 1 "--range: 'p1,9' is not BLACK,WHITE, as samples or as percentages of them: p0.1,p99.9" \
  convert no.rwh out.png --range p1,9
fails 1 "--matrix: '1,2,3' is not nine numbers with commas: what of red, green and blue makes red, green, blue" \
  convert no.rwh out.png --matrix 1,2,3
fails 1 "--tone: 'film' is not linear, srgb, or a gamma such as 2.2" convert no.rwh out.png --tone film
for wrong in '--black -1' '--black nan' '--white-balance 1,-1,1' '--white-balance inf,1,1' '--range 9,8' \
  '--range p50,p40' '--range p0,p101' '--matrix 9,0,0,0,1,0,0,0,1' '--matrix nan,0,0,0,1,0,0,0,1' '--tone 0.01'; do
  # shellcheck disable=SC2086
  set -- $wrong
  "$kivocam" convert no.rwh out.png "$1=$2" >stdout 2>stderr
  [ $? -eq 1 ] && grep -q '^kivocam: colour settings: ' stderr || fail "$wrong: $(cat stderr)"
  nothing_left "$wrong"
done
fails 1 '--auto-range: does not go with colour settings: take --range' convert no.rwh out.png --auto --auto-range
fails 1 '--shift: does not go with colour settings: take --range' convert no.rwh out.png --auto --shift 2
fails 1 '--raw: does not go with colour settings: it keeps the samples as they are' convert no.rwh out.png --auto --raw
fails 1 '--colour-of: needs --auto, or another option that looks at a frame' \
  convert no.rwh out.png --black 3 --colour-of dark.rwh

finish
