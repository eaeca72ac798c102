#!/bin/sh
# SPDX-License-Identifier: MIT
# fetch.sh DIR: unpacks an emulator into DIR/host, kernel and programs of an armhf system into DIR/armhf.
# They come from Debian, through an apt of their own: nothing is installed, and neither the lists nor
# the architectures of the machine change. Exit status 77, with the reason, where they cannot be had.
set -eu
mkdir -p "$1"
dir=$(realpath -e "$1")
# A finished one is not fetched again.
[ ! -e "$dir/fetched" ] || exit 0
skip() { echo "$*"; exit 77; }
command -v apt-get > /dev/null || skip "no apt here"

# The machine's own source of its release, for all suites.
. /etc/os-release
suite=$VERSION_CODENAME
uri=$(apt-get indextargets --format '$(RELEASE) $(REPO_URI)' 'Created-By: Packages' 'Component: main' |
    sed -n "s/^$suite //p" | head -n 1)
[ -n "$uri" ] || skip "no package source of $suite is configured"
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
key=
[ ! -e $keyring ] || key=signed-by=$keyring
arch=$(dpkg --print-architecture)

rm -rf "$dir/apt" "$dir/host" "$dir/armhf"
mkdir -p "$dir/apt/lists/partial" "$dir/apt/cache/archives/partial"
cat > "$dir/apt/sources.list" << LIST
deb [arch=$arch,armhf $key] $uri $suite main
deb [arch=$arch $key] $uri $suite-backports main
LIST
cat > "$dir/apt/apt.conf" << CONF
Dir::Etc::sourcelist "$dir/apt/sources.list";
Dir::Etc::sourceparts "-";
Dir::State::lists "$dir/apt/lists";
Dir::Cache "$dir/apt/cache";
APT::Architectures { "$arch"; "armhf"; };
APT::Sandbox::User "";
Acquire::Languages "none";
Debug::NoLocking "true";
CONF
export APT_CONFIG="$dir/apt/apt.conf"
cd "$dir/apt/cache/archives"
fetch() {
    apt-get update -qq --error-on=any &&
        # Of its libraries those that the machine lacks; a user emulator of another version stays as it is.
        apt-get install -qq -y --no-install-recommends --download-only -t "$suite-backports" \
            qemu-system-arm qemu-user- &&
        kernel=$(apt-cache depends --important linux-image-armmp:armhf | sed -n 's/.*Depends: //p') &&
        apt-get download -qq "$kernel" busybox-static:armhf i2c-tools:armhf libi2c0:armhf libc6:armhf
}
fetch > "$dir/apt/log" 2>&1 || {
    reason=$(sed -n 's/^E: //p' "$dir/apt/log" | head -n 1 | sed 's|[a-z]*://[^ ]*|a mirror|g')
    skip "packages cannot be fetched: $reason"
}

for package in *.deb; do
    case $package in
        *_armhf.deb) dpkg-deb -x "$package" "$dir/armhf" ;;
        *) dpkg-deb -x "$package" "$dir/host" ;;
    esac
done
rm -rf "$dir/apt/lists" "$dir/apt/cache"
touch "$dir/fetched"
