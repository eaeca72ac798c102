// SPDX-License-Identifier: MIT
// Inventory EEPROM module: what its files share.
#pragma once

#include <dfd/inventory.h>

#include "framework/log.h"

static constexpr char kLogFile[] = "hal/e2prom.cpp";

namespace dfd {

inline constexpr int kE2promSize = 256;

}  // namespace dfd
