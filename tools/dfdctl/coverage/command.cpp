// SPDX-License-Identifier: MIT
// dfdctl coverage: what the functions of the library make of a board, without hardware.
#include "dfdctl/command.hpp"
#include "common/text.hpp"

#include <memory>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/coverage/report.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using coverage::Report;

constexpr int kExitCovered = 0;
constexpr int kExitMissing = 1;

struct Arguments {
    std::string root;
    std::string board;
    std::string chassis;
    std::string require;
    std::string i2c_khz = "100";
    std::vector<std::string> allow;
    std::vector<std::string> answers;
    std::string own_slot;
    bool strict = false;
    bool all = false;
};

std::uint32_t parse_khz(const std::string &text) {
    constexpr std::uint32_t kMaxKhz = 5000;  // the fastest mode of the bus
    std::uint32_t khz = 0;
    if (!parse_number(text, khz) || khz == 0 || khz > kMaxKhz) {
        throw UsageError(fmt::format("'{}' is no bus speed: 1 to {} kHz", text, kMaxKhz));
    }
    return khz;
}

std::optional<std::uint32_t> parse_slot(const std::string &text) {
    const auto last = static_cast<std::uint32_t>(key_types()[DFD_KEY_SLOT_ONLINE].max1);
    std::uint32_t slot = 0;
    if (!parse_number(text, slot) || slot > last) {
        throw UsageError(fmt::format("'{}' is no slot: 0 to {}", text, last));
    }
    return slot;
}

std::optional<int> chassis_of(const Arguments &arguments, const std::string &root) {
    const std::vector<int> known = chassis_types(root);
    if (arguments.chassis.empty()) {
        return known.empty() ? std::nullopt : std::optional(known.front());
    }
    std::uint32_t type = 0;
    const bool is_number = parse_number(arguments.chassis, type);
    if (!is_number || std::ranges::find(known, static_cast<int>(type)) == known.end()) {
        throw UsageError(fmt::format("no file of chassis type '{}'; there are: {}",
                                     arguments.chassis, dfd_tools::joined(known, ", ")));
    }
    return static_cast<int>(type);
}

/// A board that does not load has no coverage.
void check_loaded(const BoardPlace &place, const LoadRecord &record, int result) {
    for (const ConfigFile &file : record.files) {
        if (file.failed() && file.opened) {
            throw UsageError(fmt::format("{}{}:{}: {} ('dfdctl lint' says more)", place.root,
                                         file.path, file.failed_line, file.error));
        }
    }
    if (result != 0) {
        throw UsageError(fmt::format("board type 0x{:x} cannot be loaded from '{}': code {}",
                                     place.board_type, place.root, result));
    }
}

Report report_of(const Arguments &arguments, const BoardPlace &place,
                 const std::optional<coverage::Demand> &demand) {
    Report report{.place = place,
                  .chassis_type = chassis_of(arguments, place.root),
                  .i2c_khz = parse_khz(arguments.i2c_khz),
                  .demand = demand};
    int result = 0;
    report.record = load_offline({.root = place.root,
                                  .board_type = place.board_type,
                                  .chassis_type = report.chassis_type.value_or(0)},
                                 &result);
    check_loaded(place, report.record, result);
    const observe::Observer observer(report.record);
    observe::Answers given;
    given.items = observe::parse_answers(arguments.answers);
    const auto own_slot =
        arguments.own_slot.empty() ? observer.own_slot(given) : parse_slot(arguments.own_slot);
    report.cells = coverage::survey(observer, observe::Units(report.record, own_slot), given);
    report.cost = coverage::monitoring_pass(report.cells);
    if (demand.has_value()) {
        report.gaps = coverage::find_gaps(report.cells, *demand);
    }
    return report;
}

std::optional<coverage::Demand> demand_of(const Arguments &arguments) {
    if (arguments.require.empty()) {
        if (arguments.strict || !arguments.allow.empty()) {
            throw UsageError("--strict and --allow belong to --require GROUPS");
        }
        return std::nullopt;
    }
    coverage::check_functions(arguments.allow);
    return coverage::Demand{coverage::parse_groups(arguments.require), arguments.allow};
}

int coverage_command(const Options &options, const Arguments &arguments) {
    const std::optional<coverage::Demand> demand = demand_of(arguments);
    std::vector<Report> reports;
    bool is_complete = true;
    for (const BoardPlace &place : find_boards(arguments.root, arguments.board)) {
        reports.push_back(report_of(arguments, place, demand));
        const coverage::Gaps &gaps = reports.back().gaps;
        is_complete =
            is_complete && gaps.missing.empty() && (!arguments.strict || gaps.uneven.empty());
        if (!options.json) {
            fmt::print(options.out, "{}", reports.size() > 1 ? "\n" : "");
            coverage::print_text(options.out, reports.back(), arguments.all);
            reports.back().cells.clear();
        }
    }
    if (options.json) {
        coverage::print_json(options.out, reports);
    }
    return is_complete ? kExitCovered : kExitMissing;
}

}  // namespace

void add_coverage(Command &top, const Options &options) {
    auto arguments = std::make_shared<Arguments>();
    Command command = top.subcommand(
        "coverage", "Show which functions work for which units of a board, without hardware",
        "dfdctl coverage --root gx4 --require fans,power");
    command.option("--root", arguments->root,
                   "Boards in and below this directory (a board is a directory that holds "
                   "etc/cfg/dfd); without it, those of this system",
                   "DIR");
    command.option("--board", arguments->board, "This board type only: 62 or 0x3e", "TYPE");
    command.option("--chassis", arguments->chassis,
                   "Chassis type, where there are several files of them", "N");
    command.option("--own-slot", arguments->own_slot,
                   "Slot of this board; without it the tables say 'own'", "SLOT");
    command.option("--answer", arguments->answers,
                   "What an item reads: 'fan_state_1=0'; may be given several times", "ITEM=VALUE");
    command.option("--require", arguments->require,
                   "Exit with 1 unless all that is essential in these groups works: fans,power",
                   "GROUPS");
    command.option("--allow", arguments->allow,
                   "A function that need not work; may be given several times", "FUNCTION");
    command.flag("--strict", arguments->strict,
                 "Require as well that what works for one unit works for all");
    command.option("--i2c-khz", arguments->i2c_khz, "Bus speed for the time of a monitoring pass",
                   "N");
    command.flag("--all", arguments->all, "Show rows of which nothing is configured, too");
    command.runs([&options, arguments] { return coverage_command(options, *arguments); });
}

}  // namespace dfdctl
