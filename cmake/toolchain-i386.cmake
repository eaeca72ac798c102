# SPDX-License-Identifier: MIT
# cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-i386.cmake, with Debian's g++-i686-linux-gnu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# A 64-bit processor of this family runs it as it is, and in Debian 12's emulator forked processes hang.
if(CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL x86_64)
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/i686-linux-gnu/lib/ld-linux.so.2 --library-path /usr/i686-linux-gnu/lib)
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386 -L /usr/i686-linux-gnu)
endif()
