#!/bin/sh
# SPDX-License-Identifier: MIT
# examples.sh PAGES DFDCTL: every block ```cfg of the pages is clean under lint --strict, and in every
# block ```bad-cfg RULE lint reports that rule. Blocks of a family page are checked as the only file of
# a board, so that what belongs together must be in one example; those of other pages as a file.
set -eu
pages=$1
dfdctl=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One file a block, PAGE-LINE.cfg; the expected rule of a bad one in PAGE-LINE.rule.
awk -v work="$work" '
    FNR == 1 { page = FILENAME; sub(/.*\//, "", page); sub(/\.md$/, "", page); inside = 0 }
    /^```/ && inside { inside = 0; close(file); next }
    /^```(bad-)?cfg/ {
        inside = 1
        file = sprintf("%s/%s-%d.cfg", work, page, FNR)
        printf "" > file
        if ($1 == "```bad-cfg") { print $2 > (work "/" page "-" FNR ".rule") }
        next
    }
    /^```/ { inside = 1; file = "/dev/null"; next }
    inside { print > file }' "$pages"/*.md

board=$work/board/etc/cfg/dfd
mkdir -p "$board/cfg_file" "$board/file_name"
echo "# The board type is given." > "$board/cfg_file/card_pid.cfg"
echo example > "$board/file_name/0x3e"

lint_example() { # PAGE FILE
    if grep -q "^## Example" "$pages/$1.md"; then
        cp "$2" "$board/cfg_file/example.cfg"
        "$dfdctl" lint --strict --root "$work/board" --board 62
    else
        "$dfdctl" lint --strict "$2"
    fi
}

status=0
for page in $(grep -l "^## Example" "$pages"/*.md); do
    page=$(basename "$page" .md)
    ls "$work/$page"-*.cfg > /dev/null 2>&1 || { echo "$page: an example section without a block of cfg"; status=1; }
done
for example in "$work"/*.cfg; do
    name=$(basename "$example" .cfg)
    result=0
    lint_example "${name%-*}" "$example" > "$work/found" 2>&1 || result=$?
    if [ -f "$work/$name.rule" ]; then
        grep -q "\[$(cat "$work/$name.rule")\]" "$work/found" && continue
        echo "$name: lint does not report [$(cat "$work/$name.rule")]:"
    else
        [ "$result" -eq 0 ] && continue
        echo "$name: the example is not clean:"
    fi
    status=1
    cat "$work/found"
done
exit "$status"
