// SPDX-License-Identifier: MIT
// Fan module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/item.h"
#include "framework/log.h"

static constexpr char kLogFile[] = "hal/fan.cpp";

namespace dfd::fan {

// The I2C address of a tray's EEPROM.
inline uint16_t e2prom_addr(const info_ctrl_t &ctrl) {
    return static_cast<uint16_t>(ctrl.addr);
}

}  // namespace dfd::fan
