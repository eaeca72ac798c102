#!/bin/sh
# SPDX-License-Identifier: MIT
# example.sh VCHASSIS PLATFORM BOARD: platform software as in the example runs through on the board, and
# what it prints has values. On the same board without my_slotid it prints all that again but the slot.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -R "$3" "$work/slotless"
sed -i '/^my_slotid/d' "$work"/slotless/etc/cfg/dfd/cfg_file/*.cfg

"$1" run --state "$work/state" "$3" -- "$2" > "$work/with"
"$1" run --state "$work/slotless-state" "$work/slotless" -- "$2" > "$work/without"

status=0
for line in "board type 62, chassis type 8, slot 1" "fan 1: ok .*rotor 2 at [0-9]" \
    "power 1: ok .*in [0-9]* V " "temperature inlet: [0-9]* C" "interrupts served"; do
    grep -q "^$line" "$work/with" || { echo "not printed: $line"; status=1; }
done
sed 's/, slot 1$/, no slot number/' "$work/with" > "$work/expected"
diff "$work/expected" "$work/without" || status=1
exit "$status"
