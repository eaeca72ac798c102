// SPDX-License-Identifier: MIT
// dfdctl lint: mistakes in a board's configuration, found without hardware.
#include "dfdctl/command.hpp"

#include <limits>
#include <memory>

#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/lint/bitmap.hpp"
#include "dfdctl/lint/run.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using lint::Severity;

constexpr int kExitClean = 0;
constexpr int kExitFindings = 1;

struct Arguments {
    std::string board;
    std::string root;
    std::vector<std::string> files;
    std::vector<std::string> allow;
    bool strict = false;
    bool sarif = false;
    bool rules = false;
    bool bitmap = false;
};

lint::Request request_of(const Arguments &arguments) {
    if (!arguments.files.empty() && !(arguments.root + arguments.board).empty()) {
        throw UsageError("single files are checked without --root and --board");
    }
    lint::Request request;
    request.files = arguments.files;
    if (!arguments.root.empty()) {
        request.root = arguments.root;
    }
    if (!arguments.board.empty()) {
        request.board_type = parse_board_type(arguments.board);
    }
    for (const std::string &id : arguments.allow) {
        if (lint::find_rule(id) == nullptr) {
            throw UsageError(lint::unknown_rule(id) + " ('dfdctl lint --rules' lists them)");
        }
        request.switched_off.insert(id);
    }
    return request;
}

void print(const Options &options, const Arguments &arguments, const lint::Report &report) {
    if (arguments.sarif) {
        lint::print_sarif(options.out, report);
    } else if (options.json) {
        lint::print_json(options.out, report);
    } else {
        lint::print_text(options.out, report);
    }
}

int print_bitmaps(const Options &options, const Arguments &arguments) {
    if (options.json || arguments.sarif) {
        throw UsageError(
            "--bitmap prints tables to be read by people: leave --json and --sarif out");
    }
    lint::Request request = request_of(arguments);
    bool is_first = true;
    request.visit = [&](const lint::Check &check) {
        lint::print_bitmap(check, options.out, is_first);
        is_first = false;
    };
    lint::run(request);
    return kExitClean;
}

int lint_command(const Options &options, const Arguments &arguments) {
    if (options.json && arguments.sarif) {
        throw UsageError("--json and --sarif are two forms of the same: choose one");
    }
    if (arguments.rules) {
        lint::print_rules(options.out, options.json);
        return kExitClean;
    }
    if (arguments.bitmap) {
        return print_bitmaps(options, arguments);
    }
    const lint::Report report = lint::run(request_of(arguments));
    print(options, arguments, report);
    const int counting =
        report.count(Severity::error) + (arguments.strict ? report.count(Severity::warning) : 0);
    return counting > 0 ? kExitFindings : kExitClean;
}

}  // namespace

void add_lint(Command &top, const Options &options) {
    auto arguments = std::make_shared<Arguments>();
    Command command = top.subcommand("lint", "Find mistakes in a configuration, without hardware",
                                     "dfdctl lint --root gx4");
    constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();
    command.words("FILE", arguments->files,
                  "Configuration files to check alone, as if loaded in this order; without any, "
                  "whole boards are checked",
                  "[FILE...]", 0, kAnyNumber);
    command.option("--root", arguments->root,
                   "Check the boards in and below this directory (a board is a directory that "
                   "holds etc/cfg/dfd); without it, those of this system",
                   "DIR");
    command.option("--board", arguments->board, "Check this board type only: 62 or 0x3e", "TYPE");
    command.option("--allow", arguments->allow, "Switch a rule off; may be given several times",
                   "RULE");
    command.flag("--strict", arguments->strict, "Exit with 1 for warnings as well");
    command.flag("--sarif", arguments->sarif, "Print SARIF 2.1.0, for editors and CI");
    command.flag("--bitmap", arguments->bitmap,
                 "Print in place of findings which item has which bits of which register");
    command.flag("--rules", arguments->rules, "List the rules");
    command.runs([&options, arguments] { return lint_command(options, *arguments); });
}

}  // namespace dfdctl
