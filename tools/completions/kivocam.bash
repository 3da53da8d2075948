# SPDX-License-Identifier: Apache-2.0
# Completion of kivocam for bash.

# Words that an option of a command takes, or nothing where it takes a name of file or a text.
_kivocam_values() {
  case $1:$2 in
    convert:--to) echo png ppm pgm bmp tiff dng ;;
    scene:--to | sheet:--to) echo png ppm bmp tiff ;;
    mosaic:--to) echo rwh raw ;;
    report:--pictures) echo inside beside ;;
    *:--bayer) echo standard acpi best half off ;;
    *:--png-level) echo 0 1 2 3 4 5 6 7 8 9 ;;
    *:--format | *:-f) "${COMP_WORDS[0]}" formats 2>/dev/null | awk 'NR > 1 { print $1 }' ;;
    *:--size | *:-s) echo 640x480 1280x1024 1920x1080 1920x1200 2448x2048 5472x3648 ;;
  esac
}

_kivocam() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
  local common='-h --help --help-all'
  local headerless='-f --format -s --size --stride --offset --swap-bytes'
  local rules='--force --no-clobber' options=
  local commands='info guess report formats convert import mosaic compare scene sheet'
  COMPREPLY=()
  # --option=value: bash takes the sign for a word of its own.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands help $common --version" -- "$word")
    return
  fi
  case $command in
    help)
      [ "$COMP_CWORD" -ne 2 ] || mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
      return
      ;;
    info) options="--json $headerless" ;;
    guess) options="--sheet --json $rules" ;;
    report) options="-o --output --title --auto-range --pictures -j --jobs -q --quiet --json $rules $headerless" ;;
    formats | compare) options=--json ;;
    convert)
      options="-o --output --to --png-level -j --jobs --resume --no-sync -q --quiet --json --time --crop --mirror
        --flip --auto-range --shift --bayer --bgr --raw --wide
        --auto --black --white-balance --range --matrix --tone --colour-of $rules $headerless"
      ;;
    import) options="$rules $headerless" ;;
    mosaic) options="-f --format --to --sensor $rules" ;;
    scene) options="-s --size --to $rules" ;;
    sheet) options="--labels --title --columns --cell --to $rules $headerless" ;;
    *) return ;;
  esac
  local values
  values=$(_kivocam_values "$command" "$before")
  if [ -n "$values" ]; then
    # Names of formats in any case, as kivocam takes them.
    local value start=${word,,}
    for value in $values; do
      [[ ${value,,} == "$start"* ]] && COMPREPLY+=("$value")
    done
    return
  fi
  case $before in
    --stride | --offset | --shift | --crop | --jobs | -j | --title | --labels | --columns | --cell) return ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options $common" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
    compopt -o filenames 2>/dev/null
  fi
}

complete -F _kivocam kivocam
