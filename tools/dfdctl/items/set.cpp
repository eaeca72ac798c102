// SPDX-License-Identifier: MIT
// dfdctl set: writes one item and reads it back.
#include <dfd/access.h>
#include <dfd/inventory.h>
#include <dfd/records.h>

#include "common/nearest.hpp"
#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/facts.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/eeprom/commands.hpp"
#include "dfdctl/eeprom/update.hpp"
#include "dfdctl/output.hpp"
#include "framework/dfd_info/bits.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct SetArguments {
    std::string name;
    std::vector<std::string> rest;  ///< indexes, then the value
    WriteOptions write;             ///< of an inventory EEPROM
};

struct Outcome {
    Reading before;
    Reading after;
    int result = DFD_OK;    ///< of the write
    bool verified = false;  ///< what was written reads back
};

[[noreturn]] void refuse(const Item &item, const std::string &reason) {
    throw UsageError(fmt::format("{} cannot be set: {}", item.name(), reason));
}

/// Refuses what the library would not write, or would write only in part.
void check_writable(const Item &item, const info_ctrl_t &record) {
    if (record.mode != INFO_CTRL_MODE_CONFIG) {
        refuse(item, fmt::format("the library writes items of mode config only, this one is of "
                                 "mode {}",
                                 mode_word(record.mode)));
    }
    if (record.src == INFO_SRC_FILE) {
        refuse(item,
               fmt::format("it comes from the file {}, and files are only read", record.fpath));
    }
    const bool is_number = record.frmt == INFO_FRMT_BYTE || record.frmt == INFO_FRMT_NUM_BYTES ||
                           record.frmt == INFO_FRMT_NUM_BUF;
    if (record.frmt != INFO_FRMT_BIT && !is_number) {
        refuse(item, fmt::format("format {} is only read", format_word(record.frmt)));
    }
    if (is_number && record.len != 1) {
        refuse(item, fmt::format("it has {} bytes, and the library writes one", record.len));
    }
}

std::uint32_t largest_value(const info_ctrl_t &record) {
    return record.frmt == INFO_FRMT_BIT ? dfd::low_bits(record.len) : dfd::kWholeByte;
}

/// A number, or the name of a state of the LED that the item drives.
std::uint32_t value_of(const Item &item, const info_ctrl_t &record, const std::string &text) {
    std::uint32_t value = 0;
    const std::uint32_t table = facts_of(item.type->type).led_table;
    if (parse_number(text, value)) {
        if (value > largest_value(record)) {
            refuse(item, fmt::format("{} is out of range, 0 to {}", text, largest_value(record)));
        }
        return value;
    }
    std::vector<std::string_view> names;
    for (std::uint32_t state = LED_STATE_DARK; table != 0 && state <= LED_STATE_FSPARK_CLOSE;
         ++state) {
        names.push_back(led_state_name(state));
        if (text != led_state_name(state)) {
            continue;
        }
        if (dfd_get_led_info_regval(DFD_MAKE_KEY(table, 0, 0), state, &value) != DFD_OK) {
            refuse(item, fmt::format("the LED cannot show '{}'", text));
        }
        return value;
    }
    refuse(item, fmt::format("'{}' is no number{}", text, dfd_tools::did_you_mean(text, names)));
}

Outcome write_register(const Item &item, const info_ctrl_t &record, const std::string &text,
                       bool force) {
    check_writable(item, record);
    const std::uint32_t value = value_of(item, record, text);
    check_bus_of(item, force);
    if (record.src == INFO_SRC_I2C && record.frmt == INFO_FRMT_BIT) {
        complain(fmt::format("{}: on I2C the whole register is written; its other bits are lost",
                             item.name()));
    }
    Outcome outcome;
    outcome.before = read_item(item);
    outcome.result = dfd_info_set_int(item.key(), value);
    outcome.after = read_item(item);
    const Reading raw = read_register(item);
    const auto *number = std::get_if<std::int64_t>(&raw.value);
    outcome.verified = raw.ok() && number != nullptr && *number == value;
    return outcome;
}

/// Serial numbers and hardware versions in the EEPROMs of fans, and versions of old supplies.
bool is_writable_inventory(const Facts &facts, const info_ctrl_t &record) {
    const bool old_supply = facts.info == E2PROM_INFO_HW_VER && facts.legacy == Legacy::power &&
                            record.mode == INFO_CTRL_MODE_LEGACY;
    return facts.writes_protect != 0 || old_supply;
}

Outcome write_inventory(const Item &item, const info_ctrl_t &record, const std::string &text,
                        const WriteOptions &options) {
    const Facts &facts = facts_of(item.type->type);
    if (!is_writable_inventory(facts, record)) {
        refuse(item,
               "of inventory EEPROMs, serial number and hardware version of fan trays and "
               "the hardware version of supplies in the legacy layout can be set; 'dfdctl eeprom "
               "set' writes the other fields");
    }
    if (text.empty()) {
        refuse(item, "an empty text cannot be stored");
    }
    Outcome outcome;
    outcome.before = read_item(item);
    outcome.after = outcome.before;
    if (outcome.before.status == Status::absent) {
        outcome.result = DFD_ERR;
        return outcome;
    }
    const char *field = facts.info == E2PROM_INFO_SN ? "serial_number" : "hw_version";
    const Update update = change_fields(place_of_item(item, record), {{field, text}}, options);
    outcome.result = update.outcome.status == kExitIo ? DFD_ERR_IO
                     : update.outcome.error.empty()   ? DFD_OK
                                                      : DFD_ERR;
    outcome.after = read_item(item);
    // The legacy layout of fans adds a letter in front of the version.
    const std::string now = value_text(outcome.after);
    outcome.verified = outcome.after.ok() && (now == text || now == "V" + text);
    return outcome;
}

Outcome write_item(const Item &item, const std::string &text, const Library &library,
                   const WriteOptions &options) {
    if (item.type->kind != Kind::info_ctrl) {
        refuse(item, fmt::format("it is a setting of the configuration ({}); change it there",
                                 library.loaded.origin_of(item.key())));
    }
    const auto &record = *record_of<info_ctrl_t>(item);
    return dfd::is_e2prom_mode(record.mode) ? write_inventory(item, record, text, options)
                                            : write_register(item, record, text, options.force);
}

std::string error_of(const Outcome &outcome) {
    if (outcome.before.status == Status::not_configured) {
        return outcome.before.error;
    }
    if (outcome.before.status == Status::absent) {
        return "the unit is not plugged";
    }
    if (outcome.result != DFD_OK) {
        return fmt::format("the write failed (result {})", outcome.result);
    }
    if (!outcome.after.ok()) {
        return "written, but it cannot be read back: " + error_with_advice(outcome.after);
    }
    if (outcome.verified) {
        return "";
    }
    return value_text(outcome.before) == value_text(outcome.after)
               ? "not written: it reads back as before"
               : "written, but it reads back differently";
}

int exit_of_outcome(const Outcome &outcome) {
    if (outcome.result == DFD_ERR_IO || outcome.after.status == Status::io_error) {
        return kExitIo;
    }
    const bool is_done = outcome.result == DFD_OK && outcome.verified;
    return is_done ? kExitOk : kExitReadingFailed;
}

void print_outcome(const Options &options, const Item &item, const std::string &value,
                   const Outcome &outcome) {
    const std::string error = error_of(outcome);
    if (options.json) {
        print_json(options.out, {{"command", "set"},
                                 {"item", item_json(item)},
                                 {"requested", value},
                                 {"verified", outcome.verified},
                                 {"before", to_json(outcome.before)},
                                 {"after", to_json(outcome.after)},
                                 {"error", text_or_null(error)}});
    } else if (outcome.before.status != Status::not_configured) {
        fmt::print(options.out, "{}: {} -> {}\n", item.name(), full_text(outcome.before),
                   full_text(outcome.after));
    }
    if (!error.empty()) {
        complain(fmt::format("{}: {}", item.name(), error));
    }
}

int set(const Options &options, SetArguments arguments) {
    arguments.write.force = options.force;
    const std::string &value = arguments.rest.back();
    const std::span indexes = std::span(arguments.rest).first(arguments.rest.size() - 1);
    const Item item = parse_item(arguments.name, indexes);
    const Library library = require_library(options);
    if (record_of<char>(item) == nullptr) {
        const Reading missing = read_item(item);
        print_outcome(options, item, value,
                      {.before = missing, .after = missing, .result = missing.code});
        return exit_of(missing, library);
    }
    const Outcome outcome = write_item(item, value, library, arguments.write);
    print_outcome(options, item, value, outcome);
    return exit_of_outcome(outcome);
}

}  // namespace

void add_set(Command &top, const Options &options) {
    auto arguments = std::make_shared<SetArguments>();
    Command command =
        top.subcommand("set", "Write one configured item and read it back: old -> new",
                       "dfdctl set mb_status_led_ctrl red");
    command.word("NAME", arguments->name, "Name of the item");
    command.words("VALUE", arguments->rest,
                  "Its indexes, where it takes any, then the value: a number, the state of an LED "
                  "(green), or a text for an inventory EEPROM",
                  "[INDEX [INDEX]] VALUE", 1, 3);
    add_write_options(command, arguments->write);
    add_serial_option(command, arguments->write);
    command.runs(
        [&options, arguments] { return reporting([&] { return set(options, *arguments); }); });
}

}  // namespace dfdctl
