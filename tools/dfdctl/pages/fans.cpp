// SPDX-License-Identifier: MIT
// Fan trays and their rotors.
#include <dfd/driver.h>
#include <dfd/fan.h>

#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

namespace {

constexpr const char *kRotorStates[] = {"ok", "failed"};

std::vector<Place> rotors(const LoadRecord &record) {
    std::vector<Place> places;
    for (const std::uint32_t tray : units_of(record, UnitKind::tray)) {
        for (std::uint32_t rotor = 1; rotor <= rotor_count(tray); ++rotor) {
            places.push_back({tray, rotor});
        }
    }
    return places;
}

Answer airflow(const Place &place) {
    int attribute = FAN_ATTR_OTHER;
    const int code = drv_get_fan_attribute(place.index1, 0, &attribute);
    return code == DFD_OK ? Answer{.value = std::int64_t{attribute}} : Answer{.code = code};
}

Answer rotor_state(const Place &place) {
    constexpr std::uint32_t kBits = 31;
    int bitmap = 0;
    if (place.index2 > kBits) {
        return {.code = DFD_ERR_NOT_SUPPORTED};
    }
    // A positive result is the state of the tray, which the bitmap follows.
    const int code = drv_get_fan_fail_bmp(place.index1, &bitmap);
    if (code < 0) {
        return {.code = code};
    }
    return {.value = std::int64_t{bitmap >> (place.index2 - 1) & 1}};
}

Answer tray_presence(const Place &place) {
    const Answer state = by_result<drv_get_fan_status>(place);
    const bool is_absent = state.value == decltype(state.value)(std::int64_t{FAN_STATUS_ABSENT});
    return state.code != DFD_OK ? state : Answer{.value = std::int64_t{is_absent ? 0 : 1}};
}

std::string rotor_name(const Place &place) {
    return numbered<UnitKind::tray>(place) + " rotor " + std::to_string(place.index2);
}

constexpr Column kFanSystem[] = {
    {"trays", "fan trays", DFD_KEY_FAN_NUM, by_result<drv_get_sys_fan_num>},
    {"mode", "control mode", DFD_KEY_FAN_MODE},
    {.key = "lowest_speed",
     .heading = "lowest healthy speed",
     .item = DFD_KEY_FAN_SPEED_FLOOR,
     .metric = "speed_limit"},
};

constexpr LabelColumn kTrayLabel[] = {{"tray", "tray", first_index}};

constexpr Column kTrays[] = {
    {.key = "state",
     .heading = "state",
     .item = DFD_KEY_FAN_STATE,
     .read = by_result<drv_get_fan_status>,
     .words = kTrayStates,
     .is_presence = true,
     .judge = judge_tray},
    identity("type", "type", DFD_KEY_FAN_TYPE, by_result<drv_get_fan_type>),
    {.key = "airflow",
     .heading = "airflow",
     .item = DFD_KEY_FAN_TYPE,
     .read = airflow,
     .words = kAirflows,
     .is_identity = true},
    serial_number(DFD_KEY_FAN_SN, by_text<drv_get_fan_sn>),
    hw_version(DFD_KEY_FAN_HW_VER, by_text<drv_get_fan_hw_version>),
    {.key = "sw_version",
     .heading = "sw version",
     .item = DFD_KEY_FAN_SW_VER,
     .read = by_text<drv_get_fan_sw_version>,
     .rank = 1},
    {.key = "cpld_version", .heading = "cpld version", .item = DFD_KEY_FAN_CPLD_VERSION, .rank = 1},
    {"temperature", "temperature", DFD_KEY_FAN_TEMP},
};

constexpr LabelColumn kRotorLabels[] = {{"tray", "tray", first_index},
                                        {"rotor", "rotor", second_index}};

constexpr Column kRotors[] = {
    {.key = "presence",
     .heading = "presence",
     .item = DFD_KEY_FAN_STATE,
     .read = tray_presence,
     .words = kAbsentPresent,
     .is_presence = true},
    {.key = "state",
     .heading = "state",
     .read = rotor_state,
     .words = kRotorStates,
     .judge = judge_rotor_state},
    {.key = "speed",
     .heading = "speed",
     .item = DFD_KEY_FAN_REAL_SPEED,
     .read = by_pointer<drv_get_fan_speed>,
     .unit = "rpm",
     .judge = judge_rotor_speed},
    {"level", "speed level", DFD_KEY_GET_FAN_CFG_SPEED, by_pointer<drv_get_fan_speed_level>},
};

constexpr Section kFanSections[] = {
    {.key = "system",
     .title = "Fan control",
     .columns = kFanSystem,
     .has_defaults = true,
     .subject = "fan"},
    {.key = "trays",
     .title = "Fan trays",
     .rows = rows_of<UnitKind::tray>,
     .labels = kTrayLabel,
     .columns = kTrays,
     .unit = numbered<UnitKind::tray>,
     .subject = "fan_tray"},
    {.key = "rotors",
     .title = "Rotors",
     .rows = rotors,
     .labels = kRotorLabels,
     .columns = kRotors,
     .unit = rotor_name,
     .subject = "fan_rotor"},
};

}  // namespace

std::span<const Section> fan_sections() {
    return kFanSections;
}

}  // namespace dfdctl
