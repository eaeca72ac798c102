// SPDX-License-Identifier: MIT
// The page of `show board` as text.
#include <dfd/records.h>
#include <array>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/fingerprint.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/show/text.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kName = 13;   // of the longest name of a value
constexpr std::size_t kIndent = 6;  // of the second line of a sentence

void print_type(std::FILE *out, const char *name, const TypeFound &found) {
    print_named(out, name, kName,
                found.type > 0 ? fmt::format("{} (0x{:x})", found.type, found.type) : "unknown");
    print_named(out, "Found by", kName, found.how);
}

void print_place(std::FILE *out, const char *name, std::optional<int> number) {
    if (number) {
        print_named(out, name, kName, fmt::format("{}", *number));
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

void print_files(std::FILE *out, const LoadRecord &loaded) {
    print_heading(out, "Configuration files, in the order of loading");
    Table table({{"FILE", Fit::cut_front},
                 {"LINES", Fit::number},
                 {"ITEMS", Fit::number},
                 {"STATUS", Fit::prose}});
    for (const ConfigFile &file : loaded.files) {
        table.add({file.path, fmt::format("{}", file.lines), fmt::format("{}", file.items),
                   file_status(file)});
    }
    if (!loaded.list_error.empty()) {
        table.add({loaded.list_path, "-", "-", "not loaded: " + loaded.list_error});
    }
    table.print(out);
    for (const ConfigFile &file : loaded.files) {
        for (const std::size_t problem : file.problems) {
            const SourceLine &line = loaded.lines[problem];
            print_wrapped(out, fmt::format("  {}:{}: {}", file.path, line.line, problem_of(line)),
                          kIndent);
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
    Table table({"UNIT",
                 {"LAYOUT", Fit::cut, 1},
                 {"EEPROM", Fit::cut_front, 2},
                 "PRODUCT NAME",
                 "SERIAL NUMBER",
                 "HW VERSION",
                 "TYPE"});
    const auto name_of = [](const Unit &unit) {
        return unit.index ? fmt::format("{} {}", unit.name, *unit.index) : unit.name;
    };
    for (const Unit &unit : units) {
        const std::string place =
            unit.device.empty() ? "-" : fmt::format("{} 0x{:02x}", unit.device, unit.address);
        table.add({name_of(unit),
                   std::string(unit.layout != INFO_CTRL_MODE_NONE ? mode_word(unit.layout) : "-"),
                   place, cell(unit.product), cell(unit.serial), cell(unit.version),
                   cell(unit.type)});
    }
    table.print(out);
    for (const Unit &unit : units) {
        print_reasons(out, name_of(unit) + " ",
                      std::array<NamedReading, 4>{{{"product name", unit.product},
                                                   {"serial number", unit.serial},
                                                   {"hw version", unit.version},
                                                   {"type", unit.type}}});
    }
}

void print_backplanes(std::FILE *out, const std::vector<Backplane> &backplanes) {
    if (backplanes.empty()) {
        return;
    }
    print_heading(out, "Backplanes");
    Table table({"NUMBER",
                 {"SOURCE", Fit::cut, 1},
                 "CHASSIS TYPE",
                 "HW VERSION",
                 "SERIAL NUMBER",
                 "MAC ADDRESS",
                 "SERIALS"});
    for (const Backplane &backplane : backplanes) {
        std::vector<std::string> serials;
        for (const Reading &serial : backplane.serials) {
            serials.push_back(cell(serial));
        }
        table.add({fmt::format("{}", backplane.id), backplane.place, cell(backplane.type),
                   cell(backplane.version), cell(backplane.serial), cell(backplane.mac),
                   joined(serials, " ")});
    }
    table.print(out);
    for (const Backplane &backplane : backplanes) {
        std::vector<NamedReading> readings = {{"chassis type", backplane.type},
                                              {"hw version", backplane.version},
                                              {"serial number", backplane.serial},
                                              {"mac address", backplane.mac}};
        for (const Reading &serial : backplane.serials) {
            readings.push_back(
                {fmt::format("serial {}", &serial - backplane.serials.data()), serial});
        }
        print_reasons(out, fmt::format("{} ", backplane.id), readings);
    }
}

/// Only those that want attention.
void print_buses(std::FILE *out, const std::vector<WrittenBus> &buses) {
    Table table({"BUS", "WRITTEN FOR", {"BECAUSE", Fit::prose}});
    for (const WrittenBus &bus : buses) {
        if (!bus.obstacle.empty()) {
            table.add({bus.device, bus.item, "no I2C_M_NOSTART: data lands at a wrong register"});
        }
    }
    if (table.has_rows()) {
        print_heading(out, "Buses that nothing is written over (--force overrides)");
        table.print(out);
    }
}

void print_samples(std::FILE *out, const std::vector<Sample> &samples) {
    if (samples.empty()) {
        return;
    }
    print_heading(out, "Readings, one of each kind ('dfdctl items --values' reads all)");
    Table table(
        {{"ITEM", Fit::whole}, "MODE", "SOURCE", "FORMAT", {"POLARITY", Fit::cut, 1}, "VALUE"});
    for (const Sample &sample : samples) {
        const auto &record = *record_of<info_ctrl_t>(sample.item);
        const auto word = [](std::string_view text) {
            return std::string(text == "none" ? "-" : text);
        };
        table.add({sample.item.name(), word(mode_word(record.mode)), word(source_word(record.src)),
                   word(format_word(record.frmt)), word(polarity_word(record.pola)),
                   cell(sample.reading)});
    }
    table.print(out);
    for (const Sample &sample : samples) {
        if (sample.reading.failed()) {
            print_wrapped(out, fmt::format("  {}: {}", sample.item.name(), sample.reading.error),
                          kIndent);
        }
    }
}

}  // namespace

void print_page(std::FILE *out, const BoardPage &page) {
    print_heading(out, "Board", true);
    print_type(out, "Board type", page.board);
    print_place(out, "Slot", page.slot);
    print_place(out, "Sub-slot", page.sub_slot);
    if (!page.other_library.empty()) {
        print_named(out, "Library", kName,
                    page.other_library + " is another build than dfdctl's own");
    }
    print_heading(out, "Chassis");
    print_type(out, "Chassis type", page.chassis);
    if (page.library.usable()) {
        print_named(out, "Configuration", kName, fingerprint(page.library.loaded));
    }
    print_files(out, page.library.loaded);
    print_units(out, page.units);
    print_backplanes(out, page.backplanes);
    print_buses(out, page.buses);
    print_samples(out, page.samples);
}

}  // namespace dfdctl
