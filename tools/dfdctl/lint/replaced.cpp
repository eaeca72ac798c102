// SPDX-License-Identifier: MIT
// Lines that replace, shadow or swallow others.
#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

void check_replaced(Check & /*check*/) {}

}  // namespace dfdctl::lint
