// SPDX-License-Identifier: MIT
// What a chassis should have: a file that a person edits, learned on a good chassis.
#pragma once

#include "dfdctl/check/report.hpp"

namespace dfdctl::check {

/// A unit that should be there.
struct ExpectedUnit {
    std::string name;      ///< its number, of a sensor its name
    std::string identity;  ///< what it says it is; empty: anything
    std::size_t line;      ///< in the file
};

/// All units of a kind that should be there; others of the kind are not expected.
struct ExpectedKind {
    std::string kind;  ///< its name in the file: "supplies"
    std::vector<ExpectedUnit> units;
};

struct Expectations {
    std::string path;
    std::optional<std::int64_t> board_type = {};
    std::optional<std::int64_t> chassis_type = {};
    std::optional<bool> peer = {};
    std::vector<ExpectedKind> kinds = {};
};

/// Throws UsageError with file, line and column.
Expectations read_expectations(const std::string &path);
/// The file that expects what a report has seen.
std::string learned_text(const Report &report);
/// What is missing, changed or new.
void compare(const Expectations &expected, Report &report);

/// Names of the kinds in a file.
std::vector<std::string_view> kind_names();
inline constexpr std::string_view kBoardType = "board_type";
inline constexpr std::string_view kChassisType = "chassis_type";
inline constexpr std::string_view kPeer = "peer";

}  // namespace dfdctl::check
