// SPDX-License-Identifier: MIT
// Conversions of num_buf items, as processors for the library's access engine.
#pragma once

#include <dfd/access.h>

#include "dfdctl/facts.hpp"
#include "dfdctl/keys.hpp"

namespace dfdctl {

/// A processor and how much finer than the unit its numbers are.
struct Conversion {
    dfd_info_num_proc_t processor;
    int scale;
};

/// The conversion of an item; that of a sensor follows its card_temp_info item.
Conversion conversion_of(const Item &item, Convert convert);

/// The first byte as it is.
int first_byte(uint8_t *bytes, int len, int *value);

}  // namespace dfdctl
