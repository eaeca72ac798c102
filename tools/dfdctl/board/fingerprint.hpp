// SPDX-License-Identifier: MIT
// One number for the whole configuration, to see whether two chassis have the same.
#pragma once

#include <string>

#include "dfdctl/board/load_record.hpp"

namespace dfdctl {

/// Of the loaded items and conversion entries, as 16 hexadecimal digits (FNV-1a, 64 bits). Only
/// what the library makes of the files counts: comments, names of files and the order of lines
/// change it where they change a value or the answer of a look-up.
std::string fingerprint(const LoadRecord &record);

}  // namespace dfdctl
