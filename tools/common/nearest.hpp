// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dfd_tools {

/// Number of single-character insertions, removals, replacements and swaps of neighbours between
/// two texts; upper and lower case count as the same.
std::size_t edit_distance(std::string_view a, std::string_view b);

/// The candidates most like `name`, best first, at most `count`; those that have little in common
/// with it are left out.
std::vector<std::string> nearest_names(std::string_view name,
                                       std::span<const std::string_view> candidates,
                                       std::size_t count);

/// ", did you mean 'a' or 'b'?" for an error message; empty when nothing is near.
std::string did_you_mean(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace dfd_tools
