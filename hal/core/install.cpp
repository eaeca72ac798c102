// SPDX-License-Identifier: MIT
// Chip family and fabric mode: what the platform installs, kept for the life of the process.
#include <atomic>

#include "framework/state.h"
#include "hal/core/module.h"

namespace {

constexpr uint32_t kMaxChipMode = 7;

// One word for both names, chip family and system chip mode: platforms set one and read the other.
DFD_STATE std::atomic<uint32_t> g_chip_mode;
DFD_STATE std::atomic<uint32_t> g_fabric_mode;

bool is_fabric_mode(uint32_t mode) {
    return (mode >= 81 && mode <= 88) || mode == 102;
}

}  // namespace

int sdd_install_card_chip_family(uint32_t mask) {
    if (const uint32_t installed = g_chip_mode; installed != 0) {
        return (installed & mask) != 0 ? DFD_OK : DFD_ERR_CONFLICT;
    }
    const int *const family = dfd::get_item<int>(DFD_MAKE_KEY(DFD_KEY_CHIP_FAMILY, 0, 0));
    if (family == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    // The first install is not compared with the board's family.
    g_chip_mode = static_cast<uint32_t>(*family);
    return DFD_OK;
}

int sdd_set_sys_chip_mode(uint32_t mode) {
    if (mode > kMaxChipMode) {
        return DFD_ERR_ARG;
    }
    g_chip_mode = mode;
    return DFD_OK;
}

int sdd_get_sys_chip_mode(uint32_t *mode) {
    if (mode == nullptr) {
        return DFD_ERR;
    }
    *mode = g_chip_mode;
    return DFD_OK;
}

int sdd_install_ca_fe(uint32_t mode) {
    if (!is_fabric_mode(mode)) {
        return DFD_ERR_ARG;
    }
    uint32_t installed = 0;
    const bool is_first = g_fabric_mode.compare_exchange_strong(installed, mode);
    return is_first || installed == mode ? DFD_OK : DFD_ERR_CONFLICT;
}

int sdd_set_ca_sys_fe_mode(uint32_t mode) {
    if (mode != 0 && !is_fabric_mode(mode)) {
        return DFD_ERR_ARG;
    }
    g_fabric_mode = mode;
    return DFD_OK;
}

int sdd_get_ca_sys_fe_mode(uint32_t *mode) {
    if (mode == nullptr) {
        return DFD_ERR;
    }
    *mode = g_fabric_mode;
    return DFD_OK;
}
