// SPDX-License-Identifier: MIT
// What the text written by hand says of functions is held against what they do.
#include <fmt/format.h>

#include <algorithm>

#include "reference/tables.hpp"

namespace reference {

namespace {

/// The texts between backticks.
std::vector<std::string> code_of(const std::string &line) {
    std::vector<std::string> words;
    for (std::size_t begin = line.find('`'); begin != std::string::npos;) {
        const std::size_t end = line.find('`', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        words.push_back(line.substr(begin + 1, end - begin - 1));
        begin = line.find('`', end + 1);
    }
    return words;
}

bool is_function(const std::string &word) {
    return word.starts_with("drv_") || word.starts_with("dfd_") || word.starts_with("sdd_");
}

/// Whether a word names the key: alone, with indexes, or as one of "sys_power_*".
bool names_key(const std::string &word, std::string_view key) {
    return word.ends_with('*') ? key.starts_with(std::string_view(word).substr(0, word.size() - 1))
                               : word == key || word.starts_with(std::string(key) + '_');
}

std::vector<const dfdctl::KeyType *> keys_of(const std::vector<std::string> &words) {
    std::vector<const dfdctl::KeyType *> keys;
    for (const std::string_view name : dfdctl::key_names()) {
        if (std::ranges::any_of(words, [&](const auto &word) { return names_key(word, name); })) {
            keys.push_back(dfdctl::find_key_type(name));
        }
    }
    return keys;
}

/// The first function of a row that asks for none of the row's keys; empty where all is well.
std::string false_claim(const std::string &row, const Readers &readers) {
    const std::vector<std::string> words = code_of(row);
    const std::vector<const dfdctl::KeyType *> keys = keys_of(words);
    const auto is_false = [&](const std::string &word) {
        return is_function(word) && std::ranges::none_of(keys, [&](const dfdctl::KeyType *key) {
                   return readers.asks(word, *key);
               });
    };
    const auto found = std::ranges::find_if(words, is_false);
    return keys.empty() || found == words.end() ? "" : *found;
}

}  // namespace

void check_claims(const Page &page, const Readers &readers) {
    for (std::size_t line = 0; line < page.lines().size(); ++line) {
        if (!page.lines()[line].starts_with('|')) {
            continue;
        }
        const std::string function = false_claim(page.lines()[line], readers);
        if (!function.empty()) {
            throw page.error(line,
                             fmt::format("{} asks for none of the items of this row", function));
        }
    }
}

}  // namespace reference
