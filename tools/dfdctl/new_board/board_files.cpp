// SPDX-License-Identifier: MIT
#include "dfdctl/new_board/board_files.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "dfdctl/new_board/template.hpp"
#include "hal/board_bus.h"

namespace dfdctl::new_board {

namespace {

std::string product_id(std::string_view name) {
    std::string id(name.substr(0, dfd::kProductIdLength));
    std::ranges::transform(id, id.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return id;
}

Variables variables_of(const Choice &choice) {
    return {{"name", choice.name},       {"product_id", product_id(choice.name)},
            {"type", choice.type},       {"type_hex", fmt::format("{:#x}", choice.type)},
            {"chassis", choice.chassis}, {"has_backplane", static_cast<long>(choice.has_backplane)},
            {"fans", choice.fans},       {"supplies", choice.supplies},
            {"slots", choice.slots}};
}

}  // namespace

std::vector<File> board_files(const Choice &choice) {
    const Variables variables = variables_of(choice);
    std::vector<File> files;
    for (const Template &source : templates()) {
        try {
            Expanded expanded = expand(source.text, variables);
            if (!expanded.file.empty()) {
                files.push_back({std::move(expanded.file), std::move(expanded.content)});
            }
        } catch (const TemplateError &error) {
            throw TemplateError(fmt::format("template {}, {}", source.name, error.what()));
        }
    }
    return files;
}

}  // namespace dfdctl::new_board
