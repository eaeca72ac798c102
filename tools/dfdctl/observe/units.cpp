// SPDX-License-Identifier: MIT
#include "dfdctl/observe/units.hpp"

#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/leds.hpp"
#include "framework/item.h"
#include "hal/facts.h"

namespace dfdctl::observe {

namespace {

constexpr std::uint32_t kFabricCard = 31;

const info_ctrl_t *constant(std::uint32_t type) {
    const auto *record = record_of<info_ctrl_t>(item_of(type));
    return record != nullptr && record->mode == INFO_CTRL_MODE_CONSTANT ? record : nullptr;
}

}  // namespace

Units::Units(const LoadRecord &record, std::optional<std::uint32_t> own_slot) : record_(record) {
    find_own_slot(own_slot);
}

/// First indexes of the items of a type.
Numbers Units::index1_of(std::uint32_t type) const {
    Numbers found;
    for (const Item &item : items_of(record_, type)) {
        found.insert(item.index1);
    }
    return found;
}

void Units::find_own_slot(std::optional<std::uint32_t> known) {
    const std::uint32_t base =
        static_cast<std::uint32_t>(std::max(dfd::int_item_or(DFD_KEY_SLOT_BASE, 0), 0));
    if (known.has_value()) {
        own_slot_ = *known;
        own_slot_value_ = own_slot_ - base;
        return;
    }
    if (const info_ctrl_t *slot = constant(DFD_KEY_MY_SLOTID)) {
        own_slot_value_ = static_cast<std::uint32_t>(slot->int_cons);
        own_slot_ = own_slot_value_ + base;
        return;
    }
    Numbers taken = units_of(record_, UnitKind::slot);
    for (const std::uint32_t type :
         {DFD_KEY_CARD_TEMP_CTRL, DFD_KEY_CARD_VOL_WATERLINE, DFD_KEY_SSLOT_STATE}) {
        taken.merge(index1_of(type));
    }
    own_slot_ = base + 1;
    while (taken.contains(own_slot_)) {
        ++own_slot_;
    }
    own_slot_value_ = own_slot_ - base;
    is_own_slot_assumed_ = true;
}

/// Slots that anything is configured for, and the own one.
Numbers Units::slots() const {
    Numbers found = units_of(record_, UnitKind::slot);
    if (record_of<info_ctrl_t>(item_of(DFD_KEY_MY_SLOTID)) != nullptr) {
        // Beyond the last one where all the others have a card of their own.
        found.insert(own_slot_);
    }
    return found;
}

Numbers Units::led_types() const {
    Numbers found = index1_of(DFD_KEY_SOFT_LED_CTRL);
    for (const Led &led : leds()) {
        if (!items_of(record_, led.control).empty()) {
            found.insert(led.type);
        }
    }
    return found;
}

std::uint32_t Units::card_of(std::uint32_t slot) const {
    if (slot == own_slot_) {
        return 0;
    }
    return slot == kFabricCard - 1 ? kFabricCard : slot;
}

Numbers Units::led_units(std::uint32_t led_type) const {
    const auto led = std::ranges::find(leds(), led_type, &Led::type);
    return led != leds().end() && led->has_units ? index1_of(led->control) : Numbers{0};
}

Numbers Units::macs() const {
    Numbers found;
    for (const std::uint32_t index : second_indexes(record_, DFD_KEY_CARD_TEMP_CTRL, 0)) {
        if (index >= dfd::kFirstMacIndex) {
            found.insert(index - dfd::kFirstMacIndex);
        }
    }
    return found;
}

Numbers Units::backplanes() const {
    const Numbers found = units_of(record_, UnitKind::backplane);
    return found.empty() ? Numbers{dfd::kFirstBackplane} : found;
}

Numbers Units::irq_types() const {
    Numbers found;
    for (const Item &item : items_of(record_, DFD_KEY_IRQ_INFO)) {
        found.insert(record_of<irq_info_t>(item)->type);
    }
    return found;
}

/// `first`: the number before it in the call, of rotors and LEDs; of channels and sensors the card.
Numbers Units::numbers(Role role, std::uint32_t first) const {
    switch (role) {
        case Role::fan:
            return units_of(record_, UnitKind::tray);
        case Role::rotor:
            return rotors_of(record_, first);
        case Role::supply:
            return units_of(record_, UnitKind::supply);
        case Role::slot:
            return slots();
        case Role::card:
            return units_of(record_, UnitKind::card);
        case Role::sub_slot:
            return units_of(record_, UnitKind::sub_slot);
        case Role::channel:
            return channels_of(record_, first);
        case Role::sensor:
        case Role::card_sensor:
            return sensors(role, first);
        case Role::port:
            return units_of(record_, UnitKind::port);
        case Role::mac:
            return macs();
        case Role::backplane:
            return backplanes();
        case Role::serial:
            return {0, 1, 2, 3};
        case Role::led_type:
            return led_types();
        case Role::fan_led:
            return index1_of(DFD_KEY_MB_FAN_LED_CTRL);
        case Role::tray_led:
            return index1_of(DFD_KEY_MB_FAN_IN_FAN_LED_CTRL);
        case Role::supply_led:
            return index1_of(DFD_KEY_MB_PWR_LED_CTRL);
        case Role::led_unit:
            return led_units(first);
        case Role::led_state:
            return {0, 1, 2, 3, 4, 5, 6};
        case Role::irq_type:
            return irq_types();
        case Role::group:
            return {DFD_WP_BOARD, DFD_WP_FANS, DFD_WP_SUBCARDS, DFD_WP_BACKPLANE};
        default:
            return {facts_of(role).standard};
    }
}

/// Of a card; without those of switch chips where these have functions of their own.
Numbers Units::sensors(Role role, std::uint32_t card) const {
    Numbers found = second_indexes(record_, DFD_KEY_CARD_TEMP_INFO, card);
    if (role == Role::card_sensor) {
        std::erase_if(found, [card](std::uint32_t sensor) {
            const auto *record =
                record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, card, sensor));
            return record != nullptr && record->type == TEMP_INFO_MAC;
        });
    }
    return found;
}

/// Numbers of an index, given the first number of the same call and its role; the standard number
/// alone for what is no index. Rotors depend on the tray, channels on the slot. A sensor stands
/// behind a slot or a card, or alone for the own one.
const std::vector<std::uint32_t> &Units::values_of(Role role, Role before,
                                                   std::uint32_t first) const {
    switch (role) {
        case Role::rotor:
        case Role::led_unit:
            break;
        case Role::channel:
        case Role::sensor:
        case Role::card_sensor:
            first = before == Role::slot ? card_of(first) : first;
            break;
        default:
            first = 0;
    }
    const auto [at, is_new] = known_.try_emplace({role, first});
    if (is_new) {
        const Numbers found = numbers(role, first);
        at->second.assign(found.begin(), found.end());
    }
    return at->second;
}

std::vector<Args> Units::all_args(const Call &call) const {
    std::vector<Args> all = {{}};
    const std::vector<Role> roles = call.number_roles();
    for (const Role role : roles) {
        std::vector<Args> longer;
        for (const Args &args : all) {
            const std::uint32_t first = args.numbers.empty() ? 0 : args.numbers.front();
            for (const std::uint32_t number : values_of(role, roles.front(), first)) {
                Args &next = longer.emplace_back();
                next.numbers.reserve(roles.size());
                next.numbers = args.numbers;
                next.numbers.push_back(number);
            }
        }
        all = std::move(longer);
    }
    return all;
}

}  // namespace dfdctl::observe
