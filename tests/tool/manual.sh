# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The man pages and the completion for shells know every command and option that --help knows, and no other.
# Usage: sh manual.sh KIVOCAM WORKDIR TOOLS
tools=$3
. "$(dirname "$0")/lib.sh"

# options COMMAND: the options of its --help, one a line.
options() {
  # shellcheck disable=SC2086
  "$kivocam" $1 --help | awk '/^ +-/ { sub(/^ +/, ""); n = split($1, names, ","); for (i = 1; i <= n; ++i) print names[i] }' |
    sort -u
}

# agree WHAT EXPECTED ACTUAL: two files of words hold the same.
agree() {
  checks=$((checks + 1))
  comm -3 "$2" "$3" >differences
  [ ! -s differences ] || fail "$1: help and it differ in $(tr '\t\n' '> ' <differences)"
}

commands=$("$kivocam" --help | awk '/^Subcommands:/ { on = 1; next } /^[A-Z]/ { on = 0 } on && NF { print $1 }')
checks=$((checks + 1))
[ "$(echo "$commands" | wc -l)" -ge 9 ] || fail "--help names only $commands"

for command in '' $commands; do
  page=$tools/man/kivocam${command:+-$command}.1
  checks=$((checks + 2))
  [ -f "$page" ] || { fail "no $page" && continue; }
  options "$command" >help
  [ -s help ] || fail "no options in the help of '$command'"
  # Options are set in bold at the start of a tagged paragraph.
  awk 'tag && /^\\fB\\-/ { print } { tag = /^\.TP/ }' "$page" | sed 's/\\-/-/g' | grep -Eo '\\fB-[^\]*' |
    sed 's/^...//' | sort -u >paged
  agree "$page" help paged
  # Examples are those of the help.
  # shellcheck disable=SC2086
  "$kivocam" $command --help | sed -n '/^Examples:/,/^$/s/^  //p' | grep -v -- '--help$' >examples
  sed -n '/^\.SH EXAMPLES/,/^\.fi/p' "$page" | sed 's/\\-/-/g; s/\\(aq/'\''/g; s/\\e/\\/g' >shown
  while read -r example; do
    checks=$((checks + 1))
    [ -z "$command" ] || grep -Fxq -- "$example" shown || fail "$page: lacks the example $example"
  done <examples
  if command -v man >warnings && command -v groff >warnings; then
    checks=$((checks + 1))
    LC_ALL=C.UTF-8 MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>warnings >/dev/null
    [ ! -s warnings ] || fail "$page: $(cat warnings)"
  fi
done
for page in "$tools"/man/*.1; do
  checks=$((checks + 2))
  grep -Eq '^\.TH [A-Z-]+ 1 "20[0-9]{2}-[01][0-9]-[0-3][0-9]" ' "$page" || fail "$page has no date"
  if command -v mandoc >warnings; then
    mandoc -Tlint -Wwarning "$page" >warnings 2>&1 || fail "$page: $(cat warnings)"
  fi
done
for command in $commands; do
  checks=$((checks + 1))
  grep -q "kivocam\\\\-$command (1)" "$tools/man/kivocam.1" || fail "kivocam.1 does not name $command"
done

if command -v bash >warnings; then
  cat >complete.bash <<'END'
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_kivocam kivocam "${COMP_WORDS[COMP_CWORD]}" ""
printf '%s\n' "${COMPREPLY[@]}"
END
  # completes WORD...: what bash offers for the last word.
  completes() {
    bash complete.bash "$tools/completions/kivocam.bash" "$kivocam" "$@" 2>complaints | sort -u >offered
    checks=$((checks + 1))
    [ ! -s complaints ] || fail "completion of $*: $(cat complaints)"
  }
  # offers "WORD...": exactly these.
  offers() {
    checks=$((checks + 1))
    [ "$(tr '\n' ' ' <offered)" = "$1 " ] || fail "offered: $(tr '\n' ' ' <offered), not $1"
  }
  for command in $commands; do
    options "$command" >help
    completes "$command" -
    agree "completion of $command" help offered
  done
  completes ''
  { echo "$commands" && echo help && options ''; } | sort -u >help
  agree 'completion of commands' help offered
  completes con && offers convert
  completes help con && offers convert
  echo "$commands" | sort -u >help
  completes help ''
  agree 'completion of help' help offered
  completes help convert '' && offers ''
  completes convert a.rwh --bayer '' && offers 'acpi best half off standard'
  completes convert --to p && offers 'pgm png ppm'
  completes mosaic --to '' && offers 'raw rwh'
  completes report --pictures '' && offers 'beside inside'
  completes convert --bayer = && offers 'acpi best half off standard'
  completes convert --bayer = a && offers acpi
  completes info a.rwh --format = bayerrg12 && offers 'BayerRG12 BayerRG12Packed BayerRG12p'
  completes info --format bayerrg12 && offers 'BayerRG12 BayerRG12Packed BayerRG12p'
  "$kivocam" formats | awk 'NR > 1 { print $1 }' | sort -u >help
  completes convert -f ''
  agree 'formats' help offered
  : >'a frame.rwh' && mkdir frames
  completes convert a && offers 'a frame.rwh'
  completes convert fra && offers frames
  completes convert --crop '' && offers ''
  completes convert frames --res && offers --resume
  # And with a real key, where a terminal can be had.
  if command -v script >warnings && script -qec true /dev/null >warnings 2>&1; then
    cat >rc <<END
source '$tools/completions/kivocam.bash'
PS1='> '
PATH='$work/bin':\$PATH
END
    mkdir bin && ln -s "$kivocam" bin/kivocam
    # shown TEXT: waits until the terminal has shown it.
    shown() {
      tries=0
      until grep -aFq "$1" typed || [ $tries -eq 300 ]; do
        sleep 0.1
        tries=$((tries + 1))
      done
    }
    : >typed && mkfifo keys
    script -qec 'bash --noprofile --rcfile rc -i' /dev/null <keys >typed 2>&1 &
    exec 9>keys
    shown '> '
    printf 'kivocam conv\ta\\ fr\t--bay\tac\t--format=BayerRG12Pa\t; exit\n' >&9
    shown '; exit'
    exec 9>&-
    wait $!
    checks=$((checks + 1))
    grep -aFq 'kivocam convert a\ frame.rwh --bayer acpi --format=BayerRG12Packed ; exit' typed ||
      fail "the tabulator key gives $(tr -d '\033\007' <typed)"
  fi
fi

# fish and zsh, where they are there: offered in the file offered, one a line.
if command -v fish >warnings; then
  in_fish() {
    checks=$((checks + 1))
    fish --no-config -c "source '$tools/completions/kivocam.fish'; complete -C '$kivocam $1'" 2>complaints |
      cut -f 1 | sort -u >offered
    [ ! -s complaints ] || fail "completion of $1 in fish: $(cat complaints)"
  }
  # fish takes the last part of the path for the name of the command.
  in_fish ''
  { echo "$commands" && echo help; } | sort -u >help
  agree 'completion of commands in fish' help offered
  for command in $commands; do
    options "$command" >help
    in_fish "$command -"
    agree "completion of $command in fish" help offered
  done
  in_fish 'help con' && offers convert
  in_fish 'mosaic --to ' && offers 'raw rwh'
  in_fish 'report --pictures ' && offers 'beside inside'
  in_fish 'convert a.rwh --bayer ' && offers 'acpi best half off standard'
  in_fish 'info -f BayerRG12' && offers 'BayerRG12 BayerRG12Packed BayerRG12p'
fi
if command -v zsh >warnings; then
  cat >complete.zsh <<'END'
# What the functions of the completion system would show.
_describe() { local -a shown; [[ $1 != -o ]] || shift; shown=(${(P)2}); print -l -- ${shown%%:*} }
compadd() { [[ $1 != -M ]] || shift 2; print -l -- $@ }
_files() { print -l -- * }
file=$1
shift
words=("$@")
CURRENT=$#words
source $file
END
  in_zsh() {
    checks=$((checks + 1))
    zsh -f complete.zsh "$tools/completions/_kivocam" "$kivocam" "$@" 2>complaints | sort -u >offered
    [ ! -s complaints ] || fail "completion of $* in zsh: $(cat complaints)"
  }
  in_zsh ''
  { echo "$commands" && echo help && options ''; } | sort -u >help
  agree 'completion of commands in zsh' help offered
  for command in $commands; do
    options "$command" >help
    in_zsh "$command" -
    agree "completion of $command in zsh" help offered
  done
  in_zsh help ''
  echo "$commands" | sort -u >help
  agree 'completion of help in zsh' help offered
  in_zsh mosaic --to '' && offers 'raw rwh'
  in_zsh report --pictures '' && offers 'beside inside'
  in_zsh convert a.rwh --bayer '' && offers 'acpi best half off standard'
fi

finish
