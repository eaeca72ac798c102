// SPDX-License-Identifier: MIT
// Fan trays and their rotors.
#include <dfd/driver.h>
#include <dfd/fan.h>

#include "dfdctl/show/table_page.hpp"

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

constexpr Column kSystem[] = {
    {.key = "trays",
     .heading = "fan trays",
     .item = DFD_KEY_FAN_NUM,
     .read = by_result<drv_get_sys_fan_num>},
    {.key = "mode", .heading = "control mode", .item = DFD_KEY_FAN_MODE},
    {.key = "lowest_speed", .heading = "lowest healthy speed", .item = DFD_KEY_FAN_SPEED_FLOOR},
};

constexpr LabelColumn kTrayLabel[] = {{"tray", "tray", first_index}};

constexpr Column kTrays[] = {
    {.key = "state",
     .heading = "state",
     .item = DFD_KEY_FAN_STATE,
     .read = by_result<drv_get_fan_status>,
     .words = kTrayStates,
     .is_presence = true},
    {.key = "type",
     .heading = "type",
     .item = DFD_KEY_FAN_TYPE,
     .read = by_result<drv_get_fan_type>},
    {.key = "airflow",
     .heading = "airflow",
     .item = DFD_KEY_FAN_TYPE,
     .read = airflow,
     .words = kAirflows},
    {.key = "serial_number",
     .heading = "serial number",
     .item = DFD_KEY_FAN_SN,
     .read = by_text<drv_get_fan_sn>},
    {.key = "hw_version",
     .heading = "hw version",
     .item = DFD_KEY_FAN_HW_VER,
     .read = by_text<drv_get_fan_hw_version>},
    {.key = "sw_version",
     .heading = "sw version",
     .item = DFD_KEY_FAN_SW_VER,
     .read = by_text<drv_get_fan_sw_version>},
    {.key = "cpld_version", .heading = "cpld version", .item = DFD_KEY_FAN_CPLD_VERSION},
    {.key = "temperature", .heading = "temperature", .item = DFD_KEY_FAN_TEMP},
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
    {.key = "state", .heading = "state", .read = rotor_state, .words = kRotorStates},
    {.key = "speed",
     .heading = "speed",
     .item = DFD_KEY_FAN_REAL_SPEED,
     .read = by_pointer<drv_get_fan_speed>,
     .unit = "rpm"},
    {.key = "level",
     .heading = "speed level",
     .item = DFD_KEY_GET_FAN_CFG_SPEED,
     .read = by_pointer<drv_get_fan_speed_level>},
};

constexpr Section kSections[] = {
    {.key = "system", .title = "Fan control", .columns = kSystem, .has_defaults = true},
    {.key = "trays",
     .title = "Fan trays",
     .rows = rows_of<UnitKind::tray>,
     .labels = kTrayLabel,
     .columns = kTrays},
    {.key = "rotors",
     .title = "Rotors",
     .rows = rotors,
     .labels = kRotorLabels,
     .columns = kRotors},
};

}  // namespace

std::span<const Section> fan_sections() {
    return kSections;
}

}  // namespace dfdctl
