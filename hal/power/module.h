// SPDX-License-Identifier: MIT
// Power supply module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/item.h"
#include "framework/log.h"

static constexpr char kLogFile[] = "hal/power.cpp";

namespace dfd::power {

// Reads the value of an item in mode tlv. The entry type is the record's spare word, always 0:
// images of supplies keep the value in entry 0.
inline int read_tlv(const info_ctrl_t &ctrl, void *buf, int *len) {
    return sdd_get_e2prom_info_by_type(ctrl.fpath, ctrl.spare, static_cast<uint16_t>(ctrl.addr),
                                       buf, len);
}

}  // namespace dfd::power
