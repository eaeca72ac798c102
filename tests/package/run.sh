#!/bin/sh
# SPDX-License-Identifier: MIT
# run.sh SOURCES: what ./run says and does on machines that lack something. Nothing is built or installed: what it
# calls writes itself down.
set -eu
sources=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# A tree without .git, and the programs that every machine has.
mkdir "$work/system" "$work/tree"
for program in sh cat cp date dirname env find id ls mkdir nproc paste rm sed tar tail tr; do
    ln -s "$(command -v "$program")" "$work/system/$program"
done
(cd "$sources" && cp --parents run CHANGELOG.md include/dfd/version.h packaging/debian/control "$work/tree")

# stub PROGRAM SCRIPT
stub() {
    printf '#!/bin/sh\necho "%s $*" >> "%s"\n%s\n' "$1" "$work/called" "$2" > "$work/row/$1"
    chmod +x "$work/row/$1"
}

# row WHAT COMMAND STATUS TEXT PROGRAM=SCRIPT...: TEXT is a line of what is printed or called, or its beginning.
row() {
    what=$1 command=$2 wanted=$3 text=$4
    shift 4
    rm -rf "$work/row" "$work/called"
    mkdir "$work/row"
    for each; do stub "${each%%=*}" "${each#*=}"; done
    got=0
    PATH=$work/row:$work/system "$work/tree/run" "$command" > "$work/told" 2>&1 || got=$?
    [ ! -f "$work/called" ] || cat "$work/called" >> "$work/told"
    if [ "$got" -ne "$wanted" ] || ! awk -v text="$text" 'index($0, text) == 1 { found = 1 } END { exit !found }' "$work/told" ||
        grep -qE 'not found|fatal|No such file' "$work/told"; then
        echo "$what: status $got, not $wanted, or not said: $text"
        sed 's/^/    /' "$work/told"
        status=1
    fi
}

install='apt-get update && apt-get install --no-install-recommends clang-format'
row 'no root, no sudo' format 2 "As root: $install" dpkg-query= apt-get= 'id=echo 1000'
row 'sudo refuses' format 2 "As root: $install" dpkg-query= apt-get= 'id=echo 1000' 'sudo=exit 1'
row 'no network' format 2 'apt did not install them' dpkg-query= 'id=echo 0' 'apt-get=exit 100'
row 'no network, by hand' format 2 "As root: $install" dpkg-query= 'id=echo 0' 'apt-get=exit 100'
row 'no lists, but the package' format 0 'clang-format -i' dpkg-query= 'id=echo 0' 'clang-format=' xargs='clang-format -i' \
    'apt-get=[ "$1" = install ]'
row 'dpkg without apt' format 2 './run: missing here: clang-format' dpkg-query=
row 'all is installed' build 0 'cmake --build --preset release' 'dpkg-query=echo installed' cmake=
row 'no dpkg, nothing there' build 2 './run: missing here: c++ ninja' cmake=
row 'no dpkg, the way past it' build 2 'Without this script: cmake --preset release && cmake --build --preset release'
row 'no dpkg, all there' build 0 'cmake --build --preset release' c++= cmake= ninja=
packages() {
    row "$1" package 0 build-package/libdfd0.deb 'dpkg-query=echo installed' lintian= \
        'dpkg-buildpackage=[ -f include/dfd/version.h ] && [ ! -e build-package ] && [ ! -e .git ] &&
            grep -q "^ -- .*>  [A-Z][a-z][a-z], " debian/changelog && : > ../libdfd0.deb && : > ../libdfd.changes' \
        "grep=exec $(command -v grep) \"\$@\""
}
packages 'an archive of the sources'
mkdir "$work/tree/.git"
: > "$work/tree/.git/index"
packages 'a working copy, but no git'
exit $status
