// SPDX-License-Identifier: MIT
// The LEDs that the library knows.
#pragma once

#include <cstdint>
#include <span>

#include "dfdctl/board/library_calls.hpp"

namespace dfdctl {

struct Led {
    const char *name;
    std::uint32_t type;     ///< enum dfd_led_type
    std::uint32_t control;  ///< key type of what drives it
    std::uint32_t table;    ///< key type of its states
    bool has_units;         ///< one for each tray or supply
};

std::span<const Led> leds();

/// The state that the library takes an LED's register for, by its getter where it has one: a word,
/// "unknown" for a value that is no state's.
Answer led_state(const Led &led, std::uint32_t unit);

}  // namespace dfdctl
