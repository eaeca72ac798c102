// SPDX-License-Identifier: MIT
// The number formats and command names of PMBus.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vchassis {

// Nothing when the number does not fit.
std::optional<std::uint16_t> to_linear11(double value);
std::optional<std::uint16_t> to_linear16(double value, int exponent);
double from_linear11(std::uint16_t word);
// VOUT_MODE for LINEAR16 with this exponent.
std::uint8_t vout_mode_byte(int exponent);

std::optional<std::uint8_t> pmbus_code(std::string_view name);
// Empty for a code without a usual name.
std::string pmbus_name(std::uint8_t code);
std::set<std::string> pmbus_names();

}  // namespace vchassis
