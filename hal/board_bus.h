// SPDX-License-Identifier: MIT
// Paths of bus devices by number, and the sources that identify a board.
#pragma once

#include <cstdint>
#include <cstdio>

namespace dfd {

struct BusPath {
    explicit BusPath(uint32_t bus) { std::snprintf(text, sizeof text, "/dev/i2c-%d", bus); }
    char text[100];
};

inline constexpr char kBoardBus[] = "/dev/i2c-0";
inline constexpr uint16_t kBoardE2promAddr = 0x57;
// Where the platform leaves the product identifier.
inline constexpr char kProductIdFile[] = "/tmp/bspinfo/ProductID";
// Characters of the product identifier that are read.
inline constexpr int kProductIdLength = 9;

}  // namespace dfd
