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

/// All functions that read the item are refused.
void check_readers(Check &check, const Item &item, std::span<const Use> uses) {
    const auto refusal =
        std::ranges::find_if(uses, [](const Use &use) { return is_read(use) && use.refused != 0; });
    if (refusal == uses.end() ||
        std::ranges::any_of(uses, [](const Use &use) { return is_read(use) && use.worked; })) {
        return;
    }
    if (const auto why = observe::reason_of(check.log(), item, refusal->refusal)) {
        check.at_member("item-unusable", item.key(), why->member,
                        fmt::format("{} is of no use to {} ({}): {}", as_written(item),
                                    names_of(uses, is_read), refusal->refused, why->text));
    }
}

/// A number format where the function brings a conversion along.
void check_conversion(Check &check, const Item &item, std::span<const Use> uses) {
    const int format = record_of<info_ctrl_t>(item)->frmt;
    const bool is_plain =
        format == INFO_FRMT_BYTE || format == INFO_FRMT_NUM_BYTES || format == INFO_FRMT_NUM_STR;
    const auto converts = [](const Use &use) {
        return is_read(use) && use.op != Op::get_buf && use.has_processor;
    };
    // A device that speaks in bytes is not meant to be read as they stand; the kinds of sensors
    // have a rule of their own.
    const bool is_device = record_of<info_ctrl_t>(item)->src == INFO_SRC_I2C &&
                           item.type->type != DFD_KEY_CARD_TEMP_CTRL;
    if (is_plain && std::ranges::any_of(uses, converts)) {
        check.at_member(
            is_device ? "device-unconverted" : "conversion-unused", item.key(), kFrmt,
            fmt::format("{}: what {} makes of the bytes counts with .frmt=num_buf; in this "
                        "format the number is handed on as it is",
                        as_written(item), names_of(uses, converts)));
    }
}

/// Layouts of EEPROMs where the functions ask the engine.
void check_layout(Check &check, const Item &item, std::span<const Use> uses) {
    const int mode = record_of<info_ctrl_t>(item)->mode;
    // The rated supply is the one value that is asked of the engine, then of the EEPROM.
    const bool is_known =
        item.type->type == DFD_KEY_POWER_RATE_SUPPLY && mode == INFO_CTRL_MODE_TLV;
    const bool is_asked =
        std::ranges::any_of(uses, [](const Use &use) { return is_read(use) && use.worked; });
    if (!is_eeprom_mode(mode) || is_known || !is_asked) {
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
}

void check_unasked(Check &check) {
    const std::set<Check::Place> spoken_of = check.places();
    std::set<std::uint32_t> said;
    for (const auto &[key, origins] : check.log().origins) {
        const bool is_known = std::ranges::any_of(origins, [&](const Origin &origin) {
            return spoken_of.contains({check.log().files[origin.file].path, origin.line});
        });
        if (is_known || is_asked(check.uses(), key)) {
            continue;
        }
        const Item item = item_of_key(key);
        const std::uint32_t type = item.type->type;
        const bool is_any_asked = check.uses().is_asked(type);
        if (is_any_asked || said.insert(type).second) {
            check.at_item(
                "item-unasked", key,
                fmt::format("no function of the library asks for {} on this board: it is "
                            "there only for software that reads the item itself",
                            is_any_asked ? as_written(item) : std::string(item.type->name)));
        }
    }
}

}  // namespace dfdctl::lint
