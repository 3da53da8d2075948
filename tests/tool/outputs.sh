# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# An output is whole or absent, whatever happens.
. "$(dirname "$0")/lib.sh"

ok scene scene.png
ok mosaic scene.png frame.rwh --format BayerRG8
mkdir dir

fails 3 "none/out.png: cannot be written: No such file or directory" convert frame.rwh none/out.png
fails 3 "none/out.rwh: cannot be written: No such file or directory" mosaic scene.png none/out.rwh --format Mono8
fails 3 "dir: is a directory" import frame.rwh dir --format BayerRG8 --size 640x480
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

# A file that is replaced passes on its permissions, a read-only one is not replaced unless that is asked for, and none
# where that is asked for: whichever command writes it, with unnamed files or without.
group=$(id -G | awk '{ print $NF }')
[ "$(id -u)" -ne 0 ] || group=12345
for command in 'convert frame.rwh old.png' 'mosaic scene.png old.rwh --format Mono8' \
  'mosaic scene.png old.raw --format Mono8' 'scene old.png' 'sheet old.png scene.png' \
  'import frame.rwh old.rwh --format BayerRG8 --size 640x480 --offset 16' 'report frame.rwh -o old.html'; do
  # The command is a list of words.
  # shellcheck disable=SC2086
  {
    target=$(echo "$command" | grep -o 'old\.[a-z]*')
    rm -f old.* && printf 'precious' >"$target"
    fails 3 "$target: is there already" $command --no-clobber
    chmod 440 "$target"
    fails 3 "$target: is read-only (--force replaces it)" $command
    checks=$((checks + 4))
    [ "$(cat "$target")" = precious ] || fail "$command has replaced what it must not"
    chgrp "$group" "$target"
    ok $command --force
    [ "$(cat "$target")" != precious ] || fail "$command --force replaces nothing"
    [ "$(stat -c '%a %g' "$target")" = "440 $group" ] || fail "$command: leaves $(stat -c '%a %g' "$target")"
    chmod 602 "$target" && ok $command
    [ "$(stat -c '%a %g' "$target")" = "602 $group" ] || fail "$command: leaves $(stat -c '%a %g' "$target")"
    rm "$target" && ok $command --no-clobber
    fails 1 "--force excludes --no-clobber; see 'kivocam ${command%% *} --help'" $command --no-clobber --force
  }
done
if [ "$(id -u)" -eq 0 ] && setpriv --bounding-set -chown true 2>stderr; then
  # A group that cannot be kept is another one: it may do no more than everybody.
  printf 'precious' >old.png && chmod 674 old.png && chgrp 12345 old.png
  setpriv --bounding-set -chown "$kivocam" convert frame.rwh old.png
  checks=$((checks + 2))
  [ "$(stat -c '%a %g' old.png)" = "644 $(id -g)" ] || fail "another group gets $(stat -c '%a %g' old.png)"
  # The owner is kept, too.
  chown 12345:12345 old.png && ok convert frame.rwh old.png
  [ "$(stat -c '%u %g' old.png)" = '12345 12345' ] || fail "the owner is $(stat -c '%u %g' old.png)"
fi
rm -f old.*
# Of several, what is there is left out.
mkdir many several && cp frame.rwh many/a.rwh && cp frame.rwh many/b.rwh && printf 'precious' >several/a.png
checks=$((checks + 2))
"$kivocam" convert many several --no-clobber 2>stderr || fail "--no-clobber: $(cat stderr)"
grep -q '1 converted, 1 skipped, 0 failed' stderr || fail "--no-clobber: $(cat stderr)"
[ "$(cat several/a.png)" = precious ] || fail "--no-clobber has replaced a.png"
cp several/b.png b.png && ok convert many/b.rwh several --no-clobber && same b.png several/b.png

# A disk that fills up: files may not grow beyond one block, which a program hears of by a signal or, where that is
# ignored, when it writes. The limit holds for what this subshell starts, so the messages go through a pipe.
# Programs that were not started so ignore something else.
for ignored in WINCH XFSZ; do
  for command in 'convert frame.rwh out.bmp' 'convert frame.rwh out.bmp --bgr' 'convert frame.rwh out.png' \
    'convert frame.rwh out.ppm' 'mosaic scene.png out.rwh --format Mono8' 'mosaic scene.png out.raw --format Mono8' \
    'import frame.rwh out.rwh --format BayerRG8 --size 640x480' 'scene out.png' 'sheet out.png scene.png'; do
    checks=$((checks + 1))
    # shellcheck disable=SC2086
    said=$( (trap '' $ignored; ulimit -f 1; "$kivocam" $command 2>&1; echo "code $?") | tr '\n' ' ')
    case $said in
      "kivocam: out."*": cannot be written: File too large code 3 ") ;;
      *) fail "$command on a full disk: $said" ;;
    esac
    nothing_left "$command on a full disk"
  done
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
      '6 kivocam: not enough memory' | '6 kivocam: large.rwh: not enough memory'*) ;;
      *) fail "$size KiB: $code $(cat stderr)" ;;
    esac
    nothing_left "$size KiB"
    size=$((size + 1000))
  done
  checks=$((checks + 1))
  [ $size -le 400000 ] || fail "never enough memory"
  # Many threads want memory all at once, for their frames and for what they say: where it does not suffice for all of
  # them, fewer do the work. With a single one there is none to wait for.
  mkdir crowd && ok mosaic scene.png crowd/000.rwh --format BayerRG8
  i=1
  while [ $i -lt 100 ]; do ln crowd/000.rwh crowd/$i.rwh && i=$((i + 1)); done
  ok convert crowd/000.rwh crowd.png
  # crowd LIMIT JOBS: all of them under this limit; leaves the exit code.
  crowd() {
    rm -rf crowded
    # shellcheck disable=SC2086
    (ulimit $1 && exec "$kivocam" convert crowd crowded -j "$2" --no-sync --json) >stdout 2>stderr
    code=$?
    checks=$((checks + 2))
    for picture in crowded/*.png; do
      [ ! -e "$picture" ] || cmp -s crowd.png "$picture" || fail "crowd with $1: $picture is not whole"
    done
    ! grep -aq 'terminate\|insufficient' stderr || fail "crowd with $1: $(tail -n 3 stderr)"
  }
  enough=0
  for limit in '-v 30000' '-v 35000' '-v 45000' '-v 60000' '-v 90000' '-n 5' '-n 6' '-n 7'; do
    crowd "$limit" 2
    [ $code -eq 0 ] || continue
    enough=$((enough + 1))
    crowd "$limit" 8
    [ $code -eq 0 ] || fail "$limit suffices for two, not for eight: $code $(tail -n 2 stderr)"
  done
  [ $enough -ge 4 ] || fail "no limit suffices for two"
  for limit in '-v 30000' '-v 60000' '-v 120000'; do
    crowd "$limit" 64
    case $code in
      0 | 5 | 6 | 127) ;;
      *) fail "crowd with $limit: exit code $code: $(tail -n 3 stderr)" ;;
    esac
  done
fi

finish
