// SPDX-License-Identifier: MIT
// What all commands share: exit status, options, start of the library.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

namespace dfdctl {

/// Exit status of the program, part of its interface.
enum Exit {
    kExitOk = 0,
    kExitReadingFailed = 1,
    kExitUsage = 2,  ///< also: the configuration cannot be used
    kExitNotSupported = 3,
    kExitIo = 4
};

/// A mistake on the command line.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    bool json = false;
    unsigned debug = 0;        ///< level of dfd_open_debug; 0: the log gate stays closed
    std::FILE *out = nullptr;  ///< for data; the library writes its log elsewhere
};

/// What the command line asks for; set by the chosen subcommand, run after parsing.
using Action = std::function<int()>;

/// Each adds a subcommand.
void add_show(CLI::App &app, const Options &options, Action &action);
void add_get(CLI::App &app, const Options &options, Action &action);
void add_set(CLI::App &app, const Options &options, Action &action);
void add_items(CLI::App &app, const Options &options, Action &action);
void add_controls(CLI::App &app, const Options &options, Action &action);

}  // namespace dfdctl
