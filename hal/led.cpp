// SPDX-License-Identifier: MIT
// LEDs: a state becomes a register value by the LED's table, and back.
#include <dfd/led.h>

#include <dfd/access.h>
#include <dfd/framework.h>

#include "framework/platform.h"
#include "hal/facts.h"

namespace {

constexpr uint32_t kHandToSoftware = 1;

// Item types of an LED: its control register, and the table of its register values.
struct Led {
    uint32_t control_type;
    uint32_t info_type;
};

constexpr Led kBoardStatus = {DFD_KEY_MB_STATUS_LED_CTRL, DFD_KEY_MB_STATUS_LED_INFO};
constexpr Led kBoardPrimary = {DFD_KEY_MB_PRIMARY_LED_CTRL, DFD_KEY_MB_PRIMARY_LED_INFO};
constexpr Led kBoardAlarm = {DFD_KEY_MB_ALARM_LED_CTRL, DFD_KEY_MB_ALARM_LED_INFO};
constexpr Led kBoardFabric = {DFD_KEY_MB_FE_LED_CTRL, DFD_KEY_MB_FE_LED_INFO};
constexpr Led kBoardFan = {DFD_KEY_MB_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO};
// The LED on the fan tray itself; its values are in the table of the board's fan LED.
constexpr Led kFanInFan = {DFD_KEY_MB_FAN_IN_FAN_LED_CTRL, DFD_KEY_MB_FAN_LED_INFO};
constexpr Led kBoardPower = {DFD_KEY_MB_PWR_LED_CTRL, DFD_KEY_MB_PWR_LED_INFO};
constexpr Led kLineCardStatus = {DFD_KEY_LC_STATUS_LED_CTRL, DFD_KEY_LC_STATUS_LED_INFO};
constexpr Led kFabricOffline = {DFD_KEY_FE_OFFLINE_LED_CTRL, DFD_KEY_FE_OFFLINE_LED_INFO};
constexpr Led kLocation = {DFD_KEY_LOCATION_LED_CTRL, DFD_KEY_LOCATION_LED_INFO};

int negative_or_ok(int rv) {
    return rv < 0 ? rv : DFD_OK;
}

int set_state(const Led &led, uint32_t unit, uint32_t state) {
    uint32_t regval = 0;
    if (dfd_get_led_info_regval(DFD_MAKE_KEY(led.info_type, 0, 0), state, &regval) < 0) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    return negative_or_ok(dfd_info_set_int(DFD_MAKE_KEY(led.control_type, unit, 0), regval));
}

int get_state(const Led &led, uint32_t *state) {
    int regval = 0;
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(led.control_type, 0, 0), &regval, nullptr);
    if (rv < 0) {
        return rv;
    }
    const int found = dfd_get_led_info_state(DFD_MAKE_KEY(led.info_type, 0, 0),
                                             static_cast<uint32_t>(regval), state);
    return found < 0 ? DFD_ERR_NOT_SUPPORTED : DFD_OK;
}

}  // namespace

int dfd_set_en_soft_led(uint32_t type, uint8_t unit, uint32_t value) {
    return negative_or_ok(dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_SOFT_LED_CTRL, type, unit), value));
}

int sdd_set_mymb_status_led(uint32_t state) {
    return set_state(kBoardStatus, 0, state);
}
int sdd_set_mymb_primary_led(uint32_t state) {
    return set_state(kBoardPrimary, 0, state);
}
int sdd_set_mymb_alarm_led(uint32_t state, uint32_t /*unused*/) {
    return set_state(kBoardAlarm, 0, state);
}
int sdd_set_mymb_fe_led(uint32_t state) {
    return set_state(kBoardFabric, 0, state);
}
int sdd_set_mylc_st_led(uint32_t state, uint32_t /*unused*/) {
    return set_state(kLineCardStatus, 0, state);
}
int sdd_set_fe_offline_led(uint32_t state) {
    return set_state(kFabricOffline, 0, state);
}
int sdd_set_location_led(uint32_t state) {
    return set_state(kLocation, 0, state);
}
int dfd_set_fan_in_fan_led(uint32_t unit, uint32_t state) {
    return set_state(kFanInFan, unit, state);
}

int sdd_set_mymb_fan_led(uint32_t unit, uint32_t state) {
    // Best effort: a tray may lack the LED, or its software control.
    dfd_set_en_soft_led(DFD_LED_FAN, static_cast<uint8_t>(unit), kHandToSoftware);
    set_state(kBoardFan, unit, state);
    return DFD_OK;
}

int sdd_set_mymb_pwr_led(uint32_t unit, uint32_t state) {
    dfd_set_en_soft_led(DFD_LED_POWER, static_cast<uint8_t>(unit), kHandToSoftware);
    return set_state(kBoardPower, unit, state);
}

int sdd_get_mymb_status_led(uint32_t *state) {
    return get_state(kBoardStatus, state);
}
int sdd_get_mymb_primary_led(uint32_t *state) {
    return get_state(kBoardPrimary, state);
}
int sdd_get_mymb_alarm_led(uint32_t *state) {
    return get_state(kBoardAlarm, state);
}
int sdd_get_mymb_fe_led(uint32_t *state) {
    return get_state(kBoardFabric, state);
}
int sdd_get_mymb_fan_led(uint32_t *state) {
    return get_state(kBoardFan, state);
}
int sdd_get_mymb_pwr_led(uint32_t *state) {
    return get_state(kBoardPower, state);
}
int sdd_get_mylc_st_led(uint32_t *state) {
    return get_state(kLineCardStatus, state);
}
int sdd_get_fe_offline_led(uint32_t *state) {
    return get_state(kFabricOffline, state);
}

int sdd_set_led(uint32_t type, uint32_t state, uint32_t unit) {
    if (dfd::file_exists(dfd::kFactoryMarker)) {
        return DFD_OK;
    }
    switch (type) {
        case DFD_LED_STATUS:
            return sdd_set_mymb_status_led(state);
        case DFD_LED_PRIMARY:
            return sdd_set_mymb_primary_led(state);
        case DFD_LED_ALARM:
            return sdd_set_mymb_alarm_led(state, 0);
        case DFD_LED_FABRIC:
            return sdd_set_mymb_fe_led(state);
        case DFD_LED_FAN:
            return sdd_set_mymb_fan_led(unit, state);
        case DFD_LED_FAN_IN_FAN:
            return dfd_set_fan_in_fan_led(unit, state);
        case DFD_LED_POWER:
            return sdd_set_mymb_pwr_led(unit, state);
        case DFD_LED_LINE_CARD:
            return sdd_set_mylc_st_led(state, 0);
        case DFD_LED_FABRIC_OFFLINE:
            return sdd_set_fe_offline_led(state);
        case DFD_LED_LOCATION:
            return sdd_set_location_led(state);
        default:
            return DFD_ERR;
    }
}

int sdd_get_led(uint32_t type, uint32_t *state) {
    switch (type) {
        case DFD_LED_STATUS:
            return sdd_get_mymb_status_led(state);
        case DFD_LED_PRIMARY:
            return sdd_get_mymb_primary_led(state);
        case DFD_LED_ALARM:
            return sdd_get_mymb_alarm_led(state);
        case DFD_LED_FABRIC:
            return sdd_get_mymb_fe_led(state);
        case DFD_LED_FAN:
            return sdd_get_mymb_fan_led(state);
        case DFD_LED_POWER:
            return sdd_get_mymb_pwr_led(state);
        case DFD_LED_LINE_CARD:
            return sdd_get_mylc_st_led(state);
        case DFD_LED_FABRIC_OFFLINE:
            return sdd_get_fe_offline_led(state);
        default:
            return DFD_ERR;
    }
}
