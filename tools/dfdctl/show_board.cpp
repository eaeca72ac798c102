// SPDX-License-Identifier: MIT
// dfdctl show board.
#include <dfd/chassis.h>
#include <dfd/records.h>
#include <set>
#include <tuple>

#include "dfdctl/board.hpp"
#include "dfdctl/describe.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/startup.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace dfdctl {

namespace {

using nlohmann::ordered_json;

struct Sample {
    Item item;
    Reading reading;
};

struct Page {
    Library library;
    TypeFound board;
    TypeFound chassis;
    int slot = 0;
    int sub_slot = 0;
    std::vector<Unit> units;
    std::vector<Backplane> backplanes;
    std::vector<Sample> samples;
};

/// One item of each combination of mode, source, format and polarity, the first by key.
std::vector<Sample> pick_samples(const StartupLog &log) {
    std::set<std::tuple<int, int, int, int>> seen;
    std::vector<Sample> samples;
    for (const auto &[key, origins] : log.origins) {
        const Item item = item_of_key(key);
        if (item.type->kind != Kind::info_ctrl) {
            continue;
        }
        const auto &record = *record_of<info_ctrl_t>(item);
        if (seen.emplace(record.mode, record.src, record.frmt, record.pola).second) {
            samples.push_back({item, read_item(item)});
        }
    }
    return samples;
}

Page collect(const Options &options) {
    Page page{.library = start_library(options),
              .board = {},
              .chassis = {},
              .units = {},
              .backplanes = {},
              .samples = {}};
    page.board = find_board_type();
    page.chassis = page.library.usable() ? find_chassis_type()
                                         : TypeFound{DFD_ERR, "none", "the library did not start"};
    page.slot = sdd_get_my_slotid();
    page.sub_slot = sdd_get_my_sslotid();
    page.units = find_units();
    page.backplanes = find_backplanes();
    page.samples = pick_samples(page.library.log);
    return page;
}

template <typename Visit>
void for_each_reading(const Page &page, Visit visit) {
    for (const Unit &unit : page.units) {
        visit(unit.product), visit(unit.serial), visit(unit.version), visit(unit.type);
    }
    for (const Backplane &backplane : page.backplanes) {
        visit(backplane.version), visit(backplane.serial), visit(backplane.mac);
        for (const Reading &serial : backplane.serials) {
            visit(serial);
        }
    }
    for (const Sample &sample : page.samples) {
        visit(sample.reading);
    }
}

int exit_of_page(const Page &page) {
    if (!page.library.usable() || page.library.incomplete()) {
        return kExitUsage;
    }
    bool failed = false;
    for_each_reading(page, [&failed](const Reading &reading) { failed |= reading.failed(); });
    return failed ? kExitReadingFailed : kExitOk;
}

/* ---- text ---- */

void print_type(std::FILE *out, const char *name, const TypeFound &found) {
    if (found.type > 0) {
        fmt::print(out, "  {:<14} {} (0x{:x})\n", name, found.type, found.type);
    } else {
        fmt::print(out, "  {:<14} unknown\n", name);
    }
    fmt::print(out, "  {:<14} {}\n", "Found by", found.how);
}

void print_place(std::FILE *out, const char *name, int number) {
    if (number >= 0 && number != DFD_FROM_TLV && number != DFD_FROM_FRU) {
        fmt::print(out, "  {:<14} {}\n", name, number);
    }
}

std::string file_status(const ConfigFile &file) {
    if (file.failed_line != 0) {
        return fmt::format("stopped at line {}: {}", file.failed_line, file.error);
    }
    if (!file.opened) {
        return fmt::format("not loaded: {}", file.error);
    }
    return file.problems.empty() ? "loaded"
                                 : fmt::format("loaded, problems: {}", file.problems.size());
}

void print_files(std::FILE *out, const StartupLog &log) {
    print_heading(out, "Configuration files, in the order of loading");
    Table table({"FILE", "LINES", "ITEMS", "STATUS"});
    for (const ConfigFile &file : log.files) {
        table.add({file.path, fmt::format("{:>5}", file.lines), fmt::format("{:>5}", file.items),
                   file_status(file)});
    }
    if (!log.list_path.empty()) {
        table.add({log.list_path, "    -", "    -", "not loaded: " + log.list_error});
    }
    table.print(out);
    for (const ConfigFile &file : log.files) {
        for (const Problem &problem : file.problems) {
            fmt::print(out, "  {}:{}: {}\n", file.path, problem.line, problem.message);
        }
    }
}

std::string cell(const Reading &reading) {
    if (reading.status == Status::absent) {
        return "absent";
    }
    return reading.failed() ? fmt::format("({})", status_name(reading.status)) : full_text(reading);
}

void print_units(std::FILE *out, const std::vector<Unit> &units) {
    if (units.empty()) {
        return;
    }
    print_heading(out, "Inventory");
    Table table(
        {"UNIT", "LAYOUT", "EEPROM", "PRODUCT NAME", "SERIAL NUMBER", "HW VERSION", "TYPE"});
    for (const Unit &unit : units) {
        const std::string place =
            unit.device.empty() ? "-" : fmt::format("{} 0x{:02x}", unit.device, unit.address);
        table.add({unit.index ? fmt::format("{} {}", unit.name, *unit.index) : unit.name,
                   unit.layout.empty() ? "-" : unit.layout, place, cell(unit.product),
                   cell(unit.serial), cell(unit.version), cell(unit.type)});
    }
    table.print(out);
}

void print_backplanes(std::FILE *out, const std::vector<Backplane> &backplanes) {
    if (backplanes.empty()) {
        return;
    }
    print_heading(out, "Backplanes");
    Table table({"NUMBER", "SOURCE", "CHASSIS TYPE", "HW VERSION", "SERIAL NUMBER", "MAC ADDRESS",
                 "SERIALS"});
    for (const Backplane &backplane : backplanes) {
        std::vector<std::string> serials;
        for (const Reading &serial : backplane.serials) {
            serials.push_back(cell(serial));
        }
        table.add({fmt::format("{}", backplane.id), backplane.place, cell(backplane.type),
                   cell(backplane.version), cell(backplane.serial), cell(backplane.mac),
                   fmt::format("{}", fmt::join(serials, " "))});
    }
    table.print(out);
}

void print_samples(std::FILE *out, const std::vector<Sample> &samples) {
    if (samples.empty()) {
        return;
    }
    print_heading(out,
                  "Readings, one of each mode, source, format and polarity "
                  "('dfdctl items --values' reads all)");
    Table table({"ITEM", "MODE", "SOURCE", "FORMAT", "POLARITY", "VALUE"});
    for (const Sample &sample : samples) {
        const auto &record = *record_of<info_ctrl_t>(sample.item);
        const auto word = [](std::string_view text) {
            return std::string(text == "none" ? "-" : text);
        };
        table.add({sample.item.name(), word(mode_word(record.mode)), word(source_word(record.src)),
                   word(format_word(record.frmt)), word(polarity_word(record.pola)),
                   full_text(sample.reading)});
    }
    table.print(out);
}

void print_text(std::FILE *out, const Page &page) {
    print_heading(out, "Board", true);
    print_type(out, "Board type", page.board);
    print_place(out, "Slot", page.slot);
    print_place(out, "Sub-slot", page.sub_slot);
    print_heading(out, "Chassis");
    print_type(out, "Chassis type", page.chassis);
    print_files(out, page.library.log);
    print_units(out, page.units);
    print_backplanes(out, page.backplanes);
    print_samples(out, page.samples);
}

/* ---- JSON ---- */

ordered_json text_or_null(const std::string &text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

ordered_json type_json(const TypeFound &found) {
    const bool known = found.type > 0;
    return {{"type", known ? ordered_json(found.type) : ordered_json()},
            {"type_hex", known ? ordered_json(fmt::format("0x{:x}", found.type)) : ordered_json()},
            {"source", found.source},
            {"found_by", found.how}};
}

ordered_json file_json(const ConfigFile &file) {
    static constexpr std::array kRoles = {"card_pid", "listed", "chassis"};
    ordered_json problems = ordered_json::array();
    for (const Problem &problem : file.problems) {
        problems.push_back({{"line", problem.line}, {"message", problem.message}});
    }
    return {{"path", file.path},
            {"role", kRoles[static_cast<std::size_t>(file.role)]},
            {"loaded", !file.failed()},
            {"lines", file.lines},
            {"items", file.items},
            {"error", text_or_null(file.error)},
            {"error_line", file.failed_line != 0 ? ordered_json(file.failed_line) : ordered_json()},
            {"problems", problems}};
}

ordered_json unit_json(const Unit &unit) {
    return {{"unit", unit.name},
            {"index", unit.index ? ordered_json(*unit.index) : ordered_json()},
            {"layout", text_or_null(unit.layout)},
            {"device", text_or_null(unit.device)},
            {"address", unit.device.empty() ? ordered_json() : ordered_json(unit.address)},
            {"product_name", to_json(unit.product)},
            {"serial_number", to_json(unit.serial)},
            {"hw_version", to_json(unit.version)},
            {"type", to_json(unit.type)}};
}

ordered_json backplane_json(const Backplane &backplane) {
    ordered_json serials = ordered_json::array();
    for (const Reading &serial : backplane.serials) {
        serials.push_back(to_json(serial));
    }
    return {{"number", backplane.id},
            {"source", backplane.source},
            {"place", backplane.place},
            {"chassis_type", to_json(backplane.type)},
            {"hw_version", to_json(backplane.version)},
            {"serial_number", to_json(backplane.serial)},
            {"mac", to_json(backplane.mac)},
            {"serials", serials}};
}

ordered_json sample_json(const Sample &sample) {
    return {{"item", item_json(sample.item)},
            {"record", record_json(sample.item)},
            {"reading", to_json(sample.reading)}};
}

template <typename Row>
ordered_json list_json(const std::vector<Row> &rows, ordered_json (*convert)(const Row &)) {
    ordered_json list = ordered_json::array();
    for (const Row &row : rows) {
        list.push_back(convert(row));
    }
    return list;
}

ordered_json place_json(int number) {
    return number >= 0 ? ordered_json(number) : ordered_json();
}

void print_page_json(std::FILE *out, const Page &page) {
    ordered_json board = type_json(page.board);
    board["slot"] = place_json(page.slot);
    board["sub_slot"] = place_json(page.sub_slot);
    const StartupLog &log = page.library.log;
    print_json(out,
               {{"command", "show board"},
                {"started", page.library.usable()},
                {"board", board},
                {"chassis", type_json(page.chassis)},
                {"list_file",
                 {{"path", text_or_null(log.list_path)}, {"error", text_or_null(log.list_error)}}},
                {"files", list_json(log.files, file_json)},
                {"inventory", list_json(page.units, unit_json)},
                {"backplanes", list_json(page.backplanes, backplane_json)},
                {"readings", list_json(page.samples, sample_json)}});
}

}  // namespace

int show_board(const Options &options) {
    const Page page = collect(options);
    if (options.json) {
        print_page_json(options.out, page);
    } else {
        print_text(options.out, page);
    }
    if (!page.library.usable()) {
        fmt::print(stderr, "dfdctl: the library did not start: {}\n",
                   page.board.type <= 0 ? "the board type is unknown"
                                        : "the board's list of configuration files is missing");
    }
    return exit_of_page(page);
}

}  // namespace dfdctl
