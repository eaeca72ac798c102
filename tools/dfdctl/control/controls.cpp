// SPDX-License-Identifier: MIT
// Commands that change the state of the hardware through the library's functions.
#include "dfdctl/control/controls.hpp"

#include <dfd/access.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>
#include <dfd/irq.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <algorithm>
#include <iterator>

#include "common/nearest.hpp"
#include "common/text.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/leds.hpp"
#include "dfdctl/board/library_calls.hpp"
#include "dfdctl/board/register_bits.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/board/value_words.hpp"
#include "dfdctl/board/write_protection.hpp"
#include "dfdctl/control/run.hpp"
#include "framework/dfd_info/bits.h"
#include "framework/platform.h"
#include "hal/facts.h"
#include "hal/irq_distrib.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr const char *kAll = "all";
constexpr const char *kNoTray = "the fan tray is not plugged";

std::uint32_t number_of(const std::string &text, const char *what, std::uint32_t last) {
    std::uint32_t number = 0;
    if (!parse_number(text, number) || number > last) {
        throw UsageError(fmt::format("{} '{}' is no number from 0 to {}", what, text, last));
    }
    return number;
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
                                     dfd_tools::did_you_mean(word, names),
                                     dfd_tools::joined(names, ", ")));
    }
    return static_cast<std::size_t>(found - names.begin());
}

bool is_configured(const Item &item) {
    return record_of<char>(item) != nullptr;
}

/// The item's number with a name: the first for 0, the second for anything else.
std::function<Reading()> named_register(const Item &item, const char *zero, const char *other) {
    return [=] {
        Reading reading = read_register(item);
        if (const auto *number = std::get_if<std::int64_t>(&reading.value)) {
            reading.meaning = *number == 0 ? zero : other;
        }
        return reading;
    };
}

void add_signal(Change &change, const Signal &signal) {
    if (is_configured(signal.item)) {
        change.signals.push_back(signal);
    } else if (!signal.is_beside && change.missing.empty()) {
        change.missing = signal.item.name();
    }
}

/// A switch of one item, which shows 1 or 0.
Change switching(const std::string &target, const Item &item, bool on,
                 std::function<int()> execute) {
    Change change{.target = target, .requested = on ? "on" : "off", .execute = std::move(execute)};
    add_signal(change, {.target = target,
                        .item = item,
                        .written = std::uint32_t{on},
                        .show = named_register(item, "off", "on")});
    return change;
}

/// Stops a change that makes no sense without what a presence item tells of.
void require_present(Change &change, const Item &presence, const std::string &absent) {
    if (!is_configured(presence)) {
        return;
    }
    const Reading reading = read_register(presence);
    const auto *number = std::get_if<std::int64_t>(&reading.value);
    if (number == nullptr) {
        change.obstacle = fmt::format("nothing was done, whether it is there cannot be read: {}",
                                      error_with_advice(reading));
        change.obstacle_status = kExitIo;
    } else if (*number == 0) {
        change.obstacle = absent;
    }
}

// ---- fan speed ----------------------------------------------------------------------------------

void check_level(std::uint32_t level, const LoadRecord &record) {
    Numbers levels;
    for (const Item &item : items_of(record, DFD_KEY_FAN_SPEEDLVL_CONVERT)) {
        levels.insert(item.index1);
    }
    const bool needs_table = is_configured(item_of(DFD_KEY_FAN_SPEED_LEVEL_SUPPORT));
    if (needs_table && !levels.contains(level)) {
        throw UsageError(
            fmt::format("the board has no speed level {}: no fan_speedlvl_convert_{} "
                        "is configured; it has {}",
                        level, level, ranges_text(levels)));
    }
}

std::uint32_t value_of_level(std::uint32_t level) {
    const auto *value = record_of<int>(item_of(DFD_KEY_FAN_SPEEDLVL_CONVERT, level));
    return value != nullptr ? static_cast<std::uint32_t>(*value) : level;
}

Change rotor_speed(std::uint32_t fan, std::uint32_t rotor, std::uint32_t level) {
    const Answer now = by_pointer<drv_get_fan_speed_level>({fan, rotor});
    const auto *running = std::get_if<std::int64_t>(&now.value);
    const Item shown = item_of(DFD_KEY_GET_FAN_CFG_SPEED, fan, rotor);
    Signal signal{.target = fmt::format("fan {} rotor {}", fan, rotor),
                  .item = item_of(DFD_KEY_FAN_CFG_SPEED, fan, rotor),
                  .written = value_of_level(level)};
    if (is_configured(shown)) {
        signal.show = [shown] { return read_item(shown); };
    }
    // The register that a level is written to need not be the one that shows it.
    if (is_configured(shown) && !is_same_register(signal.item, shown)) {
        signal.shows = std::int64_t{level};
    }
    Change change{.target = signal.target, .requested = std::to_string(level), .execute = [=] {
                      return drv_set_fan_speed_level(fan, static_cast<std::uint8_t>(rotor), level);
                  }};
    add_signal(change, signal);
    if (running == nullptr || *running > std::int64_t{level}) {
        change.warning =
            fmt::format("fan {} rotor {} will turn slower, what it cools gets hotter", fan, rotor);
    }
    require_present(change, item_of(DFD_KEY_FAN_STATE, fan), kNoTray);
    return change;
}

std::vector<Change> fan_speed(const ControlWords &words, const LoadRecord &record) {
    const std::uint32_t fan =
        unit_number(words.front(), "fan tray", units_of(record, UnitKind::tray));
    const std::uint32_t level = number_of(words.back(), "speed level", dfd::kWholeByte);
    check_level(level, record);
    Numbers rotors;
    for (std::uint32_t rotor = 1; rotor <= rotor_count(fan); ++rotor) {
        rotors.insert(rotor);
    }
    if (words.size() > 2) {
        rotors = {unit_number(words[1], "rotor", rotors, fmt::format("fan tray {}", fan))};
    }
    std::vector<Change> changes;
    for (const std::uint32_t rotor : rotors) {
        changes.push_back(rotor_speed(fan, rotor, level));
    }
    if (!changes.empty()) {
        add_signal(changes.front(), {.target = "fan control",
                                     .item = item_of(DFD_KEY_FAN_MODE),
                                     .written = dfd::kManualFanMode,
                                     .is_beside = true});
    }
    return changes;
}

// ---- led set ------------------------------------------------------------------------------------

/// The register's value, and the state that the library takes it for.
Reading led_reading(const Led &led, const Item &item) {
    Reading reading = read_register(item);
    const Answer state = led_state(led, item.index1);
    const auto *name = std::get_if<std::string>(&state.value);
    if (reading.ok() && name != nullptr) {
        reading.meaning = *name;
    }
    return reading;
}

std::uint32_t led_unit(const Led &led, const ControlWords &words, const LoadRecord &record) {
    if (words.size() <= 2) {
        return 0;
    }
    if (!led.has_units) {
        throw UsageError(fmt::format("there is one '{}' LED only, without a unit", led.name));
    }
    return unit_number(words[2], "unit", first_indexes(record, led.control),
                       fmt::format("the '{}' LED", led.name));
}

/// The tray or supply that an LED is on; LEDs of unit 0 are the board's.
void require_unit(Change &change, const Led &led, std::uint32_t unit) {
    change.obstacle_status = kExitReadingFailed;
    if (led.type == DFD_LED_FAN || led.type == DFD_LED_FAN_IN_FAN) {
        require_present(change, item_of(DFD_KEY_FAN_STATE, unit), kNoTray);
    } else if (led.type == DFD_LED_POWER) {
        require_present(change, item_of(DFD_KEY_POWER_PRESENT, unit), "the supply is not plugged");
    }
}

std::string led_obstacle(const Led &led, const std::string &state, std::uint32_t *value) {
    std::vector<std::string_view> shown;
    bool is_possible = false;
    for (std::uint32_t each = LED_STATE_DARK; each <= LED_STATE_FSPARK_CLOSE; ++each) {
        std::uint32_t register_value = 0;
        if (dfd_get_led_info_regval(item_of(led.table).key(), each, &register_value) == DFD_OK) {
            shown.push_back(led_state_name(each));
            const bool is_asked = led_state_name(each) == state;
            is_possible = is_possible || is_asked;
            *value = is_asked ? register_value : *value;
        }
    }
    return is_possible ? std::string()
                       : fmt::format("the LED cannot show '{}'; it shows {}", state,
                                     shown.empty() ? "nothing" : dfd_tools::joined(shown, ", "));
}

std::vector<Change> led_set(const ControlWords &words, const LoadRecord &record) {
    std::vector<std::string_view> names;
    for (const Led &each : leds()) {
        names.emplace_back(each.name);
    }
    const Led &led = leds()[one_of(words[0], "LED", names)];
    std::vector<std::string_view> states;
    for (std::uint32_t state = LED_STATE_DARK; state <= LED_STATE_FSPARK_CLOSE; ++state) {
        states.push_back(led_state_name(state));
    }
    const auto state = static_cast<std::uint32_t>(one_of(words[1], "LED state", states));
    const std::uint32_t unit = led_unit(led, words, record);
    const Item item = item_of(led.control, unit);
    Change change{
        .target = led.has_units ? fmt::format("LED {} {}", led.name, unit)
                                : fmt::format("LED {}", led.name),
        .requested = words[1],
        .execute = [type = led.type, state, unit] { return drv_set_led(type, state, unit); }};
    std::uint32_t value = 0;
    change.obstacle = led_obstacle(led, words[1], &value);
    change.obstacle_status = kExitNotSupported;
    add_signal(change,
               {.target = change.target, .item = item, .written = value, .show = [&led, item] {
                    return led_reading(led, item);
                }});
    // The library hands the LEDs of fans and supplies to software before it sets them.
    if (led.type == DFD_LED_FAN || led.type == DFD_LED_POWER) {
        const Item handed = item_of(DFD_KEY_SOFT_LED_CTRL, led.type, unit);
        add_signal(change, {.target = change.target + " under software control",
                            .item = handed,
                            .written = 1,
                            .show = named_register(handed, kNoYes[0], kNoYes[1]),
                            .is_beside = true});
    }
    if (change.obstacle.empty()) {
        require_unit(change, led, unit);
    }
    if (dfd::file_exists(dfd::kFactoryMarker)) {
        change.obstacle =
            fmt::format("the factory console owns the LEDs while {} exists", dfd::kFactoryMarker);
        change.obstacle_status = kExitReadingFailed;
    }
    return {change};
}

// ---- Slots, ports, the peer ---------------------------------------------------------------------

bool is_own_slot(std::uint32_t slot) {
    return static_cast<int>(slot) == sdd_get_my_slotid();
}

std::uint32_t slot_number(const std::string &word, const LoadRecord &record) {
    Numbers slots = units_of(record, UnitKind::slot);
    if (const int own = sdd_get_my_slotid(); own > 0 && !slots.empty()) {
        slots.insert(static_cast<std::uint32_t>(own));
    }
    return unit_number(word, "slot", slots);
}

void require_card(Change &change, std::uint32_t slot) {
    // The library takes a presence that cannot be read for an empty slot; here it is no answer.
    if (!is_own_slot(slot)) {
        require_present(change, item_of(DFD_KEY_SLOT_ONLINE, slot),
                        fmt::format("no card in slot {}", slot));
    }
}

Signal reset_line(std::uint32_t slot) {
    const Item item = item_of(DFD_KEY_RESET_LC, slot);
    return {.target = fmt::format("slot {}", slot),
            .item = item,
            .show = named_register(item, kResetStates[0], kResetStates[1])};
}

constexpr const char *kStillHeld = "it is still held in reset";

/// In a reset of all line cards, keeps the library's writes from the reset lines of empty slots.
class EmptySlotsKept {
  public:
    explicit EmptySlotsKept(const Numbers &slots)
        : hooks_{.context = this,
                 .engine_begin =
                     [](void *self, const dfd::watch::EngineCall &call) {
                         static_cast<EmptySlotsKept *>(self)->begin(call.key);
                     },
                 .answer =
                     [](void *self, const dfd::watch::Transfer &transfer, int *result) {
                         return static_cast<EmptySlotsKept *>(self)->answer(transfer, result);
                     }},
          slots_(slots),
          outer_(dfd::watch::hooks),
          watching_(hooks_) {}

  private:
    void begin(std::uint32_t key) {
        const Item item = item_of_key(key);
        is_kept_ = item.type->type == DFD_KEY_RESET_LC && slots_.contains(item.index1);
    }
    bool answer(const dfd::watch::Transfer &transfer, int *result) const {
        if (!is_kept_ || !transfer.is_write) {
            return ask_outer(outer_, transfer, result);
        }
        *result = static_cast<int>(transfer.len);
        return true;
    }

    dfd::watch::Hooks hooks_;
    const Numbers &slots_;
    const dfd::watch::Hooks *outer_;
    bool is_kept_ = false;
    Watching watching_;
};

constexpr const char *kRestarts = "{}{} will restart and drop traffic";

/// Slots without a card, and those of which that cannot be read, are left out and told.
std::vector<Change> reset_all() {
    Change change{
        .target = "all line cards", .requested = "reset", .mismatch = kStillHeld, .is_pulse = true};
    std::vector<Change> left_out;
    Numbers empty;
    bool is_own = false;
    for (std::uint32_t slot = dfd::kFirstLineCard; slot <= dfd::kLastLineCard; ++slot) {
        Change none{.target = fmt::format("slot {}", slot), .requested = "reset"};
        if (is_configured(reset_line(slot).item)) {
            require_card(none, slot);
        }
        if (none.obstacle.empty()) {
            is_own = is_own || (is_own_slot(slot) && is_configured(reset_line(slot).item));
            add_signal(change, reset_line(slot));
            continue;
        }
        none.obstacle_status = none.obstacle_status == kExitIo ? kExitIo : kExitOk;
        empty.insert(slot);
        left_out.push_back(std::move(none));
    }
    if (change.signals.empty() && !left_out.empty()) {
        return left_out;
    }
    change.warning = fmt::format(kRestarts, change.target, is_own ? " and this board itself" : "");
    change.execute = [empty] {
        const EmptySlotsKept kept(empty);
        return drv_reset_linecard(0, 1);
    };
    left_out.insert(left_out.begin(), std::move(change));
    return left_out;
}

std::vector<Change> slot_reset(const ControlWords &words, const LoadRecord &record) {
    if (words[0] == kAll) {
        return reset_all();
    }
    const std::uint32_t slot = slot_number(words[0], record);
    Change change{.target = fmt::format("slot {}", slot),
                  .requested = "reset",
                  .mismatch = kStillHeld,
                  .is_pulse = true,
                  .execute = [=] { return drv_reset_linecard(static_cast<int>(slot), 0); }};
    add_signal(change, reset_line(slot));
    require_card(change, slot);
    const bool is_own = is_own_slot(slot) && !change.signals.empty();
    change.warning = fmt::format(kRestarts, change.target, is_own ? " and this board itself" : "");
    return {change};
}

std::vector<Change> slot_power(const ControlWords &words, const LoadRecord &record) {
    const std::uint32_t slot = slot_number(words[0], record);
    const bool on = is_on(words[1]);
    const int virtual_slot = sdd_get_virtual_slotid(static_cast<int>(slot));
    if (virtual_slot < 0) {
        throw UsageError(fmt::format("there is no slot {}", slot));
    }
    Change change = switching(
        fmt::format("power of slot {}", slot),
        item_of(DFD_KEY_CARD_POWER_CTRL, static_cast<std::uint32_t>(virtual_slot)), on,
        [=] { return drv_control_card_power_on_off(static_cast<int>(slot), on ? 1 : 0); });
    if (!on) {
        change.warning = fmt::format("the card in slot {} will go down and drop traffic", slot);
    }
    require_card(change, slot);
    return {change};
}

Change transmitter(std::uint32_t port, bool on) {
    Change change =
        switching(fmt::format("transmitter of port {}", port), item_of(DFD_KEY_PORT_SFP_TX, port),
                  on, [=] { return dfd_port_set_sfp_tx(port, on ? 1 : 0); });
    if (!on) {
        change.warning = fmt::format("the link of port {} will go down", port);
    }
    return change;
}

std::vector<Change> sfp_tx(const ControlWords &words, const LoadRecord &record) {
    const bool on = is_on(words[1]);
    const Numbers switched = first_indexes(record, DFD_KEY_PORT_SFP_TX);
    if (words[0] == kAll && switched.empty()) {
        return {transmitter(1, on)};
    }
    std::vector<Change> changes;
    for (const std::uint32_t port :
         words[0] == kAll
             ? switched
             : Numbers{unit_number(words[0], "port", units_of(record, UnitKind::port))}) {
        changes.push_back(transmitter(port, on));
    }
    return changes;
}

std::vector<Change> master_reset(const ControlWords & /*words*/, const LoadRecord & /*record*/) {
    const Item line = item_of(DFD_KEY_RST_MASTER);
    Change change{.target = "peer master board",
                  .requested = "reset",
                  .warning =
                      "the peer master board will restart; until it is down, which may take "
                      "12 seconds, nothing interrupts this",
                  .failure = "the peer master board did not go down",
                  .mismatch = kStillHeld,
                  .is_pulse = true,
                  .execute = drv_reset_master};
    add_signal(change, {.target = change.target,
                        .item = line,
                        .show = named_register(line, kResetStates[0], kResetStates[1])});
    require_present(change, item_of(DFD_KEY_MCPU_PRESENT), "there is no peer master board");
    return {change};
}

// ---- irq mask, write-protect --------------------------------------------------------------------

std::vector<Change> irq_mask(const ControlWords &words, const LoadRecord &record) {
    constexpr std::uint32_t kMasked = 0xFF;
    std::vector<std::string_view> names;
    for (const irq_type_name_t &row : g_irq_type_name) {
        names.emplace_back(row.name);
    }
    const irq_type_name_t &type = g_irq_type_name[one_of(words[0], "interrupt type", names)];
    const bool masked = is_on(words[1]);
    Change change{.target = fmt::format("interrupts of type {}", type.name),
                  .requested = masked ? "masked" : "unmasked",
                  .execute = [=, number = static_cast<int>(type.type)] {
                      return drv_irq_set_cfg(number, masked ? 0 : 1);
                  }};
    for (const Item &mask : irq_masks(record, type.type)) {
        add_signal(change,
                   {.target = fmt::format("{}, mask of {}", change.target, irq_position(mask)),
                    .item = mask,
                    .written = masked ? kMasked : 0,
                    .show = named_register(mask, "unmasked", "masked")});
    }
    if (change.signals.empty()) {
        change.obstacle = fmt::format(
            "not supported: no source of type {} has an irq_mask on this "
            "board",
            type.name);
        change.obstacle_status = kExitNotSupported;
    }
    return {change};
}

Reading protection_reading(const Item &signal) {
    Reading reading = read_register(signal);
    if (const auto *number = std::get_if<std::int64_t>(&reading.value)) {
        const auto &record = *record_of<info_ctrl_t>(signal);
        const bool is_on = *number == reads_back_as(record, kProtected);
        reading.meaning = *number == 0 ? "off" : is_on ? "on" : "in part";
    }
    return reading;
}

std::vector<Change> write_protect(const ControlWords &words, const LoadRecord & /*record*/) {
    std::vector<std::string_view> names;
    for (const ProtectionGroup &group : protection_groups()) {
        names.push_back(group.name);
    }
    const ProtectionGroup &group = protection_groups()[one_of(words[0], "target", names)];
    const bool on = is_on(words[1]);
    Change change{
        .target = fmt::format("write protection of {}", group.name),
        .requested = words[1],
        .missing = item_of(DFD_KEY_E2_WRITE_PROTECT, group.first).name(),
        .execute = [=, target = group.target] { return drv_set_e2_wr_pro(target, on ? 1 : 0); }};
    for (const Item &signal : group.signals()) {
        add_signal(change, {.target = fmt::format("write protection of {}", group.unit_of(signal)),
                            .item = signal,
                            .written = on ? kProtected : kUnprotected,
                            .show = [signal] { return protection_reading(signal); }});
    }
    return {change};
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
    {"sfp", "tx", "PORT|all on|off",
     "Number of the port, or all, and what its transmitter shall be",
     "Switch the transmitter of a port, or of all", "dfdctl sfp tx 1 off --yes", 2, 2, sfp_tx},
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
