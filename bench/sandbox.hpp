// SPDX-License-Identifier: MIT
// Where the paths of a board lead in a program that measures. An I2C transfer costs its system call
// and is then answered from memory: what a bus takes would hide all else.
#pragma once

#include <string>

namespace bench {

/// Configuration and product id are looked for below it, and /dev/i2c-N is the device file; while
/// it is empty, all paths are the system's.
void set_board_root(const std::string &root);
/// A file in memory where there is such: 256 registers, the first is 1 and all others are 0.
const std::string &device_file();
/// The memory behind every I2C address; the offset is one byte.
void set_i2c_memory(const std::string &image);

}  // namespace bench
