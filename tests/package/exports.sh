#!/bin/sh
# SPDX-License-Identifier: MIT
# exports.sh LIBRARY HEADERS SYMBOLS: what the headers declare with DFD_API is what the library exports, and
# what the Debian package promises.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One declaration a line, comments gone; its name stands before the first parenthesis or bracket.
cat "$2"/*.h | grep -v '^#' | tr '\n' ' ' | sed 's|/\*[^*]*\*\+\([^/*][^*]*\*\+\)*/| |g' |
    grep -oE 'DFD_API [^;]*;' | sed -E 's/[(;[].*//; s/ *$//; s/.*[ *]//' | sort -u > "$work/declared"
nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort -u > "$work/exported"
sed -n 's/^ \([^@]*\)@LIBDFD_0 .*/\1/p' "$3" | grep -v '^LIBDFD_0$' | sort -u > "$work/promised"

[ "$(wc -l < "$work/declared")" -gt 100 ] || { echo "too few declarations found"; exit 1; }
same() {
    diff "$work/declared" "$1" > "$work/diff" || { echo "$2"; cat "$work/diff"; exit 1; }
}
same "$work/exported" "< declared in a header but not exported; > exported but in no header"
same "$work/promised" "< declared in a header but not in $3; > there but in no header"
echo "$(wc -l < "$work/exported") names, the same in headers, library and package"
