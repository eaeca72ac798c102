#!/bin/sh
# SPDX-License-Identifier: MIT
# valgrind.sh VCHASSIS PROGRAM BOARD SUPPRESSIONS: of a program that starts the library on a board valgrind
# reports no leak with the installed suppressions. Without them it does: they are needed.
set -eu
command -v valgrind > /dev/null || { echo "SKIPPED: valgrind is not installed"; exit 77; }
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT

leaks() {
    status=0
    "$vchassis" run --state "$state/chassis" "$board" -- valgrind --undef-value-errors=no \
        --leak-check=full --show-leak-kinds=definite,possible --errors-for-leak-kinds=definite,possible \
        --error-exitcode=9 "$@" "$program" > "$state/output" 2>&1 || status=$?
    sed -n 's/^==[0-9]*== *\(definitely lost\|possibly lost\|suppressed\): \(.*\)/\1: \2/p' "$state/output"
}

vchassis=$1
program=$2
board=$3
leaks
[ "$status" -eq 9 ] || { echo "without suppressions: exit status $status, not 9"; cat "$state/output"; exit 1; }
leaks --suppressions="$4"
[ "$status" -eq 0 ] || { echo "with suppressions: exit status $status"; cat "$state/output"; exit 1; }
