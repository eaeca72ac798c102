// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "dfdctl/board/facts.hpp"
#include "dfdctl/board/reading.hpp"

struct info_ctrl;

namespace dfdctl {

/// An inventory EEPROM and the layout it is read with.
struct Eeprom {
    int mode;  ///< enum info_ctrl_mode: tlv, fru or legacy
    std::string device;
    std::uint16_t address;
    int offset = 0;  ///< of the field, in the legacy layout of power supplies
    Legacy legacy = Legacy::none;
};

/// The EEPROM that an item of mode tlv, fru or legacy describes.
Eeprom eeprom_of(const Item &item, const struct info_ctrl &record);

/// One piece of information (enum e2prom_info_type). A FRU image's device type is the type that
/// the fan_name items give its product name.
Reading read_inventory(const Eeprom &eeprom, std::uint32_t info);

/// "blank: 0xff throughout"; empty where the bytes are not those of an erased or unwritten memory.
std::string blankness(std::span<const std::uint8_t> bytes);

/// Bad data of an EEPROM: what is wrong with it as a whole.
Reading bad_eeprom(const std::string &device, std::uint16_t address, int code,
                   const std::string &flaw);

/// Why the library's query of an EEPROM failed, where it answers: blank, damaged, or without this
/// information.
Reading eeprom_failure(const Eeprom &eeprom, int code);

}  // namespace dfdctl
