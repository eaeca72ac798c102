// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace dfd {

// In place of string_view::starts_with, whose bounds check needs the C++ library when not optimised.
constexpr bool starts_with(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (text[i] != prefix[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace dfd
