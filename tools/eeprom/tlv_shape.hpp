// SPDX-License-Identifier: MIT
// Shape of a TLV image, for building and for decoding.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace eeprom::tlv {

constexpr std::int64_t kShortVersion = 1;
constexpr std::size_t kIntegerSize = 4;

struct EntryType {
    std::string_view name;
    std::uint8_t number;
};

constexpr std::uint8_t kDeviceTypeEntry = 6;
inline constexpr std::array kEntryTypes = {
    EntryType{"product_name", 2},
    EntryType{"serial_number", 3},
    EntryType{"hw_version", 5},
    EntryType{"device_type", kDeviceTypeEntry},
};

}  // namespace eeprom::tlv
