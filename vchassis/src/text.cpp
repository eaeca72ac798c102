// SPDX-License-Identifier: MIT
#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace vchassis {

namespace {

constexpr int kHexBase = 16;
constexpr int kDecimalBase = 10;

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

}  // namespace

std::optional<std::uint32_t> parse_number(std::string_view text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) {
        text.remove_prefix(2);
    }
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data(), end, value, hex ? kHexBase : kDecimalBase);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

std::string nearest(std::string_view word, const std::set<std::string> &candidates) {
    // Two thirds of the word may be wrong at most, else the guess helps nobody.
    std::size_t best = word.size() * 2 / 3 + 1;
    std::string found;
    for (const std::string &candidate : candidates) {
        const std::size_t distance = edit_distance(word, candidate);
        if (distance < best) {
            best = distance;
            found = candidate;
        }
    }
    return found;
}

std::string hex_bytes(std::span<const std::uint8_t> bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

}  // namespace vchassis
