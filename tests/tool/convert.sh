# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# scene, mosaic, convert and import: every format there and back.
. "$(dirname "$0")/lib.sh"

ok scene scene.png
ok scene scene.ppm
ok scene scene.bmp
ok compare scene.png scene.ppm && says '^CPSNR +equal$'
ok compare scene.png scene.bmp && says '^CPSNR +equal$'
ok scene again.png && same scene.png again.png

# psnr_at_least DB FILE
psnr_at_least() {
  ok compare scene.png "$2"
  checks=$((checks + 1))
  awk -v least="$1" '/^CPSNR/ { ok = $2 == "equal" || $2 + 0 >= least } END { exit !ok }' stdout ||
    fail "$2 is too far from the scene: $(grep CPSNR stdout)"
}

ok formats
formats=$(awk 'NR > 1 { print $1 }' stdout)
checks=$((checks + 1))
[ "$(echo "$formats" | wc -l)" -eq 90 ] || fail "not 90 formats: $formats"

# Quickly: one in six, and what is needed below.
[ -z "${KIVO_QUICK-}" ] || formats=$(echo "$formats" | awk 'NR % 6 == 1 || /^(Mono8|Bayer..8)$/')
for format in $formats; do
  ok mosaic scene.png frame.rwh --format "$format"
  ok mosaic scene.png frame.raw --format "$format"
  ok convert frame.rwh a.bmp
  ok convert frame.rwh a.png
  ok convert frame.rwh a.ppm --bgr
  ok convert frame.raw b.bmp --bgr --format "$format" --size 640x480
  ok compare a.bmp a.png && says '^differing pixels +0 of 307200$'
  ok compare a.png a.ppm && says '^differing pixels +0 '
  ok compare a.ppm b.bmp && says '^differing pixels +0 '
  case $format in
    Mono1p | Mono2p | Mono4p) ;; # two, four and sixteen greys are far from the scene
    Mono*)
      psnr_at_least 14 a.png
      [ -e mono.png ] || cp a.png mono.png
      ok compare mono.png a.png && says '^CPSNR +equal$' ;;
    RGB* | BGR*) psnr_at_least 99 a.png ;;
    YUV8*) psnr_at_least 50 a.png ;;
    YCbCr8* | YCbCr60?_8* | YCbCr709_8*) psnr_at_least 44 a.png ;;
    YUV* | YCbCr*) psnr_at_least 28 a.png ;;
    Bayer*8)
      psnr_at_least 18 a.png
      ok convert frame.rwh acpi.png --bayer acpi && psnr_at_least 22 acpi.png
      ok convert frame.rwh off.png --bayer off
      cp frame.rwh "$format.rwh" ;;
    Bayer*) psnr_at_least 18 a.png ;;
  esac
  # Padded rows and a header in front, and back to the same RWH file.
  row=$(($(wc -c <frame.raw) / 480))
  ok import frame.raw b.rwh --format "$format" --size 640x480 && same frame.rwh b.rwh
  ok import frame.rwh b.rwh --format "$format" --size 640x480 --offset 16 && same frame.rwh b.rwh
  case $format in
    *_Planar) row=$((row / 3)) ;;
  esac
  ok import frame.raw b.rwh --format "$format" --size 640x240 --stride $((2 * row))
  ok convert b.rwh b.png --bayer off
done

# The colours of a mosaic come out right whatever its order; a wrong order is a wrong picture.
ok mosaic scene.png frame.raw --format BayerRG8
ok convert frame.raw right.png --format bayerrg8 --size 640x480
ok convert frame.raw wrong.png --format 0x0108000B --size 640x480
ok compare scene.png right.png
right=$(awk '/^CPSNR/ { print int($2 * 100) }' stdout)
ok compare scene.png wrong.png
wrong=$(awk '/^CPSNR/ { print int($2 * 100) }' stdout)
checks=$((checks + 1))
[ "$right" -gt "$wrong" ] || fail "the wrong Bayer order is no worse ($right, $wrong)"

# Mirror and flip commute: twice is nothing, and both are the half turn.
for order in GR RG GB BG; do
  for bayer in standard off; do
    ok convert Bayer${order}8.rwh a.ppm --bayer $bayer
    ok convert Bayer${order}8.rwh b.ppm --bayer $bayer --mirror --flip
    tail -c 921600 a.ppm | od -An -v -tx1 -w3 | tac >a.txt
    tail -c 921600 b.ppm | od -An -v -tx1 -w3 >b.txt
    same a.txt b.txt
  done
done

# A frame of which every byte is known: RG order, 10 20 over 30 40.
bytes 012 024 036 050 >tiny.raw
ok convert tiny.raw tiny.ppm --format BayerRG8 --size 2x2
bytes 012 031 050 012 024 050 012 036 050 012 031 050 >expected
tail -c 12 tiny.ppm >actual && same expected actual
ok convert tiny.raw tiny.bmp --format BayerRG8 --size 2x2 --bgr
checks=$((checks + 1))
[ "$(wc -c <tiny.bmp)" -eq 70 ] || fail "tiny.bmp has $(wc -c <tiny.bmp) bytes"

# Odd and tiny sizes have a standard demosaic, and the best one.
bytes 001 002 003 >row.raw
ok convert row.raw row.ppm --format BayerRG8 --size 3x1
ok convert row.raw best.ppm --format BayerRG8 --size 3x1 --bayer best && same row.ppm best.ppm
ok convert BayerRG8.rwh acpi.png --bayer acpi
ok convert BayerRG8.rwh best.png --bayer best && same acpi.png best.png

# Half size: red, the mean of both greens, blue.
ok convert tiny.raw half.ppm --format BayerRG8 --size 2x2 --bayer half
bytes 012 031 050 >expected
tail -c 3 half.ppm >actual && same expected actual

# --time tells what was made.
ok convert BayerRG8.rwh a.png --time && says '^BayerRG8 640x480 standard/RGB8 [0-9]+\.[0-9]{3}$'
ok convert BayerRG8.rwh a.bmp --time --crop 32x24+1+0 --bgr --bayer acpi
says '^BayerRG8 32x24 acpi/BGR8 [0-9]+\.[0-9]{3}$'

# Bytes behind the frame are worth a note, no more.
"$kivocam" convert tiny.raw note.ppm --format Mono8 --size 3x1 2>stderr || fail "trailing bytes are no failure"
[ "$(cat stderr)" = "kivocam: tiny.raw: note: 1 bytes behind the frame are ignored" ] || fail "$(cat stderr)"

finish
