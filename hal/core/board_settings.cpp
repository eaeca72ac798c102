// SPDX-License-Identifier: MIT
// Constants, flags and version dates of the board; SFP ports; the reset button.
#include <cstring>

#include "hal/core/module.h"

namespace {

constexpr int kDefaultDistFinishTime = 480;
constexpr int kDefaultVsdNum = 1;
constexpr uint32_t kDateSize = 21;

// BCD bytes of a version date as digits, two for each byte of the item's .len. The caller's
// capacity is not used: the item's .len gives the length.
int get_ver_date(uint32_t type, char *text, int *len) {
    const uint32_t key = DFD_MAKE_KEY(type, 0, 0);
    const auto *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (text == nullptr || len == nullptr) {
        return DFD_ERR_ARG;
    }
    uint8_t date[kDateSize] = {};
    const int rv = dfd_info_get_buf(key, date, sizeof date, nullptr);
    if (rv < 0) {
        return rv;
    }
    // The engine has refused any .len beyond the date.
    for (uint32_t i = 0; i < ctrl->len; ++i) {
        *text++ = static_cast<char>('0' + (date[i] >> 4));
        *text++ = static_cast<char>('0' + (date[i] & 0x0F));
    }
    *len = static_cast<int>(2 * ctrl->len);
    return DFD_OK;
}

// Reads an integer of the board into the caller's variable.
int get_flag(uint32_t type, int *value) {
    const uint32_t key = DFD_MAKE_KEY(type, 0, 0);
    if (!dfd::is_configured(key)) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    return dfd_info_get_int(key, value, nullptr);
}

bool fill_from_item(uint32_t type, int *value) {
    const int *const item = dfd::get_item<int>(DFD_MAKE_KEY(type, 0, 0));
    if (item != nullptr) {
        *value = *item;
    }
    return item != nullptr;
}

}  // namespace

int sdd_get_cpld_ver_date(char *text, int *len) {
    return get_ver_date(DFD_KEY_CPLD_VER_DATE, text, len);
}

int sdd_get_fpga_ver_date(char *text, int *len) {
    return get_ver_date(DFD_KEY_FPGA_VER_DATE, text, len);
}

int sdd_mb_is_compatible(int a, int b) {
    return a == b ? 1 : 0;
}

int sdd_get_support_lc_hwhb(int *flag) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_SUPPORT_LC_HWHB, 0, 0);
    if (!dfd::is_configured(key)) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (flag == nullptr) {
        return DFD_ERR_ARG;
    }
    int value = 0;
    const int rv = dfd_info_get_int(key, &value, nullptr);
    // Inverted from the register: 1 there says that the heartbeat is not supported.
    *flag = value != 1 ? 1 : 0;
    return rv;
}

int sdd_get_eeprom_fail_status(int *value) {
    return get_flag(DFD_KEY_EEPROM_FAIL_STATUS, value);
}

int sdd_get_mb_temp_fail_status(int *value) {
    return get_flag(DFD_KEY_MB_TEMP_FAIL_STATUS, value);
}

int sdd_get_vsd_support_num(int *count) {
    if (count != nullptr) {
        *count = dfd::int_item_or(DFD_KEY_VSD_SUPPORT_NUM, kDefaultVsdNum);
    }
    return DFD_OK;
}

int sdd_get_mgmt_mtu_range(int /*slot*/, int *min, int *max, int *def) {
    if (min == nullptr || max == nullptr || def == nullptr) {
        return DFD_ERR;
    }
    const bool has_min = fill_from_item(DFD_KEY_MGMT_MIN_MTU, min);
    const bool has_max = fill_from_item(DFD_KEY_MGMT_MAX_MTU, max);
    const bool has_def = fill_from_item(DFD_KEY_MGMT_DEF_MTU, def);
    return has_min && has_max && has_def ? DFD_OK : DFD_ERR_NOT_SUPPORTED;
}

int sdd_get_cfg_dist_finish_time(void) {
    return dfd::int_item_or(DFD_KEY_CFG_DIST_FINISH_TIME, kDefaultDistFinishTime);
}

int dfd_port_get_sfp_present(uint32_t lport, uint8_t *present) {
    int value = 0;
    const int rv =
        dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_PORT_SFP_STATE, lport, 0), &value, nullptr);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        LOG_ERR("sfp lport[%d] state not support\r\n", lport);
        return rv;
    }
    if (rv < 0) {
        LOG_ERR("get sfp lport[%d] state fail, rv=%d\r\n", lport, rv);
        return DFD_ERR_IO;
    }
    if (present == nullptr) {
        return DFD_ERR_ARG;
    }
    *present = value != 0 ? 1 : 0;
    return DFD_OK;
}

int dfd_port_set_sfp_tx(uint32_t lport, int enable) {
    const uint32_t value = enable != 0 ? 1 : 0;
    const int rv = dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_PORT_SFP_TX, lport, 0), value);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        LOG_ERR("set lport sfp tx[%d] not support\r\n", lport);
        return rv;
    }
    if (rv < 0) {
        LOG_ERR("set lport sfp tx[lport=%d reg_val=%d] fail, rv=%d\r\n", lport, value, rv);
        return rv;
    }
    return DFD_OK;
}

int drv_get_reset_button_type(void) {
    int type = 0;
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_RESET_BUTTON_TYPE, 0, 0), &type, nullptr);
    if (rv < 0) {
        LOG_ERR("get type buf fail, rv=%d\r\n", rv);
        return DFD_RESET_BUTTON_NONE;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_RESET_BUTTON_TP_STR, type, 0);
    const char *const text = dfd::get_item<char>(key);
    if (text == nullptr) {
        LOG_ERR("get type[%d] info ctrl fail, key=0x%08x\r\n", type, key);
        return DFD_RESET_BUTTON_NONE;
    }
    if (std::strncmp(text, "long", 4) == 0) {
        return DFD_RESET_BUTTON_LONG;
    }
    return std::strncmp(text, "short", 5) == 0 ? DFD_RESET_BUTTON_SHORT : DFD_RESET_BUTTON_NONE;
}
