// SPDX-License-Identifier: MIT
// What may be typed next: the values of arguments and options, those of the board included.
#pragma once

#include "common/command_tree.hpp"

namespace dfdctl {

/// The board is loaded from its files, if they are needed; no device is touched, and nothing is
/// said on standard error.
std::vector<dfd_tools::Candidate> known_values(const dfd_tools::Expected &expected);

}  // namespace dfdctl
