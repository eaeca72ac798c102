// SPDX-License-Identifier: MIT
#include "dfdctl/lint/uses.hpp"

#include <dfd/keys.h>
#include <algorithm>
#include <array>

namespace dfdctl::lint {

namespace {

constexpr std::array<std::uint32_t, 26> kWritten = {
    DFD_KEY_RESET_LC,
    DFD_KEY_RST_MASTER,
    DFD_KEY_MCPU_MASTER_CONFIG,
    DFD_KEY_MCPU_RDY_CONFIG,
    DFD_KEY_BP_CTRL,
    DFD_KEY_MB_STATUS_LED_CTRL,
    DFD_KEY_LC_STATUS_LED_CTRL,
    DFD_KEY_MB_ALARM_LED_CTRL,
    DFD_KEY_MB_FAN_LED_CTRL,
    DFD_KEY_LOCATION_LED_CTRL,
    DFD_KEY_MB_FAN_IN_FAN_LED_CTRL,
    DFD_KEY_FAN_CFG_SPEED,
    DFD_KEY_FAN_MODE,
    DFD_KEY_PORT_SFP_TX,
    DFD_KEY_1ST_IRQ_CLEAR,
    DFD_KEY_2ND_IRQ_CLEAR,
    DFD_KEY_3RD_IRQ_CLEAR,
    DFD_KEY_IRQ_MASK,
    DFD_KEY_MB_PRIMARY_LED_CTRL,
    DFD_KEY_MB_FE_LED_CTRL,
    DFD_KEY_MB_PWR_LED_CTRL,
    DFD_KEY_FE_OFFLINE_LED_CTRL,
    DFD_KEY_SOFT_LED_CTRL,
    DFD_KEY_CARD_POWER_CTRL,
    DFD_KEY_CARD_VOL_LOCK,
    DFD_KEY_E2_WRITE_PROTECT,
};

}  // namespace

bool is_read(std::uint32_t type) {
    return !is_written(type);
}

bool is_written(std::uint32_t type) {
    return std::find(kWritten.begin(), kWritten.end(), type) != kWritten.end();
}

}  // namespace dfdctl::lint
