// SPDX-License-Identifier: MIT
#include "dfdctl/output.hpp"

#include <algorithm>

#include <fmt/format.h>

namespace dfdctl {

Table::Table(std::vector<std::string> headings) {
    rows_.push_back(std::move(headings));
}

void Table::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

void Table::print(std::FILE *out) const {
    if (rows_.size() < 2) {
        return;
    }
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto &row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (const auto &row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += fmt::format("  {:<{}}", row[i], widths[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print(out, "{}\n", line);
    }
}

void print_heading(std::FILE *out, const std::string &text, bool first) {
    fmt::print(out, "{}{}\n", first ? "" : "\n", text);
}

std::string upper(std::string_view word) {
    std::string text(word);
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c == '_' ? '-' : c;
    });
    return text;
}

nlohmann::ordered_json text_or_null(std::string_view text) {
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

void print_json(std::FILE *out, const nlohmann::ordered_json &json) {
    // EEPROM texts need not be UTF-8; a JSON document is.
    fmt::print(out, "{}\n",
               json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

}  // namespace dfdctl
