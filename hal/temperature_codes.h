// SPDX-License-Identifier: MIT
// What the bytes of temperature sensors mean, in whole degrees Celsius; free of I/O.
#pragma once

#include <cstdint>

namespace dfd {

// LM75: nine significant bits, left-aligned in two bytes, in steps of half a degree. Both steps
// round towards zero: -0.5 degrees read 0.
constexpr int lm75_degrees(uint8_t high, uint8_t low) {
    constexpr int kUnitsPerStep = 128;
    constexpr int kMillidegreesPerStep = 500;
    const auto raw = static_cast<int16_t>(high << 8 | low);
    return raw / kUnitsPerStep * kMillidegreesPerStep / 1000;
}

// TMP411 in its extended range.
constexpr int tmp411_degrees(uint8_t byte) {
    constexpr int kExtendedRangeOffset = 64;
    return byte - kExtendedRangeOffset;
}

}  // namespace dfd
