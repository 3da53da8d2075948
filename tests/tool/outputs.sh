# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# An output is whole or absent, whatever happens.
. "$(dirname "$0")/lib.sh"

ok scene scene.png
ok mosaic scene.png frame.rwh --format BayerRG8
mkdir dir

fails 3 "none/out.png: cannot be written: No such file or directory" convert frame.rwh none/out.png
fails 3 "none/out.rwh: cannot be written: No such file or directory" mosaic scene.png none/out.rwh --format Mono8
fails 3 "dir: is a directory" import frame.rwh dir --format Mono8 --size 640x480
# Never replace a device by a file.
fails 3 "/dev/null: is not a regular file" convert frame.rwh /dev/null --to png
checks=$((checks + 1))
[ -c /dev/null ] || fail "/dev/null is gone"

# An existing file survives a failure and is replaced by a success; a symbolic link stays one.
printf 'precious' >kept.png
"$kivocam" convert nofile kept.png 2>/dev/null && fail "a missing input goes unnoticed"
[ "$(cat kept.png)" = precious ] || fail "a failure has changed the output"
ln -s kept.png link.png
ok convert frame.rwh link.png
ok convert frame.rwh plain.png && same plain.png kept.png
[ -L link.png ] || fail "the symbolic link is gone"
# One that leads nowhere yet leads to the new file, over other links and other folders.
mkdir -p far/away && ln -s ../later.png far/away/second.png && ln -s far/away/second.png first.png
ln -s "$PWD/absolute.png" direct.png
ok convert frame.rwh first.png && same far/later.png kept.png
ok convert frame.rwh direct.png && same absolute.png kept.png
checks=$((checks + 1))
{ [ -L first.png ] && [ -L far/away/second.png ] && [ -L direct.png ]; } || fail "a dangling link is gone"
ln -s round.png circle.png && ln -s circle.png round.png
fails 3 'circle.png: cannot be written: Too many levels of symbolic links' convert frame.rwh circle.png
ln -s none/later.png lost.png
fails 3 'lost.png: cannot be written: No such file or directory' convert frame.rwh lost.png
# New files get the permissions that the caller's mask leaves.
(umask 027 && "$kivocam" convert frame.rwh mask.png)
[ "$(stat -c %a mask.png)" = 640 ] || fail "permissions are $(stat -c %a mask.png)"

# A disk that fills up: files may not grow beyond one block. The limit holds for what this subshell starts, so the
# messages go through a pipe.
for command in 'convert frame.rwh out.bmp' 'convert frame.rwh out.bmp --bgr' 'convert frame.rwh out.png' \
  'convert frame.rwh out.ppm' 'mosaic scene.png out.rwh --format Mono8' 'mosaic scene.png out.raw --format Mono8' \
  'import frame.rwh out.rwh --format Mono8 --size 640x480' 'scene out.png' 'sheet out.png scene.png'; do
  checks=$((checks + 1))
  # shellcheck disable=SC2086
  said=$( (trap '' XFSZ; ulimit -f 1; "$kivocam" $command 2>&1; echo "code $?") | tr '\n' ' ')
  case $said in
    "kivocam: out."*": cannot be written: File too large code 3 ") ;;
    *) fail "$command on a full disk: $said" ;;
  esac
  nothing_left "$command on a full disk"
done

# Facts that reach nobody are an error.
if [ -c /dev/full ]; then
  for command in formats --help 'convert --help' --version; do
    # shellcheck disable=SC2086
    "$kivocam" $command >/dev/full 2>stderr
    code=$?
    checks=$((checks + 1))
    [ $code -eq 3 ] || fail "$command to a full disk: exit code $code"
    [ "$(cat stderr)" = "kivocam: standard output: cannot be written" ] || fail "$(cat stderr)"
  done
fi

# Interrupted in the middle of writing, where the file has no name yet or a hidden one. The picture takes long
# enough to be caught.
ok scene big.png --size 5000x4000
ok mosaic big.png big.rwh --format RGB8
for signal in INT:130 TERM:143 HUP:129; do
  # A busy machine can look too late: whoever was done by then starts over.
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    rm -f out.png
    # A command in the background ignores SIGINT; env gives it back.
    env --default-signal=INT "$kivocam" convert big.rwh out.png --png-level 9 2>stderr &
    child=$!
    caught=no
    while kill -0 $child 2>/dev/null && [ $caught = no ]; do
      for file in .kivocam-* "/proc/$child/fd/"*; do
        case $(readlink "$file") in
          *"$(basename "$work")"*' (deleted)') caught=yes ;;
        esac
        case $file in
          .kivocam-\*) ;;
          .kivocam-*) caught=yes ;;
        esac
      done
    done
    kill "-${signal%:*}" $child 2>/dev/null
    wait $child
    code=$?
    [ $code -eq 0 ] || break
  done
  checks=$((checks + 1))
  [ "$caught" = yes ] || fail "no unfinished file was seen"
  [ $code -eq "${signal#*:}" ] || fail "SIG${signal%:*}: exit code $code"
  nothing_left "SIG${signal%:*}"
done

# The contact sheet: as wide as its columns, and a label for each picture.
ok sheet sheet.png scene.png scene.png scene.png --columns 2 --cell 100x100 --labels one 'two\nlines' three
ok mosaic sheet.png sheet.rwh --format Mono8
ok info sheet.rwh
says '^  size       230 x 278 pixels'

# A picture on its own sheet would be gone.
cp sheet.png own.png
for output in own.png ./own.png; do
  fails 1 "$output: the output is the input itself" sheet "$output" scene.png own.png
done
checks=$((checks + 1))
cmp sheet.png own.png || fail "own.png was changed"

# Standard output takes what a file would.
mkdir piped && head -c 60000 frame.rwh >shared.raw && head -c 14 frame.rwh >padded.raw
while read -r name arguments; do
  to=${name##*.}
  # Import writes nothing but RWH.
  [ "${arguments%% *}" = import ] && to= || to="--to $to"
  # shellcheck disable=SC2086,SC2046
  {
    ok $(echo "$arguments" | sed "s/@/piped\/$name/")
    checks=$((checks + 2))
    "$kivocam" $(echo "$arguments" | sed 's/@/-/') $to 2>stderr | cat >stdout
    [ ! -s stderr ] || fail "$arguments to standard output: $(cat stderr)"
    same "piped/$name" stdout
  }
done <<'END'
a.rwh import shared.raw @ --format Mono12p --size 200x200
b.rwh import padded.raw @ --format Mono10p --size 3x2 --stride 7
c.rwh mosaic scene.png @ --format BayerGB12p
d.raw mosaic scene.png @ --format YUV422_8_UYVY
e.png scene @
f.ppm scene @ --size 200x160
g.bmp scene @
h.png sheet @ scene.png sheet.png
END
checks=$((checks + 1))
[ ! -e - ] || fail "there is a file called -"
for command in 'mosaic scene.png - --format Mono8' 'scene -' 'sheet - scene.png'; do
  # shellcheck disable=SC2086
  fails 1 'standard output: has no extension: say --to' $command
done

# A frame of a line camera: no side is too long for a PNG.
head -c 1000001 /dev/urandom >line.raw
ok convert line.raw line.png --format Mono8 --size 1x1000001
ok convert line.raw line.pgm --format Mono8 --size 1x1000001
ok compare line.png line.pgm && says '^size +1 x 1000001$' && says '^CPSNR +equal$'

# Where memory is short a line tells of it, whatever it was for, and the exit code is not that of a crash. Shells
# without that limit leave this out.
# shellcheck disable=SC3045
if (ulimit -v 400000 && "$kivocam" --version) >stdout 2>stderr; then
  ok scene large.png --size 3000x2000
  ok mosaic large.png large.rwh --format RGB8
  size=20000
  while [ $size -le 400000 ]; do
    checks=$((checks + 1))
    (ulimit -v $size && exec "$kivocam" convert large.rwh out.png) >stdout 2>stderr
    code=$?
    # Up to then not even the program itself can be loaded.
    [ $code -ne 127 ] || { size=$((size + 1000)); continue; }
    [ $code -ne 0 ] || break
    case "$code $(cat stderr)" in
      '2 kivocam: not enough memory' | '2 kivocam: large.rwh: not enough memory'*) ;;
      *) fail "$size KiB: $code $(cat stderr)" ;;
    esac
    nothing_left "$size KiB"
    size=$((size + 1000))
  done
  checks=$((checks + 1))
  [ $size -le 400000 ] || fail "never enough memory"
  # Many threads want memory all at once, for their frames and for what they say: how many get it is chance, but the
  # run comes to its end, and what is there is whole.
  mkdir crowd && ok mosaic scene.png crowd/000.rwh --format BayerRG8
  i=1
  while [ $i -lt 200 ]; do ln crowd/000.rwh crowd/$i.rwh && i=$((i + 1)); done
  ok convert crowd/000.rwh crowd.png
  for size in 90000 120000 150000 200000 250000 300000; do
    rm -rf crowded
    (ulimit -v $size && exec "$kivocam" convert crowd crowded -j 64 --no-sync --json) >stdout 2>stderr
    code=$?
    checks=$((checks + 3))
    case $code in
      0 | 2 | 3 | 5) ;;
      *) fail "crowd in $size KiB: exit code $code: $(tail -n 3 stderr)" ;;
    esac
    for picture in crowded/*.png; do
      [ ! -e "$picture" ] || cmp -s crowd.png "$picture" || fail "crowd in $size KiB: $picture is not whole"
    done
    grep -aq 'terminate\|insufficient' stderr && fail "crowd in $size KiB: $(tail -n 3 stderr)"
  done
fi

finish
