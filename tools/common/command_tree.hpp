// SPDX-License-Identifier: MIT
// What a program's commands and options say about the program beside its help: what may stand next
// on an unfinished command line, and all of it as data, for the manual.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace dfd_tools {

/// Words in front of a command line that are none of a program's commands: shells, and the build of
/// the manual, ask with them.
inline constexpr const char *kCompleteWord = "__complete";
inline constexpr const char *kTreeWord = "__tree";

/// These two stand among candidates for what the shell itself completes.
inline constexpr const char *kFiles = ":files";
inline constexpr const char *kDirectories = ":directories";
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
    std::vector<std::string> before = {};             ///< arguments of the command in front of it
    std::map<std::string, std::string> options = {};  ///< values of options: {"--root", "gx4"}
    std::string typed;                                ///< of the value
    std::string stem;  ///< what the same word holds before the value: "--root="
};

Expected expected_at(const CLI::App &app, const std::vector<std::string> &words);

/// The candidates that begin with what is typed, a line each, "WORD<tab>TEXT"; where files or
/// directories may stand, a line says so.
std::string candidate_lines(const Expected &expected, const std::vector<Candidate> &values);

/// Whether an argument of this name is a file or directory in every program.
bool is_path(const std::string &argument);

/// Commands with their options, descriptions and footers as JSON.
std::string tree_json(const CLI::App &app);

}  // namespace dfd_tools
