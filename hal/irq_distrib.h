// SPDX-License-Identifier: MIT
// Interrupt type of every source position.
#pragma once

#include <cstdint>

namespace dfd {

inline constexpr int kIrqBits = 8;  // bits of a status register, at each of the three levels

inline constexpr uint32_t kIrqMaskEntries = 16;  // masks of one source position

// Indexed by first-, second- and third-level bit. A position that no line set holds 0, which is
// also the type "card".
extern int32_t g_irq_type_distrib[kIrqBits][kIrqBits][kIrqBits];

}  // namespace dfd
