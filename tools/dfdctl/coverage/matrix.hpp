// SPDX-License-Identifier: MIT
// The cells of a survey as tables: a row for each function, a column for each unit.
#pragma once

#include "dfdctl/coverage/survey.hpp"

namespace dfdctl::coverage {

struct Row {
    std::string name;      ///< without prefix
    std::string prefixes;  ///< "drv sdd": the functions that are this row
    std::string detail;    ///< "rotor 1-2": the indexes behind the unit
    /// By column, without a value where there is no such index; no cells: the board has no unit.
    std::vector<std::optional<State>> cells;

    bool has(State state) const;
    /// Every cell has this state.
    bool is_all(State state) const;
    /// "get_fan_speed (drv sdd) rotor 1-2"
    std::string title() const;
};

/// The functions of a group that count the same units.
struct Matrix {
    observe::Subsystem group;
    observe::Role unit;  ///< none: functions without an index, whose rows have one cell
    std::vector<std::uint32_t> units;  ///< numbers of the columns
    std::vector<Row> rows;
};

/// A parameter that selects a unit.
struct Index {
    observe::Role role;
    std::size_t at;  ///< among the numbers of the arguments
};
std::vector<Index> indexes_of(const observe::Call &call);

/// By group, those without units last; pointers into the cells are not kept.
std::vector<Matrix> matrices(const std::vector<Cell> &cells);

/// "7", or "own" of kOwnSlot.
std::string number_text(std::uint32_t number);
/// "1-4,7"
std::string ranges(const std::vector<std::uint32_t> &numbers);

/// "drv" of "drv_get_fan_speed", "" where it has no such prefix; and the rest.
struct Name {
    std::string_view prefix;
    std::string_view base;
};
Name split_name(std::string_view function);

}  // namespace dfdctl::coverage
