#!/bin/sh
# SPDX-License-Identifier: MIT
# register_map.sh DFDCTL SOURCES [update]: the register map of a file of the bad boards.
set -eu
export LC_ALL=C
expected=$2/tests/tools/dfdctl/lint/register_map.txt
map() { "$1" --wide lint --bitmap "$2/tests/tools/dfdctl/lint/bad-boards/unmatched/etc/cfg/dfd/cfg_file/registers.cfg"; }
if [ "${3:-}" = update ]; then
    map "$1" "$2" > "$expected"
else
    map "$1" "$2" | diff -u "$expected" -
fi
