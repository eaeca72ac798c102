#!/bin/sh
# SPDX-License-Identifier: MIT
# corpus.sh DFDCTL DIRECTORY NAME [update]: lint of DIRECTORY/NAME must print its file "expected" above
# the line of totals.
# A NAME with directories "etc" holds boards, any other single files. "update" rewrites "expected":
# read what changed before it is committed.
set -eu
export LC_ALL=C
dfdctl=$(realpath -e "$1")
name=$3
cd "$2"
[ -d "$name" ] || { echo "no directory $name in $PWD"; exit 2; }

if [ -n "$(find "$name" -type d -name etc)" ]; then
    set -- --root "$name" ${4:+"$4"}
else
    set -- "$name"/*.cfg ${4:+"$4"}
fi
mode=$(eval "printf %s \"\${$#}\"")
if [ "$mode" = update ]; then
    # shellcheck disable=SC2046  # names of the corpus have no blanks
    set -- $(printf '%s\n' "$@" | sed '$d')
fi

found=$(mktemp)
trap 'rm -f "$found"' EXIT
status=0
"$dfdctl" --wide lint "$@" > "$found" || status=$?
sed -i '$d' "$found"
case $(grep -c ': error \[' "$found" || true) in
    0) wanted=0 ;;
    *) wanted=1 ;;
esac
if [ "$status" -ne "$wanted" ]; then
    echo "$name: exit status $status, not $wanted"
    exit 1
fi
if [ "$mode" = update ]; then
    cp "$found" "$name/expected"
else
    diff -a -u "$name/expected" "$found"
fi
