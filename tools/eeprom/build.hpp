// SPDX-License-Identifier: MIT
// Building and showing images, for programs that do not want the headers behind it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace eeprom {

using Bytes = std::vector<std::uint8_t>;

/// What is wrong with a description; the text begins with file:line:column.
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the description in a TOML file and builds its image. Throws Error.
Bytes build_image(const std::string &path);

/// The bytes in rows of sixteen, then each layout that the image fits, decoded.
std::string describe_image(const Bytes &bytes);

}  // namespace eeprom
