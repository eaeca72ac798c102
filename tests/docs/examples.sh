#!/bin/sh
# SPDX-License-Identifier: MIT
# examples.sh PAGES DFDCTL: every block ```cfg of the pages is clean under lint --strict, and in every
# block ```bad-cfg RULE lint reports that rule.
set -eu
pages=$1
dfdctl=$2
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

status=0
for page in $(grep -l "^## Example" "$pages"/*.md); do
    page=$(basename "$page" .md)
    ls "$work/$page"-*.cfg > /dev/null 2>&1 || { echo "$page: an example section without a block of cfg"; status=1; }
done
for example in "$work"/*.cfg; do
    name=$(basename "$example" .cfg)
    result=0
    "$dfdctl" lint --strict "$example" > "$work/found" 2>&1 || result=$?
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
