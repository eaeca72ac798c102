// SPDX-License-Identifier: MIT
#include "dfdctl/board/write_protection.hpp"

#include <dfd/access.h>
#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/register_bits.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr ProtectionGroup kGroups[] = {{"board", "board", DFD_WP_BOARD, 0, 0},
                                       {"fans", "fan tray", DFD_WP_FANS, 1, 4},
                                       {"subcards", "sub-card", DFD_WP_SUBCARDS, 6, 8},
                                       {"backplane", "backplane", DFD_WP_BACKPLANE, 10, 10}};

/// What cannot be read is protected, the safe side.
bool restore(const Item &signal, const Reading &byte) {
    const auto &record = *record_of<info_ctrl_t>(signal);
    const auto *found = std::get_if<std::int64_t>(&byte.value);
    if (found == nullptr) {
        dfd_info_set_int(signal.key(), kProtected);
        return false;
    }
    const auto before = static_cast<std::uint8_t>(*found);
    write_byte(record, before);
    const Reading after = read_byte(record);
    const auto *now = std::get_if<std::int64_t>(&after.value);
    return now != nullptr && ((*now ^ before) & bits_of(record)) == 0;
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

ProtectionLifted::ProtectionLifted(int target) {
    const auto *group = std::ranges::find(kGroups, target, &ProtectionGroup::target);
    for (const Item &signal : group->signals()) {
        const Reading byte = read_byte(*record_of<info_ctrl_t>(signal));
        found_.push_back({signal, group->unit_of(signal), byte});
    }
    dfd_ctl_e2_write_pro(target, static_cast<int>(kUnprotected));
}

std::string ProtectionLifted::put_back() {
    std::string failed;
    for (const Found &each : found_) {
        if (!restore(each.signal, each.byte)) {
            failed += (failed.empty() ? "" : ", ") + each.unit;
        }
    }
    found_.clear();
    return failed;
}

}  // namespace dfdctl
