// SPDX-License-Identifier: MIT
// Bus devices by number, and where the board EEPROM stands.
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

}  // namespace dfd
