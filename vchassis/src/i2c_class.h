// SPDX-License-Identifier: MIT
// The buses as sysfs shows them, for programs that look for buses and their names there.
#pragma once

#include <string_view>

#include "machine.h"

namespace vchassis {

constexpr std::string_view kI2cClass = "/sys/class/i2c-dev";

// Brings the files below the state directory in line with the buses.
void make_i2c_class(const Machine &machine);

}  // namespace vchassis
