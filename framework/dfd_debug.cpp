// SPDX-License-Identifier: MIT
#include "framework/log.h"

static constexpr char kLogFile[] = "framework/dfd_debug.cpp";

uint32_t dfd_debug = 0;
uint32_t dfd_debug_sw = 1;

namespace {

constexpr int kLastDebugType = 4;
constexpr uint32_t kAllLevels = 0x1F;

// Bits that each level of dfd_open_debug adds; level 0 stands for all that only clear.
constexpr uint32_t kLevelBits[] = {0, DFD_DEBUG_ERR | DFD_DEBUG_WARN | DFD_DEBUG_VBOSE,
                                   DFD_DEBUG_SPARE, kAllLevels, DFD_DEBUG_VOL_LOCK};

}  // namespace

int dfd_debug_set(int type, int on) {
    if (type < 0 || type > kLastDebugType) {
        LOG_ERR("unknow dfd debug type=%d\n", type);
        return DFD_ERR_UNUSABLE;
    }
    const uint32_t bit = uint32_t{1} << type;
    dfd_debug = on != 0 ? dfd_debug | bit : dfd_debug & ~bit;
    return DFD_OK;
}

void dfd_open_debug(uint32_t level) {
    if (dfd_debug_sw == 0) {
        return;
    }
    if (level >= 1 && level < sizeof kLevelBits / sizeof kLevelBits[0]) {
        dfd_debug |= kLevelBits[level];
    } else {
        dfd_debug &= ~kAllLevels;
    }
}

void dfd_debug_switch(uint32_t value) {
    dfd_debug_sw = value;
}
