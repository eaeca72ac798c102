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

bool is_bad(const Row &row) {
    return std::ranges::any_of(row.cells, &Reading::failed) ||
           std::ranges::any_of(row.judgements, [](const auto &judgement) { return !!judgement; });
}

bool has_bad_rows(const SectionData &section) {
    return std::ranges::any_of(section.rows, is_bad);
}

bool has_bad_sections(const PageData &page) {
    return std::ranges::any_of(page.sections, has_bad_rows);
}

void bring_up_worst(PageData &page) {
    for (SectionData &section : page.sections) {
        std::stable_partition(section.rows.begin(), section.rows.end(), is_bad);
    }
    std::stable_partition(page.sections.begin(), page.sections.end(), has_bad_rows);
}

int show_page(const Options &options, const Page &page, const std::string &unit, Order order) {
    const ReadPass pass;
    const Library library = require_library(options);
    PageData data = read_page(page, library.loaded, unit);
    if (options.json) {
        const std::string name = unit.empty() ? page.name : fmt::format("{} {}", page.name, unit);
        Json json = {{"command", "show " + name}};
        json.update(page_json(data));
        print_json(options.out, json);
    } else {
        if (order == Order::worst_first) {
            bring_up_worst(data);
        }
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
        complain(fmt::format("show {}: nothing of this is configured on this board", page.name));
        return kExitNotSupported;
    }
    return data.has_failed() ? kExitReadingFailed : kExitOk;
}

int show_board(const Options &options) {
    const ReadPass pass;
    const BoardPage page = read_board_page(options);
    if (options.json) {
        Json json = {{"command", "show board"}};
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

/// What is wrong stands above the page of the board where the worst is to be first.
void print_all(std::FILE *out, const BoardPage &board, std::vector<PageData> data, Order order) {
    auto calm = data.begin();
    if (order == Order::worst_first) {
        std::ranges::for_each(data, bring_up_worst);
        calm = std::stable_partition(data.begin(), data.end(), has_bad_sections);
    }
    for (auto page = data.begin(); page != calm; ++page) {
        print_page(out, *page, page == data.begin());
    }
    fmt::print(out, "{}", calm != data.begin() ? "\n" : "");
    print_page(out, board);
    for (auto page = calm; page != data.end(); ++page) {
        print_page(out, *page, false);
    }
}

/// The page of the board comes without the others where the library did not start.
int show_all(const Options &options, Order order) {
    const ReadPass pass;
    const BoardPage board = read_board_page(options);
    std::vector<PageData> data;
    for (const Page &page : pages()) {
        if (board.library.usable()) {
            data.push_back(read_page(page, board.library.loaded));
        }
    }
    bool failed = false;
    Json json = {{"command", "show all"}, {"board", board_json(board)}};
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
        print_all(options.out, board, data, order);
        Losses losses;
        losses.add(board);
        for (const PageData &page : data) {
            losses.add(page);
        }
        losses.print(options.out);
    }
    report_missing_chassis_file(board.library);
    report_start(board);
    const int status = exit_of_page(board);
    return status == kExitOk && failed ? kExitReadingFailed : status;
}

constexpr const char *kBoard = "board";
constexpr const char *kAll = "all";

}  // namespace

std::vector<std::string> page_names() {
    std::vector<std::string> names = {kBoard};
    for (const Page &page : pages()) {
        names.emplace_back(page.name);
    }
    names.emplace_back(kAll);
    return names;
}

int show(const Options &options, const std::string &name, const std::string &unit, Order order) {
    if (name == kBoard || name == kAll) {
        if (!unit.empty()) {
            throw UsageError(fmt::format("page {} has no units", name));
        }
        return name == kBoard ? show_board(options) : show_all(options, order);
    }
    const auto page = std::ranges::find(pages(), name, &Page::name);
    return show_page(options, *page, unit, order);
}

void add_show(Command &top, const Options &options) {
    Command command = top.subcommand("show", "Show a page about one subject", "dfdctl show fans");
    command.needs_subcommand();
    command
        .subcommand("board",
                    "Board and chassis, how they were found out, the configuration files, the "
                    "inventory, and one value of each kind",
                    "dfdctl show board")
        .runs([&options] { return show(options, kBoard, ""); });
    for (const Page &page : pages()) {
        auto unit = std::make_shared<std::vector<std::string>>();
        Command one = command.subcommand(page.name, page.description,
                                         fmt::format("dfdctl show {} {}", page.name, page.example));
        one.words("UNIT", *unit, fmt::format("Only this {}", page.unit),
                  fmt::format("[{}]", upper(page.unit)), 0, 1);
        one.runs([&options, &page, unit] {
            return show(options, page.name, unit->empty() ? "" : unit->front());
        });
    }
    command.subcommand("all", "All of these pages", "dfdctl show all --json").runs([&options] {
        return show(options, kAll, "");
    });
}

}  // namespace dfdctl
