// SPDX-License-Identifier: MIT
#include "text.h"

#include <fmt/format.h>

#include <array>
#include <charconv>

#include "common/nearest.hpp"

namespace vchassis {

namespace {

constexpr int kHexBase = 16;
constexpr int kDecimalBase = 10;

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
        const std::size_t distance = dfd_tools::edit_distance(word, candidate);
        if (distance < best) {
            best = distance;
            found = candidate;
        }
    }
    return found;
}

bool is_under(std::string_view path, std::string_view prefix) {
    return path.starts_with(prefix) && (path.size() == prefix.size() || path[prefix.size()] == '/');
}

std::string read_all(std::istream &in) {
    constexpr std::size_t kChunk = 4096;
    std::string all;
    std::array<char, kChunk> chunk;
    for (std::size_t count = kChunk; count == kChunk;) {
        count = static_cast<std::size_t>(in.rdbuf()->sgetn(chunk.data(), kChunk));
        all.append(chunk.data(), count);
    }
    return all;
}

}  // namespace vchassis
