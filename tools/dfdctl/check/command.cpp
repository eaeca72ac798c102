// SPDX-License-Identifier: MIT
// dfdctl check: what is wrong with this chassis.
#include "dfdctl/command.hpp"

#include <memory>

#include "common/replace_file.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/check/expect.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct CheckOptions {
    bool all = false;
    std::string expect;
    std::string learn;
    bool force = false;
};

/// What is learned of a sick chassis would be missed in none.
int learn(const CheckOptions &asked, const check::Report &report) {
    if (!report.looked_at_units() || (!report.is_healthy() && !asked.force)) {
        complain(fmt::format("{} is not written: {}", asked.learn,
                             report.looked_at_units()
                                 ? "the chassis has problems; --force learns it as it is"
                                 : "the library did not start"));
        return report.exit_status();
    }
    dfd_tools::replace_file(asked.learn, check::learned_text(report));
    complain(fmt::format("learned; 'dfdctl check --expect {}' compares", asked.learn));
    return kExitOk;
}

void print(const Options &options, const check::Report &report, bool all) {
    if (options.json) {
        Json json = {{"command", "check"}};
        json.update(check::report_json(report));
        print_json(options.out, json);
    } else {
        check::print_report(options.out, report, all);
    }
}

int check_chassis(const Options &options, const CheckOptions &asked) {
    if (asked.force && asked.learn.empty()) {
        throw UsageError("--force goes with --learn FILE");
    }
    if (!asked.learn.empty() && !asked.expect.empty()) {
        throw UsageError("either --learn FILE or --expect FILE");
    }
    std::optional<check::Expectations> expected;
    if (!asked.expect.empty()) {
        expected = check::read_expectations(asked.expect);
    }
    const ReadPass pass;
    const Library library = start_library(options);
    check::Report report = check::inspect(library);
    if (expected && report.looked_at_units()) {
        check::compare(*expected, report);
    }
    print(options, report, asked.all);
    return asked.learn.empty() ? report.exit_status() : learn(asked, report);
}

}  // namespace

int check::check_chassis(const Options &options) {
    return dfdctl::check_chassis(options, {});
}

void add_check(Command &top, const Options &options) {
    Command command =
        top.subcommand("check", "Say what is wrong with this chassis, worst first", "dfdctl check");
    const auto asked = std::make_shared<CheckOptions>();
    command.flag("--all", asked->all, "Show all on a terminal, not what fits the screen");
    command.option("--expect", asked->expect, "Compare with what this file says the chassis has",
                   "FILE");
    command.option("--learn", asked->learn,
                   "Write that file: what the chassis, when it is healthy, has now", "FILE");
    command.flag("--force", asked->force, "Learn a chassis that has problems, too");
    command.runs([&options, asked] { return check_chassis(options, *asked); });
}

}  // namespace dfdctl
