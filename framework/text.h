// SPDX-License-Identifier: MIT
// Texts, words of enumerations and decimal numbers; free of I/O and logging.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace dfd {

// In place of string_view::starts_with, whose bounds check needs the C++ library when not
// optimised.
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

// Texts that end in a zero byte.
constexpr bool starts_with(const char *text, const char *prefix) {
    for (; *prefix != '\0'; ++prefix, ++text) {
        if (*text != *prefix) {
            return false;
        }
    }
    return true;
}

using Words = std::span<const char *const>;

inline const char *word_of(Words words, int value) {
    const auto index = static_cast<std::size_t>(value);
    return index < words.size() ? words[index] : "unknown";
}

// Converted in 64 bits and cut, so that the result does not depend on the width of long.
inline int number_in_base(const char *text, int base) {
    return static_cast<int>(std::strtoll(text, nullptr, base));
}

// Printable and no blank, whatever the locale of the program that loaded the library.
constexpr bool is_graphic(uint8_t byte) {
    return byte > ' ' && byte <= '~';
}

inline bool is_empty(const char *text) {
    return text == nullptr || *text == '\0';
}

// A text for a "%s" of a message.
inline const char *shown(const char *text) {
    return text != nullptr ? text : "(null)";
}

}  // namespace dfd
