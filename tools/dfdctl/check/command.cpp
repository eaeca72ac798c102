// SPDX-License-Identifier: MIT
// dfdctl check: what is wrong with this chassis.
#include "dfdctl/command.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/check/report.hpp"

namespace dfdctl {

namespace {

int check_chassis(const Options &options) {
    const ReadPass pass;
    const Library library = start_library(options);
    const check::Report report = check::inspect(library);
    if (options.json) {
        nlohmann::ordered_json json = {{"command", "check"}};
        json.update(check::report_json(report));
        print_json(options.out, json);
    } else {
        check::print_report(options.out, report);
    }
    return report.exit_status();
}

}  // namespace

void add_check(Command &top, const Options &options) {
    Command command = top.subcommand("check", "Say what is wrong with this chassis, worst first");
    command.runs([&options] { return check_chassis(options); });
}

}  // namespace dfdctl
