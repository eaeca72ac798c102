#!/bin/sh
# SPDX-License-Identifier: MIT
# chroot.sh DIRECTORY: the Debian packages there install into a fresh system, the demo runs from them
# alone, and nothing is left of them when they are purged. Takes root, mmdebstrap and a Debian mirror;
# where the system cannot be made, exit status 77.
set -eu
packages=$(realpath -e "$1")
work=$(mktemp -d)
trap 'umount "$work/root/proc" 2> /dev/null; rm -rf "$work"' EXIT
root=$work/root

[ "$(id -u)" -eq 0 ] || { echo "only root can make a fresh system"; exit 77; }
mmdebstrap --quiet --variant=apt bookworm "$root" > "$work/log" 2>&1 || {
    tail -n 3 "$work/log"
    echo "a fresh Debian system cannot be made here"
    exit 77
}
mkdir -p "$root/proc"
mount -t proc proc "$root/proc" || { echo "/proc cannot be mounted here"; exit 77; }
inside() { chroot "$root" env DEBIAN_FRONTEND=noninteractive "$@"; }
everything() { (cd "$root" && find etc usr lib bin sbin -xdev ! -path '*/__pycache__*' ! -type d | sort); }

inside apt-get install -y -qq --no-install-recommends adduser > /dev/null 2>&1
# No udev runs there: it is asked all the same, and its failure is none of the installation.
printf '#!/bin/sh\necho "$@" >> /tmp/udevadm\nexit 1\n' > "$root/usr/bin/udevadm"
chmod +x "$root/usr/bin/udevadm"
everything > "$work/before"
cp "$packages"/*.deb "$root/tmp/"
inside sh -c 'apt-get install -y -qq --no-install-recommends /tmp/*.deb' > "$work/log" 2>&1 ||
    { tail -n 20 "$work/log"; exit 1; }
rm "$root"/tmp/*.deb

# Supply 4 of the demo chassis has no input. Any user may run it, and finds what he finds on a copy of his own;
# root leaves nothing in its directory.
inside vchassis run /usr/share/dfd/boards/demo -- sh -c 'echo x > /tmp/bspinfo/new'
inside runuser -u games -- cp -r /usr/share/dfd/boards/demo /tmp/copy
for board in /usr/share/dfd/boards/demo /tmp/copy; do
    status=0
    inside runuser -u games -- env HOME=/tmp/home vchassis run $board -- dfdctl check > "$work/page${board##*/}" || status=$?
    [ "$status" -eq 1 ]
done
cat "$work/pagecopy"
grep -q 'supply 4: NO INPUT' "$work/pagecopy"
diff "$work/pagecopy" "$work/pagedemo"
inside getent group dfd > /dev/null
for devices in cpld fpga i2c-dev; do
    grep -q "^trigger .*$devices" "$root/tmp/udevadm" || { echo "$devices keep their group until the next start"; exit 1; }
done

sh "$(dirname "$0")/../docs/links.sh" "$root/usr/share/doc/dfd-doc" "$root/usr/include/dfd"

names=$(cd "$packages" && for file in *.deb; do echo "${file%%_*}"; done | grep -v dbgsym)
# shellcheck disable=SC2086  # names are words
inside apt-get purge -y -qq $names > "$work/log" 2>&1 || { tail -n 20 "$work/log"; exit 1; }
inside apt-get autoremove -y -qq > /dev/null 2>&1
everything > "$work/after"
# What belongs to the package manager changes: lists, caches and the backups of the group file.
if diff "$work/before" "$work/after" | grep '^>' | grep -vE ' (etc/(group|gshadow)-|etc/ld\.so\.cache)'; then
    echo "left of the packages when they are purged"
    exit 1
fi
if inside getent group dfd; then
    echo "the group dfd is left"
    exit 1
fi
echo "installed, run and purged without a rest"
