// SPDX-License-Identifier: MIT
#include "dfdctl/board/find_boards.hpp"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "common/text.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/command.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

namespace fs = std::filesystem;

constexpr const char *kConfiguration = "etc/cfg/dfd";

bool holds_board(const fs::path &directory) {
    std::error_code error;
    return fs::is_directory(directory / kConfiguration, error);
}

/// What stands before the library's paths.
std::string prefix_of(std::string root) {
    root.erase(root.find_last_not_of('/') + 1);
    return root;
}

}  // namespace

std::vector<std::string> board_roots(const std::string &directory) {
    std::error_code error;
    if (!fs::is_directory(directory, error)) {
        throw UsageError(fmt::format("'{}' is no directory", directory));
    }
    if (holds_board(directory)) {
        return {prefix_of(directory)};
    }
    if (prefix_of(directory).empty()) {
        throw UsageError(fmt::format("this system has no /{}; --root names a directory with boards",
                                     kConfiguration));
    }
    std::vector<std::string> roots;
    fs::recursive_directory_iterator entry(directory, error);
    for (; entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->is_directory(error) && holds_board(entry->path())) {
            roots.push_back(prefix_of(entry->path()));
            entry.disable_recursion_pending();
        }
    }
    if (error) {
        throw UsageError(fmt::format("'{}', or a directory below it, cannot be read: {}", directory,
                                     error.message()));
    }
    if (roots.empty()) {
        throw UsageError(
            fmt::format("no board in or below '{}': a board is a directory that holds {}",
                        directory, kConfiguration));
    }
    std::sort(roots.begin(), roots.end());
    return roots;
}

std::vector<BoardPlace> find_boards(const std::string &directory, const std::string &board_type) {
    const int wanted = board_type.empty() ? 0 : parse_board_type(board_type);
    std::vector<BoardPlace> found;
    std::set<int> known;
    for (const std::string &root : board_roots(directory.empty() ? "/" : directory)) {
        for (const int type : board_types(root)) {
            known.insert(type);
            if (board_type.empty() || type == wanted) {
                found.push_back({root, type});
            }
        }
    }
    if (found.empty()) {
        refuse_board_type(wanted, known);
    }
    return found;
}

void refuse_board_type(int board_type, const std::set<int> &known) {
    if (known.empty()) {
        throw UsageError("there is no list of files, so no board type is known");
    }
    std::vector<std::string> names;
    for (const int type : known) {
        names.push_back(fmt::format("0x{:x}", type));
    }
    throw UsageError(fmt::format("no list of files for board type 0x{:x}; there are {}", board_type,
                                 dfd_tools::joined(names, ", ")));
}

int parse_board_type(const std::string &text) {
    std::uint32_t type = 0;
    if (!parse_number(text, type) || type > std::uint32_t{std::numeric_limits<int>::max()}) {
        throw UsageError(fmt::format("'{}' is no board type: a number such as 62 or 0x3e", text));
    }
    return static_cast<int>(type);
}

}  // namespace dfdctl
