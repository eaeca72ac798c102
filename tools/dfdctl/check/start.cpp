// SPDX-License-Identifier: MIT
// What the start of the library tells: the board, its configuration files.
#include "dfdctl/board/start.hpp"

#include <dfd/keys.h>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/installed.hpp"
#include "dfdctl/check/report.hpp"
#include "dfdctl/pages/board_page.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

constexpr const char *kNotFound = "NOT FOUND";
constexpr const char *kChassisLoss = "what the chassis adds to the board is missing";

void add(Report &report, Severity severity, const char *word, std::string unit, std::string what) {
    report.findings.push_back({severity, word, std::move(unit), std::move(what)});
}

/// Which chassis this is may stand in a file that was not loaded.
bool is_chassis_unclear(const Library &library) {
    return library.incomplete() && find_chassis_type().source == TypeSource::board_type;
}

void look_at_file(const ConfigFile &file, const Library &library, Report &report) {
    if (file.failed_line != 0) {
        add(report, Severity::alarm, kNotLoaded, file.path,
            fmt::format("loading stopped in line {}: {}", file.failed_line, file.error));
        return;
    }
    if (file.opened) {
        return;
    }
    if (file.is_passed_over) {
        add(report, Severity::alarm, kNotLoaded, file.path, file.error);
        return;
    }
    switch (file.role) {
        case FileRole::listed:
            add(report, Severity::alarm, kNotLoaded, file.path,
                fmt::format("{}; the files listed behind it are not loaded either", file.error));
            break;
        case FileRole::chassis:
            if (is_chassis_unclear(library)) {
                add(report, Severity::note, kNotFound, file.path,
                    fmt::format("{}: for want of a file that is not loaded nothing tells which "
                                "chassis this is",
                                file.error));
            } else {
                add(report, Severity::alarm, kNotFound, file.path,
                    fmt::format("{}: {}", file.error, kChassisLoss));
            }
            break;
        case FileRole::card_pid:
            add(report, Severity::alarm, kNotFound, file.path, file.error);
            break;
    }
}

/// A board whose EEPROM tells its type has no list of product identifiers. Without the list of
/// files nothing tells the chassis.
bool is_optional(const ConfigFile &file, const Library &library) {
    const bool has_list = library.loaded.list_error.empty();
    return !file.opened && ((file.role == FileRole::card_pid && library.usable()) ||
                            (file.role == FileRole::chassis && !has_list));
}

void look_at_lines(const LoadRecord &record, const ConfigFile &file, Report &report) {
    if (file.problems.empty()) {
        return;
    }
    const SourceLine &first = record.lines[file.problems.front()];
    const std::size_t more = file.problems.size() - 1;
    add(report, Severity::note, "NO EFFECT", fmt::format("{}:{}", file.path, first.line),
        problem_of(first) +
            (more > 0 ? fmt::format("; so do {} more lines of the file", more) : std::string()));
}

/// Without a board type nothing was loaded.
void look_at_board(const Library &library, Report &report) {
    const TypeFound board = find_board_type();
    if (board.type <= 0) {
        report.is_unreachable = !read_board_header();
        add(report, Severity::alarm, "UNKNOWN", "board type", board.how);
    } else if (!library.loaded.list_error.empty()) {
        const bool is_there = library.loaded.list_error != std::strerror(ENOENT);
        add(report, Severity::alarm, is_there ? kNotLoaded : kNotFound, library.loaded.list_path,
            fmt::format("the board's list of configuration files: {}", library.loaded.list_error));
    } else {
        add(report, Severity::alarm, "NOT STARTED", "library",
            fmt::format("its start failed with {}", library.result));
    }
}

/// The library says that such a write succeeded.
void look_at_buses(const LoadRecord &record, Report &report) {
    for (const WrittenBus &bus : written_buses(record)) {
        if (!bus.obstacle.empty()) {
            add(report, Severity::note, "NO WRITES", bus.device, bus.obstacle);
            report.findings.back().items = {bus.item};
            report.findings.back().device = bus.device;
        }
    }
}

}  // namespace

void look_at_start(const Library &library, Report &report) {
    if (!library.usable() || !library.loaded.list_error.empty()) {
        look_at_board(library, report);
    }
    Looked files{"configuration file", "configuration files"};
    if (const std::string other = other_installed_library(); !other.empty()) {
        add(report, Severity::note, "OTHER BUILD", other,
            "programs run with another build of the library than dfdctl's own");
    }
    for (const ConfigFile &file : library.loaded.files) {
        if (is_optional(file, library)) {
            continue;
        }
        ++files.total;
        files.present += file.failed() ? 0 : 1;
        look_at_file(file, library, report);
        look_at_lines(library.loaded, file, report);
    }
    report.looked.push_back(files);
    look_at_buses(library.loaded, report);
}

void fold_missing_chassis(const Library &library, Report &report) {
    for (std::uint32_t source = dfd::kFirstBackplane; source <= dfd::kLastBackplane; ++source) {
        const std::string place = place_of(item_of(DFD_KEY_E2_SETMAC, source));
        const auto blank = std::ranges::find_if(report.findings, [&](const Finding &finding) {
            return finding.is_of_device && finding.word == "BLANK" && finding.device == place;
        });
        const auto missing = std::ranges::find_if(report.findings, [&](const Finding &finding) {
            return finding.word == kNotFound &&
                   std::ranges::any_of(library.loaded.files, [&](const ConfigFile &file) {
                       return file.role == FileRole::chassis && file.path == finding.unit;
                   });
        });
        if (blank != report.findings.end() && missing != report.findings.end()) {
            blank->severity = Severity::alarm;
            blank->what +=
                fmt::format("; so it tells a chassis without {}: {}", missing->unit, kChassisLoss);
            report.findings.erase(missing);
            return;
        }
    }
}

}  // namespace dfdctl::check
