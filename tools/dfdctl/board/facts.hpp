// SPDX-License-Identifier: MIT
// What is known of the meaning of a key type beyond its record: unit, what an inventory EEPROM
// is asked for. One row a key type; types without a row are plain numbers.
#pragma once

#include <cstdint>
#include <string_view>

namespace dfdctl {

/// Which legacy layout an EEPROM of this key type has.
enum class Legacy { none, fan, power };

struct Facts {
    std::uint32_t type;
    std::string_view unit = {};
    std::uint32_t info = 0;  ///< enum e2prom_info_type; 0: no inventory information
    Legacy legacy = Legacy::none;
    std::uint32_t led_table = 0;       ///< key type of the LED's value table
    std::uint32_t type_names = 0;      ///< string items that name the values, by index1
    std::uint32_t writes_protect = 0;  ///< target of dfd_ctl_e2_write_pro + 1; 0: not writable
};

const Facts &facts_of(std::uint32_t type);

/// Key type whose item of the same index1 says whether the unit (tray, supply) is there; 0: none.
std::uint32_t presence_type_of(std::uint32_t type);

}  // namespace dfdctl
