// SPDX-License-Identifier: MIT
#include "common/text.hpp"

namespace dfd_tools {

std::string hex_text(std::span<const std::uint8_t> bytes, char separator) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr unsigned kDigitBits = 4;
    constexpr unsigned kDigitMask = 0xF;
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        text += kDigits[byte >> kDigitBits];
        text += kDigits[byte & kDigitMask];
    }
    return text;
}

}  // namespace dfd_tools
