// SPDX-License-Identifier: MIT
#include "dfdctl/board/write_protection.hpp"

#include <dfd/access.h>
#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <utility>

#include "dfdctl/board/register_bits.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr ProtectionGroup kGroups[] = {{"board", "board", DFD_WP_BOARD, 0, 0},
                                       {"fans", "fan tray", DFD_WP_FANS, 1, 4},
                                       {"subcards", "sub-card", DFD_WP_SUBCARDS, 6, 8},
                                       {"backplane", "backplane", DFD_WP_BACKPLANE, 10, 10}};

std::optional<std::uint8_t> byte_in(const Reading &reading) {
    const auto *byte = std::get_if<std::int64_t>(&reading.value);
    return byte != nullptr ? std::optional(static_cast<std::uint8_t>(*byte)) : std::nullopt;
}

std::optional<std::uint8_t> byte_now(const info_ctrl_t &record) {
    return byte_in(read_byte(record));
}

std::string byte_text(std::optional<std::uint8_t> byte) {
    return byte ? fmt::format("0x{:02x}", *byte) : "unreadable";
}

bool is_same(const info_ctrl_t &record, std::optional<std::uint8_t> one,
             std::optional<std::uint8_t> other) {
    return one && other && ((*one ^ *other) & bits_of(record)) == 0;
}

/// "fan tray 2 (/dev/cpld0 register 0x1a is 0x00, was 0xff)"
std::string state_text(const FoundSignal &found, const info_ctrl_t &record,
                       const std::string &expected) {
    const std::string address =
        record.src == INFO_SRC_I2C ? fmt::format(" 0x{:02x}", record.addr) : std::string();
    return fmt::format("{} ({}{} register 0x{:02x} is {}, {})", found.unit, record.fpath, address,
                       record.reg_offset, byte_text(byte_now(record)), expected);
}

void add(std::string &list, const std::string &text) {
    list += (list.empty() ? "" : ", ") + text;
}

}  // namespace

std::span<const ProtectionGroup> protection_groups() {
    return kGroups;
}

std::vector<Item> ProtectionGroup::signals() const {
    std::vector<Item> items;
    for (std::uint32_t index = first; index <= last; ++index) {
        const Item signal = item_of(DFD_KEY_E2_WRITE_PROTECT, index);
        if (record_of<info_ctrl_t>(signal) != nullptr) {
            items.push_back(signal);
        }
    }
    return items;
}

std::string ProtectionGroup::unit_of(const Item &signal) const {
    return first == last ? std::string(unit)
                         : fmt::format("{} {}", unit, signal.index1 - first + 1);
}

std::optional<bool> is_lifted(const Item &signal) {
    const auto &record = *record_of<info_ctrl_t>(signal);
    const auto now = byte_now(record);
    return now ? std::optional(is_same(record, now, byte_written(record, kUnprotected)))
               : std::nullopt;
}

std::vector<FoundSignal> find_protection(int target, std::uint32_t unit) {
    const auto *group = std::ranges::find(kGroups, target, &ProtectionGroup::target);
    std::vector<Item> signals = group->signals();
    const auto own = std::ranges::find(signals, group->first + unit - 1, &Item::index1);
    if (own != signals.end()) {
        signals = {*own};
    }
    std::vector<FoundSignal> found;
    for (const Item &signal : signals) {
        found.push_back(
            {signal, group->unit_of(signal), read_byte(*record_of<info_ctrl_t>(signal))});
    }
    return found;
}

FoundSignal found_before(std::uint32_t index, const Reading &byte) {
    const Item signal = item_of(DFD_KEY_E2_WRITE_PROTECT, index);
    const auto *group = std::ranges::find_if(
        kGroups, [index](const auto &row) { return row.first <= index && index <= row.last; });
    return {signal, group != std::end(kGroups) ? group->unit_of(signal) : signal.name(), byte};
}

std::string changed_protection(std::span<const FoundSignal> found) {
    std::string changed;
    for (const FoundSignal &each : found) {
        const auto *record = record_of<info_ctrl_t>(each.signal);
        const auto before = byte_in(each.byte);
        if (record == nullptr) {
            add(changed, each.signal.missing_name());
        } else if (!is_same(*record, byte_now(*record), before)) {
            add(changed, state_text(each, *record, "was " + byte_text(before)));
        }
    }
    return changed;
}

std::string put_back(std::span<const FoundSignal> found) {
    for (const FoundSignal &each : found) {
        const auto *record = record_of<info_ctrl_t>(each.signal);
        if (const auto before = byte_in(each.byte); record != nullptr && before) {
            write_byte(*record, *before);
        } else {
            dfd_info_set_int(each.signal.key(), kProtected);
        }
    }
    return changed_protection(found);
}

ProtectionLifted::ProtectionLifted(std::vector<FoundSignal> found) : found_(std::move(found)) {
    for (const FoundSignal &each : found_) {
        dfd_info_set_int(each.signal.key(), kUnprotected);
    }
}

std::string ProtectionLifted::obstacle() const {
    std::string obstacles;
    for (const FoundSignal &each : found_) {
        const auto *record = record_of<info_ctrl_t>(each.signal);
        if (record == nullptr) {
            add(obstacles, each.signal.missing_name());
        } else if (is_lifted(each.signal) != true) {
            const int mask = bits_of(*record);
            const int others = byte_now(*record).value_or(0) & ~mask;
            const int wanted = others | (byte_written(*record, kUnprotected) & mask);
            add(obstacles, state_text(each, *record, fmt::format("not 0x{:02x}", wanted)));
        }
    }
    return obstacles;
}

std::string ProtectionLifted::put_back() {
    return dfdctl::put_back(std::exchange(found_, {}));
}

}  // namespace dfdctl
