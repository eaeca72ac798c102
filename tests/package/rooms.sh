#!/bin/sh
# SPDX-License-Identifier: MIT
# rooms.sh SOURCES: the picture of dfdctl's rooms in docs/architecture.md shows the folders that there
# are, and no file includes one of a room on its own floor or above. The headers of the command-line
# library, which take seconds to compile, belong to one translation unit of tools/common.
set -eu
cd "$1"
tools=tools/dfdctl
# A line of the picture is a floor; what has no name of letters is its stairs.
floors=$(sed -n '/^<!-- rooms of dfdctl -->$/,/^<!-- -->$/p' docs/architecture.md |
    sed 's/(.*)//; s/[^a-z_ ]/ /g' | grep '[a-z]' | sed '/rooms of dfdctl/d')

floor_of() { printf '%s\n' "$floors" | grep -nw -- "$1" | head -n 1 | cut -d: -f1; }

drawn=$(printf '%s\n' "$floors" | tr -s ' ' '\n' | grep . | LC_ALL=C sort)
found=$(cd $tools && ls -d -- */ *.cpp *.hpp | sed 's#/$##; s/\.[ch]pp$//' | LC_ALL=C sort -u)
[ "$drawn" = "$found" ] || {
    printf 'the picture in docs/architecture.md shows:\n%s\nbut in %s there are:\n%s\n' "$drawn" "$tools" "$found"
    exit 1
}

status=0
for file in $tools/*/*.cpp $tools/*/*.hpp $tools/*.cpp $tools/*.hpp; do
    here=$(printf '%s' "${file#"$tools"/}" | sed 's#/.*##; s/\..*//')
    for there in $(sed -n 's#^\#include "dfdctl/\([a-z_]*\).*#\1#p' "$file" | sort -u); do
        [ "$here" = "$there" ] && continue
        [ "$(floor_of "$here")" -lt "$(floor_of "$there")" ] || {
            echo "$file: $there is not on a floor below $here"
            status=1
        }
    done
done
strays=$(grep -rl '^#include <CLI/' tools vchassis tests | grep -v '^tools/common/command_') || true
[ -z "$strays" ] || { echo "$strays: use common/command_line.hpp"; status=1; }
exit $status
