// SPDX-License-Identifier: MIT
// Power supply module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/item.h"
#include "framework/log.h"

static constexpr char kLogFile[] = "hal/power.cpp";

namespace dfd::power {

// What an item in mode tlv stands for. The entry asked for is the record's spare word, always 0:
// images of supplies rely on their value being looked up under entry 0.
inline int read_tlv(const info_ctrl_t &ctrl, void *buf, int *len) {
    return sdd_get_e2prom_info_by_type(ctrl.fpath, ctrl.spare, static_cast<uint16_t>(ctrl.addr),
                                       buf, len);
}

}  // namespace dfd::power
