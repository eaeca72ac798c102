// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace dfd_tools {

/// Puts a file in the place of another in one step: a reader sees the old one or the whole new one,
/// and the old one stays where that fails. Throws std::system_error.
void replace_file(const std::string &path, const std::string &text);

}  // namespace dfd_tools
