#!/bin/sh
# SPDX-License-Identifier: MIT
# compare.sh BUILD: FRU images decoded by dfdctl and by an independent decoder, ipmi-fru of Debian's
# freeipmi-tools. Fields must be the same, faults must be found by both; the differences that there are
# stand in the file differences, each with its reason.
set -eu
build=$(realpath -e "$1")
cd "$(dirname "$0")"
PATH=$PATH:/usr/sbin
command -v ipmi-fru > /dev/null || { echo "skipped: ipmi-fru (package freeipmi-tools) is not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Ours as "area field: value" by the names of the other decoder.
ours() {
    "$build/dfdctl" --json eeprom decode "$1" | awk -F'": ' '
        /^      "name"/ { name = value($2) }
        /^      "is_text"/ { is_text = $2 ~ /true/ }
        /^      "value"/ {
            text = value($2)
            if (!is_text) { gsub(/[0-9a-f][0-9a-f]/, "&h", text); text = toupper(text); gsub(/H/, "h", text) }
            sub(/custom [0-9]+$/, "custom", name)
            if (text != "") print name ": " text
        }
        function value(v) { sub(/^"/, "", v); sub(/",?$/, "", v); gsub(/\\"/, "\"", v); return v }' | sort
}

theirs() {
    # The file identifiers of board and product have one name.
    ipmi-fru --fru-file="$1" | iconv -f latin1 -t utf-8 |
        awk '/^  FRU (Board|Product)/ { area = $2 } { sub(/^  FRU FRU File/, "  FRU " area " File"); print }' |
        sed -nE '
        s#^  FRU Board Manufacturing Date/Time: (..)/(..)/(..) - (..:..):..#board.mfg_date: 20\3-\1-\2 \4#p
        s/^  FRU Chassis Part Number: /chassis.part_number: /p
        s/^  FRU Chassis Serial Number: /chassis.serial_number: /p
        s/^  FRU Chassis Custom Info: /chassis.custom: /p
        s/^  FRU Board Manufacturer: /board.manufacturer: /p
        s/^  FRU Board Product Name: /board.product_name: /p
        s/^  FRU Board Serial Number: /board.serial_number: /p
        s/^  FRU Board Part Number: /board.part_number: /p
        s/^  FRU Board File ID: /board.fru_file_id: /p
        s/^  FRU Product File ID: /fru_file_id: /p
        s/^  FRU Board Custom Info: /board.custom: /p
        s/^  FRU Product Manufacturer Name: /manufacturer: /p
        s/^  FRU Product Name: /product_name: /p
        s#^  FRU Product Part/Model Number: #part_number: #p
        s/^  FRU Product Version: /product_version: /p
        s/^  FRU Product Serial Number: /serial_number: /p
        s/^  FRU Product Asset Tag: /asset_tag: /p
        s/^  FRU Product Custom Info: /custom: /p
        s/^  FRU Error: .*/fault/p' | sed 's/2096-/1996-/' | sort
}

# compare NAME IMAGE
compare() {
    count=$((count + 1))
    "$build/dfdctl" eeprom verify "$2" > /dev/null && sound=yes || sound=no
    theirs "$2" > "$work/theirs"
    if grep -q '^fault$' "$work/theirs"; then
        faulty=$((faulty + 1))
        [ $sound = no ] || echo "$1 fault" >> "$work/found"
        return 0
    fi
    [ $sound = yes ] || echo "$1 sound" >> "$work/found"
    ours "$2" > "$work/ours"
    diff "$work/ours" "$work/theirs" | sed -nE "s/^[<>] ([a-z._ ]*): .*/$1 \1/p" | sort -u >> "$work/found"
}

count=0
faulty=0
: > "$work/found"
for description in *.toml; do
    "$build/dfd-eeprom" "$description" "$work/image.bin"
    compare "${description%.toml}" "$work/image.bin"
done
for unit in fan2 power1 power4; do
    compare "demo-$unit" "$build/boards/demo/images/$unit.bin"
done
sed -n 's/^\([^#:]*\):.*/\1/p' differences | sort > "$work/listed"
sort "$work/found" | diff "$work/listed" - > "$work/diff" || {
    echo "differences (< listed, > found):"
    cat "$work/diff"
    exit 1
}
echo "$count images, $faulty of them faulty for both, $(wc -l < "$work/listed") listed differences"
