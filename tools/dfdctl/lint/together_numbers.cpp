// SPDX-License-Identifier: MIT
// Numbers that are out of proportion to others.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <array>
#include <optional>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// How many of something there are, and how many the indexes of its items allow.
struct Count {
    std::uint32_t type;
    std::string_view what;
    int most;
};

constexpr std::array kCounts = {
    Count{DFD_KEY_FAN_NUM, "fan trays", 16},
    Count{DFD_KEY_SSLOT_NUM, "sub-slots", 8},
    Count{DFD_KEY_CARD_VOL_NUM, "voltage channels", 255},
};

void check_counts(Check &check) {
    for (const Count &count : kCounts) {
        const int number = int_value(count.type, 0);
        if (number < 0 || number > count.most) {
            check.at_member("count-range", item_of(count.type).key(), dfd::watch::kNoMember,
                            fmt::format("{} is no number of {}: their items are numbered up to {}",
                                        number, count.what, count.most));
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

}  // namespace

void check_numbers(Check &check) {
    check_counts(check);
    check_thresholds(check);
}

}  // namespace dfdctl::lint
