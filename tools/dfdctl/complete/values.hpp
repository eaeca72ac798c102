// SPDX-License-Identifier: MIT
// Arguments by the words of the help: which values each may have.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "common/command_tree.hpp"
#include "dfdctl/board/load_record.hpp"

namespace dfdctl::complete {

using dfd_tools::Candidate;
using dfd_tools::Expected;

using Candidates = std::vector<Candidate>;

/// What an argument of a command may be.
struct Values {
    const char *argument;  ///< "FAN", or an option: "--board"
    const char *command;   ///< its first word
    bool is_of_board;      ///< by the configuration, else by the tool itself; then without a record
    Candidates (*find)(const Expected &expected, const LoadRecord &record);
};

/// What an argument or option of this command may be; null for one that no row tells of.
const Values *values_of(const std::string &argument, const std::string &command);

}  // namespace dfdctl::complete
