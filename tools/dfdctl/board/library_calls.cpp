// SPDX-License-Identifier: MIT
#include "dfdctl/board/library_calls.hpp"

#include <dfd/card.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>
#include <dfd/power.h>
#include <dfd/records.h>
#include <dfd/temperature.h>

namespace dfdctl {

namespace {

constexpr int kThousandths = 1000;

template <auto Get>
Answer of_card(const Place &place) {
    return by_pointer<Get>({slot_of_card(place.index1), place.index2});
}

/// The supply's temperature; it has one sensor only.
Answer power_temp(const Place &place) {
    return by_pointer<sdd_get_power_temp>({place.index1, 0});
}

/// The library delivers the reading's failure as a temperature that no tray has.
Answer fan_temp(const Place &place) {
    const Answer answer = by_result<sdd_get_fan_temp>(place);
    return answer.value == decltype(answer.value)(std::int64_t{FAN_TEMP_UNREADABLE})
               ? Answer{.code = DFD_ERR_IO}
               : answer;
}

constexpr std::array kValues = {
    LibraryValue{DFD_KEY_POWER_IN_VOLTAGE, 1, by_pointer<drv_get_power_vol_in>},
    LibraryValue{DFD_KEY_POWER_IN_CURRENT, kThousandths, by_pointer<drv_get_power_icur>},
    LibraryValue{DFD_KEY_POWER_OUT_VOLTAGE, kThousandths, by_result<drv_get_power_ovol>},
    LibraryValue{DFD_KEY_POWER_OUT_CURRENT, kThousandths, by_result<drv_get_power_ocur>},
    LibraryValue{DFD_KEY_POWER_RATE_SUPPLY, 1, by_result<drv_get_power_rated_supply>},
    LibraryValue{DFD_KEY_POWER_TEMP, 1, power_temp},
    LibraryValue{DFD_KEY_POWER_ENV_TEMP, 1, by_result<drv_get_env_temp>},
    LibraryValue{DFD_KEY_FAN_TEMP, 1, fan_temp},
    LibraryValue{DFD_KEY_GET_FAN_CFG_SPEED, 1, by_pointer<drv_get_fan_speed_level>},
    LibraryValue{DFD_KEY_CARD_RATE_POWER, 1, of_card<drv_get_card_power_consume>},
    LibraryValue{DFD_KEY_CARD_TEMP_CTRL, 1, of_card<drv_get_card_temp>},
    LibraryValue{DFD_KEY_CARD_VOL_WATERLINE, kThousandths, of_card<drv_get_card_vol_waterline>},
    LibraryValue{DFD_KEY_SYS_ALARM_TEMP, 1, by_pointer<drv_get_sys_card_alarm_temp>},
    LibraryValue{DFD_KEY_SYS_DANGER_TEMP, 1, by_pointer<drv_get_sys_card_shutdown_temp>},
};

bool counts_cards(std::uint32_t type) {
    return type == DFD_KEY_CARD_RATE_POWER || type == DFD_KEY_CARD_TEMP_CTRL ||
           type == DFD_KEY_CARD_VOL_WATERLINE;
}

bool is_mac_sensor(const Item &item) {
    const auto *sensor =
        record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, item.index1, item.index2));
    return sensor == nullptr || sensor->type == TEMP_INFO_MAC;
}

/// Items that the library's getter does not reach: a sensor without a kind or of the switch chip,
/// and a card that the own slot hides.
bool is_out_of_reach(const Item &item) {
    if (item.type->type == DFD_KEY_CARD_TEMP_CTRL && is_mac_sensor(item)) {
        return true;
    }
    return counts_cards(item.type->type) &&
           sdd_get_virtual_slotid(static_cast<int>(slot_of_card(item.index1))) !=
               static_cast<int>(item.index1);
}

}  // namespace

std::uint32_t slot_of_card(std::uint32_t card) {
    return card != 0 ? card : static_cast<std::uint32_t>(sdd_get_my_slotid());
}

const LibraryValue *library_value_of(const Item &item) {
    const auto *found =
        std::find_if(kValues.begin(), kValues.end(),
                     [&](const LibraryValue &value) { return value.type == item.type->type; });
    return found != kValues.end() && !is_out_of_reach(item) ? found : nullptr;
}

}  // namespace dfdctl
