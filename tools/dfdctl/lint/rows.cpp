// SPDX-License-Identifier: MIT
// Places in a row of equal units: a number that looks as if it were meant in hexadecimal, a
// register or a bus unlike those of all others, a unit that was left out.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "dfdctl/board/facts.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/observe/units.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// So many others have to agree.
constexpr std::size_t kLeastOthers = 3;

/// Numbered, but no row of equal units.
constexpr std::array kUnlike = {
    DFD_KEY_CPLD_VERSION,   DFD_KEY_E2_WRITE_PROTECT, DFD_KEY_SOFT_LED_CTRL,
    DFD_KEY_IRQ_MASK,       DFD_KEY_CARD_TEMP_CTRL,   DFD_KEY_2ND_IRQ_STATUS,
    DFD_KEY_3RD_IRQ_STATUS, DFD_KEY_2ND_IRQ_CLEAR,    DFD_KEY_3RD_IRQ_CLEAR};

struct Unit {
    Item item;
    const info_ctrl_t *ctrl;
};
using Row = std::vector<Unit>;

/// Items of one type and source, in the order of their indexes.
std::vector<Row> rows_of(const Check &check) {
    std::map<std::pair<std::uint32_t, int>, Row> rows;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        const bool is_row = std::ranges::find(kUnlike, item.type->type) == kUnlike.end();
        if (is_row && is_hardware_mode(ctrl.mode) && !is_place_only(item)) {
            rows[{item.type->type, ctrl.src}].push_back({item, &ctrl});
        }
    }
    std::vector<Row> long_rows;
    for (auto &[key, row] : rows) {
        if (row.size() > kLeastOthers) {
            long_rows.push_back(std::move(row));
        }
    }
    return long_rows;
}

/// The one that is unlike all others, which agree.
template <typename Value>
std::optional<std::size_t> odd_one(const std::vector<Value> &values) {
    // Of the first three two are of the majority, if there is one.
    const Value &majority = values[0] == values[1] ? values[0] : values[2];
    const auto is_odd = [&](const Value &value) { return value != majority; };
    const auto found = std::ranges::find_if(values, is_odd);
    return std::ranges::count_if(values, is_odd) == 1
               ? std::optional(static_cast<std::size_t>(found - values.begin()))
               : std::nullopt;
}

std::uint32_t value_of(const info_ctrl_t &ctrl, CtrlMember member) {
    return member == kAddr ? ctrl.addr : ctrl.reg_offset;
}

/// The number whose digits a line writes, were they hexadecimal; nothing where they say so.
std::optional<std::uint32_t> as_hexadecimal(const SourceLine *line) {
    constexpr int kHex = 16;
    constexpr std::size_t kMostDigits = 8;
    const bool is_decimal = line != nullptr && line->value.size() > 1 &&
                            line->value.size() <= kMostDigits &&
                            line->value.find_first_not_of("0123456789") == std::string::npos;
    return is_decimal ? std::optional(static_cast<std::uint32_t>(
                            std::stoul(std::string(line->value), nullptr, kHex)))
                      : std::nullopt;
}

/// Whether a number could go on or complete a row of others, by their smallest step.
bool fits(const std::set<std::uint32_t> &others, std::uint32_t number) {
    std::uint32_t step = others.size() > 1 ? *others.rbegin() - *others.begin() : 1;
    for (auto at = others.begin(); std::next(at) != others.end(); ++at) {
        step = std::min(step, *std::next(at) - *at);
    }
    return number + step >= *others.begin() && number <= *others.rbegin() + step;
}

/// "the other of this row is 0x50", "the 3 others of this row are 0x50 to 0x53".
std::string as_others(std::size_t count, const std::set<std::uint32_t> &others) {
    const std::string span = others.size() == 1
                                 ? fmt::format("{:#x}", *others.begin())
                                 : fmt::format("{:#x} to {:#x}", *others.begin(), *others.rbegin());
    return count == 1 ? fmt::format("the other of this row is {}", span)
                      : fmt::format("the {} others of this row are {}", count, span);
}

/// A decimal number among hexadecimal ones, whose digits would fit if they were hexadecimal too.
void check_base(Check &check, const Row &row, CtrlMember member, std::string_view rule,
                std::size_t least, std::set<std::uint32_t> &said) {
    const Unit *decimal = nullptr;
    std::vector<const Unit *> hexadecimal;
    for (const Unit &unit : row) {
        const SourceLine *const line = check.line_of(unit.item.key(), member);
        if (line != nullptr && line->value.starts_with("0x")) {
            hexadecimal.push_back(&unit);
        } else if (as_hexadecimal(line)) {
            if (decimal != nullptr) {
                return;
            }
            decimal = &unit;
        }
    }
    if (decimal == nullptr || hexadecimal.size() < least) {
        return;
    }
    std::set<std::uint32_t> others;
    for (const Unit *const unit : hexadecimal) {
        others.insert(value_of(*unit->ctrl, member));
    }
    const std::uint32_t number = value_of(*decimal->ctrl, member);
    const std::uint32_t meant = *as_hexadecimal(check.line_of(decimal->item.key(), member));
    if (fits(others, meant) && !fits(others, number) && said.insert(decimal->item.key()).second) {
        check.at_member(rule, decimal->item.key(), member,
                        fmt::format("{}: {} is {:#x}, while {}: is {:#x} meant?",
                                    as_written(decimal->item, info_ctrl_mem_str[member]), number,
                                    number, as_others(hexadecimal.size(), others), meant));
    }
}

/// Of few chips of one bus, too, an address is decimal that alone is not written as hexadecimal.
void check_addresses_of_bus(Check &check, std::set<std::uint32_t> &said) {
    std::map<std::pair<std::uint32_t, std::string_view>, Row> rows;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (is_numbered_path(ctrl.fpath, kI2cPrefix)) {
            rows[{item.type->type, ctrl.fpath}].push_back({item, &ctrl});
        }
    }
    for (const auto &[bus, row] : rows) {
        if (row.size() > 1) {
            check_base(check, row, kAddr, "address-base", row.size() - 1, said);
        }
    }
}

void add_odd(Check &check, const Row &row, std::size_t odd, CtrlMember member, std::string others) {
    const SourceLine *const line = check.line_of(row[odd].item.key(), member);
    check.at_member(
        "unit-differs", row[odd].item.key(), member,
        fmt::format("{} has {}, while the {} others of this row have {}", as_written(row[odd].item),
                    line != nullptr ? fmt::format("{}={}", info_ctrl_mem_str[member], line->value)
                                    : fmt::format("no {}", info_ctrl_mem_str[member]),
                    row.size() - 1, others));
}

/// Chips of their own have equal registers; one chip for several units has one for each.
void check_register(Check &check, const Row &row) {
    std::set<std::tuple<std::string_view, std::uint32_t>> chips;
    std::vector<std::uint32_t> registers;
    for (const Unit &unit : row) {
        chips.emplace(unit.ctrl->fpath, unit.ctrl->addr);
        registers.push_back(unit.ctrl->reg_offset);
    }
    const auto odd = odd_one(registers);
    if (chips.size() == row.size() && odd) {
        add_odd(check, row, *odd, kRegOffset, fmt::format("{:#x}", registers[*odd == 0 ? 1 : 0]));
    }
}

std::vector<std::string_view> paths_of(const Row &row) {
    std::vector<std::string_view> paths;
    for (const Unit &unit : row) {
        paths.emplace_back(unit.ctrl->fpath);
    }
    return paths;
}

/// How many items use each device file.
std::map<std::string_view, int> uses_of_paths(const Check &check) {
    std::map<std::string_view, int> uses;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        ++uses[record_of<info_ctrl_t>(item)->fpath];
    }
    return uses;
}

/// Whether another item of the unit is on the device.
bool has_on(const Check &check, const Item &item, std::string_view path) {
    const std::uint32_t presence = presence_type_of(item.type->type);
    return std::ranges::any_of(configured(check, Kind::info_ctrl), [&](const Item &other) {
        return other.index1 == item.index1 && other.type != item.type &&
               presence_type_of(other.type->type) == presence &&
               record_of<info_ctrl_t>(other)->fpath == path;
    });
}

/// A bus that the unit has nothing else on, though more of it is on the bus of the others or units
/// on both sides are.
bool is_odd_bus(const Check &check, const Row &row, std::size_t odd, std::string_view common) {
    const Unit &unit = row[odd];
    const bool is_inside = odd > 0 && odd + 1 < row.size();
    return unit.ctrl->src == INFO_SRC_I2C && !has_on(check, unit.item, unit.ctrl->fpath) &&
           (is_inside || has_on(check, unit.item, common));
}

/// A device that nothing else uses, where all others of the row are on one; an odd bus.
void check_path(Check &check, const Row &row, const std::map<std::string_view, int> &uses,
                std::set<std::uint32_t> &said) {
    const std::vector<std::string_view> paths = paths_of(row);
    const auto odd = odd_one(paths);
    if (!odd || paths[*odd].empty()) {
        return;
    }
    const std::string_view common = paths[*odd == 0 ? 1 : 0];
    const bool is_alone = uses.at(paths[*odd]) == 1;
    if (is_alone || is_odd_bus(check, row, *odd, common)) {
        said.insert(row[*odd].item.key());
        add_odd(check, row, *odd, kFpath,
                fmt::format("{}{}", common, is_alone ? "; nothing else uses this device" : ""));
    }
}

bool is_sensor_chip(const Item &control) {
    const auto *sensor =
        record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, control.index1, control.index2));
    return sensor != nullptr &&
           (sensor->type == TEMP_INFO_LM75 || sensor->type == TEMP_INFO_TMP411);
}

/// A bus that a single sensor chip of a card is on, where all its others share one.
void check_lonely_sensors(Check &check, const std::map<std::string_view, int> &uses) {
    std::map<std::uint32_t, Row> cards;
    for (const Item &item : configured(check, DFD_KEY_CARD_TEMP_CTRL)) {
        const auto *ctrl = record_of<info_ctrl_t>(item);
        if (is_sensor_chip(item) && is_numbered_path(ctrl->fpath, kI2cPrefix)) {
            cards[item.index1].push_back({item, ctrl});
        }
    }
    for (const auto &[card, row] : cards) {
        const std::vector<std::string_view> paths = paths_of(row);
        const auto odd = row.size() > kLeastOthers ? odd_one(paths) : std::nullopt;
        if (odd && uses.at(paths[*odd]) == 1) {
            check.at_member("device-once", row[*odd].item.key(), kFpath,
                            fmt::format("{} is the only item on {}, while the {} other sensors of "
                                        "this card are on {}: is that the bus?",
                                        as_written(row[*odd].item), paths[*odd], row.size() - 1,
                                        paths[*odd == 0 ? 1 : 0]));
        }
    }
}

/// A CPLD that a single item uses on a board whose other CPLDs have many.
void check_lonely(Check &check, const std::map<std::string_view, int> &uses,
                  const std::set<std::uint32_t> &said) {
    constexpr int kMany = 8;
    const bool has_busy = std::ranges::any_of(uses, [](const auto &use) {
        return is_numbered_path(use.first, kCpldPrefix) && use.second >= kMany;
    });
    if (!has_busy) {
        return;
    }
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const std::string_view path = record_of<info_ctrl_t>(item)->fpath;
        if (is_numbered_path(path, kCpldPrefix) && uses.at(path) == 1 &&
            !said.contains(item.key())) {
            check.at_member("device-once", item.key(), kFpath,
                            fmt::format("{} is the only item on {}: is that the device?",
                                        as_written(item), path));
        }
    }
}

/// The one number that a row of at least three leaves out.
std::optional<std::uint32_t> gap_in(const std::set<std::uint32_t> &numbers) {
    const bool is_one_missing =
        numbers.size() >= kLeastOthers && *numbers.rbegin() - *numbers.begin() == numbers.size();
    if (!is_one_missing) {
        return std::nullopt;
    }
    std::uint32_t expected = *numbers.begin();
    for (const std::uint32_t number : numbers) {
        if (number != expected) {
            break;
        }
        ++expected;
    }
    return expected;
}

/// " and 1 more type", " and 12 more types"
std::string and_more_types(std::size_t count) {
    return count == 0 ? "" : fmt::format(" and {} more type{}", count, count == 1 ? "" : "s");
}

/// The type that stands for the units which an item is one of; 0 where those may well have gaps.
std::uint32_t family_of(std::uint32_t type) {
    const bool is_leading = type == DFD_KEY_FAN_STATE || type == DFD_KEY_POWER_PRESENT ||
                            type == DFD_KEY_SLOT_ONLINE || type == DFD_KEY_PORT_SFP_STATE;
    return is_leading ? type : presence_type_of(type);
}

/// The type of an item that shows that a unit is there which a row of others leaves out, or 0.
std::uint32_t proof_of(std::uint32_t type, std::uint32_t unit) {
    const bool is_slot = type == DFD_KEY_SLOT_ONLINE;
    const std::uint32_t first = is_slot ? std::uint32_t{DFD_KEY_RESET_LC} : presence_type_of(type);
    if (first != 0 && has(first, unit)) {
        return first;
    }
    return is_slot && has(DFD_KEY_CARD_POWER_CTRL, unit) ? DFD_KEY_CARD_POWER_CTRL : 0;
}

bool is_own_slot(const Check &check, std::uint32_t slot) {
    const auto *own = record_of<info_ctrl_t>(item_of(DFD_KEY_MY_SLOTID));
    return own != nullptr && own->mode == INFO_CTRL_MODE_CONSTANT &&
           observe::Units(check.log()).own_slot() == slot;
}

/// The one unit that a row leaves out though it is proven to be there.
std::optional<std::uint32_t> proven_gap_in(std::uint32_t type,
                                           const std::set<std::uint32_t> &numbers) {
    std::vector<std::uint32_t> gaps;
    for (std::uint32_t unit = *numbers.begin(); unit < *numbers.rbegin(); ++unit) {
        if (!numbers.contains(unit) && proof_of(type, unit) != 0) {
            gaps.push_back(unit);
        }
    }
    return gaps.size() == 1 && numbers.size() >= kLeastOthers ? std::optional(gaps[0])
                                                              : std::nullopt;
}

/// Whether a row may leave a unit out, as slots do with the own one, or another rule tells: trays
/// that are counted, a unit without its presence.
bool is_told(const Check &check, std::uint32_t family, std::uint32_t unit) {
    const auto is_of_unit = [&](const Item &item) {
        return item.index1 == unit && family_of(item.type->type) == family;
    };
    return (family == DFD_KEY_FAN_STATE && has(DFD_KEY_FAN_NUM)) ||
           (family == DFD_KEY_SLOT_ONLINE && is_own_slot(check, unit)) ||
           (family == DFD_KEY_PORT_SFP_STATE && has(DFD_KEY_PORT_SFP_TX, unit)) ||
           std::ranges::any_of(configured(check, Kind::info_ctrl), is_of_unit);
}

/// Rows that leave out the same unit: their family, the unit, whether it is proven to be there.
using Gap = std::tuple<std::uint32_t, std::uint32_t, bool>;

std::map<Gap, std::vector<std::uint32_t>> gaps_of(
    const std::map<std::uint32_t, std::set<std::uint32_t>> &rows) {
    std::map<Gap, std::vector<std::uint32_t>> gaps;
    for (const auto &[type, numbers] : rows) {
        const auto proven = proven_gap_in(type, numbers);
        if (const auto unit = proven ? proven : gap_in(numbers)) {
            const std::uint32_t family = family_of(type);
            auto &types = gaps[{family, *unit, proof_of(type, *unit) != 0}];
            types.insert(type == family ? types.begin() : types.end(), type);
        }
    }
    return gaps;
}

/// One finding for all types of items that a unit lacks.
void check_gaps(Check &check) {
    std::map<std::uint32_t, std::set<std::uint32_t>> rows;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        if (family_of(item.type->type) != 0) {
            rows[item.type->type].insert(item.index1);
        }
    }
    for (const auto &[gap, types] : gaps_of(rows)) {
        const auto &[family, unit, is_proven] = gap;
        if (!is_proven && is_told(check, family, unit)) {
            continue;
        }
        const std::set<std::uint32_t> &numbers = rows.at(types[0]);
        const Item before = configured(check, types[0]).front();
        check.at_item(
            is_proven ? "unit-left-out" : "row-gap", before.key(),
            fmt::format("{}{} of {} to {}, but no {}: {}", before.type->name,
                        and_more_types(types.size() - 1), *numbers.begin(), *numbers.rbegin(),
                        as_written(item_of(types[0], unit, before.index2)),
                        is_proven ? fmt::format("this unit has {}",
                                                as_written(item_of(proof_of(types[0], unit), unit)))
                                  : "was this unit left out?"));
    }
}

}  // namespace

void check_rows(Check &check) {
    const auto uses = uses_of_paths(check);
    std::set<std::uint32_t> said;
    std::set<std::uint32_t> said_addresses;
    std::set<std::uint32_t> said_registers;
    for (const Row &row : rows_of(check)) {
        check_base(check, row, kAddr, "number-base", kLeastOthers, said_addresses);
        check_base(check, row, kRegOffset, "number-base", kLeastOthers, said_registers);
        check_path(check, row, uses, said);
        if (row.front().ctrl->src == INFO_SRC_I2C) {
            check_register(check, row);
        }
    }
    check_addresses_of_bus(check, said_addresses);
    check_lonely(check, uses, said);
    check_lonely_sensors(check, uses);
    check_gaps(check);
}

}  // namespace dfdctl::lint
