// SPDX-License-Identifier: MIT
// Power of cards: what they are rated for, and whether they are on.
#include "hal/core/module.h"

namespace {

// Rated power of a card by the register value of its power class.
int sdd_get_card_rate_power(uint8_t *buf, int len, int *power) {
    if (buf == nullptr || len < 0 || power == nullptr) {
        LOG_ERR("input arguments error, len=%d\r\n", len);
        return DFD_ERR_ARG;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_POWER_REGVAL_CONVERT, buf[0], 0);
    const int *const rated = dfd::get_item<int>(key);
    if (rated == nullptr) {
        LOG_ERR("get power regval convert info ctrl fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    *power = *rated;
    return DFD_OK;
}

int sdd_get_card_power_lack(int vslot, int *lack) {
    if (lack == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return DFD_ERR_ARG;
    }
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_CARD_POWER_LACK, vslot, 0), lack, nullptr);
    if (rv < 0) {
        LOG_ERR("get card[%d] power lack fail, rv=%d\r\n", vslot, rv);
        return rv;
    }
    return DFD_OK;
}

}  // namespace

int sdd_get_card_power_consume(int slot, int *power) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_CARD_RATE_POWER, sdd_get_virtual_slotid(slot), 0);
    const auto *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (power == nullptr) {
        return DFD_ERR_ARG;
    }
    if (ctrl->mode == INFO_CTRL_MODE_CONSTANT) {
        *power = ctrl->int_cons;
        return DFD_OK;
    }
    return dfd_info_get_int(key, power, sdd_get_card_rate_power);
}

int sdd_get_card_power_status(int slot, int *status) {
    constexpr int kCardPresent = 1;
    if (status == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return DFD_ERR_ARG;
    }
    if (slot == sdd_get_my_slotid()) {
        *status = DFD_CARD_POWER_ON;
        return DFD_OK;
    }
    if (sdd_get_sslot_state(static_cast<uint32_t>(slot)) != kCardPresent) {
        *status = DFD_CARD_POWER_NONE;
        return DFD_OK;
    }
    const int vslot = sdd_get_virtual_slotid(slot);
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_STATUS, vslot, 0);
    if (!dfd::is_configured(key)) {
        *status = DFD_CARD_POWER_NONE;
        return DFD_OK;
    }
    int value = 0;
    const int rv = dfd_info_get_int(key, &value, nullptr);
    if (rv < 0) {
        return rv;
    }
    if (value != 0) {
        *status = DFD_CARD_POWER_ON;
        return DFD_OK;
    }
    int lack = 0;
    *status = sdd_get_card_power_lack(vslot, &lack) == DFD_OK && lack != 0
                  ? DFD_CARD_POWER_OFF_FOR_LACK
                  : DFD_CARD_POWER_OFF;
    return DFD_OK;
}

int sdd_get_my_rate_power(int *power) {
    if (power == nullptr) {
        LOG_ERR("input argument error\r\n");
        return DFD_ERR_ARG;
    }
    const int type = sdd_get_my_card_type();
    if (type < 0) {
        LOG_ERR("get my card type fail, rv=0x%08x\r\n", static_cast<unsigned>(type));
        return DFD_ERR_IO;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_MY_RATE_POWER, type, 0);
    const int *const rated = dfd::get_item<int>(key);
    if (rated == nullptr) {
        LOG_ERR("get my power info ctrl fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    *power = *rated;
    return DFD_OK;
}
