// SPDX-License-Identifier: MIT
// dfdctl show: pages about one subject each.
#include "dfdctl/command.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/show/text.hpp"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

namespace dfdctl {

namespace {

/// Something of the page is not configured: the file of the chassis might do that.
bool depends_on_chassis(const PageData &page) {
    const auto is_none = [](const Reading &cell) { return cell.status == Status::none; };
    return std::ranges::any_of(page.sections, [&](const SectionData &section) {
        return (section.rows.empty() && page.unit.empty()) ||
               std::ranges::any_of(section.rows, [&](const Row &row) {
                   return std::ranges::any_of(row.cells, is_none);
               });
    });
}

int show_page(const Options &options, const Page &page, const std::string &unit) {
    const ReadPass pass;
    const Library library = require_library(options);
    const PageData data = read_page(page, library.log, unit);
    if (options.json) {
        const std::string name = unit.empty() ? page.name : fmt::format("{} {}", page.name, unit);
        nlohmann::ordered_json json = {{"command", "show " + name}};
        json.update(page_json(data));
        print_json(options.out, json);
    } else {
        print_page(options.out, data, true);
        Losses losses;
        losses.add(data);
        losses.print(options.out);
    }
    if (depends_on_chassis(data)) {
        report_missing_chassis_file(library);
    }
    if (library.incomplete()) {
        return kExitUsage;
    }
    if (data.is_empty()) {
        fmt::print(stderr, "dfdctl: show {}: nothing of this is configured on this board\n",
                   page.name);
        return kExitNotSupported;
    }
    return data.has_failed() ? kExitReadingFailed : kExitOk;
}

int show_board(const Options &options) {
    const ReadPass pass;
    const BoardPage page = read_board_page(options);
    if (options.json) {
        nlohmann::ordered_json json = {{"command", "show board"}};
        json.update(board_json(page));
        print_json(options.out, json);
    } else {
        print_page(options.out, page);
        Losses losses;
        losses.add(page);
        losses.print(options.out);
    }
    report_missing_chassis_file(page.library);
    report_start(page);
    return exit_of_page(page);
}

/// The page of the board comes without the others where the library did not start.
int show_all(const Options &options) {
    const ReadPass pass;
    const BoardPage board = read_board_page(options);
    std::vector<PageData> data;
    for (const Page &page : pages()) {
        if (board.library.usable()) {
            data.push_back(read_page(page, board.library.log));
        }
    }
    bool failed = false;
    nlohmann::ordered_json json = {{"command", "show all"}, {"board", board_json(board)}};
    for (const Page &page : pages()) {
        json[page.name] = nullptr;
    }
    for (const PageData &page : data) {
        json[page.page->name] = page_json(page);
        failed = failed || page.has_failed();
    }
    if (options.json) {
        print_json(options.out, json);
    } else {
        Losses losses;
        print_page(options.out, board);
        losses.add(board);
        for (const PageData &page : data) {
            print_page(options.out, page, false);
            losses.add(page);
        }
        losses.print(options.out);
    }
    report_missing_chassis_file(board.library);
    report_start(board);
    const int status = exit_of_page(board);
    return status == kExitOk && failed ? kExitReadingFailed : status;
}

}  // namespace

void add_show(Command &top, const Options &options) {
    Command command = top.subcommand("show", "Show a page about one subject", "dfdctl show fans");
    command.needs_subcommand();
    command
        .subcommand("board",
                    "Board and chassis, how they were found out, the configuration files, the "
                    "inventory, and one value of each kind",
                    "dfdctl show board")
        .runs([&options] { return show_board(options); });
    for (const Page &page : pages()) {
        auto unit = std::make_shared<std::vector<std::string>>();
        Command show = command.subcommand(
            page.name, page.description, fmt::format("dfdctl show {} {}", page.name, page.example));
        show.words("UNIT", *unit, fmt::format("Only this {}", page.unit),
                   fmt::format("[{}]", upper(page.unit)), 0, 1);
        show.runs([&options, &page, unit] {
            return show_page(options, page, unit->empty() ? "" : unit->front());
        });
    }
    command.subcommand("all", "All of these pages", "dfdctl show all --json").runs([&options] {
        return show_all(options);
    });
}

}  // namespace dfdctl
