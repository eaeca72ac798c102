// SPDX-License-Identifier: MIT
#include "dfdctl/board/units.hpp"

#include <dfd/access.h>
#include <dfd/fan.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <iterator>

#include "dfdctl/command.hpp"
#include "dfdctl/output.hpp"
#include "framework/item.h"
#include "hal/irq_distrib.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::uint32_t kLastSlot = 32;
constexpr std::size_t kMostTypes = 7;

/// Item types whose first index is the number of a unit, and the int item that counts the units.
struct KindRow {
    UnitKind kind;
    std::uint32_t count;  ///< DFD_KEY_NONE: nothing counts them
    std::array<std::uint32_t, kMostTypes> types;
};

constexpr std::array kKinds = {
    KindRow{UnitKind::tray, DFD_KEY_FAN_NUM, {DFD_KEY_FAN_STATE}},
    KindRow{UnitKind::supply,
            DFD_KEY_NONE,
            {DFD_KEY_POWER_PRESENT, DFD_KEY_POWER_STATE, DFD_KEY_POWER_TYPE}},
    KindRow{
        UnitKind::slot,
        DFD_KEY_NONE,
        {DFD_KEY_SLOT_ONLINE, DFD_KEY_RESET_LC, DFD_KEY_CARD_POWER_CTRL, DFD_KEY_CARD_POWER_STATUS,
         DFD_KEY_CARD_RATE_POWER, DFD_KEY_CARD_TEMP_INFO, DFD_KEY_CARD_VOL_LOW}},
    KindRow{UnitKind::card, DFD_KEY_NONE, {DFD_KEY_CARD_TEMP_INFO}},
    KindRow{UnitKind::sub_slot, DFD_KEY_SSLOT_NUM, {DFD_KEY_SSLOT_E2PROM, DFD_KEY_SSLOT_STATE}},
    KindRow{UnitKind::port, DFD_KEY_NONE, {DFD_KEY_PORT_SFP_STATE, DFD_KEY_PORT_SFP_TX}},
    KindRow{UnitKind::backplane,
            DFD_KEY_NONE,
            {DFD_KEY_BP_E2PROM_DEV, DFD_KEY_E2_SETMAC, DFD_KEY_BACKPLANE_HW_VER,
             DFD_KEY_BACKPLANE_SN, DFD_KEY_BACKPLANE_MAC}},
};

Numbers one_to(int count) {
    Numbers found;
    const auto last = static_cast<std::uint32_t>(std::max(count, 0));
    for (std::uint32_t number = 1; number <= std::min(last, kMostUnits); ++number) {
        found.insert(found.end(), number);
    }
    return found;
}

std::vector<Item> items_between(const LoadRecord &record, std::uint32_t first, std::uint32_t last) {
    std::vector<Item> items;
    for (auto at = record.origins.lower_bound(first);
         at != record.origins.end() && at->first <= last; ++at) {
        items.push_back(item_of_key(at->first));
    }
    return items;
}

/// Bits of the three levels of interrupts.
struct Position {
    std::uint32_t i;
    std::uint32_t j;
    std::uint32_t k;
};

Position position_of(const Item &item) {
    constexpr std::uint32_t kSecondByte = 0xFF;
    const std::uint32_t entries = item.type->type == DFD_KEY_IRQ_MASK ? dfd::kIrqMaskEntries : 1;
    return {item.index1 / (kSecondByte + 1), item.index1 & kSecondByte, item.index2 / entries};
}

/// Without those that no dispatch and no mask reaches.
std::vector<Item> possible_positions(std::vector<Item> items) {
    std::erase_if(items, [](const Item &item) {
        constexpr std::uint32_t kBits = dfd::kIrqBits;
        const Position at = position_of(item);
        return at.i >= kBits || at.j >= kBits || at.k >= kBits;
    });
    return items;
}

}  // namespace

std::string ranges_text(const Numbers &numbers) {
    std::vector<std::string> names;
    for (const std::uint32_t number : numbers) {
        names.push_back(std::to_string(number));
    }
    return joined(ranges_of(names), ", ");
}

std::uint32_t unit_number(const std::string &word, std::string_view what, const Numbers &numbers,
                          std::string_view owner) {
    std::uint32_t number = 0;
    const bool is_number = parse_number(word, number) && number <= UINT16_MAX;
    if (is_number && (numbers.empty() || numbers.contains(number))) {
        return number;
    }
    const std::string known =
        numbers.empty() ? std::string() : fmt::format("; {} has {}", owner, ranges_text(numbers));
    throw UsageError(is_number ? fmt::format("there is no {} {}{}", what, number, known)
                               : fmt::format("'{}' is no number of a {}{}", word, what, known));
}

std::vector<Item> items_of(const LoadRecord &record, std::uint32_t type) {
    return items_between(record, DFD_MAKE_KEY(type, 0, 0),
                         DFD_MAKE_KEY(type, UINT16_MAX, UINT8_MAX));
}

Numbers first_indexes(const LoadRecord &record, std::uint32_t type) {
    Numbers found;
    for (const Item &item : items_of(record, type)) {
        found.insert(found.end(), item.index1);
    }
    return found;
}

Numbers second_indexes(const LoadRecord &record, std::uint32_t type, std::uint32_t index1) {
    Numbers found;
    for (const Item &item : items_between(record, DFD_MAKE_KEY(type, index1, 0),
                                          DFD_MAKE_KEY(type, index1, UINT8_MAX))) {
        found.insert(found.end(), item.index2);
    }
    return found;
}

Numbers units_of(const LoadRecord &record, UnitKind kind) {
    const KindRow &row = *std::ranges::find(kKinds, kind, &KindRow::kind);
    Numbers found = one_to(row.count != DFD_KEY_NONE ? dfd::int_item_or(row.count, 0) : 0);
    for (const std::uint32_t type : row.types) {
        for (const Item &item : items_of(record, type)) {
            found.insert(found.end(), item.index1);
        }
    }
    if (kind == UnitKind::slot) {
        // Items of card 0 belong to the own slot, whatever its number is.
        found.erase(0);
        found.erase(found.upper_bound(kLastSlot), found.end());
    }
    return found;
}

Numbers rotors_of(const LoadRecord &record, std::uint32_t tray) {
    const auto *count = record_of<info_ctrl_t>(item_of(DFD_KEY_SUBFAN_NUM, tray));
    const bool is_constant = count != nullptr && count->mode == INFO_CTRL_MODE_CONSTANT;
    Numbers found = one_to(is_constant ? count->int_cons : 0);
    for (const std::uint32_t type :
         {DFD_KEY_FAN_REAL_SPEED, DFD_KEY_GET_FAN_CFG_SPEED, DFD_KEY_FAN_CFG_SPEED}) {
        found.merge(second_indexes(record, type, tray));
    }
    return found.empty() ? Numbers{1} : found;
}

std::uint32_t rotor_count(std::uint32_t tray) {
    int count = 1;
    sdd_get_fan_num(tray, &count);
    return static_cast<std::uint32_t>(std::clamp(count, 0, static_cast<int>(kMostUnits)));
}

Numbers channels_of(const LoadRecord &record, std::uint32_t card) {
    Numbers found = second_indexes(record, DFD_KEY_CARD_VOL_LOW, card);
    if (!found.empty()) {
        found.merge(one_to(dfd::int_item_or(DFD_KEY_CARD_VOL_NUM, 0)));
        found.erase(0);
    }
    return found;
}

std::vector<Item> irq_sources(const LoadRecord &record) {
    return possible_positions(items_of(record, DFD_KEY_IRQ_INFO));
}

std::pair<Item, std::uint32_t> irq_status(const Item &source) {
    const Position at = position_of(source);
    const Item third = item_of(DFD_KEY_3RD_IRQ_STATUS, at.i, at.j);
    const Item second = item_of(DFD_KEY_2ND_IRQ_STATUS, at.i);
    if (record_of<char>(third) != nullptr) {
        return {third, at.k};
    }
    if (record_of<char>(second) != nullptr) {
        return {second, at.j};
    }
    return {item_of(DFD_KEY_1ST_IRQ_STATUS), at.i};
}

int read_irq_pending(const Item &source, bool *is_pending) {
    const auto *polarity = record_of<irq_ctrl_t>(item_of(DFD_KEY_IRQ_CTRL_INFO));
    const auto [item, bit] = irq_status(source);
    int value = 0;
    const int code = dfd_info_get_int(item.key(), &value, nullptr);
    if (code != DFD_OK || polarity == nullptr) {
        return code != DFD_OK ? code : DFD_ERR_NOT_SUPPORTED;
    }
    *is_pending = ((value >> bit & 1) != 0) == (polarity->irq_flag != 0);
    return DFD_OK;
}

std::vector<Item> irq_masks(const LoadRecord &record, std::uint32_t type) {
    std::vector<Item> masks = possible_positions(items_of(record, DFD_KEY_IRQ_MASK));
    std::erase_if(masks, [type](const Item &mask) {
        const Position at = position_of(mask);
        return dfd::g_irq_type_distrib[at.i][at.j][at.k] != static_cast<std::int32_t>(type);
    });
    return masks;
}

std::string irq_position(const Item &item) {
    const Position at = position_of(item);
    return fmt::format("{}.{}.{}", at.i, at.j, at.k);
}

std::vector<Item> irq_masks(const Item &source) {
    std::vector<Item> masks;
    // The register of all sources of a third level stands with the first of them.
    for (const std::uint32_t k : {source.index2, 0U}) {
        for (std::uint32_t m = 0; m < dfd::kIrqMaskEntries; ++m) {
            const Item mask =
                item_of(DFD_KEY_IRQ_MASK, source.index1, k * dfd::kIrqMaskEntries + m);
            if (record_of<info_ctrl_t>(mask) != nullptr) {
                masks.push_back(mask);
            }
        }
        if (!masks.empty()) {
            break;
        }
    }
    return masks;
}

}  // namespace dfdctl
