// SPDX-License-Identifier: MIT
// Inventory EEPROM module: what its files share.
#pragma once

#include <dfd/inventory.h>

#include <span>

#include "framework/log.h"

static constexpr char kLogFile[] = "hal/e2prom.cpp";

namespace dfd {

inline constexpr int kE2promSize = 256;

// The EEPROM that a call works on, and the exported function that log readers know.
struct E2prom {
    const char *func;
    const char *dev;
    uint16_t addr;

    int load(int offset, std::span<uint8_t> bytes) const {
        return dfd_read_e2prom(dev, addr, offset, bytes.data(), static_cast<int>(bytes.size()));
    }
    int store(int offset, std::span<const uint8_t> bytes) const {
        return dfd_write_e2prom(dev, addr, offset, bytes.data(), static_cast<int>(bytes.size()));
    }
};

}  // namespace dfd
