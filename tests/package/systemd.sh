#!/bin/sh
# SPDX-License-Identifier: MIT
# systemd.sh BUILD: the installed units are ones that systemd takes, and what the service runs writes
# the file that the node exporter reads.
set -eu
build=$(realpath -e "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/usr" > /dev/null
units=$work/usr/lib/systemd/system
textfiles=/var/lib/prometheus/node-exporter

command=$(sed -n "s#^ExecStart=dfdctl ##p" "$units/dfd-metrics.service" | sed "s#$textfiles#$work#")
# shellcheck disable=SC2086  # the words of a command
"$build/vchassis" run --state "$work/state" "$build/boards/demo" -- "$build/dfdctl" $command
grep -qx 'dfd_up 1' "$work/dfd.prom"
grep -qx "ReadWritePaths=$textfiles" "$units/dfd-metrics.service"

command -v systemd-analyze > /dev/null || { echo "systemd-analyze is not here: the units are not verified"; exit 0; }
sed -i "s#^ExecStart=#&$work/usr/bin/#" "$units/dfd-metrics.service"
systemd-analyze verify "$units/dfd-metrics.service" "$units/dfd-metrics.timer" 2> "$work/verdict" ||
    { cat "$work/verdict"; exit 1; }
! grep "dfd-metrics" "$work/verdict"
