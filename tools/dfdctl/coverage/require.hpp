// SPDX-License-Identifier: MIT
// What a board package demands of its configuration.
#pragma once

#include <set>
#include <span>

#include "dfdctl/coverage/survey.hpp"

namespace dfdctl::coverage {

/// Groups by name, in the order of the report.
std::span<const observe::Subsystem> groups();

/// From "fans,power"; throws UsageError with the nearest name for one that is none.
std::vector<observe::Subsystem> parse_groups(const std::string &text);

/// Checks the names of functions, with or without prefix; throws UsageError.
void check_functions(const std::vector<std::string> &names);

struct Gap {
    observe::Subsystem group = {};
    std::string function = {};  ///< "get_fan_speed (drv sdd)"
    std::string where = {};     ///< "fan 2, rotor"; empty for a function without index
    std::uint32_t number = 0;   ///< the last index
    bool is_unusable = false;   ///< otherwise something is missing
    std::string why;

    /// "fan 2, rotor 1"
    std::string unit() const;
};

struct Demand {
    std::vector<observe::Subsystem> groups;
    std::vector<std::string> allowed;  ///< functions that need not work
};

struct Gaps {
    std::vector<Gap> missing;  ///< essential, or configured but unusable
    std::vector<Gap> uneven;   ///< works for other units of the group
};

Gaps find_gaps(std::span<const Cell> cells, const Demand &demand);

/// Why a cell does not answer.
std::string why(const Cell &cell);

}  // namespace dfdctl::coverage
