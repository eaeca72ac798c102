// SPDX-License-Identifier: MIT
// Write-protect signals of groups of EEPROMs.
#include <dfd/access.h>
#include <dfd/keys.h>

#include "hal/e2prom/module.h"

namespace {

constexpr uint32_t kProtected = 255;
constexpr uint32_t kUnprotected = 0;

int write_signal(uint32_t index, uint32_t value) {
    return dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_E2_WRITE_PROTECT, index, 0), value);
}

int write_board(const char *func, uint32_t value) {
    const int rv = write_signal(DFD_WP_BOARD, value);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        LOG_ERR_IN(func, "set board e2 write proctect not support\r\n");
    } else if (rv < 0) {
        LOG_ERR_IN(func, "set board e2 write proctect fail, rv=%d\r\n", rv);
    }
    return rv;
}

// Signals that are switched together.
struct Group {
    uint32_t first;
    uint32_t last;
    const char *name;  // in the message of a failed write; null: failures are silent
};

constexpr Group kFans = {1, 4, nullptr};
constexpr Group kSubcards = {6, 8, "subcard"};
constexpr Group kBackplane = {10, 10, "backplane"};

// One signal that can be written is enough: a board variant without one of the EEPROMs must not
// block writing the others.
int write_group(const char *func, const Group &group, uint32_t value) {
    bool any_written = false;
    for (uint32_t index = group.first; index <= group.last; ++index) {
        const int rv = write_signal(index, value);
        if (rv >= 0) {
            any_written = true;
        } else if (group.name != nullptr) {
            LOG_ERR_IN(func, "set %s%d e2 write proctect fail, rv=%d\r\n", group.name, index, rv);
        }
    }
    return any_written ? DFD_OK : DFD_ERR_NOT_SUPPORTED;
}

}  // namespace

int dfd_ctl_e2_write_pro(int target, int enable) {
    const uint32_t value = enable != 0 ? kProtected : kUnprotected;
    switch (target) {
        case DFD_WP_BOARD:
            return write_board(__func__, value);
        case DFD_WP_FANS:
            return write_group(__func__, kFans, value);
        case DFD_WP_SUBCARDS:
            return write_group(__func__, kSubcards, value);
        case DFD_WP_BACKPLANE:
            return write_group(__func__, kBackplane, value);
        default:
            return DFD_ERR_NOT_SUPPORTED;
    }
}
