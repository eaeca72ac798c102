// SPDX-License-Identifier: MIT
// What the start of the library tells: the board, its configuration files.
#include "dfdctl/board/start.hpp"

#include <algorithm>

#include "dfdctl/check/report.hpp"
#include "dfdctl/pages/board_page.hpp"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

void add(Report &report, Severity severity, const char *word, std::string unit, std::string what) {
    report.findings.push_back({severity, word, std::move(unit), std::move(what)});
}

void look_at_file(const ConfigFile &file, bool is_type_known, Report &report) {
    if (file.failed_line != 0) {
        add(report, Severity::alarm, "NOT LOADED", file.path,
            fmt::format("loading stopped in line {}: {}", file.failed_line, file.error));
        return;
    }
    if (file.opened) {
        return;
    }
    switch (file.role) {
        case FileRole::listed:
            add(report, Severity::alarm, "NOT LOADED", file.path,
                fmt::format("{}; the files listed behind it are not loaded either", file.error));
            break;
        case FileRole::chassis:
            add(report, Severity::alarm, "NOT FOUND", file.path,
                fmt::format("{}: what the chassis adds to the board is missing", file.error));
            break;
        case FileRole::card_pid:
            // A board whose EEPROM tells its type has none.
            if (!is_type_known) {
                add(report, Severity::alarm, "NOT FOUND", file.path, file.error);
            }
            break;
    }
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
    } else if (!library.log.list_error.empty()) {
        add(report, Severity::alarm, "NOT FOUND", library.log.list_path,
            fmt::format("the board's list of configuration files: {}", library.log.list_error));
    } else {
        add(report, Severity::alarm, "NOT STARTED", "library",
            fmt::format("its start failed with {}", library.result));
    }
}

}  // namespace

void look_at_start(const Library &library, Report &report) {
    if (!library.usable()) {
        look_at_board(library, report);
    }
    for (const ConfigFile &file : library.log.files) {
        look_at_file(file, library.usable(), report);
        look_at_lines(library.log, file, report);
    }
    const auto loaded = std::ranges::count_if(
        library.log.files, [](const ConfigFile &file) { return !file.failed(); });
    report.looked.push_back({"configuration file", "configuration files",
                             static_cast<std::size_t>(loaded), library.log.files.size()});
}

}  // namespace dfdctl::check
