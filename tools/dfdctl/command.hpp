// SPDX-License-Identifier: MIT
// What all commands share: exit status, options, that each puts itself on the command line.
#pragma once

#include <cstdio>

#include "common/command_line.hpp"

namespace dfdctl {

using dfd_tools::Action;
using dfd_tools::Command;
using dfd_tools::UsageError;

/// Exit status of the program, part of its interface.
enum Exit {
    kExitOk = 0,
    kExitReadingFailed = 1,
    kExitUsage = dfd_tools::kExitUsage,  ///< also: the configuration cannot be used
    kExitNotSupported = 3,
    kExitIo = 4
};

struct Options {
    bool json = false;
    unsigned width = 0;          ///< columns of text; 0: those of the terminal
    bool wide = false;           ///< text without a limit
    bool force = false;          ///< writes that are refused for a reason are made all the same
    unsigned debug = 0;          ///< level of dfd_open_debug; 0: the log gate stays closed
    bool debug_startup = false;  ///< open also while the configuration is loaded
    std::FILE *out = nullptr;    ///< for data; the library writes its log elsewhere
};

/// Makes a program of `dfdctl eeprom encode`.
void take_encode(Command &top, const Options &options);

/// Each adds a subcommand.
void add_check(Command &top, const Options &options);
void add_show(Command &top, const Options &options);
void add_watch(Command &top, const Options &options);
void add_get(Command &top, const Options &options);
void add_set(Command &top, const Options &options);
void add_items(Command &top, const Options &options);
void add_metrics(Command &top, const Options &options);
void add_eeprom(Command &top, const Options &options);
void add_controls(Command &top, const Options &options);
void add_explain(Command &top, const Options &options);
void add_coverage(Command &top, const Options &options);
void add_lint(Command &top, const Options &options);
void add_new_board(Command &top, const Options &options);

}  // namespace dfdctl
