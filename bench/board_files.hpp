// SPDX-License-Identifier: MIT
// Configuration files of any size.
#pragma once

#include <filesystem>

namespace bench {

/// Writes `lines` lines of info_ctrl items: all types, unit after unit, ten members each.
/// `header` stands before them in a line of its own, unless it is empty.
void write_items(const std::filesystem::path &path, int lines, const char *header = "");

/// A directory of this process, removed at its end; in memory where the system has such.
const std::filesystem::path &scratch_directory();

}  // namespace bench
