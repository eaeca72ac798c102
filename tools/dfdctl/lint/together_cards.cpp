// SPDX-License-Identifier: MIT
// Slots, cards and sub-slots, the reset button, the frame sizes of the management port.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <set>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"
#include "dfdctl/observe/units.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::uint32_t kFirstFabricSlot = 30;
constexpr std::uint32_t kFabricCard = 31;
constexpr std::uint32_t kLastSubSlot = 8;

/// Items that are looked up by card: slots 30 and 31 are both card 31.
constexpr std::array kCardTypes = {DFD_KEY_CARD_TEMP_CTRL,    DFD_KEY_CARD_RATE_POWER,
                                   DFD_KEY_CARD_POWER_STATUS, DFD_KEY_CARD_POWER_LACK,
                                   DFD_KEY_CARD_POWER_CTRL,   DFD_KEY_CARD_VOL_LOW,
                                   DFD_KEY_CARD_VOL_HIGH,     DFD_KEY_CARD_VOL_WATERLINE};

void check_card_numbers(Check &check) {
    for (const std::uint32_t type : kCardTypes) {
        for (const Item &item : configured(check, type)) {
            if (item.index1 == kFirstFabricSlot) {
                check.at_item("card-30", item.key(),
                              fmt::format("{} is never looked at: for slot 30 as for slot 31 the "
                                          "item of card {} is taken",
                                          as_written(item), kFabricCard));
            }
        }
    }
}

/// Card 0 is what the own slot stands for.
void check_own_card(Check &check) {
    if (has(DFD_KEY_MY_SLOTID)) {
        return;
    }
    for (const std::uint32_t type : kCardTypes) {
        for (const Item &item : configured(check, type)) {
            if (item.index1 == 0 && !is_place_only(item)) {
                check.at_item(
                    "own-card-unreached", item.key(),
                    fmt::format("{}: card 0 is the card in the own slot, but no my_slotid "
                                "tells which slot that is: only a caller that passes on its -6 "
                                "reaches this item; a board without slots has a constant there",
                                as_written(item)));
                return;
            }
        }
    }
}

/// What is measured on a card.
std::vector<Item> measured_on(const Check &check, std::uint32_t card) {
    constexpr std::array kTypes = {DFD_KEY_CARD_TEMP_INFO, DFD_KEY_CARD_TEMP_CTRL,
                                   DFD_KEY_CARD_VOL_LOW, DFD_KEY_CARD_VOL_HIGH,
                                   DFD_KEY_CARD_VOL_WATERLINE};
    std::vector<Item> items;
    for (const std::uint32_t type : kTypes) {
        std::ranges::copy_if(configured(check, type), std::back_inserter(items),
                             [card](const Item &item) { return item.index1 == card; });
    }
    return items;
}

/// Whether something says that a slot other than the own one has this number. That it holds a card
/// may be said of all slots, the own one too, and of sub-slots.
bool is_other_slot(std::uint32_t slot, bool has_own_sensors) {
    constexpr std::array kControls = {DFD_KEY_RESET_LC, DFD_KEY_CARD_POWER_CTRL,
                                      DFD_KEY_CARD_POWER_STATUS, DFD_KEY_CARD_RATE_POWER};
    constexpr std::array kPresences = {DFD_KEY_SLOT_ONLINE, DFD_KEY_SLOT_STATE,
                                       DFD_KEY_SSLOT_STATE};
    const auto has_item = [slot](std::uint32_t type) { return has(type, slot); };
    return std::ranges::any_of(kControls, has_item) ||
           (has_own_sensors && std::ranges::any_of(kPresences, has_item));
}

/// The only card, fabric apart, that has sensors and is known by nothing else.
std::optional<std::uint32_t> only_measured_card(const Check &check) {
    const std::span<const Item> sensors = configured(check, DFD_KEY_CARD_TEMP_INFO);
    const bool has_own = std::ranges::any_of(sensors, [](const Item &item) {
        return item.index1 == 0 && !is_place_only(item_of(DFD_KEY_CARD_TEMP_CTRL, 0, item.index2));
    });
    std::set<std::uint32_t> cards;
    for (const Item &item : sensors) {
        const bool is_card = item.index1 != 0 && item.index1 < kFirstFabricSlot;
        if (is_card && !is_other_slot(item.index1, has_own)) {
            cards.insert(item.index1);
        }
    }
    return cards.size() == 1 ? std::optional(*cards.begin()) : std::nullopt;
}

/// The items of the card in the own slot have index 0. Where the slot is read from hardware, a
/// card of which nothing else is known is taken for it.
void check_own_slot(Check &check) {
    const auto *slot = record_of<info_ctrl_t>(item_of(DFD_KEY_MY_SLOTID));
    if (slot == nullptr) {
        return;
    }
    const bool is_constant = slot->mode == INFO_CTRL_MODE_CONSTANT;
    const std::optional<std::uint32_t> card =
        is_constant ? observe::Units(check.log()).own_slot() : only_measured_card(check);
    const std::vector<Item> items = card ? measured_on(check, *card) : std::vector<Item>();
    if (items.empty() || *card == 0) {
        return;
    }
    check.at_item(
        "own-card-by-slot", items[0].key(),
        fmt::format("{}{}: {}; items of the card in the own slot have index 0, write {}",
                    as_written(items[0]),
                    items.size() > 1 ? fmt::format(" and {} more", items.size() - 1) : "",
                    is_constant
                        ? fmt::format("slot {} is the own one (my_slotid), so it is never "
                                      "looked at",
                                      *card)
                        : fmt::format("nothing else tells of a card {} beside this one", *card),
                    as_written(item_of(items[0].type->type, 0, items[0].index2))));
    for (const Item &item : items) {
        check.explain(item.key());
    }
}

void check_power_status(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_CARD_POWER_STATUS)) {
        const bool is_own = item.index1 == 0;
        if (is_own || has(DFD_KEY_SSLOT_STATE, item.index1)) {
            continue;
        }
        if (item.index1 > kLastSubSlot) {
            check.at_item(
                "card-status-beyond", item.key(),
                fmt::format("{}: only cards 1 to 8 can have the sslot_state that is asked "
                            "first: the power status of this one is always 0",
                            as_written(item)));
        } else {
            check.at_item("card-status-hidden", item.key(),
                          fmt::format("{} is read only when sslot_state_{} reads 1, which is not "
                                      "configured: the power status is always 0",
                                      as_written(item), item.index1));
        }
    }
}

/// Reading takes no notice of the mode; writing goes by it.
void check_sub_cards(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_SSLOT_E2PROM)) {
        const int mode = record_of<info_ctrl_t>(item)->mode;
        if (mode != INFO_CTRL_MODE_TLV && mode != INFO_CTRL_MODE_FRU) {
            check.at_member("subcard-layout", item.key(), kMode,
                            fmt::format("{}: the EEPROM is read as TLV whatever .mode says, and is "
                                        "not written in this mode (-6); write .mode=tlv",
                                        as_written(item)));
        }
    }
}

/// Whether the type of the reset button can read as a value.
bool can_select(std::uint32_t value) {
    const auto *type = record_of<info_ctrl_t>(item_of(DFD_KEY_RESET_BUTTON_TYPE));
    if (type == nullptr || is_eeprom_mode(type->mode)) {
        return true;
    }
    return type->mode == INFO_CTRL_MODE_CONSTANT
               ? static_cast<std::uint32_t>(type->int_cons) == value
               : value <= largest_value(*type);
}

std::string what_selects() {
    const auto &type = *record_of<info_ctrl_t>(item_of(DFD_KEY_RESET_BUTTON_TYPE));
    return type.mode == INFO_CTRL_MODE_CONSTANT ? fmt::format("is always {}", type.int_cons)
                                                : fmt::format("reads 0 to {}", largest_value(type));
}

void check_button_texts(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_RESET_BUTTON_TP_STR)) {
        const std::string_view text = record_of<char>(item);
        if (!text.starts_with("long") && !text.starts_with("short")) {
            check.at_member("button-text", item.key(), dfd::watch::kNoMember,
                            fmt::format("'{}' begins neither with long nor with short: the type of "
                                        "the reset button is 0",
                                        text));
        } else if (!can_select(item.index1)) {
            check.at_index("button-text-unselected",
                           *check.line_of(item.key(), dfd::watch::kNoMember),
                           fmt::format("{} is never chosen: reset_button_type {}", as_written(item),
                                       what_selects()));
        }
    }
}

void check_frame_sizes(Check &check) {
    if (!has(DFD_KEY_MGMT_MIN_MTU) || !has(DFD_KEY_MGMT_MAX_MTU)) {
        return;
    }
    const int smallest = int_value(DFD_KEY_MGMT_MIN_MTU, 0);
    const int largest = int_value(DFD_KEY_MGMT_MAX_MTU, 0);
    const int usual = int_value(DFD_KEY_MGMT_DEF_MTU, smallest);
    if (smallest > largest) {
        check.at_member("mtu-order", item_of(DFD_KEY_MGMT_MIN_MTU).key(), dfd::watch::kNoMember,
                        fmt::format("mgmt_min_mtu {} is above mgmt_max_mtu {}: no frame size is "
                                    "allowed",
                                    smallest, largest));
    } else if (usual < smallest || usual > largest) {
        check.at_member(
            "mtu-order", item_of(DFD_KEY_MGMT_DEF_MTU).key(), dfd::watch::kNoMember,
            fmt::format("mgmt_def_mtu {} lies outside {} to {}", usual, smallest, largest));
    }
}

/// my_rate_power is looked up by board type, which the list file's name tells.
void check_own_power(Check &check) {
    constexpr int kHex = 16;
    const std::string &path = check.log().list_path;
    const auto type = static_cast<std::uint32_t>(
        std::strtoul(path.substr(path.rfind('/') + 1).c_str(), nullptr, kHex));
    const std::span<const Item> items = configured(check, DFD_KEY_MY_RATE_POWER);
    if (!items.empty() && type != 0 && !has(DFD_KEY_MY_RATE_POWER, type)) {
        check.at_item("own-power-missing", items.front().key(),
                      fmt::format("my_rate_power goes by board type, and there is none for this "
                                  "board: my_rate_power_{}; its rated power is not supported (-6)",
                                  type));
    }
}

}  // namespace

void check_cards(Check &check) {
    check_card_numbers(check);
    check_own_card(check);
    check_own_slot(check);
    check_power_status(check);
    check_sub_cards(check);
    check_button_texts(check);
    check_frame_sizes(check);
    check_own_power(check);
}

}  // namespace dfdctl::lint
