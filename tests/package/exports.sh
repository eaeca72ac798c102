#!/bin/sh
# SPDX-License-Identifier: MIT
# exports.sh LIBRARY HEADERS: what the headers declare with DFD_API is what the library exports.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One declaration a line, comments gone; its name stands before the first parenthesis or bracket.
cat "$2"/*.h | grep -v '^#' | tr '\n' ' ' | sed 's|/\*[^*]*\*\+\([^/*][^*]*\*\+\)*/| |g' |
    grep -oE 'DFD_API [^;]*;' | sed -E 's/[(;[].*//; s/ *$//; s/.*[ *]//' | sort -u > "$work/declared"
nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort -u > "$work/exported"

[ "$(wc -l < "$work/declared")" -gt 100 ] || { echo "too few declarations found"; exit 1; }
diff "$work/declared" "$work/exported" > "$work/diff" || {
    echo "< declared in a header but not exported; > exported but in no header"
    cat "$work/diff"
    exit 1
}
echo "$(wc -l < "$work/exported") names, the same in headers and library"
