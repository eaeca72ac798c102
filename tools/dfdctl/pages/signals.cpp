// SPDX-License-Identifier: MIT
// LEDs, uplink ports and interrupts.
#include <dfd/access.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/leds.hpp"
#include "dfdctl/pages/table_page.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

/// Places of LEDs: index1 the row of leds(), index2 the unit.
std::vector<Place> led_places(const LoadRecord &record) {
    std::vector<Place> places;
    for (std::uint32_t row = 0; row < leds().size(); ++row) {
        for (const Item &unit : items_of(record, leds()[row].control)) {
            places.push_back({row, unit.index1});
        }
    }
    return places;
}

Reading led_name(const Place &place) {
    return {.value = std::string(leds()[place.index1].name)};
}

Reading led_unit(const Place &place) {
    return leds()[place.index1].has_units ? second_index(place) : Reading{};
}

Answer state_of_led(const Place &place) {
    return led_state(leds()[place.index1], place.index2);
}

Answer led_states(const Place &place) {
    std::string names;
    for (std::uint32_t state = LED_STATE_DARK; state <= LED_STATE_FSPARK_CLOSE; ++state) {
        std::uint32_t value = 0;
        const std::uint32_t key = item_of(leds()[place.index1].table).key();
        if (dfd_get_led_info_regval(key, state, &value) == DFD_OK) {
            names += (names.empty() ? "" : " ") + std::string(led_state_name(state));
        }
    }
    return names.empty() ? Answer{.code = DFD_ERR_NOT_SUPPORTED} : Answer{.value = names};
}

Answer led_master(const Place &place) {
    const Item item = item_of(DFD_KEY_SOFT_LED_CTRL, leds()[place.index1].type, place.index2);
    int value = 0;
    const int code = dfd_info_get_int(item.key(), &value, nullptr);
    return code == DFD_OK ? Answer{.value = std::int64_t{value}} : Answer{.code = code};
}

/// Without the dots of members.
const char *const kLedStates[] = {
    led_info_mem_str[LED_STATE_DARK] + 1,        led_info_mem_str[LED_STATE_GREEN] + 1,
    led_info_mem_str[LED_STATE_RED] + 1,         led_info_mem_str[LED_STATE_YELLOW] + 1,
    led_info_mem_str[LED_STATE_SPARK] + 1,       led_info_mem_str[LED_STATE_FSPARK_OPEN] + 1,
    led_info_mem_str[LED_STATE_FSPARK_CLOSE] + 1};
constexpr const char *kMasters[] = {"hardware", "software"};

constexpr LabelColumn kLedLabels[] = {{"led", "led", led_name}, {"unit", "unit", led_unit}};

constexpr Column kLedColumns[] = {
    {.key = "state", .heading = "state", .read = state_of_led, .words = kLedStates},
    {.key = "controlled_by", .heading = "set by", .read = led_master, .words = kMasters},
    {.key = "states", .heading = "can show", .read = led_states},
};

std::string led_unit_name(const Place &place) {
    const Led &led = leds()[place.index1];
    return fmt::format("LED {}{}", led.name,
                       led.has_units ? " " + std::to_string(place.index2) : "");
}

constexpr Section kLedSections[] = {
    {.key = "leds",
     .title = "LEDs",
     .rows = led_places,
     .labels = kLedLabels,
     .columns = kLedColumns,
     .unit = led_unit_name,
     .subject = "led"},
};

constexpr LabelColumn kPortLabel[] = {{"port", "port", first_index}};

constexpr Column kPorts[] = {
    {.key = "module",
     .heading = "module",
     .item = DFD_KEY_PORT_SFP_STATE,
     .read = by_pointer<dfd_port_get_sfp_present, std::uint8_t>,
     .words = kAbsentPresent,
     .metric = "module_present"},
    {.key = "transmitter", .heading = "transmitter", .item = DFD_KEY_PORT_SFP_TX, .words = kOffOn},
};

constexpr Section kPortSections[] = {
    {.key = "ports",
     .title = "SFP ports",
     .rows = rows_of<UnitKind::port>,
     .labels = kPortLabel,
     .columns = kPorts,
     .unit = numbered<UnitKind::port>,
     .subject = "sfp_port"},
};

// Interrupts: places of sources have index1 = i << 8 | j, index2 = k.

constexpr std::uint32_t kUnmasked = 0;

std::vector<Place> sources(const LoadRecord &record) {
    std::vector<Place> places;
    for (const Item &source : irq_sources(record)) {
        places.push_back({source.index1, source.index2});
    }
    return places;
}

const irq_info_t &source_at(const Place &place) {
    return *record_of<irq_info_t>(item_of(DFD_KEY_IRQ_INFO, place.index1, place.index2));
}

Reading source_position(const Place &place) {
    return {.value = irq_position(item_of(DFD_KEY_IRQ_INFO, place.index1, place.index2))};
}

Reading source_type(const Place &place) {
    return {.value = std::string(irq_type_word(source_at(place).type))};
}

Reading source_values(const Place &place) {
    const irq_info_t &source = source_at(place);
    return {.value = fmt::format("{} {} {}", source.val0, source.val1, source.val2)};
}

Item source_item(const Place &place) {
    return item_of(DFD_KEY_IRQ_INFO, place.index1, place.index2);
}

/// Read without clearing anything, as a dispatch would.
Answer source_pending(const Place &place) {
    bool is_pending = false;
    const int code = read_irq_pending(source_item(place), &is_pending);
    return code == DFD_OK ? Answer{.value = std::int64_t{is_pending}} : Answer{.code = code};
}

/// Masked where any of the source's masks is.
Answer source_masked(const Place &place) {
    Answer answer{.code = DFD_ERR_NOT_SUPPORTED};
    for (const Item &mask : irq_masks(item_of(DFD_KEY_IRQ_INFO, place.index1, place.index2))) {
        int value = kUnmasked;
        const int code = dfd_info_get_int(mask.key(), &value, nullptr);
        const bool masked = code == DFD_OK && value != static_cast<int>(kUnmasked);
        if (code != DFD_OK || masked) {
            return code != DFD_OK ? Answer{.code = code} : Answer{.value = std::int64_t{1}};
        }
        answer = {.value = std::int64_t{0}};
    }
    return answer;
}

Answer polarity(const Place & /*place*/) {
    return {.value = describe(item_of(DFD_KEY_IRQ_CTRL_INFO))};
}

/// A source that is masked waits for nobody.
std::optional<Judgement> judge_pending(const Judged &cell) {
    if (cell.number() == 0) {
        return std::nullopt;
    }
    const bool is_masked = cell.number("masked").value_or(0) != 0;
    return Judgement{is_masked ? Severity::note : Severity::warning,
                     "PENDING",
                     is_masked ? "raised, but masked" : "raised and not dispatched yet",
                     {irq_status(source_item(cell.place)).first}};
}

std::string source_unit(const Place &place) {
    const irq_info_t &source = source_at(place);
    return fmt::format("interrupt {} {}", irq_type_word(source.type), source.val0);
}

constexpr Column kControllers[] = {
    {"controllers", "controllers", DFD_KEY_IRQ_CTRL_NUM, by_result<drv_get_irq_ctrl_num>},
    {"polarity", "polarity", DFD_KEY_IRQ_CTRL_INFO, polarity},
    {"first_level", "first level status", DFD_KEY_1ST_IRQ_STATUS},
};

constexpr LabelColumn kSourceLabels[] = {{"position", "position", source_position},
                                         {"type", "type", source_type},
                                         {"values", "values", source_values}};

constexpr Column kSources[] = {
    {.key = "pending",
     .heading = "pending",
     .read = source_pending,
     .words = kNoYes,
     .judge = judge_pending},
    {.key = "masked", .heading = "masked", .read = source_masked, .words = kNoYes},
};

constexpr Section kIrqSections[] = {
    {.key = "controllers",
     .title = "Interrupt controllers",
     .columns = kControllers,
     .subject = "irq"},
    {.key = "sources",
     .title = "Interrupt sources",
     .rows = sources,
     .labels = kSourceLabels,
     .columns = kSources,
     .unit = source_unit,
     .subject = "irq_source"},
};

}  // namespace

std::span<const Section> led_sections() {
    return kLedSections;
}

std::span<const Section> sfp_sections() {
    return kPortSections;
}

std::span<const Section> irq_sections() {
    return kIrqSections;
}

}  // namespace dfdctl
