// SPDX-License-Identifier: MIT
// Presence and health of a tray and its rotors.
#include <algorithm>

#include "hal/fan/module.h"

namespace {

using dfd::get_item;

constexpr int kBitmapBits = 32;

// 1 for a rotor that failed, 0 for a healthy one, or a negative code.
int judge_rotor(const char *func, uint32_t fan_id, int rotor, int floor) {
    int speed = 0;
    int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_FAN_REAL_SPEED, fan_id, rotor), &speed, nullptr);
    // Only a missing item excuses a rotor: one that cannot be read counts as standing still.
    if (rv == DFD_ERR_NOT_SUPPORTED || speed >= floor) {
        return 0;
    }
    int level = 0;
    rv = sdd_get_fan_speed_level(fan_id, static_cast<uint32_t>(rotor), &level);
    if (rv < 0) {
        LOG_ERR_IN(func, "get fan[%d %d] speed level fail, rv=%d\r\n", fan_id, rotor, rv);
        return rv;
    }
    return level > 0 ? 1 : 0;
}

// Failed rotors by their speed; -6 without a floor, and also for a slow rotor without a configured
// level: boards rely on that to fall back to their failure flag. *bitmap is not written on failure.
int sdd_get_fan_fail_status_by_speed(uint32_t fan_id, int *bitmap) {
    const int *const floor = get_item<int>(DFD_MAKE_KEY(DFD_KEY_FAN_SPEED_FLOOR, 0, 0));
    if (floor == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int count = 1;
    if (sdd_get_fan_num(fan_id, &count) < 0) {
        count = 1;
    }
    uint32_t failed = 0;
    // Rotors beyond the bitmap cannot be configured.
    for (int rotor = 1; rotor <= std::min(count, kBitmapBits); ++rotor) {
        const int judgement = judge_rotor(__func__, fan_id, rotor, *floor);
        if (judgement < 0) {
            return judgement;
        }
        failed |= static_cast<uint32_t>(judgement) << (rotor - 1);
    }
    *bitmap = static_cast<int>(failed);
    return DFD_OK;
}

// A flag, or the bitmap of the failed rotors.
int sdd_get_fan_fail_status(uint32_t fan_id, int *fail) {
    const int by_speed = sdd_get_fan_fail_status_by_speed(fan_id, fail);
    if (by_speed != DFD_ERR_NOT_SUPPORTED) {
        return by_speed;
    }
    const int rv =
        dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_FAN_FAIL_STATUS, fan_id, 0), fail, nullptr);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        *fail = 0;
        return DFD_OK;
    }
    if (rv < 0) {
        LOG_ERR("get fan[%d] state fail, rv=%d\r\n", fan_id, rv);
        return DFD_ERR_IO;
    }
    return DFD_OK;
}

}  // namespace

int sdd_get_fan_status(uint32_t fan_id) {
    int state = 0;
    int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_FAN_STATE, fan_id, 0), &state, nullptr);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        LOG_ERR("fan[%d] state not support\r\n", fan_id);
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (rv < 0) {
        LOG_ERR("get fan[%d] state fail, rv=%d\r\n", fan_id, rv);
        return DFD_ERR_IO;
    }
    if (state == 0) {
        return FAN_STATUS_ABSENT;
    }
    int fail = 0;
    rv = sdd_get_fan_fail_status(fan_id, &fail);
    if (rv < 0) {
        LOG_ERR("get fan[%d] fail bmp fail, rv=%d\r\n", fan_id, rv);
        return rv;
    }
    if (fail != 0) {
        return FAN_STATUS_FAIL;
    }
    int line_fail = 0;
    rv = sdd_get_fan_line_fail_status(fan_id, &line_fail);
    if (rv < 0) {
        LOG_ERR("get fan[%d] line fail status fail, rv=%d\r\n", fan_id, rv);
        return rv;
    }
    return line_fail != 0 ? FAN_STATUS_LINE_FAIL : state;
}

int sdd_get_fan_line_fail_status(uint32_t fan_id, int *fail) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_LINE_FAIL, fan_id, 0);
    const auto *const ctrl = get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_OK;
    }
    const bool is_i2c = ctrl->src == INFO_SRC_I2C;
    const int rv = dfd_info_get_int(key, fail, nullptr);
    if (rv >= 0) {
        // A device that answers has power, whatever it says.
        *fail = is_i2c ? 0 : *fail;
        return DFD_OK;
    }
    if (rv != DFD_ERR_IO) {
        LOG_ERR("get fan[%d] line fail state fail, rv=%d\r\n", fan_id, rv);
        return rv;
    }
    LOG_ERR("read fan[%d] line fail state fail\r\n", fan_id);
    if (!is_i2c) {
        return DFD_ERR_IO;
    }
    *fail = 1;
    return DFD_OK;
}

int sdd_get_fan_fail_bmp(uint32_t fan_id, int *bitmap) {
    if (bitmap == nullptr) {
        return DFD_ERR_ARG;
    }
    *bitmap = 0;
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_FAIL_BMP, fan_id, 0);
    if (dfd::is_configured(key)) {
        return dfd_info_get_int(key, bitmap, nullptr);
    }
    const int by_speed = sdd_get_fan_fail_status_by_speed(fan_id, bitmap);
    if (by_speed != DFD_ERR_NOT_SUPPORTED) {
        return by_speed;
    }
    const int status = sdd_get_fan_status(fan_id);
    if (status < 0) {
        LOG_ERR("dfd get fan status failed.\n");
        return DFD_ERR;
    }
    if (status == FAN_STATUS_ABSENT) {
        return DFD_ERR;
    }
    if (status == FAN_STATUS_FAIL) {
        *bitmap = 1;
    }
    // The state, not 0: callers on boards without a bitmap distinguish failure and line failure by
    // it.
    return status;
}
