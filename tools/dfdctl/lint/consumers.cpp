// SPDX-License-Identifier: MIT
// Descriptions that the engine takes, but the functions that use them do not.
#include "dfdctl/lint/consumers.hpp"

#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/lint/uses.hpp"
#include "dfdctl/observe/refusal.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Op;
using observe::Use;

/// "drv_get_power_sn and 2 more"; the driver's own functions first.
std::string names_of(std::span<const Use> uses, bool (*counts)(const Use &)) {
    std::set<std::string_view> names;
    for (const Use &use : uses) {
        if (counts(use)) {
            names.insert(use.call->name);
        }
    }
    // drv_ comes before sdd_, but behind dfd_.
    const auto driver = names.lower_bound("drv_");
    const std::string_view first = driver != names.end() ? *driver : *names.begin();
    return names.size() == 1 ? std::string(first)
                             : fmt::format("{} and {} more", first, names.size() - 1);
}

bool is_refused(const Use &use) {
    return is_read(use) && !use.worked && use.refused != 0;
}

/// The functions that are refused: all that read the item, or some. The result of those does not
/// always say so, such as that of a whole record.
void check_readers(Check &check, const Item &item, std::span<const Use> uses) {
    const auto refusal = std::ranges::find_if(uses, is_refused);
    if (refusal == uses.end()) {
        return;
    }
    const bool any_works =
        std::ranges::any_of(uses, [](const Use &use) { return is_read(use) && use.worked; });
    if (const auto why = observe::reason_of(check.log(), item, refusal->refusal)) {
        const bool is_too_long = any_works && why->member == kLen;
        const bool is_converted = why->member == kFrmt && refusal->has_processor &&
                                  record_of<info_ctrl_t>(item)->frmt == INFO_FRMT_BUF;
        check.at_member(
            any_works ? "item-refused-partly" : "item-unusable", item.key(), why->member,
            fmt::format("{} is of no use to {} ({}): {}{}{}", as_written(item),
                        names_of(uses, is_refused), refusal->refused, why->text,
                        is_too_long ? ", as others do; a smaller .len suits all" : "",
                        is_converted ? "; it converts the bytes of .frmt=num_buf" : ""));
    }
}

/// Registers that stand for something, and the items that say for what.
struct Coded {
    std::uint32_t type;
    std::uint32_t table;
};
constexpr std::array kCoded = {
    Coded{DFD_KEY_GET_FAN_CFG_SPEED, DFD_KEY_FAN_SPEEDLVL_CONVERT},
    Coded{DFD_KEY_CARD_RATE_POWER, DFD_KEY_POWER_REGVAL_CONVERT},
    Coded{DFD_KEY_POWER_TYPE, DFD_KEY_POWER_NAME},
};

/// The table that a register's value is looked up in, or null.
const Coded *table_of(const Check &check, std::uint32_t type) {
    const auto *const row = std::ranges::find(kCoded, type, &Coded::type);
    const bool is_off = type == DFD_KEY_GET_FAN_CFG_SPEED && !has(DFD_KEY_FAN_SPEED_LEVEL_SUPPORT);
    return row != kCoded.end() && has_any(check, row->table) && !is_off ? row : nullptr;
}

/// Formats that no conversion of a function is applied to.
bool is_plain(const Item &item) {
    const auto &ctrl = *record_of<info_ctrl_t>(item);
    return is_hardware_mode(ctrl.mode) &&
           (ctrl.frmt == INFO_FRMT_BYTE || ctrl.frmt == INFO_FRMT_NUM_BYTES ||
            ctrl.frmt == INFO_FRMT_NUM_STR);
}

bool converts(const Use &use) {
    return is_read(use) && use.op != Op::get_buf && use.has_processor;
}

/// Registers whose table is passed by; once a type, for a board may do it so throughout.
void check_coded(Check &check, const Coded &coded, const std::set<std::uint32_t> &refused) {
    std::vector<Item> passed_by;
    for (const Item &item : configured(check, coded.type)) {
        if (!refused.contains(item.key()) && is_plain(item) && table_of(check, coded.type)) {
            passed_by.push_back(item);
        }
    }
    if (passed_by.empty()) {
        return;
    }
    const std::string more =
        passed_by.size() > 1 ? fmt::format(" and {} more", passed_by.size() - 1) : "";
    check.at_member("code-unconverted", passed_by[0].key(), kFrmt,
                    fmt::format("{}{}: the value of the register is looked up in {} with "
                                ".frmt=num_buf; in this format it is handed on as it is",
                                as_written(passed_by[0]), more, item_of(coded.table).type->name));
    for (const std::uint32_t type : {coded.table, std::uint32_t{DFD_KEY_FAN_SPEED_LEVEL_SUPPORT}}) {
        for (const Item &item : configured(check, type)) {
            check.explain(item.key());
        }
    }
}

/// A number format where the function brings a conversion along.
void check_conversion(Check &check, const Item &item, std::span<const Use> uses) {
    // A device that speaks in bytes is not meant to be read as they stand; the kinds of sensors
    // have a rule of their own.
    const bool is_device = record_of<info_ctrl_t>(item)->src == INFO_SRC_I2C &&
                           item.type->type != DFD_KEY_CARD_TEMP_CTRL;
    if (is_plain(item) && std::ranges::any_of(uses, converts) &&
        table_of(check, item.type->type) == nullptr) {
        check.at_member(
            is_device ? "device-unconverted" : "conversion-unused", item.key(), kFrmt,
            fmt::format("{}: what {} makes of the bytes counts with .frmt=num_buf; in this "
                        "format the number is handed on as it is",
                        as_written(item), names_of(uses, converts)));
    }
}

/// Items that are looked up as entry 0 of a TLV image.
constexpr std::array kEntry0 = {DFD_KEY_POWER_SN, DFD_KEY_POWER_HW_VER, DFD_KEY_POWER_RATE_SUPPLY};

/// Layouts of EEPROMs where the functions ask the engine.
void check_layout(Check &check, const Item &item, std::span<const Use> uses) {
    const int mode = record_of<info_ctrl_t>(item)->mode;
    if (mode == INFO_CTRL_MODE_TLV &&
        std::ranges::find(kEntry0, item.type->type) != kEntry0.end()) {
        check.at_member("tlv-entry-0", item.key(), kMode,
                        fmt::format("{} is looked up as entry 0 of the image, which usual images "
                                    "do not have: theirs are 2 (name), 3 (serial number), 5 "
                                    "(version) and 6 (type); write .mode=config and where the "
                                    "value is",
                                    as_written(item)));
        return;
    }
    const bool is_asked =
        std::ranges::any_of(uses, [](const Use &use) { return is_read(use) && use.worked; });
    if (!is_eeprom_mode(mode) || !is_asked) {
        return;
    }
    check.at_member("layout-unknown", item.key(), kMode,
                    fmt::format("{} is never read from an EEPROM: {}; write .mode=config and where "
                                "the value is",
                                as_written(item),
                                mode == INFO_CTRL_MODE_LEGACY ? "legacy counts as config"
                                                              : "the value is always 0"));
}

/// Types whose index is a value that is read at run time.
constexpr std::array<std::uint32_t, 5> kByValue = {
    DFD_KEY_MY_RATE_POWER, DFD_KEY_POWER_REGVAL_CONVERT, DFD_KEY_FAN_SPEEDLVL_CONVERT,
    DFD_KEY_FAN_ATTR_TYPE, DFD_KEY_RESET_BUTTON_TP_STR};

bool is_asked(const Uses &uses, std::uint32_t key) {
    const std::uint32_t type = DFD_KEY_TYPE(key);
    const bool is_by_value = std::ranges::find(kByValue, type) != kByValue.end();
    return !uses.of(key).empty() || uses.is_list(type) || (is_by_value && uses.is_asked(type));
}

}  // namespace

void check_consumers(Check &check, const std::set<std::uint32_t> &refused) {
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const std::span<const Use> uses = check.uses().of(item.key());
        if (refused.contains(item.key()) || is_place_only(item)) {
            continue;
        }
        check_readers(check, item, uses);
        check_conversion(check, item, uses);
        check_layout(check, item, uses);
    }
    for (const Coded &coded : kCoded) {
        check_coded(check, coded, refused);
    }
}

void check_unasked(Check &check) {
    if (check.has_mistakes()) {
        check.use_allowances("item-unasked");
        return;  // any of them may be why nobody asks
    }
    const std::set<Check::Place> spoken_of = check.places();
    std::set<std::uint32_t> said;
    for (const auto &[key, origins] : check.log().origins) {
        if (check.is_explained(key) || is_asked(check.uses(), key)) {
            continue;
        }
        const Item item = item_of_key(key);
        const std::uint32_t type = item.type->type;
        const bool is_any_asked = check.uses().is_asked(type);
        if (!is_any_asked && said.contains(type)) {
            continue;
        }
        const bool is_known = std::ranges::any_of(origins, [&](const Origin &origin) {
            return spoken_of.contains({check.log().files[origin.file].path, origin.line});
        });
        if (!is_known) {
            said.insert(type);
            check.at_item(
                "item-unasked", key,
                fmt::format("no function of the library asks for {} on this board: it is "
                            "there only for software that reads the item itself",
                            is_any_asked ? as_written(item) : std::string(item.type->name)));
        }
    }
}

}  // namespace dfdctl::lint
