// SPDX-License-Identifier: MIT
// Words and numbers of configuration values; free of I/O and logging.
#pragma once

#include <dfd/records.h>

#include <cstring>
#include <string_view>

#include "framework/text.h"

namespace dfd {

inline constexpr int kNoWord = -1;

// The first word that begins the text, or kNoWord.
inline int find_word(Words words, std::string_view text) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (starts_with(text, words[i])) {
            return static_cast<int>(i);
        }
    }
    return kNoWord;
}

// The type of the first interrupt name that begins the text.
inline uint32_t find_irq_type(std::string_view text) {
    for (const irq_type_name_t &row : g_irq_type_name) {
        if (starts_with(text, row.name)) {
            return row.type;
        }
    }
    return IRQ_TYPE_UNKNOWN;
}

inline uint32_t number_from_text(const char *text) {
    const bool is_hex =
        std::strlen(text) > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    return static_cast<uint32_t>(number_in_base(text, is_hex ? 16 : 10));
}

}  // namespace dfd
