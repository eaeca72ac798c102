// SPDX-License-Identifier: MIT
// What the checks of lines share.
#pragma once

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

/// The value of a line that was stored, or was refused for it.
void check_value(Check &check, const SourceLine &line);

}  // namespace dfdctl::lint
