#!/bin/sh
# SPDX-License-Identifier: MIT
# links.sh PAGES HEADERS: every link between the pages of a directory leads to a file, and behind "#" to a heading
# of it; every function that a page names is declared.
set -eu
headers=$(realpath -e "$2")
cd "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pages="$(ls -- *.md) $(find docs -name '*.md')"
[ "$(echo "$pages" | wc -w)" -gt 20 ] || { echo "too few pages in $1"; exit 1; }

# PAGE#anchor of every heading.
for page in $pages; do
    sed -n 's/^#\{1,6\} //p' "$page" | tr '[:upper:] ' '[:lower:]-' | tr -cd 'a-z0-9_\n-' | sed "s|^|$page#|"
done > "$work/headings"

status=0
for page in $pages; do
    grep -o '](\([^)]*\))' "$page" | sed 's/^](//; s/)$//' | grep -v '^[a-z]*://' | sort -u > "$work/links" || true
    while read -r link; do
        case $link in "#"*) target=$page ;; *) target=$(dirname "$page")/${link%%#*} ;; esac
        target=$(realpath -m --relative-to=. "$target")
        if [ ! -e "$target" ]; then
            echo "$page: no file behind ($link)"
            status=1
        elif [ "$link" != "${link#*#}" ] && ! grep -qxF "$target#${link#*#}" "$work/headings"; then
            echo "$page: no heading behind ($link)"
            status=1
        fi
    done < "$work/links"
done

cat "$headers"/*.h > "$work/declarations"
grep -oh '`\(drv\|sdd\|dfd\)_[a-z0-9_]*`' docs/configuration/*.md | tr -d '`' | sort -u > "$work/functions"
while read -r function; do
    grep -qw "$function" "$work/declarations" || { echo "docs/configuration: no header declares $function"; status=1; }
done < "$work/functions"
exit "$status"
