# SPDX-License-Identifier: Apache-2.0
# Completion of kivocam for fish. Commands and options are what --help says.

function __kivocam_words
    commandline -opc
end

function __kivocam_command
    set -l words (__kivocam_words)
    test (count $words) -ge 2; and echo $words[2]
end

function __kivocam_begins
    test (count (__kivocam_words)) -eq 1
end

function __kivocam_helps
    set -l words (__kivocam_words)
    test (count $words) -eq 2 -a "$words[2]" = help
end

function __kivocam_commands
    set -l words (__kivocam_words)
    $words[1] --help 2>/dev/null | awk '/^Subcommands:/ { on = 1; next } /^[A-Z]/ { on = 0 }
        on && NF { name = $1; sub(/^ +[^ ]+ +/, ""); print name "\t" $0 }'
end

# The options of the command, or those before one.
function __kivocam_options
    set -l words (__kivocam_words)
    $words[1] (__kivocam_command) --help 2>/dev/null | awk '/^ +-/ {
        n = split($1, names, ",")
        for (i = 1; i <= n; ++i) print names[i] }'
end

function __kivocam_formats
    set -l words (__kivocam_words)
    $words[1] formats 2>/dev/null | awk 'NR > 1 { print $1 }'
end

# after COMMAND OPTION...: behind one of the options of this command, or of any for *.
function __kivocam_after
    set -l words (__kivocam_words)
    test "$argv[1]" = '*' -o "$words[2]" = "$argv[1]"; and contains -- $words[-1] $argv[2..]
end

function __kivocam_option
    string match -q -- '-*' (commandline -ct)
end

set -l text --stride --offset --shift --crop --jobs -j --title --labels --columns --cell
complete -c kivocam -n __kivocam_begins -f -a '(__kivocam_commands)'
complete -c kivocam -n __kivocam_begins -f -a help -d 'Tell about a command'
complete -c kivocam -n __kivocam_helps -f -a '(__kivocam_commands)'
complete -c kivocam -n __kivocam_option -f -a '(__kivocam_options)'
complete -c kivocam -n '__kivocam_after convert --to' -f -a 'png ppm pgm bmp tiff dng'
complete -c kivocam -n '__kivocam_after scene --to' -f -a 'png ppm bmp tiff'
complete -c kivocam -n '__kivocam_after sheet --to' -f -a 'png ppm bmp tiff'
complete -c kivocam -n '__kivocam_after mosaic --to' -f -a 'rwh raw'
complete -c kivocam -n '__kivocam_after report --pictures' -f -a 'inside beside'
complete -c kivocam -n "__kivocam_after '*' --bayer" -f -a 'standard acpi best half off'
complete -c kivocam -n "__kivocam_after '*' --png-level" -f -a '0 1 2 3 4 5 6 7 8 9'
complete -c kivocam -n "__kivocam_after '*' --format -f" -f -a '(__kivocam_formats)'
complete -c kivocam -n "__kivocam_after '*' --size -s" -f \
    -a '640x480 1280x1024 1920x1080 1920x1200 2448x2048 5472x3648'
complete -c kivocam -n "__kivocam_after '*' $text" -f
