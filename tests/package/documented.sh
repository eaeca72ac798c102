#!/bin/sh
# SPDX-License-Identifier: MIT
# documented.sh HEADERS: every exported name has a comment right above it, or above the group of
# declarations without a blank line that it stands in.
set -eu
awk '
    FNR == 1 { documented = 0 }
    /^$/ { documented = 0 }
    /\*\/ *$/ { documented = 1 }
    /^(extern )?DFD_API/ { seen++; if (!documented) { print FILENAME ":" FNR ": not documented: " $0; missing++ } }
    END {
        if (seen < 300) { print "only " seen " declarations found"; exit 1 }
        print seen " declarations, " missing + 0 " without documentation"
        exit missing > 0
    }' "$1"/*.h
