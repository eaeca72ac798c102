// SPDX-License-Identifier: MIT
// LEDs: the field that drives one, and the table of its values.
#include <dfd/keys.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <array>
#include <set>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/facts.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::size_t kStates = std::size(led_info_mem_str);

using Values = std::array<std::uint32_t, kStates>;

Values values_of(const led_info_t &table) {
    return {table.dark,  table.green,       table.red,         table.yellow,
            table.spark, table.fspark_open, table.fspark_close};
}

void check_controls(Check &check, std::set<std::uint32_t> &used_tables) {
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const std::uint32_t table = facts_of(item.type->type).led_table;
        used_tables.insert(table);
        if (table != 0 && !has(table)) {
            check.at_item("led-without-table", item.key(),
                          fmt::format("{}, but no {}: no state has a register value, every set "
                                      "and get fails (-6)",
                                      as_written(item), item_of(table).type->name));
        }
    }
}

/// Members that no line mentions are 0, not unset.
void check_members(Check &check, const Item &table) {
    std::string missing;
    for (std::size_t i = 0; i < kStates; ++i) {
        if (!is_set(check, table, static_cast<int>(i))) {
            missing += fmt::format("{}{}", missing.empty() ? "" : ", ", led_info_mem_str[i]);
        }
    }
    if (!missing.empty()) {
        check.at_item("led-member-missing", table.key(),
                      fmt::format("{} has no {}: the register value of such a state is 0; write "
                                  "the member with an empty value when the LED cannot show it",
                                  as_written(table), missing));
    }
}

void check_doubles(Check &check, const Item &table, const Values &values) {
    for (std::size_t i = 1; i < kStates; ++i) {
        const auto *const end = values.begin() + i;
        const auto *const earlier = std::find(values.begin(), end, values[i]);
        const bool both_said = earlier != end && is_set(check, table, static_cast<int>(i)) &&
                               is_set(check, table, static_cast<int>(earlier - values.begin()));
        if (both_said && values[i] != LED_REGVAL_UNSET) {
            check.at_member(
                "led-same-value", table.key(), static_cast<int>(i),
                fmt::format("{} has the register value of {}: the LED is read back as {}",
                            led_info_mem_str[i], led_info_mem_str[earlier - values.begin()],
                            led_state_name(static_cast<std::uint32_t>(earlier - values.begin()))));
        }
    }
}

/// Values that a control's bits cannot hold.
void check_width(Check &check, const Item &control, const Item &table, const Values &values) {
    const auto &ctrl = *record_of<info_ctrl_t>(control);
    const std::uint32_t largest =
        ctrl.frmt == INFO_FRMT_BIT ? dfd::low_bits(ctrl.len) : dfd::kWholeByte;
    for (std::size_t i = 0; i < kStates; ++i) {
        if (values[i] != LED_REGVAL_UNSET && values[i] > largest) {
            check.at_member(
                "led-value-wide", table.key(), static_cast<int>(i),
                fmt::format("{} of {} does not fit {}, which holds 0 to {}: upper bits "
                            "are cut when it is written",
                            values[i], led_info_mem_str[i], as_written(control), largest));
        }
    }
}

void check_tables(Check &check, const std::set<std::uint32_t> &used_tables) {
    for (const Item &table : configured(check, Kind::led_info)) {
        if (!used_tables.contains(table.type->type)) {
            check.at_item("led-without-control", table.key(),
                          fmt::format("{}, but no item that drives such an LED: the table is never "
                                      "used",
                                      as_written(table)));
        }
        check_members(check, table);
        check_doubles(check, table, values_of(*record_of<led_info_t>(table)));
    }
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const std::uint32_t type = facts_of(item.type->type).led_table;
        if (type != 0 && has(type)) {
            const Item table = item_of(type);
            check_width(check, item, table, values_of(*record_of<led_info_t>(table)));
        }
    }
}

/// LEDs that are handed to software before they are set.
struct SoftLed {
    std::uint32_t led;
    std::uint32_t control;
};
constexpr std::array kSoftLeds = {SoftLed{DFD_LED_FAN, DFD_KEY_MB_FAN_LED_CTRL},
                                  SoftLed{DFD_LED_POWER, DFD_KEY_MB_PWR_LED_CTRL}};

void check_soft_leds(Check &check) {
    for (const SoftLed &led : kSoftLeds) {
        const bool any_soft =
            std::ranges::any_of(configured(check, DFD_KEY_SOFT_LED_CTRL),
                                [&](const Item &soft) { return soft.index1 == led.led; });
        for (const Item &item : configured(check, led.control)) {
            if (any_soft && !has(DFD_KEY_SOFT_LED_CTRL, led.led, item.index1)) {
                check.at_item("soft-led-missing", item.key(),
                              fmt::format("{}, but no soft_led_ctrl_{}_{}: other units of this LED "
                                          "are handed to software before they are set, this is not",
                                          as_written(item), led.led, item.index1));
            }
            if (item.index1 != 0 && !has(led.control)) {
                check.at_item("led-read-unit", item.key(),
                              fmt::format("{}, but no {}: the getter of this LED asks for unit 0 "
                                          "only (-6)",
                                          as_written(item), as_written(item_of(led.control))));
            }
        }
    }
    for (const Item &soft : configured(check, DFD_KEY_SOFT_LED_CTRL)) {
        const auto *const led = std::ranges::find(kSoftLeds, soft.index1, &SoftLed::led);
        if (led == kSoftLeds.end() || !has(led->control, soft.index2)) {
            check.at_item("soft-led-alone", soft.key(),
                          fmt::format("{}: {}; nobody ever writes it", as_written(soft),
                                      led == kSoftLeds.end()
                                          ? "only the fan LED (4) and the power LED (6) are handed "
                                            "to software"
                                          : "the LED of this unit is not configured"));
        }
    }
}

}  // namespace

void check_leds(Check &check) {
    std::set<std::uint32_t> used_tables;
    check_controls(check, used_tables);
    check_tables(check, used_tables);
    check_soft_leds(check);
}

}  // namespace dfdctl::lint
