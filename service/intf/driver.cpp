// SPDX-License-Identifier: MIT
// The drv_* interface: forwards, and the adaptations that are part of its contract.
#include <dfd/dfd.h>

#include <cstring>

#include "service/intf/module.h"

int drv_get_my_dev_type(void) {
    return sdd_get_my_card_type();
}

int drv_get_bp_mac(uint32_t id, uint8_t *buf, int len) {
    constexpr uint32_t kBackplanes = 2;
    backplane_info_t record{};
    if (buf == nullptr || len < static_cast<int>(sizeof record.mac) || id < 1 || id > kBackplanes) {
        LOG_VBOSE("fail buf == NULL OR buf_len = %d OR id = %d\r\n", len, id);
        return DFD_ERR_UNUSABLE;
    }
    if (sdd_get_backplane_info(id, &record) != DFD_OK) {
        LOG_VBOSE("drv_get_backplane_info id = %d, fail\r\n", id);
        return DFD_ERR_IO;
    }
    std::memcpy(buf, record.mac, sizeof record.mac);
    return DFD_OK;
}
