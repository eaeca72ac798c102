// SPDX-License-Identifier: MIT
// What may be typed next: the values of arguments and options, those of the board included.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace dfdctl {

/// Lines for a shell about the last of the words behind the program's name, which may be empty or
/// begun. The board is loaded from its files, if they are needed; no device is touched, and nothing
/// is said on standard error.
std::string completion(const CLI::App &app, const std::vector<std::string> &words);

}  // namespace dfdctl
