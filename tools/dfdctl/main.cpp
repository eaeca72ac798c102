// SPDX-License-Identifier: MIT
// dfdctl: looks at a board with the library, and at its configuration without hardware.
#include <algorithm>
#include <iterator>

#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/installed.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/complete/complete.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace {

using namespace dfdctl;
using dfd_tools::Asked;
using dfd_tools::Words;

constexpr const char *kDescription =
    "Shows what board this is, and reads and writes what its configuration describes. "
    "Data goes to standard output, messages and the library's log to standard error.";

constexpr const char *kFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  check found problems, some reading failed, a value written does not read back, or lint "
    "found mistakes\n"
    "  2  mistake on the command line, or the configuration cannot be used\n"
    "  3  not supported: not configured on this board\n"
    "  4  the hardware or the output cannot be accessed\n"
    "Without hardware: vchassis run DIR -- dfdctl ...";

constexpr const char *kEncoderFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  the description cannot be read or has a mistake\n"
    "  2  mistake on the command line\n"
    "  4  the image cannot be written";

constexpr unsigned kMaxDebugLevel = 4;
constexpr unsigned kLeastWidth = 20;
constexpr unsigned kMostWidth = 1000;

std::string version() {
    const std::string other = other_installed_library();
    return fmt::format("{} " DFD_VERSION, program()) +
           (other.empty()
                ? std::string()
                : fmt::format("\n{} is another build of the library than dfdctl's own", other));
}

struct CommandRow {
    std::string_view name;  ///< empty: several
    void (*add)(Command &top, const Options &options);
};
constexpr CommandRow kCommands[] = {{"check", add_check},
                                    {"show", add_show},
                                    {"watch", add_watch},
                                    {"get", add_get},
                                    {"set", add_set},
                                    {"items", add_items},
                                    {"metrics", add_metrics},
                                    {"eeprom", add_eeprom},
                                    {{}, add_controls},
                                    {"explain", add_explain},
                                    {"coverage", add_coverage},
                                    {"lint", add_lint},
                                    {"new-board", add_new_board}};
constexpr CommandRow kEncode[] = {{{}, take_encode}};

/// What the program is, by the name that it is called by.
struct Role {
    const char *name, *description, *example, *footer;
    std::span<const CommandRow> commands;
};
constexpr Role kDfdctl = {"dfdctl", kDescription, "dfdctl check", kFooter, kCommands};
constexpr Role kEncoder = {"dfd-eeprom", "Builds an EEPROM image from a text.",
                           "dfd-eeprom unit.toml unit.bin", kEncoderFooter, kEncode};

void add_options(Command &top, Options &options) {
    top.flag("--json", options.json, "Print one JSON document instead of text");
    top.number("--debug", options.debug,
               "Open the library's log: 1 errors, warnings, trace; 2 nothing more; 3 all; "
               "4 voltage lock",
               "LEVEL", 0, kMaxDebugLevel);
    top.flag("--debug-startup", options.debug_startup,
             "With --debug: the log also of loading the configuration");
    top.number("--width", options.width,
               "Columns of text; without it those of the terminal, 80 where there is none", "N",
               kLeastWidth, kMostWidth);
    top.flag("--wide", options.wide, "Text without a limit: nothing is wrapped, cut or left out");
    top.excludes("--wide", "--width");
    top.flag("--force", options.force,
             "Write although something speaks against it: an I2C adapter on which the "
             "library's data lands at a wrong register, an EEPROM image with faults");
}

Asked read(const Role &role, Words words, Options &options, std::span<const CommandRow> commands) {
    // Of help, which is printed before the width is set for all else.
    const auto lines = [&options](const std::string &text, std::size_t indent) {
        set_width(options.out, options.width, options.wide);
        return fmt::format("{}\n", joined(wrapped_lines(text, text_width(), indent), "\n"));
    };
    return dfd_tools::read_command_line(
        {role.name, role.description, role.example, role.footer, version, known_values, lines},
        words, [&options, &commands](Command &top) {
            add_options(top, options);
            for (const CommandRow &row : commands) {
                row.add(top, options);
            }
        });
}

int act(const Action &action, const Options &options) {
    set_width(options.out, options.width, options.wide);
    set_colour(options.out);
    const BusWriteGuard guard(options.force);
    const int status = action();
    return status == kExitOk && guard.has_refused() ? kExitReadingFailed : status;
}

/// Most command lines begin with their command and are right: the other commands, whose options
/// take longer to build than most readings, are not asked. No action for all else.
Action first_word_action(const Role &role, Words words, Options &options) {
    const std::string_view word = words.empty() ? "" : words.front();
    const auto row =
        std::ranges::find_if(role.commands, [&](const auto &known) { return known.name == word; });
    if (word.empty() || row == role.commands.end()) {
        return {};
    }
    const Options before = options;
    Asked asked = read(role, words, options, {&*row, 1});
    if (!asked.action) {
        options = before;
    }
    return std::move(asked.action);
}

int run(const Role &role, Words words, Options &options) {
    set_program(role.name);
    if (const Action action = first_word_action(role, words, options)) {
        return act(action, options);
    }
    const bool is_version = words.size() == 1 && words.front() == std::string_view("--version");
    const Asked asked =
        read(role, words, options, is_version ? role.commands.first(0) : role.commands);
    if (asked.action) {
        return act(asked.action, options);
    }
    if (!asked.mistake.empty()) {
        complain(asked.mistake);
        return kExitUsage;
    }
    fmt::print(options.out, "{}", asked.text);
    return kExitOk;
}

/// A full disk or a closed pipe must not look like success.
int close_output(std::FILE *out, int status) {
    const bool broken = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || broken) {
        complain("the output cannot be written");
        return kExitIo;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    return dfd_tools::reporting_failure(kExitIo, complain, [argc, argv] {
        Options options;
        options.out = take_stdout();
        const Words words = std::span(argv, static_cast<std::size_t>(argc));
        const bool encodes = std::string_view(words.front()).ends_with(kEncoder.name);
        const Role &role = encodes ? kEncoder : kDfdctl;
        return close_output(options.out, run(role, words.subspan(1), options));
    });
}
