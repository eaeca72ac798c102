// SPDX-License-Identifier: MIT
// The command line of a program: its commands and options, their help, what is wrong with a line.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/command_tree.hpp"

namespace dfd_tools {

/// What the command line asks for; set by the chosen subcommand, run after parsing.
using Action = std::function<int()>;

/// A mistake on the command line that the action finds.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Exit status of a mistake on the command line.
inline constexpr int kExitUsage = 2;

/// What the action returns. A failure of it is a message and the exit status `failed`, or that of a
/// mistake on the command line.
int reporting_failure(int failed, void (*complain)(const std::string &), const Action &action);

/// A command under construction. Keeps the headers of the command-line library out of the files
/// that use it: they take seconds to compile. Values must outlive the parsing.
class Command {
  public:
    Command(CLI::App &app, Action &action, const char *program)
        : app_(&app), action_(&action), program_(program) {}

    /// `example` is a whole command line that its help shows.
    Command subcommand(const std::string &name, std::string description,
                       const std::string &example);
    /// One of its subcommands must follow.
    void needs_subcommand();
    /// A word that must be given.
    void word(const std::string &name, std::string &value, std::string help);
    /// fewest to most words; `usage` stands in the usage line.
    void words(const std::string &name, std::vector<std::string> &values, std::string help,
               const std::string &usage, std::size_t fewest, std::size_t most);
    void option(const std::string &name, std::string &value, std::string help,
                const std::string &type);
    /// May be given several times.
    void option(const std::string &name, std::vector<std::string> &values, std::string help,
                const std::string &type);
    /// An option, or a word that may be given.
    void number(const std::string &name, unsigned &value, std::string help, const std::string &type,
                unsigned least, unsigned most);
    void flag(const std::string &name, bool &value, std::string help);
    /// Only one of two options may be given.
    void excludes(const std::string &name, const std::string &other);
    void runs(Action action);

  private:
    CLI::App *app_;
    Action *action_;
    const char *program_;
};

/// What is told of a program as a whole.
struct Program {
    const char *name;
    const char *description;
    const char *example;  ///< a whole command line
    const char *footer;   ///< the last lines of its help
    std::string (*version)();
    ValuesOf values;
    /// The text in lines that fit, each but the first one indented, with a line end. Without it
    /// text stays as it is.
    std::function<std::string(const std::string &text, std::size_t indent)> lines = {};
};

/// What a command line asks for: one of the three.
struct Asked {
    Action action = {};        ///< of its command
    std::string mistake = {};  ///< why it is none, with the nearest names for a mistyped word; in a
                               ///< second line the help to ask for
    std::string text = {};     ///< data to print: help, version, what told_of_itself() says
};

/// `words` are those behind the name of the program; `declare` adds its commands and options.
Asked read_command_line(const Program &program, Words words,
                        const std::function<void(Command &top)> &declare);

}  // namespace dfd_tools
