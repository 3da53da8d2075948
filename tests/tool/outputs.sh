# SPDX-License-Identifier: Apache-2.0
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
  "$kivocam" formats >/dev/full 2>stderr
  code=$?
  checks=$((checks + 1))
  [ $code -eq 3 ] || fail "formats to a full disk: exit code $code"
  [ "$(cat stderr)" = "kivocam: standard output: cannot be written" ] || fail "$(cat stderr)"
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
  [ $caught = yes ] || fail "no unfinished file was seen"
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
  # shellcheck disable=SC2086
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

finish
