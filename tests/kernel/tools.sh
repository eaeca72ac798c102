#!/bin/sh
# SPDX-License-Identifier: MIT
# Calls of i2c-tools, with what they print and their exit status. Full paths: a busybox has programs of
# the same names.
run() {
    program=$1
    shift
    echo "$program $*"
    "/usr/sbin/$program" "$@" 2>&1
    echo "status $?"
}

run i2cdetect -F 0
run i2cdetect -y 0 0x48 0x4f
run i2cdetect -y 0 0x51 0x57
run i2cdetect -y -r 0 0x51 0x57
run i2cdetect -y -q 0 0x51 0x55
run i2cdetect -y 99
run i2ctransfer -y 0 w17@0x51 0xb0 0+
run i2ctransfer -y 0 w5@0x51 0xb0 1 2 3 4
run i2ctransfer -y 0 w1@0x51 0xb0 r8
run i2ctransfer -y 0 r4
run i2ctransfer -y 0 w1@0x31 0 r1
run i2ctransfer -y 0 w1@0x51 0xb0 r2@0x51 w1 0xb1 r2
run i2ctransfer -y 0 w1@0x56 0 r1
run i2ctransfer -f -y 0 w1@0x56 0 r1
run i2cget -y 0 0x51 0xb1
run i2cget -y 0 0x51 0xb1 w
run i2cget -y 0 0x51 0xb1 c
run i2cget -y 0 0x51 0xb1 i 4
run i2cget -y 0 0x51 0xb1 s
run i2cget -y 0 0x51
run i2cget -y 0 0x31 0
run i2cget -y 0 0x56 0
run i2cget -f -y 0 0x56 0
run i2cget -y 0 0x48 0 w
run i2cset -y 0 0x51 0xb4 0x77
run i2cset -y -r 0 0x51 0xb5 0x78
run i2cset -y 0 0x51 0xb6 0x1234 w
run i2cset -y -m 0x0f 0x51 0xb6 0xff
run i2cset -y -m 0x0f 0 0x51 0xb6 0xff
run i2cset -y 0 0x51 0xb8 1 2 3 i
run i2cset -y 0 0x51 0xbc 1 2 s
run i2cset -y 0 0x31 0 1
run i2cset -y 0 0x56 0 1
run i2cget -y 0 0x51 0xb0 i 16
run i2cdump -y -r 0xb0-0xbf 0 0x51 b
run i2cdump -y -r 0xb0-0xbf 0 0x51 w
run i2cdump -y -r 0x00-0x00 0 0x48 w
run i2cdump -y 0 0x31 b
