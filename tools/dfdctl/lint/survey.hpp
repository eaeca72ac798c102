// SPDX-License-Identifier: MIT
// What the rules ask about the items of the loaded board.
#pragma once

#include <dfd/records.h>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

/// Member of i2c_dev.
inline constexpr int kDevBus = 0;
inline constexpr int kDevAddr = 1;
/// An item of more is refused.
inline constexpr std::uint32_t kMaxBytes = 255;
/// An integer of more is refused.
inline constexpr std::uint32_t kIntegerBytes = 4;

/// Configured items of a type, by index.
std::span<const Item> configured(const Check &check, std::uint32_t type);
/// Configured items of a kind, by key.
const std::vector<Item> &configured(const Check &check, Kind kind);
bool has(std::uint32_t type, std::uint32_t index1 = 0, std::uint32_t index2 = 0);
bool has_any(const Check &check, std::uint32_t type);
/// Value of an int item, or what stands for a missing one.
int int_value(std::uint32_t type, int missing);
/// A line says something of this member.
bool is_set(const Check &check, const Item &item, int member);

inline std::string as_written(const Item &item, std::string_view member = {}) {
    return item.name(member);
}

/// Units that an item counts: rotors without subfan_num are 1. Nothing where it is missing, or
/// where the hardware tells.
std::optional<int> count_of(const Item &count);
/// The largest value that can be read by a description.
std::uint32_t largest_value(const info_ctrl_t &ctrl);

/// "3, 5 to 7" of ascending numbers.
std::string ranges(const std::vector<std::uint32_t> &numbers);
/// "is 1 tray", "are 4 trays".
std::string is_or_are(std::uint32_t count, std::string_view what);

/// An image that is decoded: its items need a path and an address only.
bool is_eeprom_mode(int mode);
/// Read or written by its description.
bool is_hardware_mode(int mode);
/// The library takes only the path (and address) of this item, whatever else it says.
bool is_place_only(const Item &item);
/// "/dev/i2c-3" for "/dev/i2c-".
bool is_numbered_path(std::string_view path, std::string_view prefix);
inline constexpr std::string_view kCpldPrefix = "/dev/cpld";
inline constexpr std::string_view kI2cPrefix = "/dev/i2c-";

}  // namespace dfdctl::lint
