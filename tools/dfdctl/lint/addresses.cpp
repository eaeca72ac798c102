// SPDX-License-Identifier: MIT
// Buses, addresses and the registers that items claim.
#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

void check_addresses(Check & /*check*/) {}

}  // namespace dfdctl::lint
