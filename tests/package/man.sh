#!/bin/sh
# SPDX-License-Identifier: MIT
# man.sh BUILD LIBRARY SOURCES: every exported name and every command has a man page; none makes the formatter
# warn, each has the line that apropos and whatis read, and what a page refers to is there.
set -eu
build=$1
library=$2
sources=$3
pages=$build/man
[ -d "$pages" ] || { echo "no man pages were built"; exit 77; }
command -v groff > /dev/null && command -v lexgrog > /dev/null || { echo "groff and man-db are not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() { echo "$1"; sed 's/^/    /' "$2"; status=1; }

{
    nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 ".3" }'
    # "  check         Say what is wrong ..."
    "$build/dfdctl" --wide --help | awk '/^Subcommands:/ { on = 1; next } /^$/ { on = 0 }
        on && /^  [a-z]/ { print "dfdctl-" $1 ".1" }'
    for page in "$sources"/docs/configuration/*.md; do
        page=$(basename "$page" .md)
        case $page in README | format | files) ;; *) echo "dfd-$page.5" ;; esac
    done
    printf '%s\n' dfdctl.1 dfd-eeprom.1 vchassis.1 libdfd.3 dfd.cfg.5 dfd.7
} | sort > "$work/wanted"
ls "$pages"/man* | grep '\.[1-9]$' | sort > "$work/found"
[ "$(wc -l < "$work/wanted")" -gt 380 ] || { echo "too few names to look for"; exit 1; }
diff "$work/wanted" "$work/found" > "$work/out" || fail "< without a page; > a page of nothing" "$work/out"

# As man does it at 80 columns. Pages that are another one's are read there.
grep -L '^\.so ' "$pages"/man*/* > "$work/real"
(cd "$pages" && xargs groff -ww -t -mandoc -Kutf8 -Tutf8 -rLL=78n -rLT=78n < "$work/real") 2> "$work/out" > /dev/null
[ ! -s "$work/out" ] || fail "groff warns" "$work/out"
(cd "$pages" && xargs lexgrog < "$work/real") > "$work/names" 2>&1 ||
    { grep -v ': "' "$work/names" > "$work/out" || true; fail "no NAME section" "$work/out"; }
awk -F'"' '/: "/ && $2 !~ / - ./ { print }' "$work/names" > "$work/out"
[ ! -s "$work/out" ] || fail "no summary" "$work/out"

# Lines that are not filled, which are those of examples and of columns.
for page in $(grep '/man[157]/' "$work/real"); do
    groff -t -mandoc -Tascii -P-c -rLL=78n -rLT=78n "$page" 2> /dev/null | col -bx |
        awk -v page="${page##*/}" '{ ++lines } length > 80 { print page ": " $0 } END { if (lines < 10) print page ": empty" }'
done > "$work/out"
[ ! -s "$work/out" ] || fail "wider than 80 columns" "$work/out"

for link in $(sed -n 's/^\.so //p' "$pages"/man*/*); do
    [ -s "$pages/$link" ] || { echo "a page leads to $link, which is not there"; status=1; }
done
sed -n 's/^\.BR \([^ ]*\) (\([1-9]\)).*/\1.\2/p' "$pages"/man*/* | sed 's/\\//g' | sort -u > "$work/named"
[ "$(wc -l < "$work/named")" -gt 100 ] || { echo "too few references"; exit 1; }
comm -23 "$work/named" "$work/found" > "$work/out"
[ ! -s "$work/out" ] || fail "pages refer to what is not there" "$work/out"

# What a page must say: the prototype, the header, all of the comment.
{
    man -l "$pages/man3/sdd_get_fan_fail_bmp.3"
    man -l "$pages/man1/dfdctl-slot.1"
} 2> "$work/warnings" | col -b | tr -s ' \t\n' ' ' > "$work/text"
for text in '#include <dfd/fan.h>' 'int sdd_get_fan_fail_bmp(uint32_t fan_id, int *bitmap);' \
    'RETURN VALUE Returns 0 from the first two' 'the judgement by fan_speed_floor (see sdd_get_fan_status(3))' \
    'dfdctl slot power [OPTION...] SLOT on|off' '--yes Do not ask, also where traffic is disturbed'; do
    grep -qF -- "$text" "$work/text" || { echo "not said: $text"; status=1; }
done
exit $status
