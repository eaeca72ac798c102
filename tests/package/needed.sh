#!/bin/sh
# SPDX-License-Identifier: MIT
# needed.sh LIBRARY: libc (and the loader) is all it needs, and no symbol of the C++ library.
set -eu
needed=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
echo "needed: $needed"
for library in $needed; do
    case $library in
        libc.so.* | ld-linux*) ;;
        *) echo "$library is one too many"; exit 1 ;;
    esac
done
printf '%s\n' "$needed" | grep -q '^libc\.so' || { echo "libc is missing: was this a shared library?"; exit 1; }
if nm -D --undefined-only "$1" | grep -E ' _Z| __cxa_(throw|guard|begin)| __gxx'; then
    echo "symbols of the C++ library"
    exit 1
fi
readelf -d "$1" | grep -q 'SONAME.*libdfd\.so\.0'
