// SPDX-License-Identifier: MIT
// Standard output belongs to the data: the library prints its log there, so it is led away.
#pragma once

#include <cstdint>
#include <optional>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/board/reading.hpp"
#include "dfdctl/command.hpp"

namespace dfdctl {

/// Keeps the program's standard output for data and leads descriptor 1, where the library prints,
/// to standard error. Returns the stream for data. Call it once, first.
std::FILE *take_stdout();

/// The started library and what it said of its configuration.
struct Library {
    int result;  ///< of dev_drv_init
    LoadRecord loaded;

    bool usable() const { return result == 0; }
    /// A file that was to be loaded could not be: what it would have set is missing.
    bool incomplete() const;
};

/// Exit status of a command whose whole purpose is this one reading. An item that a part of the
/// configuration that was not loaded may set is not "not supported".
int exit_of(const Reading &reading, const Library &library);

/// Says on standard error that the chassis has no file, for what depends on one.
void report_missing_chassis_file(const Library &library);

/// Starts the library, with what it loads recorded; opens the log gate as the options ask. Files
/// that failed are reported on standard error. Of the lines that say nothing wrong, those of `only`
/// are recorded, where a key is given.
Library start_library(const Options &options, std::optional<std::uint32_t> only = {});

/// Why the library did not start, and what to do.
std::string why_unusable(const Library &library);

/// Starts the library for a command that cannot do without it; exits through UsageError.
Library require_library(const Options &options, std::optional<std::uint32_t> only = {});

}  // namespace dfdctl
