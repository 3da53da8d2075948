# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# report: what the page holds; how it looks is for tests/browser.
. "$(dirname "$0")/lib.sh"

# count PATTERN: occurrences in the page.
count() { grep -o -- "$1" out.html | wc -l; }

# holds N PATTERN: so many of them.
holds() {
  checks=$((checks + 1))
  [ "$(count "$2")" -eq "$1" ] || fail "$(count "$2") of '$2' in the page, not $1"
}

ok scene scene.png --size 320x240
mkdir frames
for format in Mono8 BayerRG8 BayerGB12p RGB10 YUV422_8_UYVY; do
  ok mosaic scene.png frames/$format.rwh --format $format
done
ok report frames -o out.html --title 'a <b> & "c"' --quiet
holds 1 '<title>a &lt;b&gt; &amp; &quot;c&quot;</title>'
holds 5 '<section class="card"'
holds 9 'class="thumbnail" width="320" height="240"'  # as it is, and with --auto what is not YUV
holds 5 '<svg class="histogram"'
# Standard and ACPI for the two Bayer frames alone.
holds 4 'class="detail" width="256" height="192"'
holds 2 'Where standard and adaptive demosaicing differ most'
holds 1 'BayerGB12p (0x010C0055), 320&times;240 pixels, 480 bytes a row; RWH file of 115216 bytes, as its header says'
# The page needs nothing else: no address but those of its own parts, and no script.
holds 0 'http'
holds 0 '<script'
holds 0 'src="[^d]'

# The detail lies where the pictures differ: one sharp corner in a flat frame.
{ head -c $((64 * 64)) /dev/zero | tr '\000' '\100'; } >flat.raw
{ head -c $((64 * 40 + 37)) flat.raw && bytes 377 377 377 && head -c 61 flat.raw && bytes 377 377 377 && head -c $((64 * 23 - 40 - 64)) flat.raw &&
  head -c 64 flat.raw; } | head -c 4096 >corner.raw
ok report corner.raw --format BayerRG8 --size 64x64 -o out.html
checks=$((checks + 1))
where=$(sed -n 's/.*pixels from (\([0-9]*\),&nbsp;\([0-9]*\)).*/\1 \2/p' out.html)
x=${where% *} y=${where#* }
{ [ "$x" -le 37 ] && [ $((x + 32)) -gt 40 ] && [ "$y" -le 40 ] && [ $((y + 24)) -gt 41 ]; } ||
  fail "the detail is at $where"
ok report flat.raw --format BayerRG8 --size 64x64 -o out.html
holds 0 'differ most'

# picture N: the Nth picture of the page, as a file.
picture() { grep -o 'base64,[^"]*' out.html | sed -n "$1s/base64,//p" | base64 -d >"picture$1.png"; }

# shows N EXPECTED: the Nth picture has the pixels of another file.
shows() {
  picture "$1"
  ok compare "picture$1.png" "$2"
  says '^CPSNR +equal$'
}

# A small frame is its own thumbnail; with --auto-range by the range of all its colours, as convert has it.
{ printf 'P6 2 2 255\n' && bytes 100 144 120 150 110 130 120 120 120 104 150 140; } >colours.ppm
ok mosaic colours.ppm colours.rwh --format RGB10
ok report colours.rwh -o out.html
ok convert colours.rwh expected.png
shows 1 expected.png
ok report colours.rwh -o out.html --auto-range
ok convert colours.rwh expected.png --auto-range
shows 1 expected.png

# A large one is shrunk to means, rounded: 0 and 255 make 128.
i=0
while [ $i -lt 640 ]; do bytes 000 377 && i=$((i + 1)); done >stripes.raw
ok report stripes.raw --format Mono8 --size 640x2 -o out.html
head -c 320 /dev/zero | tr '\000' '\200' >grey.raw
ok convert grey.raw expected.png --format Mono8 --size 320x1
shows 1 expected.png

# The detail is made at the depth of the samples.
ok scene tile.ppm --size 160x160
ok mosaic tile.ppm tile.rwh --format BayerGR12
ok report tile.rwh -o out.html
where=$(sed -n 's/.*pixels from (\([0-9]*\),&nbsp;\([0-9]*\)).*/\1 \2/p' out.html)
ok convert tile.rwh standard.png
ok convert tile.rwh adaptive.png --bayer acpi
for mode in standard adaptive; do
  # The region of the whole picture, not of the frame: its edges have neighbours.
  ok mosaic $mode.png $mode.rwh --format RGB8
  ok convert $mode.rwh $mode-detail.png --crop "32x24+${where% *}+${where#* }"
done
shows 3 standard-detail.png
shows 4 adaptive-detail.png
# The second picture is what --auto makes, with the settings that make it again.
ok convert tile.rwh seen.png --auto -q
shows 2 seen.png
checks=$((checks + 1))
settings=$(sed -n 's/.*<code>\(--black [^<]*\)<.*/\1/p' out.html)
# shellcheck disable=SC2086
"$kivocam" convert tile.rwh again.png $settings && cmp -s seen.png again.png || fail "settings '$settings'"

# Hostile names are shown as what they are.
mkdir hostile
cp frames/Mono8.rwh "hostile/<img src=x onerror=alert(1)>\"'&.rwh"
cp frames/Mono8.rwh "$(printf 'hostile/a\001\377\342\200\256b.rwh')"
head -c 30 frames/Mono8.rwh >"hostile/<i>cut.rwh"
checks=$((checks + 1))
"$kivocam" report hostile -o out.html --json >stdout 2>stderr
code=$?
[ $code -eq 5 ] || fail "a bad frame among good ones gives exit code $code"
holds 2 '<section class="card"'
holds 0 '<img src'
holds 0 '<i>'
holds 1 '<h2>&lt;img src=x onerror=alert(1)&gt;&quot;&#39;&amp;.rwh</h2>'
holds 1 '<h2>a\\x01\\xff\\xe2\\x80\\xaeb.rwh</h2>'
holds 1 '<td>hostile/&lt;i&gt;cut.rwh<td class="bad" colspan="7">is not a whole RWH file: it holds 30 bytes, its header says 76816'
says '^\{"file": "hostile/<i>cut.rwh", "error": '
[ "$(grep -c '"histogram"' stdout)" -eq 2 ] || fail "facts of $(grep -c '"histogram"' stdout) frames"

# Dark frames are shown dark, or spread over their range.
{ head -c 512 /dev/zero; head -c 512 /dev/zero | tr '\000' '\020'; } >dark.raw
ok report dark.raw --format Mono12 --size 32x16 -o plain.html
ok report dark.raw --format Mono12 --size 32x16 -o out.html --auto-range
holds 1 'pictures spread over the range of the frame'
checks=$((checks + 1))
cmp -s plain.html out.html && fail '--auto-range changes nothing'

# Pictures in a folder beside the page: the same ones, and none within it.
ok report frames -o out.html -q
ok report frames -o beside.html -q --pictures beside
checks=$((checks + 1))
grep -q 'src="data' beside.html && fail 'a page has pictures within it and beside it'
grep -o 'src="[^"]*"' beside.html | sed 's/^src="//; s/"$//' >shown
checks=$((checks + 2))
[ "$(sort -u shown | wc -l)" -eq 13 ] || fail "pictures beside the page: $(cat shown)"
[ "$(find beside.html.pictures -type f | wc -l)" -eq 13 ] || fail "in the folder: $(ls beside.html.pictures)"
number=0
while read -r address; do
  number=$((number + 1))
  picture $number
  same picture$number.png "$address"
done <shown
holds 13 ' loading="lazy" '

# A page that replaces another takes its pictures away, and nothing else.
: >beside.html.pictures/1-mine.png
ok report frames/Mono8.rwh -o beside.html -q --pictures beside
checks=$((checks + 1))
[ "$(find beside.html.pictures -type f | wc -l)" -eq 3 ] || fail "left in the folder: $(ls beside.html.pictures)"
ok report frames/Mono8.rwh -o beside.html
checks=$((checks + 1))
[ "$(ls -A beside.html.pictures)" = 1-mine.png ] || fail "left in the folder: $(ls -A beside.html.pictures)"
rm beside.html.pictures/1-mine.png
ok report frames/Mono8.rwh -o beside.html
checks=$((checks + 1))
[ ! -e beside.html.pictures ] || fail 'an empty folder is left'

# Many go there by themselves: these compress to 300 kB each. On standard output they stay inside.
mkdir noise
i=0
while [ $i -lt 30 ]; do head -c 307200 /dev/urandom >noise/$i.raw && i=$((i + 1)); done
checks=$((checks + 3))
"$kivocam" report noise --format RGB8 --size 320x320 -o noise.html >stdout 2>stderr || fail "30 frames: $(cat stderr)"
grep -Fxq 'kivocam: noise.html.pictures: note: the pictures of the page are in this folder' stderr || fail "says: $(cat stderr)"
[ "$(find noise.html.pictures -type f | wc -l)" -eq 60 ] || fail "$(ls noise.html.pictures)"
[ "$(wc -c <noise.html)" -lt 300000 ] || fail "the page has $(wc -c <noise.html) bytes"
ok report noise --format RGB8 --size 320x320 -o - -q
checks=$((checks + 1))
[ "$(grep -o 'src="data' stdout | wc -l)" -eq 60 ] || fail "a page in a pipe has $(grep -o 'src="data' stdout | wc -l) pictures"
ok report noise --format RGB8 --size 320x320 -o noise.html -q --pictures inside
checks=$((checks + 1))
[ ! -e noise.html.pictures ] || fail "pictures of no page are left"

# Where one cannot be written nothing is left of it all, and the page that was there stays.
mv noise.html out.html
ok report frames -o beside.html -q --pictures beside
blocked=$(ls beside.html.pictures/5-plain-*)
mkdir out.html.pictures "out.html.pictures/${blocked##*/}"
checks=$((checks + 1))
"$kivocam" report frames -o out.html -q -j 1 --pictures beside 2>stderr && fail 'a picture in the place of a folder'
[ "$(find out.html* -type f)" = out.html ] || fail "left: $(find out.html*)"
[ "$(grep -o 'src="data' out.html | wc -l)" -eq 60 ] || fail 'the earlier page is gone'
rm -r out.html* beside.html*
: >beside.html.pictures
fails 3 'beside.html.pictures: cannot be made: File exists' report frames -o beside.html --pictures beside
fails 1 "--pictures: 'within' is not inside or beside" report frames -o out.html --pictures within
fails 1 '--pictures beside: does not go with a page on standard output' report frames -o - --pictures beside

# A signal leaves neither.
mkdir slow
ok scene large.png --size 1600x1200
ok mosaic large.png slow/0.rwh --format BayerRG12
i=1
while [ $i -lt 40 ]; do ln slow/0.rwh slow/$i.rwh && i=$((i + 1)); done
"$kivocam" report slow -o stopped.html -q -j 1 --pictures beside 2>stderr &
until [ -n "$(find stopped.html.pictures -name '*.png' 2>/dev/null)" ] || ! kill -0 $! 2>/dev/null; do :; done
kill -TERM $!
wait $! 2>/dev/null
code=$?
checks=$((checks + 2))
[ $code -eq 143 ] || fail "SIGTERM: exit code $code: $(cat stderr)"
[ -z "$(find . -name 'stopped*')" ] || fail "SIGTERM leaves $(find . -name 'stopped*')"

rm -f out.html plain.html
fails 2 "nothing.rwh: cannot be opened: No such file or directory" report nothing.rwh -o out.html
fails 3 "none/out.html: cannot be written: No such file or directory" report frames -o none/out.html
finish
