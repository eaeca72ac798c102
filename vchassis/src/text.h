// SPDX-License-Identifier: MIT
// Small text helpers of the chassis.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace vchassis {

// Decimal, or hexadecimal after "0x"; nothing else around it.
std::optional<std::uint32_t> parse_number(std::string_view text);

// The candidate with the fewest edits away from `word`; empty when none is similar.
std::string nearest(std::string_view word, const std::set<std::string> &candidates);

// Whether a path is the one in front, or below it.
bool is_under(std::string_view path, std::string_view prefix);

// All bytes up to the end; the state of the stream stays as it is.
std::string read_all(std::istream &in);

}  // namespace vchassis
