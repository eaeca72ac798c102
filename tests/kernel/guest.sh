#!/bin/sh
# SPDX-License-Identifier: MIT
# guest.sh BUILD CROSS DIR: real kernels in emulated boards answer the program `observe` (CROSS has it for
# armhf, static) and calls of i2c-tools. Each line is what the virtual chassis of BUILD answers, but for
# those that the file `differences` names. DIR keeps what was fetched, the consoles and the answers. Exit
# status 77, with the reason, where there is no emulator.
set -eu
build=$(realpath -e "$1")
cross=$(realpath -e "$2")
dir=$3
here=$(dirname "$0")
command -v cpio > /dev/null || { echo "no cpio here"; exit 77; }
"$here/fetch.sh" "$dir"
dir=$(realpath -e "$dir")

longest_seconds=300
emulator=$dir/host/usr/bin/qemu-system-arm
libraries=$(find "$dir/host" -name '*.so.*' -printf '%h\n' | sort -u | paste -sd:)
env LD_LIBRARY_PATH="$libraries" "$emulator" --version > "$dir/emulator.txt" 2>&1 ||
    { head -n 1 "$dir/emulator.txt"; exit 77; }

# What the guest has: programs, modules, the library's configuration.
initramfs() {
    root=$dir/initramfs
    rm -rf "$root"
    mkdir -p "$root/bin" "$root/dev" "$root/proc" "$root/sys" "$root/tmp" "$root/modules" "$root/usr" "$root/lib"
    cp "$dir/armhf/bin/busybox" "$root/bin/busybox"
    ln -s busybox "$root/bin/sh"
    cp -r "$dir/armhf/usr/sbin" "$root/usr/sbin"
    for library in ld-linux-armhf.so.3 libc.so.6 libi2c.so.0; do
        cp -L "$(find "$dir/armhf" -name $library | head -n 1)" "$root/lib/"
    done
    number=0
    for module in i2c-smbus i2c-dev i2c-versatile i2c-aspeed at24; do
        number=$((number + 1))
        cp "$(find "$dir/armhf/lib/modules" -name $module.ko)" "$root/modules/$number-$module.ko"
    done
    cp -r "$here/board/etc" "$root/etc"
    cp "$cross/tests/observe_static" "$root/observe"
    cp "$here/tools.sh" "$root/"
    cp "$here/init" "$root/init"
    (cd "$root" && find . | cpio --quiet --create --format=newc --owner=0:0 | gzip -1) > "$dir/initramfs.gz"
}

# guest BOARD TREE BUS CONSOLE: boots it and leaves its answers. Sensors are set once they are there.
guest() {
    cat > "$dir/$1.qmp" << 'QMP'
{"execute": "qmp_capabilities"}
{"execute": "qom-set", "arguments": {"path": "/machine/peripheral/inlet", "property": "temperature", "value": 42500}}
{"execute": "qom-set", "arguments": {"path": "/machine/peripheral/outlet", "property": "temperature", "value": -10000}}
QMP
    rm -f "$dir/$1.txt"
    devices="-device tmp105,id=inlet,bus=$3,address=0x48 -device tmp105,id=outlet,bus=$3,address=0x49"
    for address in 0x51 0x52 0x56 0x57; do
        devices="$devices -device at24c-eeprom,bus=$3,address=$address,rom-size=256,address-size=1"
    done
    # shellcheck disable=SC2086  # words of the command line
    LD_LIBRARY_PATH=$libraries timeout "$longest_seconds" "$emulator" -L "$dir/host/usr/share/qemu" -M "$1" \
        -kernel "$dir"/armhf/boot/vmlinuz-* -dtb "$(find "$dir/armhf/usr/lib" -name "$2")" \
        -initrd "$dir/initramfs.gz" -append "console=$4 quiet panic=-1" $devices \
        -display none -no-reboot -qmp stdio -serial "file:$dir/$1.txt" < "$dir/$1.qmp" > "$dir/$1.log" 2>&1 &
}

# on_chassis BOARD NOSTART TEN_BIT: what the virtual chassis answers, with an adapter as the board's.
on_chassis() {
    chassis=$dir/$1.chassis
    rm -rf "$chassis"
    cp -r "$here/board" "$chassis"
    printf '\n[[bus]]\nnumber = 0\nnostart = %s\nten_bit = %s\n' "$2" "$3" >> "$chassis/chassis.toml"
    "$build/vchassis" run "$chassis" -- "$build/tests/observe" bus library main_images
    "$build/vchassis" run "$chassis" -- sh "$here/tools.sh"
}

# compare BOARD NOSTART TEN_BIT
compare() {
    on_chassis "$@" > "$dir/$1.chassis.txt"
    tr -d '\r' < "$dir/$1.txt" | sed -n '/^== begin/,/^== end/p' | sed '1d;$d' > "$dir/$1.kernel.txt"
    [ -s "$dir/$1.kernel.txt" ] || { tail -n 20 "$dir/$1.txt" "$dir/$1.log"; echo "no answers of $1"; return 1; }
    diff "$dir/$1.kernel.txt" "$dir/$1.chassis.txt" | grep '^[<>]' | sort > "$dir/$1.found" || true
    sed -nE "s/^($1|both) ([<>] )/\\2/p" "$here/differences" | sort > "$dir/$1.known"
    diff "$dir/$1.known" "$dir/$1.found" > "$dir/$1.unknown" || {
        echo "$1: not as in tests/kernel/differences; first < what that says and is not so, > what is so"
        cat "$dir/$1.unknown"
        return 1
    }
    echo "$1: $(wc -l < "$dir/$1.kernel.txt") lines of the kernel, $(grep -c '^<' "$dir/$1.known") known to differ"
}

initramfs
guest vexpress-a15 vexpress-v2p-ca15-tc1.dtb i2c ttyAMA0
first=$!
guest ast2600-evb aspeed-ast2600-evb.dtb aspeed.i2c.bus.0 ttyS4,115200
second=$!
trap 'kill $first $second 2> /dev/null || true' EXIT
wait $first || true
wait $second || true
trap - EXIT
status=0
compare vexpress-a15 true true || status=1
compare ast2600-evb false false || status=1
exit $status
