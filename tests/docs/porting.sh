#!/bin/sh
# SPDX-License-Identifier: MIT
# porting.sh PAGE BUILD: follows the page in an empty directory, literally. A block below a line
# "`PATH`:" is written to that file; in a block ```console each line "$ COMMAND", with the lines "> ..." below
# it, is run, and what it prints is compared with the lines that follow, where a line "..." stands for any
# number of lines. A command that fails must be followed by "$ echo $?".
set -u
page=$(realpath -e "$1") && build=$(realpath -e "$2") || exit 2
PATH=$build:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/steps" "$work/here"
cd "$work/here" || exit 1

# Steps NNNN-file (the path, then the content) and NNNN-run (the command), which shows NNNN-shown.
awk -v steps="$work/steps" '
    function step(kind) { close(file); file = sprintf("%s/%04d-%s", steps, n, kind); printf "" > file }
    /^```/ && !inside { inside = 1; kind = "none"
             if (path != "") { kind = "file"; n++; step(kind); print path > file }
             else if ($0 == "```console") kind = "console"
             next }
    inside && kind == "console" && /^\$ / { n++; step("shown"); step("run"); print substr($0, 3) > file; command = 1; next }
    command && /^> / { print substr($0, 3) > file; next }
    command { command = 0; step("shown") }
    /^```/ && inside { inside = 0; path = ""; next }
    inside && kind != "none" { print > file }
    !inside && !/^$/ { path = /^`[^`]*`:$/ ? substr($0, 2, length - 3) : "" }' "$page"

# matches EXPECTED PRINTED
matches() {
    awk 'FILENAME == ARGV[1] { expected[++m] = $0; next }
         { printed[++n] = $0 }
         END { for (i = 1; i <= m; i++) {
                   if (expected[i] == "...") { any = 1; continue }
                   while (any && at < n && printed[at + 1] != expected[i]) at++
                   if (printed[++at] != expected[i] || at > n) exit 1
                   any = 0 }
               exit !(any || at == n) }' "$1" "$2"
}

ls "$work"/steps/*-run > /dev/null || { echo "$page: no command found"; exit 1; }
last=0
for step in "$work"/steps/*-file "$work"/steps/*-run; do
    echo "$step"
done | sort > "$work/order"
while read -r step; do
    if [ "${step%-file}" != "$step" ]; then
        path=$(head -n 1 "$step")
        mkdir -p "$(dirname "$path")" && tail -n +2 "$step" > "$path" || exit 1
        continue
    fi
    command=$(cat "$step")
    shown=${step%-run}-shown
    if [ "$last" -ne 0 ] && [ "$command" != 'echo $?' ]; then
        echo "a command failed with status $last, which the page does not tell; it printed:"
        cat "$work/printed"
        exit 1
    fi
    (exit "$last")
    eval "$command" > "$work/printed" 2>&1 < /dev/null
    last=$?
    matches "$shown" "$work/printed" && continue
    printf '$ %s\nprints other lines (+) than the page shows (-):\n' "$command"
    diff -U 1000 "$shown" "$work/printed" | tail -n +4
    exit 1
done < "$work/order"
exit "$last"
