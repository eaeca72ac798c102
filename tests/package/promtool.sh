#!/bin/sh
# SPDX-License-Identifier: MIT
# promtool.sh SOURCES BUILD: promtool takes the metrics of each board, whole and sick, and the examples of
# docs/monitoring.md. Exits with 77 where there is no promtool; './run test' unpacks one.
set -eu
sources=$(realpath -e "$1")
build=$(realpath -e "$2")
promtool=$(command -v promtool || echo "$sources/build/promtool")
[ -x "$promtool" ] || { echo "promtool is not here: nothing is checked"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

check() { # WHAT BOARD
    "$build/vchassis" run "$2" -- "$build/dfdctl" metrics > "$work/metrics" 2> "$work/errors" || [ $? -eq 1 ]
    "$promtool" check metrics < "$work/metrics" > "$work/verdict" 2>&1 && [ ! -s "$work/verdict" ] || {
        echo "promtool on $1:"
        cat "$work/verdict"
        exit 1
    }
    echo "promtool takes the $(grep -vc '^#' "$work/metrics") samples of $1"
}

for board in demo demo-tlv demo-linecard; do
    cp -r "$build/boards/$board" "$work/$board"
    check "$board" "$work/$board"
done
echo 'card_temp_ctrl.addr_0_1=0x77' >> "$work/demo/etc/cfg/dfd/cfg_file/cm8_temps.cfg"
"$build/vchassis" poke "$work/demo" /dev/cpld0 0x10 0xf2 > /dev/null
check "demo with a silent sensor and a supply pulled" "$work/demo"

# example N: the N-th block of YAML.
example() {
    awk -v want="$1" '/^```/ { inside = !inside; if (inside) n += $0 == "```yaml"; next } inside && n == want' \
        "$sources/docs/monitoring.md"
}
example 1 > "$work/prometheus.yml"
example 2 > "$work/rules.yml"
"$promtool" check config "$work/prometheus.yml"
"$promtool" check rules "$work/rules.yml"
