// SPDX-License-Identifier: MIT
// dfdctl new-board: the skeleton of a board's directory.
#include <fmt/format.h>

#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>

#include "dfdctl/command.hpp"
#include "dfdctl/new_board/board_files.hpp"

namespace dfdctl {

namespace {

using new_board::Choice;

/// File names of the list have at most 30 characters, of which the longest ending takes 7.
constexpr std::size_t kLongestName = 20;

struct Words {
    std::string name;
    std::string type = "100";
    std::string chassis;
    std::string fans = "2";
    std::string supplies = "2";
    std::string slots = "4";
    std::string dir = ".";
};

struct Range {
    std::string_view option;
    long min;
    long max;
};

constexpr Range kType{"--type", 1, 65535};
constexpr Range kChassis{"--chassis", 1, 255};
constexpr Range kFans{"--fans", 0, 16};
constexpr Range kSupplies{"--supplies", 0, 16};
constexpr Range kSlots{"--slots", 0, 32};

/// Decimal, or hexadecimal behind 0x.
long number(const Range &range, std::string_view word) {
    constexpr std::string_view kHexPrefix = "0x";
    constexpr int kHexBase = 16;
    constexpr int kDecimalBase = 10;
    const bool is_hex = word.starts_with(kHexPrefix);
    const std::string_view digits = is_hex ? word.substr(kHexPrefix.size()) : word;
    long value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                              is_hex ? kHexBase : kDecimalBase);
    const bool is_number = error == std::errc() && end == digits.data() + digits.size();
    if (!is_number || value < range.min || value > range.max) {
        throw UsageError(fmt::format("{}: '{}' is no number from {} to {}", range.option, word,
                                     range.min, range.max));
    }
    return value;
}

bool is_name_character(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '-' ||
           character == '_';
}

void check_name(const std::string &name) {
    if (name.find('/') != std::string::npos) {
        throw UsageError(fmt::format("NAME '{}' is a path; give the directory with --dir", name));
    }
    const bool begins_well =
        !name.empty() && std::isalpha(static_cast<unsigned char>(name.front())) != 0;
    if (!begins_well || !std::ranges::all_of(name, is_name_character)) {
        throw UsageError(fmt::format(
            "NAME '{}' must begin with a letter and have only letters, digits, '-' and '_'", name));
    }
    if (name.size() > kLongestName) {
        throw UsageError(
            fmt::format("NAME '{}' has {} characters; at most {} fit in the list of "
                        "files",
                        name, name.size(), kLongestName));
    }
}

Choice choice_of(const Words &words) {
    check_name(words.name);
    const long type = number(kType, words.type);
    const bool has_backplane = !words.chassis.empty();
    return {.name = words.name,
            .type = type,
            .chassis = has_backplane ? number(kChassis, words.chassis) : type,
            .has_backplane = has_backplane,
            .fans = number(kFans, words.fans),
            .supplies = number(kSupplies, words.supplies),
            .slots = number(kSlots, words.slots)};
}

int make_board(const Words &words, std::FILE *out) {
    const Choice choice = choice_of(words);
    const std::vector<std::string> files =
        new_board::write_board(words.dir, words.name, new_board::board_files(choice));
    const std::string path =
        (std::filesystem::path(words.dir) / words.name).lexically_normal().string();
    fmt::print(out, "Board type {}, chassis type {}:\n", choice.type, choice.chassis);
    for (const std::string &file : files) {
        fmt::print(out, "  {}/{}\n", path, file);
    }
    fmt::print(out,
               "Next: fill in what the files ask for (\"Fill in\"), and type\n"
               "  dfdctl lint --root {0} --strict\n"
               "  vchassis run {0} -- dfdctl show all\n"
               "  dfdctl coverage --root {0}\n",
               path);
    return kExitOk;
}

}  // namespace

void add_new_board(Command &top, const Options &options) {
    auto words = std::make_shared<Words>();
    Command command = top.subcommand(
        "new-board",
        "Write a new board: configuration with comments, and a virtual chassis for it");
    command.word("NAME", words->name, "name of the board and of its directory");
    command.option("--type", words->type, "board type (default 100)", "N");
    command.option("--chassis", words->chassis,
                   "chassis type, from an EEPROM of the backplane (default: the board type)", "N");
    command.option("--fans", words->fans, "fan trays (default 2)", "N");
    command.option("--supplies", words->supplies, "power supplies (default 2)", "N");
    command.option("--slots", words->slots, "slots (default 4)", "N");
    command.option("--dir", words->dir, "directory to make it in (default: here)", "PARENT");
    command.runs([words, &options] { return make_board(*words, options.out); });
}

}  // namespace dfdctl
