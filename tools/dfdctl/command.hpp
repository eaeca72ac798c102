// SPDX-License-Identifier: MIT
// What all commands share: exit status, options, how a command is put on the command line.
#pragma once

#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

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
    unsigned width = 0;          ///< columns of text; 0: those of the terminal
    bool wide = false;           ///< text without a limit
    bool force = false;          ///< writes that are refused for a reason are made all the same
    unsigned debug = 0;          ///< level of dfd_open_debug; 0: the log gate stays closed
    bool debug_startup = false;  ///< open also while the configuration is loaded
    std::FILE *out = nullptr;    ///< for data; the library writes its log elsewhere
};

/// What the command line asks for; set by the chosen subcommand, run after parsing.
using Action = std::function<int()>;

/// What the action returns; a failure of it is a message and its exit status.
int reporting_failure(const Action &action);

/// A command under construction. Keeps the headers of the command-line library out of the files
/// that use it: they take seconds to compile. Values must outlive the parsing.
class Command {
  public:
    Command(CLI::App &app, Action &action) : app_(&app), action_(&action) {}

    /// `example` is a whole command line that its help shows.
    Command subcommand(const std::string &name, const std::string &description,
                       const std::string &example);
    /// One of its subcommands must follow.
    void needs_subcommand();
    /// A word that must be given.
    void word(const std::string &name, std::string &value, const std::string &help);
    /// fewest to most words; `usage` stands in the usage line.
    void words(const std::string &name, std::vector<std::string> &values, const std::string &help,
               const std::string &usage, std::size_t fewest, std::size_t most);
    void option(const std::string &name, std::string &value, const std::string &help,
                const std::string &type);
    /// May be given several times.
    void option(const std::string &name, std::vector<std::string> &values, const std::string &help,
                const std::string &type);
    void flag(const std::string &name, bool &value, const std::string &help);
    void runs(Action action);

  private:
    CLI::App *app_;
    Action *action_;
};

/// Help in lines that keep the width of all text, for a program and its subcommands; before they
/// are added.
void set_up_help(CLI::App &app);
/// The last lines of a help.
std::string help_footer(const std::string &example, const std::string &text);

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
