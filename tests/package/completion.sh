#!/bin/sh
# SPDX-License-Identifier: MIT
# completion.sh BUILD: bash completes commands through the installed functions; fish too, and zsh reads
# its function, where these are installed.
set -eu
build=$1
completion=$build/completion
export DFDCTL_COMPLETE_ROOT="$build/boards/demo"

# expect WANTED GOT WHAT
expect() {
    [ "$1" = "$2" ] || { printf '%s: expected\n%s\nbut got\n%s\n' "$3" "$1" "$2"; exit 1; }
}

# in_bash PROGRAM WORD...: the candidates for the last word, in one line.
in_bash() {
    bash --norc -c '
        compopt() { printf "(%s) " "$2"; }
        program=$1
        . "$0/bash-completion/completions/$program"
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        COMP_WORDS[0]='"$build"'/$program
        # What readline calls, by the name that the program is registered under.
        function=$(complete -p "$program" | sed "s/.*-F \([^ ]*\).*/\1/")
        $function "${COMP_WORDS[0]}"
        echo "${COMPREPLY[*]}"' "$completion" "$@"
}

expect "show" "$(in_bash dfdctl sh)" "bash: a command"
expect "1 2 3 4" "$(in_bash dfdctl show fans '')" "bash: units of the board"
expect "fan_real_speed_2_1 fan_real_speed_2_2" "$(in_bash dfdctl get fan_real_speed_2)" "bash: items"
expect "fan_state" "$(in_bash dfdctl items --type = fan_st)" "bash: a word that is split at ="
expect "(nospace) fan_state_1=" "$(in_bash dfdctl coverage --answer fan_state_1)" "bash: a value goes on"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir "a board" && : > "a file"
expect "(filenames) a board" "$(in_bash dfdctl lint --root 'a ')" "bash: directories"
expect "(filenames) a board a file" "$(in_bash dfdctl lint 'a ' | sed 's/a file a board/a board a file/')" "bash: files"
expect "run" "$(in_bash vchassis ru)" "bash: vchassis"

if command -v zsh > /dev/null; then
    for program in dfdctl vchassis; do
        zsh -n "$completion/zsh/site-functions/_$program"
    done
else
    echo "zsh is not installed: its functions were not read"
fi

if command -v fish > /dev/null; then
    fish=$(PATH="$build:$PATH" HOME="$work" fish --no-config -c "
        source $completion/fish/vendor_completions.d/dfdctl.fish
        source $completion/fish/vendor_completions.d/vchassis.fish
        complete -C 'dfdctl show fans '
        complete -C 'vchassis run $build/boards/demo -- dfdctl get fan_real_speed_2'" | cut -f 1 | tr '\n' ' ')
    expect "1 2 3 4 fan_real_speed_2_1 fan_real_speed_2_2 " "$fish" "fish"
else
    echo "fish is not installed: its functions were not read"
fi
