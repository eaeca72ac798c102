// SPDX-License-Identifier: MIT
// dfdctl: looks at a board through the library's public interface.
#include <CLI/CLI.hpp>
#include <exception>

#include "dfdctl/command.hpp"
#include "dfdctl/startup.hpp"

#include <fmt/format.h>

namespace {

using namespace dfdctl;

constexpr const char *kDescription =
    "Shows what board this is, and reads and writes what its configuration describes.\n"
    "Data goes to standard output, messages and the library's log to standard error.";

constexpr const char *kFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  some reading failed, or a value written does not read back\n"
    "  2  mistake on the command line, or the configuration cannot be used\n"
    "  3  not supported: the item is not configured on this board\n"
    "  4  the hardware or the output cannot be accessed\n"
    "Without hardware: vchassis run DIR -- dfdctl ...";

constexpr unsigned kMaxDebugLevel = 4;

int run(int argc, char **argv, Options &options) {
    CLI::App app{kDescription, "dfdctl"};
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", "dfdctl " DFDCTL_VERSION);
    app.add_flag("--json", options.json, "Print one JSON document instead of text");
    app.add_option("--debug", options.debug,
                   "Open the library's log: 1 errors, warnings, trace; 2 nothing more; 3 all; "
                   "4 voltage lock")
        ->type_name("LEVEL")
        ->check(CLI::Range(0U, kMaxDebugLevel));
    Action action;
    add_show(app, options, action);
    add_get(app, options, action);
    add_set(app, options, action);
    add_items(app, options, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) {
        // Help and version are data.
        std::ostringstream text;
        app.exit(success, text, text);
        fmt::print(options.out, "{}", text.str());
        return kExitOk;
    } catch (const CLI::ParseError &error) {
        fmt::print(stderr, "dfdctl: {}\nTry 'dfdctl --help'.\n", error.what());
        return kExitUsage;
    }
    return action();
}

/// A full disk or a closed pipe must not look like success.
int close_output(std::FILE *out, int status) {
    const bool broken = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || broken) {
        fmt::print(stderr, "dfdctl: the output cannot be written\n");
        return kExitIo;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    try {
        options.out = take_stdout();
        return close_output(options.out, run(argc, argv, options));
    } catch (const UsageError &error) {
        fmt::print(stderr, "dfdctl: {}\n", error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        fmt::print(stderr, "dfdctl: {}\n", error.what());
        return kExitIo;
    }
}
