#!/bin/sh
# SPDX-License-Identifier: MIT
# completion.sh BUILD: bash completes commands through the installed functions; fish and zsh too, where
# they are installed.
set -eu
build=$1
completion=$build/completion
here=$(cd "$(dirname "$0")" && pwd)
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

if command -v fish > /dev/null; then
    fish=$(PATH="$build:$PATH" HOME="$work" fish --no-config -c "
        source $completion/fish/vendor_completions.d/dfdctl.fish
        source $completion/fish/vendor_completions.d/vchassis.fish
        complete -C 'dfdctl show fans '
        complete -C 'vchassis run $build/boards/demo -- dfdctl get fan_real_speed_2'" | cut -f 1 | tr '\n' ' ')
    expect "1 2 3 4 fan_real_speed_2_1 fan_real_speed_2_2 " "$fish" "fish"
fi

# at_tab TYPED WANTED: a line before and after the tab key; "|" is where it then ends.
at_tab() {
    printf '%s\n' "$1" >> "$work/typed"
    printf '%s\n' "$2" >> "$work/wanted"
}
at_tab "dfdctl eeprom set fan 2 board.s" "dfdctl eeprom set fan 2 board.serial_number=|"
at_tab "dfdctl eeprom set fan 3 serial_number=" "dfdctl eeprom set fan 3 serial_number=|"
at_tab "dfdctl eeprom set fan 3 serial_number=A h" "dfdctl eeprom set fan 3 serial_number=A hw_version=|"
at_tab "dfdctl eeprom set fan 9 s" "dfdctl eeprom set fan 9 s|"
at_tab "dfdctl eeprom set --layout=back" "dfdctl eeprom set --layout=backplane |"
at_tab "dfdctl coverage --answer fan_state_1" "dfdctl coverage --answer fan_state_1=|"
at_tab "dfd-eeprom $work/a\\ f" "dfd-eeprom $work/a\\ file |"
at_tab "dfd-eeprom --debug-s" "dfd-eeprom --debug-startup |"
at_tab "vchassis ru" "vchassis run |"
at_tab "vchassis peek $build/boards/demo /dev/cpld1" "vchassis peek $build/boards/demo /dev/cpld1 |"
at_tab "vchassis peek $build/boards/demo /dev/cpld0 versi" "vchassis peek $build/boards/demo /dev/cpld0 version |"
at_tab "vchassis poke $build/boards/demo /dev/i2c-0:0x5" "vchassis poke $build/boards/demo /dev/i2c-0:0x57 |"

for shell in bash zsh fish; do
    if command -v $shell > /dev/null && command -v python3 > /dev/null; then
        PATH="$build:$PATH" python3 "$here/tab.py" $shell "$completion" < "$work/typed" > "$work/got"
        diff -u "$work/wanted" "$work/got" || { echo "$shell: the tab key makes other lines"; exit 1; }
    else
        echo "SKIPPED: $shell or python3 is not installed: its functions were not tried"
    fi
done
