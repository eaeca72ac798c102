// SPDX-License-Identifier: MIT
// What the library's log of its start-up says: which configuration files were loaded, which failed
// and why, and which line set each item.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace dfdctl {

enum class FileRole { card_pid, listed, chassis };

struct Problem {
    int line;
    std::string message;
};

struct ConfigFile {
    std::string path;  ///< empty for the chassis file: the log does not name it
    FileRole role;
    bool opened = true;
    std::string error;    ///< why it could not be opened, or why loading stopped
    int failed_line = 0;  ///< where loading stopped; 0: it did not
    int lines = 0;
    int items = 0;                  ///< items that got their first line here
    std::vector<Problem> problems;  ///< lines without effect

    bool failed() const { return !opened || failed_line != 0; }
};

/// A line that set an item or a member of it.
struct Origin {
    std::size_t file;  ///< index in StartupLog::files
    int line;
};

struct StartupLog {
    std::vector<ConfigFile> files;
    std::map<std::uint32_t, std::vector<Origin>> origins;  ///< by key, in the order of loading
    std::string list_path;  ///< the board's list of files, where it could not be opened
    std::string list_error;

    /// Where an item was set: "cm8_fans.cfg:41-47"; the last file that set it counts.
    std::string origin_of(std::uint32_t key) const;
};

/// Parses what the library printed with all log levels open. is_empty tells whether a file has no
/// lines at all; only that separates an empty listed file from the chassis file behind it, whose
/// beginning the log does not announce.
StartupLog parse_startup_log(std::string_view text,
                             const std::function<bool(const std::string &)> &is_empty);

}  // namespace dfdctl
