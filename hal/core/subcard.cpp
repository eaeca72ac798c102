// SPDX-License-Identifier: MIT
// Sub-cards without a processor: their EEPROM is all that is known of them.
#include "framework/platform.h"
#include "hal/core/module.h"

namespace {

constexpr uint32_t kFirstSubSlot = 1;
constexpr uint32_t kLastSubSlot = 8;
constexpr int kTypeAttempts = 2;
constexpr unsigned kRetryPause_us = 100000;

bool is_sub_slot(uint32_t sslot) {
    return sslot >= kFirstSubSlot && sslot <= kLastSubSlot;
}

const info_ctrl_t *find_subcard_e2prom(uint32_t sslot) {
    return dfd::get_item<info_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_SSLOT_E2PROM, sslot, 0));
}

// Read as a TLV image whatever .mode says; only the writer follows the mode.
int query(const info_ctrl_t &e2prom, uint32_t type, void *buf, int *len) {
    return sdd_get_e2prom_info_by_type(e2prom.fpath, type, static_cast<uint16_t>(e2prom.addr), buf,
                                       len);
}

// A text of a sub-card; `what` completes the message of a failed query.
int get_text(const char *func, uint32_t sslot, uint32_t type, const char *what, char *buf,
             int *len) {
    if (buf == nullptr || len == nullptr || !is_sub_slot(sslot)) {
        LOG_ERR_IN(func, "input arguments error, sslot=%d\r\n", sslot);
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const e2prom = find_subcard_e2prom(sslot);
    if (e2prom == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (query(*e2prom, type, buf, len) != DFD_OK) {
        LOG_ERR_IN(func, "get sub slot[%d] %s faile\r\n", sslot, what);
        return DFD_ERR_UNUSABLE;
    }
    return DFD_OK;
}

int write_info(const info_ctrl_t &e2prom, const char *sn, const char *hw) {
    const auto addr = static_cast<uint16_t>(e2prom.addr);
    switch (e2prom.mode) {
        case INFO_CTRL_MODE_TLV:
            return dfd_set_card_info_tlv(e2prom.fpath, addr, sn, hw);
        case INFO_CTRL_MODE_FRU:
            return dfd_set_card_info_fru(e2prom.fpath, addr, sn, hw);
        default:
            return DFD_ERR_NOT_SUPPORTED;
    }
}

}  // namespace

int sdd_get_sub_unintlg_lc_info(uint32_t /*slot*/, uint32_t sslot, uint32_t *type, void *aux) {
    if (type == nullptr || aux == nullptr || !is_sub_slot(sslot)) {
        LOG_ERR("input argument error, sslot=%d\r\n", sslot);
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const e2prom = find_subcard_e2prom(sslot);
    if (e2prom == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    // Both attempts are always made, and the second one counts: a card that is being pulled answers
    // once more.
    int rv = DFD_ERR;
    uint32_t value = 0;
    for (int i = 0; i < kTypeAttempts; ++i) {
        int len = sizeof value;
        rv = query(*e2prom, E2PROM_INFO_DEV_TYPE, &value, &len);
        if (rv != DFD_OK) {
            LOG_ERR("i %d get sub slot[%d] type failed, retry again\r\n", i, sslot);
            dfd::pause_us(kRetryPause_us);
        }
    }
    if (rv != DFD_OK) {
        LOG_ERR("get sub slot[%d] type failed\r\n", sslot);
        return DFD_ERR_UNUSABLE;
    }
    *type = value;
    return DFD_OK;
}

int sdd_get_sub_unintlg_sn(uint32_t sslot, char *buf, int *len) {
    return get_text(__func__, sslot, E2PROM_INFO_SN, "sn", buf, len);
}

int sdd_get_sub_unintlg_hw_ver(uint32_t sslot, char *buf, int *len) {
    return get_text(__func__, sslot, E2PROM_INFO_HW_VER, "hw ver", buf, len);
}

int sdd_set_sub_unintlg_info(uint32_t sslot, const char *sn, const char *hw) {
    const info_ctrl_t *const e2prom = find_subcard_e2prom(sslot);
    if (e2prom == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    dfd_ctl_e2_write_pro(DFD_WP_SUBCARDS, 0);
    const int rv = write_info(*e2prom, sn, hw);
    dfd_ctl_e2_write_pro(DFD_WP_SUBCARDS, 1);
    return rv;
}
