#!/bin/sh
# SPDX-License-Identifier: MIT
# metrics_chain.sh [BUILD]: from the demo chassis to an answer of Prometheus: dfdctl writes the text file,
# Debian's node exporter publishes it, Prometheus scrapes that, and its query interface is asked. Run by
# name; the programs are unpacked, not installed (23 MB), and listen on the loopback only.
set -eu
here=$(dirname "$(realpath -e "$0")")
build=$(realpath -e "${1:-$here/../build}")
work=$(mktemp -d)
servers=
trap 'for server in $servers; do kill "$server" 2> /dev/null || true; done; wait; rm -rf "$work"' EXIT
trap 'exit 1' INT TERM HUP
port=$((20000 + $$ % 20000))
exporter=127.0.0.1:$port
prometheus=127.0.0.1:$((port + 1))
mkdir "$work/textfiles"
cp -r "$build/boards/demo" "$work/board"

say() { printf '== %s\n' "$*"; }

# program PACKAGE NAME: its path; unpacked where it is not installed.
program() {
    command -v "$2" && return
    "$here/unpack" "$1" "usr/bin/$2" "$work/bin"
    echo "$work/bin/$2"
}

chassis() { "$build/vchassis" run "$work/board" -- "$build/dfdctl" "$@"; }

# The lines of the page are those that a user copies.
example() {
    awk -v want="$1" '/^```/ { inside = !inside; if (inside) n += $0 == "```yaml"; next } inside && n == want' \
        "$here/../docs/monitoring.md"
}

ask() { "$promtool" query instant "http://$prometheus" "$1" 2> "$work/query.errors"; }

# expect QUERY PATTERN: waits until a line of the answer ends so, for half a minute at most.
expect() {
    for _ in $(seq 60); do
        ask "$1" > "$work/answer" || true
        if grep -q "$2" "$work/answer"; then
            printf '%s\n' "$1"
            sed 's/^/    /' "$work/answer"
            return
        fi
        sleep 0.5
    done
    echo "$1: no answer with '$2':"
    cat "$work/answer" "$work/query.errors" "$work/prometheus.log"
    exit 1
}

say "The programs"
promtool=$(program prometheus promtool)
"$promtool" --version 2>&1 | head -n 1
node_exporter=$(program prometheus-node-exporter prometheus-node-exporter)
"$node_exporter" --version 2>&1 | head -n 1
server=$(program prometheus prometheus)

say "The text file of the demo chassis"
chassis metrics --textfile "$work/textfiles/dfd.prom"
grep '^dfd_fan_rotor_speed_rpm' "$work/textfiles/dfd.prom"

"$node_exporter" --web.listen-address="$exporter" --collector.disable-defaults --collector.textfile \
    --collector.textfile.directory="$work/textfiles" > "$work/exporter.log" 2>&1 &
servers=$!
example 2 > "$work/rules.yml"
example 1 | sed "s/chassis-1:9100/$exporter/; s/scrape_interval: .*/scrape_interval: 1s/" > "$work/prometheus.yml"
printf 'global: {evaluation_interval: 1s}\nrule_files: [rules.yml]\n' >> "$work/prometheus.yml"
"$server" --config.file="$work/prometheus.yml" --storage.tsdb.path="$work/data" \
    --web.listen-address="$prometheus" > "$work/prometheus.log" 2>&1 &
servers="$servers $!"

say "What Prometheus answers"
expect 'dfd_fan_rotor_speed_rpm{tray="1",rotor="2"}' '=> 5900 @'
expect 'node_textfile_scrape_error' '=> 0 @'
expect 'dfd_power_supply_present{supply="2"}' '=> 1 @'

say "After the rotor was set to another level, and supply 2 pulled"
chassis fan speed 1 2 3 --yes
"$build/vchassis" poke "$work/board" /dev/cpld0 0x10 0xf2
chassis metrics --textfile "$work/textfiles/dfd.prom"
speed=$(chassis get fan_real_speed 1 2 | cut -d ' ' -f 1)
[ "$speed" -gt 5900 ]
expect 'dfd_fan_rotor_speed_rpm{tray="1",rotor="2"}' "=> $speed @"
expect 'dfd_power_supply_present{supply="2"}' '=> 0 @'
expect 'dfd_fan_rotor_speed_rpm * on (instance, tray) group_left (serial) dfd_fan_tray_info' FT1F00240101
expect 'ALERTS' 'alertname="ChassisUnitBad"'
say "The chain works"
