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
    return {{"name", choice.name},
            {"product_id", product_id(choice.name)},
            {"type", choice.type},
            {"type_hex", fmt::format("{:#x}", choice.type)},
            {"chassis", choice.chassis},
            {"has_backplane", static_cast<long>(choice.has_backplane)},
            {"has_product_id", static_cast<long>(choice.has_product_id)},
            {"fans", choice.fans},
            {"supplies", choice.supplies},
            {"slots", choice.slots},
            {"ports", choice.ports},
            {"cards", static_cast<long>(choice.has_cards)},
            {"peer", static_cast<long>(choice.has_peer)},
            {"interrupts", static_cast<long>(choice.has_interrupts)}};
}

/// The groups of the interrupt cascade, each a bit of level 1; `presence` is the first register
/// whose changes raise them.
Rows interrupt_groups(const Choice &choice) {
    const struct {
        std::string units;
        std::string type;
        long presence;
        long count;
    } kGroups[] = {{"supplies", "power", 0x0c, choice.supplies},
                   {"trays", "fan", 0x08, choice.fans},
                   {"slots", "card", 0x10, choice.slots},
                   {"ports", "sfp", 0x34, choice.ports}};
    Rows rows;
    long bit = 0;
    for (const auto &[units, type, presence, count] : kGroups) {
        if (count > 0) {
            rows.push_back({{"bit", bit},
                            {"units", units},
                            {"irq_type", type},
                            {"presence", presence},
                            {"count", count}});
        }
        ++bit;
    }
    return rows;
}

/// Slots 30 and 31 share the items of card 31. The board itself is in slot 1.
Rows line_cards(const Choice &choice) {
    constexpr long kFirstFabricSlot = 30;
    Rows rows;
    for (long slot = 2; slot <= choice.slots; ++slot) {
        if (slot != kFirstFabricSlot) {
            rows.push_back({{"card", slot}});
        }
    }
    return rows;
}

}  // namespace

std::vector<File> board_files(const Choice &choice) {
    const Variables variables = variables_of(choice);
    const Tables tables = {{"interrupt_groups", interrupt_groups(choice)},
                           {"line_cards", line_cards(choice)}};
    std::vector<File> files;
    for (const Template &source : templates()) {
        try {
            Expanded expanded = expand(source.text, variables, tables);
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
