// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

/// The register map of each device that the board's items name, for a hardware engineer to review;
/// an empty line before all but the first board.
void print_bitmap(const Check &check, std::FILE *out, bool is_first);

}  // namespace dfdctl::lint
