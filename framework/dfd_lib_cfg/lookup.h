// SPDX-License-Identifier: MIT
// Words and numbers of configuration lines; free of I/O and logging.
#pragma once

#include <dfd/records.h>

#include <cctype>
#include <cstdint>

#include "framework/text.h"

namespace dfd {

inline constexpr int kNoWord = -1;

// The first word that begins the text, or kNoWord.
inline int find_word(Words words, const char *text) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (starts_with(text, words[i])) {
            return static_cast<int>(i);
        }
    }
    return kNoWord;
}

// The type of the first interrupt name that begins the text.
inline uint32_t find_irq_type(const char *text) {
    for (const irq_type_name_t &row : g_irq_type_name) {
        if (starts_with(text, row.name)) {
            return row.type;
        }
    }
    return IRQ_TYPE_UNKNOWN;
}

// 16 for what is no digit.
constexpr int digit_value(char letter) {
    if (letter >= '0' && letter <= '9') {
        return letter - '0';
    }
    const auto lower = static_cast<char>(letter | ('a' - 'A'));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

// The digits at the start of a text as a number; -1 for none, and for more than surely fit.
constexpr int64_t few_digits(const char *text, int base) {
    constexpr int kMaxDigits = 9;
    int64_t number = 0;
    for (int count = 0; count <= kMaxDigits; ++count) {
        const int digit = digit_value(text[count]);
        if (digit >= base) {
            return count > 0 ? number : -1;
        }
        number = number * base + digit;
    }
    return -1;
}

// strtol does the rare rest: it would take longer than all else that a line needs.
inline uint32_t number_from_text(const char *text) {
    const bool is_hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && text[2] != '\0';
    const int base = is_hex ? 16 : 10;
    const int64_t number = few_digits(is_hex ? text + 2 : text, base);
    return static_cast<uint32_t>(number >= 0 ? number : number_in_base(text, base));
}

// A word in a text, one past its end.
struct Word {
    char *begin;
    char *end;
};

// As scanf sees it: the locale decides, but printable ASCII is no white space in any.
inline bool is_white_space(char letter) {
    const auto byte = static_cast<uint8_t>(letter);
    return !is_graphic(byte) && byte != '\0' && std::isspace(byte) != 0;
}

// The first word between white space, as "%s" of scanf finds it; an empty one where there is none.
inline Word first_word(char *text) {
    while (is_white_space(*text)) {
        ++text;
    }
    char *end = text;
    while (*end != '\0' && !is_white_space(*end)) {
        ++end;
    }
    return {text, end};
}

}  // namespace dfd
