// SPDX-License-Identifier: MIT
// The directories of a configuration, and the files in them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

/// Whether each file of the board's list was opened.
bool has_all_files(const LoadRecord &log);

inline constexpr std::string_view kBoardDirectory = "/etc/cfg/dfd/";
inline constexpr std::string_view kListDirectory = "/etc/cfg/dfd/file_name/";
inline constexpr std::string_view kFileDirectory = "/etc/cfg/dfd/cfg_file/";
inline constexpr std::string_view kChassisDirectory = "/etc/cfg/dfd/chassis/";
inline constexpr std::string_view kSuffix = ".cfg";
inline constexpr std::string_view kPidFile = "card_pid.cfg";

/// The list of the loaded board.
void check_list(Check &check);
/// False, and a finding, when no file of a directory can be opened. A directory that is not there
/// may not be needed.
bool check_open(Check &check, std::string_view directory, bool is_needed);
/// Where a file stands that nobody reads there: a directory of these, or empty.
std::string_view misplaced_in(const std::string &root, std::string_view own,
                              const std::string &name);
/// Chassis files that stand in another directory.
std::vector<std::string> misplaced_chassis(const std::string &root);
/// Tells of a file that is missed elsewhere.
void add_misplaced(Check &check, std::string_view directory, const std::string &name);

/// Names of files in a directory.
std::vector<std::string> files_in(const std::string &directory);
/// Files in the place of lists that have no name of a list.
std::vector<std::string> misnamed_lists(const std::string &root);
/// Board types that the name of such a file may be meant for.
std::vector<int> types_meant(std::string_view name);
/// "; it is a link to 'x'" for a file that cannot be opened; empty for what is no link.
std::string hint_of_link(const std::string &path);

}  // namespace dfdctl::lint
