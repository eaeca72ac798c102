// SPDX-License-Identifier: MIT
// What a program's commands and options say about the program beside its help: what may stand next
// on an unfinished command line, and all of it as data, for the manual.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace dfd_tools {

/// Of a command line, without the name of the program.
using Words = std::span<const char *const>;

/// The word that asks for candidates: the program's arguments follow, the last one unfinished.
inline constexpr const char *kCompleteWord = "__complete";

/// A candidate that is not for the word itself: a command of its own stands there.
inline constexpr const char *kCommandLine = ":command";

struct Candidate {
    std::string word;
    std::string text;  ///< what it is, in the words of the help
};

/// What may stand in the place of the last word of an unfinished command line.
struct Expected {
    std::string command;                      ///< "eeprom set"
    std::vector<Candidate> candidates = {};   ///< commands and options
    std::vector<std::string> arguments = {};  ///< of a value, as the help calls it: "FAN",
                                              ///< "on|off"; of an option also its name, first
    std::vector<std::string> before = {};     ///< arguments of the command in front of it
    bool is_rest = false;                     ///< it stands behind "--"
    std::map<std::string, std::string> options = {};  ///< values of options: {"--root", "gx4"}
    std::string typed;                                ///< of the value
    std::string stem;       ///< what the same word holds before the value: "--root="
    std::size_t split = 0;  ///< of what is typed, so much the shell takes for words in front

    /// The value of an option; empty where it is not given.
    std::string option(const std::string &name) const;
};

/// What the arguments that are expected may be.
using ValuesOf = std::vector<Candidate> (*)(const Expected &);

/// The answer to a command line that begins with a word which is none of the program's commands;
/// nothing for any other. "__complete WORD...", for shells: what the last word may be, a line each,
/// "WORD<tab>TEXT"; where files, directories or a command of its own may stand, a line says so.
/// "__tree", for the build of the manual: commands with their options, descriptions and footers as
/// JSON.
std::optional<std::string> told_of_itself(const CLI::App &app, Words words, ValuesOf values);

/// Whether an argument of this name is a file or directory in every program.
bool is_path(const std::string &argument);

// For the command line itself.
const CLI::App *subcommand_named(const CLI::App &app, const std::string &name);
/// Those of the command, but hidden ones.
std::vector<const CLI::Option *> options_of(const CLI::App &app, bool positional);
/// An option of the command or of one that it stands behind; a null pointer when there is none.
const CLI::Option *option_named(const CLI::App *app, const std::string &name);
/// Its options, then those of the commands that it stands behind.
std::vector<Candidate> options_as_candidates(const CLI::App *app);
bool takes_value(const CLI::Option &option);
/// "FAN [ROTOR] LEVEL"
std::string usage_of(const CLI::Option &option);

}  // namespace dfd_tools
