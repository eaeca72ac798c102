#!/bin/sh
# SPDX-License-Identifier: MIT
# documented.sh HEADERS: every exported name has a comment right above it, or above the group of
# declarations without a blank line that it stands in. Where a name of driver.h fills a text buffer, the
# comment says what the buffer "holds": who reads that header alone sees no other size.
set -eu
awk '
    FNR == 1 { documented = 0 }
    /^$/ { documented = 0 }
    /^\/\*/ { comment = "" }
    { comment = comment $0 }
    /\*\/ *$/ { documented = 1 }
    /^(extern )?DFD_API/ { seen++; if (!documented) { print FILENAME ":" FNR ": not documented: " $0; missing++ } }
    FILENAME ~ /driver\.h$/ && /^DFD_API.*[(,] *char \*/ {
        buffers++
        if (comment !~ /holds/) { print FILENAME ":" FNR ": no size of the buffer: " $0; missing++ }
    }
    END {
        if (seen < 300 || buffers < 10) { print "only " seen " declarations found, " buffers " with buffers"; exit 1 }
        print seen " declarations, " missing + 0 " without documentation"
        exit missing > 0
    }' "$1"/*.h
