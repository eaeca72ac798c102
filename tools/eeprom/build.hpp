// SPDX-License-Identifier: MIT
// Building and showing images, for programs that do not want the headers behind it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace eeprom {

constexpr unsigned kNibbleBits = 4;
constexpr unsigned kLowNibble = 0xF;

using Bytes = std::vector<std::uint8_t>;

/// What is wrong with a description; the text begins with file:line:column, `reason` does not.
struct Error : std::runtime_error {
    explicit Error(const std::string &message) : Error(message, message) {}
    Error(const std::string &message, std::string why)
        : std::runtime_error(message), reason(std::move(why)) {}

    std::string reason;
};

/// Reads the description in a TOML file and builds its image. Throws Error.
Bytes build_image(const std::string &path);
/// The same of a description in memory.
Bytes build_text(const std::string &text);

}  // namespace eeprom
