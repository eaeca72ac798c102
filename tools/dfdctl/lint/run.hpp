// SPDX-License-Identifier: MIT
// What is checked, and what came of it.
#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

struct Request {
    std::optional<std::string> root;     ///< boards below it; unset: this system's
    std::optional<int> board_type;       ///< unset: all
    std::vector<std::string> files;      ///< in place of boards
    std::set<std::string> switched_off;  ///< ids
    /// Called with each board while it is loaded.
    std::function<void(const Check &check)> visit = {};
};

struct Report {
    std::vector<Finding> findings;  ///< sorted
    std::set<std::string> files;    ///< that were read

    int count(Severity severity) const;
};

/// Throws UsageError where there is nothing that could be checked.
Report run(const Request &request);

std::string_view severity_word(Severity severity);

void print_text(std::FILE *out, const Report &report);
void print_json(std::FILE *out, const Report &report);
/// SARIF 2.1.0
void print_sarif(std::FILE *out, const Report &report);
void print_rules(std::FILE *out, bool as_json);

}  // namespace dfdctl::lint
