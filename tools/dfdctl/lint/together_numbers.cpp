// SPDX-License-Identifier: MIT
// Numbers that are out of proportion to others.
#include <dfd/access.h>
#include <dfd/driver.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <cstring>
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
    check_thresholds(check);
    check_ranges(check);
    check_floor_range(check);
}

}  // namespace dfdctl::lint
