#!/bin/sh
# SPDX-License-Identifier: MIT
# readme.sh SOURCES BUILD: the README shows what dfdctl prints on the demo board.
set -eu
sources=$1
build=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# shows N COMMAND: the N-th block without a language is what the command prints.
shows() {
    awk -f "$sources/tests/package/block.awk" -v want="$1" "$sources/README.md" | tail -n +2 > "$work/shown"
    # shellcheck disable=SC2086  # the words of a command
    "$build/vchassis" run --state "$work/state" "$build/boards/demo" -- "$build/dfdctl" $2 > "$work/printed" ||
        [ $? -eq 1 ]
    diff -u "$work/shown" "$work/printed" || { echo "README.md shows another page than dfdctl $2"; exit 1; }
}
shows 2 check
shows 3 "show board"
