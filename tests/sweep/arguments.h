// SPDX-License-Identifier: MIT
// Arguments for functions of a board: its units, and places of its configuration for functions that
// are told a device, a file or an item.
#pragma once

#include <vector>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/observe/units.hpp"

namespace sweep_test {

std::vector<dfdctl::observe::Args> arguments_of(const dfdctl::observe::Call &call,
                                                const dfdctl::LoadRecord &record,
                                                const dfdctl::observe::Units &units);

}  // namespace sweep_test
