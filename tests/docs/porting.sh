#!/bin/sh
# SPDX-License-Identifier: MIT
# porting.sh PAGE BUILD: follows the page in an empty directory, literally. A block with file=PATH in its
# first line is written to that file; in a block ```console each line "$ COMMAND" is run, and what it
# prints is compared with the lines below it, where a line "..." stands for any number of lines. A
# command that fails must be followed by "$ echo $?".
set -u
page=$1
PATH=$2:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/steps" "$work/here"
cd "$work/here" || exit 1

# Steps NNNN-file (the path, then the content) and NNNN-run (the command, then what it prints).
awk -v steps="$work/steps" '
    function step(kind) { close(file); file = sprintf("%s/%04d-%s", steps, ++n, kind) }
    /^```/ && inside { inside = 0; next }
    /^```/ { inside = 1; kind = "none"
             if (/ file=/) { kind = "file"; step(kind); sub(/.* file=/, ""); sub(/ .*/, ""); print > file }
             else if ($0 == "```console") kind = "console"
             next }
    inside && kind == "console" && /^\$ / { step("run"); print substr($0, 3) > file; next }
    inside && kind != "none" { print > file }' "$page"

# matches EXPECTED PRINTED
matches() {
    awk 'NR == FNR { expected[++m] = $0; next }
         { printed[++n] = $0 }
         END { for (i = 1; i <= m; i++) {
                   if (expected[i] == "...") { any = 1; continue }
                   while (any && at < n && printed[at + 1] != expected[i]) at++
                   if (printed[++at] != expected[i] || at > n) exit 1
                   any = 0 }
               exit !(any || at == n) }' "$1" "$2"
}

last=0
for step in "$work"/steps/*; do
    first=$(head -n 1 "$step")
    tail -n +2 "$step" > "$work/rest"
    if [ "${step%-file}" != "$step" ]; then
        mkdir -p "$(dirname "$first")" && cp "$work/rest" "$first" || exit 1
        continue
    fi
    if [ "$last" -ne 0 ] && [ "$first" != 'echo $?' ]; then
        echo "a command failed with status $last, which the page does not tell; printed: "
        cat "$work/printed"
        exit 1
    fi
    (exit "$last")
    eval "$first" > "$work/printed" 2>&1 < /dev/null
    last=$?
    matches "$work/rest" "$work/printed" && continue
    printf '$ %s\nprints other lines (+) than the page shows (-):\n' "$first"
    diff -U 1000 "$work/rest" "$work/printed" | tail -n +4
    exit 1
done
