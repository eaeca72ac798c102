// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "eeprom/text.hpp"

namespace eeprom {

/// The bytes in rows of sixteen, then each layout that the image fits, decoded.
std::string describe_image(const Bytes &bytes);

}  // namespace eeprom
