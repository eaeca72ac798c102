// SPDX-License-Identifier: MIT
#include "framework/log.h"

#include <atomic>

static constexpr char kLogFile[] = "framework/dfd_debug.cpp";

uint32_t dfd_debug = 0;
uint32_t dfd_debug_sw = 1;

namespace {

constexpr int kLastDebugType = 4;
constexpr uint32_t kAllLevels = 0x1F;

// Bits that each level of dfd_open_debug adds; level 0 stands for all that only clear.
constexpr uint32_t kLevelBits[] = {0, DFD_DEBUG_ERR | DFD_DEBUG_WARN | DFD_DEBUG_VBOSE,
                                   DFD_DEBUG_SPARE, kAllLevels, DFD_DEBUG_VOL_LOCK};

void change_gate(uint32_t set, uint32_t cleared) {
    const std::atomic_ref gate(dfd_debug);
    gate.fetch_or(set);
    gate.fetch_and(~cleared);
}

}  // namespace

int dfd_debug_set(int type, int on) {
    if (type < 0 || type > kLastDebugType) {
        LOG_ERR("unknow dfd debug type=%d\n", type);
        return DFD_ERR_UNUSABLE;
    }
    const uint32_t bit = uint32_t{1} << type;
    change_gate(on != 0 ? bit : 0, on != 0 ? 0 : bit);
    return DFD_OK;
}

void dfd_open_debug(uint32_t level) {
    if (dfd_debug_sw == 0) {
        return;
    }
    if (level >= 1 && level < sizeof kLevelBits / sizeof kLevelBits[0]) {
        change_gate(kLevelBits[level], 0);
    } else {
        change_gate(0, kAllLevels);
    }
}

void dfd_debug_switch(uint32_t value) {
    dfd_debug_sw = value;
}
