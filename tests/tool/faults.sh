# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Full disks, unreadable inputs, vanishing folders and killed runs: every picture is whole or absent, the rest is done,
# and --resume ends where an undisturbed run would have. Environment: KIVO_FAULTS_FILES, how many tiny files (2000).
. "$(dirname "$0")/lib.sh"
many=${KIVO_FAULTS_FILES:-2000}
root=no
[ "$(id -u)" -eq 0 ] && root=yes

note() { printf 'note: %s\n' "$*"; }

# whole REFERENCE FOLDER: every file of FOLDER that an input could be taken for is byte for byte the reference's.
whole() {
  checks=$((checks + 1))
  (cd "$2" && find . -type f ! -name '.*') >found
  while read -r file; do
    cmp -s "$1/$file" "$2/$file" || fail "$2/$file is not whole"
  done <found
}

# resumed FOLDER: a last run with --resume gives exactly the reference, without leftovers.
resumed() {
  checks=$((checks + 1))
  "$kivocam" convert frames "$1" --resume 2>stderr || fail "--resume: $(cat stderr)"
  diff -r reference "$1" >differences || fail "$1 is not what an undisturbed run makes: $(head -n 3 differences)"
}

# 150 frames, each another part of a scene.
ok scene scene.png --size 3200x2400
ok mosaic scene.png scene.raw --format BayerRG8
mkdir -p frames/deep
bytes 011 000 010 001 100 001 000 000 240 000 000 000 100 001 000 000 >header
split -b 51200 -a 3 -d --additional-suffix=.raw scene.raw frames/deep/
for file in frames/deep/*.raw; do
  cat header "$file" >"${file%.raw}.rwh" && rm "$file"
done
rm scene.raw scene.png
checks=$((checks + 1))
[ "$(find frames -name '*.rwh' | wc -l)" -eq 150 ] || fail "not 150 frames"
"$kivocam" convert frames reference 2>stderr || fail "reference: $(cat stderr)"

# midway ACTION FOLDER COUNT CONVERT-ARGUMENT...: converts all frames into FOLDER and does ACTION to the process $child
# when COUNT pictures are there. Who is done by then, on a busy machine, starts over. Leaves the exit code and, in the
# file said, the messages.
midway() {
  action=$1
  folder=$2
  count=$3
  shift 3
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    # A command in the background ignores SIGINT; env gives it back.
    env --default-signal=INT "$kivocam" convert frames "$folder" "$@" 2>said &
    child=$!
    while [ "$(find "$folder" -name '*.png' 2>/dev/null | wc -l)" -lt "$count" ] && kill -0 "$child" 2>/dev/null; do :; done
    $action
    wait "$child" 2>/dev/null
    code=$?
    [ $code -eq 0 ] || return
    rm -rf "$folder"
  done
  fail "$action: the conversion into $folder was always done before"
}

# Killed in the middle, without a chance to do anything about it, again and again into the same folder.
killed() { kill -KILL "$child" 2>/dev/null; }
for after in 5 30 60; do
  midway killed killed $after --resume -j 3
  checks=$((checks + 1))
  [ $code -eq 137 ] || fail "SIGKILL: exit code $code: $(cat said)"
  whole reference killed
done
resumed killed

# Asked to end: what is begun is finished or dropped, nothing is left behind, and the way to go on is said.
stopped() { kill "-${signal%:*}" "$child" 2>/dev/null; }
for signal in INT:130 TERM:143 HUP:129; do
  midway stopped "stopped${signal#*:}" 10 -j 2
  checks=$((checks + 3))
  [ $code -eq "${signal#*:}" ] || fail "SIG${signal%:*}: exit code $code"
  grep -Eq '^kivocam: [0-9]+ converted, 0 skipped, 0 failed, [0-9]+ not done in .* s; the same command with --resume does the rest$' said ||
    fail "SIG${signal%:*}: says $(cat said)"
  [ -z "$(find "$folder" -name '.*' -type f)" ] || fail "SIG${signal%:*}: leaves $(find "$folder" -name '.*' -type f)"
  whole reference "$folder"
  resumed "$folder"
done

# What the owner of a temporary file left when it died goes with the next run; what lives, or is somebody else's, stays.
mkdir -p reference/deep && cp -R reference stale
: >stale/deep/.kivocam-1-1 && : >stale/deep/.kivocam-99999999-0 && : >stale/deep/.kivocam-12x3 && : >stale/deep/.hidden
rm stale/deep/000.png
if command -v flock >/dev/null; then
  : >stale/deep/.kivocam-1-2
  flock stale/deep/.kivocam-1-2 "$kivocam" convert frames stale --resume 2>stderr
  checks=$((checks + 1))
  [ -e stale/deep/.kivocam-1-2 ] || fail "a temporary file in use was removed"
  rm -f stale/deep/.kivocam-1-2
else
  "$kivocam" convert frames stale --resume 2>stderr
fi
checks=$((checks + 1))
[ "$(find stale -name '.*' -type f | sort | tr '\n' ' ')" = 'stale/deep/.hidden stale/deep/.kivocam-12x3 ' ] ||
  fail "leftovers: $(find stale -name '.*' -type f)"

# The folder vanishes: what was done is gone, and nobody gets a folder back that looks as if it held all.
removed() { while [ -e "$folder" ]; do rm -rf "$folder" 2>/dev/null; done; }
renamed() { rm -rf elsewhere && mv "$folder" elsewhere; }
for how in removed renamed; do
  # With three pictures or fewer left there is nothing to give up: that comes too late, too.
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    midway $how vanish 10 -j 2
    ! grep -q 'given up$' said || break
  done
  checks=$((checks + 4))
  [ $code -eq 3 ] || fail "$how folder: exit code $code: $(cat said)"
  grep -Eq '^kivocam: vanish/deep/[0-9]+\.png: cannot be written: No such file or directory$' said || fail "$how: $(cat said)"
  grep -Eq '^kivocam: 3 outputs in a row could not be written: given up$' said || fail "$how folder: $(cat said)"
  [ ! -e vanish ] || fail "the $how folder is back"
done
whole reference elsewhere
resumed elsewhere

# A disk that fills up, as a limit on the size of files: BMP pictures are larger than it, PGM ones are not.
said=$( (ulimit -f 60; "$kivocam" convert frames full --to bmp -j 2 2>&1; echo "code $?"))
checks=$((checks + 2))
case $said in
  *"cannot be written: File too large"*"given up"*" 0 converted, 0 skipped, "*" failed, "*"code 3") ;;
  *) fail "full disk: $said" ;;
esac
[ -z "$(find full -type f)" ] || fail "a full disk holds $(find full -type f | head -n 3)"

# The same for real, and read-only, and without unnamed files: in file systems of this test's own.
if [ $root = yes ] && command -v unshare >/dev/null && unshare -m true 2>/dev/null; then
  mkdir disk
  # shellcheck disable=SC2016
  unshare -m sh -c '
    mount -t tmpfs -o size=4m none disk || exit 77
    "$1" convert frames disk/out -j 2 2>said
    echo $? >code
    find disk/out -name "*.png" | wc -l >count
    cp -R disk/out full_disk
    find disk -name ".*" -type f >hidden' sh "$kivocam"
  if [ $? -ne 77 ]; then
    checks=$((checks + 4))
    [ "$(cat code)" -eq 3 ] || fail "full tmpfs: exit code $(cat code): $(cat said)"
    grep -q 'cannot be written: No space left on device$' said || fail "full tmpfs: $(cat said)"
    [ "$(cat count)" -ge 10 ] || fail "full tmpfs: only $(cat count) pictures: $(cat said)"
    [ ! -s hidden ] || fail "full tmpfs: leaves $(cat hidden)"
    whole reference full_disk
    resumed full_disk
    # shellcheck disable=SC2016
    unshare -m sh -c '
      mount -t tmpfs none disk && cp -R full_disk/deep disk/deep && rm disk/deep/00*.png && mount -o remount,ro disk || exit 77
      "$1" convert frames disk -j 2 --resume 2>said
      echo $? >code' sh "$kivocam"
    checks=$((checks + 2))
    [ "$(cat code)" -eq 3 ] || fail "read-only: exit code $(cat code): $(cat said)"
    grep -q 'cannot be written: Read-only file system$' said || fail "read-only: $(cat said)"
  else
    note "no tmpfs could be mounted"
  fi
  ok scene large.png --size 2000x1500 && ok mosaic large.png large.rwh --format RGB8
  # Without /proc a file cannot get its name late: it has a hidden one in the meantime. A signal may come just when
  # there is none, so the runs are repeated until one was there.
  # shellcheck disable=SC2016
  unshare -m sh -c '
    mount -t tmpfs none /proc || exit 77
    # Without it the program does not know where it is either, and cannot look for its library from there.
    export LD_LIBRARY_PATH="${1%/*}/.."
    "$1" convert frames named -j 2 --no-sync 2>said || cat said
    for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
      "$1" convert frames named_killed --png-level 9 -j 2 2>said &
      while [ "$(find named_killed -name "*.png" 2>/dev/null | wc -l)" -lt 10 ] && kill -0 $!; do :; done
      kill -KILL $!
      wait $!
      find named_killed -name ".*" -type f >hidden
      [ ! -s hidden ] || break
      rm -rf named_killed
    done
    for _ in 1 2 3 4 5 6 7 8 9 10; do
      rm -rf named_stopped
      "$1" convert frames named_stopped --png-level 9 -j 2 2>said &
      while [ "$(find named_stopped -name "*.png" 2>/dev/null | wc -l)" -lt 10 ] && kill -0 $!; do :; done
      kill -TERM $!
      wait $!
      echo $? >named_stopped_code
      [ "$(cat named_stopped_code)" -eq 0 ] || break
    done
    # ended FOLDER COMMAND...: SIGTERM to the command while it has a hidden file in FOLDER. By then it may still have
    # to begin with what it would end gracefully.
    ended() {
      folder=$1
      shift
      for _ in 1 2 3 4 5 6 7 8 9 10; do
        rm -rf "$folder" && mkdir "$folder"
        "$@" 2>said &
        while find "$folder" -name ".*" -type f >"${folder}_hidden"; [ ! -s "${folder}_hidden" ] && kill -0 $!; do :; done
        sleep 0.1
        kill -TERM $!
        wait $!
        echo $? >"${folder}_code"
        [ "$(cat "${folder}_code")" -eq 0 ] || break
      done
    }
    ended paged "$1" report frames -o paged/p.html -j 1
    ended alone "$1" convert large.rwh alone/out.png --png-level 9' sh "$kivocam" >said 2>&1
  if [ $? -ne 77 ]; then
    checks=$((checks + 4))
    diff -r reference named >differences || fail "named: $(head -n 3 differences) $(cat said)"
    [ -s hidden ] || fail "no hidden name was seen"
    [ "$(cat named_stopped_code)" -eq 143 ] || fail "SIGTERM: exit code $(cat named_stopped_code): $(cat said)"
    [ -z "$(find named_stopped -name '.*' -type f)" ] || fail "SIGTERM leaves $(find named_stopped -name '.*' -type f)"
    checks=$((checks + 6))
    [ -s paged_hidden ] || fail "no hidden name of a report was seen"
    [ "$(cat paged_code)" -eq 143 ] || fail "SIGTERM to a report: exit code $(cat paged_code): $(cat said)"
    [ -z "$(find paged -type f)" ] || fail "SIGTERM to a report leaves $(find paged -type f)"
    [ "$(cat alone_code)" -eq 143 ] || fail "SIGTERM to a single conversion: exit code $(cat alone_code): $(cat said)"
    [ -s alone_hidden ] || fail "no hidden name of a single picture was seen"
    [ -z "$(find alone -type f)" ] || fail "SIGTERM to a single conversion leaves $(find alone -type f)"
    # Its pictures are smaller than the reference's, but --resume does not look at that: new ones only.
    mv named_killed/deep/*.png . 2>/dev/null
    resumed named_killed
  fi
else
  note "cannot mount: the full, the read-only and the /proc-less system are not tried"
fi
if [ $root = no ]; then
  mkdir locked && chmod 555 locked
  "$kivocam" convert frames locked/ 2>said
  code=$?
  checks=$((checks + 1))
  [ $code -eq 3 ] || fail "a folder without permission: exit code $code: $(cat said)"
fi

# Inputs that cannot be read, for everybody.
mkdir -p bad/sub && cp frames/deep/000.rwh bad/good.rwh
ln -s loop.rwh bad/loop.rwh
ln -s nowhere bad/dangling.rwh
mkfifo bad/fifo.rwh 2>/dev/null
mkdir bad/sub/folder.rwh
[ -r /proc/self/mem ] && ln -s /proc/self/mem bad/memory.rwh
cp frames/deep/001.rwh bad/short.rwh && truncate -s 40000 bad/short.rwh
checks=$((checks + 1))
timeout 120 "$kivocam" convert bad bad_out 2>said
code=$?
[ $code -eq 5 ] || fail "unreadable inputs: exit code $code: $(cat said)"
for line in 'bad/loop.rwh: cannot be opened: Too many levels of symbolic links' \
  'bad/dangling.rwh: cannot be opened: No such file or directory' \
  'bad/short.rwh: is not a whole RWH file: it holds 40000 bytes, its header says 51216'; do
  checks=$((checks + 1))
  grep -Fxq "kivocam: $line" said || fail "no '$line' in $(cat said)"
done
[ ! -p bad/fifo.rwh ] || grep -Fxq 'kivocam: bad/fifo.rwh: not a regular file' said || fail "the pipe: $(cat said)"
[ ! -L bad/memory.rwh ] || grep -q '^kivocam: bad/memory.rwh: ' said || fail "the memory: $(cat said)"
checks=$((checks + 1))
[ "$(find bad_out -type f)" = bad_out/good.png ] || fail "unreadable inputs made $(find bad_out -type f)"
# Of a folder that cannot be searched every command tells, and goes on with the rest. Root reads everything, but for
# capabilities that can be given away.
unprivileged=
[ $root = no ] || unprivileged='setpriv --bounding-set -dac_override,-dac_read_search'
mkdir -p locked_tree/sub locked_tree/day && chmod 000 locked_tree/sub && cp frames/deep/000.rwh locked_tree/day/a.rwh
if [ $root = no ] || { $unprivileged true 2>/dev/null && ! $unprivileged ls locked_tree/sub >ls.txt 2>&1; }; then
  reason='cannot be searched: Permission denied'
  for command in 'convert locked_tree locked_out' 'report locked_tree -o locked.html' 'info locked_tree'; do
    checks=$((checks + 4))
    # The command is a list of words.
    # shellcheck disable=SC2086
    $unprivileged "$kivocam" $command --json >stdout 2>said
    code=$?
    [ $code -eq 5 ] || fail "$command: exit code $code: $(cat said)"
    grep -Fxq "kivocam: locked_tree/sub: $reason" said || fail "$command says: $(cat said)"
    case $command in
      convert*) line='{"input": "locked_tree/sub", "output": null, "status": "failed", "format": null, "width": null, "height": null, "error": "locked_tree/sub: '$reason'"}' ;;
      report*) line='{"file": "locked_tree/sub", "error": "'$reason'"}' ;;
      info*) line='{"file": "locked_tree/sub", "error": "locked_tree/sub: '$reason'"}' ;;
    esac
    grep -Fxq "$line" stdout || fail "$command: no '$line' in $(cat stdout)"
    [ "$(grep -c '"BayerRG8"' stdout)" -eq 1 ] || fail "$command leaves the rest: $(cat stdout)"
  done
  checks=$((checks + 1))
  grep -q 'locked_tree/sub' locked.html || fail "the report does not tell of the folder"
else
  note "nothing is unreadable for this user"
fi
chmod 755 locked_tree/sub
# One rotten frame of a folder does not keep the report from being written.
printf 'junk' >locked_tree/sub/junk.rwh
rm -r locked_tree/day
for command in 'report locked_tree -o rotten.html' 'info locked_tree'; do
  checks=$((checks + 1))
  # shellcheck disable=SC2086
  "$kivocam" $command >stdout 2>said
  code=$?
  [ $code -eq 5 ] || fail "$command: exit code $code: $(cat said)"
done
checks=$((checks + 1))
grep -q 'locked_tree/sub/junk.rwh' rotten.html || fail "no report of a folder with a rotten frame alone"
# A file whose reading fails, not its opening.
if [ -r /proc/self/mem ]; then
  checks=$((checks + 1))
  "$kivocam" convert - out.png --format Mono8 --size 4x4 </proc/self/mem 2>said
  code=$?
  [ "$code $(cat said)" = '2 kivocam: standard input: cannot be read: Input/output error' ] || fail "EIO: $code $(cat said)"
fi
if [ $root = no ]; then
  chmod 000 bad/good.rwh
  "$kivocam" convert bad/good.rwh out.png 2>said
  grep -Fxq 'kivocam: bad/good.rwh: cannot be opened: Permission denied' said || fail "no permission: $(cat said)"
fi
# Cut between the opening and the end of the reading. The file is one large hole, so that this takes a while; who is
# too early or too late, and then has to be right all the same, starts over.
caught=
if [ -r /proc/self/fd ]; then
  bytes 001 000 010 001 100 037 000 000 100 037 000 000 100 037 000 000 >whole.rwh && truncate -s 64000016 whole.rwh
  ok convert whole.rwh whole.pgm
  for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
    cp --sparse=always whole.rwh shrinking.rwh
    "$kivocam" convert shrinking.rwh shrunk.pgm --no-sync 2>said &
    child=$!
    while kill -0 "$child" 2>/dev/null && ! find "/proc/$child/fd" -lname "*/shrinking.rwh" 2>/dev/null | grep -q .; do :; done
    truncate -s 1000 shrinking.rwh
    wait "$child"
    code=$?
    checks=$((checks + 1))
    case "$code $(cat said)" in
      '0 ') cmp -s shrunk.pgm whole.pgm || fail "a shrinking file makes a wrong picture" ;;
      '2 kivocam: shrinking.rwh: '*) [ ! -e shrunk.pgm ] || fail "a shrinking file makes a picture" ;;
      *) fail "a shrinking file: exit code $code: $(cat said)" ;;
    esac
    rm -f shrunk.pgm
    ! grep -Fxq 'kivocam: shrinking.rwh: cannot be read completely' said || { caught=yes && break; }
  done
  # Where processes start more slowly than files are read, the moment is never met; every picture was right then.
  [ "$caught" ] || note "no file shrank while it was read: $(cat said)"
  rm -f whole.* shrinking.rwh
else
  note "without /proc nobody knows when a file is being read"
fi

# Thousands of tiny files with a few rotten ones.
mkdir tiny && head -c $((24 * many)) /dev/zero | tr '\0' 'k' >tiny.raw
split -b 24 -a 5 -d --additional-suffix=.raw tiny.raw tiny/
for rotten in 00003 00777 01999; do printf 'rotten' >tiny/$rotten.raw; done
"$kivocam" convert tiny tiny_out --to bmp --format Mono8 --size 6x4 --no-sync 2>said
code=$?
checks=$((checks + 4))
[ $code -eq 5 ] || fail "tiny files: exit code $code: $(tail -n 3 said)"
grep -Eq "^kivocam: $((many - 3)) converted, 0 skipped, 3 failed in " said || fail "tiny files: $(tail -n 1 said)"
[ "$(grep -c 'holds 6 bytes, too few for 6 x 4 pixels' said)" -eq 3 ] || fail "tiny files: $(cat said)"
[ "$(find tiny_out -type f -size 150c | wc -l)" -eq $((many - 3)) ] || fail "tiny pictures are missing"
[ "$(find tiny_out -type f | wc -l)" -eq $((many - 3)) ] || fail "tiny pictures are too many"
"$kivocam" convert tiny tiny_out --to bmp --format Mono8 --size 6x4 --resume 2>said
code=$?
[ $code -eq 5 ] || fail "tiny files again: exit code $code"
grep -Eq "^kivocam: 0 converted, $((many - 3)) skipped, 3 failed in " said || fail "tiny again: $(tail -n 1 said)"

finish
