// SPDX-License-Identifier: MIT
// What the functions make of the items that the engine takes.
#pragma once

#include <cstdint>
#include <set>

#include "dfdctl/lint/survey.hpp"

namespace dfdctl::lint {

/// Items against the functions that use them; `refused` are those that the engine never takes.
void check_consumers(Check &check, const std::set<std::uint32_t> &refused);
/// Items that no function asks for, where nothing else is said of them.
void check_unasked(Check &check);

}  // namespace dfdctl::lint
