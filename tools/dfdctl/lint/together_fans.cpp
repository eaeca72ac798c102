// SPDX-License-Identifier: MIT
// Fan trays and their rotors.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// Where speeds are set, each rotor that is watched is: the level goes to one rotor at a time.
void check_settable(Check &check) {
    const std::span<const Item> settable = configured(check, DFD_KEY_FAN_CFG_SPEED);
    const auto example =
        std::ranges::find_if(settable, [](const Item &item) { return item.index2 > 0; });
    if (example == settable.end()) {
        const std::span<const Item> levels = configured(check, DFD_KEY_GET_FAN_CFG_SPEED);
        if (settable.empty() && !levels.empty()) {
            check.at_item(
                "rotor-unset", levels.front().key(),
                fmt::format("{}, but no fan_cfg_speed of any rotor: speed levels are read, "
                            "but cannot be set (-6)",
                            as_written(levels.front())));
        }
        return;
    }
    for (const Item &item : configured(check, DFD_KEY_FAN_REAL_SPEED)) {
        const int rotors = count_of(item_of(DFD_KEY_SUBFAN_NUM, item.index1))
                               .value_or(static_cast<int>(item.index2));
        const bool is_rotor = item.index2 > 0 && static_cast<int>(item.index2) <= rotors;
        if (is_rotor && !has(DFD_KEY_FAN_CFG_SPEED, item.index1, item.index2)) {
            check.at_item(
                "rotor-unset", item.key(),
                fmt::format("{}, but no {}: the rotor is watched, but its speed cannot be set "
                            "(-6), as that of others can by {}",
                            as_written(item),
                            as_written(item_of(DFD_KEY_FAN_CFG_SPEED, item.index1, item.index2)),
                            as_written(*example)));
        }
    }
}

/// Whether the level of each rotor that is watched can be told.
bool has_all_levels(Check &check, std::uint32_t tray) {
    const std::span<const Item> speeds = configured(check, DFD_KEY_FAN_REAL_SPEED);
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
    check_settable(check);
    check_floor(check);
    check_attributes(check);
}

}  // namespace dfdctl::lint
