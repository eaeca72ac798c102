// SPDX-License-Identifier: MIT
// Number formats of PMBus telemetry, in thousandths of the unit; free of I/O and logging.
#pragma once

#include <cstdint>

namespace dfd::power {

inline constexpr int kThousandths = 1000;  // of a unit

// mantissa x 2^exponent in thousandths, rounded towards minus infinity, of which the low 32 bits.
constexpr int scaled_thousandths(int mantissa, int exponent) {
    const int64_t value = int64_t{mantissa} * kThousandths;
    return static_cast<int>(exponent >= 0 ? value * (int64_t{1} << exponent) : value >> -exponent);
}

// Signed exponent in the upper 5 bits, signed mantissa in the lower 11.
constexpr int linear11(int16_t raw) {
    constexpr int kMantissaBits = 11;
    constexpr int kExponentBits = 5;
    const auto raised = static_cast<int16_t>(static_cast<uint16_t>(raw) << kExponentBits);
    return scaled_thousandths(raised >> kExponentBits, raw >> kMantissaBits);
}

constexpr int linear11_whole(int16_t raw) {
    return linear11(raw) / kThousandths;
}

// Output voltage: the exponent is fixed, VOUT_MODE is not read, and the mantissa is signed. Users
// rely on 0x8000 and above being negative.
constexpr int linear16(int16_t raw) {
    constexpr int kExponent = -9;
    return scaled_thousandths(raw, kExponent);
}

}  // namespace dfd::power
