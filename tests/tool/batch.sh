# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# convert over many files: which are taken, what the outputs are called, what is said and how it ends.
. "$(dirname "$0")/lib.sh"

# batch CODE ARG...: convert with this exit code; what it says is in stdout and stderr.
batch() {
  expected=$1
  shift
  checks=$((checks + 1))
  "$kivocam" convert "$@" >stdout 2>stderr
  code=$?
  [ $code -eq "$expected" ] || fail "convert $*: exit code $code, not $expected: $(cat stderr)"
}

# complains LINE: standard error has exactly this line among others.
complains() {
  checks=$((checks + 1))
  grep -Fxq -- "kivocam: $1" stderr || fail "no '$1' in: $(cat stderr)"
}

# tree FOLDER "FILE...": exactly these files, in the order of their names.
tree() {
  checks=$((checks + 1))
  found=$(cd "$1" && find . -type f | sed 's/^\.\///' | LC_ALL=C sort | tr '\n' ' ')
  [ "$found" = "$2 " ] || fail "$1 holds $found, not $2"
}

# summary "TEXT": the closing line, up to its seconds.
summary() {
  checks=$((checks + 1))
  tail -n 1 stderr | grep -Eq "^kivocam: $1 in [0-9]+\.[0-9] s$" || fail "closes with $(tail -n 1 stderr), not $1"
}

ok scene scene.png --size 160x160
ok mosaic scene.png good.rwh --format BayerRG8
mkdir -p in/day1/cam in/day2 in/.hidden
for file in in/a.rwh in/day1/b.RWH in/day1/cam/c.rwh in/day2/d.rwh in/.hidden/x.rwh in/.x.rwh in/.kivocam-1-1.rwh; do
  cp good.rwh "$file"
done
cp good.rwh in/day2/not_a_frame.txt
tail -c +17 good.rwh >in/day1/e.raw && cp in/day1/e.raw in/f.BIN && cp in/f.BIN in/day2/g.dat

# A folder with all below it; hidden files are none of ours.
batch 0 in out
tree out "a.png day1/b.png day1/cam/c.png day2/d.png"
summary '4 converted, 0 skipped, 0 failed'
ok convert good.rwh good.png
for file in out/a.png out/day1/cam/c.png; do same good.png $file; done
# Headerless files are other files.
batch 0 in/ out2 --format BayerRG8 --size 160x160 --to bmp -j 3
tree out2 "day1/e.bmp day2/g.bmp f.bmp"
ok convert good.rwh good.bmp && same good.bmp out2/f.bmp

# Files, folders and patterns mixed; what is named twice is converted once; an existing name is no pattern.
cp good.rwh 'odd[1].rwh'
batch 0 'in/day*/*.rwh' in/day1 ./in/../in/a.rwh in/a.rwh 'odd[1].rwh' -o out3/deep/ --json
tree out3/deep "a.png b.png cam/c.png d.png odd[1].png"
checks=$((checks + 1))
[ "$(grep -c '"status": "converted", "format": "BayerRG8", "width": 160, "height": 160, "error": null}$' stdout)" -eq 5 ] ||
  fail "not five converted: $(cat stdout)"
says '^\{"input": "in/day2/d.rwh", "output": "out3/deep/d.png", "status": "converted", '
says '^\{"summary": \{"converted": 5, "skipped": 0, "failed": 0, "not_done": 0, "seconds": [0-9.]+, "interrupted": false\}\}$'
# One file into a folder keeps its name.
mkdir one
ok convert good.rwh one && tree one "good.png"
ok convert good.rwh new/ --to ppm && tree new "good.ppm"
batch 0 in/day2 two --quiet
checks=$((checks + 1))
[ ! -s stderr ] || fail "--quiet says: $(cat stderr)"
# A name is a file's even if it begins with a dash or holds a newline.
odd=$(printf 'two\nlines.rwh')
cp good.rwh "$odd" && cp good.rwh ./-dash.rwh
batch 0 -o odd --json -- "$odd" -dash.rwh
says '^\{"input": "two\\u000alines.rwh", "output": "odd/two\\u000alines.png", "status": "converted"'
# A link to a folder above is not followed.
ln -s .. in/day2/loop
batch 0 in loopless && tree loopless "a.png day1/b.png day1/cam/c.png day2/d.png"

# Refused before any work.
cp good.rwh in/day1/a.rwh
fails 1 'none/a.png: two inputs would become this one output: in/a.rwh and in/day1/a.rwh' \
  convert in/a.rwh in/day1/a.rwh -o none
rm in/day1/a.rwh
cp good.rwh in/day1/b.rwh
fails 1 'none/day1/b.png: two inputs would become this one output: in/day1/b.RWH and in/day1/b.rwh' convert in none
rm in/day1/b.rwh
fails 1 'good.png: is a file; several pictures need a folder' convert in good.png
fails 1 'good.rwh: is a file; several pictures need a folder' convert in/a.rwh in/day2/d.rwh good.rwh
fails 1 'good.rwh: is called like a raw frame, not like a picture' convert in/a.rwh good.rwh --to png
folder='does not exist; several pictures need a folder: add a / if it is to be one'
for name in none.png none.PPM none.pgm none.bmp none.rwh ./none/none.rwh; do
  fails 1 "$name: $folder" convert in/a.rwh in/day2/d.rwh "$name"
done
fails 1 "none.png: $folder" convert in none.png
batch 0 in/a.rwh in/day2/d.rwh made.png/ && tree made.png "a.png d.png"
batch 0 in/a.rwh in/day2/d.rwh made.png --to bmp && tree made.png "a.bmp a.png d.bmp d.png"
batch 0 in/a.rwh in/day2/d.rwh made.2026 && tree made.2026 "a.png d.png"
cp in/f.BIN raw.png
fails 1 './raw.png: the output is one of the inputs' convert raw.png in/a.rwh -o . --format Mono8 --size 2x2
fails 2 'no*such.rwh: no file has such a name' convert 'no*such.rwh' none
fails 1 "OUT is required; see 'kivocam convert --help'" convert good.rwh
fails 1 "--to: 'rwh' is not png, ppm, pgm, bmp, tiff or dng" convert in none --to rwh
fails 1 '--raw: does not go with BMP, which has no 16 bits; take png, pgm or ppm' convert in none --raw --to bmp
checks=$((checks + 1))
[ ! -e none ] || fail "something was written"
fails 3 'good.png/sub: cannot be made: Not a directory' convert in good.png/sub
mkdir empty
batch 0 empty in/day2 half && complains 'empty: note: holds no .rwh files' && tree half "d.png"

# Some are rotten: each is told, the others are done, and the exit code says so.
printf 'junk' >in/day1/bad.rwh
head -c 5000 good.rwh >in/day2/cut.rwh
for threads in 1 4; do
  rm -rf rotten
  batch 5 in rotten -j $threads
  tree rotten "a.png day1/b.png day1/cam/c.png day2/d.png"
  complains 'in/day1/bad.rwh: the file is shorter than the 16-byte RWH header'
  complains 'in/day2/cut.rwh: is not a whole RWH file: it holds 5000 bytes, its header says 25616'
  summary '4 converted, 0 skipped, 2 failed'
done
batch 5 in rotten --json
says '^\{"input": "in/day1/bad.rwh", "output": "rotten/day1/bad.png", "status": "failed", "format": null, "width": null, "height": null, "error": "in/day1/bad.rwh: the file is shorter than the 16-byte RWH header"\}$'
batch 5 nofile.rwh in/a.rwh -o rotten && complains 'nofile.rwh: cannot be opened: No such file or directory'
batch 2 in/day1/bad.rwh single.png --json
says '"status": "failed"'
says '^\{"summary": \{"converted": 0, "skipped": 0, "failed": 1, '
rm in/day1/bad.rwh in/day2/cut.rwh

# --resume leaves out what is whole and not older, whatever the type.
for type in png ppm bmp; do
  rm -rf again
  batch 0 in again --to $type --no-sync
  cp -Rp again first
  batch 0 in again --to $type --resume
  summary '0 converted, 4 skipped, 0 failed'
  # Absent, empty, cut at the end, damaged at the start, and something else.
  rm again/a.$type && : >again/day1/b.$type
  truncate -s -1 again/day1/cam/c.$type
  batch 0 in again --to $type --resume
  summary '3 converted, 1 skipped, 0 failed'
  { printf 'X' && tail -c +2 "first/a.$type"; } >"again/a.$type"
  { cat "first/a.$type" && printf 'X'; } >"again/day2/d.$type"
  batch 0 in again --to $type --resume
  summary '2 converted, 2 skipped, 0 failed'
  diff -r first again >differences || fail "--resume made something else: $(cat differences)"
  checks=$((checks + 1))
  rm -rf first
done
# As new as its input is new enough; older is not.
touch -r again/a.bmp in/a.rwh
batch 0 in again --to bmp --resume --json
summary '0 converted, 4 skipped, 0 failed'
says '"output": "again/a.bmp", "status": "skipped", "format": null, '
touch -d '1 second' in/a.rwh
batch 0 in again --to bmp --resume
summary '1 converted, 3 skipped, 0 failed'
touch in/a.rwh
batch 0 in/a.rwh a.pgm --bayer off && batch 0 in/a.rwh a.pgm --bayer off --resume --json && says '"skipped": 1'

# --time names the demosaic that is used: frames too small for the adaptive one take the other.
tail -c +17 good.rwh >small.raw
for size in 4x4:acpi 3x4:standard 4x3:standard 2x2:standard; do
  batch 0 small.raw small.png --format BayerRG8 --size ${size%:*} --bayer best --time --quiet
  says "^BayerRG8 ${size%:*} ${size#*:}/RGB8 [0-9]"
done
# --time tells each file apart.
batch 0 in/a.rwh in/day2/d.rwh -o timed --time -j 2
says '^BayerRG8 160x160 standard/RGB8 [0-9]+\.[0-9]{3} in/day2/d\.rwh$'
batch 0 in/a.rwh timed --time --json
says '"height": 160, "conversion": "standard/RGB8", "milliseconds": [0-9]+\.[0-9]{3}, "error": null\}$'

# One frame is shared by threads: the same picture as of one.
ok scene big.png && ok mosaic big.png big.rwh --format BayerRG12p
for bayer in standard acpi half off; do
  ok convert big.rwh one.ppm -j 1 --bayer $bayer
  ok convert big.rwh many.ppm -j 7 --bayer $bayer && same one.ppm many.ppm
done

# A bar for eyes: on a terminal it is drawn, goes when all is done, and leaves the messages whole.
if command -v script >terminal && script -qec true /dev/null >terminal 2>&1; then
  # Frames that take long enough to see the bar.
  ok scene large.png --size 1200x1000
  ok mosaic large.png large.rwh --format RGB8
  mkdir many && i=0
  while [ "$i" -lt 12 ]; do cp large.rwh "many/$i.rwh" && i=$((i + 1)); done
  printf 'junk' >many/7.rwh
  COLUMNS=100 TERM=xterm script -qec "'$kivocam' convert many bar --png-level 9 -j 1 --no-sync" /dev/null >terminal 2>&1
  checks=$((checks + 1))
  tr '\r' '\n' <terminal | grep -Eq '^\[#*\.+\] [0-9]+/12' || fail "no bar: $(cat terminal)"
  tr '\r' '\n' <terminal | grep -Eq '(^|K)kivocam: 11 converted, 0 skipped, 1 failed in' || fail "no summary: $(cat terminal)"
  tr '\r' '\n' <terminal | grep -Eq '(^|K)kivocam: many/7.rwh: the file is shorter' || fail "no message: $(cat terminal)"
  # Rates of a report are those of its frames.
  TERM=xterm script -qec "'$kivocam' report many -o page.html -j 1" /dev/null >terminal 2>&1
  checks=$((checks + 1))
  { grep -aEq '[1-9][0-9.]* [kM]B/s' terminal && ! grep -aq ' 0\.0 .B/s' terminal; } || fail "rates: $(cat terminal)"
  # Bytes are those that were moved: not all of a long file in which the frame ends early, but those of a picture.
  mkdir long && i=0
  while [ "$i" -lt 6 ]; do truncate -s 100G "long/$i.raw" && i=$((i + 1)); done
  TERM=xterm script -qec "'$kivocam' convert long bar -f RGB8 -s 1200x1000 --png-level 9 -j 1 --no-sync" /dev/null >terminal 2>&1
  checks=$((checks + 1))
  { grep -aEq '[1-9][0-9.]* [kM]B/s in, [1-9][0-9.]* [kM]B/s out, ' terminal &&
    ! grep -aEq '[0-9]{5}\.[0-9] MB/s' terminal; } || fail "rates: $(cat terminal)"
  # What goes to the same terminal stands in lines of its own, too.
  for facts in --json --time; do
    rm -rf bar
    TERM=xterm script -qec "'$kivocam' convert many bar --png-level 9 -j 1 --no-sync $facts" /dev/null >terminal 2>&1
    checks=$((checks + 2))
    grep -aq '#.*\.\]' terminal || fail "$facts: no bar: $(cat terminal)"
    tr '\r' '\n' <terminal | sed 's/^.\[K//' | grep -a '\(RGB8\|"status"\)' >lines
    { [ "$(grep -Eac '^(\{"input": .*\}|RGB8 1200x1000 [A-Za-z0-9]+ [0-9.]+ many/[0-9]+\.rwh)$' lines)" -ge 11 ] &&
      ! grep -aq '[0-9]/12' lines; } || fail "$facts: $(cat lines)"
  done
  # A note, too. It comes once.
  rm -rf bar notes && mkdir notes && i=0
  while [ "$i" -lt 6 ]; do
    head -c 3600000 large.rwh >"notes/$i.raw"
    # The first ones are no longer than they should be: there is a bar before the note.
    [ "$i" -lt 3 ] || printf '1' >>"notes/$i.raw"
    i=$((i + 1))
  done
  TERM=xterm script -qec "'$kivocam' convert notes bar --format RGB8 --size 1200x1000 --png-level 9 -j 1 --no-sync" \
    /dev/null >terminal 2>&1
  checks=$((checks + 1))
  [ "$(tr '\r' '\n' <terminal | sed 's/^.\[K//' |
    grep -Exc 'kivocam: notes/3\.raw: note: 1 bytes behind the frame are ignored')" -eq 1 ] || fail "$(cat terminal)"
  [ "$(grep -Eac 'note: 1 bytes' terminal)" -eq 1 ] || fail "$(cat terminal)"
fi

finish
