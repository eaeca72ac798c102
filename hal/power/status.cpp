// SPDX-License-Identifier: MIT
// Presence and health of a supply.
#include "hal/power/module.h"

namespace {

constexpr int kFailFlag = 16;  // bit of the failure value with a status of its own

// Composed states of a present supply.
constexpr int kComposedGood = 3;
constexpr int kComposedNotGood = 4;

int read_state(const info_ctrl_t &state, uint32_t power_id, int *value) {
    if (state.mode == INFO_CTRL_MODE_FUNC) {
        return sdd_func_get_power_status(power_id, value);
    }
    return dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_STATE, power_id, 0), value, nullptr);
}

// The name stands in messages: log filters rely on it.
int sdd_get_power_line_fail_status(uint32_t power_id, int *fail) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_POWER_LINE_FAIL, power_id, 0);
    const info_ctrl_t *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        LOG_ERR("get power[%d] line fail info ctrl fail, key=0x%08x\r\n", power_id, key);
        *fail = 0;
        return DFD_ERR_NOT_SUPPORTED;
    }
    const bool has_failed = dfd_info_get_int(key, fail, nullptr) < 0;
    if (ctrl->src == INFO_SRC_I2C) {
        // A supply without input does not answer on its bus; what it answers does not count.
        *fail = has_failed ? 1 : 0;
        return DFD_OK;
    }
    return has_failed ? DFD_ERR : DFD_OK;
}

int line_status(uint32_t power_id) {
    int has_line_failed = 0;
    const int rv = sdd_get_power_line_fail_status(power_id, &has_line_failed);
    if (rv < 0 && rv != DFD_ERR_NOT_SUPPORTED) {
        return rv;
    }
    return has_line_failed != 0 ? POWER_STATUS_LINE_FAILED : POWER_STATUS_NORMAL;
}

}  // namespace

int sdd_get_power_present(uint32_t power_id) {
    int value = 0;
    const int rv =
        dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_PRESENT, power_id, 0), &value, nullptr);
    if (rv < 0) {
        return rv;
    }
    return value != 0 ? 1 : 0;
}

int sdd_func_get_power_status(uint32_t power_id, int *status) {
    int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_PRESENT, power_id, 0), status, nullptr);
    if (rv < 0) {
        return rv;
    }
    if (*status == 0) {
        return DFD_OK;
    }
    rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_STATE, power_id, 0), status, nullptr);
    if (rv < 0) {
        return rv;
    }
    *status = *status != 0 ? kComposedGood : kComposedNotGood;
    return rv;
}

int sdd_get_power_status(uint32_t power_id) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_POWER_STATE, power_id, 0);
    const info_ctrl_t *const state = dfd::get_item<info_ctrl_t>(key);
    if (state == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int value = 0;
    if (const int rv = read_state(*state, power_id, &value); rv < 0) {
        return rv;
    }
    if (value == 0) {
        return POWER_STATUS_ABSENT;
    }
    int fail = 0;
    if (const int rv = sdd_get_power_fail_status(power_id, &fail); rv < 0) {
        return rv;
    }
    if (fail != 0) {
        return (fail & kFailFlag) != 0 ? POWER_STATUS_FAILED_FLAGGED : POWER_STATUS_FAILED;
    }
    return line_status(power_id);
}

int sdd_get_power_fail_status(uint32_t power_id, int *fail) {
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_POWER_FAIL, power_id, 0), fail, nullptr);
    return rv == DFD_ERR_NOT_SUPPORTED ? DFD_OK : rv;
}
