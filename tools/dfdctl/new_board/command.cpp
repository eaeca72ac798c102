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

constexpr std::string_view kFromProductId = "product-id";
constexpr std::string_view kFromEeprom = "eeprom";

struct Words {
    std::string name;
    std::string type = "100";
    std::string type_from = std::string(kFromProductId);
    std::string chassis;
    std::string fans = "2";
    std::string supplies = "2";
    std::string slots = "4";
    std::string ports = "0";
    bool has_cards = false;
    bool has_peer = false;
    bool has_interrupts = false;
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
constexpr Range kPorts{"--ports", 0, 32};

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

bool is_from_product_id(const std::string &word) {
    if (word != kFromProductId && word != kFromEeprom) {
        throw UsageError(fmt::format("--type-from: '{}' is neither {} nor {}", word, kFromProductId,
                                     kFromEeprom));
    }
    return word == kFromProductId;
}

void check_choice(const Choice &choice) {
    if (choice.has_cards && choice.slots < 2) {
        throw UsageError("--cards: the board itself is in slot 1; give two --slots at least");
    }
    const bool has_source = choice.fans + choice.supplies + choice.slots + choice.ports > 0;
    if (choice.has_interrupts && !has_source && !choice.has_peer) {
        throw UsageError(
            "--interrupts: without fans, supplies, slots, ports and peer nothing raises one");
    }
}

Choice choice_of(const Words &words) {
    check_name(words.name);
    const long type = number(kType, words.type);
    const bool has_backplane = !words.chassis.empty();
    const Choice choice{.name = words.name,
                        .type = type,
                        .chassis = has_backplane ? number(kChassis, words.chassis) : type,
                        .has_backplane = has_backplane,
                        .has_product_id = is_from_product_id(words.type_from),
                        .fans = number(kFans, words.fans),
                        .supplies = number(kSupplies, words.supplies),
                        .slots = number(kSlots, words.slots),
                        .ports = number(kPorts, words.ports),
                        .has_cards = words.has_cards,
                        .has_peer = words.has_peer,
                        .has_interrupts = words.has_interrupts};
    check_choice(choice);
    return choice;
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
        "new-board", "Write a new board: configuration with comments, and a virtual chassis for it",
        "dfdctl new-board gx4 --fans 4 --supplies 2");
    command.word("NAME", words->name, "name of the board and of its directory");
    command.option("--type", words->type, "board type (default 100)", "N");
    command.option("--type-from", words->type_from,
                   "what tells it: product-id (default), left by the boot loader, or eeprom",
                   "SOURCE");
    command.option("--chassis", words->chassis,
                   "chassis type, from an EEPROM of the backplane (default: the board type)", "N");
    command.option("--fans", words->fans, "fan trays (default 2)", "N");
    command.option("--supplies", words->supplies, "power supplies (default 2)", "N");
    command.option("--slots", words->slots, "slots (default 4)", "N");
    command.option("--ports", words->ports, "SFP ports (default 0)", "N");
    command.flag("--cards", words->has_cards, "line cards in the slots beside that of the board");
    command.flag("--peer", words->has_peer, "a peer master board");
    command.flag("--interrupts", words->has_interrupts,
                 "interrupts of fans, supplies, slots, ports and peer");
    command.option("--dir", words->dir, "directory to make it in (default: here)", "PARENT");
    command.runs([words, &options] { return make_board(*words, options.out); });
}

}  // namespace dfdctl
