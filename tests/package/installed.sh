#!/bin/sh
# SPDX-License-Identifier: MIT
# installed.sh BUILD CLIENT.c: a C program builds against the installed library, by hand with what
# the pkg-config file says and through the CMake package.
set -eu
client=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/usr" > /dev/null

pc=$(find "$work/usr" -name libdfd.pc)
value() { sed -n "s|^$1: *||p" "$pc" | sed "s|\${includedir}|$include|; s|\${libdir}|$lib|"; }
include=$work/usr/include
lib=$(dirname "$(dirname "$pc")")
# shellcheck disable=SC2046  # flags are words
cc -std=c11 $(value Cflags) "$client" -o "$work/client" $(value Libs)
LD_LIBRARY_PATH=$lib "$work/client"

mkdir "$work/project"
cat > "$work/project/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(client LANGUAGES C)
find_package(dfd 0.1 REQUIRED)
add_executable(client $client)
target_link_libraries(client PRIVATE dfd::dfd)
EOF
cmake -S "$work/project" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/usr" > /dev/null
cmake --build "$work/build" > /dev/null
"$work/build/client"
