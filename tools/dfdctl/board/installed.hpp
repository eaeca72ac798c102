// SPDX-License-Identifier: MIT
// dfdctl has a build of the library of its own; platform software uses the installed one.
#pragma once

#include <string>

namespace dfdctl {

/// Path of the libdfd.so.0 that programs are linked with, when it is another build than the one
/// that belongs to this program. Empty: it is the same, or none is installed.
std::string other_installed_library();

}  // namespace dfdctl
