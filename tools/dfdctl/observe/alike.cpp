// SPDX-License-Identifier: MIT
#include "dfdctl/observe/alike.hpp"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <algorithm>
#include <cstring>

namespace dfdctl::observe {

namespace {

/// Numbers that stand for one of several units; any other number may be treated in a way of its
/// own.
bool is_of_units(Role role) {
    switch (role) {
        case Role::fan:
        case Role::rotor:
        case Role::supply:
        case Role::slot:
        case Role::card:
        case Role::sub_slot:
        case Role::sensor:
        case Role::card_sensor:
        case Role::channel:
        case Role::port:
        case Role::mac:
        case Role::fan_led:
        case Role::tray_led:
        case Role::supply_led:
        case Role::led_unit:
            return true;
        default:
            return false;
    }
}

/// The lowest bit of a field does not matter where the field is whole.
std::uint32_t cut_bits(const info_ctrl_t &ctrl) {
    constexpr std::uint32_t kBits = 8;
    const bool is_whole = ctrl.len <= kBits && ctrl.bit_offset <= kBits - ctrl.len;
    return is_whole ? 0 : ctrl.bit_offset;
}

/// Whether functions can tell two records of a kind apart, their places aside.
bool are_records_alike(Kind kind, const void *a, const void *b) {
    if (a == nullptr || b == nullptr || a == b) {
        return a == b;
    }
    switch (kind) {
        case Kind::integer:
            return std::memcmp(a, b, sizeof(int)) == 0;
        case Kind::info_ctrl:
            return observe::are_alike(*static_cast<const info_ctrl_t *>(a),
                                      *static_cast<const info_ctrl_t *>(b));
        case Kind::temp_info:
            return static_cast<const temp_info_t *>(a)->type ==
                   static_cast<const temp_info_t *>(b)->type;
        default:
            return false;
    }
}

}  // namespace

/// A number that is read from somewhere, or written: where does not matter to the engine. Of an
/// EEPROM it does to the functions.
bool are_alike(const info_ctrl &a, const info_ctrl &b) {
    const bool is_plain = a.mode <= INFO_CTRL_MODE_CONSTANT;
    return is_plain && a.mode == b.mode && a.int_cons == b.int_cons && a.src == b.src &&
           a.frmt == b.frmt && a.pola == b.pola && a.len == b.len && cut_bits(a) == cut_bits(b);
}

Pattern::Pattern(const Call &call, const Args &args, const Keys &keys) : first_(args) {
    for (const Role role : call.number_roles()) {
        const std::uint32_t number = args.numbers[ranges_.size()];
        ranges_.push_back({is_of_units(role), number, number});
    }
    Ways all = kFixed;
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        all |= ranges_[i].is_of_units ? moves_with(i) : 0;
    }
    for (const std::uint32_t key : keys) {
        asked_.push_back({item_of_key(key), dfd_lib_cfg_get_item(key), {all, all}});
    }
}

/// In which an index comes from one to the other, as the arguments do from the first call's.
Pattern::Ways Pattern::ways_of(const Args &args, std::uint32_t from, std::uint32_t to) const {
    Ways ways = from == to ? kFixed : 0;
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        const bool moves = to - from == args.numbers[i] - first_.numbers[i];
        ways |= moves ? moves_with(i) : 0;
    }
    return ways;
}

bool Pattern::takes(const Args &args, const Keys &keys) {
    std::vector<Range> ranges = ranges_;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        ranges[i].low = std::min(ranges[i].low, args.numbers[i]);
        ranges[i].high = std::max(ranges[i].high, args.numbers[i]);
        if (!ranges[i].is_of_units && ranges[i].low != ranges[i].high) {
            return false;
        }
    }
    std::vector<Asked> learned = asked_;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        Asked &asked = learned[i];
        const Item item = item_of_key(keys[i]);
        asked.ways[0] &= ways_of(args, asked.item.index1, item.index1);
        asked.ways[1] &= ways_of(args, asked.item.index2, item.index2);
        if (item.type != asked.item.type || asked.ways[0] == 0 || asked.ways[1] == 0 ||
            !are_records_alike(item.type->kind, asked.record, dfd_lib_cfg_get_item(keys[i]))) {
            return false;
        }
    }
    ranges_ = std::move(ranges);
    asked_ = std::move(learned);
    return true;
}

bool Pattern::is_between(const Args &args) const {
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        if (args.numbers[i] < ranges_[i].low || args.numbers[i] > ranges_[i].high) {
            return false;
        }
    }
    return true;
}

/// By all ways in which the index may come about, where these agree.
std::optional<std::uint32_t> Pattern::index_of(const Args &args, std::uint32_t from,
                                               Ways ways) const {
    std::optional<std::uint32_t> index;
    if ((ways & kFixed) != 0) {
        index = from;
    }
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        if ((ways & moves_with(i)) == 0) {
            continue;
        }
        const std::uint32_t moved = from + args.numbers[i] - first_.numbers[i];
        if (index.value_or(moved) != moved) {
            return std::nullopt;
        }
        index = moved;
    }
    return index;
}

std::optional<std::uint32_t> Pattern::key_of(const Args &args, const Asked &asked) const {
    const auto index1 = index_of(args, asked.item.index1, asked.ways[0]);
    const auto index2 = index_of(args, asked.item.index2, asked.ways[1]);
    if (!index1.has_value() || !index2.has_value()) {
        return std::nullopt;
    }
    const Item item{asked.item.type, *index1, *index2};
    if (*index1 == asked.item.index1 && *index2 == asked.item.index2) {
        return item.key();
    }
    const void *const record = dfd_lib_cfg_get_item(item.key());
    return are_records_alike(item.type->kind, asked.record, record) ? std::optional(item.key())
                                                                    : std::nullopt;
}

std::optional<Keys> Pattern::keys_of(const Args &args) const {
    if (!is_between(args)) {
        return std::nullopt;
    }
    Keys keys;
    keys.reserve(asked_.size());
    for (const Asked &asked : asked_) {
        const auto key = key_of(args, asked);
        if (!key.has_value()) {
            return std::nullopt;
        }
        keys.push_back(*key);
    }
    return keys;
}

}  // namespace dfdctl::observe
