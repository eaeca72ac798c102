// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace dfdctl {

/// Rows under headings, columns aligned.
class Table {
  public:
    explicit Table(std::vector<std::string> headings);

    void add(std::vector<std::string> cells);
    /// The rows, each indented by two blanks; without rows nothing.
    void print(std::FILE *out) const;

  private:
    std::vector<std::vector<std::string>> rows_;
};

/// A heading of a page, with an empty line before all but the first.
void print_heading(std::FILE *out, const std::string &text, bool first = false);

/// As a heading of a column: "SUB-SLOT" for "sub_slot".
std::string upper(std::string_view word);

nlohmann::ordered_json text_or_null(std::string_view text);
void print_json(std::FILE *out, const nlohmann::ordered_json &json);

}  // namespace dfdctl
