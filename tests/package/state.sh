#!/bin/sh
# SPDX-License-Identifier: MIT
# state.sh LIBRARY: what the library remembers between calls is marked DFD_STATE, so that tools can
# put it back; the log gate is not, and is no answer. The hooks of the tools are not in it.
set -eu
variables() { objdump -tC "$1" | awk -v section="$2" '$0 ~ (" " section "\t") { print $NF }'; }

[ "$(variables "$1" dfd_state | wc -l)" -ge 10 ] || { echo "too few marked variables found"; exit 1; }
found=$({ variables "$1" .data; variables "$1" .bss; } |
    grep -vE '^(\.data|\.bss|completed[.0-9]*|__dso_handle|__TMC_END__|dfd_debug|dfd_debug_sw)$' || true)
if [ -n "$found" ]; then
    echo "kept between calls but not marked DFD_STATE:"
    echo "$found"
    exit 1
fi
if nm -C "$1" | grep -E 'watch::(hooks|current_line|state)'; then
    echo "hooks of the tools are in the library"
    exit 1
fi
