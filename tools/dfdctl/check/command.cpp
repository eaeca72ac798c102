// SPDX-License-Identifier: MIT
// dfdctl check: what is wrong with this chassis.
#include "dfdctl/command.hpp"

#include <memory>

#include "common/replace_file.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/check/expect.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct Files {
    std::string expect;
    std::string learn;
    bool force = false;
};

/// What is learned of a sick chassis would be missed in none.
int learn(const Files &files, const check::Report &report) {
    if (!report.looked_at_units() || (!report.is_healthy() && !files.force)) {
        fmt::print(stderr, "dfdctl: {} is not written: {}\n", files.learn,
                   report.looked_at_units() ? "the chassis has problems; --force learns it as it is"
                                            : "the library did not start");
        return report.exit_status();
    }
    dfd_tools::replace_file(files.learn, check::learned_text(report));
    fmt::print(stderr, "dfdctl: learned; 'dfdctl check --expect {}' compares\n", files.learn);
    return kExitOk;
}

void print(const Options &options, const check::Report &report) {
    if (options.json) {
        nlohmann::ordered_json json = {{"command", "check"}};
        json.update(check::report_json(report));
        print_json(options.out, json);
    } else {
        check::print_report(options.out, report);
    }
}

int check_chassis(const Options &options, const Files &files) {
    if (files.force && files.learn.empty()) {
        throw UsageError("--force goes with --learn FILE");
    }
    if (!files.learn.empty() && !files.expect.empty()) {
        throw UsageError("either --learn FILE or --expect FILE");
    }
    std::optional<check::Expectations> expected;
    if (!files.expect.empty()) {
        expected = check::read_expectations(files.expect);
    }
    const ReadPass pass;
    const Library library = start_library(options);
    check::Report report = check::inspect(library);
    if (expected && report.looked_at_units()) {
        check::compare(*expected, report);
    }
    print(options, report);
    return files.learn.empty() ? report.exit_status() : learn(files, report);
}

}  // namespace

void add_check(Command &top, const Options &options) {
    Command command =
        top.subcommand("check", "Say what is wrong with this chassis, worst first", "dfdctl check");
    const auto files = std::make_shared<Files>();
    command.option("--expect", files->expect, "Compare with what this file says the chassis has",
                   "FILE");
    command.option("--learn", files->learn,
                   "Write that file: what the chassis, when it is healthy, has now", "FILE");
    command.flag("--force", files->force, "Learn a chassis that has problems, too");
    command.runs([&options, files] { return check_chassis(options, *files); });
}

}  // namespace dfdctl
