// SPDX-License-Identifier: MIT
// The library on a board's files alone: no hardware is touched, nothing is printed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "dfdctl/board/load_record.hpp"

namespace dfdctl {

/// What the library remembers between calls, to put it back.
class LibraryState {
  public:
    LibraryState();
    void restore() const;

  private:
    std::vector<std::byte> bytes_;
};

/// The library as it was before its first start-up: no items, nothing cached.
void forget_board();

/// Board types that have a list of files below a directory that holds etc/cfg/dfd, ascending.
std::vector<int> board_types(const std::string &root);
/// Chassis types that have a file there, ascending.
std::vector<int> chassis_types(const std::string &root);

struct BoardChoice {
    std::string root;  ///< "" for the files of this system
    int board_type;
    int chassis_type;  ///< asked for only where a backplane EEPROM is configured to tell it
    /// Goes on behind lines and files that fail, as the library does not.
    bool reads_everything = false;
};

/// Starts the library afresh as that board: its EEPROMs answer with these types. result is that of
/// dev_drv_init.
LoadRecord load_offline(const BoardChoice &choice, int *result = nullptr);

/// Parses single files into an empty library, below no root; a file that cannot be opened is told
/// in the log.
LoadRecord load_files(const std::vector<std::string> &paths);

}  // namespace dfdctl
