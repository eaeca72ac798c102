// SPDX-License-Identifier: MIT
// Temperatures and voltages.
#include <dfd/card.h>
#include <dfd/driver.h>
#include <dfd/records.h>
#include <dfd/temperature.h>
#include <algorithm>

#include "dfdctl/pages/table_page.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

const temp_info_t *sensor_at(const Place &place) {
    return record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, place.index1, place.index2));
}

std::vector<Place> places_with(const LoadRecord &record, std::uint32_t type,
                               bool (*wanted)(const Place &)) {
    std::vector<Place> places;
    for (const Item &item : items_of(record, type)) {
        const Place place{item.index1, item.index2};
        if (wanted(place)) {
            places.push_back(place);
        }
    }
    return places;
}

bool is_mac(const Place &place) {
    return sensor_at(place)->type == TEMP_INFO_MAC;
}

std::vector<Place> card_sensors(const LoadRecord &record) {
    return places_with(record, DFD_KEY_CARD_TEMP_INFO,
                       [](const Place &place) { return !is_mac(place); });
}

/// The library takes their sensor numbers from 41 on for those of the own board.
std::vector<Place> mac_sensors(const LoadRecord &record) {
    return places_with(record, DFD_KEY_CARD_TEMP_INFO, [](const Place &place) {
        return is_mac(place) && place.index1 == 0 && place.index2 >= dfd::kFirstMacIndex;
    });
}

Reading sensor_name(const Place &place) {
    std::array<char, DFD_PATH_SIZE> name = {};
    const int code =
        sdd_get_temp_name(static_cast<int>(place.index1), static_cast<std::uint8_t>(place.index2),
                          name.data(), static_cast<int>(name.size()));
    return {.value = code == DFD_OK ? std::string(name.data()) : std::string()};
}

Reading sensor_kind(const Place &place) {
    return {.value = std::string(temp_info_type_str[sensor_at(place)->type])};
}

Answer card_temperature(const Place &place) {
    return by_pointer<drv_get_card_temp>({slot_of_card(place.index1), place.index2});
}

template <int Which>
Answer mac_figure(const Place &place) {
    std::array<int, 3> figures = {};
    const int number = static_cast<int>(place.index2 - dfd::kFirstMacIndex);
    const int code = drv_get_mac_temp(number, &figures[0], &figures[1], &figures[2]);
    return code == DFD_OK ? Answer{.value = std::int64_t{figures[Which]}} : Answer{.code = code};
}

/// "slot 3 "; nothing for the own card.
std::string card_name(const Place &place) {
    return place.index1 != 0 ? numbered<UnitKind::slot>(place) + " " : "";
}

std::string sensor_unit(const Place &place) {
    const std::string name = value_text(sensor_name(place));
    return fmt::format("{}sensor {}", card_name(place),
                       name.empty() ? std::to_string(place.index2) : name);
}

constexpr Column kThresholdColumns[] = {
    {.key = "alarm",
     .heading = "alarm above",
     .item = DFD_KEY_SYS_ALARM_TEMP,
     .metric = "alarm_limit"},
    {.key = "shutdown",
     .heading = "shutdown above",
     .item = DFD_KEY_SYS_DANGER_TEMP,
     .metric = "shutdown_limit"},
    {"power_area", "power area", DFD_KEY_POWER_ENV_TEMP},
    {.key = "sensors_failed",
     .heading = "sensor self-test failed",
     .item = DFD_KEY_MB_TEMP_FAIL_STATUS,
     .read = by_pointer<dfd_get_mb_temp_fail_status>,
     .words = kNoYes,
     .judge = judge_sensor_self_test},
};

constexpr LabelColumn kSensorLabels[] = {{"card", "card", first_index},
                                         {"sensor", "sensor", second_index},
                                         {"name", "name", sensor_name},
                                         {"kind", "kind", sensor_kind}};

constexpr Column kSensors[] = {
    {.key = "temperature",
     .heading = "temperature",
     .item = DFD_KEY_CARD_TEMP_CTRL,
     .read = card_temperature,
     .unit = "C",
     .judge = judge_temperature},
};

constexpr Column kMacFigures[] = {
    {"figure1", "figure 1", DFD_KEY_CARD_TEMP_CTRL, mac_figure<0>},
    {"figure2", "figure 2", DFD_KEY_CARD_TEMP_CTRL, mac_figure<1>},
    {"figure3", "figure 3", DFD_KEY_CARD_TEMP_CTRL, mac_figure<2>},
};

constexpr Section kTemperatures[] = {
    {.key = "thresholds",
     .title = "Thresholds",
     .columns = kThresholdColumns,
     .subject = "temperature"},
    {.key = "sensors",
     .title = "Temperature sensors",
     .rows = card_sensors,
     .labels = kSensorLabels,
     .columns = kSensors,
     .unit = sensor_unit,
     .subject = "sensor"},
    {.key = "switch_chips",
     .title = "Switch chips",
     .rows = mac_sensors,
     .labels = kSensorLabels,
     .columns = kMacFigures,
     .unit = sensor_unit,
     .subject = "switch_chip"},
};

/// Channels of the cards that have any, the reference included.
std::vector<Place> channels(const LoadRecord &record) {
    return places_with(record, DFD_KEY_CARD_VOL_LOW, [](const Place &place) {
        return static_cast<int>(place.index2) <= std::max(drv_get_card_vol_num(), 0);
    });
}

Answer voltage(const Place &place) {
    return by_result<drv_get_card_vol>({slot_of_card(place.index1), place.index2});
}

std::string channel_unit(const Place &place) {
    return fmt::format("{}channel {}", card_name(place), place.index2);
}

constexpr Column kSupply[] = {
    {.key = "nominal",
     .heading = "nominal voltage",
     .read = by_pointer<drv_get_current_voltage>,
     .unit = "V"},
    {.key = "channels", .heading = "channels", .read = by_result<drv_get_card_vol_num>},
};

constexpr LabelColumn kChannelLabels[] = {{"card", "card", first_index},
                                          {"channel", "channel", second_index}};

constexpr Column kChannels[] = {
    {.key = "voltage",
     .heading = "voltage",
     .item = DFD_KEY_CARD_VOL_LOW,
     .read = voltage,
     .unit = "V",
     .scale = kThousandths,
     .judge = judge_voltage},
    {.key = "warning_level",
     .heading = "warning level",
     .item = DFD_KEY_CARD_VOL_WATERLINE,
     .metric = "voltage_limit"},
};

constexpr Section kVoltages[] = {
    {.key = "system",
     .title = "Supply",
     .columns = kSupply,
     .has_defaults = true,
     .subject = "voltage"},
    {.key = "channels",
     .title = "Voltages of cards",
     .rows = channels,
     .labels = kChannelLabels,
     .columns = kChannels,
     .unit = channel_unit,
     .subject = "card"},
};

}  // namespace

std::span<const Section> temperature_sections() {
    return kTemperatures;
}

std::span<const Section> voltage_sections() {
    return kVoltages;
}

}  // namespace dfdctl
