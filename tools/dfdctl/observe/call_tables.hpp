// SPDX-License-Identifier: MIT
// The parts of the table of calls.
#pragma once

#include "dfdctl/observe/calls.hpp"

namespace dfdctl::observe {

std::span<const Call> chassis_calls();
std::span<const Call> unit_calls();
std::span<const Call> access_calls();

}  // namespace dfdctl::observe
