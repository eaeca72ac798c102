#!/bin/sh
# SPDX-License-Identifier: MIT
# installed.sh BUILD SOURCES: programs build against the installed tree and nothing else, also after
# the tree has moved: the README's C program through pkg-config, its C++ program through the CMake
# package, a program that is linked statically. They run on the installed virtual chassis.
set -eu
build=$(realpath -e "$1")
sources=$(realpath -e "$2")
work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
mkdir -p "$build/boards/demo/state"  # as after a run there
cmake --install "$build" --prefix "$work/first" > /dev/null
mv "$work/first" "$work/usr"

lib=$(dirname "$(find "$work/usr" -name libdfd.so)")
cd "$work"
awk -f "$sources/tests/package/block.awk" -v want=1 -v language=c "$sources/README.md" > app.c
awk -f "$sources/tests/package/block.awk" -v want=1 -v language=cpp "$sources/README.md" > app.cpp

export PKG_CONFIG_LIBDIR="$lib/pkgconfig"
flags="-Wall -Wextra -Werror"
# shellcheck disable=SC2046,SC2086  # flags are words
cc -std=c11 $flags app.c $(pkg-config --cflags --libs libdfd) -o app-c
# shellcheck disable=SC2046,SC2086
cc -std=c11 $flags "$sources/tests/package/c11_client.c" $(pkg-config --cflags libdfd) "$lib/libdfd.a" -o client
./client
[ "$(pkg-config --modversion libdfd)" = "$(printf '#include <dfd/version.h>\nDFD_VERSION\n' |
    cc -E -P -I"$work/usr/include" - | tail -n 1 | sed 's/[" ]//g')" ]

mkdir project
cat > project/CMakeLists.txt <<EOF
cmake_minimum_required(VERSION 3.25)
project(client LANGUAGES C CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(dfd 0.1 REQUIRED)
add_executable(app-cpp $work/app.cpp)
target_compile_options(app-cpp PRIVATE $(echo $flags))
target_link_libraries(app-cpp PRIVATE dfd::dfd)
add_executable(client-static $sources/tests/package/c11_client.c)
target_link_libraries(client-static PRIVATE dfd::dfd_static)
find_package(vchassis REQUIRED)
add_executable(on-chassis $work/on_chassis.cpp)
target_link_libraries(on-chassis PRIVATE vchassis::preload)
EOF
cat > on_chassis.cpp <<EOF
#include <fcntl.h>
#include <vchassis/chassis.h>
int main() {
    vchassis::Chassis chassis;
    chassis.describe("[[registers]]\\npath = '/dev/cpld0'\\n");
    return open("/dev/cpld0", O_RDWR) >= 0 && chassis.log().size() == 1 ? 0 : 1;
}
EOF
cmake -S project -B project/build -DCMAKE_PREFIX_PATH="$work/usr" > /dev/null
cmake --build project/build > /dev/null
project/build/client-static
project/build/on-chassis

export HOME="$work/home" XDG_STATE_HOME=
for app in ./app-c project/build/app-cpp; do
    LD_LIBRARY_PATH=$lib "$work/usr/bin/vchassis" run "$work/usr/share/dfd/boards/demo" -- "$app"
done > output
cat > expected <<EOF
board type 62
slot 5 is occupied
the chassis MAC ends in 0
EOF
diff -u expected output
[ -n "$(ls "$work/home/.local/state/vchassis")" ]

# A user who may only read the board finds the same on it as on a copy of his own. Neither he nor root leaves
# anything in its directory.
board=$work/usr/share/dfd/boards/demo
chmod -R a-w "$board"
chmod 755 "$work"
mkdir -m 777 "$work/users"
listed() { find "$board" -printf '%p %m %s %T@ %C@\n' | sort; }
listed > before
user=
if [ "$(id -u)" -eq 0 ]; then
    user="setpriv --reuid 65534 --regid 65534 --clear-groups"
    $user true || { echo "SKIPPED: an ordinary user on the installed board: nobody else can be become here"; user=; }
fi
for place in "$board" "$work/users/demo"; do
    # shellcheck disable=SC2016,SC2086  # the inner shell expands its own; words
    HOME=$work/users $user sh -euc '
        [ -e "$2" ] || { cp -R "$3" "$2"; chmod -R u+w "$2"; }
        status=0
        "$1/vchassis" run "$2" -- "$1/dfdctl" check > "$4" || status=$?
        [ "$status" -eq 1 ]' sh "$work/usr/bin" "$place" "$board" "$work/users/page.$(basename "$(dirname "$place")")"
done
grep -q 'supply 4: NO INPUT' "$work/users/page.users"
diff -u "$work/users/page.users" "$work/users/page.boards"
"$work/usr/bin/vchassis" run "$board" -- sh -euc '
    echo x > /tmp/bspinfo/new
    rm /tmp/bspinfo/sslot
    ! touch /etc/cfg/dfd/new /etc/cfg/dfd/chassis/8.cfg 2> /dev/null'
listed | diff before -

sh "$sources/tests/docs/links.sh" "$work/usr/share/doc/libdfd" "$work/usr/include/dfd"
for file in share/dfd/libdfd.supp share/bash-completion/completions/dfd-eeprom share/zsh/site-functions/_dfd-eeprom \
    share/fish/vendor_completions.d/dfd-eeprom.fish; do
    [ -s "$work/usr/$file" ] || { echo "not installed: $file"; exit 1; }
done
