// SPDX-License-Identifier: MIT
// The command line of `vchassis`.
#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "commands.h"
#include "common/command_line.hpp"
#include "environment.h"
#include "report.h"

namespace {

using namespace vchassis;
using dfd_tools::Command;

// No device is larger.
constexpr unsigned kMaxCount = 0x100000;

constexpr const char *kAbout = R"(Runs programs on a virtual chassis.

A chassis is a directory with a description, chassis.toml: which CPLDs, FPGA and
I2C devices there are. Programs run on it unmodified, without hardware and
without root, and see its devices under /dev and its files under /etc/cfg/dfd
and /tmp.)";

constexpr const char *kRunExample =
    "vchassis run build/boards/demo -- od -A x -t x1 -N 16 /dev/cpld0";

constexpr const char *kExitText = R"(Exit status of `run`: that of COMMAND; 125 when the chassis is
unusable, 126 when COMMAND cannot be started, 127 when it is not found. Of the
other commands: 0, or 1 on failure. Of all: 2 for wrong usage.)";

// What stands behind "--" is cut off before the options are parsed: its options are none of ours.
std::vector<std::string> cut_command(std::vector<const char *> &words) {
    const auto dashes = std::find(words.begin(), words.end(), std::string_view("--"));
    std::vector<std::string> command(dashes, words.end());
    words.erase(dashes, words.end());
    command.erase(command.begin(), command.begin() + (command.empty() ? 0 : 1));
    return command;
}

// The option's value is optional, and only a value after an equals sign is one: what follows a bare
// --trace is the directory.
void fill_in_trace(std::vector<const char *> &words) {
    static const std::string filled = std::string("--trace=") + kTraceToStderr;
    const auto is_bare = [](std::string_view word) { return word == "--trace"; };
    std::replace_if(words.begin(), words.end(), is_bare, filled.c_str());
}

Command add_command(Command &top, const char *name, const char *description, const char *example,
                    Place &place) {
    Command command = top.subcommand(name, description, example);
    command.word("DIR", place.dir, "directory of the chassis");
    command.option("--state", place.state, "directory of device contents (DIR/state or the user's)",
                   "DIR");
    return command;
}

void add_run(Command &top, RunOptions &options) {
    Command run = add_command(top, "run", "Run COMMAND on the chassis", kRunExample, options.place);
    run.words("COMMAND", options.unparted, "the program and its arguments", "-- COMMAND...", 0,
              kMaxCount);
    run.option("--trace", options.trace, "print each device access to stderr, or to FILE",
               "[=FILE]");
    run.flag("--real-time", options.real_time, "let sleeps take their time");
    run.option("--signal-at", options.signal_at, "send SIGNAL (default KILL) before the Nth access",
               "N[:SIGNAL]");
    run.runs([&options] { return run_command(options); });
}

void add_peek_and_poke(Command &top, Access &access) {
    const char *device = "/dev/cpld0; on a bus: /dev/i2c-0:0x57";
    const char *reg = "address of the byte, or name of the register";
    Command peek = add_command(top, "peek", "Print bytes of a device",
                               "vchassis peek build/boards/demo /dev/cpld0 0x10 4", access.place);
    peek.word(kDevice, access.device, device);
    peek.word(kRegister, access.reg, reg);
    peek.number("COUNT", access.count, "number of bytes (default 1)", "[COUNT]", 1, kMaxCount);
    peek.runs([&access] { return peek_bytes(access); });

    Command poke =
        add_command(top, "poke", "Set bytes of a device, past read-only bits, too",
                    "vchassis poke build/boards/demo /dev/cpld0 0x10 0xff 0", access.place);
    poke.word(kDevice, access.device, device);
    poke.word(kRegister, access.reg, reg);
    poke.words("VALUE", access.values, "the bytes, from REG on", "VALUE...", 1, kMaxCount);
    poke.runs([&access] { return poke_bytes(access); });
}

// What a shell cannot know of the words of a command line.
std::vector<dfd_tools::Candidate> known_values(const dfd_tools::Expected &expected) {
    return expected.is_rest ? std::vector<dfd_tools::Candidate>{{dfd_tools::kCommandLine, ""}}
                            : known_names(expected);
}

const dfd_tools::Program kProgram = {
    "vchassis",  kAbout, kRunExample, kExitText, [] { return std::string(VCHASSIS_VERSION); },
    known_values};

}  // namespace

int main(int argc, char **argv) {
    std::vector<const char *> words(argv + 1, argv + argc);
    const std::string_view first = words.empty() ? "" : words.front();
    RunOptions run;
    Place place;
    Access access;
    if (first != dfd_tools::kCompleteWord) {
        run.command = cut_command(words);
        fill_in_trace(words);
    }
    const auto asked = dfd_tools::read_command_line(kProgram, words, [&](Command &top) {
        add_run(top, run);
        add_command(top, "show", "List the devices and what they hold",
                    "vchassis show build/boards/demo", place)
            .runs([&place] { return show_devices(place); });
        add_peek_and_poke(top, access);
        add_command(top, "reset", "Put the initial contents back",
                    "vchassis reset build/boards/demo", place)
            .runs([&place] { return reset_devices(place); });
    });
    if (asked.action) {
        return asked.action();
    }
    if (!asked.mistake.empty()) {
        complain(asked.mistake);
        return kExitUsage;
    }
    fmt::print("{}", asked.text);
    return 0;
}
