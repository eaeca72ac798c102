// SPDX-License-Identifier: MIT
// Which boards a command that works on files is about.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace dfdctl {

/// A list of files below a directory that holds etc/cfg/dfd.
struct BoardPlace {
    std::string root;  ///< as it stands before the library's paths: "" for those of this system
    int board_type;
};

/// A backplane EEPROM tells the chassis type in a byte.
inline constexpr int kLastToldChassis = 0xFF;

/// Directories of boards in and below one, sorted, as they stand before the library's paths; throws
/// UsageError when there is none.
std::vector<std::string> board_roots(const std::string &directory);

/// The boards in and below a directory (empty: of this system), of one type (empty: of all), as a
/// command line gives them. Throws UsageError when there is none.
std::vector<BoardPlace> find_boards(const std::string &directory, const std::string &board_type);

/// Throws the UsageError for a board type that none of these is.
[[noreturn]] void refuse_board_type(int board_type, const std::set<int> &known);

/// A number such as 62 or 0x3e; throws UsageError.
int parse_board_type(const std::string &text);

}  // namespace dfdctl
