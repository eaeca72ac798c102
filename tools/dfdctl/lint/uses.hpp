// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace dfdctl::lint {

/// Some function of the library writes items of this type.
bool is_written(std::uint32_t type);
/// Some function of the library reads items of this type.
bool is_read(std::uint32_t type);

}  // namespace dfdctl::lint
