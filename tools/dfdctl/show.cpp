// SPDX-License-Identifier: MIT
// dfdctl show: pages about one subject each.
#include <array>

#include "dfdctl/command.hpp"

namespace dfdctl {

namespace {

struct Page {
    const char *name;
    const char *description;
    int (*show)(const Options &);
};

constexpr std::array kPages = {
    Page{"board",
         "Board and chassis, how they were found out, the configuration files, the inventory, and "
         "one value of each kind",
         show_board},
};

}  // namespace

void add_show(CLI::App &app, const Options &options, Action &action) {
    CLI::App *command = app.add_subcommand("show", "Show a page about one subject");
    command->require_subcommand(1);
    command->fallthrough();
    for (const Page &page : kPages) {
        command->add_subcommand(page.name, page.description)->callback([&options, &action, page] {
            action = [&options, page] { return page.show(options); };
        });
    }
}

}  // namespace dfdctl
