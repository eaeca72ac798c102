// SPDX-License-Identifier: MIT
// Fan trays and their rotors.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <optional>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// Items of one tray, index1.
constexpr std::array kTrayTypes = {DFD_KEY_FAN_TYPE,        DFD_KEY_FAN_SN,
                                   DFD_KEY_FAN_HW_VER,      DFD_KEY_FAN_SW_VER,
                                   DFD_KEY_FAN_STATE,       DFD_KEY_FAN_LINE_FAIL,
                                   DFD_KEY_FAN_CFG_SPEED,   DFD_KEY_GET_FAN_CFG_SPEED,
                                   DFD_KEY_FAN_FAIL_STATUS, DFD_KEY_FAN_REAL_SPEED,
                                   DFD_KEY_SUBFAN_NUM,      DFD_KEY_FAN_FAIL_BMP,
                                   DFD_KEY_FAN_TEMP,        DFD_KEY_FAN_CPLD_VERSION};
/// Items of one rotor, index2.
constexpr std::array kRotorTypes = {DFD_KEY_FAN_REAL_SPEED, DFD_KEY_FAN_CFG_SPEED,
                                    DFD_KEY_GET_FAN_CFG_SPEED};

/// fan_num was set by the chassis: then a board's trays beyond it belong to larger chassis.
bool is_told_by_chassis(const Check &check) {
    const SourceLine *line = check.line_of(item_of(DFD_KEY_FAN_NUM).key(), dfd::watch::kNoMember);
    return line != nullptr && check.log().files[line->file].role == FileRole::chassis;
}

void check_trays(Check &check) {
    const int trays = int_value(DFD_KEY_FAN_NUM, -1);
    if (trays < 0) {
        return;
    }
    const auto count = static_cast<std::uint32_t>(trays);
    const bool is_chassis = is_told_by_chassis(check);
    for (const std::uint32_t type : kTrayTypes) {
        for (const Item &item : configured(check, type)) {
            const bool is_beyond = item.index1 > count;
            if (item.index1 == 0 || (is_beyond && !is_chassis)) {
                check.at_item("fan-beyond", item.key(),
                              fmt::format("{}: there {} (fan_num), counted from 1: platform "
                                          "software never asks for this one",
                                          as_written(item), is_or_are(count, "tray")));
            } else if (is_beyond) {
                check.at_item("fan-beyond-chassis", item.key(),
                              fmt::format("{}: there {} in this chassis (fan_num)",
                                          as_written(item), is_or_are(count, "tray")));
            }
        }
    }
}

/// Rotors of a tray; nothing when the hardware tells.
std::optional<std::uint32_t> rotors_of(std::uint32_t tray) {
    const auto *ctrl = record_of<info_ctrl_t>(item_of(DFD_KEY_SUBFAN_NUM, tray));
    if (ctrl == nullptr) {
        return 1;
    }
    if (ctrl->mode != INFO_CTRL_MODE_CONSTANT || ctrl->int_cons < 0) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(ctrl->int_cons);
}

void check_rotors(Check &check) {
    for (const std::uint32_t type : kRotorTypes) {
        for (const Item &item : configured(check, type)) {
            const std::optional<std::uint32_t> rotors = rotors_of(item.index1);
            if (rotors && (item.index2 == 0 || item.index2 > *rotors)) {
                check.at_item("rotor-beyond", item.key(),
                              fmt::format("{}: there {} in the tray (subfan_num; 1 without it), "
                                          "counted from 1: this one is never looked at",
                                          as_written(item), is_or_are(*rotors, "rotor")));
            }
        }
    }
    for (const Item &item : configured(check, DFD_KEY_SUBFAN_NUM)) {
        constexpr std::uint32_t kMostRotors = 16;
        const std::uint32_t rotors = std::min(rotors_of(item.index1).value_or(0), kMostRotors);
        for (std::uint32_t rotor = 1; rotor <= rotors; ++rotor) {
            if (!has(DFD_KEY_FAN_REAL_SPEED, item.index1, rotor)) {
                check.at_member(
                    "rotor-without-speed", item.key(), kIntCons,
                    fmt::format("{} says {} rotors, but no {}: the rotor is not watched",
                                as_written(item), rotors,
                                as_written(item_of(DFD_KEY_FAN_REAL_SPEED, item.index1, rotor))));
            }
        }
    }
}

/// Whether the level of each rotor that is watched can be told.
bool has_all_levels(Check &check, std::uint32_t tray) {
    const std::vector<Item> speeds = configured(check, DFD_KEY_FAN_REAL_SPEED);
    return std::all_of(speeds.begin(), speeds.end(), [tray](const Item &speed) {
        return speed.index1 != tray || has(DFD_KEY_GET_FAN_CFG_SPEED, tray, speed.index2);
    });
}

/// With a lowest speed the state of a tray is judged by its rotors; where the level of a slow one
/// cannot be told, the failure flag decides.
void check_floor(Check &check) {
    if (!has(DFD_KEY_FAN_SPEED_FLOOR)) {
        return;
    }
    for (const Item &item : configured(check, DFD_KEY_FAN_REAL_SPEED)) {
        if (!has(DFD_KEY_GET_FAN_CFG_SPEED, item.index1, item.index2) &&
            !has(DFD_KEY_FAN_FAIL_STATUS, item.index1)) {
            check.at_item("floor-without-level", item.key(),
                          fmt::format("{} is compared with fan_speed_floor, but no {}: a rotor "
                                      "that is too slow does not fail the tray",
                                      as_written(item),
                                      as_written(item_of(DFD_KEY_GET_FAN_CFG_SPEED, item.index1,
                                                         item.index2))));
        }
    }
    for (const Item &item : configured(check, DFD_KEY_FAN_FAIL_STATUS)) {
        if (has_all_levels(check, item.index1)) {
            check.at_item("fan-fail-unread", item.key(),
                          fmt::format("{} is hardly ever read: with fan_speed_floor the speed of "
                                      "its rotors tells whether a tray has failed",
                                      as_written(item)));
        }
    }
}

void check_attributes(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_FAN_ATTR_TYPE)) {
        const std::string_view text = record_of<char>(item);
        if (!text.starts_with("-F") && !text.starts_with("-R")) {
            check.at_member("fan-attribute", item.key(), dfd::watch::kNoMember,
                            fmt::format("'{}' begins neither with -F nor with -R: the airflow is "
                                        "reported as 0, unknown",
                                        text));
        }
    }
}

}  // namespace

void check_fans(Check &check) {
    check_trays(check);
    check_rotors(check);
    check_floor(check);
    check_attributes(check);
}

}  // namespace dfdctl::lint
