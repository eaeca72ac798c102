// SPDX-License-Identifier: MIT
// Power of the whole system: figures of the board's power logic, bypass, environment.
#include "hal/power/module.h"

namespace {

constexpr uint32_t kSystem = 0;  // index of what there is once

// Bits 3 to 9 of the environment temperature register are whole degrees.
constexpr int kFractionBits = 3;
constexpr int kWholeDegrees = 0x7F;

int get_figure(uint32_t type, uint32_t index, int *out) {
    return dfd::read_item(DFD_MAKE_KEY(type, index, 0), out);
}

}  // namespace

int sdd_get_sys_power_rsupply(int *out) {
    return get_figure(DFD_KEY_SYS_POWER_RSUPPLY, kSystem, out);
}

int sdd_get_sys_power_osupply(int *out) {
    return get_figure(DFD_KEY_SYS_POWER_OSUPPLY, kSystem, out);
}

int sdd_get_sys_power_ssupply(int *out) {
    return get_figure(DFD_KEY_SYS_POWER_SSUPPLY, kSystem, out);
}

int sdd_get_sys_power_rdn_num(int *out) {
    return get_figure(DFD_KEY_SYS_POWER_RDN_NUM, kSystem, out);
}

int sdd_get_sys_power_mix_state(int *out) {
    return get_figure(DFD_KEY_SYS_POWER_MIX_STATE, kSystem, out);
}

int sdd_get_sys_power_lack_state(int *out) {
    if (out == nullptr) {
        return DFD_ERR_ARG;
    }
    const int rv = get_figure(DFD_KEY_SYSTEM_POWER_LACK, kSystem, out);
    return rv < 0 ? rv : DFD_OK;
}

// The two keys look swapped: configurations rely on bypass_state for one supply and on
// power_bypass_state for the system.
int sdd_get_bypass_power_state(uint32_t power_id, int *out) {
    return get_figure(DFD_KEY_BYPASS_STATE, power_id, out);
}

int sdd_get_system_bypass_state(int *out) {
    return get_figure(DFD_KEY_POWER_BYPASS_STATE, kSystem, out);
}

int sdd_get_is_module_power(uint8_t *out) {
    if (out == nullptr) {
        return DFD_ERR_ARG;
    }
    const int *const configured =
        dfd::get_item<int>(DFD_MAKE_KEY(DFD_KEY_IS_MODULE_POWER, kSystem, 0));
    if (configured == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    *out = *configured != 0 ? 1 : 0;
    return DFD_OK;
}

int sdd_get_env_temp(void) {
    int value = 0;
    const int rv =
        dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_ENV_TEMP, kSystem, 0), &value, nullptr);
    return rv < 0 ? rv : (value >> kFractionBits) & kWholeDegrees;
}
