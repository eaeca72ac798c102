// SPDX-License-Identifier: MIT
// The library's reasons in plain words.
#pragma once

#include <cstdint>
#include <string>

namespace dfdctl::coverage {

/// Why a function stopped behind an item that the engine had nothing against.
std::string function_reason(std::uint32_t key, int code);

/// Why an item that stands for an EEPROM's contents is of no use to a function that reads none.
std::string no_eeprom_reason(std::uint32_t key);

/// "not supported", for "(-6, not supported)".
std::string code_word(int code);

}  // namespace dfdctl::coverage
