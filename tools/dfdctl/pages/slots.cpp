// SPDX-License-Identifier: MIT
// Slots and what stands in them: cards, the peer master board, sub-cards.
#include <dfd/access.h>
#include <dfd/card.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>

#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

namespace {

Answer of_item(std::uint32_t type, const Place &place) {
    int value = 0;
    const int code = dfd_info_get_int(item_of(type, place.index1).key(), &value, nullptr);
    return code == DFD_OK ? Answer{.value = std::int64_t{value}} : Answer{.code = code};
}

/// The library takes a presence that cannot be read for an empty slot.
template <auto Get, std::uint32_t Type>
Answer presence(const Place &place) {
    const Answer answer = by_result<Get>(place);
    const Answer line = of_item(Type, place);
    const bool is_empty = answer.value == decltype(answer.value)(std::int64_t{0});
    return is_empty && line.code != DFD_OK ? line : answer;
}

bool is_own(const Place &place) {
    return static_cast<int>(place.index1) == sdd_get_my_slotid();
}

/// The library looks at the power of a card only where the card has sslot_state, too; elsewhere the
/// page reads the power item.
Answer card_power(const Place &place) {
    const bool is_told =
        is_own(place) || record_of<char>(item_of(DFD_KEY_SSLOT_STATE, place.index1)) != nullptr;
    if (is_told) {
        return by_pointer<drv_get_card_power_status>(place);
    }
    const int card = sdd_get_virtual_slotid(static_cast<int>(place.index1));
    const Answer line = of_item(DFD_KEY_CARD_POWER_STATUS, {static_cast<std::uint32_t>(card), 0});
    if (line.code != DFD_OK) {
        return line;
    }
    const bool is_on = line.value != decltype(line.value)(std::int64_t{0});
    return {.value = std::int64_t{is_on ? DFD_CARD_POWER_ON : DFD_CARD_POWER_OFF}};
}

Answer own(const Place &place) {
    return {.value = std::int64_t{is_own(place)}};
}

std::vector<Place> slots(const LoadRecord &record) {
    Numbers numbers = units_of(record, UnitKind::slot);
    if (const int slot = sdd_get_my_slotid(); slot >= 0) {
        numbers.insert(static_cast<std::uint32_t>(slot));
    }
    return places_of(numbers);
}

constexpr Column kOwn[] = {
    identity("slot", "own slot", DFD_KEY_MY_SLOTID, by_result<drv_get_my_slotid>),
    identity("sub_slot", "own sub-slot", DFD_KEY_MY_SSLOTID, by_result<drv_get_my_sslotid>),
    identity("cpu", "processor", DFD_KEY_MY_CPUID, by_result<drv_get_my_cpu_id>),
    {.key = "rated_power",
     .heading = "rated power",
     .read = by_pointer<drv_get_my_rate_power>,
     .unit = "W"},
    {.key = "peer_master",
     .heading = "peer master board",
     .item = DFD_KEY_MCPU_PRESENT,
     .read = by_pointer<drv_get_peer_mb_state>,
     .words = kMasterStates,
     .judge = judge_peer},
    {.key = "eeprom_failed",
     .heading = "EEPROM self-test failed",
     .item = DFD_KEY_EEPROM_FAIL_STATUS,
     .read = by_pointer<drv_get_eeprom_fail_status>,
     .words = kNoYes,
     .judge = judge_eeprom_self_test},
};

constexpr LabelColumn kSlotLabel[] = {{"slot", "slot", first_index}};

constexpr Column kSlots[] = {
    {.key = "own", .heading = "own", .read = own, .words = kNoYes},
    {.key = "card",
     .heading = "card",
     .read = presence<drv_get_slot_online, DFD_KEY_SLOT_ONLINE>,
     .words = kAbsentPresent,
     .is_presence = true},
    {.key = "power",
     .heading = "power",
     .read = card_power,
     .words = kCardPowerStates,
     .judge = judge_card_power},
    {.key = "power_switch",
     .heading = "power switch",
     .item = DFD_KEY_CARD_POWER_CTRL,
     .words = kOffOn,
     .is_of_card = true},
    {.key = "reset",
     .heading = "reset",
     .item = DFD_KEY_RESET_LC,
     .words = kResetStates,
     .judge = judge_reset},
    {.key = "rated_power",
     .heading = "rated power",
     .item = DFD_KEY_CARD_RATE_POWER,
     .read = by_pointer<drv_get_card_power_consume>,
     .unit = "W",
     .is_of_card = true},
};

constexpr Section kSlotSections[] = {
    {.key = "board", .title = "This board", .columns = kOwn, .has_defaults = true},
    {.key = "slots",
     .title = "Slots",
     .rows = slots,
     .labels = kSlotLabel,
     .columns = kSlots,
     .unit = numbered<UnitKind::slot>,
     .subject = "slot"},
};

Answer subcard_type(const Place &place) {
    std::uint32_t type = 0;
    std::uint32_t aux = 0;
    const int code = drv_get_sub_unintlg_lc_info(0, place.index1, &type, &aux);
    return code == DFD_OK ? Answer{.value = std::int64_t{type}} : Answer{.code = code};
}

constexpr LabelColumn kSubSlotLabel[] = {{"sub_slot", "sub-slot", first_index}};

constexpr Column kSubCards[] = {
    {.key = "state",
     .heading = "state",
     .item = DFD_KEY_SSLOT_STATE,
     .read = presence<drv_get_sslot_state, DFD_KEY_SSLOT_STATE>,
     .words = kAbsentPresent,
     .is_presence = true},
    identity("type", "type", DFD_KEY_SSLOT_E2PROM, subcard_type),
    serial_number(DFD_KEY_SSLOT_E2PROM, by_text<drv_get_sub_unintlg_sn>),
    hw_version(DFD_KEY_SSLOT_E2PROM, by_text<drv_get_sub_unintlg_hw_ver>),
};

constexpr Section kSubCardSections[] = {
    {.key = "sub_cards",
     .title = "Sub-cards",
     .rows = rows_of<UnitKind::sub_slot>,
     .labels = kSubSlotLabel,
     .columns = kSubCards,
     .unit = numbered<UnitKind::sub_slot>,
     .subject = "sub_card"},
};

}  // namespace

std::span<const Section> slot_sections() {
    return kSlotSections;
}

std::span<const Section> subcard_sections() {
    return kSubCardSections;
}

}  // namespace dfdctl
