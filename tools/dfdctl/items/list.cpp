// SPDX-License-Identifier: MIT
// dfdctl items: everything that is configured.
#include <algorithm>

#include "common/nearest.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct ListArguments {
    std::string type;
    bool values = false;
};

bool is_wanted(const Item &item, const ListArguments &arguments) {
    return arguments.type.empty() || item.type->name == arguments.type ||
           kind_name(item.type->kind) == arguments.type;
}

/// Names of the kinds and of the items of each.
std::vector<std::string_view> type_names() {
    std::vector<std::string_view> names(key_names().begin(), key_names().end());
    for (const KeyType &type : key_types()) {
        const std::string_view kind = kind_name(type.kind);
        if (type.kind != Kind::none && std::find(names.begin(), names.end(), kind) == names.end()) {
            names.push_back(kind);
        }
    }
    return names;
}

void check_type(const std::string &name) {
    const std::vector<std::string_view> names = type_names();
    if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
        const std::string guess = dfd_tools::did_you_mean(name, names);
        throw UsageError(
            fmt::format("no item or kind of item is called '{}'{}", name,
                        guess.empty() ? "; 'dfdctl items' lists those of this board" : guess));
    }
}

/// The library has no list of its items; the log of the start-up names the key of each.
std::vector<Item> configured_items(const LoadRecord &log, const ListArguments &arguments) {
    std::vector<Item> items;
    for (const auto &[key, origins] : log.origins) {
        const Item item = item_of_key(key);
        if (is_wanted(item, arguments)) {
            items.push_back(item);
        }
    }
    return items;
}

int exit_of_items(const std::vector<Reading> &readings) {
    for (const Reading &reading : readings) {
        if (reading.failed()) {
            return kExitReadingFailed;
        }
    }
    return kExitOk;
}

void print_text(const Options &options, const Library &library, const std::vector<Item> &items,
                const std::vector<Reading> &readings) {
    const auto text_of = [&](std::size_t i) {
        if (readings.empty()) {
            return describe(items[i]);
        }
        return readings[i].ok() ? cut(full_text(readings[i])) : full_text(readings[i]);
    };
    Table table({{"ITEM", Fit::whole},
                 {"SET BY", Fit::cut_front},
                 {readings.empty() ? "DESCRIPTION" : "VALUE", Fit::prose}});
    for (std::size_t i = 0; i < items.size(); ++i) {
        table.add({items[i].name(), library.loaded.origin_of(items[i].key()), text_of(i)});
    }
    table.print(options.out);
}

Json items_json(const Library &library, const std::vector<Item> &items,
                const std::vector<Reading> &readings) {
    Json list = Json::array();
    for (std::size_t i = 0; i < items.size(); ++i) {
        list.push_back({{"item", item_json(items[i])},
                        {"reading", readings.empty() ? Json() : to_json(readings[i])},
                        {"record", record_json(items[i])},
                        {"set_by", origin_json(items[i], library.loaded)}});
    }
    return {{"command", "items"}, {"items", list}};
}

int items(const Options &options, const ListArguments &arguments) {
    check_type(arguments.type);
    const ReadPass pass;
    const Library library = require_library(options);
    const std::vector<Item> found = configured_items(library.loaded, arguments);
    std::vector<Reading> readings;
    for (const Item &item : found) {
        if (arguments.values) {
            readings.push_back(read_item(item));
        }
    }
    if (options.json) {
        print_json(options.out, items_json(library, found, readings));
    } else {
        print_text(options, library, found, readings);
    }
    if (found.empty() && !arguments.type.empty()) {
        complain(fmt::format("no '{}' is configured on this board", arguments.type));
    }
    if (library.incomplete()) {
        return kExitUsage;
    }
    return found.empty() && !arguments.type.empty() ? kExitNotSupported : exit_of_items(readings);
}

}  // namespace

void add_items(Command &top, const Options &options) {
    auto arguments = std::make_shared<ListArguments>();
    Command command = top.subcommand("items", "List the configured items",
                                     "dfdctl items --type fan_real_speed --values");
    command.option("--type", arguments->type,
                   "Only items of this name, or of this kind: int, string, i2c_dev, info_ctrl, "
                   "irq_ctrl, irq_info, led_info, temp_info",
                   "NAME");
    command.flag("--values", arguments->values,
                 "Read each item and show its value instead of its description");
    command.runs([&options, arguments] { return items(options, *arguments); });
}

}  // namespace dfdctl
