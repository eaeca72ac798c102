// SPDX-License-Identifier: MIT
#include "dfdctl/board/leds.hpp"

#include <dfd/access.h>
#include <dfd/keys.h>
#include <dfd/led.h>

#include "dfdctl/board/describe.hpp"

namespace dfdctl {

namespace {

constexpr Led kLeds[] = {
    {"status", DFD_LED_STATUS, DFD_KEY_MB_STATUS_LED_CTRL, DFD_KEY_MB_STATUS_LED_INFO, false},
    {"primary", DFD_LED_PRIMARY, DFD_KEY_MB_PRIMARY_LED_CTRL, DFD_KEY_MB_PRIMARY_LED_INFO, false},
    {"alarm", DFD_LED_ALARM, DFD_KEY_MB_ALARM_LED_CTRL, DFD_KEY_MB_ALARM_LED_INFO, false},
    {"fabric", DFD_LED_FABRIC, DFD_KEY_MB_FE_LED_CTRL, DFD_KEY_MB_FE_LED_INFO, false},
    {"fan", DFD_LED_FAN, DFD_KEY_MB_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO, true},
    {"fan-in-fan", DFD_LED_FAN_IN_FAN, DFD_KEY_MB_FAN_IN_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO,
     true},
    {"power", DFD_LED_POWER, DFD_KEY_MB_PWR_LED_CTRL, DFD_KEY_MB_PWR_LED_INFO, true},
    {"line-card", DFD_LED_LINE_CARD, DFD_KEY_LC_STATUS_LED_CTRL, DFD_KEY_LC_STATUS_LED_INFO, false},
    {"fabric-offline", DFD_LED_FABRIC_OFFLINE, DFD_KEY_FE_OFFLINE_LED_CTRL,
     DFD_KEY_FE_OFFLINE_LED_INFO, false},
    {"location", DFD_LED_LOCATION, DFD_KEY_LOCATION_LED_CTRL, DFD_KEY_LOCATION_LED_INFO, false},
};

}  // namespace

std::span<const Led> leds() {
    return kLeds;
}

Answer led_state(const Led &led, std::uint32_t unit) {
    constexpr std::uint32_t kNone = UINT32_MAX;
    std::uint32_t state = kNone;
    // The library's getters know unit 0, and not every LED.
    int code = unit == 0 ? sdd_get_led(led.type, &state) : DFD_ERR;
    if (code == DFD_ERR) {
        int value = 0;
        code = dfd_info_get_int(item_of(led.control, unit).key(), &value, nullptr);
        if (code == DFD_OK) {
            code = dfd_get_led_info_state(item_of(led.table).key(),
                                          static_cast<std::uint32_t>(value), &state);
        }
    }
    if (code != DFD_OK) {
        return {.code = code};
    }
    return {.value = state == kNone ? std::string("unknown") : std::string(led_state_name(state))};
}

}  // namespace dfdctl
