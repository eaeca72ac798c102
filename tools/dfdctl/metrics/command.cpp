// SPDX-License-Identifier: MIT
// dfdctl metrics: one pass over all pages, for a monitoring system.
#include "dfdctl/command.hpp"

#include <chrono>

#include "common/replace_file.hpp"
#include "dfdctl/board/fingerprint.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/metrics/page_metrics.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/pages/board_page.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using Clock = std::chrono::steady_clock;

void add_count(Exposition &metrics, const std::string &name, std::string_view help,
               const Labels &labels, std::size_t count) {
    metrics.add(name, help, labels, fmt::format("{}", count));
}

void add_configuration(Exposition &metrics, const Library &library) {
    metrics.add("dfd_configuration_info",
                "the loaded configuration, the same where the fingerprint is; always 1",
                {{"fingerprint", fingerprint(library.loaded)}}, "1");
    metrics.add("dfd_configuration_complete", "1 when all files of the configuration were loaded",
                {}, library.incomplete() ? "0" : "1");
}

/// A label of what was read.
std::string label_of(const Reading &reading) {
    return reading.ok() && reading.value.index() != 0 ? value_text(reading) : std::string();
}

std::string label_of(const TypeFound &found) {
    return found.type > 0 ? fmt::format("{}", found.type) : std::string();
}

void add_inventory(Exposition &metrics) {
    const Unit board = find_board_unit();
    metrics.add("dfd_board_inventory_info",
                "type of board and chassis, and the inventory of the board; always 1",
                {{"type", label_of(find_board_type())},
                 {"chassis_type", label_of(find_chassis_type())},
                 {"product", label_of(board.product)},
                 {"serial", label_of(board.serial)},
                 {"revision", label_of(board.version)}},
                "1");
}

/// Of the cells, those for which is_counted(row, number of the cell) holds.
template <typename Condition>
std::size_t count_cells(std::span<const PageData> pages, Condition is_counted) {
    std::size_t count = 0;
    each_cell(pages, [&](const Section &section, const Row &row, std::size_t i) {
        // What a page shows a second time has no metric.
        const bool is_first = !metric_of(section.columns[i]).empty();
        count += is_first && is_counted(row, i) ? 1 : 0;
    });
    return count;
}

std::size_t count_failed(std::span<const PageData> pages) {
    return count_cells(pages, [](const Row &row, std::size_t i) { return row.cells[i].failed(); });
}

std::size_t count_judged(std::span<const PageData> pages, Severity severity) {
    return count_cells(pages, [severity](const Row &row, std::size_t i) {
        return row.judgements[i].has_value() && row.judgements[i]->severity == severity;
    });
}

/// Returns whether a reading failed.
bool add_pages(Exposition &metrics, const LoadRecord &record) {
    std::vector<PageData> read;
    for (const Page &page : pages()) {
        read.push_back(read_page(page, record));
        add_page(metrics, read.back());
    }
    for (const PageData &page : read) {
        add_count(metrics, "dfd_failed_readings", "readings that failed in this pass",
                  {{"page", page.page->name}}, count_failed({&page, 1}));
    }
    for (const Severity severity : {Severity::alarm, Severity::warning, Severity::note}) {
        add_count(metrics, "dfd_judgements",
                  "readings beyond a limit of the board, or bad by the library's verdict",
                  {{"severity", std::string(severity_name(severity))}},
                  count_judged(read, severity));
    }
    return count_failed(read) != 0;
}

int exit_of(const Library &library, bool has_failed) {
    if (!library.usable() || library.incomplete()) {
        return kExitUsage;
    }
    return has_failed ? kExitReadingFailed : kExitOk;
}

int tell_metrics(const Options &options, const std::string &textfile) {
    if (options.json) {
        throw UsageError("metrics have one form; 'dfdctl show all --json' has the same values");
    }
    const auto begin = Clock::now();
    const ReadPass pass;
    const Library library = start_library(options);
    Exposition metrics;
    metrics.add("dfd_build_info", "this tool; always 1", {{"version", DFD_VERSION}}, "1");
    metrics.add("dfd_up", "1 when the library has started", {}, library.usable() ? "1" : "0");
    bool has_failed = false;
    if (library.usable()) {
        add_configuration(metrics, library);
        add_inventory(metrics);
        has_failed = add_pages(metrics, library.loaded);
    } else {
        complain(why_unusable(library));
    }
    for (const auto &[device, failures] : pass.failures()) {
        add_count(
            metrics, "dfd_device_failures",
            "transfers of the device or bus that failed in this pass, or were given up because "
            "it is dead",
            {{"device", device}}, failures);
    }
    add_count(metrics, "dfd_pass_transfers", "transfers that this pass made", {}, pass.made());
    metrics.add("dfd_pass_duration_seconds", "time that this pass took", {},
                fmt::format("{:.6f}", std::chrono::duration<double>(Clock::now() - begin).count()));
    if (textfile.empty()) {
        fmt::print(options.out, "{}", metrics.text());
    } else {
        dfd_tools::replace_file(textfile, metrics.text());
    }
    return exit_of(library, has_failed);
}

}  // namespace

void add_metrics(Command &top, const Options &options) {
    Command command = top.subcommand(
        "metrics", "Print what the pages of show tell for Prometheus, in its text format",
        "dfdctl metrics");
    const auto textfile = std::make_shared<std::string>();
    command.option("--textfile", *textfile,
                   "Put it in the place of this file, in one step, instead of printing it", "PATH");
    command.runs([&options, textfile] { return tell_metrics(options, *textfile); });
}

}  // namespace dfdctl
