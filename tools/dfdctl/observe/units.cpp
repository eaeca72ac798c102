// SPDX-License-Identifier: MIT
#include "dfdctl/observe/units.hpp"

#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/led.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/keys.hpp"

namespace dfdctl::observe {

namespace {

constexpr std::uint32_t kFirstMacIndex = 41;
constexpr std::uint32_t kFabricCard = 31;
constexpr std::uint32_t kLastSlot = 32;
constexpr std::uint32_t kLastUnit = 64;  // more of anything is a mistake in the configuration

std::uint32_t integer_or(std::uint32_t type, std::uint32_t otherwise) {
    const int *record = record_of<int>(item_of(type));
    return record != nullptr && *record >= 0 ? static_cast<std::uint32_t>(*record) : otherwise;
}

const info_ctrl_t *constant(std::uint32_t type, std::uint32_t index1 = 0) {
    const auto *record = record_of<info_ctrl_t>(item_of(type, index1));
    return record != nullptr && record->mode == INFO_CTRL_MODE_CONSTANT ? record : nullptr;
}

}  // namespace

Units::Units(const LoadRecord &log, std::optional<std::uint32_t> own_slot) : log_(log) {
    find_own_slot(own_slot);
}

Units::Numbers Units::index1_of(std::initializer_list<std::uint32_t> types) const {
    Numbers found;
    for (const std::uint32_t type : types) {
        for (auto at = log_.origins.lower_bound(DFD_MAKE_KEY(type, 0, 0));
             at != log_.origins.end() && DFD_KEY_TYPE(at->first) == type; ++at) {
            found.insert(item_of_key(at->first).index1);
        }
    }
    return found;
}

Units::Numbers Units::index2_of(std::uint32_t type, std::uint32_t index1) const {
    Numbers found;
    for (auto at = log_.origins.lower_bound(DFD_MAKE_KEY(type, index1, 0));
         at != log_.origins.end() && DFD_KEY_TYPE(at->first) == type &&
         item_of_key(at->first).index1 == index1;
         ++at) {
        found.insert(item_of_key(at->first).index2);
    }
    return found;
}

Units::Numbers Units::one_to(std::uint32_t count) const {
    Numbers found;
    for (std::uint32_t number = 1; number <= std::min(count, kLastUnit); ++number) {
        found.insert(found.end(), number);
    }
    return found;
}

void Units::find_own_slot(std::optional<std::uint32_t> known) {
    const std::uint32_t base = integer_or(DFD_KEY_SLOT_BASE, 0);
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
    const Numbers taken = index1_of(
        {DFD_KEY_SLOT_ONLINE, DFD_KEY_CARD_TEMP_INFO, DFD_KEY_CARD_TEMP_CTRL,
         DFD_KEY_CARD_RATE_POWER, DFD_KEY_CARD_POWER_STATUS, DFD_KEY_CARD_POWER_CTRL,
         DFD_KEY_CARD_VOL_LOW, DFD_KEY_CARD_VOL_WATERLINE, DFD_KEY_RESET_LC, DFD_KEY_SSLOT_STATE});
    own_slot_ = base + 1;
    while (taken.contains(own_slot_)) {
        ++own_slot_;
    }
    own_slot_value_ = own_slot_ - base;
}

/// Slots beside the own one that anything is configured for, and the own one.
Units::Numbers Units::slots() const {
    Numbers found = index1_of({DFD_KEY_SLOT_ONLINE, DFD_KEY_RESET_LC, DFD_KEY_CARD_POWER_CTRL,
                               DFD_KEY_CARD_POWER_STATUS, DFD_KEY_CARD_RATE_POWER,
                               DFD_KEY_CARD_TEMP_INFO, DFD_KEY_CARD_VOL_LOW});
    found.erase(0);
    found.erase(found.upper_bound(kLastSlot), found.end());
    if (record_of<info_ctrl_t>(item_of(DFD_KEY_MY_SLOTID)) != nullptr) {
        // Beyond the last one where all the others have a card of their own.
        found.insert(own_slot_);
    }
    return found;
}

Units::Numbers Units::rotors(std::uint32_t fan) const {
    const info_ctrl_t *count = constant(DFD_KEY_SUBFAN_NUM, fan);
    Numbers found =
        count != nullptr ? one_to(static_cast<std::uint32_t>(count->int_cons)) : Numbers();
    for (const std::uint32_t type :
         {DFD_KEY_FAN_REAL_SPEED, DFD_KEY_GET_FAN_CFG_SPEED, DFD_KEY_FAN_CFG_SPEED}) {
        found.merge(index2_of(type, fan));
    }
    if (found.empty()) {
        found.insert(1);
    }
    return found;
}

Units::Numbers Units::led_types() const {
    Numbers found = index1_of({DFD_KEY_SOFT_LED_CTRL});
    const struct {
        std::uint32_t type;
        std::uint32_t control;
    } kLeds[] = {{DFD_LED_STATUS, DFD_KEY_MB_STATUS_LED_CTRL},
                 {DFD_LED_PRIMARY, DFD_KEY_MB_PRIMARY_LED_CTRL},
                 {DFD_LED_ALARM, DFD_KEY_MB_ALARM_LED_CTRL},
                 {DFD_LED_FABRIC, DFD_KEY_MB_FE_LED_CTRL},
                 {DFD_LED_FAN, DFD_KEY_MB_FAN_LED_CTRL},
                 {DFD_LED_FAN_IN_FAN, DFD_KEY_MB_FAN_IN_FAN_LED_CTRL},
                 {DFD_LED_POWER, DFD_KEY_MB_PWR_LED_CTRL},
                 {DFD_LED_LINE_CARD, DFD_KEY_LC_STATUS_LED_CTRL},
                 {DFD_LED_FABRIC_OFFLINE, DFD_KEY_FE_OFFLINE_LED_CTRL},
                 {DFD_LED_LOCATION, DFD_KEY_LOCATION_LED_CTRL}};
    for (const auto &led : kLeds) {
        if (!index1_of({led.control}).empty()) {
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

Units::Numbers Units::led_units(std::uint32_t led_type) const {
    switch (led_type) {
        case DFD_LED_FAN:
            return index1_of({DFD_KEY_MB_FAN_LED_CTRL});
        case DFD_LED_FAN_IN_FAN:
            return index1_of({DFD_KEY_MB_FAN_IN_FAN_LED_CTRL});
        case DFD_LED_POWER:
            return index1_of({DFD_KEY_MB_PWR_LED_CTRL});
        default:
            return {0};
    }
}

Units::Numbers Units::macs() const {
    Numbers found;
    for (const std::uint32_t index : index2_of(DFD_KEY_CARD_TEMP_CTRL, 0)) {
        if (index >= kFirstMacIndex) {
            found.insert(index - kFirstMacIndex);
        }
    }
    return found;
}

/// Of a card that has voltages: as many as are counted, and those that have items beyond.
Units::Numbers Units::channels(std::uint32_t card) const {
    Numbers found = index2_of(DFD_KEY_CARD_VOL_LOW, card);
    if (!found.empty()) {
        found.merge(one_to(integer_or(DFD_KEY_CARD_VOL_NUM, 0)));
        found.erase(0);  // the reference
    }
    return found;
}

Units::Numbers Units::backplanes() const {
    Numbers found = index1_of({DFD_KEY_BP_E2PROM_DEV, DFD_KEY_E2_SETMAC, DFD_KEY_BACKPLANE_HW_VER,
                               DFD_KEY_BACKPLANE_SN, DFD_KEY_BACKPLANE_MAC});
    if (found.empty()) {
        found.insert(1);
    }
    return found;
}

Units::Numbers Units::irq_types() const {
    Numbers found;
    for (auto at = log_.origins.lower_bound(DFD_MAKE_KEY(DFD_KEY_IRQ_INFO, 0, 0));
         at != log_.origins.end() && DFD_KEY_TYPE(at->first) == DFD_KEY_IRQ_INFO; ++at) {
        const auto *record = record_of<irq_info_t>(item_of_key(at->first));
        if (record != nullptr) {
            found.insert(record->type);
        }
    }
    return found;
}

/// Numbers 1 to a configured count, and those that have items of their own beyond.
Units::Numbers Units::counted(std::uint32_t count,
                              std::initializer_list<std::uint32_t> types) const {
    Numbers found = one_to(integer_or(count, 0));
    found.merge(index1_of(types));
    return found;
}

Units::Numbers Units::numbers(Role role, std::span<const std::uint32_t> before) const {
    const std::uint32_t first = before.empty() ? 0 : before.front();
    switch (role) {
        case Role::fan:
            return counted(DFD_KEY_FAN_NUM, {DFD_KEY_FAN_STATE});
        case Role::rotor:
            return rotors(first);
        case Role::supply:
            return index1_of({DFD_KEY_POWER_PRESENT, DFD_KEY_POWER_STATE, DFD_KEY_POWER_TYPE});
        case Role::slot:
            return slots();
        case Role::card:
            return index1_of({DFD_KEY_CARD_TEMP_INFO});
        case Role::sub_slot:
            return counted(DFD_KEY_SSLOT_NUM, {DFD_KEY_SSLOT_E2PROM, DFD_KEY_SSLOT_STATE});
        case Role::channel:
            return channels(card_of(first));
        case Role::port:
            return index1_of({DFD_KEY_PORT_SFP_STATE, DFD_KEY_PORT_SFP_TX});
        case Role::mac:
            return macs();
        case Role::backplane:
            return backplanes();
        case Role::serial:
            return {0, 1, 2, 3};
        case Role::led_type:
            return led_types();
        case Role::fan_led:
            return index1_of({DFD_KEY_MB_FAN_LED_CTRL});
        case Role::tray_led:
            return index1_of({DFD_KEY_MB_FAN_IN_FAN_LED_CTRL});
        case Role::supply_led:
            return index1_of({DFD_KEY_MB_PWR_LED_CTRL});
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

std::vector<std::uint32_t> Units::values(Role role, std::span<const std::uint32_t> before) const {
    const Numbers found = numbers(role, before);
    return {found.begin(), found.end()};
}

/// The numbers of one parameter. A sensor stands behind a slot or a card, or alone for the own one.
std::vector<std::uint32_t> Units::values_of(const Call &call, Role role,
                                            std::span<const std::uint32_t> before) const {
    if (role != Role::sensor && role != Role::card_sensor) {
        return values(role, before);
    }
    const bool behind_slot = !before.empty() && call.inputs().front()->role == Role::slot;
    const std::uint32_t first = before.empty() ? 0 : before.front();
    const std::uint32_t card = behind_slot ? card_of(first) : first;
    Numbers found = index2_of(DFD_KEY_CARD_TEMP_INFO, card);
    if (role == Role::card_sensor) {
        std::erase_if(found, [card](std::uint32_t sensor) {
            const auto *record =
                record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, card, sensor));
            return record != nullptr && record->type == TEMP_INFO_MAC;
        });
    }
    return {found.begin(), found.end()};
}

std::vector<Args> Units::all_args(const Call &call) const {
    std::vector<Args> all = {{}};
    for (const Param *param : call.inputs()) {
        if (facts_of(param->role).kind == RoleKind::text) {
            continue;
        }
        std::vector<Args> longer;
        for (const Args &args : all) {
            for (const std::uint32_t number : values_of(call, param->role, args.numbers)) {
                longer.push_back(args);
                longer.back().numbers.push_back(number);
            }
        }
        all = std::move(longer);
    }
    return all;
}

}  // namespace dfdctl::observe
