// SPDX-License-Identifier: MIT
// The command line of `vchassis`.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "common/command_tree.hpp"
#include "environment.h"
#include "text.h"

namespace {

using namespace vchassis;

constexpr int kExitUsage = 2;
// No device is larger.
constexpr unsigned kMaxCount = 0x100000;

constexpr const char *kAbout = R"(Runs programs on a virtual chassis.

A chassis is a directory with a description, chassis.toml: which CPLDs, FPGA and
I2C devices there are. Programs run on it unmodified, without hardware and
without root, and see its devices under /dev and its files under /etc/cfg/dfd
and /tmp.)";

constexpr const char *kRunUsage = "vchassis run [OPTIONS] DIR -- COMMAND...";

constexpr const char *kExitText = R"(Exit status of `run`: that of COMMAND; 125 when the chassis is
unusable, 126 when COMMAND cannot be started, 127 when it is not found. Of the
other commands: 0, or 1 on failure. Of all: 2 for wrong usage.)";

// `[--] COMMAND...` is cut off before the options are parsed: its options are none of ours.
std::vector<std::string> cut_command(std::vector<std::string> &arguments) {
    const auto dashes = std::find(arguments.begin(), arguments.end(), "--");
    if (dashes == arguments.end()) {
        return {};
    }
    std::vector<std::string> command(dashes + 1, arguments.end());
    arguments.erase(dashes, arguments.end());
    return command;
}

// The option's value is optional, and only a value after an equals sign is one: what follows a bare
// --trace is the directory.
void fill_in_trace(std::vector<std::string> &arguments) {
    std::replace(arguments.begin(), arguments.end(), std::string("--trace"),
                 std::string("--trace=") + kTraceToStderr);
}

void add_directory(CLI::App *command, Place &place) {
    command->add_option("DIR", place.dir, "directory of the chassis")->required();
    command->add_option("--state", place.state, "directory of device contents (default: DIR/state)")
        ->type_name("DIR");
}

void add_run(CLI::App &app, RunOptions &options) {
    CLI::App *run = app.add_subcommand("run", "Run COMMAND on the chassis: run DIR -- COMMAND...");
    add_directory(run, options.place);
    run->add_option("--trace", options.trace, "print each device access to stderr, or to FILE")
        ->type_name("[=FILE]");
    run->add_flag("--real-time", options.real_time, "let sleeps take their time");
    run->add_option("--signal-at", options.signal_at,
                    "send SIGNAL (default KILL) before the Nth access")
        ->type_name("N[:SIGNAL]");
    run->callback([&options] { throw CLI::RuntimeError(run_command(options)); });
}

void add_show(CLI::App &app, Place &place) {
    CLI::App *show = app.add_subcommand("show", "List the devices and what they hold");
    add_directory(show, place);
    show->callback([&place] { throw CLI::RuntimeError(show_devices(place)); });
}

void add_peek_and_poke(CLI::App &app, Access &access) {
    const std::string device = "/dev/cpld0; on a bus: /dev/i2c-0:0x57";
    const std::string reg = "address of the byte, or name of the register";
    CLI::App *peek = app.add_subcommand("peek", "Print bytes of a device");
    add_directory(peek, access.place);
    peek->add_option("DEVICE", access.device, device)->required();
    peek->add_option("REG", access.reg, reg)->required();
    peek->add_option("COUNT", access.count, "number of bytes (default 1)")
        ->check(CLI::Range(1U, kMaxCount));
    peek->callback([&access] { throw CLI::RuntimeError(peek_bytes(access)); });

    CLI::App *poke = app.add_subcommand("poke", "Set bytes of a device, past read-only bits, too");
    add_directory(poke, access.place);
    poke->add_option("DEVICE", access.device, device)->required();
    poke->add_option("REG", access.reg, reg)->required();
    poke->add_option("VALUE", access.values, "the bytes, from REG on")->required();
    poke->callback([&access] { throw CLI::RuntimeError(poke_bytes(access)); });
}

void add_reset(CLI::App &app, Place &place) {
    CLI::App *reset = app.add_subcommand("reset", "Put the initial contents back");
    add_directory(reset, place);
    reset->callback([&place] { throw CLI::RuntimeError(reset_devices(place)); });
}

// Without a command that exists, the word in its place is left over.
std::string usage_message(const CLI::App &app, const CLI::ParseError &error) {
    if (const auto chosen = app.get_subcommands(); !chosen.empty()) {
        const bool run = chosen.front()->get_name() == "run";
        return fmt::format("{}{}", error.what(), run ? "; usage: " + std::string(kRunUsage) : "");
    }
    std::set<std::string> names;
    for (const CLI::App *command : app.get_subcommands({})) {
        names.insert(command->get_name());
    }
    const std::vector<std::string> rest = app.remaining();
    const std::string guess = rest.empty() ? "" : nearest(rest.front(), names);
    const std::string problem = rest.empty() ? std::string("a command is missing")
                                             : fmt::format("unknown command '{}'", rest.front());
    return guess.empty() ? fmt::format("{}; the commands are: {}", problem, fmt::join(names, ", "))
                         : fmt::format("{}; did you mean '{}'?", problem, guess);
}

// What a shell cannot know of the words of a command line.
std::vector<dfd_tools::Candidate> known_values(const dfd_tools::Expected &expected) {
    return expected.is_rest ? std::vector<dfd_tools::Candidate>{{dfd_tools::kCommandLine, ""}}
                            : std::vector<dfd_tools::Candidate>();
}

int parse(CLI::App &app, std::vector<std::string> arguments) {
    try {
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
    } catch (const CLI::RuntimeError &done) {
        return done.get_exit_code();
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        fmt::print(stderr, "vchassis: {}\nTry 'vchassis --help'.\n", usage_message(app, error));
        return kExitUsage;
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    RunOptions run;
    Place place;
    Access access;
    CLI::App app(kAbout, "vchassis");
    app.footer(kExitText);
    app.require_subcommand(1);
    app.set_version_flag("--version", VCHASSIS_VERSION);
    add_run(app, run);
    add_show(app, place);
    add_peek_and_poke(app, access);
    add_reset(app, place);
    if (const auto text = dfd_tools::told_of_itself(app, arguments, known_values)) {
        fmt::print("{}", *text);
        return 0;
    }
    run.command = cut_command(arguments);
    fill_in_trace(arguments);
    return parse(app, std::move(arguments));
}
