// SPDX-License-Identifier: MIT
// What a line says: its value.
#include "dfdctl/lint/lines.hpp"

namespace dfdctl::lint {

void check_value(Check & /*check*/, const SourceLine & /*line*/) {}

}  // namespace dfdctl::lint
