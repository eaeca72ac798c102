// SPDX-License-Identifier: MIT
// dfdctl get: one item's value.
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct GetArguments {
    std::string name;
    std::vector<std::string> indexes;
};

Json get_json(const Item &item, const Reading &reading, const LoadRecord &log) {
    return {{"command", "get"},
            {"item", item_json(item)},
            {"reading", to_json(reading)},
            {"record", record_json(item)},
            {"set_by", origin_json(item, log)}};
}

int get(const Options &options, const GetArguments &arguments) {
    const Item item = parse_item(arguments.name, arguments.indexes);
    const Library library = require_library(options, item.key());
    const Reading reading = read_item(item);
    if (options.json) {
        print_json(options.out, get_json(item, reading, library.loaded));
    } else if (reading.ok()) {
        fmt::print(options.out, "{}\n", full_text(reading));
    }
    if (!reading.ok()) {
        report_failure(item, reading);
    }
    return exit_of(reading, library);
}

}  // namespace

void add_get(Command &top, const Options &options) {
    auto arguments = std::make_shared<GetArguments>();
    Command command =
        top.subcommand("get", "Read one configured item", "dfdctl get fan_real_speed_1_2");
    command.word("NAME", arguments->name,
                 "Name of the item, as 'dfdctl items' lists it or without the indexes");
    command.words("INDEX", arguments->indexes, "Its indexes, where it takes any", "[INDEX [INDEX]]",
                  0, 2);
    command.runs([&options, arguments] { return get(options, *arguments); });
}

}  // namespace dfdctl
