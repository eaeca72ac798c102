// SPDX-License-Identifier: MIT
#include <dfd/records.h>
#include <fmt/format.h>

#include <span>

#include "reference/tables.hpp"

namespace reference {

namespace {

using Names = std::span<const char *const>;

struct Members {
    dfdctl::Kind kind;
    Names names;
};

const Members kMembers[] = {
    {dfdctl::Kind::i2c_dev, dfd_i2c_dev_mem_str}, {dfdctl::Kind::info_ctrl, info_ctrl_mem_str},
    {dfdctl::Kind::irq_ctrl, irq_ctrl_mem_str},   {dfdctl::Kind::irq_info, irq_info_mem_str},
    {dfdctl::Kind::led_info, led_info_mem_str},   {dfdctl::Kind::temp_info, temp_info_mem_str},
};

struct Words {
    std::string_view member;
    Names words;
};

const Words kWords[] = {
    {"info_ctrl `.mode`", info_ctrl_mode_str}, {"info_ctrl `.src`", info_src_str},
    {"info_ctrl `.frmt`", info_frmt_str},      {"info_ctrl `.pola`", info_pola_str},
    {"temp_info `.type`", temp_info_type_str},
};

std::string list(Names names) {
    std::string text;
    for (const char *const name : names) {
        text += fmt::format("{}`{}`", text.empty() ? "" : " ", name);
    }
    return text;
}

Names irq_type_names() {
    static const std::vector<const char *> names = [] {
        std::vector<const char *> all;
        for (const irq_type_name_t &row : g_irq_type_name) {
            all.push_back(row.name);
        }
        return all;
    }();
    return names;
}

}  // namespace

std::string member_table() {
    std::string text = "| Kind | Members |\n|---|---|\n";
    for (const Members &row : kMembers) {
        text += fmt::format("| {} | {} |\n", dfdctl::kind_name(row.kind), list(row.names));
    }
    return text;
}

std::string word_table() {
    std::string text = "| Member | Words |\n|---|---|\n";
    for (const Words &row : kWords) {
        text += fmt::format("| {} | {} |\n", row.member, list(row.words));
    }
    return text + fmt::format("| irq_info `.type` | {} |\n", list(irq_type_names()));
}

}  // namespace reference
