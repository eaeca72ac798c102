#!/bin/sh
# SPDX-License-Identifier: MIT
# readme.sh SOURCES BUILD LIBRARY: the README shows what the demo prints, and its programs build and run.
set -eu
readme=$1/README.md
build=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# block N LANGUAGE: the N-th fenced block that opens with ```LANGUAGE.
block() {
    awk -v want="$1" -v fence="\`\`\`$2" '
        /^```/ { if (inside) inside = 0; else { inside = 1; if ($0 == fence) n++; mine = $0 == fence && n == want; next } }
        inside && mine' "$readme"
}

# shows N COMMAND: the N-th block without a language is what the command prints.
shows() {
    block "$1" "" | tail -n +2 > "$work/shown"
    # shellcheck disable=SC2086  # the words of a command
    "$build/vchassis" run --state "$work/state" "$build/boards/demo" -- "$build/dfdctl" $2 > "$work/printed" ||
        [ $? -eq 1 ]
    diff -u "$work/shown" "$work/printed" || { echo "README.md shows another page than dfdctl $2"; exit 1; }
}
shows 2 check
shows 3 "show board"

block 1 c > "$work/app.c"
block 1 cpp > "$work/app.cpp"
for app in c cpp; do
    case $app in c) compile="cc -std=c11" ;; cpp) compile="c++ -std=c++20" ;; esac
    $compile -Wall -Wextra -Werror -I"$1/include" "$work/app.$app" -o "$work/app-$app" "$3" "-Wl,-rpath,$build"
    "$build/vchassis" run --state "$work/state" "$build/boards/demo" -- "$work/app-$app"
done > "$work/output"
cat > "$work/expected" <<EOF
board type 62
slot 5 is occupied
the chassis MAC ends in 0
EOF
diff -u "$work/expected" "$work/output"
