#!/bin/sh
# SPDX-License-Identifier: MIT
# system_calls.sh SOURCES: the library asks the system in three files only.
set -eu
cd "$1"
calls='open|openat|fopen|fgets|fclose|creat|close|read|write|pread|pwrite|lseek|ioctl|access|stat|usleep|nanosleep|sleep'
allowed='^(framework/platform|hal/device_file|hal/i2c)\.cpp:'
found=$(grep -rnE "(^|[^A-Za-z0-9_.>])(::|std::)?($calls)\(" framework hal service | grep -vE "$allowed" || true)
if [ -n "$found" ]; then
    echo "system calls outside the three files that may make them:"
    echo "$found"
    exit 1
fi
# The same search must see the calls where they are.
[ "$(grep -cE "(^|[^A-Za-z0-9_.>])($calls)\(" hal/device_file.cpp)" -ge 6 ]
