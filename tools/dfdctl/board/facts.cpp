// SPDX-License-Identifier: MIT
#include "dfdctl/board/facts.hpp"

#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <algorithm>
#include <array>

namespace dfdctl {

namespace {

constexpr std::uint32_t kFanProtect = DFD_WP_FANS + 1;

constexpr Facts led(std::uint32_t control, std::uint32_t table) {
    return {.type = control, .led_table = table};
}

constexpr Facts unit(std::uint32_t type, std::string_view name) {
    return {.type = type, .unit = name};
}

constexpr Facts inventory(std::uint32_t type, std::uint32_t info, Legacy legacy) {
    return {.type = type, .info = info, .legacy = legacy};
}

constexpr Facts fan_inventory(std::uint32_t type, std::uint32_t info) {
    return {.type = type, .info = info, .legacy = Legacy::fan, .writes_protect = kFanProtect};
}

constexpr std::array kFacts = {
    unit(DFD_KEY_MGMT_DEF_MTU, "bytes"),
    unit(DFD_KEY_MGMT_MIN_MTU, "bytes"),
    unit(DFD_KEY_MGMT_MAX_MTU, "bytes"),
    unit(DFD_KEY_CURRENT_VOLTAGE, "V"),
    Facts{.type = DFD_KEY_POWER_TYPE,
          .info = E2PROM_INFO_NAME,
          .legacy = Legacy::power,
          .type_names = DFD_KEY_POWER_ATTR_TYPE},
    unit(DFD_KEY_POWER_IN_VOLTAGE, "V"),
    unit(DFD_KEY_POWER_IN_CURRENT, "A"),
    unit(DFD_KEY_POWER_OUT_VOLTAGE, "V"),
    unit(DFD_KEY_POWER_OUT_CURRENT, "A"),
    unit(DFD_KEY_POWER_RATE_SUPPLY, "W"),
    unit(DFD_KEY_POWER_TEMP, "C"),
    inventory(DFD_KEY_POWER_SN, E2PROM_INFO_SN, Legacy::none),
    Facts{.type = DFD_KEY_POWER_HW_VER, .info = E2PROM_INFO_HW_VER, .legacy = Legacy::power},
    Facts{.type = DFD_KEY_FAN_TYPE,
          .info = E2PROM_INFO_DEV_TYPE,
          .legacy = Legacy::fan,
          .type_names = DFD_KEY_FAN_ATTR_TYPE},
    fan_inventory(DFD_KEY_FAN_SN, E2PROM_INFO_SN),
    fan_inventory(DFD_KEY_FAN_HW_VER, E2PROM_INFO_HW_VER),
    unit(DFD_KEY_FAN_TEMP, "C"),
    unit(DFD_KEY_FAN_SPEED_FLOOR, "rpm"),
    unit(DFD_KEY_CARD_RATE_POWER, "W"),
    unit(DFD_KEY_CARD_VOL_WATERLINE, "V"),
    unit(DFD_KEY_CARD_TEMP_CTRL, "C"),
    unit(DFD_KEY_SYS_ALARM_TEMP, "C"),
    unit(DFD_KEY_SYS_DANGER_TEMP, "C"),
    unit(DFD_KEY_POWER_ENV_TEMP, "C"),
    inventory(DFD_KEY_SSLOT_E2PROM, E2PROM_INFO_DEV_TYPE, Legacy::none),
    Facts{.type = DFD_KEY_RESET_BUTTON_TYPE, .type_names = DFD_KEY_RESET_BUTTON_TP_STR},
    led(DFD_KEY_MB_STATUS_LED_CTRL, DFD_KEY_MB_STATUS_LED_INFO),
    led(DFD_KEY_MB_PRIMARY_LED_CTRL, DFD_KEY_MB_PRIMARY_LED_INFO),
    led(DFD_KEY_MB_ALARM_LED_CTRL, DFD_KEY_MB_ALARM_LED_INFO),
    led(DFD_KEY_MB_FE_LED_CTRL, DFD_KEY_MB_FE_LED_INFO),
    led(DFD_KEY_MB_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO),
    led(DFD_KEY_MB_FAN_IN_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO),
    led(DFD_KEY_MB_PWR_LED_CTRL, DFD_KEY_MB_PWR_LED_INFO),
    led(DFD_KEY_LC_STATUS_LED_CTRL, DFD_KEY_LC_STATUS_LED_INFO),
    led(DFD_KEY_FE_OFFLINE_LED_CTRL, DFD_KEY_FE_OFFLINE_LED_INFO),
    led(DFD_KEY_LOCATION_LED_CTRL, DFD_KEY_LOCATION_LED_INFO),
};

constexpr Facts kPlain{.type = DFD_KEY_NONE};

/// Key types first to last belong to units whose presence another type tells.
struct Presence {
    std::uint32_t first;
    std::uint32_t last;
    std::uint32_t type;
};

constexpr std::array kPresence = {
    Presence{DFD_KEY_POWER_TYPE, DFD_KEY_POWER_POE_RSUPPLY, DFD_KEY_POWER_PRESENT},
    Presence{DFD_KEY_FAN_TYPE, DFD_KEY_FAN_SW_VER, DFD_KEY_FAN_STATE},
    Presence{DFD_KEY_FAN_FAIL_STATUS, DFD_KEY_FAN_TEMP, DFD_KEY_FAN_STATE},
};

}  // namespace

const Facts &facts_of(std::uint32_t type) {
    const auto *found = std::find_if(kFacts.begin(), kFacts.end(),
                                     [type](const Facts &facts) { return facts.type == type; });
    return found != kFacts.end() ? *found : kPlain;
}

std::uint32_t presence_type_of(std::uint32_t type) {
    const auto *found =
        std::find_if(kPresence.begin(), kPresence.end(), [type](const Presence &presence) {
            return type >= presence.first && type <= presence.last;
        });
    return found != kPresence.end() ? found->type : 0;
}

}  // namespace dfdctl
