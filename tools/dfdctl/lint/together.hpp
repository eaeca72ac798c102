// SPDX-License-Identifier: MIT
// The families of items that belong together.
#pragma once

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

void check_needs(Check &check);  ///< the table of pairs
void check_leds(Check &check);
void check_sensors(Check &check);
void check_fans(Check &check);
void check_power(Check &check);
void check_cards(Check &check);
void check_inventory(Check &check);
void check_images(Check &check);
void check_numbers(Check &check);
void check_irq_sources(Check &check);
void check_irq_masks(Check &check);

}  // namespace dfdctl::lint
