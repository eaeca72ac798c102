// SPDX-License-Identifier: MIT
// Backplanes, and the write protection of EEPROMs that are written.
#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <array>
#include <span>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::array kBackplaneTypes = {
    DFD_KEY_BP_E2PROM_DEV,     DFD_KEY_BACKPLANE_HW_VER,  DFD_KEY_BACKPLANE_SN,
    DFD_KEY_BACKPLANE_MAC,     DFD_KEY_BACKPLANE_SERIAL0, DFD_KEY_BACKPLANE_SERIAL1,
    DFD_KEY_BACKPLANE_SERIAL2, DFD_KEY_BACKPLANE_SERIAL3, DFD_KEY_E2_SETMAC};

void check_backplanes(Check &check) {
    for (const std::uint32_t type : kBackplaneTypes) {
        for (const Item &item : configured(check, type)) {
            const bool is_field = type != DFD_KEY_BP_E2PROM_DEV && type != DFD_KEY_E2_SETMAC;
            if (item.index1 == 0) {
                check.at_item("backplane-0", item.key(),
                              fmt::format("{}: backplanes are numbered 1 and 2, this one is never "
                                          "looked at",
                                          as_written(item)));
            } else if (is_field && has(DFD_KEY_BP_E2PROM_DEV, item.index1)) {
                check.at_item("backplane-field-unread", item.key(),
                              fmt::format("{} is never read: the whole record of this backplane is "
                                          "taken from bp_e2prom_dev_{}",
                                          as_written(item), item.index1));
            }
        }
    }
    const int scale = int_value(DFD_KEY_BACKPLANE_SCALE_MAC, 0);
    constexpr int kOneByte = 0xFF;
    if (scale < 0 || scale > kOneByte) {
        check.at_member("backplane-scale", item_of(DFD_KEY_BACKPLANE_SCALE_MAC).key(),
                        dfd::watch::kNoMember,
                        fmt::format("{} is added to the last byte of the MAC address with a carry "
                                    "of 1 at most: only 0 to 255 gives the right address",
                                    scale));
    }
}

/// A group of EEPROMs: who writes it, which signals protect it.
struct Group {
    std::uint32_t written;  ///< items with an image that can be written
    std::array<std::uint32_t, 4> signals;
    std::size_t count;
    std::string_view consequence;

    std::span<const std::uint32_t> all() const { return std::span(signals).first(count); }
};

constexpr std::array kGroups = {
    Group{DFD_KEY_FAN_HW_VER,
          {1, 2, 3, 4},
          4,
          "when a tray's EEPROM is written, 0xF0 and then 0xFF goes to register 0x39 of /dev/cpld0 "
          "instead, whatever that is on this board"},
    Group{DFD_KEY_SSLOT_E2PROM,
          {6, 7, 8},
          3,
          "the EEPROM of a sub-card is written without lifting its protection"},
    Group{DFD_KEY_BP_E2PROM_DEV,
          {10},
          1,
          "the EEPROM of the backplane is written without lifting its protection"},
};
constexpr std::uint32_t kBoardSignal = 0;

bool has_signal(const Group &group) {
    return std::ranges::any_of(
        group.all(), [](std::uint32_t signal) { return has(DFD_KEY_E2_WRITE_PROTECT, signal); });
}

bool can_be_written(const Item &item) {
    return item.type->kind != Kind::info_ctrl || is_eeprom_mode(record_of<info_ctrl_t>(item)->mode);
}

void check_protection(Check &check) {
    for (const Group &group : kGroups) {
        for (const Item &item : configured(check, group.written)) {
            if (can_be_written(item) && !has_signal(group)) {
                check.at_item(group.written == DFD_KEY_FAN_HW_VER ? "protect-fixed-register"
                                                                  : "protect-missing",
                              item.key(),
                              fmt::format("{}, but no e2_write_protect_{}: {}", as_written(item),
                                          group.signals[0], group.consequence));
                break;
            }
        }
    }
    for (const Item &item : configured(check, DFD_KEY_E2_WRITE_PROTECT)) {
        const bool is_known =
            item.index1 == kBoardSignal || std::ranges::any_of(kGroups, [&](const Group &group) {
                return std::ranges::find(group.all(), item.index1) != group.all().end();
            });
        if (!is_known) {
            check.at_item(
                "protect-unknown", item.key(),
                fmt::format("{} is never written: 0 is the board, 1 to 4 the fan trays, 6 "
                            "to 8 the sub-cards, 10 the backplane",
                            as_written(item)));
        }
    }
}

}  // namespace

void check_inventory(Check &check) {
    check_backplanes(check);
    check_protection(check);
}

}  // namespace dfdctl::lint
