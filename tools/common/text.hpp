// SPDX-License-Identifier: MIT
// Texts that several programs make. The formatting library can join, too, but a file that asks it
// to takes half a second longer to compile.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace dfd_tools {

/// "fans, power": of any range of texts or numbers.
template <typename Range>
std::string joined(const Range &range, std::string_view separator) {
    std::string all;
    std::string_view before;
    for (const auto &each : range) {
        all.append(before);
        if constexpr (std::is_arithmetic_v<std::remove_cvref_t<decltype(each)>>) {
            all.append(std::to_string(each));
        } else {
            all.append(each);
        }
        before = separator;
    }
    return all;
}

/// "12 34 ab"
std::string hex_text(std::span<const std::uint8_t> bytes, char separator = ' ');

}  // namespace dfd_tools
