// SPDX-License-Identifier: MIT
// Commands that change the state of the hardware through the library's functions.
#include "dfdctl/control/controls.hpp"
#include "dfdctl/board/item_value.hpp"

#include <dfd/access.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>
#include <dfd/irq.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <algorithm>

#include "common/nearest.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/leds.hpp"
#include "dfdctl/board/library_calls.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/board/write_protection.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace dfdctl {

namespace {

std::uint32_t number_of(const std::string &text, const char *what, std::uint32_t last) {
    std::uint32_t number = 0;
    if (!parse_number(text, number) || number > last) {
        throw UsageError(fmt::format("{} '{}' is no number from 0 to {}", what, text, last));
    }
    return number;
}

std::uint32_t index_of(const std::string &text, const char *what, std::uint32_t type) {
    return number_of(text, what, static_cast<std::uint32_t>(key_types()[type].max1));
}

bool is_on(const std::string &text) {
    if (text != "on" && text != "off") {
        throw UsageError(fmt::format("'{}' is neither on nor off", text));
    }
    return text == "on";
}

/// The word's position among the names; throws UsageError with the nearest of them.
std::size_t one_of(const std::string &word, const char *what,
                   const std::vector<std::string_view> &names) {
    const auto found = std::find(names.begin(), names.end(), word);
    if (found == names.end()) {
        throw UsageError(fmt::format("unknown {} '{}'{}; known are: {}", what, word,
                                     dfd_tools::did_you_mean(word, names), fmt::join(names, ", ")));
    }
    return static_cast<std::size_t>(found - names.begin());
}

bool is_configured(const Item &item) {
    return record_of<char>(item) != nullptr;
}

/// The register's value with a name: the first for 0, the second for anything else.
std::function<Reading()> named_register(const Item &item, const char *zero, const char *other) {
    return [=] {
        Reading reading = read_register(item);
        if (const auto *number = std::get_if<std::int64_t>(&reading.value)) {
            reading.meaning = *number == 0 ? zero : other;
        }
        return reading;
    };
}

/// A switch that reads back through its own item, which shows 1 or 0.
Change switching(const std::string &target, const Item &item, bool on,
                 std::function<int()> execute) {
    return {.target = target,
            .requested = on ? "on" : "off",
            .item = item,
            .execute = std::move(execute),
            .read = named_register(item, "off", "on"),
            .expected = std::int64_t{on}};
}

// ---- fan speed ----------------------------------------------------------------------------------

bool has_level(std::uint32_t level) {
    return record_of<int>(item_of(DFD_KEY_FAN_SPEED_LEVEL_SUPPORT)) == nullptr ||
           is_configured(item_of(DFD_KEY_FAN_SPEEDLVL_CONVERT, level));
}

Change rotor_speed(std::uint32_t fan, std::uint32_t rotor, std::uint32_t level) {
    const Place place{fan, rotor};
    const Answer now = by_pointer<drv_get_fan_speed_level>(place);
    const auto *running = std::get_if<std::int64_t>(&now.value);
    const bool is_slower = running == nullptr || *running > std::int64_t{level};
    Change change{
        .target = fmt::format("fan {} rotor {}", fan, rotor),
        .requested = std::to_string(level),
        .item = item_of(DFD_KEY_FAN_CFG_SPEED, fan, rotor),
        .execute =
            [=] { return drv_set_fan_speed_level(fan, static_cast<std::uint8_t>(rotor), level); },
        .expected = std::int64_t{level}};
    if (const Item item = item_of(DFD_KEY_GET_FAN_CFG_SPEED, fan, rotor); is_configured(item)) {
        change.read = [item] { return read_item(item); };
    }
    if (is_slower) {
        change.warning =
            fmt::format("fan {} rotor {} will turn slower, what it cools gets hotter", fan, rotor);
    }
    if (sdd_get_fan_status(fan) == FAN_STATUS_ABSENT) {
        change.obstacle = "the fan tray is not plugged";
    }
    return change;
}

std::vector<Change> fan_speed(const ControlWords &words, const LoadRecord & /*record*/) {
    const std::uint32_t fan = index_of(words.front(), "fan", DFD_KEY_FAN_CFG_SPEED);
    const std::uint32_t level = number_of(words.back(), "speed level", dfd::kWholeByte);
    if (!has_level(level)) {
        throw UsageError(
            fmt::format("the board has no speed level {}: no fan_speedlvl_convert_{} "
                        "is configured",
                        level, level));
    }
    if (words.size() > 2) {
        return {rotor_speed(fan, index_of(words[1], "rotor", DFD_KEY_FAN_CFG_SPEED), level)};
    }
    std::vector<Change> changes;
    for (std::uint32_t rotor = 1; rotor <= rotor_count(fan); ++rotor) {
        changes.push_back(rotor_speed(fan, rotor, level));
    }
    return changes;
}

// ---- led set ------------------------------------------------------------------------------------

std::vector<Change> led_set(const ControlWords &words, const LoadRecord & /*record*/) {
    std::vector<std::string_view> names;
    for (const Led &led : leds()) {
        names.emplace_back(led.name);
    }
    const Led &led = leds()[one_of(words[0], "LED", names)];
    std::vector<std::string_view> states;
    for (std::uint32_t state = LED_STATE_DARK; state <= LED_STATE_FSPARK_CLOSE; ++state) {
        states.push_back(led_state_name(state));
    }
    const auto state = static_cast<std::uint32_t>(one_of(words[1], "LED state", states));
    if (words.size() > 2 && !led.has_units) {
        throw UsageError(fmt::format("there is one '{}' LED only, without a unit", led.name));
    }
    const std::uint32_t unit = words.size() > 2 ? index_of(words[2], "unit", led.control) : 0;
    const Item item = item_of(led.control, unit);
    std::uint32_t value = 0;
    const int supported = dfd_get_led_info_regval(item_of(led.table).key(), state, &value);
    Change change{
        .target = fmt::format("LED {}{}", led.name,
                              led.has_units ? fmt::format(" {}", unit) : std::string()),
        .requested = words[1],
        .item = item,
        .execute = [type = led.type, state, unit] { return drv_set_led(type, state, unit); },
        .read = [item] { return read_item(item); },
        .expected = std::int64_t{value}};
    if (supported != DFD_OK) {
        change.obstacle = fmt::format("the LED cannot show '{}'", words[1]);
        change.obstacle_status = kExitNotSupported;
    }
    return {change};
}

// ---- Slots, ports, the peer ---------------------------------------------------------------------

std::vector<Change> slot_reset(const ControlWords &words, const LoadRecord & /*record*/) {
    constexpr std::uint32_t kFirst = 1;
    constexpr std::uint32_t kLast = 28;
    const bool all = words[0] == "all";
    std::uint32_t slot = all ? kFirst : index_of(words[0], "slot", DFD_KEY_RESET_LC);
    while (all && slot < kLast && !is_configured(item_of(DFD_KEY_RESET_LC, slot))) {
        ++slot;
    }
    const std::string target = all ? "all line cards" : fmt::format("slot {}", slot);
    return {{.target = target,
             .requested = "reset",
             .item = item_of(DFD_KEY_RESET_LC, slot),
             .warning = fmt::format("{} will restart and drop traffic", target),
             .execute = [=] { return drv_reset_linecard(static_cast<int>(slot), all ? 1 : 0); }}};
}

std::vector<Change> slot_power(const ControlWords &words, const LoadRecord & /*record*/) {
    const std::uint32_t slot = index_of(words[0], "slot", DFD_KEY_CARD_POWER_CTRL);
    const bool on = is_on(words[1]);
    const int virtual_slot = sdd_get_virtual_slotid(static_cast<int>(slot));
    if (virtual_slot < 0) {
        throw UsageError(fmt::format("there is no slot {}", slot));
    }
    const auto card = static_cast<std::uint32_t>(virtual_slot);
    Change change = switching(
        fmt::format("power of slot {}", slot), item_of(DFD_KEY_CARD_POWER_CTRL, card), on,
        [=] { return drv_control_card_power_on_off(static_cast<int>(slot), on ? 1 : 0); });
    if (!on) {
        change.warning = fmt::format("the card in slot {} will go down and drop traffic", slot);
    }
    return {change};
}

std::vector<Change> sfp_tx(const ControlWords &words, const LoadRecord & /*record*/) {
    const std::uint32_t port = index_of(words[0], "port", DFD_KEY_PORT_SFP_TX);
    const bool on = is_on(words[1]);
    Change change =
        switching(fmt::format("transmitter of port {}", port), item_of(DFD_KEY_PORT_SFP_TX, port),
                  on, [=] { return dfd_port_set_sfp_tx(port, on ? 1 : 0); });
    if (!on) {
        change.warning = fmt::format("the link of port {} will go down", port);
    }
    return {change};
}

std::vector<Change> master_reset(const ControlWords & /*words*/, const LoadRecord & /*record*/) {
    return {{.target = "peer master board",
             .requested = "reset",
             .item = item_of(DFD_KEY_RST_MASTER),
             .warning = "the peer master board will restart",
             .failure = "the peer master board did not go down",
             .execute = drv_reset_master}};
}

// ---- irq mask, write-protect --------------------------------------------------------------------

/// The first mask of a source of the type; an item that nothing configures where none has one.
Item first_mask(const LoadRecord &record, std::uint32_t type) {
    for (const Item &source : irq_sources(record)) {
        const std::vector<Item> masks = irq_masks(source);
        if (record_of<irq_info_t>(source)->type == type && !masks.empty()) {
            return masks.front();
        }
    }
    return item_of(DFD_KEY_IRQ_MASK, UINT16_MAX);
}

std::vector<Change> irq_mask(const ControlWords &words, const LoadRecord &record) {
    std::vector<std::string_view> names;
    for (const irq_type_name_t &row : g_irq_type_name) {
        names.emplace_back(row.name);
    }
    const irq_type_name_t &type = g_irq_type_name[one_of(words[0], "interrupt type", names)];
    const bool masked = is_on(words[1]);
    Change change{.target = fmt::format("interrupts of type {}", type.name),
                  .requested = masked ? "masked" : "unmasked",
                  .item = first_mask(record, type.type),
                  .execute = [=, number = static_cast<int>(type.type)] {
                      return drv_irq_set_cfg(number, masked ? 0 : 1);
                  }};
    const Item item = change.item;
    change.read = named_register(item, "unmasked", "masked");
    change.is_flag = true;
    if (!is_configured(item)) {
        change.obstacle = fmt::format(
            "not supported: no source of type {} has an irq_mask on this "
            "board",
            type.name);
        change.obstacle_status = kExitNotSupported;
    }
    change.expected = std::int64_t{masked};
    return {change};
}

std::vector<Change> write_protect(const ControlWords &words, const LoadRecord & /*record*/) {
    std::vector<std::string_view> names;
    for (const ProtectionGroup &group : protection_groups()) {
        names.push_back(group.name);
    }
    const ProtectionGroup &group = protection_groups()[one_of(words[0], "target", names)];
    const bool on = is_on(words[1]);
    const std::vector<Item> signals = group.signals();
    const Item item =
        signals.empty() ? item_of(DFD_KEY_E2_WRITE_PROTECT, group.last) : signals.front();
    return {
        {.target = fmt::format("write protection of {}", group.name),
         .requested = words[1],
         .item = item,
         .execute = [=, target = group.target] { return drv_set_e2_wr_pro(target, on ? 1 : 0); },
         .read = named_register(item, "off", "on"),
         .expected = on && is_configured(item)
                         ? reads_back_as(*record_of<info_ctrl_t>(item), kProtected)
                         : 0}};
}

constexpr Control kControls[] = {
    {"fan", "speed", "FAN [ROTOR] LEVEL",
     "Number of the fan tray, of one rotor or else all of them, and the speed level",
     "Set the speed level of fans", "dfdctl fan speed 1 3 --yes", 2, 3, fan_speed},
    {"led", "set", "LED STATE [UNIT]",
     "As 'show leds' names them: the LED, a state that it can show, and the unit where it has "
     "units "
     "(default 0)",
     "Set an LED", "dfdctl led set alarm red", 2, 3, led_set},
    {"slot", "reset", "SLOT|all", "Number of the slot, or all",
     "Reset the line card of a slot, or all of them", "dfdctl slot reset 3 --yes", 1, 1,
     slot_reset},
    {"slot", "power", "SLOT on|off", "Number of the slot, and what its power shall be",
     "Switch the power of a card", "dfdctl slot power 3 off --yes", 2, 2, slot_power},
    {"sfp", "tx", "PORT on|off", "Number of the port, and what its transmitter shall be",
     "Switch the transmitter of a port", "dfdctl sfp tx 1 off --yes", 2, 2, sfp_tx},
    {"irq", "mask", "TYPE on|off",
     "Interrupt type as 'show irq' names it; on masks its sources, off lets them through",
     "Mask or unmask all interrupt sources of a type", "dfdctl irq mask card on", 2, 2, irq_mask},
    {"master", "reset", "", "", "Reset the peer master board", "dfdctl master reset --yes", 0, 0,
     master_reset},
    {"write-protect", nullptr, "TARGET on|off", "board, fans, subcards or backplane, and on or off",
     "Switch the write protection of EEPROMs", "dfdctl write-protect fans off", 2, 2,
     write_protect},
};

}  // namespace

std::span<const Control> controls() {
    return kControls;
}

}  // namespace dfdctl
