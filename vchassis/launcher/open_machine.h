// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>

#include "commands.h"
#include "machine.h"

namespace vchassis {

std::filesystem::path state_directory(const Place &place);

// Throws std::runtime_error when the directory holds no usable chassis.
std::unique_ptr<Machine> open_machine(const Place &place);

}  // namespace vchassis
