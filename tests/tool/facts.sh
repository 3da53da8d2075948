# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# info, formats, compare and the help: what is printed.
. "$(dirname "$0")/lib.sh"

# A 4 x 2 frame of 12 bits in RG order, with samples at 0, at 4095 and above it:
#   R 0, Gr 4095, R 2, Gr 1 / Gb 5000, B 7, Gb 3, B 4
bytes 000 000 377 017 002 000 001 000 210 023 007 000 003 000 004 000 >frame.raw
checks=$((checks + 1))
doubt='frame.raw: samples above 4095, the largest of 12 bits: 1 of 8, up to 5000; a format of 13 bits holds them'
"$kivocam" import frame.raw frame.rwh --format BayerRG12 --size 4x2 2>stderr || fail "import: $(cat stderr)"
[ "$(cat stderr)" = "kivocam: $doubt" ] || fail "import says '$(cat stderr)'"
"$kivocam" convert frame.raw frame.png --format BayerRG12 --size 4x2 2>stderr || fail "convert: $(cat stderr)"
[ "$(cat stderr)" = "kivocam: $doubt" ] || fail "convert says '$(cat stderr)'"
ok convert frame.rwh frame.png --json --quiet && says '"doubt": "samples above 4095, '
ok convert frame.rwh frame.png --quiet
# Of an archive one line tells, of the first of them; the facts have it of each.
mkdir doubted && cp frame.rwh doubted/a.rwh && cp frame.rwh doubted/b.rwh && cp frame.rwh doubted/c.rwh
"$kivocam" convert doubted pictures --json -j 1 >stdout 2>stderr || fail "a doubted archive: $(cat stderr)"
checks=$((checks + 2))
[ "$(grep -v ' converted, ' stderr)" = "kivocam: doubted/a.rwh: ${doubt#*: }" ] || fail "a doubted archive: $(cat stderr)"
[ "$(grep -c '"doubt": "samples above 4095, ' stdout)" -eq 3 ] || fail "the facts of a doubted archive: $(cat stdout)"
ok convert doubted pictures --quiet
# Words of the other byte order.
bytes 000 012 000 002 000 003 000 000 >big.raw
"$kivocam" convert big.raw big.pgm --format Mono10 --size 4x1 2>stderr
[ "$(cat stderr)" = 'kivocam: big.raw: samples above 1023, the largest of 10 bits: 1 of 4, up to 2560; none is with --swap-bytes' ] ||
  fail "big-endian words: '$(cat stderr)'"
ok convert big.raw big.pgm --format Mono10 --size 4x1 --swap-bytes
ok info frame.rwh
says '^  format     BayerRG12 \(0x01100011\)$'
says '^  size       4 x 2 pixels, 8 bytes a row$'
says '^  file       32 bytes, as the header says$'
says '^  R +0 +2 +1\.00 +50\.00% +0\.00% +50\.00% +0\.00%$'
says '^  Gr +1 +4095 +2048\.00 +0\.00% +50\.00% +50\.00% +0\.00%$'
says '^  Gb +3 +5000 +2501\.50 +0\.00% +0\.00% +50\.00% +50\.00%$'
says '^  B +4 +7 +5\.50 +0\.00% +0\.00% +50\.00% +0\.00%$'
ok info frame.raw --format BayerGR12 --size 4x2
says '^  file       16 bytes, headerless$'
says '^  Gr +0 +2 '
says '^  B +3 +5000 '
ok info --json frame.rwh
says '^\{"file": "frame.rwh", "path": "/.*/frame.rwh", "kind": "rwh", "format": "BayerRG12", "code": "0x01100011", "depth": 12, "width": 4, "height": 2, "row_bytes": 8, "file_bytes": 32, "unused_bytes": 0, "bin_width": 64, "samples": \{"R": \{"min": 0, "max": 2, "mean": 1.0000, "zero": 0.500000, "clipped": 0.000000, "at_max": 0.500000, "above": 0.000000, "histogram": \[2, 0, 0, .*\]\}, '
says '"Gr": .*"histogram": \[1, 0, .*, 0, 1\]\}, "Gb": .*"histogram": \[1, 0, .*, 0, 1\]\}, "B": '

# The header of a bad file is shown, then judged; the other files are told all the same.
head -c 20 frame.rwh >cut.rwh
"$kivocam" info cut.rwh frame.rwh >stdout 2>stderr
code=$?
checks=$((checks + 1))
[ $code -eq 5 ] || fail "a bad file among good ones gives exit code $code"
says '^  file       20 bytes, but the header says 32$'
says '^  file       32 bytes, as the header says$'
[ "$(cat stderr)" = "kivocam: cut.rwh: is not a whole RWH file: it holds 20 bytes, its header says 32" ] ||
  fail "$(cat stderr)"

# A bar for each 64th of the range, the tallest for most samples; what is above the range is in the last one.
ok info frame.rwh
says '^  histogram  0 to 4095, heights by the square root$'
says '^  R +\|@ {63}\|$'
says '^  Gr +\|@ {62}@\|$'
says '^  Gb +\|@ {62}@\|$'
# 16 samples of one value and one of another: a quarter of the height.
{ for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16; do bytes 200; done; bytes 4; } >grey.raw
ok info grey.raw --format Mono8 --size 17x1
says '^  grey +\| :  {28} @ {31}\|$'

# Standard input, folders, patterns, and words with the high byte first.
"$kivocam" info - <frame.rwh >stdout
says '^standard input$'
says '^  Gb +3 +5000 +2501\.50 '
mkdir frames && cp frame.rwh frames/one.rwh && cp frame.rwh frames/two.rwh
ok info frames
says '^frames/one.rwh$'
says '^frames/two.rwh$'
bytes 000 001 002 003 >big.raw
ok info big.raw --format Mono16 --size 2x1 --swap-bytes
says '^  grey +1 +515 +258\.00 '
# 0x234 and 0xBCA share three bytes.
bytes 064 242 274 >packed.raw
ok info packed.raw --format Mono12p --size 2x1
says '^  grey +564 +3018 +1791\.00 '
says '^  size       2 x 1 pixels, 3 bytes a row$'
"$kivocam" info --json cut.rwh frame.rwh >stdout 2>stderr
says '^\{"file": "cut.rwh", "error": "cut.rwh: is not a whole RWH file: it holds 20 bytes, its header says 32"\}$'
says '^\{"file": "frame.rwh", "path": "[^"]*", "kind": "rwh"'

# Which sample of a YUV group is which.
bytes 001 012 013 002 014 015 >yuv.raw
ok info yuv.raw --format YUV411_8_UYYVYY --size 4x1
says '^  Y +10 +13 +11\.50 '
says '^  U +1 +1 +1\.00 '
says '^  V +2 +2 +2\.00 '

ok formats
says '^BayerRG8 +0x01080009 +8 +8 +COLOR_BayerBG2BGR +SRGGB8 +rggb +bayer_rggb8$'
says '^YUV422_8_UYVY +0x0210001F +8 +16 +COLOR_YUV2BGR_UYVY +UYVY +UYVY +yuv422$'
says '^BGR12 +0x0230001B +12 +48 '
ok formats --json
says '^ \{"name": "BayerGB12", "code": "0x01100012", "depth": 12, "bits_per_pixel": 16, "opencv": "COLOR_BayerGR2BGR", "v4l2": "SGBRG12", "gstreamer": "gbrg12le", "ros": "bayer_gbrg16"\},$'

# One channel of one of two pixels differs by 51: mean square 1300.5 in R, 433.5 over all.
{ printf 'P6 2 1 255\n' && bytes 000 000 000 000 000 000; } >a.ppm
{ printf 'P6 2 1 255\n' && bytes 063 000 000 000 000 000; } >b.ppm
ok compare a.ppm b.ppm
says '^differing pixels +1 of 2$'
says '^max difference +51 \(R 51, G 0, B 0\)$'
says '^PSNR +R 16\.99 dB, G equal, B equal$'
says '^CPSNR +21\.76 dB$'
ok compare --json a.ppm b.ppm
says '"differing_pixels": 1, "max_difference": 51, "max_difference_rgb": \[51, 0, 0\], "psnr_rgb": \[16.9897, null, null\], "cpsnr": 21.7609\}$'

# Whoever works with 8 bits gets a 16-bit PGM scaled to them, comments and all.
{ printf 'P5\n# a comment\n2 1 # another\n65535\n' && bytes 377 377 200 000; } >wide.pgm
{ printf 'P6 2 1 255\n' && bytes 377 377 377 177 177 177; } >narrow.ppm
ok mosaic wide.pgm wide.raw --format RGB8 && ok mosaic narrow.ppm narrow.raw --format RGB8
same wide.raw narrow.raw

ok --version
says '^kivocam [0-9]+\.[0-9]+\.[0-9]+$'
for command in info report formats convert import mosaic compare scene sheet; do
  ok --help
  says "^  $command "
  ok $command --help
  says '^Examples:$'
  says "^  kivocam $command"
  says '^Exit codes: 0 done; '
done

finish
