#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# steps.sh SOURCE WORK_DIR: a step says how long it took, whether it succeeds or not, and a failing one stops the run
# and shows what it printed.
set -eu
source=$1
rm -rf "$2"
mkdir -p "$2/bin"
cd "$2"

# A clock that moves on by 75 s whenever it is read.
cat >bin/date <<'CLOCK'
#!/bin/sh
now=$(($(cat clock) + 75))
echo $now | tee clock
CLOCK
chmod +x bin/date
echo 1000 >clock

# run COMMANDS: with what ./check and ./demo share.
run() { PATH=$PWD/bin:$PATH sh -euc ". '$source/packaging/setup.sh'; $1" 2>&1; }

# expect WHAT TEXT PATTERN
expect() {
  echo "$2" | grep -Eq "$3" || { echo "$1: $2"; exit 1; }
}

expect 'a step' "$(run 'step title log echo quiet')" '^title: ok \(1 min 15 s\)$'
test "$(cat build/log/log.log)" = quiet
failing=$(run 'step bad log sh -c "echo words; exit 3"; echo went on') &&
  { echo 'a failing step is no failure'; exit 1; }
expect 'a failing step' "$failing" '^bad: FAILED \(1 min 15 s\); the end of build/log/log.log:$'
expect 'a failing step' "$failing" '^words$'
case $failing in *'went on'*) echo 'a failing step does not stop the run'; exit 1 ;; esac
# shellcheck disable=SC2016
expect 'all steps' "$(run 'took $started')" '^1 min 15 s$'
expect 'a short while' "$(run 'date() { echo 9; }; took 4')" '^5 s$'
