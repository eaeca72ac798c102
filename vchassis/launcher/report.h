// SPDX-License-Identifier: MIT
// How `vchassis` tells that something went wrong.
#pragma once

#include <functional>
#include <string>

#include "common/command_line.hpp"

namespace vchassis {

using dfd_tools::kExitUsage;

// On standard error, wrapped to the terminal there.
void complain(const std::string &text);

// 0; of a failure `status`, of a mistake on the command line that of wrong usage.
int report_failures(int status, const std::function<void()> &action);

}  // namespace vchassis
