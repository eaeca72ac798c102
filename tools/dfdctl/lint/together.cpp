// SPDX-License-Identifier: MIT
// Items that belong together.
#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

void check_together(Check & /*check*/) {}

}  // namespace dfdctl::lint
