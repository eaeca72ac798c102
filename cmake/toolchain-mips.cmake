# SPDX-License-Identifier: MIT
# cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mips.cmake, with Debian's g++-mips-linux-gnu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CMAKE_C_COMPILER mips-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mips-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
