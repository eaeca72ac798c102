// SPDX-License-Identifier: MIT
// Numbers that are out of proportion to others: counts of units, values for registers, thresholds.
#include <dfd/access.h>
#include <dfd/driver.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <span>

#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using Types = std::span<const dfd_key_type>;

constexpr std::array kTrayItems = {
    DFD_KEY_FAN_STATE,      DFD_KEY_FAN_TYPE,          DFD_KEY_FAN_SN,
    DFD_KEY_FAN_HW_VER,     DFD_KEY_FAN_SW_VER,        DFD_KEY_FAN_LINE_FAIL,
    DFD_KEY_FAN_CFG_SPEED,  DFD_KEY_GET_FAN_CFG_SPEED, DFD_KEY_FAN_FAIL_STATUS,
    DFD_KEY_FAN_REAL_SPEED, DFD_KEY_SUBFAN_NUM,        DFD_KEY_FAN_FAIL_BMP,
    DFD_KEY_FAN_TEMP,       DFD_KEY_FAN_CPLD_VERSION};
constexpr std::array kRotorItems = {DFD_KEY_FAN_REAL_SPEED, DFD_KEY_FAN_CFG_SPEED,
                                    DFD_KEY_GET_FAN_CFG_SPEED};
constexpr std::array kSubCardItems = {DFD_KEY_SSLOT_E2PROM};
constexpr std::array kSubSlotItems = {DFD_KEY_SSLOT_STATE, DFD_KEY_SSLOT_E2PROM};
constexpr std::array kChannelItems = {DFD_KEY_CARD_VOL_LOW, DFD_KEY_CARD_VOL_HIGH,
                                      DFD_KEY_CARD_VOL_WATERLINE};
constexpr std::array kChannelBytes = {DFD_KEY_CARD_VOL_LOW, DFD_KEY_CARD_VOL_HIGH};
constexpr std::array kWatched = {DFD_KEY_FAN_REAL_SPEED};

/// How many units there are, and the items of one.
struct Count {
    dfd_key_type type;  ///< of each tray, where it is an info_ctrl item
    std::string_view what;
    int most;  ///< that indexes allow
    bool is_index2;
    std::uint32_t first;
    Types items;              ///< that nobody asks for beyond the count
    std::string_view beyond;  ///< the rule of that, and what becomes of them
    std::string_view consequence;
    Types signs;             ///< one of them describes a unit
    std::string_view unmet;  ///< the rule of one without, and what that means
    std::string_view loss;
    /// Only where no unit at all is described: another rule tells of those that are missing.
    bool is_told_otherwise;
};

constexpr std::array kCounts = {
    Count{DFD_KEY_FAN_NUM, "tray", 16, false, 1, kTrayItems, "fan-beyond",
          "platform software never asks for", kTrayItems, "count-unmet",
          "platform software asks for each, and is told that it is not supported (-6)", false},
    Count{DFD_KEY_SUBFAN_NUM, "rotor", 16, true, 1, kRotorItems, "rotor-beyond", "nobody looks at",
          kWatched, "rotor-without-speed", "it is not watched", false},
    Count{DFD_KEY_SSLOT_NUM, "sub-slot", 8, false, 1, kSubCardItems, "subcard-beyond",
          "platform software never asks for", kSubSlotItems, "count-unmet",
          "platform software asks for each, and it is always reported as absent", false},
    Count{DFD_KEY_CARD_VOL_NUM, "channel", 255, true, 0, kChannelItems, "voltage-beyond",
          "the library refuses (-1)", kChannelBytes, "count-unmet",
          "platform software asks for each, and is told that it is not supported (-6)", true},
};

std::uint32_t unit_of(const Count &count, const Item &item) {
    return count.is_index2 ? item.index2 : item.index1;
}

/// A count and the items of its units.
struct Counted {
    Item count;
    int number;
    std::vector<Item> items;
    std::vector<std::uint32_t> described;

    /// The line that set the number; null where the library takes 1 without one.
    const SourceLine *line(const Check &check) const {
        return check.line_of(count.key(), count.type->kind == Kind::info_ctrl
                                              ? static_cast<int>(kIntCons)
                                              : dfd::watch::kNoMember);
    }
};

/// "there are 2 trays (fan_num, cm8_fans.cfg:7)"
std::string number_of(const Check &check, const Count &count, const Counted &group) {
    const SourceLine *const line = group.line(check);
    const std::string from =
        line != nullptr ? fmt::format("{}, {}", as_written(group.count), check.place(*line))
                        : fmt::format("no {}", as_written(group.count));
    return fmt::format("there {} ({})",
                       is_or_are(static_cast<std::uint32_t>(group.number), count.what), from);
}

/// Of a board's files, those of a larger chassis are right.
bool is_told_by_chassis(const Check &check, const Counted &group) {
    const SourceLine *const line = group.line(check);
    return line != nullptr && check.log().files[line->file].role == FileRole::chassis;
}

/// One finding, at the line that comes first.
void add_beyond(Check &check, const Count &count, const Counted &group, std::string_view rule,
                const std::vector<Item> &items) {
    if (items.empty()) {
        return;
    }
    const auto first = std::ranges::min_element(items, {}, [&](const Item &item) {
        return check.log().origins.at(item.key()).front().source;
    });
    const std::string more = items.size() > 1 ? fmt::format(" and {} more", items.size() - 1) : "";
    check.at_item(rule, first->key(),
                  fmt::format("{}{}: {}, counted from 1: {} {}", as_written(*first), more,
                              number_of(check, count, group), count.consequence,
                              items.size() > 1 ? "these" : "this one"));
    std::ranges::for_each(items, [&](const Item &item) { check.explain(item.key()); });
}

void check_beyond(Check &check, const Count &count, const Counted &group) {
    std::vector<Item> below;
    std::vector<Item> above;
    for (const Item &item : group.items) {
        const std::uint32_t unit = unit_of(count, item);
        if (unit < count.first) {
            below.push_back(item);
        } else if (unit > static_cast<std::uint32_t>(group.number)) {
            above.push_back(item);
        }
    }
    const bool is_larger = count.type == DFD_KEY_FAN_NUM && is_told_by_chassis(check, group);
    add_beyond(check, count, group, count.beyond, below);
    add_beyond(check, count, group, is_larger ? "fan-beyond-chassis" : count.beyond, above);
}

void check_unmet(Check &check, const Count &count, const Counted &group) {
    const SourceLine *const line = group.line(check);
    const bool is_any = !group.described.empty();
    // Cards without the units share the chassis file with those that have them.
    const bool is_silent = is_any ? count.is_told_otherwise : is_told_by_chassis(check, group);
    std::vector<std::uint32_t> missing;
    for (std::uint32_t unit = 1; unit <= static_cast<std::uint32_t>(group.number); ++unit) {
        if (std::ranges::find(group.described, unit) == group.described.end()) {
            missing.push_back(unit);
        }
    }
    if (line == nullptr || is_silent || missing.empty()) {
        return;
    }
    const Item example = count.is_index2
                             ? item_of(count.signs.front(), group.count.index1, missing.front())
                             : item_of(count.signs.front(), missing.front());
    check.at_value(
        count.unmet, *line,
        fmt::format("{} says {} {}{}, but there is no item of {} {}, such as {}: {}",
                    as_written(group.count), group.number, count.what, group.number == 1 ? "" : "s",
                    count.what, ranges(missing), as_written(example), count.loss));
}

void check_group(Check &check, const Count &count, const Counted &group) {
    if (group.number < 0 || group.number > count.most) {
        check.at_value("count-range", *group.line(check),
                       fmt::format("{} is no number of {}s: their items are numbered up to {}",
                                   group.number, count.what, count.most));
        return;
    }
    check_beyond(check, count, group);
    check_unmet(check, count, group);
}

/// By what is counted in: the tray of rotors, else 0.
std::map<std::uint32_t, Counted> groups_of(const Check &check, const Count &count) {
    std::map<std::uint32_t, Counted> groups;
    const bool is_each = item_of(count.type).type->index_count() > 0;
    const auto each = [&](Types types, auto note) {
        for (const dfd_key_type type : types) {
            for (const Item &item : configured(check, type)) {
                note(groups[is_each ? item.index1 : 0], item);
            }
        }
    };
    each(Types(&count.type, 1), [](Counted & /*group*/, const Item & /*item*/) {});
    each(count.items, [](Counted &group, const Item &item) { group.items.push_back(item); });
    each(count.signs, [&](Counted &group, const Item &item) {
        group.described.push_back(unit_of(count, item));
    });
    return groups;
}

void check_counts(Check &check) {
    for (const Count &count : kCounts) {
        for (auto &[index1, group] : groups_of(check, count)) {
            group.count = item_of(count.type, index1);
            if (const auto number = count_of(group.count)) {
                group.number = *number;
                check_group(check, count, group);
            }
        }
    }
}

/// The bits of one register that hold a converted value; a conversion looks at its first byte only.
std::uint32_t largest_class(const info_ctrl_t &ctrl) {
    return std::min<std::uint32_t>(largest_value(ctrl), dfd::kWholeByte);
}

/// Items that are read or written, with the fewest bits or with the most.
std::optional<Item> register_of(const Check &check, Types types, bool is_widest) {
    std::optional<Item> found;
    std::uint32_t largest = 0;
    for (const dfd_key_type type : types) {
        for (const Item &item : configured(check, type)) {
            const auto &ctrl = *record_of<info_ctrl_t>(item);
            const std::uint32_t own = largest_class(ctrl);
            const bool is_better = !found || (is_widest ? own > largest : own < largest);
            if (is_hardware_mode(ctrl.mode) && own > 0 && is_better) {
                found = item;
                largest = own;
            }
        }
    }
    return found;
}

/// "of get_fan_cfg_speed_1_1 holds 0 to 3"
std::string what_holds(const std::optional<Item> &item) {
    return item ? fmt::format("{} holds 0 to {:#x}", as_written(*item),
                              largest_class(*record_of<info_ctrl_t>(*item)))
                : fmt::format("a register holds 0 to {:#x}", unsigned{dfd::kWholeByte});
}

std::uint32_t limit_of(const std::optional<Item> &item) {
    return item ? largest_class(*record_of<info_ctrl_t>(*item)) : dfd::kWholeByte;
}

/// Values that levels of speed stand for. One that is no number is spoken of where the line is.
void check_level_values(Check &check) {
    constexpr std::array kSpeeds = {DFD_KEY_FAN_CFG_SPEED, DFD_KEY_GET_FAN_CFG_SPEED};
    const std::optional<Item> speed = register_of(check, kSpeeds, false);
    for (const Item &item : configured(check, DFD_KEY_FAN_SPEEDLVL_CONVERT)) {
        const SourceLine &line = *check.line_of(item.key(), dfd::watch::kNoMember);
        const auto value = static_cast<std::uint32_t>(*record_of<int>(item));
        if (value > limit_of(speed) && judge_number(line.value).flaw == NumberText::Flaw::none) {
            check.at_value(
                "register-value-wide", line,
                fmt::format("{}: {}: the upper bits of {:#x} are cut when it is written, "
                            "and this level is never read back",
                            as_written(item), what_holds(speed), value));
        }
    }
}

/// Register values that power classes are looked up by.
void check_class_values(Check &check) {
    constexpr std::array kClasses = {DFD_KEY_CARD_RATE_POWER};
    const std::optional<Item> power = register_of(check, kClasses, true);
    for (const Item &item : configured(check, DFD_KEY_POWER_REGVAL_CONVERT)) {
        if (item.index1 > limit_of(power)) {
            check.at_index(
                "register-value-wide", *check.line_of(item.key(), dfd::watch::kNoMember),
                fmt::format("{} is never found: {}", as_written(item), what_holds(power)));
        }
    }
}

/// Degrees, where the configuration says them.
std::optional<int> threshold(std::uint32_t type) {
    const auto *ctrl = record_of<info_ctrl_t>(item_of(type));
    return ctrl != nullptr && ctrl->mode == INFO_CTRL_MODE_CONSTANT ? std::optional(ctrl->int_cons)
                                                                    : std::nullopt;
}

void check_thresholds(Check &check) {
    const auto alarm = threshold(DFD_KEY_SYS_ALARM_TEMP);
    const auto danger = threshold(DFD_KEY_SYS_DANGER_TEMP);
    if (alarm && danger && *danger < *alarm) {
        check.at_member("threshold-order", item_of(DFD_KEY_SYS_DANGER_TEMP).key(), kIntCons,
                        fmt::format("the system is shut down at {} degrees (sys_danger_temp), "
                                    "before the alarm at {} (sys_alarm_temp)",
                                    *danger, *alarm));
    }
}

/// The largest number that the library makes of an item, whatever its register holds; negative
/// where it makes none. Full bytes, none, and nines for what is written in digits.
int largest(const Item &item, int (*read)(const Item &item, int *value)) {
    static std::uint8_t fill;
    dfd::watch::Hooks hooks;
    hooks.answer = [](void * /*context*/, const dfd::watch::Transfer &transfer, int *result) {
        if (transfer.data != nullptr && !transfer.is_write) {
            std::memset(transfer.data, fill, transfer.len);
        }
        *result = static_cast<int>(transfer.len);
        return true;
    };
    const Watching watching(hooks);
    int most = DFD_ERR;
    for (const std::uint8_t byte : {std::uint8_t{0xFF}, std::uint8_t{0}, std::uint8_t{'9'}}) {
        fill = byte;
        int value = 0;
        if (read(item, &value) >= DFD_OK) {
            most = std::max(most, value);
        }
    }
    return most;
}

bool is_read_from_hardware(const Item &item) {
    const auto *ctrl = record_of<info_ctrl_t>(item);
    return ctrl != nullptr && is_hardware_mode(ctrl->mode);
}

int read_plain(const Item &item, int *value) {
    return dfd_info_get_int(item.key(), value, nullptr);
}

/// What a number has to reach at least to be of use.
struct Range {
    std::uint32_t type;
    int (*read)(const Item &item, int *value);
    int least;
    std::string_view unit;
};

constexpr std::array kRanges = {
    Range{DFD_KEY_SYS_ALARM_TEMP,
          [](const Item & /*item*/, int *value) { return drv_get_sys_card_alarm_temp(value); }, 40,
          "degrees: the lowest three bits of the register are fractions"},
    Range{DFD_KEY_SYS_DANGER_TEMP,
          [](const Item & /*item*/, int *value) { return drv_get_sys_card_shutdown_temp(value); },
          40, "degrees: the lowest three bits of the register are fractions"},
    Range{DFD_KEY_POWER_ENV_TEMP,
          [](const Item & /*item*/, int *value) { return *value = drv_get_env_temp(); }, 40,
          "degrees: the lowest three bits of the register are fractions"},
    Range{DFD_KEY_CARD_VOL_WATERLINE, read_plain, 500, "mV"},
};

void check_ranges(Check &check) {
    for (const Range &range : kRanges) {
        for (const Item &item : configured(check, range.type)) {
            const int most = is_read_from_hardware(item) ? largest(item, range.read) : DFD_ERR;
            if (most >= 0 && most < range.least) {
                check.at_member("range-narrow", item.key(), kLen,
                                fmt::format("{} reaches {} {}; two bytes reach further, with "
                                            ".frmt=num_bytes and .len=2",
                                            as_written(item), most, range.unit));
            }
        }
    }
}

/// Rotors that can never be as fast as the lowest healthy speed; once, for they are alike.
void check_floor_range(Check &check) {
    const int floor = int_value(DFD_KEY_FAN_SPEED_FLOOR, 0);
    for (const Item &item : configured(check, DFD_KEY_FAN_REAL_SPEED)) {
        const int most = is_read_from_hardware(item) ? largest(item, read_plain) : DFD_ERR;
        if (most >= 0 && most < floor) {
            check.at_member("floor-unreachable", item.key(), kLen,
                            fmt::format("{} reaches {}, below fan_speed_floor {}: the rotor counts "
                                        "as failed at any speed",
                                        as_written(item), most, floor));
            return;
        }
    }
}

}  // namespace

void check_numbers(Check &check) {
    check_counts(check);
    check_level_values(check);
    check_class_values(check);
    check_thresholds(check);
    check_ranges(check);
    check_floor_range(check);
}

}  // namespace dfdctl::lint
