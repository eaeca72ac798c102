// SPDX-License-Identifier: MIT
#include "hal/irq_distrib.h"
#include "framework/state.h"

#include <dfd/access.h>

DFD_STATE int32_t dfd::g_irq_type_distrib[kIrqBits][kIrqBits][kIrqBits];

void dfd_irq_set_type_distrib(uint32_t type, int index1, int index2) {
    const int i = (index1 >> 8) & 0xFF;
    const int j = index1 & 0xFF;
    const int k = index2;
    // The index limits of irq_info lines are wider than the table.
    if (i >= dfd::kIrqBits || j >= dfd::kIrqBits || k < 0 || k >= dfd::kIrqBits) {
        return;
    }
    dfd::g_irq_type_distrib[i][j][k] = static_cast<int32_t>(type);
}
