// SPDX-License-Identifier: MIT
// Bit fields and numbers of several bytes; free of I/O and logging.
#pragma once

#include <cstdint>
#include <span>

namespace dfd {

inline constexpr uint32_t kBitsPerByte = 8;
inline constexpr uint8_t kWholeByte = 0xFF;

// The lowest `width` bits of a byte; 8 or more are all of them.
constexpr uint8_t low_bits(uint32_t width) {
    return width >= kBitsPerByte ? kWholeByte : static_cast<uint8_t>((1U << width) - 1U);
}

// Bits of a field, in place.
constexpr uint8_t field_mask(uint32_t bit_offset, uint32_t width) {
    return static_cast<uint8_t>(low_bits(width) << bit_offset);
}

// The field at bit_offset of a register; inverted first for an active-low one.
constexpr uint8_t extract_field(uint8_t byte, uint32_t bit_offset, uint32_t width, bool inverted) {
    const auto level = static_cast<uint8_t>(inverted ? ~byte : byte);
    return static_cast<uint8_t>((level >> bit_offset) & low_bits(width));
}

// The register byte that holds value at bit_offset. Bits outside the field are not cleared: a
// masked write ignores them, a write of the whole byte writes them.
constexpr uint8_t place_field(uint32_t value, uint32_t bit_offset, bool inverted) {
    const uint32_t shifted = value << bit_offset;
    return static_cast<uint8_t>(inverted ? ~shifted : shifted);
}

constexpr uint8_t merge_under_mask(uint8_t old_byte, uint8_t new_byte, uint8_t mask) {
    return static_cast<uint8_t>((old_byte & ~mask) | (new_byte & mask));
}

// Bytes joined to one number; of more than four only the last four count.
constexpr uint32_t join_bytes(std::span<const uint8_t> bytes, bool little_endian) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t at = little_endian ? bytes.size() - 1 - i : i;
        value = value << kBitsPerByte | bytes[at];
    }
    return value;
}

}  // namespace dfd
