// SPDX-License-Identifier: MIT
#include "dfdctl/lint/survey.hpp"

#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>

#include "dfdctl/board/units.hpp"
#include "framework/dfd_info/bits.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::lint {

std::span<const Item> configured(const Check &check, std::uint32_t type) {
    const std::vector<Item> &items = check.items(item_of(type).type->kind);
    const auto type_of = [](const Item &item) { return item.type->type; };
    return {std::ranges::lower_bound(items, type, {}, type_of),
            std::ranges::upper_bound(items, type, {}, type_of)};
}

const std::vector<Item> &configured(const Check &check, Kind kind) {
    return check.items(kind);
}

bool has(std::uint32_t type, std::uint32_t index1, std::uint32_t index2) {
    return dfd_lib_cfg_get_item(DFD_MAKE_KEY(type, index1, index2)) != nullptr;
}

bool has_any(const Check &check, std::uint32_t type) {
    const auto &origins = check.log().origins;
    const auto at = origins.lower_bound(DFD_MAKE_KEY(type, 0, 0));
    return at != origins.end() && DFD_KEY_TYPE(at->first) == type;
}

int int_value(std::uint32_t type, int missing) {
    const int *value = record_of<int>(item_of(type));
    return value != nullptr ? *value : missing;
}

std::optional<int> count_of(const Item &count) {
    if (count.type->kind != Kind::info_ctrl) {
        const int *number = record_of<int>(count);
        return number != nullptr ? std::optional(*number) : std::nullopt;
    }
    const auto *ctrl = record_of<info_ctrl_t>(count);
    if (ctrl == nullptr) {
        return 1;
    }
    return ctrl->mode == INFO_CTRL_MODE_CONSTANT ? std::optional(ctrl->int_cons) : std::nullopt;
}

std::uint32_t largest_value(const info_ctrl_t &ctrl) {
    switch (ctrl.frmt) {
        case INFO_FRMT_BIT:
            return dfd::low_bits(ctrl.len);
        case INFO_FRMT_BYTE:
        case INFO_FRMT_NUM_BYTES:
            return ctrl.len < kIntegerBytes ? (1U << (ctrl.len * dfd::kBitsPerByte)) - 1
                                            : UINT32_MAX;
        default:
            return UINT32_MAX;
    }
}

bool is_set(const Check &check, const Item &item, int member) {
    return check.line_of(item.key(), member) != nullptr;
}

std::string ranges(const std::vector<std::uint32_t> &numbers) {
    std::string text;
    for (std::size_t first = 0; first < numbers.size();) {
        std::size_t last = first;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        text += fmt::format("{}{}", text.empty() ? "" : ", ", numbers[first]);
        if (last != first) {
            text += fmt::format("{}{}", last == first + 1 ? ", " : " to ", numbers[last]);
        }
        first = last + 1;
    }
    return text;
}

std::string is_or_are(std::uint32_t count, std::string_view what) {
    return count == 1 ? fmt::format("is 1 {}", what) : fmt::format("are {} {}s", count, what);
}

bool is_eeprom_mode(int mode) {
    return dfd::is_e2prom_mode(mode);
}

bool is_hardware_mode(int mode) {
    return mode != INFO_CTRL_MODE_CONSTANT && !is_eeprom_mode(mode);
}

bool is_place_only(const Item &item) {
    return item.type->type == DFD_KEY_SSLOT_E2PROM ||
           (item.type->type == DFD_KEY_CARD_TEMP_CTRL && item.index1 == 0 &&
            item.index2 >= dfd::kFirstMacIndex);
}

bool is_numbered_path(std::string_view path, std::string_view prefix) {
    return path.starts_with(prefix) && path.size() > prefix.size() &&
           std::all_of(path.begin() + static_cast<std::ptrdiff_t>(prefix.size()), path.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace dfdctl::lint
