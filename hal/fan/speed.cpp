// SPDX-License-Identifier: MIT
// Counts, speeds, control mode and temperature.
#include "hal/fan/module.h"

namespace {

using dfd::get_item;

// Processor of the engine: the first byte is a level, or the register value of one.
int sdd_get_fan_speed_level_by_buf(uint8_t *buf, int len, int *level) {
    if (buf == nullptr || len < 0 || level == nullptr) {
        LOG_ERR("input arguments error, len=%d\r\n", len);
        return DFD_ERR_ARG;
    }
    if (!dfd::is_configured(DFD_MAKE_KEY(DFD_KEY_FAN_SPEED_LEVEL_SUPPORT, 0, 0))) {
        *level = buf[0];
        return DFD_OK;
    }
    const int rv = dfd_lib_cfg_get_fan_speedlvl_by_regval(buf[0], level);
    if (rv < 0) {
        LOG_ERR("get fan speed level by regval[%d] fail, rv=%d\r\n", buf[0], rv);
        return DFD_ERR_NOT_SUPPORTED;
    }
    return DFD_OK;
}

// The register value of a level; -6 without one.
int sdd_get_fan_speed_regval_by_level(uint32_t level) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_SPEEDLVL_CONVERT, level, 0);
    const int *const regval = get_item<int>(key);
    if (regval == nullptr) {
        LOG_ERR("get fan speed level[%d] regval convert info ctrl fail, key=0x%08x\r\n", level,
                key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    return *regval;
}

}  // namespace

int sdd_get_fan_num(uint32_t fan_id, int *num) {
    if (num == nullptr) {
        return DFD_ERR_ARG;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_SUBFAN_NUM, fan_id, 0);
    if (!dfd::is_configured(key)) {
        *num = 1;
        return DFD_OK;
    }
    return dfd_info_get_int(key, num, nullptr);
}

int sdd_get_sys_fan_num(void) {
    const int *const count = get_item<int>(DFD_MAKE_KEY(DFD_KEY_FAN_NUM, 0, 0));
    return count != nullptr ? *count : 0;
}

int dfd_dev_remap_fanid(uint32_t fan_id) {
    return static_cast<int>(fan_id);
}

int sdd_get_fan_speed(uint32_t fan_id, uint8_t sub_id, int *speed) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_REAL_SPEED, fan_id, sub_id);
    const int rv = dfd_info_get_int(key, speed, nullptr);
    return rv < 0 ? rv : DFD_OK;
}

int sdd_get_fan_speed_level(uint32_t fan_id, uint32_t sub_id, int *level) {
    if (level == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return DFD_ERR_ARG;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_GET_FAN_CFG_SPEED, fan_id, sub_id);
    const int rv = dfd_info_get_int(key, level, sdd_get_fan_speed_level_by_buf);
    if (rv < 0) {
        LOG_ERR("get fan[%d %d] real speed fail, rv=%d\r\n", fan_id, sub_id, rv);
        return rv;
    }
    return DFD_OK;
}

int sdd_set_fan_speed_level(uint32_t fan_id, uint8_t sub_id, uint32_t level) {
    const int regval = sdd_get_fan_speed_regval_by_level(level);
    uint32_t value = static_cast<uint32_t>(regval);
    if (regval == DFD_ERR_NOT_SUPPORTED) {
        value = level;
    } else if (regval < 0) {
        return DFD_ERR_UNUSABLE;
    }
    const int rv = dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_FAN_CFG_SPEED, fan_id, sub_id), value);
    if (rv < 0) {
        LOG_ERR("set fan[fan_id=%d level=%d] fail, rv=%d\r\n", fan_id, level, rv);
        return rv;
    }
    return DFD_OK;
}

int sdd_set_fan_mode(uint32_t mode) {
    return dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_FAN_MODE, 0, 0), mode);
}

int sdd_get_fan_temp(uint32_t fan_id) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_TEMP, fan_id, 0);
    if (!dfd::is_configured(key)) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int temp = 0;
    // A failed read gives an impossible temperature, not a code: callers display it.
    return dfd_info_get_int(key, &temp, nullptr) < 0 ? FAN_TEMP_UNREADABLE : temp;
}
