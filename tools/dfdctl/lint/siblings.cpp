// SPDX-License-Identifier: MIT
// Items of one type that describe a row of equal units: all alike but for the place. One that
// differs from all the others in one member looks like a slip. One that differs in more is taken to
// be meant.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "dfdctl/lint/survey.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// Numbered, but no row of equal units.
constexpr std::array<std::uint32_t, 2> kUnlikeTypes = {DFD_KEY_CPLD_VERSION,
                                                       DFD_KEY_E2_WRITE_PROTECT};
/// So many others have to agree.
constexpr std::size_t kLeastAlike = 3;
/// Stands for a member that has no effect.
constexpr int kNoEffect = -1;

constexpr std::array kTraits = {kMode, kFrmt, kPola, kLen, kBitOffset};
using Traits = std::array<int, kTraits.size()>;

/// What counts of a description. Of the bit offset it counts whether it is written: without, the
/// field is taken from bit 0. The length of a text is only the most that is read.
Traits traits_of(const Check &check, const Item &item, const info_ctrl_t &ctrl) {
    const bool is_field = ctrl.frmt == INFO_FRMT_BIT;
    const bool has_polarity =
        is_field || ctrl.frmt == INFO_FRMT_BYTE || ctrl.frmt == INFO_FRMT_NUM_BYTES;
    const int polarity = ctrl.pola == INFO_POLA_NEGATIVE ? INFO_POLA_NEGATIVE : INFO_POLA_POSITIVE;
    return {ctrl.mode, ctrl.frmt, has_polarity ? polarity : kNoEffect,
            ctrl.frmt != INFO_FRMT_NUM_STR ? static_cast<int>(ctrl.len) : kNoEffect,
            is_field ? static_cast<int>(is_set(check, item, kBitOffset)) : kNoEffect};
}

/// Type, source, and kind of the chip where it is a sensor's.
using RowKey = std::tuple<std::uint32_t, int, int>;

RowKey row_of(const Item &item, const info_ctrl_t &ctrl) {
    const auto *sensor =
        item.type->type == DFD_KEY_CARD_TEMP_CTRL
            ? record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, item.index1, item.index2))
            : nullptr;
    return {item.type->type, ctrl.src, sensor != nullptr ? sensor->type : TEMP_INFO_NONE};
}

struct Sibling {
    Item item;
    Traits traits;
};

bool is_different(int a, int b) {
    return a != b && a != kNoEffect && b != kNoEffect;
}

/// The only trait that differs, as an index.
std::optional<std::size_t> only_difference(const Traits &a, const Traits &b) {
    std::optional<std::size_t> only;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (is_different(a[i], b[i])) {
            if (only) {
                return std::nullopt;
            }
            only = i;
        }
    }
    return only;
}

/// The one unit that is unlike all the others, which agree.
const Sibling *odd_one(const std::vector<Sibling> &units) {
    if (units.size() <= kLeastAlike) {
        return nullptr;
    }
    // Of the first three two are of the majority, if there is one.
    const Traits &majority = units[0].traits == units[1].traits ? units[0].traits : units[2].traits;
    const auto is_odd = [&](const Sibling &unit) { return unit.traits != majority; };
    return std::ranges::count_if(units, is_odd) == 1 ? &*std::ranges::find_if(units, is_odd)
                                                     : nullptr;
}

/// ".pola=negative", "no .pola".
std::string as_set(const Check &check, const Item &item, CtrlMember member) {
    const SourceLine *line = check.line_of(item.key(), member);
    return line != nullptr ? fmt::format("{}={}", info_ctrl_mem_str[member], line->value)
                           : fmt::format("no {}", info_ctrl_mem_str[member]);
}

/// Whether there is a finding about the line that sets a member.
bool is_spoken_of(const Check &check, const std::set<Check::Place> &spoken_of, const Item &item,
                  CtrlMember member) {
    const SourceLine *line = check.line_of(item.key(), member);
    return line != nullptr && spoken_of.contains(check.place_of(*line));
}

void check_row(Check &check, const std::set<Check::Place> &spoken_of,
               const std::vector<Sibling> &units) {
    const Sibling *odd = odd_one(units);
    if (odd == nullptr) {
        return;
    }
    const Sibling &other = odd == &units.front() ? units.back() : units.front();
    const auto at = only_difference(odd->traits, other.traits);
    if (!at) {
        return;
    }
    const CtrlMember member = kTraits[*at];
    if (is_spoken_of(check, spoken_of, odd->item, member)) {
        return;
    }
    const std::string others = member == kBitOffset ? "one" : as_set(check, other.item, member);
    check.at_member(
        "unit-differs", odd->item.key(), member,
        fmt::format("{} has {}, while the {} others of this source, alike in all else, have {}",
                    as_written(odd->item), as_set(check, odd->item, member), units.size() - 1,
                    others));
}

}  // namespace

void check_siblings(Check &check) {
    std::map<RowKey, std::vector<Sibling>> rows;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        const bool is_row = std::ranges::find(kUnlikeTypes, item.type->type) == kUnlikeTypes.end();
        if (is_row && is_hardware_mode(ctrl.mode) && !is_place_only(item)) {
            rows[row_of(item, ctrl)].push_back({item, traits_of(check, item, ctrl)});
        }
    }
    const std::set<Check::Place> spoken_of = check.places();
    for (const auto &[row, units] : rows) {
        check_row(check, spoken_of, units);
    }
}

}  // namespace dfdctl::lint
